#include "domain/records/EtCOMWriteData.h"

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
