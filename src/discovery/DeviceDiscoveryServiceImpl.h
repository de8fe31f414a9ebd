#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Product/Technic/GThread.h"
#include "Product/Technic/OLMutex.h"
#include "Product/Technic/SafePointer.h"
#include "discovery/DeliveredDevices.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/InetAddr.h"
#include "transport/CommandBuffer.h"
#include "transport/SocketHandle.h"
#include "transport/SocketReadSelect.h"
#include "transport/WakeUp.h"

class CommandParam;
class ICommandProtocolParser;
class IDeviceDiscoveryListener;
class ITransfer;

// The asking half of the multicast search. On each adapter it opens a send
// transfer on the group port and a read transfer on the next port, both bound
// to the adapter's first IPv4 address and joined to the group. A GThread
// worker sends the SDK query 30539 on every send transfer once per send
// interval and reads the answers in between; every answer that carries a
// DeviceSummaryInfo goes to the listener, on the worker. It runs until stop().
class DeviceDiscoveryServiceImpl {
  public:
    static constexpr int kDefaultSendInterval = 10;  // seconds
    static constexpr int kWaitMs = 2000;
    static constexpr int kRecvTimeoutMs = 1000;
    static constexpr int kSendTimeoutMs = 3000;
    // Answers read from one transfer in a row while more are queued.
    static constexpr int kDrainLimit = 64;

    DeviceDiscoveryServiceImpl();
    ~DeviceDiscoveryServiceImpl();
    DeviceDiscoveryServiceImpl(const DeviceDiscoveryServiceImpl&) = delete;
    DeviceDiscoveryServiceImpl& operator=(const DeviceDiscoveryServiceImpl&) = delete;

    // The setters are called while the worker is stopped.
    void setAdapters(const std::vector<std::string>& adapters);
    void setGroup(const InetAddr& group);
    void setSuppressDuplicates(bool on);
    void setSendInterval(int seconds);
    // Most records held for the duplicate check (default 65,536, at least 1);
    // past it the oldest are forgotten, and such a record is delivered again
    // when it repeats. Records are never dropped for want of room.
    void setRememberedLimit(size_t records);
    // A null listener is refused with the pointer's own failure (OLRuntimeError).
    void setListener(SafePointer<IDeviceDiscoveryListener> listener);

    // 0; -11 already running; -661 not configured (no adapter, no group or no
    // listener); -12 the worker could not start. An adapter whose transfers
    // cannot be opened is skipped; with none opened the result is still 0 and
    // the worker ends on its first pass.
    int start();
    // Ends the worker at once (its wait and its receive end when told), leaves
    // the group, closes every transfer and forgets the records delivered so
    // far. The settings stay.
    void stop();
    // Tells the worker to end without waiting for it; stop() follows. Lets a
    // caller stop several engines in the time of one.
    void requestStop();

    bool isRunning();
    // Transfers open now; the worker does not change them while it runs.
    size_t getReadTransferCount() const { return m_mapReadTransfers.size(); }
    size_t getSendTransferCount() const { return m_mapSendTransfers.size(); }
    // Records held for the duplicate check now.
    size_t getRememberedCount() const { return m_objDelivered.size(); }

  private:
    // The worker's loop body; -1 ends the worker (no read transfer left).
    int runOnce();
    bool stopRequested() const;
    int openTransfers();
    int openTransfer(const InetAddr& address, const std::string& adapter, int recvBufferBytes,
                     SafePointer<ITransfer>& out);
    int sendQuery();
    int receive(ITransfer& transfer, int timeoutMs, SafePointer<CommandParam>& param);
    int handleCommand(const SafePointer<CommandParam>& param);
    // The duplicate rule: a record equal in every field to one held is
    // dropped; any other is delivered and held beside the earlier ones.
    void deliver(const DeviceSummaryInfo& summary);
    void closeTransfers(std::map<SocketHandle, SafePointer<ITransfer>>& transfers);

    OLMutex m_objLock;
    SafePointer<GThread> m_pThread;
    SafePointer<ICommandProtocolParser> m_pParser;
    SafePointer<IDeviceDiscoveryListener> m_pListener;
    SocketReadSelect m_objReadSelect;
    std::map<SocketHandle, SafePointer<ITransfer>> m_mapReadTransfers;
    std::map<SocketHandle, SafePointer<ITransfer>> m_mapSendTransfers;
    std::vector<std::string> m_vecAdapters;
    bool m_bSuppressDuplicates;
    InetAddr m_objGroup;
    int m_nSendInterval;
    // Tick of the last query (monotonic milliseconds); none yet after start().
    bool m_bSent;
    uint32_t m_nLastSend;
    DeliveredDevices<DeviceSummaryInfo> m_objDelivered;
    CommandBuffer m_objRecvBuffer;
    // Raised by requestStop(): ends the worker's wait and receive at once.
    WakeUp m_objWakeUp;
};
