#include "domain/records/OLAttributeList.h"

OLAttributeList::OLAttributeList() {
    m_nDomainId = kDomainId;
}

OLAttributeList::OLAttributeList(const OLAttributeList& other)
    : BaseDomain(other),
      m_strAttributeSequenceName(other.m_strAttributeSequenceName),
      m_mapAttributeSequence(other.m_mapAttributeSequence) {
    m_nDomainId = kDomainId;
}

OLAttributeList& OLAttributeList::operator=(const OLAttributeList& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_strAttributeSequenceName = other.m_strAttributeSequenceName;
    m_mapAttributeSequence = other.m_mapAttributeSequence;
    return *this;
}

OLAttributeList::~OLAttributeList() = default;
