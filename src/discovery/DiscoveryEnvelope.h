#pragma once

#include <cstdint>

class CommandBuffer;

// The 24 bytes in front of every datagram on the multicast receive port.
// Only the marker and the payload length are judged; the other fields are
// read and kept.
class DiscoveryEnvelope {
  public:
    static constexpr int kSize = 24;
    static constexpr uint8_t kMarker = 0xFF;

    DiscoveryEnvelope();

    // Reads the envelope at the buffer's cursor, the buffer's length being the
    // datagram's. -231 when it is under 24 bytes, the marker is not 255 or the
    // payload length is not the datagram length minus 24.
    int decode(const CommandBuffer& datagram);

    uint8_t m_nMarker;
    uint8_t m_nByteA;
    uint32_t m_nWordA;
    uint32_t m_nWordB;
    uint8_t m_nByteB;
    uint32_t m_nWordC;
    uint16_t m_nShortA;
    // Taken as it stands in the datagram, without byte swap.
    uint16_t m_nShortB;
    uint8_t m_nByteC;
    uint32_t m_nPayloadLength;
};
