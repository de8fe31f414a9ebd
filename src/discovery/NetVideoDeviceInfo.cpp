#include "devsearch/NetVideoDeviceInfo.h"

#include "domain/records/Version.h"

NetVideoDeviceInfo::NetVideoDeviceInfo()
    : m_nDeviceType(0), m_nDevicePort(0), m_nHttpPort(0), m_pVersion(std::make_unique<Version>()) {}

NetVideoDeviceInfo::NetVideoDeviceInfo(const NetVideoDeviceInfo& other)
    : m_strDeviceId(other.m_strDeviceId),
      m_nDeviceType(other.m_nDeviceType),
      m_strDeviceIP(other.m_strDeviceIP),
      m_nDevicePort(other.m_nDevicePort),
      m_nHttpPort(other.m_nHttpPort),
      m_pVersion(std::make_unique<Version>(*other.m_pVersion)),
      m_strManufacturerId(other.m_strManufacturerId),
      m_strManufacturerName(other.m_strManufacturerName),
      m_strSpareText1(other.m_strSpareText1),
      m_strProductModel(other.m_strProductModel),
      m_strDeviceTime(other.m_strDeviceTime),
      m_strDeviceName(other.m_strDeviceName),
      m_strSN(other.m_strSN),
      m_strSpareText2(other.m_strSpareText2),
      m_strUpdatePort(other.m_strUpdatePort),
      m_strMACAddr(other.m_strMACAddr) {}

NetVideoDeviceInfo& NetVideoDeviceInfo::operator=(const NetVideoDeviceInfo& other) {
    if (this == &other) return *this;
    m_strDeviceId = other.m_strDeviceId;
    m_nDeviceType = other.m_nDeviceType;
    m_strDeviceIP = other.m_strDeviceIP;
    m_nDevicePort = other.m_nDevicePort;
    m_nHttpPort = other.m_nHttpPort;
    *m_pVersion = *other.m_pVersion;
    m_strManufacturerId = other.m_strManufacturerId;
    m_strManufacturerName = other.m_strManufacturerName;
    m_strSpareText1 = other.m_strSpareText1;
    m_strProductModel = other.m_strProductModel;
    m_strDeviceTime = other.m_strDeviceTime;
    m_strDeviceName = other.m_strDeviceName;
    m_strSN = other.m_strSN;
    m_strSpareText2 = other.m_strSpareText2;
    m_strUpdatePort = other.m_strUpdatePort;
    m_strMACAddr = other.m_strMACAddr;
    return *this;
}

NetVideoDeviceInfo::~NetVideoDeviceInfo() = default;

bool NetVideoDeviceInfo::operator==(const NetVideoDeviceInfo& other) const {
    return m_strDeviceId == other.m_strDeviceId && m_nDeviceType == other.m_nDeviceType &&
           m_strDeviceIP == other.m_strDeviceIP && m_nDevicePort == other.m_nDevicePort &&
           m_nHttpPort == other.m_nHttpPort && *m_pVersion == *other.m_pVersion &&
           m_strManufacturerId == other.m_strManufacturerId &&
           m_strManufacturerName == other.m_strManufacturerName && m_strSpareText1 == other.m_strSpareText1 &&
           m_strProductModel == other.m_strProductModel && m_strDeviceTime == other.m_strDeviceTime &&
           m_strDeviceName == other.m_strDeviceName && m_strSN == other.m_strSN &&
           m_strSpareText2 == other.m_strSpareText2 && m_strUpdatePort == other.m_strUpdatePort &&
           m_strMACAddr == other.m_strMACAddr;
}

const Version& NetVideoDeviceInfo::getVersion() const {
    return *m_pVersion;
}

void NetVideoDeviceInfo::setVersion(const Version& value) {
    *m_pVersion = value;
}

std::string NetVideoDeviceInfo::getHardwareVer() const {
    return m_pVersion->getHardwareVer();
}

std::string NetVideoDeviceInfo::getSoftwareVer() const {
    return m_pVersion->getSoftwareVer();
}

void NetVideoDeviceInfo::setHardwareVer(const std::string& value) {
    m_pVersion->setHardwareVer(value);
}

void NetVideoDeviceInfo::setSoftwareVer(const std::string& value) {
    m_pVersion->setSoftwareVer(value);
}
