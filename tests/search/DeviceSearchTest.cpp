// The controller with its real engines on the transfer seam: what each start
// sends, from which adapters, and what reaches a receiver of the signals.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "devsearch/DeviceSearch.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"
#include "search/QtTestEnvironment.h"

namespace {

using namespace enginetest;
using namespace std::chrono_literals;

// Records of one listener object, received in the application's event loop.
struct Receiver {
    template <class Listener>
    explicit Receiver(Listener* listener) {
        QObject::connect(listener, &Listener::IPSearchSend, &context,
                         [this](const NetVideoDeviceInfo& r) { records.push_back(r); });
    }
    bool waitFor(size_t n) {
        return testqt::processUntil([&] { return records.size() >= n; }, 5000ms);
    }
    QObject context;
    std::vector<NetVideoDeviceInfo> records;
};

class Controller : public ::testing::Test {
  protected:
    void SetUp() override {
        // Each adapter has one device that answers the multicast query, and
        // every address of 10.5.0.0/24 answers the range query.
        net.setResponder([this](const FakeDatagram& q) {
            if (q.toPort == kQueryPort) {
                const int index = q.fromIp == "192.0.2.1" ? 1 : 2;
                net.deliver({q.fromIp, kQueryPort, q.fromIp, kAnswerPort,
                             answerBytes(deviceSummary(index, q.fromIp), kMulticastAnswerCommand)});
            } else if (q.toIp.rfind("10.5.0.", 0) == 0) {
                net.reply(q, q.toIp, answerBytes(deviceSummary(7, q.toIp), kRangeAnswerCommand));
            }
        });
    }
    void TearDown() override {
        // A range search still running is stopped by the next range start
        // (with the flag set), which then has nothing to do.
        search->setFlag(true);
        search->setStartIP(QString());
        search->startSearch(true);
        EXPECT_TRUE(testqt::processUntil([&] { return !search->isRangeSearchRunning(); }, 2000ms));
        search->stopSearch(true);
        search->setNetWorkType(0);
        search->setNetWorkName(QString());
        search->setPort(kRangePort);
        search->setQueryRate(0);
    }
    std::set<std::string> querySources() {
        std::set<std::string> out;
        for (const auto& d : net.sent()) {
            if (d.toPort == kQueryPort) out.insert(d.fromIp);
        }
        return out;
    }

    FakeNetwork net;
    DeviceSearch* search = DeviceSearch::GetInstance();
};

// Runs first: the range search sets the flag before any multicast search has
// configured its engines, which the next test then starts.
TEST_F(Controller, RangeSearchTakesThePortAndKeepsOrDropsItsListByTheFlag) {
    Receiver receiver(search->getDeviceSearcherListener());
    search->setPort(30123);
    search->setStartIP("10.5.0.2");
    search->setEndIP("10.5.0.3");
    EXPECT_EQ(0, search->startSearch(true));
    EXPECT_TRUE(search->getFlag());
    ASSERT_TRUE(receiver.waitFor(2));
    for (const auto& r : receiver.records) EXPECT_EQ(30123, r.getDevicePort());

    // Started again with the flag set: the old list is dropped. This pass
    // is a fast scan.
    for (const auto& rate : {std::make_pair(-5, 0), std::make_pair(1000000, 100000),
                             std::make_pair(DeviceSearch::kDefaultQueryRate, 2000)}) {
        search->setQueryRate(rate.first);
        EXPECT_EQ(rate.second, search->getQueryRate());
    }
    receiver.records.clear();
    net.clearSent();
    search->setStartIP("10.5.0.9");
    search->setEndIP("10.5.0.9");
    EXPECT_EQ(0, search->startSearch(true));
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(1u, net.sent().size());
    search->setQueryRate(0);

    // After setFlag(false) a running search refuses a second start.
    search->setStartIP("10.6.0.0");
    search->setEndIP("10.6.3.255");
    EXPECT_EQ(0, search->startSearch(true));
    search->setFlag(false);
    EXPECT_EQ(kAlreadyRunning, search->startSearch(true));
}

TEST_F(Controller, MulticastSearchOnEveryAdapterReportsAnewOnEveryStart) {
    Receiver receiver(search->getIPsearchListener());
    EXPECT_EQ(-1, search->startSearch(false));
    ASSERT_TRUE(receiver.waitFor(2));
    EXPECT_EQ((std::set<std::string>{"192.0.2.1", "198.51.100.1"}), querySources());

    for (int restart = 0; restart < 3; ++restart) {
        receiver.records.clear();
        if (restart == 1) search->stopSearch(false);
        if (restart == 2) search->setFlag(false);  // configured once more, same listener
        EXPECT_EQ(-1, search->startSearch(false));
        ASSERT_TRUE(receiver.waitFor(2)) << restart;
    }
    search->stopSearch(false);
    EXPECT_EQ(0u, net.openCount());
}

TEST_F(Controller, NetworkTypeOneSelectsTheNamedAdapterOnly) {
    Receiver receiver(search->getIPsearchListener());
    search->setNetWorkType(1);
    search->setNetWorkName("lanB");
    EXPECT_EQ(-1, search->startSearch(false));
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(std::set<std::string>{"198.51.100.1"}, querySources());

    // An empty, unknown or differently cased name starts nothing.
    for (const QString& name : {QString(), QString("no-such-adapter"), QString("LANB")}) {
        search->stopSearch(false);
        net.clearSent();
        search->setNetWorkName(name);
        EXPECT_EQ(-1, search->startSearch(false));
        EXPECT_EQ(0u, net.openCount()) << name.toStdString();
    }
}

}  // namespace
