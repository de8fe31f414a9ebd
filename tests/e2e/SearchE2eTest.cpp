// End to end: simulated devices (devsim) on two LANs of the namespace rig, and
// the search driven through the exported API from the client namespace.
#include <arpa/inet.h>
#include <dirent.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QObject>
#include <QString>

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "E2eSupport.h"
#include "devsearch/DeviceSearch.h"

using namespace std::chrono_literals;
using e2e::Arrival;
using e2e::Collector;
using e2e::Devsim;

namespace {

// The multicast query, byte for byte.
std::vector<unsigned char> expectedQuery() {
    std::vector<unsigned char> bytes = {0xAF, 0xAF, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x77, 0x4B, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x00, 0x43, 0x00, 0x00, 0x7E, 0x23};
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
}

// Records of the listener's signal, connected directly (on the engines'
// threads) for the life of the object.
class Subscription {
  public:
    Subscription(QObject* listener, Collector& collector, bool multicast) {
        auto add = [&collector](NetVideoDeviceInfo record) { collector.add(record); };
        if (multicast) {
            m_objConnection = QObject::connect(static_cast<QIPsearchListener*>(listener),
                                               &QIPsearchListener::IPSearchSend, add);
        } else {
            m_objConnection = QObject::connect(static_cast<QDeviceSearcherListener*>(listener),
                                               &QDeviceSearcherListener::IPSearchSend, add);
        }
    }
    ~Subscription() { QObject::disconnect(m_objConnection); }

  private:
    QMetaObject::Connection m_objConnection;
};

std::multiset<std::string> ids(const std::vector<Arrival>& arrivals) {
    std::multiset<std::string> out;
    for (const Arrival& a : arrivals) out.insert(a.record.getDeviceId());
    return out;
}

std::set<std::string> idRange(int first, int last) {
    std::set<std::string> out;
    for (int i = first; i <= last; ++i) {
        char id[32];
        std::snprintf(id, sizeof(id), "SIM%06d", i);
        out.insert(id);
    }
    return out;
}

// Number of open sockets of this process: the range engine's batch holds one
// per address, and closes them when the batch is over.
int openSockets() {
    int count = 0;
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return -1;
    while (dirent* entry = readdir(dir)) {
        char target[64] = {};
        const std::string path = std::string("/proc/self/fd/") + entry->d_name;
        const ssize_t n = readlink(path.c_str(), target, sizeof(target) - 1);
        if (n > 0 && std::string(target, n).rfind("socket:", 0) == 0) ++count;
    }
    closedir(dir);
    return count;
}

class SearchE2e : public ::testing::Test {
  protected:
    void SetUp() override {
        DS_NETNS_RIG_OR_SKIP(m_pRig);
        m_pSearch = DeviceSearch::GetInstance();
    }
    void TearDown() override {
        if (m_pSearch != nullptr) m_pSearch->stopSearch(true);
    }

    // Devices 1-3 stand on LAN A, whose socket a bad datagram took out of
    // readiness, and 4-6 on LAN B: only LAN B is heard until a new start
    // opens fresh sockets, which hears both LANs again.
    void expectLanBOnlyUntilRestart(Collector& collector) {
        EXPECT_TRUE(collector.waitFor(3, 3s));
        std::this_thread::sleep_for(1000ms);
        const std::multiset<std::string> found = ids(collector.take());
        EXPECT_EQ(idRange(4, 6), std::set<std::string>(found.begin(), found.end()));

        m_pSearch->stopSearch(false);
        startMulticast(0, "");
        EXPECT_TRUE(collector.waitFor(6, 3s));
        const std::multiset<std::string> again = ids(collector.take());
        EXPECT_EQ(idRange(1, 6), std::set<std::string>(again.begin(), again.end()));
    }

    void startMulticast(int type, const std::string& name) {
        m_pSearch->setNetWorkType(type);
        m_pSearch->setNetWorkName(QString::fromStdString(name));
        m_pRig->client().run([&] { EXPECT_EQ(-1, m_pSearch->startSearch(false)); });
    }

    std::unique_ptr<testsupport::NetnsRig> m_pRig;
    DeviceSearch* m_pSearch = nullptr;
};

// Sends one datagram of `junk` (with its terminating zero) from inside `ns`.
void sendJunk(const testsupport::Netns& ns, const char* toIp, uint16_t port, const std::string& junk) {
    ns.run([&] {
        const int fd = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = inet_addr(toIp);
        EXPECT_GT(sendto(fd, junk.c_str(), junk.size() + 1, 0, reinterpret_cast<sockaddr*>(&to), sizeof(to)), 0);
        close(fd);
    });
}

TEST_F(SearchE2e, MulticastFindsEveryDeviceOnceOnBothLansAndTheQueryIsThe91Bytes) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 14, 24);
    e2e::addAddresses(m_pRig->lanB(), "ethC", "203.0.113", 10, 14, 24);
    Devsim devA(m_pRig->lanA(), "198.51.100.10-198.51.100.14", {"--no-announce"});
    Devsim devB(m_pRig->lanB(), "203.0.113.10-203.0.113.14", {"--no-announce", "--first-index", "5"});

    // The query as it crosses LAN A, read by a packet socket on the LAN side.
    int capture = -1;
    m_pRig->lanA().run([&] {
        capture = socket(AF_PACKET, SOCK_DGRAM, htons(ETH_P_IP));
        sockaddr_ll link{};
        link.sll_family = AF_PACKET;
        link.sll_protocol = htons(ETH_P_IP);
        link.sll_ifindex = static_cast<int>(if_nametoindex("ethC"));
        ASSERT_EQ(0, bind(capture, reinterpret_cast<sockaddr*>(&link), sizeof(link)));
    });
    ASSERT_GE(capture, 0);

    Collector collector;
    Subscription subscription(m_pSearch->getIPsearchListener(), collector, true);
    collector.mark();
    startMulticast(0, "");
    // The first query leaves at once: every device is in well within one
    // query interval (10 s).
    ASSERT_TRUE(collector.waitFor(10, 3s)) << collector.size() << " of 10 devices";
    std::this_thread::sleep_for(1500ms);
    std::vector<Arrival> arrivals = collector.take();
    std::multiset<std::string> found = ids(arrivals);
    EXPECT_EQ(idRange(1, 10), std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(10u, found.size()) << "a device was reported twice";
    for (const Arrival& a : arrivals) {
        EXPECT_LT(a.at, 10.0);
        EXPECT_FALSE(a.record.getProductModel().empty());
        EXPECT_EQ(30001, a.record.getDevicePort());
        EXPECT_EQ(80, a.record.getHttpPort());
        EXPECT_EQ("Simulated", a.record.getManufacturerName());
        const bool onA = a.record.getDeviceIP().rfind("198.51.100.", 0) == 0;
        const bool onB = a.record.getDeviceIP().rfind("203.0.113.", 0) == 0;
        EXPECT_TRUE(onA || onB) << a.record.getDeviceIP();
    }

    std::vector<unsigned char> query;
    std::vector<unsigned char> packet(2048);
    for (int i = 0; i < 50 && query.empty(); ++i) {
        pollfd p{capture, POLLIN, 0};
        if (poll(&p, 1, 100) <= 0) continue;
        const ssize_t n = recv(capture, packet.data(), packet.size(), 0);
        if (n < static_cast<ssize_t>(sizeof(iphdr) + sizeof(udphdr))) continue;
        const iphdr* ip = reinterpret_cast<const iphdr*>(packet.data());
        if (ip->protocol != IPPROTO_UDP) continue;
        const size_t ipLength = ip->ihl * 4u;
        const udphdr* udp = reinterpret_cast<const udphdr*>(packet.data() + ipLength);
        if (ntohs(udp->dest) != 31001 || ip->daddr != inet_addr("234.5.6.7")) continue;
        const unsigned char* payload = packet.data() + ipLength + sizeof(udphdr);
        query.assign(payload, static_cast<const unsigned char*>(packet.data()) + n);
        EXPECT_EQ(inet_addr("198.51.100.1"), ip->saddr) << "the query leaves from the adapter's address";
    }
    close(capture);
    EXPECT_EQ(expectedQuery(), query);

    // Stop and start again: the caches are empty, every device comes again.
    m_pSearch->stopSearch(false);
    collector.take();
    collector.mark();
    startMulticast(0, "");
    ASSERT_TRUE(collector.waitFor(10, 3s)) << collector.size() << " of 10 devices after the restart";
    std::this_thread::sleep_for(500ms);
    found = ids(collector.take());
    EXPECT_EQ(10u, found.size());
    EXPECT_EQ(idRange(1, 10), std::set<std::string>(found.begin(), found.end()));

    // One named adapter: LAN B alone.
    m_pSearch->stopSearch(false);
    collector.take();
    startMulticast(1, m_pRig->linkB().clientIf);
    ASSERT_TRUE(collector.waitFor(5, 3s));
    std::this_thread::sleep_for(1000ms);
    found = ids(collector.take());
    EXPECT_EQ(idRange(6, 10), std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(5u, found.size());
}

TEST_F(SearchE2e, AnnouncementsOfAllThreeFormsArriveAndTheBroadcastFormIsFiltered) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 15, 24);
    // Indexes 0..5 announce in the forms 23, 20, 16, 23, 20, 16.
    Devsim dev(m_pRig->lanA(), "198.51.100.10-198.51.100.15",
               {"--no-query-answer", "--announce-interval", "0.3"});
    Collector collector;
    Subscription subscription(m_pSearch->getIPsearchListener(), collector, true);
    startMulticast(0, "");
    ASSERT_TRUE(collector.waitFor(4, 4s)) << collector.size() << " of 4 announcements";
    std::this_thread::sleep_for(1000ms);
    const std::vector<Arrival> arrivals = collector.take();
    std::map<std::string, NetVideoDeviceInfo> byId;
    for (const Arrival& a : arrivals) byId[a.record.getDeviceId()] = a.record;
    // Forms 23 and 20 are delivered once each (repeats are equal records);
    // form 16 has no product model and never reaches the signal.
    EXPECT_EQ(4u, arrivals.size());
    EXPECT_EQ((std::set<std::string>{"SIM000001", "SIM000002", "SIM000004", "SIM000005"}), [&] {
        std::set<std::string> s;
        for (auto& entry : byId) s.insert(entry.first);
        return s;
    }());
    ASSERT_EQ(1u, byId.count("SIM000001"));
    const NetVideoDeviceInfo& form23 = byId["SIM000001"];
    EXPECT_EQ("198.51.100.10", form23.getDeviceIP());
    EXPECT_EQ("IPC-2131", form23.getProductModel());
    EXPECT_EQ("V3.10.0", form23.getSoftwareVer());
    EXPECT_EQ("HW1.0", form23.getHardwareVer());
    EXPECT_EQ(30001, form23.getDevicePort());
    // The DeviceInfo form carries no manufacturer into the summary.
    EXPECT_EQ("", form23.getManufacturerName());
    ASSERT_EQ(1u, byId.count("SIM000002"));
    const NetVideoDeviceInfo& form20 = byId["SIM000002"];
    EXPECT_EQ("198.51.100.11", form20.getDeviceIP());
    EXPECT_EQ("IPC-5240", form20.getProductModel());
    EXPECT_EQ("SIM", form20.getManufacturerId());
    EXPECT_EQ("V3.11.0", form20.getSoftwareVer());
}

TEST_F(SearchE2e, RangeOverASlash24FindsExactlyTheTwentyDevicesWithinThePacing) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 20, 39, 24);
    Devsim dev(m_pRig->lanA(), "198.51.100.20-198.51.100.39", {"--no-announce"});
    Collector collector;
    Subscription subscription(m_pSearch->getDeviceSearcherListener(), collector, false);
    m_pSearch->setStartIP("198.51.100.0");
    m_pSearch->setEndIP("198.51.100.255");
    m_pSearch->setPort(30001);
    const int baseline = openSockets();
    const auto started = std::chrono::steady_clock::now();
    m_pRig->client().run([&] { EXPECT_EQ(0, m_pSearch->startSearch(true)); });
    // The pass is over when the batch's 256 sockets are closed again.
    bool opened = false;
    double took = -1;
    while (std::chrono::steady_clock::now() - started < 8s) {
        const int now = openSockets();
        if (now > baseline + 100) opened = true;
        if (opened && now <= baseline) {
            took = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
            break;
        }
        std::this_thread::sleep_for(20ms);
    }
    ASSERT_TRUE(opened);
    ASSERT_GT(took, 0) << "the batch's sockets were never closed";
    // 256 queries with 30 ms after every 50th, then the full 3 s window
    // (most addresses never answer), polled every 200 ms.
    EXPECT_GE(took, 3.0);
    EXPECT_LE(took, 5 * 0.030 + 3.0 + 0.2 + 0.5);
    const std::vector<Arrival> arrivals = collector.take();
    std::set<std::string> addresses;
    for (const Arrival& a : arrivals) {
        addresses.insert(a.record.getDeviceIP());
        EXPECT_EQ(30001, a.record.getDevicePort());
        EXPECT_FALSE(a.record.getProductModel().empty());
        EXPECT_EQ("", a.record.getMACAddr());
    }
    EXPECT_EQ(20u, arrivals.size());
    std::set<std::string> expected;
    for (int i = 20; i <= 39; ++i) expected.insert("198.51.100." + std::to_string(i));
    EXPECT_EQ(expected, addresses);
}

TEST_F(SearchE2e, RangeMalformedAnswersDoNotHideTheOthers) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 40, 49, 24);
    Devsim dev(m_pRig->lanA(), "198.51.100.40-198.51.100.49",
               {"--no-announce", "--malformed-range", "198.51.100.40", "--malformed-range", "198.51.100.44",
                "--malformed-range", "198.51.100.49"});
    Collector collector;
    Subscription subscription(m_pSearch->getDeviceSearcherListener(), collector, false);
    m_pSearch->setStartIP("198.51.100.40");
    m_pSearch->setEndIP("198.51.100.49");
    m_pRig->client().run([&] { EXPECT_EQ(0, m_pSearch->startSearch(true)); });
    EXPECT_TRUE(collector.waitFor(7, 4s));
    std::this_thread::sleep_for(300ms);
    std::set<std::string> addresses;
    for (const Arrival& a : collector.take()) addresses.insert(a.record.getDeviceIP());
    const std::set<std::string> expected{"198.51.100.41", "198.51.100.42", "198.51.100.43", "198.51.100.45",
                                         "198.51.100.46", "198.51.100.47", "198.51.100.48"};
    EXPECT_EQ(expected, addresses);
}

TEST_F(SearchE2e, FiveHundredDevicesAnsweringOneQueryAllArrive) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 3, 252, 24);
    e2e::addAddresses(m_pRig->lanB(), "ethC", "203.0.113", 3, 252, 24);
    Devsim devA(m_pRig->lanA(), "198.51.100.3-198.51.100.252", {"--no-announce"});
    Devsim devB(m_pRig->lanB(), "203.0.113.3-203.0.113.252", {"--no-announce", "--first-index", "250"});
    Collector collector;
    Subscription subscription(m_pSearch->getIPsearchListener(), collector, true);
    startMulticast(0, "");
    EXPECT_TRUE(collector.waitFor(500, 5s)) << collector.size() << " of 500";
    std::this_thread::sleep_for(300ms);
    const std::multiset<std::string> found = ids(collector.take());
    EXPECT_EQ(500u, found.size());
    EXPECT_EQ(idRange(1, 500), std::set<std::string>(found.begin(), found.end()));
}

TEST_F(SearchE2e, MalformedDatagramDeafensOnlyThatAdaptersAnswerSocket) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 12, 24);
    e2e::addAddresses(m_pRig->lanB(), "ethC", "203.0.113", 10, 12, 24);
    Collector collector;
    Subscription subscription(m_pSearch->getIPsearchListener(), collector, true);
    startMulticast(0, "");
    std::this_thread::sleep_for(300ms);

    // A datagram that is no SDK command, to the answer port on LAN A.
    sendJunk(m_pRig->lanA(), "198.51.100.1", 31002, "\xAF\xAF not a command");
    std::this_thread::sleep_for(300ms);

    // Devices that answer late, unasked, on both LANs: LAN A's read socket is
    // out of the readiness set and hears nothing more; LAN B goes on.
    Devsim devA(
        m_pRig->lanA(), "198.51.100.10-198.51.100.12",
        {"--no-announce", "--no-query-answer", "--push-to", "198.51.100.1", "--announce-interval", "0.3"});
    Devsim devB(m_pRig->lanB(), "203.0.113.10-203.0.113.12",
                {"--no-announce", "--no-query-answer", "--push-to", "203.0.113.1", "--announce-interval",
                 "0.3", "--first-index", "3"});
    expectLanBOnlyUntilRestart(collector);
}

TEST_F(SearchE2e, MalformedAnnouncementDeafensOnlyThatAdaptersAnnouncementSocket) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 12, 24);
    e2e::addAddresses(m_pRig->lanB(), "ethC", "203.0.113", 10, 12, 24);
    Collector collector;
    Subscription subscription(m_pSearch->getIPsearchListener(), collector, true);
    startMulticast(0, "");
    std::this_thread::sleep_for(300ms);

    // A datagram without the envelope's marker, to the announcement group on LAN A.
    sendJunk(m_pRig->lanA(), "234.5.6.7", 30003, "\x01 no envelope here");
    std::this_thread::sleep_for(300ms);

    Devsim devA(m_pRig->lanA(), "198.51.100.10-198.51.100.12",
                {"--no-query-answer", "--form", "23", "--announce-interval", "0.3"});
    Devsim devB(m_pRig->lanB(), "203.0.113.10-203.0.113.12",
                {"--no-query-answer", "--form", "23", "--announce-interval", "0.3", "--first-index", "3"});
    expectLanBOnlyUntilRestart(collector);
}

TEST_F(SearchE2e, ToolPrintsJsonLinesAndRefusesBadArguments) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 13, 24);
    Devsim dev(m_pRig->lanA(), "198.51.100.10-198.51.100.13", {"--no-announce"});
    char out[] = "/tmp/ds-e2e-out-XXXXXX";
    close(mkstemp(out));
    {
        e2e::NsProcess tool(m_pRig->client(), e2e::devsearchPath(),
                            {"range", "198.51.100.8-198.51.100.15", "--json"}, out);
        EXPECT_EQ(0, tool.wait(10s));
    }
    const std::string text = e2e::readFile(out);
    std::set<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.insert(text.substr(start, end - start));
    }
    EXPECT_EQ(4u, lines.size()) << text;
    const std::string first = *lines.begin();
    EXPECT_EQ(0u, first.find("{\"DeviceId\":\"SIM00000")) << first;
    for (const char* key :
         {"\"DeviceType\":", "\"DeviceIP\":\"198.51.100.1", "\"DevicePort\":30001", "\"HttpPort\":0",
          "\"HardwareVer\":\"HW1.", "\"SoftwareVer\":\"V3.",
          "\"ManufacturerId\":", "\"ManufacturerName\":", "\"ProductModel\":\"",
          "\"DeviceTime\":", "\"DeviceName\":", "\"SN\":", "\"UpdatePort\":", "\"MACAddr\":"}) {
        EXPECT_NE(std::string::npos, first.find(key)) << key << " in " << first;
    }

    for (const std::vector<std::string>& bad :
         std::vector<std::vector<std::string>>{{"range", "198.51.100.9-198.51.100.1"},
                                               {"range", "198.51.100.300", "198.51.100.9"},
                                               {"range", "255.255.255.0-255.255.255.255"},
                                               {"search", "--interface", "nosuch0"},
                                               {"search", "--seconds", "zero"}}) {
        e2e::NsProcess tool(m_pRig->client(), e2e::devsearchPath(), bad, out);
        EXPECT_EQ(2, tool.wait(5s)) << bad[0] << " " << bad[1];
    }
    unlink(out);
}

}  // namespace
