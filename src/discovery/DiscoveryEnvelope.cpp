#include "discovery/DiscoveryEnvelope.h"

#include <cstring>

#include "discovery/WireFormat.h"
#include "transport/CommandBuffer.h"

using namespace discovery_wire;

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

int DiscoveryEnvelope::decode(const CommandBuffer& datagram) {
    const unsigned length = datagram.getLength();
    if (length < static_cast<unsigned>(kSize)) return -231;
    const unsigned char* p = span(datagram, 0, length);
    if (p == nullptr) return -231;
    m_nMarker = p[0];
    m_nByteA = p[1];
    m_nWordA = readBig32(p + 2);
    m_nWordB = readBig32(p + 6);
    m_nByteB = p[10];
    m_nWordC = readBig32(p + 11);
    m_nShortA = readBig16(p + 15);
    std::memcpy(&m_nShortB, p + 17, 2);
    m_nByteC = p[19];
    m_nPayloadLength = readBig32(p + 20);
    if (m_nMarker != kMarker) return -231;
    if (m_nPayloadLength != length - kSize) return -231;
    return 0;
}
