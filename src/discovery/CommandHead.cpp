#include "discovery/CommandHead.h"

#include <cstring>

#include "discovery/DiscoveryNames.h"
#include "transport/CommandBuffer.h"
#include "transport/WireBytes.h"

CommandHead::CommandHead()
    : m_nCommandId(0), m_nLeadByte(1), m_nTrailByte(1), m_nTrailWord(0), m_nBodyLength(0) {
    std::memset(m_szNameA, 0, sizeof(m_szNameA));
    std::memset(m_szNameB, 0, sizeof(m_szNameB));
}

CommandHead::~CommandHead() = default;

// The 76 bytes, in order:
//   offset  width  field
//        0      4  command identifier, signed
//        4      1  lead byte
//        5     32  name A, raw bytes
//       37     32  name B, raw bytes
//       69      1  trail byte
//       70      2  trail word, as it stands (no byte swap either way)
//       72      4  body length, signed: the body bytes behind the head
int CommandHead::encode(CommandBuffer& out) const {
    const bool ok = wire::appendU32(out, static_cast<uint32_t>(m_nCommandId)) &&
                    wire::appendU8(out, m_nLeadByte) && out.append(m_szNameA, kNameSize) &&
                    out.append(m_szNameB, kNameSize) && wire::appendU8(out, m_nTrailByte) &&
                    out.append(&m_nTrailWord, 2) &&
                    wire::appendU32(out, static_cast<uint32_t>(m_nBodyLength));
    return ok ? 0 : kDiscoveryNoMemory;
}

int CommandHead::decode(const CommandBuffer& in) {
    wire::Reader head = wire::Reader::of(in);
    if (in.getLength() < static_cast<unsigned>(kSize) || head.remaining() < static_cast<unsigned>(kSize)) {
        return kShortCommandHead;
    }
    head.readI32(m_nCommandId);
    head.readU8(m_nLeadByte);
    head.readRaw(m_szNameA, kNameSize);
    head.readRaw(m_szNameB, kNameSize);
    head.readU8(m_nTrailByte);
    head.readRaw(&m_nTrailWord, 2);
    head.readI32(m_nBodyLength);
    return 0;
}
