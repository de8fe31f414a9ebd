#pragma once

// Helpers of the end-to-end suite: child processes started inside a network
// namespace (devsim, the devsearch tool) and a thread-safe collector of the
// records that the search signals.

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devsearch/NetVideoDeviceInfo.h"
#include "support/NetnsRig.h"

namespace e2e {

// A program run inside a namespace: the child enters the namespace with
// setns() and execs. The destructor ends it with SIGTERM and reaps it.
class NsProcess {
  public:
    NsProcess(const testsupport::Netns& ns, const std::string& program, const std::vector<std::string>& args,
              const std::string& stdoutPath = std::string());
    ~NsProcess();
    NsProcess(const NsProcess&) = delete;
    NsProcess& operator=(const NsProcess&) = delete;

    // Waits for the exit; the exit status, or -1 on a signal or time-out.
    int wait(std::chrono::milliseconds limit);

  private:
    pid_t m_nPid = -1;
};

// devsim in `ns` on the addresses of `range` ("first-last"), with extra
// options; returns once its sockets are open (or throws).
class Devsim {
  public:
    Devsim(const testsupport::Netns& ns, const std::string& range, const std::vector<std::string>& options);

  private:
    std::unique_ptr<NsProcess> m_pProcess;
};

class Collector {
  public:
    void add(const NetVideoDeviceInfo& record);
    // Waits until at least `count` records arrived or `limit` passed.
    bool waitFor(size_t count, std::chrono::milliseconds limit);
    std::vector<NetVideoDeviceInfo> take();

  private:
    std::mutex m_objLock;
    std::condition_variable m_objChanged;
    std::vector<NetVideoDeviceInfo> m_vecRecords;
};

// Reads a whole file.
std::string readFile(const std::string& path);

}  // namespace e2e
