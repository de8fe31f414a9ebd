#include "transport/CommandBuffer.h"

#include <cstring>
#include <new>
#include <utility>

CommandBuffer::CommandBuffer(const CommandBuffer& other) {
    *this = other;
}

CommandBuffer::CommandBuffer(CommandBuffer&& other) noexcept {
    *this = std::move(other);
}

CommandBuffer& CommandBuffer::operator=(const CommandBuffer& other) {
    if (this == &other) {
        return *this;
    }
    if (!other.m_pBase) {
        release();
        return *this;
    }
    std::unique_ptr<unsigned char[]> block(new unsigned char[other.m_nCapacity]);
    std::memcpy(block.get(), other.m_pBase.get(), other.m_nCapacity);
    m_pCursor = block.get() + (other.m_pCursor - other.m_pBase.get());
    m_pBase = std::move(block);
    m_nCapacity = other.m_nCapacity;
    m_nLength = other.m_nLength;
    return *this;
}

CommandBuffer& CommandBuffer::operator=(CommandBuffer&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    m_pBase = std::move(other.m_pBase);
    m_pCursor = std::exchange(other.m_pCursor, nullptr);
    m_nCapacity = std::exchange(other.m_nCapacity, 0u);
    m_nLength = std::exchange(other.m_nLength, 0u);
    return *this;
}

bool CommandBuffer::alloc(int size) {
    if (size < 1) {
        return false;
    }
    const unsigned wanted = static_cast<unsigned>(size);
    if (m_pBase && m_nCapacity == wanted) {
        std::memset(m_pBase.get(), 0, m_nCapacity);
        m_pCursor = m_pBase.get();
        m_nLength = 0;
        return true;
    }
    release();
    m_pBase.reset(new (std::nothrow) unsigned char[wanted]);
    if (!m_pBase) {
        return false;
    }
    std::memset(m_pBase.get(), 0, wanted);
    m_pCursor = m_pBase.get();
    m_nCapacity = wanted;
    m_nLength = 0;
    return true;
}

void CommandBuffer::release() {
    m_pBase.reset();
    m_pCursor = nullptr;
    m_nCapacity = 0;
    m_nLength = 0;
}

bool CommandBuffer::assign(const void* data, unsigned length) {
    if (data == nullptr || !m_pBase || length > m_nCapacity) {
        return false;
    }
    std::memmove(m_pBase.get(), data, length);
    m_nLength = length;
    return true;
}

bool CommandBuffer::append(const void* data, unsigned length) {
    if (data == nullptr || !m_pBase || m_nLength > m_nCapacity || length > m_nCapacity - m_nLength) {
        return false;
    }
    std::memmove(m_pBase.get() + m_nLength, data, length);
    m_nLength += length;
    return true;
}

bool CommandBuffer::append(const CommandBuffer& other) {
    if (other.m_pCursor == nullptr) {
        return false;
    }
    // Appending a buffer to itself copies the bytes at its own cursor; memmove
    // in the other overload keeps the overlap safe.
    return append(other.m_pCursor, other.m_nLength);
}

bool CommandBuffer::appendInt(const unsigned* value) {
    return append(value, sizeof(*value));
}

bool CommandBuffer::appendShort(const unsigned short* value) {
    return append(value, sizeof(*value));
}

void CommandBuffer::setLength(unsigned length) {
    m_nLength = length > m_nCapacity ? m_nCapacity : length;
}

bool CommandBuffer::consume(unsigned count) {
    if (count > m_nLength) {
        return false;
    }
    m_pCursor += count;
    m_nLength -= count;
    return true;
}

unsigned char* CommandBuffer::at(unsigned index) const {
    if (m_pCursor == nullptr || index >= m_nCapacity) {
        return nullptr;
    }
    return m_pCursor + index;
}
