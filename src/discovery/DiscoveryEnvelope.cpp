#include "discovery/DiscoveryEnvelope.h"

#include <cstring>

#include "discovery/DiscoveryNames.h"
#include "transport/CommandBuffer.h"
#include "transport/WireBytes.h"

DiscoveryEnvelope::DiscoveryEnvelope()
    : m_nMarker(0),
      m_nByteA(1),
      m_nWordA(1),
      m_nWordB(1),
      m_nByteB(0),
      m_nWordC(0),
      m_nShortA(0),
      m_nShortB(0),
      m_nByteC(0),
      m_nPayloadLength(0) {}

// The 24 bytes, in order:
//   offset  width  field
//        0      1  marker, must be 255
//        1      1  byte A
//        2      4  word A
//        6      4  word B
//       10      1  byte B
//       11      4  word C
//       15      2  short A
//       17      2  short B, taken as it stands (no byte swap)
//       19      1  byte C
//       20      4  payload length, must be the datagram's length minus 24
int DiscoveryEnvelope::decode(const CommandBuffer& datagram) {
    const unsigned length = datagram.getLength();
    wire::Reader in = wire::Reader::of(datagram);
    if (length < static_cast<unsigned>(kSize) || in.remaining() < length) return kBadEnvelope;
    in.readU8(m_nMarker);
    in.readU8(m_nByteA);
    in.readU32(m_nWordA);
    in.readU32(m_nWordB);
    in.readU8(m_nByteB);
    in.readU32(m_nWordC);
    in.readU16(m_nShortA);
    in.readRaw(&m_nShortB, 2);
    in.readU8(m_nByteC);
    in.readU32(m_nPayloadLength);
    if (m_nMarker != kMarker) return kBadEnvelope;
    if (m_nPayloadLength != length - kSize) return kBadEnvelope;
    return 0;
}
