#include "Product/Technic/OLThread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <system_error>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"

namespace {
std::atomic<unsigned> g_nCreationCounter{0};
}

OLThread::OLThread() : OLThread(std::string()) {}

OLThread::OLThread(const std::string& name)
    : m_nCreationId(0),
      m_nExitResult(0),
      m_bRunning(false),
      m_nThreadId(0),
      m_strName(name),
      m_bStartedNotified(false) {}

OLThread::~OLThread() {
    waitForExit();
}

int OLThread::currentThreadId() {
    return static_cast<int>(::syscall(SYS_gettid));
}

int OLThread::start() {
    {
        OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
        if (m_bRunning) return -5;
        m_bRunning = true;
    }
    // A thread that ended by itself still has its handle: close it first.
    joinHandle();

    {
        std::lock_guard<std::mutex> taken(m_gateTakenLock);
        m_bGateTaken = false;
    }
    m_objStartGate.lock(__FILE__, __LINE__);
    try {
        std::thread created(&OLThread::threadFunction, this);
        std::lock_guard<std::mutex> joinGuard(m_joinLock);
        m_hThread = std::move(created);
        m_nCreationId = ++g_nCreationCounter;
    } catch (const std::system_error&) {
        {
            OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
            m_bRunning = false;
        }
        m_objStartGate.unlock(__FILE__, __LINE__);
        return -2;
    }
    m_objStartGate.unlock(__FILE__, __LINE__);

    // Wait until run() has called notifyStarted().
    {
        std::unique_lock<std::mutex> taken(m_gateTakenLock);
        m_gateTakenSignal.wait(taken, [this] { return m_bGateTaken; });
    }
    m_objStartedGate.lock(__FILE__, __LINE__);
    m_objStartedGate.unlock(__FILE__, __LINE__);
    return 0;
}

void OLThread::threadFunction(OLThread* self) {
    self->m_objStartedGate.lock(__FILE__, __LINE__);
    self->m_bStartedNotified = false;
    {
        std::lock_guard<std::mutex> taken(self->m_gateTakenLock);
        self->m_bGateTaken = true;
    }
    self->m_gateTakenSignal.notify_all();
    {
        OLMutexGuard guard(self->m_objStateLock, __FILE__, __LINE__);
        self->m_bRunning = true;
    }
    // Held by start() until the handle is stored.
    self->m_objStartGate.lock(__FILE__, __LINE__);
    self->m_objStartGate.unlock(__FILE__, __LINE__);

    self->m_nThreadId = currentThreadId();
    OLReportLine(
        ("start thread(" + self->m_strName + "),threadId=" + std::to_string(self->m_nThreadId)).c_str(),
        __FILE__, __LINE__);

    int result = self->run();
    // A run() that forgot notifyStarted() must not leave the gate held by a finished thread.
    if (!self->m_bStartedNotified) self->notifyStarted();

    OLReportLine(
        ("stop thread(" + self->m_strName + "),threadId=" + std::to_string(self->m_nThreadId)).c_str(),
        __FILE__, __LINE__);
    OLMutexGuard guard(self->m_objStateLock, __FILE__, __LINE__);
    self->m_bRunning = false;
    self->m_nExitResult = result;
}

void OLThread::notifyStarted() {
    if (m_bStartedNotified) return;
    m_bStartedNotified = true;
    m_objStartedGate.unlock(__FILE__, __LINE__);
}

int OLThread::stop() {
    for (int i = 0; i < 500 && isRunning(); ++i) sleepFor(OLTimeValue(0, 10000));
    return waitForExit();
}

void OLThread::joinHandle() {
    std::lock_guard<std::mutex> joinGuard(m_joinLock);
    if (!m_hThread.joinable()) return;
    // A thread cannot join itself; its handle is closed by a later call from outside.
    if (m_hThread.get_id() == std::this_thread::get_id()) return;
    m_hThread.join();
}

int OLThread::waitForExit() {
    // run() waiting for its own thread would wait for ever.
    if (m_nThreadId != 0 && m_nThreadId == currentThreadId() && isRunning()) return -4;
    bool running = false;
    {
        OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
        running = m_bRunning;
    }
    if (!running) {
        joinHandle();
        return -4;
    }
    joinHandle();
    OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
    m_bRunning = false;
    return 0;
}

bool OLThread::isRunning() {
    OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
    return m_bRunning;
}

int OLThread::getExitResult() {
    OLMutexGuard guard(m_objStateLock, __FILE__, __LINE__);
    return m_nExitResult;
}
