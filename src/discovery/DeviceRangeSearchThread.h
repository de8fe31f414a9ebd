#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLThread.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "transport/SocketHandle.h"

class DeviceSummaryInfo;
class IDeviceSearcherListener;
class IRangeSearchProgressListener;
class Socket;

// Finds devices without multicast: walks a list of IPv4 addresses in batches
// of 400, sends the SDK query 30541 by unicast to a fixed port of each address
// from a socket of its own, then waits at most 3 seconds for the answers
// (30542) on those sockets. Each answer becomes a NetVideoDeviceInfo for the
// listener, called on this thread. With the pass limit 1 it makes one pass
// and ends by itself.
class DeviceRangeSearchThread : public OLThread {
  public:
    static constexpr int kBatchSize = 400;
    static constexpr int kReceiveWindowMs = 3000;
    static constexpr int kMaxPollEntries = 1000;
    static constexpr int kPollTimeoutMs = 10;
    static constexpr int kPollPauseMs = 200;
    static constexpr int kRecvBufferSize = 5600;
    static constexpr int kFirstPassBurst = 50;  // queries between two pauses, first pass
    static constexpr int kFirstPassPauseMs = 30;
    static constexpr int kLaterPassPauseMs = 15;  // after every query of a later pass
    static constexpr int kRepeatPollMs = 50;
    static constexpr unsigned short kDefaultPort = 30001;
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
    // Not owned; stored under the listener lock.
    void setListener(IDeviceSearcherListener* listener);
    // Not owned; told of the pass's progress and of the run's end, on this
    // thread, under the listener lock.
    void setProgressListener(IRangeSearchProgressListener* listener);
    // True from a successful start() until the run has reported its end.
    bool isSearching() const { return m_bSearching; }

    // 0; -11 already running; -12 the thread could not be started.
    int start();
    // Ends the run, closes the sockets of the batch in work, forgets the
    // records delivered so far.
    void stop();

    // Inspection for diagnostics and tests.
    std::vector<uint32_t> getAddresses();
    size_t getResultCount() const { return m_vecResults.size(); }
    // Sequence number that the next batch's query will carry.
    static uint16_t peekSequence();
    // A socket as each query gets it: IPv4 datagram, unbound, non-blocking,
    // asking for a 1 MB receive buffer. Null when no socket can be made.
    static std::unique_ptr<Socket> openQuerySocket();

  protected:
    int run() override;

  private:
    void runBatch(bool firstPass);
    void sendPhase(bool firstPass);
    void receivePhase();
    void closeSockets();
    int parseAnswer(const unsigned char* data, unsigned length, DeviceSummaryInfo& summary);
    void deliver(const DeviceSummaryInfo& summary, const std::string& sourceAddress);
    void pause(int ms);
    void reportProgress(bool finished);

    OLMutex m_objAddressLock;  // addresses, known addresses, first pass
    std::vector<uint32_t> m_vecAddresses;
    std::vector<uint32_t> m_vecBatch;
    // The settings may change while a run goes on (a start that then finds
    // the thread running); the run reads each where it uses it.
    std::atomic<unsigned short> m_nPort;
    std::atomic<bool> m_bStop;
    IDeviceSearcherListener* m_pListener;
    OLMutex m_objListenerLock;
    std::vector<std::unique_ptr<Socket>> m_vecSockets;
    bool m_bFirstPass;
    std::set<uint32_t> m_setKnownAddresses;
    std::atomic<int> m_nPassLimit;
    int m_nRepeatInterval;  // seconds; no setter, stays 0
    std::atomic<bool> m_bSuppressDuplicates;
    std::vector<NetVideoDeviceInfo> m_vecResults;
    IRangeSearchProgressListener* m_pProgressListener = nullptr;
    std::atomic<bool> m_bSearching{false};
    // Progress of the pass in work; touched by the run only.
    int m_nPassDone = 0;
    int m_nPassTotal = 0;
    int m_nPassFound = 0;
};
