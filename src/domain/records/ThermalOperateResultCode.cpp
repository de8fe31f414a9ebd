#include "domain/records/ThermalOperateResultCode.h"

ThermalOperateResultCode::ThermalOperateResultCode() : m_nOperateReturnCode(0) {
    m_nDomainId = kDomainId;
}

ThermalOperateResultCode::ThermalOperateResultCode(const ThermalOperateResultCode& other)
    : BaseDomain(other),
      m_vecOperateItemIdList(other.m_vecOperateItemIdList),
      m_vecParamErrorCodeList(other.m_vecParamErrorCodeList),
      m_nOperateReturnCode(other.m_nOperateReturnCode) {
    m_nDomainId = kDomainId;
}

ThermalOperateResultCode& ThermalOperateResultCode::operator=(const ThermalOperateResultCode& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_vecOperateItemIdList = other.m_vecOperateItemIdList;
    m_vecParamErrorCodeList = other.m_vecParamErrorCodeList;
    m_nOperateReturnCode = other.m_nOperateReturnCode;
    return *this;
}

ThermalOperateResultCode::~ThermalOperateResultCode() = default;
