// Record classes DiskAbility and RecordAbility (the codec is generated).

#include "domain/records/DiskAbility.h"

RecordAbility::~RecordAbility() = default;

DiskAbility::DiskAbility() {
    m_nDomainId = kDomainId;
}

DiskAbility::DiskAbility(const DiskAbility& other)
    : BaseDomain(other),
      m_vecFileSystemList(other.m_vecFileSystemList),
      m_vecDiskAttributeExList(other.m_vecDiskAttributeExList),
      m_vecDiskSummaryInfoList(other.m_vecDiskSummaryInfoList),
      m_objRaidAbility(other.m_objRaidAbility),
      m_objRecordAbility(other.m_objRecordAbility) {
    m_nDomainId = kDomainId;
}

DiskAbility& DiskAbility::operator=(const DiskAbility& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_vecFileSystemList = other.m_vecFileSystemList;
    m_vecDiskAttributeExList = other.m_vecDiskAttributeExList;
    m_vecDiskSummaryInfoList = other.m_vecDiskSummaryInfoList;
    m_objRaidAbility = other.m_objRaidAbility;
    m_objRecordAbility = other.m_objRecordAbility;
    return *this;
}

DiskAbility::~DiskAbility() = default;
