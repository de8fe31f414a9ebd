#pragma once

// TemperatureAreaAndAlarmParam, written by hand: the corners of its measuring
// area travel as one text "(x, y);(x, y)" (TemperatureAreaAndAlarmParamXml).

#include <vector>

#include "domain/BaseDomain.h"
#include "domain/records/OLPointCoordinate.h"

class TemperatureAreaAndAlarmParam : public BaseDomain {
  public:
    static constexpr int kDomainId = 6403;
    static constexpr int kAreaNameLength = 32;

    TemperatureAreaAndAlarmParam();
    TemperatureAreaAndAlarmParam(const TemperatureAreaAndAlarmParam& other);
    TemperatureAreaAndAlarmParam& operator=(const TemperatureAreaAndAlarmParam& other);
    ~TemperatureAreaAndAlarmParam() override;

    int getAreaId() const { return m_nAreaId; }
    void setAreaId(int value) { m_nAreaId = value; }
    const char* getAreaName() const { return m_szAreaName; }
    // False for a null text or one of more than 32 characters; the field then
    // stays.
    bool setAreaName(const char* value);
    bool getAlarmEnableFlag() const { return m_bAlarmEnableFlag; }
    void setAlarmEnableFlag(bool value) { m_bAlarmEnableFlag = value; }
    int getAlarmType() const { return m_nAlarmType; }
    void setAlarmType(int value) { m_nAlarmType = value; }
    float getWarningAlarmValue() const { return m_fWarningAlarmValue; }
    void setWarningAlarmValue(float value) { m_fWarningAlarmValue = value; }
    float getAlarmValue() const { return m_fAlarmValue; }
    void setAlarmValue(float value) { m_fAlarmValue = value; }
    float getEmissivity() const { return m_fEmissivity; }
    void setEmissivity(float value) { m_fEmissivity = value; }
    float getTargetSpace() const { return m_fTargetSpace; }
    void setTargetSpace(float value) { m_fTargetSpace = value; }
    // The child TemperatureMeasureArea.
    bool getAreaEnableFlag() const { return m_bAreaEnableFlag; }
    void setAreaEnableFlag(bool value) { m_bAreaEnableFlag = value; }
    int getAreaShapeType() const { return m_nAreaShapeType; }
    void setAreaShapeType(int value) { m_nAreaShapeType = value; }
    const std::vector<OLPointCoordinate>& getPointCoordinateList() const { return m_vecPointCoordinateList; }
    void setPointCoordinateList(const std::vector<OLPointCoordinate>& value) {
        m_vecPointCoordinateList = value;
    }

  protected:
    int m_nAreaId;
    char m_szAreaName[kAreaNameLength + 1];
    bool m_bAlarmEnableFlag;
    int m_nAlarmType;
    float m_fWarningAlarmValue;
    float m_fAlarmValue;
    float m_fEmissivity;
    float m_fTargetSpace;
    bool m_bAreaEnableFlag;
    int m_nAreaShapeType;
    std::vector<OLPointCoordinate> m_vecPointCoordinateList;
};
