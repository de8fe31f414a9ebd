#pragma once

#include <cstdint>
#include <sstream>
#include <string>

#include "Product/Technic/SafePointer.h"
#include "domain/records/EtResult.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandHeadParser.h"
#include "transport/CommandBuffer.h"

namespace protocol_test {

// Wire bytes, or a text on the wire.
typedef std::string Bytes;

// A buffer whose block has exactly the size of the bytes, so that any read
// behind them leaves the allocation (and a sanitizer build reports it).
inline CommandBuffer bufferOf(const Bytes& bytes) {
    CommandBuffer buffer;
    if (!bytes.empty()) {
        buffer.alloc(static_cast<int>(bytes.size()));
        buffer.append(bytes.data(), static_cast<unsigned>(bytes.size()));
    }
    return buffer;
}

inline Bytes bytesOf(const CommandBuffer& buffer) {
    const char* cursor = reinterpret_cast<const char*>(buffer.getCursor());
    return cursor == nullptr ? Bytes() : Bytes(cursor, buffer.getLength());
}

// Bytes from blank-separated hexadecimal pairs: "AF 00 7E".
inline Bytes hexBytes(const char* hex) {
    Bytes out;
    std::istringstream in(hex);
    for (unsigned value; in >> std::hex >> value;) out += static_cast<char>(value);
    return out;
}

typedef SafePointer<BaseDomain> Domain;

inline Domain result(int code) {
    EtResult* r = new EtResult();
    r->setCode(code);
    return Domain(r);
}

inline SafePointer<CommandParam> makeCommand(unsigned commandId, const DomainList& domains = DomainList()) {
    SDKCommandParam* raw = new SDKCommandParam();
    raw->m_objHead.nCommandID = commandId;
    raw->m_domains = domains;
    return SafePointer<CommandParam>(raw);
}

inline const SDKCommandParam& sdk(const SafePointer<CommandParam>& param) {
    return dynamic_cast<const SDKCommandParam&>(*param);
}

// A datagram with a well-formed head (check byte computed) and the body
// behind it; the head declares the body's length unless told otherwise.
inline Bytes datagram(unsigned commandId, const Bytes& body, int64_t declaredLength = -1,
                      uint16_t sequence = 0) {
    SDKCommandHeadInfo head;
    head.nVersion = 1;
    head.nSequence = sequence;
    head.nCommandID = commandId;
    head.nPayloadLength = static_cast<uint32_t>(declaredLength < 0 ? body.size() : declaredLength);
    unsigned char bytes[SDKCommandHeadParser::kHeadLength];
    SDKCommandHeadParser::encodeHead(head, bytes);
    return Bytes(reinterpret_cast<const char*>(bytes), sizeof(bytes)) + body;
}

}  // namespace protocol_test
