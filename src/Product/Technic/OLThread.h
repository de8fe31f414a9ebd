#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Product/Technic/OLMutex.h"

// Joinable worker thread with a name. A subclass supplies run(), which must
// call notifyStarted() first, and brings its loop to an end in its own
// destructor (run() may still reach the derived object until then).
// OLThread has no stop request of its own: stop() only waits for run() to return.
class OLThread {
  public:
    OLThread();
    explicit OLThread(const std::string& name);
    virtual ~OLThread();
    OLThread(const OLThread&) = delete;
    OLThread& operator=(const OLThread&) = delete;

    // 0 started; -5 already running; -2 the thread could not be created.
    // Returns once run() has called notifyStarted() (or has returned).
    int start();
    // Polls the running flag for up to five seconds, then waits without limit.
    // The result of waitForExit(): 0 if it had to join a running thread, -4 otherwise.
    int stop();
    // 0 after joining a running thread; -4 if it was not running.
    int waitForExit();
    bool isRunning();

    const std::string& getName() const { return m_strName; }
    // Operating-system id of the thread; 0 until it runs.
    int getThreadId() const { return m_nThreadId; }
    // Result of the last run().
    int getExitResult();

    // Operating-system id of the calling thread.
    static int currentThreadId();

  protected:
    // The thread's body; its result becomes the exit result.
    virtual int run() = 0;
    // Releases start(); every run() calls it first.
    void notifyStarted();

  private:
    static void threadFunction(OLThread* self);
    void joinHandle();

    unsigned m_nCreationId;
    std::thread m_hThread;
    int m_nExitResult;
    bool m_bRunning;
    std::atomic<int> m_nThreadId;
    OLMutex m_objStateLock;
    OLMutex m_objStartGate;
    OLMutex m_objStartedGate;
    std::string m_strName;
    // Set on the new thread when the started gate has been released.
    bool m_bStartedNotified;
    // Serialises joining the handle between concurrent waiters.
    std::mutex m_joinLock;
    // Tells start() that the new thread holds the started gate, so that its
    // wait on the gate cannot come first.
    std::mutex m_gateTakenLock;
    std::condition_variable m_gateTakenSignal;
    bool m_bGateTaken = false;
};
