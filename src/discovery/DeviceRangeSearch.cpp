#include "discovery/DeviceRangeSearch.h"

#include "discovery/DeviceRangeSearchThread.h"

DeviceRangeSearch::DeviceRangeSearch() : m_pImpl(std::make_unique<DeviceRangeSearchThread>()) {}

DeviceRangeSearch::~DeviceRangeSearch() = default;

bool DeviceRangeSearch::addRange(const char* first, const char* last) {
    return m_pImpl->addRange(first, last);
}

void DeviceRangeSearch::clearRange() {
    m_pImpl->clearRange();
}

void DeviceRangeSearch::setPort(unsigned short port) {
    m_pImpl->setPort(port);
}

void DeviceRangeSearch::setPassLimit(int limit) {
    m_pImpl->setPassLimit(limit);
}

void DeviceRangeSearch::setSuppressDuplicates(bool on) {
    m_pImpl->setSuppressDuplicates(on);
}

void DeviceRangeSearch::setRememberedLimit(size_t devices) {
    m_pImpl->setRememberedLimit(devices);
}

void DeviceRangeSearch::setQueryRate(int perSecond) {
    m_pImpl->setQueryRate(perSecond);
}

void DeviceRangeSearch::setListener(IDeviceSearcherListener* listener) {
    m_pImpl->setListener(listener);
}

void DeviceRangeSearch::setProgressListener(IRangeSearchProgressListener* listener) {
    m_pImpl->setProgressListener(listener);
}

bool DeviceRangeSearch::isRunning() {
    return m_pImpl->isSearching();
}

int DeviceRangeSearch::start() {
    return m_pImpl->start();
}

void DeviceRangeSearch::stop() {
    m_pImpl->stop();
}

void DeviceRangeSearch::requestStop() {
    m_pImpl->requestStop();
}
