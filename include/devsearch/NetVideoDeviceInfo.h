#pragma once

#include <memory>
#include <string>

#include "devsearch/Export.h"

class Version;

// One device found by a search, as the signal IPSearchSend carries it: a
// plain value with full copy and full equality. Strings start empty and
// numbers at 0.
//
// The Version record (hardware and software version) is a record of the
// library's protocol layer, whose header is not installed: an application
// reads and sets the two versions through getHardwareVer(), getSoftwareVer(),
// setHardwareVer() and setSoftwareVer(), and needs no more than this header.
class DEVSEARCH_EXPORT NetVideoDeviceInfo {
  public:
    NetVideoDeviceInfo();
    NetVideoDeviceInfo(const NetVideoDeviceInfo& other);
    NetVideoDeviceInfo& operator=(const NetVideoDeviceInfo& other);
    ~NetVideoDeviceInfo();

    // Every field equal; the versions compare their two texts and their identifier.
    bool operator==(const NetVideoDeviceInfo& other) const;
    bool operator!=(const NetVideoDeviceInfo& other) const { return !(*this == other); }

    const std::string& getDeviceId() const { return m_strDeviceId; }
    void setDeviceId(const std::string& value) { m_strDeviceId = value; }
    int getDeviceType() const { return m_nDeviceType; }
    void setDeviceType(int value) { m_nDeviceType = value; }
    const std::string& getDeviceIP() const { return m_strDeviceIP; }
    void setDeviceIP(const std::string& value) { m_strDeviceIP = value; }
    unsigned short getDevicePort() const { return m_nDevicePort; }
    void setDevicePort(unsigned short value) { m_nDevicePort = value; }
    unsigned short getHttpPort() const { return m_nHttpPort; }
    void setHttpPort(unsigned short value) { m_nHttpPort = value; }
    const Version& getVersion() const;
    void setVersion(const Version& value);
    std::string getHardwareVer() const;
    std::string getSoftwareVer() const;
    void setHardwareVer(const std::string& value);
    void setSoftwareVer(const std::string& value);
    const std::string& getManufacturerId() const { return m_strManufacturerId; }
    void setManufacturerId(const std::string& value) { m_strManufacturerId = value; }
    const std::string& getManufacturerName() const { return m_strManufacturerName; }
    void setManufacturerName(const std::string& value) { m_strManufacturerName = value; }
    const std::string& getSpareText1() const { return m_strSpareText1; }
    void setSpareText1(const std::string& value) { m_strSpareText1 = value; }
    const std::string& getProductModel() const { return m_strProductModel; }
    void setProductModel(const std::string& value) { m_strProductModel = value; }
    const std::string& getDeviceTime() const { return m_strDeviceTime; }
    void setDeviceTime(const std::string& value) { m_strDeviceTime = value; }
    const std::string& getDeviceName() const { return m_strDeviceName; }
    void setDeviceName(const std::string& value) { m_strDeviceName = value; }
    const std::string& getSN() const { return m_strSN; }
    void setSN(const std::string& value) { m_strSN = value; }
    const std::string& getSpareText2() const { return m_strSpareText2; }
    void setSpareText2(const std::string& value) { m_strSpareText2 = value; }
    const std::string& getUpdatePort() const { return m_strUpdatePort; }
    void setUpdatePort(const std::string& value) { m_strUpdatePort = value; }
    const std::string& getMACAddr() const { return m_strMACAddr; }
    void setMACAddr(const std::string& value) { m_strMACAddr = value; }

  private:
    std::string m_strDeviceId;
    int m_nDeviceType;
    std::string m_strDeviceIP;
    unsigned short m_nDevicePort;
    unsigned short m_nHttpPort;
    // Never null: every constructor makes one.
    std::unique_ptr<Version> m_pVersion;
    std::string m_strManufacturerId;
    std::string m_strManufacturerName;
    std::string m_strSpareText1;
    std::string m_strProductModel;
    std::string m_strDeviceTime;
    std::string m_strDeviceName;
    std::string m_strSN;
    std::string m_strSpareText2;
    std::string m_strUpdatePort;
    std::string m_strMACAddr;
};
