#include "domain/records/EtFileDataPack.h"

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
