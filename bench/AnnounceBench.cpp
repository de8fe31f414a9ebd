// The announcement path of the multicast receiver, in-process through the
// transfer seam: datagram bytes queued on the receiver's transfer, a record in
// the listener. Each measured datagram repeats an already known device with a
// new device time, so it is delivered and the number of known devices stays
// as set. Beside it, a bare TinyXML parse of the same body.
//
//   BM_Announce/known:N  CPU time of the receiver's thread per burst of 256
//                        datagrams (readiness, receive, decode, duplicate
//                        check, listener), N devices known
//   BM_TinyXmlParse      CPU time of one parse of the announcement's body
//
// The lines at the end give the ratios: cost at 100,000 known against 1,000,
// and each against the bare parse. The receiver prints a line per record on
// standard output, which goes to /dev/null; the results go to standard error.
// On a shared machine run it with --benchmark_repetitions=5 and
// --benchmark_enable_random_interleaving=true: the ratios then come from the
// medians of runs spread over the same stretch of time.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "BareParse.h"
#include "devsearch/DeviceSearchListener.h"
#include "devsim/SimDevice.h"
#include "discovery/DeviceMulticastRecvThread.h"
#include "discovery/DiscoveryNames.h"
#include "support/FakeNetwork.h"

namespace {

using testsupport::FakeDatagram;
using testsupport::FakeNetwork;

constexpr int kBatch = 256;
constexpr const char* kFirstTime = "2026-11-23 08:00:00";
constexpr const char* kLaterTime = "2026-11-23 08:00:05";

Bytes announcement(int index, const char* time) {
    SimDeviceConfig config;
    config.index = index;
    config.form = 23;
    config.address = "192.0.2.77";
    config.deviceTime = time;
    Bytes out;
    buildAnnouncement(config, makeSummary(config), out);
    return out;
}

double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Counts records; when the awaited one arrives it notes the CPU time that the
// receiver's thread (the caller) has used so far, and holds that thread until
// the next batch is queued. Each batch is thus read as one burst, as in a
// flood: what is measured is the cost per datagram, not how often the thread
// was put to sleep and woken (which depends on the machine's load).
class Listener : public IDeviceDiscoveryListener {
  public:
    void onDeviceDiscovered(const DeviceSummaryInfo&) override {
        if (++m_nCount != m_nAwaited.load()) return;
        std::unique_lock<std::mutex> lock(m_mutex);
        m_dCpu = threadCpuSeconds();
        m_bQueued = false;
        m_cv.notify_all();
        m_cv.wait(lock, [&] { return m_bQueued || m_bReleased; });
    }
    // Queues `datagrams` and waits for their records; the receiver thread's
    // CPU time at the last of them.
    double run(FakeNetwork& net, const std::vector<const Bytes*>& datagrams) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_nAwaited = m_nCount.load() + datagrams.size();
        for (const Bytes* bytes : datagrams) {
            net.deliver(FakeDatagram{"192.0.2.77", 40000, kSearchGroup, kAnnouncePort, *bytes, "192.0.2.1"});
        }
        m_bQueued = true;
        m_cv.notify_all();
        m_cv.wait(lock, [&] { return m_nCount.load() >= m_nAwaited; });
        return m_dCpu;
    }
    // Lets the receiver's thread go for good, so that it can be stopped.
    void release() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_bReleased = true;
        m_cv.notify_all();
    }

  private:
    std::atomic<size_t> m_nCount{0};
    std::atomic<size_t> m_nAwaited{0};
    double m_dCpu = 0;
    bool m_bQueued = false;
    bool m_bReleased = false;
    std::mutex m_mutex;
    std::condition_variable m_cv;
};

void BM_Announce(benchmark::State& state) {
    const int known = static_cast<int>(state.range(0));
    FakeNetwork net(std::vector<AdapterEntry>{{"lanA", {"192.0.2.1"}}});
    Listener listener;
    DeviceMulticastRecvThread receiver;
    receiver.setAdapters({"lanA"});
    receiver.setListener(&listener);
    receiver.setSuppressDuplicates(true);
    receiver.setRememberedLimit(static_cast<size_t>(known));
    if (receiver.start() != 0) {
        state.SkipWithError("the receiver did not start");
        return;
    }
    // Every known device once, in batches, not timed.
    std::vector<Bytes> first;
    first.reserve(kBatch);  // the batch points into it
    std::vector<const Bytes*> batch;
    for (int i = 0; i < known; ++i) {
        first.push_back(announcement(i, kFirstTime));
        batch.push_back(&first.back());
        if (batch.size() == kBatch || i + 1 == known) {
            listener.run(net, batch);
            batch.clear();
            first.clear();
        }
    }
    // Changed records of 1,000 devices spread over the known ones, then the
    // first records again: each one a change that is delivered. The same
    // number in every run, so that only the number known differs.
    const int spread = std::min(known, 1000);
    std::vector<Bytes> cycle;
    for (const char* time : {kLaterTime, kFirstTime}) {
        for (int i = 0; i < spread; ++i) cycle.push_back(announcement(i * (known / spread), time));
    }
    size_t next = 0;
    double cpu = listener.run(net, {});
    for (auto _ : state) {
        batch.clear();
        for (int i = 0; i < kBatch; ++i) batch.push_back(&cycle[next++ % cycle.size()]);
        const double after = listener.run(net, batch);
        state.SetIterationTime(after - cpu);
        cpu = after;
    }
    listener.release();
    receiver.stop();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kBatch);
}
BENCHMARK(BM_Announce)->ArgName("known")->Arg(1000)->Arg(100000)->UseManualTime()->MinTime(1.0);

void BM_TinyXmlParse(benchmark::State& state) {
    const Bytes datagram = announcement(1, kFirstTime);
    // The body behind the 24-byte envelope and the 76-byte head.
    const std::string body(datagram.begin() + 100, datagram.end());
    runBareParse(state, body);
}
BENCHMARK(BM_TinyXmlParse)->MinTime(1.0);

// Console output as usual, and the time per datagram of each run kept for the
// ratio lines.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    RatioReporter() : ConsoleReporter(isatty(STDERR_FILENO) ? OO_ColorTabular : OO_Tabular) {
        SetOutputStream(&std::cerr);
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            // With repetitions, their medians: the machine may be shared.
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.run_type != Run::RT_Iteration && !median) continue;
            // Manual time (the receiver thread's CPU) where set, else CPU
            // time; an iteration of BM_Announce is a batch, timed by hand.
            const std::string& name = run.run_name.function_name;
            (median ? m_medians : m_times)[name + run.run_name.args] =
                name == "BM_Announce" ? run.GetAdjustedRealTime() / kBatch : run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printRatios() const {
        auto time = [&](const std::string& name) {
            const std::map<std::string, double>& times = m_medians.empty() ? m_times : m_medians;
            auto found = times.find(name);
            return found == times.end() ? 0.0 : found->second;
        };
        const double small = time("BM_Announceknown:1000");
        const double large = time("BM_Announceknown:100000");
        const double bare = time("BM_TinyXmlParse");
        if (small <= 0 || large <= 0 || bare <= 0) return;
        std::fprintf(stderr, "announcement, 100000 known / 1000 known = %.2f\n", large / small);
        std::fprintf(stderr, "announcement / bare TinyXML parse: %.2f (1000 known), %.2f (100000 known)\n",
                     small / bare, large / bare);
    }

  private:
    std::map<std::string, double> m_times;
    std::map<std::string, double> m_medians;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    std::fflush(stdout);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) {
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    // The benchmark thread, which queues the datagrams, and the receiver's
    // thread share one CPU, so that a datagram's bytes are as warm as the
    // bare parse's body. Left to the scheduler, the two land on different
    // CPUs of an idle machine, and every datagram and its queue entry cross
    // between caches: the figure then depends on where the threads ran.
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof(one), &one);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
