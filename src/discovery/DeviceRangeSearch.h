#pragma once

#include <cstddef>
#include <memory>

class DeviceRangeSearchThread;
class IDeviceSearcherListener;
class IRangeSearchProgressListener;

// Handle through which the search controller drives the range search: one
// owned engine and one forwarding member per operation.
class DeviceRangeSearch {
  public:
    DeviceRangeSearch();
    ~DeviceRangeSearch();
    DeviceRangeSearch(const DeviceRangeSearch&) = delete;
    DeviceRangeSearch& operator=(const DeviceRangeSearch&) = delete;

    bool addRange(const char* first, const char* last);
    void clearRange();
    void setPort(unsigned short port);
    void setPassLimit(int limit);
    void setSuppressDuplicates(bool on);
    void setRememberedLimit(size_t devices);
    void setQueryRate(int perSecond);
    void setListener(IDeviceSearcherListener* listener);
    void setProgressListener(IRangeSearchProgressListener* listener);
    // True from a successful start() until the run's end has been reported.
    bool isRunning();
    int start();
    void stop();
    // Tells the engine to end without waiting for it; stop() follows.
    void requestStop();

  private:
    std::unique_ptr<DeviceRangeSearchThread> m_pImpl;
};
