#pragma once

#include <cstddef>
#include <memory>

// Plain byte buffer shared by the transport, the discovery commands and the
// command protocol. It owns one block of `capacity` bytes. A reader sees
// `length` valid bytes starting at the cursor; a writer appends behind the
// `length` bytes written so far. Copies are deep; the copy's cursor stands at
// the same offset as the original's.
class CommandBuffer {
  public:
    CommandBuffer() = default;
    CommandBuffer(const CommandBuffer& other);
    CommandBuffer(CommandBuffer&& other) noexcept;
    CommandBuffer& operator=(const CommandBuffer& other);
    CommandBuffer& operator=(CommandBuffer&& other) noexcept;
    ~CommandBuffer() = default;

    // Makes a zero-filled block of `size` bytes (an existing block of exactly
    // that size is kept and cleared); cursor to the start, length 0.
    bool alloc(int size);
    // Frees the block; base and cursor become null, capacity and length 0.
    void release();

    // Copies `length` bytes to the start of the block and sets the length.
    bool assign(const void* data, unsigned length);
    // Copies `length` bytes behind the current length and adds to it.
    bool append(const void* data, unsigned length);
    // Appends the `other.getLength()` bytes at the other buffer's cursor.
    bool append(const CommandBuffer& other);
    // Appends 4 or 2 bytes exactly as they stand in memory; the caller has
    // already converted them to network order.
    bool appendInt(const unsigned* value);
    bool appendShort(const unsigned short* value);

    // Sets the length, cut to the capacity.
    void setLength(unsigned length);
    // Advances the cursor by `count` bytes and lowers the length by as much.
    bool consume(unsigned count);
    // Address `index` bytes behind the cursor; null when `index` is not below
    // the capacity or there is no block.
    unsigned char* at(unsigned index) const;

    unsigned char* getBase() const { return m_pBase.get(); }
    unsigned char* getCursor() const { return m_pCursor; }
    unsigned getCapacity() const { return m_nCapacity; }
    unsigned getLength() const { return m_nLength; }

  private:
    std::unique_ptr<unsigned char[]> m_pBase;
    unsigned char* m_pCursor = nullptr;
    unsigned m_nCapacity = 0;
    unsigned m_nLength = 0;
};
