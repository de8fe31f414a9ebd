// devsearch search and devsearch range: a search through the exported API,
// exactly as an application makes one. Only the public headers are used.
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <functional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "SearchOutput.h"
#include "Subcommand.h"
#include "devsearch/DeviceSearch.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/QRangeSearchProgress.h"
#include "discovery/AddressText.h"

namespace {

// A longer range runs for hours; refuse it rather than block a shell.
constexpr uint64_t kMaxRangeAddresses = 65536;

std::atomic<bool> g_bInterrupted(false);
void onInterrupt(int) {
    g_bInterrupted = true;
}

const char* const kSearchUsage =
    "Usage: devsearch search [--interface NAME] [--seconds N] [--json] [--verbose]\n"
    "\n"
    "Multicast search: asks on 234.5.6.7 port 31001 (every 10 s) and listens for\n"
    "announcements on port 30003, on every adapter or on the one named, for N\n"
    "seconds (default 5), and prints each device as it arrives: a table, or with\n"
    "--json one JSON object per line. A device heard through several paths is\n"
    "printed once (by device id and address). A summary goes to standard error.\n"
    "--verbose lets the library's own diagnostic lines through to standard error.\n"
    "\n"
    "Exit status: 0 done (also when nothing was found); 2 bad arguments.\n";

const char* const kRangeUsage =
    "Usage: devsearch range FIRST-LAST [--port P] [--rate N] [--json] [--verbose]\n"
    "       devsearch range FIRST LAST [--port P] [--rate N] [--json] [--verbose]\n"
    "\n"
    "Range search: sends the query by unicast to port P (default 30001) of every\n"
    "IPv4 address from FIRST to LAST, in batches of 400 with at most 3 s of waiting\n"
    "for answers each, and prints each device as it answers: a table, or with\n"
    "--json one JSON object per line. It ends when the library reports the pass\n"
    "over. When standard error is a terminal it shows there a progress bar of the\n"
    "addresses done. At most 65536 addresses;\n"
    "the range may not reach 255.255.255.255.\n"
    "\n"
    "--rate N (1 to 100000; 2000 suits most networks) scans fast instead: one\n"
    "socket queries every address at N queries per second, and the pass ends 3 s\n"
    "after the last query (sooner when every address has answered). A /16 takes\n"
    "about 36 s at 2000. Sends that the system refuses for the moment slow the\n"
    "scan down; no address is skipped.\n"
    "\n"
    "Exit status: 0 done (also when nothing was found); 2 bad arguments.\n";

int badArguments(ToolStreams& io, const char* sub, const std::string& what) {
    std::fprintf(io.err, "devsearch %s: %s\n", sub, what.c_str());
    return kExitRefused;
}

// The library's own reading of range text, so that the tool refuses exactly
// what a search would not use.
bool parseIPv4(const std::string& text, uint32_t& host) {
    return readDottedIPv4(text.c_str(), host);
}

bool parsePositive(const std::string& text, long max, long& value) {
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && value >= 1 && value <= max;
}

// The interface names of this host (of this network namespace).
std::set<std::string> interfaceNames() {
    std::set<std::string> names;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return names;
    for (ifaddrs* a = list; a != nullptr; a = a->ifa_next) names.insert(a->ifa_name);
    freeifaddrs(list);
    return names;
}

// The library prints diagnostic lines on standard output (which the tool has
// already turned to standard error); hide them unless asked for.
void silenceLibrary(bool verbose) {
    if (verbose) return;
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) {
        fflush(stdout);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
}

// Qt wants argc/argv that outlive the application object.
struct QtArgs {
    int argc = 1;
    char name[16] = "devsearch";
    char* argv[2] = {name, nullptr};
};

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Collects the records of one listener on the main thread and prints the
// first record of each device.
//
// A device is remembered by a 64-bit hash of its id and address, some 40
// bytes each, so that a search that hears a million devices stays small; two
// devices of one search share a hash with a chance of about n * n / 2^65.
class Collector {
  public:
    Collector(FILE* out, bool json) : m_objPrinter(out, json) {}
    void begin() { m_objPrinter.begin(); }
    void add(const NetVideoDeviceInfo& record, double at) {
        ++m_nRecords;
        std::string key = record.getDeviceId();
        key += '\0';
        key += record.getDeviceIP();
        if (!m_setSeen.insert(std::hash<std::string>()(key)).second) return;
        m_dLastAt = at;
        m_objPrinter.print(record);
    }
    size_t devices() const { return m_setSeen.size(); }
    size_t records() const { return m_nRecords; }
    double lastAt() const { return m_dLastAt; }

  private:
    DevicePrinter m_objPrinter;
    std::unordered_set<uint64_t> m_setSeen;
    size_t m_nRecords = 0;
    double m_dLastAt = 0;
};

}  // namespace

int runSearch(const std::vector<std::string>& args, ToolStreams& io) {
    std::string interface;
    long seconds = 5;
    bool json = false, verbose = false, named = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            std::fputs(kSearchUsage, io.out);
            return kExitOk;
        } else if (a == "--interface") {
            if (i + 1 >= args.size()) return badArguments(io, "search", "--interface needs an adapter name");
            interface = args[++i];
            named = true;
        } else if (a == "--seconds") {
            if (i + 1 >= args.size() || !parsePositive(args[i + 1], 86400, seconds)) {
                return badArguments(io, "search",
                                    "--seconds needs a whole number of seconds from 1 to 86400");
            }
            ++i;
        } else if (a == "--json") {
            json = true;
        } else if (a == "--verbose") {
            verbose = true;
        } else {
            return badArguments(io, "search", "unknown argument '" + a + "'; see 'devsearch search --help'");
        }
    }
    if (named && interfaceNames().count(interface) == 0) {
        return badArguments(io, "search", "unknown interface '" + interface + "'");
    }

    silenceLibrary(verbose);
    QtArgs qtArgs;
    QCoreApplication app(qtArgs.argc, qtArgs.argv);
    DeviceSearch* search = DeviceSearch::GetInstance();
    Collector collector(io.out, json);
    const auto started = std::chrono::steady_clock::now();
    QObject context;
    QObject::connect(
        search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, &context,
        [&](NetVideoDeviceInfo record) { collector.add(record, secondsSince(started)); },
        Qt::QueuedConnection);

    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (g_bInterrupted || secondsSince(started) >= seconds) app.quit();
    });
    watch.start(50);

    collector.begin();
    search->setNetWorkType(named ? 1 : 0);
    search->setNetWorkName(QString::fromLocal8Bit(interface.c_str()));
    search->startSearch(false);
    app.exec();
    const double searched = secondsSince(started);
    // Stopping waits for the engines' current readiness wait (up to 2 s).
    search->stopSearch(false);
    // Records still queued when the search ended.
    QCoreApplication::processEvents();

    std::fprintf(io.err,
                 "devsearch search: %zu found (%zu records) in %.1f s%s; the last new device after %.3f s\n",
                 collector.devices(), collector.records(), searched,
                 named ? (" on " + interface).c_str() : " on all adapters", collector.lastAt());
    return kExitOk;
}

int runRange(const std::vector<std::string>& args, ToolStreams& io) {
    std::vector<std::string> positional;
    long port = 30001;
    long rate = 0;
    bool json = false, verbose = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            std::fputs(kRangeUsage, io.out);
            return kExitOk;
        } else if (a == "--port") {
            if (i + 1 >= args.size() || !parsePositive(args[i + 1], 65535, port)) {
                return badArguments(io, "range", "--port needs a port from 1 to 65535");
            }
            ++i;
        } else if (a == "--rate") {
            if (i + 1 >= args.size() || !parsePositive(args[i + 1], 100000, rate)) {
                return badArguments(io, "range", "--rate needs queries per second from 1 to 100000");
            }
            ++i;
        } else if (a == "--json") {
            json = true;
        } else if (a == "--verbose") {
            verbose = true;
        } else if (!a.empty() && a[0] == '-') {
            return badArguments(io, "range", "unknown option '" + a + "'; see 'devsearch range --help'");
        } else {
            positional.push_back(a);
        }
    }
    std::string firstText, lastText;
    if (positional.size() == 1) {
        const size_t dash = positional[0].find('-');
        if (dash == std::string::npos) {
            return badArguments(io, "range",
                                "'" + positional[0] + "' is no range; give FIRST-LAST or FIRST LAST");
        }
        firstText = positional[0].substr(0, dash);
        lastText = positional[0].substr(dash + 1);
    } else if (positional.size() == 2) {
        firstText = positional[0];
        lastText = positional[1];
    } else {
        return badArguments(io, "range",
                            "give one range, FIRST-LAST or FIRST LAST; see 'devsearch range --help'");
    }
    uint32_t first = 0, last = 0;
    if (!parseIPv4(firstText, first))
        return badArguments(io, "range", "'" + firstText + "' is no IPv4 address");
    if (!parseIPv4(lastText, last)) return badArguments(io, "range", "'" + lastText + "' is no IPv4 address");
    if (last < first) {
        return badArguments(io, "range",
                            "the range " + firstText + "-" + lastText +
                                " is reversed: its last address "
                                "is below its first");
    }
    if (last == 0xFFFFFFFFu) return badArguments(io, "range", "the range may not reach 255.255.255.255");
    const uint64_t count = uint64_t(last) - first + 1;
    if (count > kMaxRangeAddresses) {
        return badArguments(io, "range",
                            "the range holds " + std::to_string(count) +
                                " addresses; at most 65536 are searched in one pass");
    }

    const bool progress = isatty(STDERR_FILENO) != 0;

    silenceLibrary(verbose);
    QtArgs qtArgs;
    QCoreApplication app(qtArgs.argc, qtArgs.argv);
    DeviceSearch* search = DeviceSearch::GetInstance();
    Collector collector(io.out, json);
    const auto started = std::chrono::steady_clock::now();
    // The bar shows the addresses done as the range search reports them.
    int barDone = 0;
    int barTotal = static_cast<int>(count);
    auto clearBar = [&] {
        if (progress) std::fputs("\r\033[K", io.err);
    };
    auto drawBar = [&] {
        if (!progress) return;
        const int width = 30;
        const int filled = barTotal > 0 ? static_cast<int>(int64_t(width) * barDone / barTotal) : width;
        std::fprintf(io.err, "\r\033[K[%s%s] %d/%d addresses, %zu found, %.1f s",
                     std::string(filled, '#').c_str(), std::string(width - filled, '.').c_str(), barDone,
                     barTotal, collector.devices(), secondsSince(started));
        std::fflush(io.err);
    };
    // Records and progress come from the range search thread through queued
    // connections, in the order it sent them: when the end arrives, every
    // record of the pass has been printed.
    QObject context;
    QObject::connect(
        search->getDeviceSearcherListener(), &QDeviceSearcherListener::IPSearchSend, &context,
        [&](NetVideoDeviceInfo record) {
            clearBar();
            collector.add(record, secondsSince(started));
            drawBar();
        },
        Qt::QueuedConnection);
    auto showPass = [&](int done, int total) {
        barDone = done;
        barTotal = total;
        drawBar();
    };
    QRangeSearchProgress* pass = search->getRangeSearchProgress();
    QObject::connect(
        pass, &QRangeSearchProgress::progress, &context,
        [&](int done, int total, int) { showPass(done, total); }, Qt::QueuedConnection);
    QObject::connect(
        pass, &QRangeSearchProgress::finished, &context,
        [&](int done, int total, int) {
            showPass(done, total);
            app.quit();
        },
        Qt::QueuedConnection);

    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (g_bInterrupted) app.quit();
    });
    watch.start(100);
    drawBar();

    collector.begin();
    search->setStartIP(QString::fromLatin1(firstText.c_str()));
    search->setEndIP(QString::fromLatin1(lastText.c_str()));
    search->setPort(static_cast<unsigned short>(port));
    search->setQueryRate(static_cast<int>(rate));
    const int result = search->startSearch(true);
    if (result != 0) {
        std::fprintf(io.err, "devsearch range: the range search did not start (%d)\n", result);
        return kExitUsage;
    }
    app.exec();
    QCoreApplication::processEvents();
    clearBar();
    std::fprintf(io.err, "devsearch range: %zu found, %d of %llu addresses done in %.1f s%s\n",
                 collector.devices(), barDone, static_cast<unsigned long long>(count), secondsSince(started),
                 g_bInterrupted ? " (interrupted)" : "");
    if (g_bInterrupted) {
        // The range thread may still be in its pass; the application's only
        // way to end it is to leave.
        std::fflush(io.out);
        std::fflush(io.err);
        std::_Exit(kExitInterrupted);
    }
    return kExitOk;
}
