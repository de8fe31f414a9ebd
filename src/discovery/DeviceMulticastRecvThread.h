#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLThread.h"
#include "Product/Technic/SafePointer.h"
#include "discovery/DeliveredDevices.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/InetAddr.h"
#include "transport/SocketHandle.h"
#include "transport/SocketReadSelect.h"
#include "transport/WakeUp.h"

class IDeviceDiscoveryListener;
class ITransfer;

// Listens for device announcements on group 234.5.6.7 port 30003: one
// transfer per selected adapter, bound to the adapter's first IPv4 address and
// joined to the group, all waited on together. Each datagram that decodes
// becomes a DeviceSummaryInfo for the listener, called on this thread.
class DeviceMulticastRecvThread : public OLThread {
  public:
    static constexpr int kWaitMs = 2000;
    // Datagrams read from one transfer in a row while more are queued, before
    // the other adapters get their turn.
    static constexpr int kDrainLimit = 64;

    DeviceMulticastRecvThread();
    ~DeviceMulticastRecvThread() override;

    // Called only while the thread is stopped.
    void setAdapters(const std::vector<std::string>& adapters);
    void setSuppressDuplicates(bool on);
    // Most records held for the duplicate check (default 65,536, at least 1);
    // past it the oldest are forgotten, and such a device is delivered again
    // when it repeats. Records are never dropped for want of room.
    void setRememberedLimit(size_t devices);
    // Records held for the duplicate check now.
    size_t getRememberedCount() const { return m_objDelivered.size(); }
    // Not owned; stored under the listener lock.
    void setListener(IDeviceDiscoveryListener* listener);

    // 0; -11 already running; -661 no adapter, no group or no listener; an
    // error of opening a transfer (the first one that fails ends the start);
    // -12 when the thread cannot be started.
    int start();
    // Ends the thread at once, leaves the group, closes every transfer and
    // forgets the records delivered so far.
    void stop();
    // Tells the thread to end without waiting for it; stop() follows.
    void requestStop();

    // Transfers open now; the thread closes those that fail while it runs.
    size_t getTransferCount() const { return m_nTransfers; }

  protected:
    int run() override;

  private:
    int openTransfer(const std::string& adapter, SafePointer<ITransfer>& out);
    // Takes a transfer out of the readiness set, leaves the group on it and closes it.
    void closeTransfer(SocketHandle handle, SafePointer<ITransfer>& transfer);
    void closeAllTransfers();
    // Reads and delivers the datagrams queued on a readable transfer, up to
    // kDrainLimit: 0, or the failure of the datagram that did not decode.
    int drain(const SafePointer<ITransfer>& transfer);
    // The duplicate rule: a record equal to the one held for its device id is
    // dropped; a changed one replaces it.
    int deliver(const DeviceSummaryInfo& summary);

    std::atomic<bool> m_bStop;
    IDeviceDiscoveryListener* m_pListener;
    OLMutex m_objListenerLock;
    bool m_bSuppressDuplicates;
    DeliveredDevices<DeviceSummaryInfo> m_objDelivered;
    std::vector<std::string> m_vecAdapters;
    InetAddr m_objGroup;
    std::map<SocketHandle, SafePointer<ITransfer>> m_mapTransfers;
    std::atomic<size_t> m_nTransfers{0};
    SocketReadSelect m_objReadSelect;
    // Raised by requestStop(): ends the thread's wait and receive at once.
    WakeUp m_objWakeUp;
};
