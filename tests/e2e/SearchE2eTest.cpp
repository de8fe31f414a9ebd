// End to end: simulated devices (devsim) on the two LANs of the namespace
// rig, found from the client namespace through the exported API and through
// the devsearch tool, each a child process started inside a namespace.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "devsearch/DeviceSearch.h"
#include "support/NetnsRig.h"

using namespace std::chrono_literals;

namespace {

std::string readFile(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// A program run inside a namespace: the child enters the namespace with
// setns() and execs, its standard output to `stdoutPath` if given. The
// destructor ends it with SIGTERM and reaps it.
class NsProcess {
  public:
    NsProcess(const testsupport::Netns& ns, std::vector<std::string> args,
              const std::string& stdoutPath = "") {
        std::vector<char*> argv;
        for (std::string& a : args) argv.push_back(&a[0]);
        argv.push_back(nullptr);
        m_nPid = fork();
        if (m_nPid < 0) throw std::runtime_error("fork failed");
        if (m_nPid > 0) return;
        if (setns(ns.fd(), CLONE_NEWNET) != 0) _exit(126);
        const int out =
            stdoutPath.empty() ? -1 : open(stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out >= 0) dup2(out, STDOUT_FILENO);
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    ~NsProcess() {
        if (m_nPid > 0 && kill(m_nPid, SIGTERM) == 0) waitpid(m_nPid, nullptr, 0);
    }
    NsProcess(const NsProcess&) = delete;
    NsProcess& operator=(const NsProcess&) = delete;

    // Waits for the exit; the exit status, or -1 on a signal or time-out.
    int wait(std::chrono::milliseconds limit) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (int status = 0; m_nPid > 0; std::this_thread::sleep_for(20ms)) {
            if (waitpid(m_nPid, &status, WNOHANG) == m_nPid) {
                m_nPid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            if (std::chrono::steady_clock::now() >= deadline) return -1;
        }
        return -1;
    }

  private:
    pid_t m_nPid = -1;
};

// devsim in `ns` on the addresses of `range` ("first-last"), with extra
// options; returns once its sockets are open (or throws).
std::unique_ptr<NsProcess> startDevsim(const testsupport::Netns& ns, const std::string& range,
                                       const std::vector<std::string>& options) {
    char ready[] = "/tmp/ds-e2e-ready-XXXXXX";
    close(mkstemp(ready));
    std::vector<std::string> args{DS_E2E_DEVSIM, "--range", range, "--ready-file", ready};
    args.insert(args.end(), options.begin(), options.end());
    auto process = std::make_unique<NsProcess>(ns, args);
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (readFile(ready).empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    const bool up = !readFile(ready).empty();
    unlink(ready);
    if (!up) throw std::runtime_error("devsim did not come up on " + range);
    return process;
}

// Adds the addresses PREFIX.first to PREFIX.last to the LAN side of `ns`.
void addAddresses(const testsupport::Netns& ns, const std::string& prefix, int first, int last) {
    for (int i = first; i <= last; ++i) ns.ip("addr add " + prefix + std::to_string(i) + "/24 dev ethC");
}

class SearchE2e : public ::testing::Test {
  protected:
    void SetUp() override { DS_NETNS_RIG_OR_SKIP(m_pRig); }
    void TearDown() override { DeviceSearch::GetInstance()->stopSearch(true); }

    std::unique_ptr<testsupport::NetnsRig> m_pRig;
};

// One pass of the multicast search with real sockets on every adapter: each
// device answers on its LAN, one only announces itself, and every one of
// them is reported once.
TEST_F(SearchE2e, MulticastFindsEveryDeviceOnceOnBothLans) {
    addAddresses(m_pRig->lanA(), "198.51.100.", 10, 15);
    addAddresses(m_pRig->lanB(), "203.0.113.", 10, 14);
    auto devA = startDevsim(m_pRig->lanA(), "198.51.100.10-198.51.100.14", {"--no-announce"});
    auto devB =
        startDevsim(m_pRig->lanB(), "203.0.113.10-203.0.113.14", {"--no-announce", "--first-index", "5"});
    auto announcer = startDevsim(
        m_pRig->lanA(), "198.51.100.15-198.51.100.15",
        {"--no-query-answer", "--form", "23", "--announce-interval", "0.3", "--first-index", "10"});

    std::mutex lock;
    std::condition_variable arrived;
    std::multiset<std::string> found;
    QObject context;  // connected for its life, directly: the engines' threads add
    DeviceSearch* search = DeviceSearch::GetInstance();
    QObject::connect(
        search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, &context,
        [&](const NetVideoDeviceInfo& r) {
            std::lock_guard<std::mutex> guard(lock);
            found.insert(r.getDeviceId());
            arrived.notify_all();
        },
        Qt::DirectConnection);
    search->setNetWorkType(0);
    m_pRig->client().run([&] { EXPECT_EQ(-1, search->startSearch(false)); });
    // The first query leaves at once: every device is in well within one
    // query interval (10 s); a device reported twice comes soon after.
    std::unique_lock<std::mutex> guard(lock);
    ASSERT_TRUE(arrived.wait_for(guard, 3s, [&] { return found.size() >= 11; }));
    guard.unlock();
    std::this_thread::sleep_for(700ms);
    guard.lock();
    std::set<std::string> expected;
    for (int i = 1; i <= 11; ++i) expected.insert((i < 10 ? "SIM00000" : "SIM0000") + std::to_string(i));
    EXPECT_EQ(expected, std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(11u, found.size()) << "a device was reported twice";
}

// One pass of the range search with real sockets, through the tool (which
// uses the exported API as an application does): a JSON line per device.
TEST_F(SearchE2e, ToolPrintsJsonLinesAndRefusesBadArguments) {
    addAddresses(m_pRig->lanA(), "198.51.100.", 10, 13);
    auto dev = startDevsim(m_pRig->lanA(), "198.51.100.10-198.51.100.13", {"--no-announce"});
    char out[] = "/tmp/ds-e2e-out-XXXXXX";
    close(mkstemp(out));
    const std::regex line(
        R"(\{"DeviceId":"SIM00000[1-4]","DeviceType":\d+,"DeviceIP":"198\.51\.100\.1[0-3]","DevicePort":30001,)"
        R"("HttpPort":0,"HardwareVer":"HW1\.\d","SoftwareVer":"V3\.\d+\.0","ManufacturerId":"[^"]*",)"
        R"("ManufacturerName":"[^"]*","ProductModel":"[^"]+","DeviceTime":"[^"]*","DeviceName":"[^"]*",)"
        R"("SN":"[^"]*","UpdatePort":"[^"]*","MACAddr":"[^"]*"\})");
    // The batches, then the fast scan: the same lines.
    std::set<std::string> pacedLines;
    for (const char* rate : {"", "2000"}) {
        std::vector<std::string> args{DS_E2E_DEVSEARCH, "range", "198.51.100.8-198.51.100.15", "--json"};
        if (*rate != '\0') args.insert(args.end(), {"--rate", rate});
        EXPECT_EQ(0, NsProcess(m_pRig->client(), args, out).wait(10s)) << "--rate " << rate;
        std::istringstream text(readFile(out));
        std::set<std::string> lines;
        for (std::string l; std::getline(text, l);) {
            EXPECT_TRUE(std::regex_match(l, line)) << l;
            lines.insert(l);
        }
        EXPECT_EQ(4u, lines.size());
        if (*rate == '\0') pacedLines = lines;
        EXPECT_EQ(pacedLines, lines);
    }

    for (const std::vector<std::string>& bad :
         std::vector<std::vector<std::string>>{{"range", "198.51.100.9-198.51.100.1"},
                                               {"range", "198.51.100.300", "198.51.100.9"},
                                               {"range", "255.255.255.0-255.255.255.255"},
                                               {"range", "198.51.100.1-198.51.100.9", "--rate", "0"},
                                               {"search", "--interface", "nosuch0"},
                                               {"search", "--seconds", "zero"}}) {
        std::vector<std::string> args{DS_E2E_DEVSEARCH};
        args.insert(args.end(), bad.begin(), bad.end());
        NsProcess tool(m_pRig->client(), args, out);
        EXPECT_EQ(2, tool.wait(5s)) << bad[0] << " " << bad[1];
    }
    unlink(out);
}

}  // namespace
