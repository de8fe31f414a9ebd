#include "domain/records/PTZOperationInfo.h"

#include <cstring>

PTZOperationInfo::PTZOperationInfo()
    : m_nCommonID(0),
      m_nPanSpeed(0),
      m_nTiltSpeed(0),
      m_nZoomSpeedValue(0),
      m_nFocusSpeedValue(0),
      m_nDirectionValue(0),
      m_nStopTime(0),
      m_nType(0),
      m_dMCUTemperature(0.0),
      m_nVerticalMaxPosition(0) {
    std::memset(m_AlarmIOStateList, 0, sizeof(m_AlarmIOStateList));
    m_nDomainId = kDomainId;
}

PTZOperationInfo::PTZOperationInfo(const PTZOperationInfo& other)
    : BaseDomain(other),
      m_nCommonID(other.m_nCommonID),
      m_nPanSpeed(other.m_nPanSpeed),
      m_nTiltSpeed(other.m_nTiltSpeed),
      m_nZoomSpeedValue(other.m_nZoomSpeedValue),
      m_nFocusSpeedValue(other.m_nFocusSpeedValue),
      m_nDirectionValue(other.m_nDirectionValue),
      m_nStopTime(other.m_nStopTime),
      m_nType(other.m_nType),
      m_objPTZPointParamV2(other.m_objPTZPointParamV2),
      m_strPTZVersion(other.m_strPTZVersion),
      m_dMCUTemperature(other.m_dMCUTemperature),
      m_nVerticalMaxPosition(other.m_nVerticalMaxPosition) {
    std::memcpy(m_AlarmIOStateList, other.m_AlarmIOStateList, sizeof(m_AlarmIOStateList));
    m_nDomainId = kDomainId;
}

PTZOperationInfo& PTZOperationInfo::operator=(const PTZOperationInfo& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nCommonID = other.m_nCommonID;
    m_nPanSpeed = other.m_nPanSpeed;
    m_nTiltSpeed = other.m_nTiltSpeed;
    m_nZoomSpeedValue = other.m_nZoomSpeedValue;
    m_nFocusSpeedValue = other.m_nFocusSpeedValue;
    m_nDirectionValue = other.m_nDirectionValue;
    m_nStopTime = other.m_nStopTime;
    m_nType = other.m_nType;
    m_objPTZPointParamV2 = other.m_objPTZPointParamV2;
    std::memcpy(m_AlarmIOStateList, other.m_AlarmIOStateList, sizeof(m_AlarmIOStateList));
    m_strPTZVersion = other.m_strPTZVersion;
    m_dMCUTemperature = other.m_dMCUTemperature;
    m_nVerticalMaxPosition = other.m_nVerticalMaxPosition;
    return *this;
}

PTZOperationInfo::~PTZOperationInfo() = default;

void PTZOperationInfo::setAlarmIOStateList(const unsigned char* states) {
    if (states == nullptr) return;
    std::memcpy(m_AlarmIOStateList, states, sizeof(m_AlarmIOStateList));
}
