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
    LanDevice(const testsupport::Netns& ns, int index) {
        ns.run([&] {
            m_nFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            int on = 1;
            setsockopt(m_nFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
            sockaddr_in local{};
            local.sin_family = AF_INET;
            local.sin_port = htons(kQueryPort);
            bind(m_nFd, reinterpret_cast<sockaddr*>(&local), sizeof(local));
            ip_mreqn join{};
            inet_pton(AF_INET, kSearchGroup, &join.imr_multiaddr);
            join.imr_ifindex = static_cast<int>(if_nametoindex("ethC"));
            setsockopt(m_nFd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &join, sizeof(join));
        });
        m_answer = answer("BENCH" + std::to_string(index));
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
            if (recvfrom(m_nFd, buffer, sizeof(buffer), 0, reinterpret_cast<sockaddr*>(&from), &length) <= 0) continue;
            from.sin_port = htons(kAnswerPort);
            m_nLastAnswer = Clock::now().time_since_epoch().count();
            sendto(m_nFd, m_answer.data(), m_answer.size(), 0, reinterpret_cast<sockaddr*>(&from), sizeof(from));
        }
    }
    // The answer to the query: the SDK head (check byte over its first 22
    // bytes) and a document with the device's summary.
    static std::vector<unsigned char> answer(const std::string& id) {
        const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\">\n"
                                 "\t<DeviceSummaryInfo DeviceId=\"" + id + "\" ProductModel=\"IPC-B\" />\n</Parameters>\n";
        std::vector<unsigned char> out = {0xAF, 0xAF, 0, 1, 0, 0, 0, 0, 0, 0, 0x77, 0x4C, 0, 0, 0, 0, 0, 0,
                                          static_cast<unsigned char>(body.size() >> 8),
                                          static_cast<unsigned char>(body.size()), 0, 0, 0, 0x23};
        unsigned char check = 0;
        for (int i = 0; i < 22; ++i) check ^= out[i];
        out[22] = check;
        out.insert(out.end(), body.begin(), body.end());
        return out;
    }
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
        connection = QObject::connect(DeviceSearch::GetInstance()->getIPsearchListener(), &QIPsearchListener::IPSearchSend,
                                      [this](const NetVideoDeviceInfo&) {
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
        const double ms =
            std::chrono::duration<double, std::milli>(Clock::duration(arrivals.last - b.lastAnswer().time_since_epoch().count()))
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
BENCHMARK(BM_ReplyToSignal)->ArgName("strays")->Arg(0)->Arg(1)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

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

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (g_replyMs.count(0) && g_replyMs.count(1) && g_replyMs[0] > 0) {
        std::printf("reply-to-signal, median with strays / without: %.3f ms / %.3f ms = %.2f\n", g_replyMs[1], g_replyMs[0],
                    g_replyMs[1] / g_replyMs[0]);
    }
    benchmark::Shutdown();
    rig().reset();
    return 0;
}
