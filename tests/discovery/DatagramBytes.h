#pragma once

// Builds raw datagrams of the multicast receive port for the tests: the
// 24-byte envelope in front of an encoded command, and hand-made heads.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "transport/CommandBuffer.h"

namespace dgram {

using Bytes = std::vector<uint8_t>;

inline void putBig32(Bytes& b, size_t at, uint32_t v) {
    b[at] = uint8_t(v >> 24);
    b[at + 1] = uint8_t(v >> 16);
    b[at + 2] = uint8_t(v >> 8);
    b[at + 3] = uint8_t(v);
}

inline Bytes toBytes(const CommandBuffer& buffer) {
    return Bytes(buffer.getCursor(), buffer.getCursor() + buffer.getLength());
}

// Envelope (marker 255, payload length = payload size) followed by the payload.
inline Bytes envelope(const Bytes& payload, uint8_t marker = 0xFF) {
    Bytes out(24 + payload.size(), 0);
    out[0] = marker;
    out[1] = 1;
    putBig32(out, 2, 1);
    putBig32(out, 6, 1);
    putBig32(out, 20, uint32_t(payload.size()));
    std::copy(payload.begin(), payload.end(), out.begin() + 24);
    return out;
}

// A 76-byte head with the given identifier and body length, then `body`.
inline Bytes command(int32_t id, int32_t bodyLength, const Bytes& body) {
    Bytes out(76 + body.size(), 0);
    putBig32(out, 0, uint32_t(id));
    out[4] = 1;
    out[69] = 1;
    putBig32(out, 72, uint32_t(bodyLength));
    std::copy(body.begin(), body.end(), out.begin() + 76);
    return out;
}

inline Bytes text(const std::string& s, bool withZero = true) {
    Bytes out(s.size() + (withZero ? 1 : 0), 0);
    std::copy(s.begin(), s.end(), out.begin());
    return out;
}

// A buffer whose block is exactly as large as the bytes, as the decoders see
// it after a receive.
inline CommandBuffer buffer(const Bytes& bytes, unsigned capacity = 0) {
    CommandBuffer b;
    unsigned size = capacity != 0 ? capacity : unsigned(bytes.size());
    b.alloc(int(size == 0 ? 1 : size));
    if (!bytes.empty()) b.assign(bytes.data(), unsigned(bytes.size()));
    return b;
}

}  // namespace dgram
