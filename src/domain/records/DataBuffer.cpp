#include "domain/records/DataBuffer.h"

#include <cstring>
#include <new>

namespace {

// Shared rule of DataBuffer and ComData: refuse null or empty input, grow the
// block only when the new length exceeds the recorded one.
bool storeBytes(std::unique_ptr<unsigned char[]>& block, int& recorded, const unsigned char* data,
                int length) {
    if (data == nullptr || length <= 0) return false;
    if (!block || recorded < length) {
        block.reset(new (std::nothrow) unsigned char[length]);
        if (!block) {
            recorded = 0;
            return false;
        }
    }
    std::memcpy(block.get(), data, static_cast<size_t>(length));
    recorded = length;
    return true;
}

}  // namespace

DataBuffer::DataBuffer() : m_nLength(0) {
    m_nDomainId = kDomainId;
}

DataBuffer::DataBuffer(const DataBuffer& other) : BaseDomain(other), m_nLength(0) {
    m_nDomainId = kDomainId;
    setData(other.m_pData.get(), other.m_nLength);
}

DataBuffer& DataBuffer::operator=(const DataBuffer& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    setData(other.m_pData.get(), other.m_nLength);
    return *this;
}

DataBuffer::~DataBuffer() = default;

bool DataBuffer::setData(const unsigned char* data, int length) {
    return storeBytes(m_pData, m_nLength, data, length);
}

ComData::ComData() : m_nLength(0) {
    m_nDomainId = kDomainId;
}

ComData::ComData(const ComData& other) : BaseDomain(other), m_nLength(0) {
    m_nDomainId = kDomainId;
    setData(other.m_pData.get(), other.m_nLength);
}

ComData& ComData::operator=(const ComData& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_pData.reset();
    m_nLength = 0;
    setData(other.m_pData.get(), other.m_nLength);
    return *this;
}

ComData::~ComData() = default;

bool ComData::setData(const unsigned char* data, int length) {
    return storeBytes(m_pData, m_nLength, data, length);
}
