#include "discovery/CommandHead.h"

#include <cstring>

#include "discovery/WireFormat.h"
#include "transport/CommandBuffer.h"

using namespace discovery_wire;

CommandHead::CommandHead()
    : m_nCommandId(0), m_nLeadByte(1), m_nTrailByte(1), m_nTrailWord(0), m_nBodyLength(0) {
    std::memset(m_szNameA, 0, sizeof(m_szNameA));
    std::memset(m_szNameB, 0, sizeof(m_szNameB));
}

CommandHead::~CommandHead() = default;

int CommandHead::encode(CommandBuffer& out) const {
    bool ok = appendBig32(out, static_cast<uint32_t>(m_nCommandId)) && out.append(&m_nLeadByte, 1) &&
              out.append(m_szNameA, kNameSize) && out.append(m_szNameB, kNameSize) &&
              out.append(&m_nTrailByte, 1) && out.append(&m_nTrailWord, 2) &&
              appendBig32(out, static_cast<uint32_t>(m_nBodyLength));
    return ok ? 0 : -2;
}

int CommandHead::decode(const CommandBuffer& in) {
    if (in.getLength() < static_cast<unsigned>(kSize)) return -402;
    const unsigned char* p = span(in, 0, kSize);
    if (p == nullptr) return -402;
    m_nCommandId = static_cast<int32_t>(readBig32(p));
    m_nLeadByte = p[4];
    std::memcpy(m_szNameA, p + 5, kNameSize);
    std::memcpy(m_szNameB, p + 37, kNameSize);
    m_nTrailByte = p[69];
    std::memcpy(&m_nTrailWord, p + 70, 2);
    m_nBodyLength = static_cast<int32_t>(readBig32(p + 72));
    return 0;
}
