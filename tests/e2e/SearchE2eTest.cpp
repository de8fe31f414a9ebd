// End to end: simulated devices (devsim) on the two LANs of the namespace
// rig, found from the client namespace through the exported API and through
// the devsearch tool.
#include <unistd.h>

#include <QObject>

#include <chrono>
#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "E2eSupport.h"
#include "devsearch/DeviceSearch.h"

using namespace std::chrono_literals;

namespace {

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
    e2e::Devsim devA(m_pRig->lanA(), "198.51.100.10-198.51.100.14", {"--no-announce"});
    e2e::Devsim devB(m_pRig->lanB(), "203.0.113.10-203.0.113.14", {"--no-announce", "--first-index", "5"});
    e2e::Devsim announcer(
        m_pRig->lanA(), "198.51.100.15-198.51.100.15",
        {"--no-query-answer", "--form", "23", "--announce-interval", "0.3", "--first-index", "10"});

    e2e::Collector collector;
    QObject context;  // connected for its life, directly: the engines' threads add
    DeviceSearch* search = DeviceSearch::GetInstance();
    QObject::connect(
        search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, &context,
        [&](const NetVideoDeviceInfo& r) { collector.add(r); }, Qt::DirectConnection);
    search->setNetWorkType(0);
    m_pRig->client().run([&] { EXPECT_EQ(-1, search->startSearch(false)); });
    // The first query leaves at once: every device is in well within one
    // query interval (10 s); a device reported twice comes soon after.
    ASSERT_TRUE(collector.waitFor(11, 3s));
    std::this_thread::sleep_for(700ms);
    std::multiset<std::string> found;
    for (const NetVideoDeviceInfo& r : collector.take()) found.insert(r.getDeviceId());
    std::set<std::string> expected;
    for (int i = 1; i <= 11; ++i) expected.insert((i < 10 ? "SIM00000" : "SIM0000") + std::to_string(i));
    EXPECT_EQ(expected, std::set<std::string>(found.begin(), found.end()));
    EXPECT_EQ(11u, found.size()) << "a device was reported twice";
}

// One pass of the range search with real sockets, through the tool (which
// uses the exported API as an application does): a JSON line per device.
TEST_F(SearchE2e, ToolPrintsJsonLinesAndRefusesBadArguments) {
    addAddresses(m_pRig->lanA(), "198.51.100.", 10, 13);
    e2e::Devsim dev(m_pRig->lanA(), "198.51.100.10-198.51.100.13", {"--no-announce"});
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
        std::vector<std::string> args{"range", "198.51.100.8-198.51.100.15", "--json"};
        if (*rate != '\0') args.insert(args.end(), {"--rate", rate});
        {
            e2e::NsProcess tool(m_pRig->client(), DS_E2E_DEVSEARCH, args, out);
            EXPECT_EQ(0, tool.wait(10s));
        }
        std::istringstream text(e2e::readFile(out));
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
        e2e::NsProcess tool(m_pRig->client(), DS_E2E_DEVSEARCH, bad, out);
        EXPECT_EQ(2, tool.wait(5s)) << bad[0] << " " << bad[1];
    }
    unlink(out);
}

}  // namespace
