// The multicast search with real sockets in a private network namespace rig
// (root needed; nothing leaves it). Devices on both LANs answer the query.
//
//   BM_StopSearch             stopSearch() while devices answer: the time the
//                             application's thread is held (max_ms over the run)
//   BM_ReplyToSignal/strays:N time from a device's answer on LAN B to the
//                             signal, without (0) and with (1) a flood of
//                             datagrams for B's address arriving on adapter A;
//                             the line at the end gives the ratio
//   BM_StartStopCycles        descriptors left open after start/stop cycles
//   BM_RangePass/answering:N  one range pass over 20 addresses of LAN A, all of
//                             them answering (1: the pass ends early) or none
//                             (0: the batch waits its 3 s window)
//
// Run: sudo build/bench/bench_search
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <net/if.h>
#include <unistd.h>

#include <QObject>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "devsearch/DeviceSearch.h"
#include "discovery/DiscoveryNames.h"
#include "support/NetnsRig.h"

namespace {

using Clock = std::chrono::steady_clock;

std::unique_ptr<testsupport::NetnsRig>& rig() {
    static std::unique_ptr<testsupport::NetnsRig> instance = [] {
        std::string why;
        auto made = testsupport::NetnsRig::create(&why);
        if (!made) std::fprintf(stderr, "bench_search: no namespace rig: %s\n", why.c_str());
        return made;
    }();
    return instance;
}

// A device in a LAN namespace that answers every query at once and notes when.
class LanDevice {
  public:
    // Answers the multicast query on port 31001, or with `rangePort` the range
    // query on that port (from every address of the LAN side).
    LanDevice(const testsupport::Netns& ns, int index, unsigned short rangePort = 0)
        : m_bRange(rangePort != 0) {
        ns.run([&] {
            m_nFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            int on = 1;
            setsockopt(m_nFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
            sockaddr_in local{};
            local.sin_family = AF_INET;
            local.sin_port = htons(m_bRange ? rangePort : kQueryPort);
            bind(m_nFd, reinterpret_cast<sockaddr*>(&local), sizeof(local));
            ip_mreqn join{};
            inet_pton(AF_INET, kSearchGroup, &join.imr_multiaddr);
            join.imr_ifindex = static_cast<int>(if_nametoindex("ethC"));
            setsockopt(m_nFd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &join, sizeof(join));
        });
        m_answer = answer("BENCH" + std::to_string(index), m_bRange ? 0x4E : 0x4C);
        m_thread = std::thread([this] { serve(); });
    }
    ~LanDevice() {
        m_bStop = true;
        shutdown(m_nFd, SHUT_RDWR);
        m_thread.join();
        close(m_nFd);
    }
    Clock::time_point lastAnswer() const { return Clock::time_point(Clock::duration(m_nLastAnswer.load())); }

  private:
    void serve() {
        unsigned char buffer[2048];
        while (!m_bStop) {
            sockaddr_in from{};
            socklen_t length = sizeof(from);
            if (recvfrom(m_nFd, buffer, sizeof(buffer), 0, reinterpret_cast<sockaddr*>(&from), &length) <= 0)
                continue;
            if (!m_bRange) from.sin_port = htons(kAnswerPort);
            m_nLastAnswer = Clock::now().time_since_epoch().count();
            sendto(m_nFd, m_answer.data(), m_answer.size(), 0, reinterpret_cast<sockaddr*>(&from),
                   sizeof(from));
        }
    }
    // The answer to the query: the SDK head (check byte over its first 22
    // bytes) and a document with the device's summary.
    static std::vector<unsigned char> answer(const std::string& id, unsigned char command) {
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\">\n"
            "\t<DeviceSummaryInfo DeviceId=\"" +
            id + "\" ProductModel=\"IPC-B\" />\n</Parameters>\n";
        std::vector<unsigned char> out = {0xAF,
                                          0xAF,
                                          0,
                                          1,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0x77,
                                          command,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          static_cast<unsigned char>(body.size() >> 8),
                                          static_cast<unsigned char>(body.size()),
                                          0,
                                          0,
                                          0,
                                          0x23};
        unsigned char check = 0;
        for (int i = 0; i < 22; ++i) check ^= out[i];
        out[22] = check;
        out.insert(out.end(), body.begin(), body.end());
        return out;
    }
    bool m_bRange;
    int m_nFd = -1;
    std::vector<unsigned char> m_answer;
    std::atomic<bool> m_bStop{false};
    std::atomic<Clock::rep> m_nLastAnswer{0};
    std::thread m_thread;
};

// The signal's arrivals, on the engines' threads.
struct Arrivals {
    std::atomic<int> count{0};
    std::atomic<Clock::rep> last{0};
    QMetaObject::Connection connection;
    Arrivals() {
        connection = QObject::connect(DeviceSearch::GetInstance()->getIPsearchListener(),
                                      &QIPsearchListener::IPSearchSend, [this](const NetVideoDeviceInfo&) {
                                          last = Clock::now().time_since_epoch().count();
                                          ++count;
                                      });
    }
    ~Arrivals() { QObject::disconnect(connection); }
    bool waitFor(int n) {
        for (int i = 0; i < 500 && count < n; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return count >= n;
    }
};

int openDescriptors() {
    int n = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir) != nullptr) ++n;
        closedir(dir);
    }
    return n;
}

void BM_StopSearch(benchmark::State& state) {
    if (!rig()) return state.SkipWithError("no namespace rig");
    LanDevice a(rig()->lanA(), 1), b(rig()->lanB(), 2);
    DeviceSearch* search = DeviceSearch::GetInstance();
    double maxMs = 0;
    for (auto _ : state) {
        Arrivals arrivals;
        rig()->client().run([&] { search->startSearch(false); });
        if (!arrivals.waitFor(2)) return state.SkipWithError("the devices were not heard");
        const auto started = Clock::now();
        search->stopSearch(false);
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
        maxMs = std::max(maxMs, ms);
        state.SetIterationTime(ms / 1000);
    }
    state.counters["max_ms"] = maxMs;
}
BENCHMARK(BM_StopSearch)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

std::map<int, double> g_replyMs;

void BM_ReplyToSignal(benchmark::State& state) {
    if (!rig()) return state.SkipWithError("no namespace rig");
    const bool strays = state.range(0) != 0;
    static bool routed = false;
    if (!routed) {
        // LAN A reaches B's address through adapter A.
        rig()->lanA().ip("route add 203.0.113.0/24 via 198.51.100.1");
        rig()->client().sysctl("ipv4/conf/all/rp_filter", "0");
        routed = true;
    }
    LanDevice b(rig()->lanB(), 2);
    std::atomic<bool> flooding{strays};
    auto flood = rig()->lanA().spawn([&] {
        const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(kAnswerPort);
        inet_pton(AF_INET, "203.0.113.1", &to.sin_addr);
        while (flooding) {
            sendto(fd, "stray", 5, 0, reinterpret_cast<sockaddr*>(&to), sizeof(to));
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        close(fd);
    });
    DeviceSearch* search = DeviceSearch::GetInstance();
    std::vector<double> samples;
    for (auto _ : state) {
        Arrivals arrivals;
        rig()->client().run([&] { search->startSearch(false); });
        if (!arrivals.waitFor(1)) return state.SkipWithError("the device was not heard");
        const double ms = std::chrono::duration<double, std::milli>(
                              Clock::duration(arrivals.last - b.lastAnswer().time_since_epoch().count()))
                              .count();
        samples.push_back(ms);
        state.SetIterationTime(ms / 1000);
        search->stopSearch(false);
    }
    flooding = false;
    std::sort(samples.begin(), samples.end());
    g_replyMs[strays ? 1 : 0] = samples[samples.size() / 2];
    state.counters["median_ms"] = samples[samples.size() / 2];
}
BENCHMARK(BM_ReplyToSignal)
    ->ArgName("strays")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(20)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void BM_StartStopCycles(benchmark::State& state) {
    if (!rig()) return state.SkipWithError("no namespace rig");
    DeviceSearch* search = DeviceSearch::GetInstance();
    rig()->client().run([&] { search->startSearch(false); });
    search->stopSearch(false);
    const int before = openDescriptors();
    for (auto _ : state) {
        rig()->client().run([&] { search->startSearch(false); });
        search->stopSearch(false);
    }
    state.counters["descriptors_left"] = openDescriptors() - before;
}
BENCHMARK(BM_StartStopCycles)->Iterations(1000)->Unit(benchmark::kMillisecond);

std::map<int, double> g_passMs;

void BM_RangePass(benchmark::State& state) {
    if (!rig()) return state.SkipWithError("no namespace rig");
    const bool answering = state.range(0) != 0;
    static bool addressed = false;
    if (!addressed) {
        for (int i = 20; i < 40; ++i)
            rig()->lanA().ip("addr add 198.51.100." + std::to_string(i) + "/24 dev ethC");
        addressed = true;
    }
    std::unique_ptr<LanDevice> devices;
    if (answering) devices = std::make_unique<LanDevice>(rig()->lanA(), 3, 30777);
    DeviceSearch* search = DeviceSearch::GetInstance();
    search->setPort(30777);
    search->setStartIP("198.51.100.20");
    search->setEndIP("198.51.100.39");
    std::vector<double> samples;
    for (auto _ : state) {
        const auto started = Clock::now();
        rig()->client().run([&] { search->startSearch(true); });
        while (search->isRangeSearchRunning()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
        samples.push_back(ms);
        state.SetIterationTime(ms / 1000);
    }
    std::sort(samples.begin(), samples.end());
    g_passMs[answering ? 1 : 0] = samples[samples.size() / 2];
}
BENCHMARK(BM_RangePass)
    ->ArgName("answering")
    ->Arg(1)
    ->Arg(0)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (g_replyMs.count(0) && g_replyMs.count(1) && g_replyMs[0] > 0) {
        std::printf("reply-to-signal, median with strays / without: %.3f ms / %.3f ms = %.2f\n", g_replyMs[1],
                    g_replyMs[0], g_replyMs[1] / g_replyMs[0]);
    }
    if (g_passMs.count(0) && g_passMs.count(1) && g_passMs[0] > 0) {
        std::printf("range pass over 20 addresses, median answering / silent: %.0f ms / %.0f ms = %.2f\n",
                    g_passMs[1], g_passMs[0], g_passMs[1] / g_passMs[0]);
    }
    benchmark::Shutdown();
    rig().reset();
    return 0;
}
