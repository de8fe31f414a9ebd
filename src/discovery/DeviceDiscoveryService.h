#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"
#include "devsearch/DeviceSearchListener.h"

class DeviceDiscoveryServiceImpl;
class InetAddr;

// Handle through which the search controller drives the discovery service:
// one owned engine and one forwarding member per operation.
class DeviceDiscoveryService {
  public:
    DeviceDiscoveryService();
    ~DeviceDiscoveryService();
    DeviceDiscoveryService(const DeviceDiscoveryService&) = delete;
    DeviceDiscoveryService& operator=(const DeviceDiscoveryService&) = delete;

    void setAdapters(const std::vector<std::string>& adapters);
    void setGroup(const InetAddr& group);
    void setSuppressDuplicates(bool on);
    void setRememberedLimit(size_t devices);
    void setSendInterval(int seconds);
    void setListener(SafePointer<IDeviceDiscoveryListener> listener);
    int start();
    void stop();
    // Tells the engine to end without waiting for it; stop() follows.
    void requestStop();

  private:
    std::unique_ptr<DeviceDiscoveryServiceImpl> m_pImpl;
};
