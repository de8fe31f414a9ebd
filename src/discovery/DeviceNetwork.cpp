#include "devsearch/DeviceNetwork.h"

#include <strings.h>

#include <cstring>

namespace {

// Stores text when it fits in N - 1 characters and zeroes the rest of the
// field: equality compares whole fields, so nothing of an earlier, longer
// text may stay behind the terminator. The text may lie in the field itself.
template <size_t N>
bool storeText(char (&field)[N], const char* text) {
    static_assert(N > 1, "a text field needs room for the terminator");
    if (text == nullptr) return false;
    size_t length = strnlen(text, N);
    if (length > N - 1) return false;
    std::memmove(field, text, length);
    std::memset(field + length, 0, N - length);
    return true;
}

bool sameIgnoringCase(const char* a, const char* b) {
    return strcasecmp(a, b) == 0;
}

}  // namespace

DeviceNetwork::DeviceNetwork() {
    reset();
}

DeviceNetwork::DeviceNetwork(const DeviceNetwork& other) {
    reset();
    *this = other;
}

DeviceNetwork::~DeviceNetwork() = default;

void DeviceNetwork::reset() {
    std::memset(m_szDeviceId, 0, sizeof(m_szDeviceId));
    m_nNetId = 0;
    m_bAutoGetIp = false;
    std::memset(m_szReserved, 0, sizeof(m_szReserved));
    std::memset(m_szLocalIp, 0, sizeof(m_szLocalIp));
    std::memset(m_szLocalSubnetMask, 0, sizeof(m_szLocalSubnetMask));
    std::memset(m_szGateway, 0, sizeof(m_szGateway));
    m_bAutoGetDNS = false;
    std::memset(m_szPrimaryDNSIp, 0, sizeof(m_szPrimaryDNSIp));
    std::memset(m_szSpareDNSIp, 0, sizeof(m_szSpareDNSIp));
    m_nControlPort = 0;
    m_nRegisterPort = 0;
    m_nHttpPort = 0;
    m_nIPProtoVer = 1;
    m_nAdapterType = 1;
}

DeviceNetwork& DeviceNetwork::operator=(const DeviceNetwork& other) {
    if (this == &other) return *this;
    // The reserved text is left as it is: only reset() touches it.
    setDeviceId(other.m_szDeviceId);
    m_nNetId = other.m_nNetId;
    m_bAutoGetIp = other.m_bAutoGetIp;
    setLocalIp(other.m_szLocalIp);
    setLocalSubnetMask(other.m_szLocalSubnetMask);
    setGateway(other.m_szGateway);
    m_bAutoGetDNS = other.m_bAutoGetDNS;
    setPrimaryDNSIp(other.m_szPrimaryDNSIp);
    setSpareDNSIp(other.m_szSpareDNSIp);
    m_nControlPort = other.m_nControlPort;
    m_nRegisterPort = other.m_nRegisterPort;
    m_nHttpPort = other.m_nHttpPort;
    m_nIPProtoVer = other.m_nIPProtoVer;
    m_nAdapterType = other.m_nAdapterType;
    return *this;
}

bool DeviceNetwork::operator==(const DeviceNetwork& other) const {
    if (std::memcmp(m_szDeviceId, other.m_szDeviceId, kDeviceIdLength) != 0) return false;
    if (m_nNetId != other.m_nNetId) return false;
    if (m_bAutoGetIp != other.m_bAutoGetIp) return false;
    if (!sameIgnoringCase(m_szLocalIp, other.m_szLocalIp)) return false;
    if (!sameIgnoringCase(m_szLocalSubnetMask, other.m_szLocalSubnetMask)) return false;
    if (!sameIgnoringCase(m_szGateway, other.m_szGateway)) return false;
    if (m_bAutoGetDNS != other.m_bAutoGetDNS) return false;
    if (!sameIgnoringCase(m_szPrimaryDNSIp, other.m_szPrimaryDNSIp)) return false;
    if (!sameIgnoringCase(m_szSpareDNSIp, other.m_szSpareDNSIp)) return false;
    if (m_nControlPort != other.m_nControlPort) return false;
    if (m_nRegisterPort != other.m_nRegisterPort) return false;
    if (m_nHttpPort != other.m_nHttpPort) return false;
    if (m_nIPProtoVer != other.m_nIPProtoVer) return false;
    return m_nAdapterType == other.m_nAdapterType;
}

bool DeviceNetwork::setDeviceId(const char* text) {
    return storeText(m_szDeviceId, text);
}
const char* DeviceNetwork::getDeviceId() const {
    return m_szDeviceId;
}
bool DeviceNetwork::setLocalIp(const char* text) {
    return storeText(m_szLocalIp, text);
}
const char* DeviceNetwork::getLocalIp() const {
    return m_szLocalIp;
}
bool DeviceNetwork::setLocalSubnetMask(const char* text) {
    return storeText(m_szLocalSubnetMask, text);
}
const char* DeviceNetwork::getLocalSubnetMask() const {
    return m_szLocalSubnetMask;
}
bool DeviceNetwork::setGateway(const char* text) {
    return storeText(m_szGateway, text);
}
const char* DeviceNetwork::getGateway() const {
    return m_szGateway;
}
bool DeviceNetwork::setPrimaryDNSIp(const char* text) {
    return storeText(m_szPrimaryDNSIp, text);
}
const char* DeviceNetwork::getPrimaryDNSIp() const {
    return m_szPrimaryDNSIp;
}
bool DeviceNetwork::setSpareDNSIp(const char* text) {
    return storeText(m_szSpareDNSIp, text);
}
const char* DeviceNetwork::getSpareDNSIp() const {
    return m_szSpareDNSIp;
}

void DeviceNetwork::setNetId(int value) {
    m_nNetId = value;
}
int DeviceNetwork::getNetId() const {
    return m_nNetId;
}
void DeviceNetwork::setAutoGetIpFlag(bool value) {
    m_bAutoGetIp = value;
}
bool DeviceNetwork::getAutoGetIpFlag() const {
    return m_bAutoGetIp;
}
void DeviceNetwork::setAutoGetDNSFlag(bool value) {
    m_bAutoGetDNS = value;
}
bool DeviceNetwork::getAutoGetDNSFlag() const {
    return m_bAutoGetDNS;
}
void DeviceNetwork::setControlPort(unsigned short value) {
    m_nControlPort = value;
}
unsigned short DeviceNetwork::getControlPort() const {
    return m_nControlPort;
}
void DeviceNetwork::setRegisterPort(unsigned short value) {
    m_nRegisterPort = value;
}
unsigned short DeviceNetwork::getRegisterPort() const {
    return m_nRegisterPort;
}
void DeviceNetwork::setHttpPort(unsigned short value) {
    m_nHttpPort = value;
}
unsigned short DeviceNetwork::getHttpPort() const {
    return m_nHttpPort;
}
void DeviceNetwork::setIPProtoVer(int value) {
    m_nIPProtoVer = value;
}
int DeviceNetwork::getIPProtoVer() const {
    return m_nIPProtoVer;
}
void DeviceNetwork::setAdapterType(int value) {
    m_nAdapterType = value;
}
int DeviceNetwork::getAdapterType() const {
    return m_nAdapterType;
}
