#pragma once

#include "domain/records/DataBuffer.h"

// Data to write to a serial line, with two values (binary bodies only).
class EtCOMWriteData : public BaseDomain {
  public:
    static constexpr int kDomainId = 1067;

    EtCOMWriteData();
    EtCOMWriteData(const EtCOMWriteData& other);
    EtCOMWriteData& operator=(const EtCOMWriteData& other);
    ~EtCOMWriteData() override;

    int getValue1() const { return m_nValue1; }
    void setValue1(int value) { m_nValue1 = value; }
    int getValue2() const { return m_nValue2; }
    void setValue2(int value) { m_nValue2 = value; }
    const ComData& getComData() const { return m_objComData; }
    ComData& getComData() { return m_objComData; }
    void setComData(const ComData& data) { m_objComData = data; }

  protected:
    int m_nValue1;
    int m_nValue2;
    ComData m_objComData;
};
