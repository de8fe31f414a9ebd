#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLThread.h"
#include "Product/Technic/SafePointer.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "discovery/DeliveredDevices.h"
#include "discovery/DiscoveryNames.h"
#include "transport/WakeUp.h"

class CommandBuffer;
class DeviceSummaryInfo;
class IDeviceSearcherListener;
class IRangeSearchProgressListener;
class ITransfer;

// Finds devices without multicast: walks a list of IPv4 addresses in batches
// of 400, sends the SDK query 30541 by unicast to a fixed port of each address
// from a transfer of its own, then waits at most 3 seconds for the answers
// (30542) on those transfers. Each answer becomes a NetVideoDeviceInfo for the
// listener, called on this thread. With the pass limit 1 it makes one pass
// and ends by itself.
//
// With a query rate set, a pass is one fast scan instead (RangeScan): one
// transfer queries every address at that rate, answers are matched to
// addresses by their source, and the pass ends when no address waits any
// more, at the latest 3 s after the last query. Records, duplicates and
// progress go the same way as in the batches.
class DeviceRangeSearchThread : public OLThread {
  public:
    static constexpr int kBatchSize = 400;
    static constexpr int kReceiveWindowMs = 3000;
    static constexpr int kMaxPollEntries = 1000;
    static constexpr int kPollTimeoutMs = 10;
    static constexpr int kPollPauseMs = 200;
    static constexpr int kFirstPassBurst = 50;  // queries between two pauses, first pass
    static constexpr int kFirstPassPauseMs = 30;
    static constexpr int kLaterPassPauseMs = 15;  // after every query of a later pass
    static constexpr int kRepeatPollMs = 50;
    static constexpr int kSocketRecvBufferBytes = 1048576;
    // Longest text that addRange reads; longer text is no address.
    static constexpr size_t kMaxAddressText = 256;

    DeviceRangeSearchThread();
    ~DeviceRangeSearchThread() override;

    // Appends the addresses from first to last, both included, that are not
    // in the list yet, in ascending order. False, with nothing changed, for
    // text that is no dotted IPv4 address (or is 256 characters or more), for
    // last below first and for a range that reaches 255.255.255.255.
    bool addRange(const char* first, const char* last);
    // Empties the address list. A run in progress keeps its own copy.
    void clearRange();
    void setPort(unsigned short port);
    // Passes to make; -1 for no limit.
    void setPassLimit(int limit);
    void setSuppressDuplicates(bool on);
    // Most records held for the duplicate check (default 65,536, at least 1);
    // past it the oldest are forgotten, and such a device is delivered again
    // when it answers again. Called while the thread is stopped.
    void setRememberedLimit(size_t devices);
    // Records held for the duplicate check now.
    size_t getRememberedCount() const { return m_objDelivered.size(); }
    // Queries per second of the fast scan (at most RangeScan::kMaxRate); 0,
    // the default, or less: the paced batches.
    void setQueryRate(int perSecond);
    // Not owned; stored under the listener lock.
    void setListener(IDeviceSearcherListener* listener);
    // Not owned; told of the pass's progress and of the run's end, on this
    // thread, under the listener lock.
    void setProgressListener(IRangeSearchProgressListener* listener);
    // True from a successful start() until the run has reported its end.
    bool isSearching() const { return m_bSearching; }

    // 0; -11 already running; -12 the thread could not be started.
    int start();
    // Ends the run at once (its pauses and waits end when told), closes the
    // transfers of the batch in work, forgets the records delivered so far.
    void stop();
    // Tells the run to end without waiting for it; stop() follows.
    void requestStop();

    std::vector<uint32_t> getAddresses();
    // Sequence number that the next batch's query will carry.
    static uint16_t peekSequence();

  protected:
    int run() override;

  private:
    void runBatch(bool firstPass);
    void sendPhase(bool firstPass);
    void receivePhase();
    void scanPass(const std::vector<uint32_t>& work, int rate);
    // Reads the one answer a readable transfer may hold and delivers it.
    void readAnswer(ITransfer& transfer);
    void closeTransfers();
    int parseAnswer(CommandBuffer& datagram, DeviceSummaryInfo& summary);
    // Makes the record of an answer from `sourceAddress` and passes it on.
    void deliver(const DeviceSummaryInfo& summary, const std::string& sourceAddress);
    // The duplicate rule, for every pass that finds a device: a record equal
    // to the one held for its device id is dropped, a changed one replaces it.
    void deliverRecord(const NetVideoDeviceInfo& record);
    void reportProgress(bool finished);

    OLMutex m_objAddressLock;  // addresses, known addresses, first pass
    std::vector<uint32_t> m_vecAddresses;
    std::vector<uint32_t> m_vecBatch;
    // The settings may change while a run goes on (a start that then finds
    // the thread running); the run reads each where it uses it.
    std::atomic<unsigned short> m_nPort;
    std::atomic<bool> m_bStop;
    IDeviceSearcherListener* m_pListener;
    IRangeSearchProgressListener* m_pProgressListener = nullptr;
    OLMutex m_objListenerLock;
    // One transfer per query of the batch in work.
    std::vector<SafePointer<ITransfer>> m_vecTransfers;
    bool m_bFirstPass;
    std::set<uint32_t> m_setKnownAddresses;
    std::atomic<int> m_nPassLimit;
    int m_nRepeatInterval;  // seconds; no setter, stays 0
    std::atomic<bool> m_bSuppressDuplicates;
    DeliveredDevices<NetVideoDeviceInfo> m_objDelivered;
    std::atomic<int> m_nQueryRate{0};
    std::atomic<bool> m_bSearching{false};
    // Progress of the pass in work; touched by the run only.
    int m_nPassDone = 0;
    int m_nPassTotal = 0;
    int m_nPassFound = 0;
    // Raised by requestStop(): ends the run's pauses and waits at once.
    WakeUp m_objWakeUp;
};
