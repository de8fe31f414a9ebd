#include "E2eSupport.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace e2e {

NsProcess::NsProcess(const testsupport::Netns& ns, const std::string& program,
                     const std::vector<std::string>& args, const std::string& stdoutPath) {
    std::vector<std::string> all{program};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    const int nsFd = ns.fd();
    m_nPid = fork();
    if (m_nPid < 0) throw std::runtime_error("fork failed");
    if (m_nPid == 0) {
        if (setns(nsFd, CLONE_NEWNET) != 0) _exit(126);
        if (!stdoutPath.empty()) {
            const int out = open(stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (out < 0) _exit(126);
            dup2(out, STDOUT_FILENO);
            close(out);
        }
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
}

NsProcess::~NsProcess() {
    if (m_nPid <= 0) return;
    kill(m_nPid, SIGTERM);
    int status = 0;
    waitpid(m_nPid, &status, 0);
}

int NsProcess::wait(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (m_nPid > 0) {
        int status = 0;
        const pid_t done = waitpid(m_nPid, &status, WNOHANG);
        if (done == m_nPid) {
            m_nPid = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        if (std::chrono::steady_clock::now() >= deadline) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return -1;
}

Devsim::Devsim(const testsupport::Netns& ns, const std::string& range,
               const std::vector<std::string>& options) {
    char ready[] = "/tmp/ds-e2e-ready-XXXXXX";
    const int fd = mkstemp(ready);
    if (fd < 0) throw std::runtime_error("mkstemp failed");
    close(fd);
    std::vector<std::string> args{"--range", range, "--ready-file", ready};
    args.insert(args.end(), options.begin(), options.end());
    m_pProcess = std::make_unique<NsProcess>(ns, DS_E2E_DEVSIM, args);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (readFile(ready).empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const bool up = !readFile(ready).empty();
    unlink(ready);
    if (!up) throw std::runtime_error("devsim did not come up on " + range);
}

void Collector::add(const NetVideoDeviceInfo& record) {
    std::lock_guard<std::mutex> guard(m_objLock);
    m_vecRecords.push_back(record);
    m_objChanged.notify_all();
}

bool Collector::waitFor(size_t count, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> guard(m_objLock);
    return m_objChanged.wait_for(guard, limit, [&] { return m_vecRecords.size() >= count; });
}

std::vector<NetVideoDeviceInfo> Collector::take() {
    std::lock_guard<std::mutex> guard(m_objLock);
    std::vector<NetVideoDeviceInfo> out;
    out.swap(m_vecRecords);
    return out;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace e2e
