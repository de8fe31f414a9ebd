#pragma once

// PTZOperationInfo, identifier 243: one complete state or command of a PTZ
// head. Written by hand because its alarm line states are a fixed array of
// three one-byte values, not a list: the build always writes three items and
// the parse fills at most three.

#include <string>

#include "domain/BaseDomain.h"
#include "domain/records/PTZPointParam.h"

class PTZOperationInfoXml;

class PTZOperationInfo : public BaseDomain {
  public:
    static constexpr int kDomainId = 243;
    static constexpr int kAlarmIOStateCount = 3;

    PTZOperationInfo();
    PTZOperationInfo(const PTZOperationInfo& other);
    PTZOperationInfo& operator=(const PTZOperationInfo& other);
    ~PTZOperationInfo() override;

    int getCommonID() const { return m_nCommonID; }
    void setCommonID(int value) { m_nCommonID = value; }
    int getPanSpeed() const { return m_nPanSpeed; }
    void setPanSpeed(int value) { m_nPanSpeed = value; }
    int getTiltSpeed() const { return m_nTiltSpeed; }
    void setTiltSpeed(int value) { m_nTiltSpeed = value; }
    int getZoomSpeedValue() const { return m_nZoomSpeedValue; }
    void setZoomSpeedValue(int value) { m_nZoomSpeedValue = value; }
    int getFocusSpeedValue() const { return m_nFocusSpeedValue; }
    void setFocusSpeedValue(int value) { m_nFocusSpeedValue = value; }
    int getDirectionValue() const { return m_nDirectionValue; }
    void setDirectionValue(int value) { m_nDirectionValue = value; }
    int getStopTime() const { return m_nStopTime; }
    void setStopTime(int value) { m_nStopTime = value; }
    int getType() const { return m_nType; }
    void setType(int value) { m_nType = value; }
    const PTZPointParam& getPTZPointParamV2() const { return m_objPTZPointParamV2; }
    void setPTZPointParamV2(const PTZPointParam& value) { m_objPTZPointParamV2 = value; }
    // The kAlarmIOStateCount states.
    const unsigned char* getAlarmIOStateList() const { return m_AlarmIOStateList; }
    // Copies kAlarmIOStateCount states; a null pointer changes nothing.
    void setAlarmIOStateList(const unsigned char* states);
    const std::string& getPTZVersion() const { return m_strPTZVersion; }
    void setPTZVersion(const std::string& value) { m_strPTZVersion = value; }
    double getMCUTemperature() const { return m_dMCUTemperature; }
    void setMCUTemperature(double value) { m_dMCUTemperature = value; }
    int getVerticalMaxPosition() const { return m_nVerticalMaxPosition; }
    void setVerticalMaxPosition(int value) { m_nVerticalMaxPosition = value; }

  protected:
    friend class PTZOperationInfoXml;

    int m_nCommonID;
    int m_nPanSpeed;
    int m_nTiltSpeed;
    int m_nZoomSpeedValue;
    int m_nFocusSpeedValue;
    int m_nDirectionValue;
    int m_nStopTime;
    int m_nType;
    PTZPointParam m_objPTZPointParamV2;
    unsigned char m_AlarmIOStateList[kAlarmIOStateCount];
    std::string m_strPTZVersion;
    double m_dMCUTemperature;
    int m_nVerticalMaxPosition;
};
