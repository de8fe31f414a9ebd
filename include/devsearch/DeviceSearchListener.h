#pragma once

#include "devsearch/Export.h"

class DeviceSummaryInfo;
class NetVideoDeviceInfo;

// Receives the records of a range search, one call per device, on the search
// thread. The record is lent for the call; copy what you keep.
class DEVSEARCH_EXPORT IDeviceSearcherListener {
  public:
    IDeviceSearcherListener();
    IDeviceSearcherListener(const IDeviceSearcherListener& other);
    IDeviceSearcherListener& operator=(const IDeviceSearcherListener& other);
    virtual ~IDeviceSearcherListener();

    // The result is ignored.
    virtual int onSearchResult(const NetVideoDeviceInfo& record) = 0;

    int getListenerId() const { return m_nListenerId; }
    void setListenerId(int id) { m_nListenerId = id; }

  private:
    int m_nListenerId;
};

// Receives the records of a multicast search, one call per device. Two engine
// threads may call it at the same moment, so an implementation must accept
// concurrent calls. The record is lent for the call; copy what you keep.
class DEVSEARCH_EXPORT IDeviceDiscoveryListener {
  public:
    virtual ~IDeviceDiscoveryListener();

    virtual void onDeviceDiscovered(const DeviceSummaryInfo& record) = 0;
};
