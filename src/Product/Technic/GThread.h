#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "Product/Technic/Function.h"
#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLThread.h"
#include "Product/Technic/SafePointer.h"

// State of a GThread, shared through SafePointer<GThreadInfo>.
class GThreadInfo {
  public:
    static constexpr int kStateRun = 1;
    static constexpr int kStateStop = 2;

    explicit GThreadInfo(const std::string& threadName = std::string(), int timeoutValue = 60)
        : threadId(0), state(kStateStop), timeout(timeoutValue), reserved(0), name(threadName) {}

    std::atomic<int> threadId;  // operating-system id; 0 until the thread runs
    std::atomic<int> state;     // 1 while the loop is to go on, 2 otherwise
    int timeout;
    int64_t reserved;
    std::string name;
};

// A thread driven by three callables: setup runs on the caller's thread in
// start(), run is called again and again on the thread until it returns
// non-zero, stop() is called or the process running flag goes down, and
// teardown runs on the caller's thread in stop(). A std::exception from any
// of them is logged to the thread exception log and takes the process running
// flag down, which ends every GThread loop of the process.
class GThread : public OLThread {
  public:
    GThread(function<int> runFunction, const std::string& name, function<int> setup = function<int>(),
            function<int> teardown = function<int>());
    ~GThread() override;

    // True if the thread is running when the call returns.
    bool start();
    // Waits for the thread to end and runs teardown once after a start.
    // False only if teardown failed or threw.
    bool stop();
    // Asks the loop to end after the pass in progress, without waiting; stop()
    // still has to follow. Safe from any thread.
    void requestStop() { m_pInfo->state = GThreadInfo::kStateStop; }

    const SafePointer<GThreadInfo>& getInfo() const { return m_pInfo; }
    int getResult() const { return m_Result; }
    int getRunCount() const { return m_nRunCount; }
    int64_t getLongestGap() const { return m_nLongestGap; }

    // Both stay 0 in the library: no pass limit, the run callable on every pass.
    // Set them only while the thread is stopped.
    void setRemaining(int remaining) { m_nRemaining = remaining; }
    void setInterval(int interval) { m_nInterval = interval < 0 ? 0 : interval; }

  protected:
    // The loop; returns 0 in every case.
    int run() override;

  private:
    void runLoop();
    void handleException(const std::string& text, const char* reason);

    OLMutex m_objLifecycleLock;
    function<int> m_objSetup;
    function<int> m_objTeardown;
    function<int> m_objRun;
    int m_nRemaining;
    std::atomic<int> m_Result;
    SafePointer<GThreadInfo> m_pInfo;
    std::atomic<int> m_nRunCount;
    bool m_bSetupDone;
    int m_nInterval;
    int m_nTick;
    int64_t m_nLongestGap;
};

// Appends one line to the thread exception log ("ThreadException" module,
// 10240 bytes, one rotated file). A missing directory loses the line silently.
void logThreadException(const std::string& text);

// The thread channel: "/tmp/threadchannel" once a GThread has been built.
std::string getThreadChannel();
