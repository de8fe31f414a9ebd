#include "domain/records/TemperatureAreaAndAlarmParam.h"

#include <cstring>

#include "domain/codecs/CodecEngine.h"

using domain_codec::setFixedText;

TemperatureAreaAndAlarmParam::TemperatureAreaAndAlarmParam()
    : m_nAreaId(0),
      m_bAlarmEnableFlag(false),
      m_nAlarmType(1),
      m_fWarningAlarmValue(48.0f),
      m_fAlarmValue(50.0f),
      m_fEmissivity(0.95f),
      m_fTargetSpace(5.0f),
      m_bAreaEnableFlag(false),
      m_nAreaShapeType(0) {
    std::memset(m_szAreaName, 0, sizeof(m_szAreaName));
    m_nDomainId = kDomainId;
}

TemperatureAreaAndAlarmParam::TemperatureAreaAndAlarmParam(const TemperatureAreaAndAlarmParam& other)
    : BaseDomain(other),
      m_nAreaId(other.m_nAreaId),
      m_bAlarmEnableFlag(other.m_bAlarmEnableFlag),
      m_nAlarmType(other.m_nAlarmType),
      m_fWarningAlarmValue(other.m_fWarningAlarmValue),
      m_fAlarmValue(other.m_fAlarmValue),
      m_fEmissivity(other.m_fEmissivity),
      m_fTargetSpace(other.m_fTargetSpace),
      m_bAreaEnableFlag(other.m_bAreaEnableFlag),
      m_nAreaShapeType(other.m_nAreaShapeType),
      m_vecPointCoordinateList(other.m_vecPointCoordinateList) {
    std::memcpy(m_szAreaName, other.m_szAreaName, sizeof(m_szAreaName));
    m_nDomainId = kDomainId;
}

TemperatureAreaAndAlarmParam& TemperatureAreaAndAlarmParam::operator=(
    const TemperatureAreaAndAlarmParam& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nAreaId = other.m_nAreaId;
    std::memcpy(m_szAreaName, other.m_szAreaName, sizeof(m_szAreaName));
    m_bAlarmEnableFlag = other.m_bAlarmEnableFlag;
    m_nAlarmType = other.m_nAlarmType;
    m_fWarningAlarmValue = other.m_fWarningAlarmValue;
    m_fAlarmValue = other.m_fAlarmValue;
    m_fEmissivity = other.m_fEmissivity;
    m_fTargetSpace = other.m_fTargetSpace;
    m_bAreaEnableFlag = other.m_bAreaEnableFlag;
    m_nAreaShapeType = other.m_nAreaShapeType;
    m_vecPointCoordinateList = other.m_vecPointCoordinateList;
    return *this;
}

TemperatureAreaAndAlarmParam::~TemperatureAreaAndAlarmParam() = default;

bool TemperatureAreaAndAlarmParam::setAreaName(const char* value) {
    return setFixedText(m_szAreaName, kAreaNameLength, value);
}
