#pragma once

#include "devsearch/Export.h"

// Network settings of one device: identity, addresses and ports. A fixed-size
// value with no heap data and no virtual operations, so an application may copy
// it freely. Text fields hold one character less than their array size.
class DEVSEARCH_EXPORT DeviceNetwork {
  public:
    static constexpr int kDeviceIdLength = 32;
    static constexpr int kAddressLength = 48;

    DeviceNetwork();
    DeviceNetwork(const DeviceNetwork& other);
    ~DeviceNetwork();

    DeviceNetwork& operator=(const DeviceNetwork& other);
    // Device id byte for byte; addresses without regard to letter case.
    bool operator==(const DeviceNetwork& other) const;
    bool operator!=(const DeviceNetwork& other) const { return !(*this == other); }

    // Every field back to its initial value (IP version and adapter type 1).
    void reset();

    // Text setters refuse a null text or one longer than the field (false, field unchanged).
    bool setDeviceId(const char* text);
    const char* getDeviceId() const;
    bool setLocalIp(const char* text);
    const char* getLocalIp() const;
    bool setLocalSubnetMask(const char* text);
    const char* getLocalSubnetMask() const;
    bool setGateway(const char* text);
    const char* getGateway() const;
    bool setPrimaryDNSIp(const char* text);
    const char* getPrimaryDNSIp() const;
    bool setSpareDNSIp(const char* text);
    const char* getSpareDNSIp() const;

    void setNetId(int value);
    int getNetId() const;
    void setAutoGetIpFlag(bool value);
    bool getAutoGetIpFlag() const;
    void setAutoGetDNSFlag(bool value);
    bool getAutoGetDNSFlag() const;
    void setControlPort(unsigned short value);
    unsigned short getControlPort() const;
    void setRegisterPort(unsigned short value);
    unsigned short getRegisterPort() const;
    void setHttpPort(unsigned short value);
    unsigned short getHttpPort() const;
    void setIPProtoVer(int value);
    int getIPProtoVer() const;
    void setAdapterType(int value);
    int getAdapterType() const;

  private:
    char m_szDeviceId[kDeviceIdLength + 1];
    int m_nNetId;
    bool m_bAutoGetIp;
    char m_szReserved[kAddressLength + 1];
    char m_szLocalIp[kAddressLength + 1];
    char m_szLocalSubnetMask[kAddressLength + 1];
    char m_szGateway[kAddressLength + 1];
    bool m_bAutoGetDNS;
    char m_szPrimaryDNSIp[kAddressLength + 1];
    char m_szSpareDNSIp[kAddressLength + 1];
    unsigned short m_nControlPort;
    unsigned short m_nRegisterPort;
    unsigned short m_nHttpPort;
    int m_nIPProtoVer;
    int m_nAdapterType;
};
