#include "discovery/DeviceMulticastRecv.h"

#include "discovery/DeviceMulticastRecvThread.h"

DeviceMulticastRecv::DeviceMulticastRecv() : m_pImpl(new DeviceMulticastRecvThread()) {}

DeviceMulticastRecv::~DeviceMulticastRecv() = default;

void DeviceMulticastRecv::setAdapters(const std::vector<std::string>& adapters) {
    m_pImpl->setAdapters(adapters);
}

void DeviceMulticastRecv::setSuppressDuplicates(bool on) {
    m_pImpl->setSuppressDuplicates(on);
}

void DeviceMulticastRecv::setRememberedLimit(size_t devices) {
    m_pImpl->setRememberedLimit(devices);
}

void DeviceMulticastRecv::setListener(IDeviceDiscoveryListener* listener) {
    m_pImpl->setListener(listener);
}

int DeviceMulticastRecv::start() {
    return m_pImpl->start();
}

void DeviceMulticastRecv::stop() {
    m_pImpl->stop();
}

void DeviceMulticastRecv::requestStop() {
    m_pImpl->requestStop();
}
