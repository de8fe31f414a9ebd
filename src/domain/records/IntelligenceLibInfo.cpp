#include "domain/records/IntelligenceLibInfo.h"

// ---- LibCommonAbility

LibCommonAbility::LibCommonAbility()
    : m_nID(0),
      m_bEnable(false),
      m_nVideoWidth(0),
      m_nVideoHeight(0),
      m_nTotalAnalyseRegionNum(0),
      m_nMaxEnableFunsNum(0) {
    m_nDomainId = kDomainId;
}

LibCommonAbility::LibCommonAbility(const LibCommonAbility& other)
    : BaseDomain(other),
      m_nID(other.m_nID),
      m_bEnable(other.m_bEnable),
      m_nVideoWidth(other.m_nVideoWidth),
      m_nVideoHeight(other.m_nVideoHeight),
      m_nTotalAnalyseRegionNum(other.m_nTotalAnalyseRegionNum),
      m_nMaxEnableFunsNum(other.m_nMaxEnableFunsNum) {
    m_nDomainId = kDomainId;
}

LibCommonAbility& LibCommonAbility::operator=(const LibCommonAbility& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nID = other.m_nID;
    m_bEnable = other.m_bEnable;
    m_nVideoWidth = other.m_nVideoWidth;
    m_nVideoHeight = other.m_nVideoHeight;
    m_nTotalAnalyseRegionNum = other.m_nTotalAnalyseRegionNum;
    m_nMaxEnableFunsNum = other.m_nMaxEnableFunsNum;
    return *this;
}

LibCommonAbility::~LibCommonAbility() = default;

// ---- IntelligenceLibInfo

IntelligenceLibInfo::IntelligenceLibInfo() : m_nVersion(0), m_nStreamID(1) {
    m_nDomainId = kDomainId;
}

IntelligenceLibInfo::IntelligenceLibInfo(const IntelligenceLibInfo& other)
    : BaseDomain(other),
      m_nVersion(other.m_nVersion),
      m_nStreamID(other.m_nStreamID),
      m_vecLIB(other.m_vecLIB) {
    m_nDomainId = kDomainId;
}

IntelligenceLibInfo& IntelligenceLibInfo::operator=(const IntelligenceLibInfo& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nVersion = other.m_nVersion;
    m_nStreamID = other.m_nStreamID;
    m_vecLIB = other.m_vecLIB;
    return *this;
}

IntelligenceLibInfo::~IntelligenceLibInfo() = default;
