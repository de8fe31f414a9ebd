#pragma once

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>

#include "transport/CommandBuffer.h"

// Bounded big-endian access to the bytes of a command. Every read checks the
// bytes that are left, so a length field that points past the data makes the
// read fail instead of running off the buffer.
namespace protocol_bytes {

// The bytes a reader may look at: from the cursor, `getLength()` of them, and
// never more than the block holds behind the cursor.
inline unsigned readableLength(const CommandBuffer& in) {
    const unsigned char* base = in.getBase();
    const unsigned char* cursor = in.getCursor();
    if (base == nullptr || cursor == nullptr || cursor < base) {
        return 0;
    }
    const unsigned offset = static_cast<unsigned>(cursor - base);
    if (offset > in.getCapacity()) {
        return 0;
    }
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
    const unsigned v = htonl(value);
    return out.appendInt(&v);
}

inline bool appendU8(CommandBuffer& out, uint8_t value) {
    return out.append(&value, 1);
}

// Appends `length` bytes; zero bytes is a success that writes nothing.
inline bool appendBytes(CommandBuffer& out, const void* data, unsigned length) {
    return length == 0 || out.append(data, length);
}

// Sequential reader over a bounded block.
class Reader {
  public:
    Reader(const unsigned char* data, unsigned length) : m_pData(data), m_nLength(data ? length : 0) {}

    unsigned position() const { return m_nPos; }
    unsigned remaining() const { return m_nLength - m_nPos; }

    bool readU32(uint32_t& value) {
        if (remaining() < 4) return false;
        value = loadU32(m_pData + m_nPos);
        m_nPos += 4;
        return true;
    }

    bool readI32(int32_t& value) {
        uint32_t raw;
        if (!readU32(raw)) return false;
        value = static_cast<int32_t>(raw);
        return true;
    }

    bool readU8(uint8_t& value) {
        if (remaining() < 1) return false;
        value = m_pData[m_nPos++];
        return true;
    }

    // Points `bytes` at the next `count` bytes and steps over them.
    bool readBytes(unsigned count, const unsigned char*& bytes) {
        if (remaining() < count) return false;
        bytes = m_pData + m_nPos;
        m_nPos += count;
        return true;
    }

  private:
    const unsigned char* m_pData;
    unsigned m_nLength;
    unsigned m_nPos = 0;
};

}  // namespace protocol_bytes
