#include "devsearch/DeviceSearchListener.h"

IDeviceSearcherListener::IDeviceSearcherListener() : m_nListenerId(0) {}

IDeviceSearcherListener::IDeviceSearcherListener(const IDeviceSearcherListener& other)
    : m_nListenerId(other.m_nListenerId) {}

IDeviceSearcherListener& IDeviceSearcherListener::operator=(const IDeviceSearcherListener& other) {
    m_nListenerId = other.m_nListenerId;
    return *this;
}

IDeviceSearcherListener::~IDeviceSearcherListener() = default;

IDeviceDiscoveryListener::~IDeviceDiscoveryListener() = default;

IRangeSearchProgressListener::~IRangeSearchProgressListener() = default;
