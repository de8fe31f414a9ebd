// parseCommand of a device reply holding a full DeviceSummaryInfo, against a
// bare TinyXML parse of the same body bytes. The lines printed at the end give
// the ratio: what the command layer (head, factory, codec, nodes) costs on top
// of the XML library, with the library's defaults and without its row and
// column bookkeeping (which the command layer switches off). And the whole
// catalogue: every record, filled, built, printed and parsed back.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BareParse.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "domain/AllRecords.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "support/RecordFiller.h"

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

// The bare parse; a tab size of 0 switches the row and column bookkeeping off.
void bareParse(benchmark::State& state, int tabSize) {
    const std::string& body = replyBody();
    runBareParse(state, body, tabSize);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * body.size());
}

void BM_TinyXmlParse(benchmark::State& state) {
    bareParse(state, TiXmlDocument().TabSize());
}
BENCHMARK(BM_TinyXmlParse);

void BM_TinyXmlParseNoPositions(benchmark::State& state) {
    bareParse(state, 0);
}
BENCHMARK(BM_TinyXmlParseNoPositions);

// One record of the catalogue, filled, with its round trip through its codec:
// element build, printed text, parsed node, element parse into a new record.
class CatalogueEntry {
  public:
    virtual ~CatalogueEntry() = default;
    virtual bool roundTrip(std::string& text) const = 0;
};

template <class T>
class CatalogueRecord : public CatalogueEntry {
  public:
    CatalogueRecord() {
        RecordFiller filler;
        visitAll(filler, m_record);
    }
    bool roundTrip(std::string& text) const override {
        typename CodecOf<T>::type codec;
        SafePointer<DomainXmlNode> node(new DomainXmlNode("Record"));
        if (!codec.createDomainXmlNode(m_record, node) || !DomainXmlNode::toString(node, text)) return false;
        SafePointer<DomainXmlNode> reread;
        T back;
        return DomainXmlNode::fromString(text, reread) && codec.parseDomainXmlNode(reread, back);
    }

  private:
    T m_record;
};

const std::vector<std::unique_ptr<CatalogueEntry>>& catalogue() {
    static const std::vector<std::unique_ptr<CatalogueEntry>> entries = [] {
        std::vector<std::unique_ptr<CatalogueEntry>> all;
#define X(Class) all.emplace_back(new CatalogueRecord<Class>());
#include "domain/RecordList.inc"
#undef X
        return all;
    }();
    return entries;
}

// Standard output goes to /dev/null for the life of the object: the few codecs
// that print on every call would flood the report.
class QuietStdout {
  public:
    QuietStdout() : m_nSaved(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) {
            dup2(null, STDOUT_FILENO);
            close(null);
        }
    }
    ~QuietStdout() {
        std::fflush(stdout);
        if (m_nSaved >= 0) {
            dup2(m_nSaved, STDOUT_FILENO);
            close(m_nSaved);
        }
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

  private:
    int m_nSaved;
};

void BM_CatalogueRoundTrip(benchmark::State& state) {
    const auto& entries = catalogue();
    std::string text;
    bool ok = true;
    {
        QuietStdout quiet;
        for (auto _ : state) {
            for (const auto& entry : entries) ok = entry->roundTrip(text) && ok;
        }
    }
    if (!ok) state.SkipWithError("a record did not come back");
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * entries.size()));
    state.counters["records"] = static_cast<double>(entries.size());
}
BENCHMARK(BM_CatalogueRoundTrip)->Unit(benchmark::kMillisecond);

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
        if (parse == times.end()) return;
        const char* const bares[][2] = {{"BM_TinyXmlParse", ""},
                                        {"BM_TinyXmlParseNoPositions", " without row/column bookkeeping"}};
        for (const auto& bare : bares) {
            auto found = times.find(bare[0]);
            if (found == times.end() || found->second <= 0) continue;
            std::printf("reply of %u bytes: parseCommand / bare TinyXML parse%s = %.2f (CPU time)\n",
                        deviceReply().getLength(), bare[1], parse->second / found->second);
        }
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
