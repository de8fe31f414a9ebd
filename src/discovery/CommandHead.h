#pragma once

#include <cstdint>

class CommandBuffer;

// Head of the datagrams on the multicast receive port, 76 bytes on the wire
// in field order. Only the command identifier and the body length are
// interpreted; the other fields are carried unchanged.
class CommandHead {
  public:
    static constexpr int kSize = 76;
    static constexpr int kNameSize = 32;

    CommandHead();
    virtual ~CommandHead();

    // Writes the 76 bytes behind the buffer's length. -2 when they do not fit.
    int encode(CommandBuffer& out) const;
    // Reads 76 bytes at the buffer's cursor. -402 when fewer are there.
    int decode(const CommandBuffer& in);

    int size() const { return kSize; }

    int32_t m_nCommandId;
    uint8_t m_nLeadByte;
    char m_szNameA[kNameSize];
    char m_szNameB[kNameSize];
    uint8_t m_nTrailByte;
    // Kept in wire byte order: no swap in either direction.
    uint16_t m_nTrailWord;
    int32_t m_nBodyLength;
};
