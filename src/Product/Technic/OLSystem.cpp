#include "Product/Technic/OLSystem.h"

#include <atomic>
#include <cstdio>
#include <mutex>

#include "Product/Technic/OLLogger.h"

namespace {

std::atomic<bool> g_bSystemRunning{true};

struct LogPaths {
    std::mutex lock;
    std::string threadException;
    std::string stop;
};

LogPaths& logPaths() {
    static LogPaths paths;
    return paths;
}

}  // namespace

std::string getThreadExceptionLogPath() {
    LogPaths& paths = logPaths();
    std::lock_guard<std::mutex> guard(paths.lock);
    return paths.threadException.empty() ? kThreadExceptionLogPath : paths.threadException;
}

void setThreadExceptionLogPath(const std::string& path) {
    LogPaths& paths = logPaths();
    std::lock_guard<std::mutex> guard(paths.lock);
    paths.threadException = path;
}

std::string getStopLogPath() {
    LogPaths& paths = logPaths();
    std::lock_guard<std::mutex> guard(paths.lock);
    return paths.stop.empty() ? kStopLogPath : paths.stop;
}

void setStopLogPath(const std::string& path) {
    LogPaths& paths = logPaths();
    std::lock_guard<std::mutex> guard(paths.lock);
    paths.stop = path;
}

void setSystemRunningFlag(bool flag, const std::string& reason) {
    std::printf(
        "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~ Flag=%d "
        "Reason=%s\n",
        flag ? 1 : 0, reason.c_str());
    std::fflush(stdout);
    if (!flag)
        OLLogger::writeOnce(getStopLogPath().c_str(), "SystemStop", reason.c_str(), kToolkitLogMaxSize, 2);
    g_bSystemRunning.store(flag);
}

bool isSystemRunning() {
    return g_bSystemRunning.load();
}
