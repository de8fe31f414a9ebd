#pragma once

// What the fuzz targets share: quiet codecs and the input as a datagram.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "transport/CommandBuffer.h"

// Datagrams larger than the transport's receive buffer never reach a decoder.
constexpr size_t kMaxDatagram = 5600;

// The codecs print their lines on standard output; keep the fuzzer's readable.
inline void quietStdout() {
    static const bool quiet = std::freopen("/dev/null", "w", stdout) != nullptr;
    (void)quiet;
}

// The input in a block of exactly its size, as a receive leaves it: a read past
// the datagram leaves the allocation.
inline bool toDatagram(const uint8_t* data, size_t size, CommandBuffer& out) {
    return size > 0 && size <= kMaxDatagram && out.alloc(static_cast<int>(size)) &&
           out.append(data, static_cast<unsigned>(size));
}

// The input up to its first zero byte, as a C string.
inline std::string toText(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    return text.substr(0, text.find('\0'));
}
