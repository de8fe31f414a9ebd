#pragma once

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "transport/CommandBuffer.h"

// Byte-level helpers shared by the discovery datagram classes. Integers on
// this wire are big-endian.
namespace discovery_wire {

inline uint32_t readBig32(const unsigned char* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

inline uint16_t readBig16(const unsigned char* p) {
    return uint16_t((unsigned(p[0]) << 8) | unsigned(p[1]));
}

inline void writeBig32(unsigned char* p, uint32_t value) {
    p[0] = uint8_t(value >> 24);
    p[1] = uint8_t(value >> 16);
    p[2] = uint8_t(value >> 8);
    p[3] = uint8_t(value);
}

inline bool appendBig32(CommandBuffer& out, uint32_t value) {
    unsigned char bytes[4];
    writeBig32(bytes, value);
    return out.append(bytes, sizeof(bytes));
}

inline bool appendBig16(CommandBuffer& out, uint16_t value) {
    unsigned char bytes[2] = {uint8_t(value >> 8), uint8_t(value)};
    return out.append(bytes, sizeof(bytes));
}

// The `length` bytes that start `offset` bytes behind the cursor, or null when
// the offset is outside the block or the bytes would run past its end.
inline const unsigned char* span(const CommandBuffer& buffer, unsigned offset, unsigned length) {
    const unsigned char* start = buffer.at(offset);
    if (start == nullptr) return nullptr;
    const size_t used = static_cast<size_t>(start - buffer.getBase());
    if (used + length > buffer.getCapacity()) return nullptr;
    return start;
}

// Writes `text` into a field of `width` bytes, zero-filled behind it; a text
// as wide as the field has no terminator, a wider one is cut.
inline bool appendFixedText(CommandBuffer& out, const std::string& text, size_t width) {
    std::string field(width, '\0');
    std::memcpy(&field[0], text.data(), text.size() < width ? text.size() : width);
    return out.append(field.data(), static_cast<unsigned>(width));
}

// Reads a zero-filled text field of at most `width` bytes.
inline std::string readFixedText(const unsigned char* p, size_t width) {
    const char* text = reinterpret_cast<const char*>(p);
    return std::string(text, strnlen(text, width));
}

// Decimal conversion with atoi's leniency (unconvertible text gives 0) but
// without its undefined overflow: out-of-range values saturate.
inline int toInt(const char* text) {
    if (text == nullptr) return 0;
    long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

// Copies `text` into a fixed character array, cut to its width so that the
// terminator always fits.
template <size_t N>
inline void copyCut(char (&field)[N], const char* text) {
    std::memset(field, 0, N);
    if (text == nullptr) return;
    size_t length = strnlen(text, N - 1);
    std::memcpy(field, text, length);
}

}  // namespace discovery_wire
