#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

class DeviceMulticastRecvThread;
class IDeviceDiscoveryListener;

// Handle through which the search controller drives the multicast receive
// thread: one owned engine and one forwarding member per operation.
class DeviceMulticastRecv {
  public:
    DeviceMulticastRecv();
    ~DeviceMulticastRecv();
    DeviceMulticastRecv(const DeviceMulticastRecv&) = delete;
    DeviceMulticastRecv& operator=(const DeviceMulticastRecv&) = delete;

    void setAdapters(const std::vector<std::string>& adapters);
    void setSuppressDuplicates(bool on);
    void setRememberedLimit(size_t devices);
    void setListener(IDeviceDiscoveryListener* listener);
    int start();
    void stop();
    // Tells the engine to end without waiting for it; stop() follows.
    void requestStop();

  private:
    std::unique_ptr<DeviceMulticastRecvThread> m_pImpl;
};
