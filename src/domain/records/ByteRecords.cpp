#include <cstring>
#include <new>

#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"

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

EtFileDataPack::EtFileDataPack() : m_bFlag(0) {
    m_nDomainId = kDomainId;
}

EtFileDataPack::EtFileDataPack(const EtFileDataPack& other)
    : BaseDomain(other), m_objData(other.m_objData), m_bFlag(other.m_bFlag) {
    m_nDomainId = kDomainId;
}

EtFileDataPack& EtFileDataPack::operator=(const EtFileDataPack& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_objData = other.m_objData;
    m_bFlag = other.m_bFlag;
    return *this;
}

EtFileDataPack::~EtFileDataPack() = default;

EtCOMWriteData::EtCOMWriteData() : m_nValue1(0), m_nValue2(0) {
    m_nDomainId = kDomainId;
}

EtCOMWriteData::EtCOMWriteData(const EtCOMWriteData& other)
    : BaseDomain(other),
      m_nValue1(other.m_nValue1),
      m_nValue2(other.m_nValue2),
      m_objComData(other.m_objComData) {
    m_nDomainId = kDomainId;
}

EtCOMWriteData& EtCOMWriteData::operator=(const EtCOMWriteData& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nValue1 = other.m_nValue1;
    m_nValue2 = other.m_nValue2;
    m_objComData = other.m_objComData;
    return *this;
}

EtCOMWriteData::~EtCOMWriteData() = default;
