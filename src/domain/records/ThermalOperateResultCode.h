#pragma once

// ThermalOperateResultCode, written by hand: its two number lists travel as
// texts of "(OperateId:%d)" and "(ErrorCode:%d)" pieces
// (ThermalOperateResultCodeXml).

#include <vector>

#include "domain/BaseDomain.h"

class ThermalOperateResultCode : public BaseDomain {
  public:
    static constexpr int kDomainId = 6412;

    ThermalOperateResultCode();
    ThermalOperateResultCode(const ThermalOperateResultCode& other);
    ThermalOperateResultCode& operator=(const ThermalOperateResultCode& other);
    ~ThermalOperateResultCode() override;

    // OperateItemIdList of the child OperateItemId.
    const std::vector<int>& getOperateItemIdList() const { return m_vecOperateItemIdList; }
    void setOperateItemIdList(const std::vector<int>& value) { m_vecOperateItemIdList = value; }
    // ParamErrorCodeList of the child ParamErrorCode.
    const std::vector<int>& getParamErrorCodeList() const { return m_vecParamErrorCodeList; }
    void setParamErrorCodeList(const std::vector<int>& value) { m_vecParamErrorCodeList = value; }
    int getOperateReturnCode() const { return m_nOperateReturnCode; }
    void setOperateReturnCode(int value) { m_nOperateReturnCode = value; }

  protected:
    std::vector<int> m_vecOperateItemIdList;
    std::vector<int> m_vecParamErrorCodeList;
    int m_nOperateReturnCode;
};
