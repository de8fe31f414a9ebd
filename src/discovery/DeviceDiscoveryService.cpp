#include "discovery/DeviceDiscoveryService.h"

#include <utility>

#include "discovery/DeviceDiscoveryServiceImpl.h"

DeviceDiscoveryService::DeviceDiscoveryService() : m_pImpl(std::make_unique<DeviceDiscoveryServiceImpl>()) {}

DeviceDiscoveryService::~DeviceDiscoveryService() = default;

void DeviceDiscoveryService::setAdapters(const std::vector<std::string>& adapters) {
    m_pImpl->setAdapters(adapters);
}

void DeviceDiscoveryService::setGroup(const InetAddr& group) {
    m_pImpl->setGroup(group);
}

void DeviceDiscoveryService::setSuppressDuplicates(bool on) {
    m_pImpl->setSuppressDuplicates(on);
}

void DeviceDiscoveryService::setRememberedLimit(size_t devices) {
    m_pImpl->setRememberedLimit(devices);
}

void DeviceDiscoveryService::setSendInterval(int seconds) {
    m_pImpl->setSendInterval(seconds);
}

void DeviceDiscoveryService::setListener(SafePointer<IDeviceDiscoveryListener> listener) {
    m_pImpl->setListener(std::move(listener));
}

int DeviceDiscoveryService::start() {
    return m_pImpl->start();
}

void DeviceDiscoveryService::stop() {
    m_pImpl->stop();
}

void DeviceDiscoveryService::requestStop() {
    m_pImpl->requestStop();
}
