#pragma once

#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"
#include "protocol/CommandParam.h"
#include "transport/CommandBuffer.h"

namespace protocol_test {

typedef std::vector<unsigned char> Bytes;

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

inline CommandBuffer bufferOf(const std::string& text) {
    return bufferOf(Bytes(text.begin(), text.end()));
}

inline Bytes bytesOf(const CommandBuffer& buffer) {
    if (buffer.getCursor() == nullptr) return Bytes();
    return Bytes(buffer.getCursor(), buffer.getCursor() + buffer.getLength());
}

inline std::string textOf(const CommandBuffer& buffer) {
    Bytes b = bytesOf(buffer);
    return std::string(b.begin(), b.end());
}

inline Bytes hexBytes(const char* hex) {
    Bytes out;
    unsigned value = 0;
    int digits = 0;
    for (const char* p = hex; *p; ++p) {
        int d;
        if (*p >= '0' && *p <= '9')
            d = *p - '0';
        else if (*p >= 'A' && *p <= 'F')
            d = *p - 'A' + 10;
        else if (*p >= 'a' && *p <= 'f')
            d = *p - 'a' + 10;
        else
            continue;
        value = value * 16 + static_cast<unsigned>(d);
        if (++digits == 2) {
            out.push_back(static_cast<unsigned char>(value));
            value = 0;
            digits = 0;
        }
    }
    return out;
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

// A datagram with a well-formed head (check byte computed) and the body behind it.
Bytes datagram(unsigned commandId, const Bytes& body, uint32_t declaredLength);
inline Bytes datagram(unsigned commandId, const Bytes& body) {
    return datagram(commandId, body, static_cast<uint32_t>(body.size()));
}
inline Bytes datagram(unsigned commandId, const std::string& body) {
    return datagram(commandId, Bytes(body.begin(), body.end()));
}

}  // namespace protocol_test
