#pragma once

#include "domain/records/DataBuffer.h"

// A block of file data with its flag byte (binary bodies only).
class EtFileDataPack : public BaseDomain {
  public:
    static constexpr int kDomainId = 1125;

    EtFileDataPack();
    EtFileDataPack(const EtFileDataPack& other);
    EtFileDataPack& operator=(const EtFileDataPack& other);
    ~EtFileDataPack() override;

    const DataBuffer& getData() const { return m_objData; }
    DataBuffer& getData() { return m_objData; }
    void setData(const DataBuffer& data) { m_objData = data; }
    unsigned char getFlag() const { return m_bFlag; }
    void setFlag(unsigned char flag) { m_bFlag = flag; }

  protected:
    DataBuffer m_objData;
    unsigned char m_bFlag;
};
