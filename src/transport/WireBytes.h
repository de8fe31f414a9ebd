#pragma once

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "transport/CommandBuffer.h"

// The one way the protocols read and write bytes. Integers on every wire of
// the system are big-endian; text fields are fixed-width and zero-filled.
// Every read checks the bytes that are left, so a length field that points
// past the data makes the read fail instead of running off the block.
namespace wire {

// The bytes a reader may look at: from the cursor, getLength() of them, and
// never more than the block holds behind the cursor.
inline unsigned readableLength(const CommandBuffer& in) {
    const unsigned char* base = in.getBase();
    const unsigned char* cursor = in.getCursor();
    if (base == nullptr || cursor == nullptr || cursor < base) return 0;
    const unsigned offset = static_cast<unsigned>(cursor - base);
    if (offset > in.getCapacity()) return 0;
    const unsigned room = in.getCapacity() - offset;
    return in.getLength() < room ? in.getLength() : room;
}

inline uint32_t loadU32(const unsigned char* p) {
    uint32_t v;
    std::memcpy(&v, p, sizeof(v));
    return ntohl(v);
}

inline uint16_t loadU16(const unsigned char* p) {
    uint16_t v;
    std::memcpy(&v, p, sizeof(v));
    return ntohs(v);
}

inline void storeU32(unsigned char* p, uint32_t value) {
    const uint32_t v = htonl(value);
    std::memcpy(p, &v, sizeof(v));
}

inline void storeU16(unsigned char* p, uint16_t value) {
    const uint16_t v = htons(value);
    std::memcpy(p, &v, sizeof(v));
}

inline bool appendU32(CommandBuffer& out, uint32_t value) {
    unsigned char bytes[4];
    storeU32(bytes, value);
    return out.append(bytes, sizeof(bytes));
}

inline bool appendU16(CommandBuffer& out, uint16_t value) {
    unsigned char bytes[2];
    storeU16(bytes, value);
    return out.append(bytes, sizeof(bytes));
}

inline bool appendU8(CommandBuffer& out, uint8_t value) {
    return out.append(&value, 1);
}

// Appends `length` bytes; zero bytes is a success that writes nothing.
inline bool appendBytes(CommandBuffer& out, const void* data, unsigned length) {
    return length == 0 || out.append(data, length);
}

// Writes `text` into a field of `width` bytes, zero-filled behind it; a text
// as wide as the field has no terminator, a wider one is cut.
inline bool appendText(CommandBuffer& out, const std::string& text, size_t width) {
    std::string field(width, '\0');
    std::memcpy(&field[0], text.data(), text.size() < width ? text.size() : width);
    return out.append(field.data(), static_cast<unsigned>(width));
}

// Sequential reader over a bounded block.
class Reader {
  public:
    Reader(const unsigned char* data, unsigned length)
        : m_pData(data), m_nLength(data != nullptr ? length : 0) {}
    // The readable bytes of a buffer, from its cursor.
    static Reader of(const CommandBuffer& in) { return Reader(in.getCursor(), readableLength(in)); }

    unsigned position() const { return m_nPos; }
    unsigned remaining() const { return m_nLength - m_nPos; }

    bool skip(unsigned count) {
        if (remaining() < count) return false;
        m_nPos += count;
        return true;
    }
    // Points `bytes` at the next `count` bytes and steps over them.
    bool readBytes(unsigned count, const unsigned char*& bytes) {
        if (remaining() < count) return false;
        bytes = m_pData + m_nPos;
        m_nPos += count;
        return true;
    }
    // Copies the next `count` bytes as they stand, without a byte swap.
    bool readRaw(void* out, unsigned count) {
        const unsigned char* bytes = nullptr;
        if (!readBytes(count, bytes)) return false;
        std::memcpy(out, bytes, count);
        return true;
    }
    bool readU8(uint8_t& value) { return readRaw(&value, 1); }
    bool readU16(uint16_t& value) {
        const unsigned char* bytes = nullptr;
        if (!readBytes(2, bytes)) return false;
        value = loadU16(bytes);
        return true;
    }
    bool readU32(uint32_t& value) {
        const unsigned char* bytes = nullptr;
        if (!readBytes(4, bytes)) return false;
        value = loadU32(bytes);
        return true;
    }
    bool readI32(int32_t& value) {
        uint32_t raw = 0;
        if (!readU32(raw)) return false;
        value = static_cast<int32_t>(raw);
        return true;
    }
    // A zero-filled text field of `width` bytes, or of what is left when
    // fewer bytes remain (the field then reaches to the end of the block).
    std::string readText(unsigned width) {
        const unsigned take = width < remaining() ? width : remaining();
        const char* text = reinterpret_cast<const char*>(m_pData + m_nPos);
        m_nPos += take;
        return std::string(text, strnlen(text, take));
    }

  private:
    const unsigned char* m_pData;
    unsigned m_nLength;
    unsigned m_nPos = 0;
};

}  // namespace wire
