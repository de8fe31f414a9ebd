// parseCommand of a device reply holding a full DeviceSummaryInfo, against a
// bare TinyXML parse of the same body bytes. The line printed at the end gives
// the ratio: what the command layer (head, factory, codec, node copies) costs
// on top of the XML library.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>

#include "BareParse.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "domain/records/DeviceSummaryInfo.h"

namespace {

// The datagram a device sends in answer to the multicast query.
const CommandBuffer& deviceReply() {
    static const CommandBuffer reply = [] {
        DeviceSummaryInfo* summary = new DeviceSummaryInfo();
        summary->setDeviceId("1A2B3C4D5E6F-0001-IPC");
        summary->setDeviceType(1);
        summary->setDeviceName("Entrance camera east");
        summary->setDeviceIP("192.168.17.201");
        summary->setDevicePort(30001);
        summary->setMACAddr("00:1A:2B:3C:4D:5E");
        summary->setManufacturerName("Manufacturer");
        summary->setManufacturerId("17");
        summary->setProductModel("IPC-2231-WD");
        summary->setSN("SN2026111700042");
        summary->setSoftWareInfo("V5.4.2 build 20261104");
        summary->setHardWareInfo("HW-REV-C");
        summary->setUpdatePort("30002");
        summary->setHttpPort("80");
        summary->setDeviceTime("2026-11-17 23:46:36");
        SDKCommandParam* command = new SDKCommandParam();
        command->m_objHead.nCommandID = 30540;
        command->m_domains.push_back(SafePointer<BaseDomain>(summary));
        SafePointer<CommandParam> param(command);
        CommandBuffer out;
        SDKCommandParser parser;
        if (!parser.createCommand(param, out)) {
            std::fprintf(stderr, "cannot build the device reply\n");
        }
        return out;
    }();
    return reply;
}

// The body as the parser sees it: the payload with a zero byte behind it.
const std::string& replyBody() {
    static const std::string body(reinterpret_cast<const char*>(deviceReply().getCursor()) + 24,
                                  deviceReply().getLength() - 24);
    return body;
}

void BM_ParseCommand(benchmark::State& state) {
    const CommandBuffer& reply = deviceReply();
    SDKCommandParser parser;
    for (auto _ : state) {
        SafePointer<CommandParam> param;
        bool ok = parser.parseCommand(reply, param);
        DeviceSummaryInfo summary;
        ok = ok && extractDomain(summary, dynamic_cast<const SDKCommandParam&>(*param).m_domains);
        if (!ok) {
            state.SkipWithError("the reply did not parse");
            break;
        }
        benchmark::DoNotOptimize(summary);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * reply.getLength());
}
BENCHMARK(BM_ParseCommand);

void BM_TinyXmlParse(benchmark::State& state) {
    const std::string& body = replyBody();
    runBareParse(state, body);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * body.size());
}
BENCHMARK(BM_TinyXmlParse);

// Console output as usual, and the CPU time per iteration of each benchmark
// kept for the ratio line (CPU time, since the machine may be shared).
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    // Colours only on a terminal.
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                continue;
            }
            const std::string& name = run.run_name.function_name;
            if (run.run_type == Run::RT_Iteration) {
                m_times[name] = run.GetAdjustedCPUTime();
            } else if (run.aggregate_name == "mean") {
                m_means[name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // The ratio of the means when repetitions ran, else of the single runs.
    void printRatio() const {
        const std::map<std::string, double>& times = m_means.empty() ? m_times : m_means;
        auto parse = times.find("BM_ParseCommand");
        auto bare = times.find("BM_TinyXmlParse");
        if (parse == times.end() || bare == times.end() || bare->second <= 0) {
            return;
        }
        std::printf("reply of %u bytes: parseCommand / bare TinyXML parse = %.2f (CPU time)\n",
                    deviceReply().getLength(), parse->second / bare->second);
    }

  private:
    std::map<std::string, double> m_times;
    std::map<std::string, double> m_means;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio();
    benchmark::Shutdown();
    return 0;
}
