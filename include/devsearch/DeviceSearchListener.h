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

// Receives the progress of a range search pass, on the search thread. Counts
// are of the pass in work: addresses done (answered, or given up when their
// batch's wait ended), addresses in the pass, and records delivered.
class DEVSEARCH_EXPORT IRangeSearchProgressListener {
  public:
    virtual ~IRangeSearchProgressListener();

    // After every answer and at the end of every batch.
    virtual void onRangeProgress(int done, int total, int found) = 0;
    // Once per run, when it ends: the pass is complete, or it was stopped
    // (done is then below total). Whether a search runs is already false.
    virtual void onRangeFinished(int done, int total, int found) = 0;
};
