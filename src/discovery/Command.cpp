#include "discovery/Command.h"

#include <cstdint>

#include "discovery/DiscoveryNames.h"
#include "transport/CommandBuffer.h"
#include "transport/WireBytes.h"

Command::~Command() = default;

int Command::encodeHead(CommandBuffer& buffer) {
    if (!buffer.alloc(CommandHead::kSize)) return kDiscoveryNoMemory;
    return m_objHead.encode(buffer);
}

int Command::decodeHead(CommandBuffer& buffer) {
    return m_objHead.decode(buffer);
}

int Command::encodeFrame(CommandBuffer& out, const void* body, int length) {
    if (length < 0 || !out.alloc(CommandHead::kSize + length)) return kDiscoveryNoMemory;
    setBodyLength(length);
    CommandBuffer head;
    int result = encodeHead(head);
    if (result != 0) return result;
    if (!out.append(head)) return kDiscoveryNoMemory;
    if (length > 0 && !out.append(body, static_cast<unsigned>(length))) return kDiscoveryNoMemory;
    return 0;
}

int Command::checkFrame(const CommandBuffer& in, int expectedId) const {
    if (getCommandId() != expectedId) return kUnknownCommand;
    const int64_t bodyBytes = static_cast<int64_t>(in.getLength()) - CommandHead::kSize;
    if (bodyBytes != getBodyLength()) return kBodyNotDecoded;
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
    wire::Reader frame = wire::Reader::of(in);
    const unsigned char* body = nullptr;
    if (!frame.skip(CommandHead::kSize) || !frame.readBytes(static_cast<unsigned>(getBodyLength()), body)) {
        return kBodyNotDecoded;
    }
    text.assign(reinterpret_cast<const char*>(body), static_cast<size_t>(getBodyLength()));
    return 0;
}
