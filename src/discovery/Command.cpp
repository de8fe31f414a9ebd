#include "discovery/Command.h"

#include <cstdint>

#include "discovery/WireFormat.h"
#include "transport/CommandBuffer.h"

Command::~Command() = default;

int Command::encodeHead(CommandBuffer& buffer) {
    if (!buffer.alloc(CommandHead::kSize)) return -2;
    return m_objHead.encode(buffer);
}

int Command::decodeHead(CommandBuffer& buffer) {
    return m_objHead.decode(buffer);
}

int Command::encodeFrame(CommandBuffer& out, const void* body, int length) {
    if (length < 0 || !out.alloc(CommandHead::kSize + length)) return -2;
    setBodyLength(length);
    CommandBuffer head;
    int result = encodeHead(head);
    if (result != 0) return result;
    if (!out.append(head)) return -2;
    if (length > 0 && !out.append(body, static_cast<unsigned>(length))) return -2;
    return 0;
}

int Command::checkFrame(const CommandBuffer& in, int expectedId) const {
    if (getCommandId() != expectedId) return -401;
    int64_t bodyBytes = static_cast<int64_t>(in.getLength()) - CommandHead::kSize;
    if (bodyBytes != getBodyLength()) return -404;
    return 0;
}

int Command::encodeTextFrame(CommandBuffer& out, const std::string& text) {
    return encodeFrame(out, text.c_str(), static_cast<int>(text.size() + 1));
}

int Command::decodeTextFrame(CommandBuffer& in, int expectedId, std::string& text) {
    int result = decodeHead(in);
    if (result != 0) return result;
    result = checkFrame(in, expectedId);
    if (result != 0) return result;
    const unsigned char* body =
        discovery_wire::span(in, CommandHead::kSize, static_cast<unsigned>(getBodyLength()));
    if (body == nullptr) return -404;
    text.assign(reinterpret_cast<const char*>(body), static_cast<size_t>(getBodyLength()));
    return 0;
}
