#include "Product/Technic/GThread.h"

#include <cstring>
#include <exception>
#include <mutex>

#include "Product/Technic/OLLogger.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"

namespace {

constexpr int kThreadExceptionLogFiles = 1;
constexpr int kGThreadTimeout = 210;
constexpr const char* kThreadChannelName = "/tmp/threadchannel";

struct ThreadChannel {
    std::mutex lock;
    char buffer[240] = {0};
    std::string name;
};

ThreadChannel& threadChannel() {
    static ThreadChannel channel;
    return channel;
}

void setUpThreadChannel() {
    ThreadChannel& channel = threadChannel();
    std::lock_guard<std::mutex> guard(channel.lock);
    if (channel.buffer[0] != '\0') return;
    std::strncpy(channel.buffer, kThreadChannelName, sizeof(channel.buffer) - 1);
    channel.name = kThreadChannelName;
}

std::string threadLabel(const std::string& name, int id) {
    return "thread(" + name + "," + std::to_string(id) + ")";
}

}  // namespace

void logThreadException(const std::string& text) {
    OLLogger::writeOnce(getThreadExceptionLogPath().c_str(), "ThreadException", text.c_str(),
                        kToolkitLogMaxSize, kThreadExceptionLogFiles);
}

std::string getThreadChannel() {
    ThreadChannel& channel = threadChannel();
    std::lock_guard<std::mutex> guard(channel.lock);
    return channel.name;
}

GThread::GThread(function<int> runFunction, const std::string& name, function<int> setup,
                 function<int> teardown)
    : OLThread(name),
      m_objSetup(setup),
      m_objTeardown(teardown),
      m_objRun(runFunction),
      m_nRemaining(0),
      m_Result(0),
      m_pInfo(makeSafePointer<GThreadInfo>(name)),
      m_nRunCount(0),
      m_bSetupDone(false),
      m_nInterval(0),
      m_nTick(0),
      m_nLongestGap(0) {
    m_objLifecycleLock.init();
    m_pInfo->timeout = kGThreadTimeout;
    setUpThreadChannel();
}

GThread::~GThread() {
    if (isRunning()) {
        const std::string text = "force stop " + threadLabel(getName(), m_pInfo->threadId);
        OLTrace(3, __FILE__, "%s\n", text.c_str());
        logThreadException(text);
    }
    stop();
}

void GThread::handleException(const std::string& text, const char* reason) {
    logThreadException(text);
    sleepFor(OLTimeValue(1, 0));
    setSystemRunningFlag(false, reason);
}

bool GThread::start() {
    OLMutexGuard guard(m_objLifecycleLock, __FILE__, __LINE__);
    if (isRunning()) return true;
    m_nRunCount = 0;
    m_nTick = 0;
    m_bSetupDone = true;

    int result = 0;
    try {
        result = m_objSetup();
    } catch (const std::exception& e) {
        handleException(
            threadLabel(getName(), currentThreadId()) + " setup exception,massage[" + e.what() + "]",
            "GThread setup exception.");
        return false;
    }
    if (result != 0) {
        logThreadException(threadLabel(getName(), currentThreadId()) +
                           " setup failed. result= " + std::to_string(result));
        return false;
    }

    m_pInfo->state = GThreadInfo::kStateRun;
    if (OLThread::start() < 0) {
        m_pInfo->state = GThreadInfo::kStateStop;
        return false;
    }
    return true;
}

int GThread::run() {
    notifyStarted();
    m_pInfo->threadId = currentThreadId();
    try {
        runLoop();
    } catch (const std::exception& e) {
        handleException(
            threadLabel(getName(), m_pInfo->threadId) + " running exception,message[" + e.what() + "]",
            "GThread running exception.");
    }
    m_pInfo->state = GThreadInfo::kStateStop;
    m_nRemaining = 0;
    return 0;
}

void GThread::runLoop() {
    OLTimeValue now;
    getUpTime(&now);
    int64_t lastPass = now.sec;
    GThreadInfo& info = *m_pInfo;
    while (info.state == GThreadInfo::kStateRun && isSystemRunning()) {
        if (m_nTick % (m_nInterval + 1) == 0) {
            m_Result = m_objRun();
            ++m_nRunCount;
        } else {
            sleepFor(OLTimeValue(1, 0));
        }
        ++m_nTick;
        if (m_Result != 0) {
            OLReportLine(("______________________thread(" + getName() +
                          ")failed,ready to stop,m_Result = " + std::to_string(m_Result))
                             .c_str(),
                         __FILE__, __LINE__);
            break;
        }
        getUpTime(&now);
        if (now.sec - lastPass > m_nLongestGap) m_nLongestGap = now.sec - lastPass;
        lastPass = now.sec;
        if (m_nRemaining != 0 && --m_nRemaining == 0) break;
    }
}

bool GThread::stop() {
    OLMutexGuard guard(m_objLifecycleLock, __FILE__, __LINE__);
    m_pInfo->state = GThreadInfo::kStateStop;
    OLThread::stop();
    m_nRemaining = 0;
    m_nTick = 0;
    if (!m_bSetupDone) return true;
    m_bSetupDone = false;

    int result = 0;
    try {
        result = m_objTeardown();
    } catch (const std::exception& e) {
        handleException(
            threadLabel(getName(), m_pInfo->threadId) + " teardown exception,massage[" + e.what() + "]",
            "GThread teardown exception.");
        return false;
    }
    if (result != 0) {
        logThreadException(threadLabel(getName(), m_pInfo->threadId) +
                           " teardown failed,result=" + std::to_string(result));
        return false;
    }
    return true;
}
