#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "transport/SocketHandle.h"

class CommandBuffer;
class ITransfer;
class WakeUp;

// Time and waiting as the fast range scan sees them, so that a test can run
// a scan on a clock of its own.
class RangeScanClock {
  public:
    virtual ~RangeScanClock() = default;
    // Monotonic microseconds.
    virtual int64_t nowUs() = 0;
    // Waits up to timeoutMs for `handle` to be readable: true when it is.
    virtual bool waitReadable(SocketHandle handle, int timeoutMs) = 0;
};

// The steady clock; waits also end when `wakeUp` (not owned, may be null) is
// raised.
class SystemRangeScanClock : public RangeScanClock {
  public:
    explicit SystemRangeScanClock(const WakeUp* wakeUp) : m_pWakeUp(wakeUp) {}
    int64_t nowUs() override;
    bool waitReadable(SocketHandle handle, int timeoutMs) override;

  private:
    const WakeUp* m_pWakeUp;
};

// One fast pass over a list of IPv4 addresses: a single transfer sends the
// query to every address in order at a set number of queries per second and
// reads the answers between the sends. An answer belongs to the address it
// came from; the first datagram from an address still waiting is handed on,
// anything else (a second answer, an address not asked or no longer waiting)
// is dropped. Each address waits 3 s after its query; the pass ends when none
// waits any more, at the latest 3 s after the last query.
//
// A failed send slows the sender down instead of losing the address: the
// sender pauses (5 ms, doubling up to 1 s), halves its rate and tries the
// same address again, and regains its rate as sends succeed. Only a failure
// that no waiting mends (no route, a refused destination), or one that lasts
// longer than 10 s, gives an address up.
class RangeScan {
  public:
    static constexpr int kDefaultRate = 2000;  // queries per second
    static constexpr int kMaxRate = 100000;
    static constexpr int kAnswerWindowMs = 3000;
    static constexpr int kFirstBackoffMs = 5;
    static constexpr int kMaxBackoffMs = 1000;
    static constexpr int kMinRate = 50;
    static constexpr int kGiveUpMs = 10000;
    // Most queries sent in one go before the answers are read.
    static constexpr int kMaxBurst = 64;
    // Addresses given up between two progress reports.
    static constexpr int kProgressStep = 400;

    struct Events {
        // A datagram from an address that waited for it, and that address as
        // dotted text.
        std::function<void(CommandBuffer& datagram, const std::string& source)> answer;
        // Addresses done so far: answered or given up.
        std::function<void(int done)> progress;
    };

    RangeScan(std::vector<uint32_t> addresses, unsigned short port, int rate, Events events,
              const std::atomic<bool>& stop, RangeScanClock& clock);

    // Runs the pass with `query` as every address's datagram. 0 when the pass
    // was made (or stopped); -217 without a transfer factory, -202 when the
    // transfer cannot be opened.
    int run(CommandBuffer& query);

    int done() const { return m_nDone; }
    int sent() const { return m_nSent; }

  private:
    enum State : uint8_t { kUnsent, kWaiting, kDone };

    // Sends what is due; false when the sender pauses after a failure.
    void sendDue(ITransfer& transfer, CommandBuffer& query, int64_t now);
    bool sendOne(ITransfer& transfer, CommandBuffer& query, int64_t now);
    void readAnswers(ITransfer& transfer);
    // Gives up the addresses whose wait has ended.
    void expire(int64_t now);
    void finish(size_t index);

    std::vector<uint32_t> m_vecAddresses;
    std::unordered_map<uint32_t, size_t> m_mapIndex;
    std::vector<State> m_vecState;
    std::vector<int64_t> m_vecSentAt;
    unsigned short m_nPort;
    double m_dTargetRate;
    double m_dRate;
    Events m_objEvents;
    const std::atomic<bool>& m_bStop;
    RangeScanClock& m_objClock;

    size_t m_nNext = 0;    // the next address to send to
    size_t m_nExpiry = 0;  // the first sent address whose wait may still run
    int64_t m_nDueUs = 0;  // when the next query is due
    int m_nBackoffMs = 0;  // the pause after the last failure; 0 after a success
    int64_t m_nFailingSince = -1;
    int m_nDone = 0;
    int m_nSent = 0;
    int m_nReportedDone = 0;
};
