// The controller with its real engines inside the namespace rig: records reach
// a receiver on the application's thread through the listener objects' signal.
#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "devsearch/DeviceSearch.h"
#include "discovery/ScriptedPeer.h"
#include "search/QtTestEnvironment.h"
#include "support/NetnsRig.h"

namespace {

using namespace std::chrono_literals;
using testpeer::Received;
using testpeer::Reply;
using testpeer::ScriptedPeer;

// Records of one listener object, received on the application's thread.
class Receiver {
  public:
    template <class Listener>
    explicit Receiver(Listener* listener) {
        QObject::connect(listener, &Listener::IPSearchSend, &m_context, [this](const NetVideoDeviceInfo& r) {
            m_records.push_back(r);
            m_bOnAppThread =
                m_bOnAppThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        });
    }
    bool waitFor(size_t n, std::chrono::milliseconds limit = 5000ms) {
        return testqt::processUntil([&] { return m_records.size() >= n; }, limit);
    }
    // Lets queued records arrive for a while.
    void settle(std::chrono::milliseconds time) {
        testqt::processUntil([] { return false; }, time);
    }
    std::set<std::string> ids() const {
        std::set<std::string> out;
        for (const auto& r : m_records) out.insert(r.getDeviceId());
        return out;
    }
    const std::vector<NetVideoDeviceInfo>& records() const { return m_records; }
    bool onAppThread() const { return m_bOnAppThread; }
    void clear() { m_records.clear(); }

  private:
    QObject m_context;
    std::vector<NetVideoDeviceInfo> m_records;
    bool m_bOnAppThread = true;
};

ScriptedPeer::Script answerQueries(const std::string& id) {
    return [id](const Received& q) {
        const DeviceSummaryInfo s = testpeer::makeSummary(id);
        return std::vector<Reply>{
            {testpeer::encodeCommand(30540, 0, &s), q.from, uint16_t(q.fromPort + 1), ""}};
    };
}

ScriptedPeer::Script answerRange(const std::string& id) {
    return [id](const Received& q) {
        const DeviceSummaryInfo s = testpeer::makeSummary(id);
        return std::vector<Reply>{{testpeer::encodeCommand(30542, 0, &s), q.from, q.fromPort, ""}};
    };
}

class DeviceSearchNetTest : public ::testing::Test {
  protected:
    void SetUp() override {
        DS_NETNS_RIG_OR_SKIP(m_pRig);
        ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
        m_pSearch = DeviceSearch::GetInstance();
    }
    void TearDown() override {
        if (m_pSearch != nullptr && m_pRig) {
            m_pRig->client().run([&] { m_pSearch->stopSearch(true); });
            m_pSearch->setNetWorkType(0);
            m_pSearch->setNetWorkName(QString());
        }
    }
    int startIn(bool active) {
        int result = 0;
        m_pRig->client().run([&] { result = m_pSearch->startSearch(active); });
        return result;
    }

    std::unique_ptr<testsupport::NetnsRig> m_pRig;
    DeviceSearch* m_pSearch = nullptr;
};

// Runs first: the range search sets the flag before any multicast search has
// configured its engines, which the next test then starts.
TEST_F(DeviceSearchNetTest, RangeSearchReportsTheAnsweringAddressAndThePort) {
    ScriptedPeer device(m_pRig->lanA(), 30123);
    device.setScript(answerRange("range-device"));
    Receiver receiver(m_pSearch->getDeviceSearcherListener());
    Receiver multicast(m_pSearch->getIPsearchListener());

    m_pSearch->setPort(30123);
    m_pSearch->setStartIP("198.51.100.2");
    m_pSearch->setEndIP("198.51.100.3");
    EXPECT_EQ(0, startIn(true));
    EXPECT_TRUE(m_pSearch->getFlag());
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_TRUE(receiver.onAppThread());
    const NetVideoDeviceInfo r = receiver.records().front();
    EXPECT_EQ("range-device", r.getDeviceId());
    EXPECT_EQ(m_pRig->linkA().peerIp4, r.getDeviceIP());
    EXPECT_EQ(30123, r.getDevicePort());
    EXPECT_EQ("sw-2.1", r.getSoftwareVer());
    EXPECT_TRUE(multicast.records().empty());

    // Started again: the old list is dropped, and the thread starts afresh.
    receiver.clear();
    m_pSearch->setStartIP("198.51.100.2");
    m_pSearch->setEndIP("198.51.100.2");
    EXPECT_EQ(0, startIn(true));
    ASSERT_TRUE(receiver.waitFor(1));

    // Text that is no range adds nothing: the search starts, finds nothing to
    // do and ends at once.
    receiver.clear();
    device.clear();
    m_pSearch->setStartIP("198.51.100.x");
    EXPECT_EQ(0, startIn(true));
    receiver.settle(500ms);
    EXPECT_TRUE(receiver.records().empty());
    EXPECT_EQ(0u, device.count());
    m_pSearch->setPort(30001);
}

TEST_F(DeviceSearchNetTest, MulticastSearchFindsADeviceOnEachAdapterAndAgainAfterRestart) {
    ScriptedPeer peerA(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    ScriptedPeer peerB(m_pRig->lanB(), 31001, m_pRig->linkB().peerIp4);
    peerA.setScript(answerQueries("camera-A"));
    peerB.setScript(answerQueries("recorder-B"));
    Receiver receiver(m_pSearch->getIPsearchListener());

    m_pSearch->setNetWorkType(0);
    EXPECT_EQ(-1, startIn(false));
    EXPECT_TRUE(m_pSearch->getFlag());
    ASSERT_TRUE(receiver.waitFor(2)) << "queries seen: " << peerA.count() << " " << peerB.count()
                                     << ", records: " << receiver.records().size();
    EXPECT_EQ((std::set<std::string>{"camera-A", "recorder-B"}), receiver.ids());
    EXPECT_TRUE(receiver.onAppThread());
    const NetVideoDeviceInfo& r = receiver.records().front();
    EXPECT_EQ("10.9.9.9", r.getDeviceIP());
    EXPECT_EQ(1234, r.getDevicePort());
    EXPECT_EQ(8080, r.getHttpPort());
    EXPECT_EQ("IPC-1", r.getProductModel());

    // A second start reports every device anew.
    receiver.clear();
    m_pRig->client().run([&] { m_pSearch->stopSearch(false); });
    EXPECT_EQ(-1, startIn(false));
    ASSERT_TRUE(receiver.waitFor(2));
    EXPECT_EQ((std::set<std::string>{"camera-A", "recorder-B"}), receiver.ids());

    // And so does a start straight after a running one.
    receiver.clear();
    EXPECT_EQ(-1, startIn(false));
    ASSERT_TRUE(receiver.waitFor(2));
    receiver.settle(300ms);
    EXPECT_EQ(2u, receiver.records().size());

    // With the flag cleared the engines are configured once more, with the
    // same listener: it must survive that and still be reached.
    receiver.clear();
    m_pSearch->setFlag(false);
    EXPECT_EQ(-1, startIn(false));
    ASSERT_TRUE(receiver.waitFor(2));
    EXPECT_NE(nullptr, m_pSearch->getIPsearchListener()->metaObject());
}

TEST_F(DeviceSearchNetTest, NetworkTypeOneSelectsTheNamedAdapterOnly) {
    ScriptedPeer peerA(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    ScriptedPeer peerB(m_pRig->lanB(), 31001, m_pRig->linkB().peerIp4);
    peerA.setScript(answerQueries("camera-A"));
    peerB.setScript(answerQueries("recorder-B"));
    Receiver receiver(m_pSearch->getIPsearchListener());

    m_pSearch->setNetWorkType(1);
    m_pSearch->setNetWorkName(QString::fromStdString(m_pRig->linkB().clientIf));
    EXPECT_EQ(-1, startIn(false));
    ASSERT_TRUE(receiver.waitFor(1));
    receiver.settle(500ms);
    EXPECT_EQ(std::set<std::string>{"recorder-B"}, receiver.ids());
    EXPECT_EQ(0u, peerA.count());
    EXPECT_EQ(1u, peerB.count());

    // An empty or unknown name starts nothing: no query goes out anywhere.
    for (const QString& name : {QString(), QString("no-such-adapter"), QString("ethb")}) {
        m_pRig->client().run([&] { m_pSearch->stopSearch(false); });
        peerA.clear();
        peerB.clear();
        m_pSearch->setNetWorkName(name);
        EXPECT_EQ(-1, startIn(false));
        std::this_thread::sleep_for(700ms);
        EXPECT_EQ(0u, peerA.count()) << name.toStdString();
        EXPECT_EQ(0u, peerB.count()) << name.toStdString();
    }
}

}  // namespace
