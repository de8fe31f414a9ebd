#include "domain/records/DetectionAreaV2.h"

#include <cstring>
#include <new>

DetectionAreaV2::DetectionAreaV2()
    : m_nWidthCellNumber(0), m_nHighCellNumber(0), m_pData(nullptr), m_nDataLength(0) {
    m_nDomainId = kDomainId;
}

DetectionAreaV2::DetectionAreaV2(const DetectionAreaV2& other)
    : BaseDomain(other), m_nWidthCellNumber(0), m_nHighCellNumber(0), m_pData(nullptr), m_nDataLength(0) {
    m_nDomainId = kDomainId;
    copyFrom(other);
}

DetectionAreaV2& DetectionAreaV2::operator=(const DetectionAreaV2& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    copyFrom(other);
    return *this;
}

DetectionAreaV2::~DetectionAreaV2() {
    delete[] m_pData;
}

void DetectionAreaV2::copyFrom(const DetectionAreaV2& other) {
    m_nWidthCellNumber = other.m_nWidthCellNumber;
    m_nHighCellNumber = other.m_nHighCellNumber;
    if (other.m_pData != nullptr) {
        setData(other.m_pData, other.m_nDataLength);
    } else {
        clearData(other.m_nDataLength);
    }
}

int DetectionAreaV2::setData(const unsigned char* data, int length) {
    if (data == nullptr || length < 0) return -4;
    if (length == 0) {  // no bytes, no block
        clearData();
        return 0;
    }
    if (length != m_nDataLength || m_pData == nullptr) {
        delete[] m_pData;
        m_pData = new (std::nothrow) unsigned char[length];
        if (m_pData == nullptr) {
            m_nDataLength = 0;
            return -4;
        }
    }
    m_nDataLength = length;
    std::memset(m_pData, 0, static_cast<size_t>(length));
    std::memcpy(m_pData, data, static_cast<size_t>(length));
    return 0;
}

void DetectionAreaV2::clearData(int length) {
    delete[] m_pData;
    m_pData = nullptr;
    m_nDataLength = length;
}
