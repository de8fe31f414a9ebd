// devsim: plays simulated cameras and recorders for tests and demonstrations.
//
// Each device lives on one local IPv4 address. It answers the multicast query
// (SDK command 30539 on port 31001) with its DeviceSummaryInfo to port 31002
// of the sender, answers the range query (30541 on its query port, 30001 by
// default) with 30542 to the sender, and announces itself on 234.5.6.7 port
// 30003 in one of the three announcement forms. It refuses to run in the
// host's own network namespace.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "devsearch/LibraryVersion.h"
#include "devsim/SimDevice.h"
#include "discovery/DiscoveryNames.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

namespace {

enum ExitCode { kExitOk = 0, kExitSocket = 1, kExitUsage = 2 };

volatile std::sig_atomic_t g_bStop = 0;
void onSignal(int) {
    g_bStop = 1;
}

const char* const kUsage =
    "Usage: devsim [OPTIONS] ADDRESS... | --range FIRST-LAST\n"
    "\n"
    "Plays one simulated device per local IPv4 address. Each device answers the\n"
    "multicast query (command 30539 on port 31001, answered to port 31002 of the\n"
    "sender), answers the range query (30541 on the query port, answered with\n"
    "30542) and announces itself on 234.5.6.7 port 30003.\n"
    "\n"
    "devsim is a test and demonstration tool. It sends only from the given\n"
    "addresses, which must belong to an interface of a network namespace made for\n"
    "the purpose, and never outside the namespace it is started in: it refuses to\n"
    "run in the host's initial network namespace. Start it with\n"
    "'ip netns exec NAME devsim ...' or inside 'unshare -rn'.\n"
    "\n"
    "Options:\n"
    "  --range FIRST-LAST       one device on each address of the range\n"
    "  --form 16|20|23|mixed    announcement form (default mixed: 23, 20, 16 by index)\n"
    "  --announce-interval S    seconds between announcements; 0 never (default 2)\n"
    "  --no-announce            send no announcement (the interval still paces --push-to)\n"
    "  --no-query-answer        do not answer the multicast query\n"
    "  --no-range-answer        do not answer the range query\n"
    "  --port P                 port of the range query (default 30001)\n"
    "  --control-port P         control port that devices report (default 30001)\n"
    "  --http-port P            HTTP port that devices report (default 80)\n"
    "  --model TEXT             product model of every device (default: by index)\n"
    "  --id-prefix TEXT         device ids are TEXT plus a 6-digit number (default SIM)\n"
    "  --manufacturer TEXT      manufacturer name (default Simulated)\n"
    "  --device-time TEXT       device time reported (default: the start time)\n"
    "  --first-index N          index of the first device (default 0)\n"
    "  --malformed-range ADDR   the device on ADDR answers the range query with garbage\n"
    "  --malformed-query ADDR   the device on ADDR answers the multicast query with garbage\n"
    "  --push-to ADDR           also send the query answer unasked to ADDR port 31002 at\n"
    "                           every announcement (a device that answers late)\n"
    "  --flood N                instead of serving, send N announcements of distinct\n"
    "                           devices (form 23, indexes from --first-index) from the\n"
    "                           first address, then exit\n"
    "  --rate R                 announcements per second of --flood (default 8000)\n"
    "  --seconds N              exit after N seconds (default: run until a signal)\n"
    "  --ready-file PATH        write PATH once every socket is open\n"
    "  --verbose                log every query on standard error\n"
    "  --version                the library's version and SOVERSION\n"
    "  --help                   this text\n"
    "\n"
    "Exit status: 0 after a signal or --seconds, 1 when a socket cannot be opened,\n"
    "2 for bad arguments or when started in the host's namespace.\n";

struct Device {
    SimDeviceConfig config;
    DeviceSummaryInfo summary;
    int fd = -1;
    bool malformedRange = false;
    bool malformedQuery = false;
    Bytes announcement;
    Bytes queryAnswer;  // to a query of sequence 0, the usual one
};

struct Options {
    std::vector<uint32_t> addresses;
    std::set<uint32_t> malformedRange, malformedQuery;
    std::vector<uint32_t> pushTo;
    std::string form = "mixed", model, idPrefix = "SIM", manufacturer = "Simulated", deviceTime, readyFile;
    long announceMs = 2000, rangePort = kRangePort, controlPort = kRangePort, httpPort = 80, seconds = -1,
         firstIndex = 0, flood = 0, rate = 8000;
    bool answerQuery = true, answerRange = true, announce = true, verbose = false;
};

bool parseAddress(const std::string& text, uint32_t& host) {
    in_addr addr{};
    if (inet_pton(AF_INET, text.c_str(), &addr) != 1) return false;
    host = ntohl(addr.s_addr);
    return true;
}

std::string addressText(uint32_t host) {
    in_addr addr{};
    addr.s_addr = htonl(host);
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &addr, text, sizeof(text));
    return text;
}

bool parseNumber(const std::string& text, long min, long max, long& value) {
    char* end = nullptr;
    errno = 0;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && errno == 0 && value >= min && value <= max;
}

int usageError(const std::string& what) {
    std::fprintf(stderr, "devsim: %s; run 'devsim --help' for the options\n", what.c_str());
    return kExitUsage;
}

// The network namespace of this process, or empty when it cannot be read.
std::string namespaceId(const char* path) {
    struct stat info {};
    if (stat(path, &info) != 0) return std::string();
    return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino);
}

// True when a non-loopback interface holds the default route.
bool hasDefaultRoute() {
    std::ifstream routes("/proc/net/route");
    std::string line;
    std::getline(routes, line);  // column names
    while (std::getline(routes, line)) {
        char name[64];
        unsigned long destination = 1;
        if (std::sscanf(line.c_str(), "%63s %lx", name, &destination) == 2 && destination == 0 &&
            std::strcmp(name, "lo") != 0) {
            return true;
        }
    }
    return false;
}

// Refuses the host's namespace: the same namespace as process 1, or, when
// that cannot be compared, one with a default route on a real interface.
bool inTestNamespace(std::string& why) {
    const std::string self = namespaceId("/proc/self/ns/net");
    const std::string init = namespaceId("/proc/1/ns/net");
    if (!self.empty() && !init.empty()) {
        if (self == init) {
            why = "this is the host's initial network namespace";
            return false;
        }
        return true;
    }
    if (hasDefaultRoute()) {
        why =
            "this namespace has a default route on a real interface and cannot be told apart from the host's";
        return false;
    }
    return true;
}

int openUdp(uint32_t bindHost, uint16_t port, bool reuse) {
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    int on = 1;
    if (reuse) setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(bindHost);
    local.sin_port = htons(port);
    if (bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof(local)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

void sendTo(int fd, const Bytes& data, const sockaddr_in& to) {
    sendto(fd, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof(to));
}

// Reads the SDK head of a datagram; false when it does not parse.
bool parseQuery(const unsigned char* data, size_t length, uint32_t& commandId, uint16_t& sequence) {
    CommandBuffer buffer;
    if (!buffer.alloc(static_cast<int>(length)) || !buffer.assign(data, static_cast<unsigned>(length)))
        return false;
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    try {
        if (!parser.parseCommand(buffer, param) || !param) return false;
        const SDKCommandParam& sdk = static_cast<const SDKCommandParam&>(*param);
        commandId = sdk.m_objHead.nCommandID;
        sequence = sdk.m_objHead.nSequence;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

Bytes garbage(const Device& device) {
    // An SDK magic followed by a head that promises more than follows.
    Bytes bytes = {0xAF, 0xAF, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x77, 0x4E};
    for (char c : device.config.address) bytes.push_back(static_cast<unsigned char>(c));
    return bytes;
}

// Reads the command line into `o`; kExitOk to go on, otherwise the exit code
// (after --help, or a usage error already reported).
int parseOptions(const std::vector<std::string>& args, Options& o, bool& done) {
    std::set<uint32_t> seen;
    auto addAddress = [&](uint32_t host) {
        if (seen.insert(host).second) o.addresses.push_back(host);
    };
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= args.size()) return false;
            out = args[++i];
            return true;
        };
        std::string v;
        long n = 0;
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            done = true;
            return kExitOk;
        } else if (a == "--version") {
            std::printf("devsim %s (libdevsearch SOVERSION %d)\n", DEVSEARCH_VERSION_STRING,
                        DEVSEARCH_SOVERSION);
            done = true;
            return kExitOk;
        } else if (a == "--range") {
            if (!value(v)) return usageError("--range needs FIRST-LAST");
            const size_t dash = v.find('-');
            uint32_t first = 0, last = 0;
            if (dash == std::string::npos || !parseAddress(v.substr(0, dash), first) ||
                !parseAddress(v.substr(dash + 1), last)) {
                return usageError("'" + v + "' is no range FIRST-LAST of IPv4 addresses");
            }
            if (last < first) return usageError("range '" + v + "' ends before it starts");
            if (last - first >= 65536) return usageError("range '" + v + "' holds more than 65536 addresses");
            for (uint64_t h = first; h <= last; ++h) addAddress(static_cast<uint32_t>(h));
        } else if (a == "--form") {
            if (!value(v) || (v != "16" && v != "20" && v != "23" && v != "mixed")) {
                return usageError("--form takes 16, 20, 23 or mixed");
            }
            o.form = v;
        } else if (a == "--announce-interval") {
            char* end = nullptr;
            if (!value(v)) return usageError("--announce-interval needs seconds");
            const double s = std::strtod(v.c_str(), &end);
            if (*end != '\0' || s < 0 || s > 86400) return usageError("bad --announce-interval '" + v + "'");
            o.announceMs = static_cast<long>(s * 1000);
        } else if (a == "--no-announce") {
            o.announce = false;
        } else if (a == "--no-query-answer") {
            o.answerQuery = false;
        } else if (a == "--no-range-answer") {
            o.answerRange = false;
        } else if (a == "--port" || a == "--control-port" || a == "--http-port") {
            if (!value(v) || !parseNumber(v, 1, 65535, n))
                return usageError(a + " takes a port from 1 to 65535");
            (a == "--port" ? o.rangePort : a == "--control-port" ? o.controlPort : o.httpPort) = n;
        } else if (a == "--model" || a == "--id-prefix" || a == "--manufacturer" || a == "--device-time" ||
                   a == "--ready-file") {
            std::string& field = a == "--model"          ? o.model
                                 : a == "--id-prefix"    ? o.idPrefix
                                 : a == "--manufacturer" ? o.manufacturer
                                 : a == "--device-time"  ? o.deviceTime
                                                         : o.readyFile;
            if (!value(field)) return usageError(a + " needs a text");
        } else if (a == "--first-index") {
            if (!value(v) || !parseNumber(v, 0, 1000000, o.firstIndex))
                return usageError("bad --first-index");
        } else if (a == "--flood" || a == "--rate") {
            if (!value(v) || !parseNumber(v, 1, a == "--flood" ? 10000000 : 1000000, n))
                return usageError("bad " + a);
            (a == "--flood" ? o.flood : o.rate) = n;
        } else if (a == "--seconds") {
            if (!value(v) || !parseNumber(v, 0, 86400, o.seconds)) return usageError("bad --seconds");
        } else if (a == "--malformed-range" || a == "--malformed-query" || a == "--push-to") {
            uint32_t host = 0;
            if (!value(v) || !parseAddress(v, host)) return usageError(a + " needs an IPv4 address");
            if (a == "--push-to") {
                o.pushTo.push_back(host);
            } else {
                (a == "--malformed-range" ? o.malformedRange : o.malformedQuery).insert(host);
            }
        } else if (a == "--verbose") {
            o.verbose = true;
        } else if (!a.empty() && a[0] == '-') {
            return usageError("unknown option '" + a + "'");
        } else {
            uint32_t host = 0;
            if (!parseAddress(a, host)) return usageError("'" + a + "' is no IPv4 address");
            addAddress(host);
        }
    }
    if (o.addresses.empty()) return usageError("no device address given");
    if (o.flood > 0 && o.firstIndex + o.flood > 1000000)
        return usageError("--first-index plus --flood may not pass 1000000 (ids have 6 digits)");
    return kExitOk;
}

std::string timeNow() {
    char text[32];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

// One device per address, with its datagrams built and its socket open on the
// range port (it also sends the announcements and the query answers).
int makeDevices(const Options& o, std::vector<Device>& devices) {
    devices.resize(o.addresses.size());
    for (size_t i = 0; i < o.addresses.size(); ++i) {
        Device& d = devices[i];
        SimDeviceConfig& c = d.config;
        c.address = addressText(o.addresses[i]);
        c.index = static_cast<int>(o.firstIndex + static_cast<long>(i));
        static const int kForms[] = {23, 20, 16};
        c.form = o.form == "mixed" ? kForms[c.index % 3] : std::atoi(o.form.c_str());
        c.idPrefix = o.idPrefix;
        c.model = o.model;
        c.manufacturer = o.manufacturer;
        c.deviceTime = o.deviceTime;
        c.controlPort = static_cast<uint16_t>(o.controlPort);
        c.httpPort = static_cast<uint16_t>(o.httpPort);
        d.summary = makeSummary(c);
        d.malformedRange = o.malformedRange.count(o.addresses[i]) != 0;
        d.malformedQuery = o.malformedQuery.count(o.addresses[i]) != 0;
        if (!buildAnnouncement(c, d.summary, d.announcement)) {
            std::fprintf(stderr, "devsim: the announcement of %s could not be built\n", c.address.c_str());
            return kExitSocket;
        }
        if (d.malformedQuery) {
            d.queryAnswer = garbage(d);
        } else if (!buildSummaryAnswer(d.summary, kMulticastAnswerCommand, 0, d.queryAnswer)) {
            std::fprintf(stderr, "devsim: the answer of %s could not be built\n", c.address.c_str());
            return kExitSocket;
        }
        d.fd = openUdp(o.addresses[i], static_cast<uint16_t>(o.rangePort), true);
        if (d.fd < 0) {
            std::fprintf(stderr,
                         "devsim: cannot bind %s port %ld: %s (is the address on an interface here?)\n",
                         c.address.c_str(), o.rangePort, std::strerror(errno));
            return kExitSocket;
        }
        in_addr source{};
        source.s_addr = htonl(o.addresses[i]);
        setsockopt(d.fd, IPPROTO_IP, IP_MULTICAST_IF, &source, sizeof(source));
        unsigned char ttl = 1;
        setsockopt(d.fd, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof(ttl));
    }
    return kExitOk;
}

// The socket that hears the multicast query, joined on every device's interface.
int openQuerySocket(const std::vector<Device>& devices, int& fd) {
    fd = openUdp(INADDR_ANY, kQueryPort, true);
    if (fd < 0) {
        std::fprintf(stderr, "devsim: cannot bind port %u: %s\n", kQueryPort, std::strerror(errno));
        return kExitSocket;
    }
    // Join once per interface; a second join through another address of the
    // same interface reports EADDRINUSE, which is fine.
    int joined = 0;
    for (const Device& d : devices) {
        ip_mreq request{};
        inet_pton(AF_INET, kSearchGroup, &request.imr_multiaddr);
        inet_pton(AF_INET, d.config.address.c_str(), &request.imr_interface);
        if (setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof(request)) == 0 ||
            errno == EADDRINUSE) {
            ++joined;
        }
    }
    if (joined == 0) {
        std::fprintf(stderr, "devsim: cannot join %s: %s\n", kSearchGroup, std::strerror(errno));
        return kExitSocket;
    }
    return kExitOk;
}

sockaddr_in socketAddress(uint32_t host, uint16_t port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(host);
    to.sin_port = htons(port);
    return to;
}

// Every device announces itself; answers are pushed to the --push-to hosts.
void announce(const Options& o, const std::vector<Device>& devices) {
    in_addr group{};
    inet_pton(AF_INET, kSearchGroup, &group);
    if (o.announce) {
        const sockaddr_in to = socketAddress(ntohl(group.s_addr), kAnnouncePort);
        for (const Device& d : devices) sendTo(d.fd, d.announcement, to);
    }
    for (uint32_t host : o.pushTo) {
        const sockaddr_in to = socketAddress(host, kAnswerPort);
        for (const Device& d : devices) sendTo(d.fd, d.queryAnswer, to);
    }
}

// Answers one datagram that arrived on the query socket (device null) or on a
// device's socket.
void answer(const Options& o, const std::vector<Device>& devices, const Device* device, const Bytes& datagram,
            const sockaddr_in& from) {
    uint32_t commandId = 0;
    uint16_t sequence = 0;
    const bool parsed = parseQuery(datagram.data(), datagram.size(), commandId, sequence);
    if (o.verbose) {
        char fromText[INET_ADDRSTRLEN];
        inet_ntop(AF_INET, &from.sin_addr, fromText, sizeof(fromText));
        std::fprintf(stderr, "devsim: %zu bytes from %s:%u, %s %u\n", datagram.size(), fromText,
                     ntohs(from.sin_port), parsed ? "command" : "unparsed", commandId);
    }
    if (!parsed) return;
    Bytes reply;
    if (device == nullptr) {
        if (commandId != kMulticastQueryCommand) return;
        // Every device answers the query, each from its own address.
        sockaddr_in to = from;
        to.sin_port = htons(kAnswerPort);
        for (const Device& d : devices) {
            if (sequence == 0 || d.malformedQuery) {
                sendTo(d.fd, d.queryAnswer, to);
            } else if (buildSummaryAnswer(d.summary, kMulticastAnswerCommand, sequence, reply)) {
                sendTo(d.fd, reply, to);
            }
        }
        return;
    }
    if (!o.answerRange || commandId != kRangeQueryCommand) return;
    if (device->malformedRange) {
        reply = garbage(*device);
    } else if (!buildSummaryAnswer(device->summary, kRangeAnswerCommand, sequence, reply)) {
        return;
    }
    sendTo(device->fd, reply, from);
}

// Sends --flood announcements of distinct devices from the first device's
// socket at --rate per second; the number sent. The first ones are built
// before the clock starts, so that building does not limit the rate.
long flood(const Options& o, const Device& from) {
    constexpr long kPrebuilt = 131072;
    in_addr group{};
    inet_pton(AF_INET, kSearchGroup, &group);
    const sockaddr_in to = socketAddress(ntohl(group.s_addr), kAnnouncePort);
    SimDeviceConfig config = from.config;
    config.form = 23;
    auto build = [&](long i, Bytes& out) {
        config.index = static_cast<int>(o.firstIndex + i);
        return buildAnnouncement(config, makeSummary(config), out);
    };
    std::vector<Bytes> prebuilt(static_cast<size_t>(std::min(o.flood, kPrebuilt)));
    for (size_t i = 0; i < prebuilt.size(); ++i) {
        if (!build(static_cast<long>(i), prebuilt[i])) return 0;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point started = Clock::now();
    Bytes built;
    long sent = 0;
    while (sent < o.flood && !g_bStop) {
        const double elapsed = std::chrono::duration<double>(Clock::now() - started).count();
        const long due = std::min<long>(o.flood, static_cast<long>(elapsed * o.rate) + 1);
        for (; sent < due; ++sent) {
            if (sent >= kPrebuilt && !build(sent, built)) return sent;
            const Bytes& datagram = sent < kPrebuilt ? prebuilt[static_cast<size_t>(sent)] : built;
            // A full send buffer waits rather than losing the datagram here.
            while (sendto(from.fd, datagram.data(), datagram.size(), 0,
                          reinterpret_cast<const sockaddr*>(&to), sizeof(to)) < 0 &&
                   errno == EAGAIN && !g_bStop) {
                pollfd writable{from.fd, POLLOUT, 0};
                poll(&writable, 1, 10);
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return sent;
}

// Announces and answers until a signal or the --seconds limit.
void serve(const Options& o, const std::vector<Device>& devices, int queryFd) {
    std::vector<pollfd> fds;
    if (queryFd >= 0) fds.push_back({queryFd, POLLIN, 0});
    const size_t firstDeviceSlot = fds.size();
    for (const Device& d : devices) fds.push_back({d.fd, POLLIN, 0});

    using Clock = std::chrono::steady_clock;
    const Clock::time_point started = Clock::now();
    Clock::time_point nextAnnounce = started;
    Bytes datagram(6000);
    while (!g_bStop) {
        const Clock::time_point now = Clock::now();
        if (o.seconds >= 0 && now - started >= std::chrono::seconds(o.seconds)) break;
        if (o.announceMs > 0 && now >= nextAnnounce) {
            announce(o, devices);
            nextAnnounce = now + std::chrono::milliseconds(o.announceMs);
        }
        int waitMs = 200;
        if (o.announceMs > 0) {
            const long untilAnnounce =
                std::chrono::duration_cast<std::chrono::milliseconds>(nextAnnounce - now).count();
            waitMs = static_cast<int>(std::max(0L, std::min<long>(waitMs, untilAnnounce)));
        }
        if (poll(fds.data(), fds.size(), waitMs) <= 0) continue;
        for (size_t slot = 0; slot < fds.size(); ++slot) {
            if (!(fds[slot].revents & POLLIN)) continue;
            sockaddr_in from{};
            socklen_t fromLength = sizeof(from);
            const ssize_t n = recvfrom(fds[slot].fd, datagram.data(), datagram.size(), 0,
                                       reinterpret_cast<sockaddr*>(&from), &fromLength);
            if (n <= 0) continue;
            const Device* device = slot < firstDeviceSlot ? nullptr : &devices[slot - firstDeviceSlot];
            answer(o, devices, device, Bytes(datagram.begin(), datagram.begin() + n), from);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    bool done = false;
    const int parsed = parseOptions(std::vector<std::string>(argv + 1, argv + argc), o, done);
    if (parsed != kExitOk || done) return parsed;

    std::string why;
    if (!inTestNamespace(why)) {
        std::fprintf(stderr,
                     "devsim: refusing to run: %s. devsim sends datagrams and belongs in a network namespace "
                     "made for testing (ip netns exec NAME devsim ..., or unshare -rn)\n",
                     why.c_str());
        return kExitUsage;
    }
    // One socket per device plus the query socket.
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur < files.rlim_max) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }
    if (o.deviceTime.empty()) o.deviceTime = timeNow();

    std::vector<Device> devices;
    int queryFd = -1;
    int result = makeDevices(o, devices);
    if (result == kExitOk && o.answerQuery) result = openQuerySocket(devices, queryFd);
    if (result == kExitOk) {
        std::signal(SIGINT, onSignal);
        std::signal(SIGTERM, onSignal);
        std::signal(SIGPIPE, SIG_IGN);
        std::fprintf(stderr, "devsim: %zu devices on %s .. %s\n", devices.size(),
                     devices.front().config.address.c_str(), devices.back().config.address.c_str());
        if (!o.readyFile.empty()) std::ofstream(o.readyFile) << devices.size() << "\n";
        if (o.flood > 0) {
            const auto started = std::chrono::steady_clock::now();
            const long sent = flood(o, devices.front());
            std::fprintf(stderr, "devsim: flood of %ld announcements in %.3f s\n", sent,
                         std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
        } else {
            serve(o, devices, queryFd);
        }
    }
    for (const Device& d : devices) {
        if (d.fd >= 0) close(d.fd);
    }
    if (queryFd >= 0) close(queryFd);
    return result;
}
