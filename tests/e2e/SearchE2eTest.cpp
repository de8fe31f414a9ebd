// End to end: simulated devices (devsim) on two LANs of the namespace rig, and
// the search driven through the exported API from the client namespace.
#include <arpa/inet.h>
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

class SearchE2e : public ::testing::Test {
  protected:
    void SetUp() override {
        DS_NETNS_RIG_OR_SKIP(m_pRig);
        m_pSearch = DeviceSearch::GetInstance();
    }
    void TearDown() override {
        if (m_pSearch != nullptr) m_pSearch->stopSearch(true);
    }

    void startMulticast(int type, const std::string& name) {
        m_pSearch->setNetWorkType(type);
        m_pSearch->setNetWorkName(QString::fromStdString(name));
        m_pRig->client().run([&] { EXPECT_EQ(-1, m_pSearch->startSearch(false)); });
    }

    std::unique_ptr<testsupport::NetnsRig> m_pRig;
    DeviceSearch* m_pSearch = nullptr;
};

// One pass of the multicast search with real sockets: the query on the wire,
// answers on both adapters, an announcement, a restart, one named adapter.
TEST_F(SearchE2e, MulticastFindsEveryDeviceOnceOnBothLansAndTheQueryIsThe91Bytes) {
    e2e::addAddresses(m_pRig->lanA(), "ethC", "198.51.100", 10, 15, 24);
    e2e::addAddresses(m_pRig->lanB(), "ethC", "203.0.113", 10, 14, 24);
    Devsim devA(m_pRig->lanA(), "198.51.100.10-198.51.100.14", {"--no-announce"});
    Devsim devB(m_pRig->lanB(), "203.0.113.10-203.0.113.14", {"--no-announce", "--first-index", "5"});
    // A device that only announces itself (form 23).
    Devsim announcer(m_pRig->lanA(), "198.51.100.15-198.51.100.15",
                     {"--no-query-answer", "--form", "23", "--announce-interval", "0.3", "--first-index", "10"});

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
    ASSERT_TRUE(collector.waitFor(11, 3s)) << collector.size() << " of 11 devices";
    std::this_thread::sleep_for(700ms);
    std::vector<Arrival> arrivals = collector.take();
    std::multiset<std::string> found = ids(arrivals);
    EXPECT_EQ(idRange(1, 11), std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(11u, found.size()) << "a device was reported twice";
    for (const Arrival& a : arrivals) {
        EXPECT_LT(a.at, 10.0);
        EXPECT_FALSE(a.record.getProductModel().empty());
        EXPECT_EQ(30001, a.record.getDevicePort());
        if (a.record.getDeviceId() == "SIM000011") continue;  // the announcement carries less
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
    ASSERT_TRUE(collector.waitFor(11, 3s)) << collector.size() << " of 11 devices after the restart";
    std::this_thread::sleep_for(500ms);
    found = ids(collector.take());
    EXPECT_EQ(11u, found.size());
    EXPECT_EQ(idRange(1, 11), std::set<std::string>(found.begin(), found.end()));

    // One named adapter: LAN B alone.
    m_pSearch->stopSearch(false);
    collector.take();
    startMulticast(1, m_pRig->linkB().clientIf);
    ASSERT_TRUE(collector.waitFor(5, 3s));
    std::this_thread::sleep_for(500ms);
    found = ids(collector.take());
    EXPECT_EQ(idRange(6, 10), std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(5u, found.size());
}

// One pass of the range search with real sockets, through the tool (which
// uses the exported API as an application does).
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
