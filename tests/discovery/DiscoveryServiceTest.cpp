// The discovery service in network namespaces: every datagram stays inside
// the namespaces of the rig.
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Product/Technic/OLRuntimeError.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/DeviceDiscoveryServiceImpl.h"
#include "discovery/ScriptedPeer.h"
#include "domain/records/InetAddr.h"
#include "support/NetnsRig.h"
#include "discovery/CollectingListener.h"

namespace {

using namespace std::chrono_literals;
using testpeer::Bytes;
using testpeer::Received;
using testpeer::Reply;
using testpeer::ScriptedPeer;

// The query of the multicast search, byte by byte.
Bytes expectedQuery() {
    Bytes q = {0xAF, 0xAF, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x77, 0x4B,
               0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x43, 0x00, 0x00, 0x7E, 0x23};
    const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";
    q.insert(q.end(), body.begin(), body.end());
    return q;
}

// Answers each query of the service on its read port (the query's port + 1).
ScriptedPeer::Script answerWith(std::vector<Bytes> answers) {
    return [answers](const Received& query) {
        std::vector<Reply> replies;
        for (const Bytes& a : answers) replies.push_back({a, query.from, uint16_t(query.fromPort + 1), ""});
        return replies;
    };
}

Bytes answer(const std::string& id, const std::string& time = "t0", uint32_t command = 30540) {
    const DeviceSummaryInfo s = testpeer::makeSummary(id, "IPC-1", time);
    return testpeer::encodeCommand(command, 7, &s);
}

// Whether the calling thread's namespace has a membership of 234.5.6.7 on `ifName`.
bool joinedOn(const std::string& ifName) {
    std::ifstream igmp("/proc/thread-self/net/igmp");
    std::string line, current;
    while (std::getline(igmp, line)) {
        if (!line.empty() && line[0] != '\t' && line[0] != ' ') {
            const size_t tab = line.find('\t');
            const size_t colon = line.find(':');
            if (tab != std::string::npos && colon != std::string::npos) {
                current = line.substr(tab + 1, colon - tab - 1);
                current.erase(current.find_last_not_of(' ') + 1);
            }
            continue;
        }
        // The group as the kernel prints it: the address's bytes as one hex word.
        if (current == ifName && line.find("070605EA") != std::string::npos) return true;
    }
    return false;
}

class DiscoveryServiceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        m_pListener = makeSafePointer<CollectingListener>();
        m_pCollector = m_pListener.get();
    }
    void TearDown() override { m_service.stop(); }

    SafePointer<IDeviceDiscoveryListener> listener() {
        return SafePointer<IDeviceDiscoveryListener>(m_pListener);
    }
    int startIn(const testsupport::Netns& ns) {
        int result = 1;
        ns.run([&] { result = m_service.start(); });
        return result;
    }

    std::unique_ptr<testsupport::NetnsRig> m_pRig;
    SafePointer<CollectingListener> m_pListener;
    CollectingListener* m_pCollector = nullptr;
    DeviceDiscoveryServiceImpl m_service;
};

TEST_F(DiscoveryServiceTest, RefusesToStartUnconfiguredAndOpensNothing) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);

    // No adapter.
    m_service.setListener(listener());
    EXPECT_EQ(-661, startIn(*ns));
    EXPECT_EQ(0u, m_service.getReadTransferCount());

    // No group: empty text and port 0.
    m_service.setAdapters({"lo"});
    InetAddr none;
    none.setIP("");
    none.setPORT(0);
    none.setIPProtoVer(1);
    m_service.setGroup(none);
    EXPECT_EQ(-661, startIn(*ns));
    EXPECT_EQ(0u, m_service.getSendTransferCount());
    EXPECT_FALSE(m_service.isRunning());

    // Empty text with a port passes the check (the join then fails on the adapter).
    InetAddr portOnly = none;
    portOnly.setPORT(31001);
    m_service.setGroup(portOnly);
    EXPECT_EQ(0, startIn(*ns));
    m_service.stop();

    // No listener.
    DeviceDiscoveryServiceImpl bare;
    bare.setAdapters({"lo"});
    int result = 1;
    ns->run([&] { result = bare.start(); });
    EXPECT_EQ(-661, result);
    EXPECT_EQ(0u, bare.getReadTransferCount());

    // A null listener is misuse.
    EXPECT_THROW(bare.setListener(SafePointer<IDeviceDiscoveryListener>()), OLRuntimeError);
}

TEST_F(DiscoveryServiceTest, AsksOnEveryAdapterAndDeliversEachAnswer) {
    DS_NETNS_RIG_OR_SKIP(m_pRig);
    ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
    ScriptedPeer peerA(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    ScriptedPeer peerB(m_pRig->lanB(), 31001, m_pRig->linkB().peerIp4);
    peerA.setScript(answerWith({answer("device-A")}));
    peerB.setScript(answerWith({answer("device-B")}));

    m_service.setAdapters({m_pRig->linkA().clientIf, m_pRig->linkB().clientIf});
    m_service.setListener(listener());
    m_service.setSuppressDuplicates(true);
    ASSERT_EQ(0, startIn(m_pRig->client()));
    EXPECT_EQ(-11, startIn(m_pRig->client()));
    EXPECT_EQ(2u, m_service.getSendTransferCount());
    EXPECT_EQ(2u, m_service.getReadTransferCount());

    ASSERT_TRUE(peerA.waitFor(1, 3000ms));
    ASSERT_TRUE(peerB.waitFor(1, 3000ms));
    const Received qa = peerA.received().front();
    const Received qb = peerB.received().front();
    EXPECT_EQ(expectedQuery(), qa.bytes);
    EXPECT_EQ(expectedQuery(), qb.bytes);
    EXPECT_EQ(91u, qa.bytes.size());
    // Each query leaves from its adapter's address and the group port, to the group.
    EXPECT_EQ(m_pRig->linkA().clientIp4, qa.from);
    EXPECT_EQ(31001, qa.fromPort);
    EXPECT_EQ("234.5.6.7", qa.to);
    EXPECT_EQ(m_pRig->linkB().clientIp4, qb.from);

    ASSERT_TRUE(m_pCollector->waitFor(2));
    const std::vector<std::string> ids = m_pCollector->ids();
    EXPECT_EQ((std::set<std::string>{"device-A", "device-B"}), std::set<std::string>(ids.begin(), ids.end()));
    const DeviceSummaryInfo a = m_pCollector->records()[ids[0] == "device-A" ? 0 : 1];
    EXPECT_EQ(testpeer::makeSummary("device-A", "IPC-1", "t0").getSN(), a.getSN());
    EXPECT_EQ("8080", a.getHttpPort());

    // Every socket asks for a large receive buffer and, as root, gets it
    // beyond the system's limit (the kernel reports twice what it grants).
    if (geteuid() == 0) {
        std::vector<SocketHandle> handles = m_service.getReadSocketHandles();
        const std::vector<SocketHandle> send = m_service.getSendSocketHandles();
        handles.insert(handles.end(), send.begin(), send.end());
        for (SocketHandle handle : handles) {
            int size = 0;
            socklen_t length = sizeof(size);
            ASSERT_EQ(0, getsockopt(handle, SOL_SOCKET, SO_RCVBUF, &size, &length));
            EXPECT_GE(size, 2 * DeviceDiscoveryServiceImpl::kRecvBufferBytes);
        }
    }

    // Both sockets of each adapter joined the group there.
    m_pRig->client().run([&] {
        EXPECT_TRUE(joinedOn(m_pRig->linkA().clientIf));
        EXPECT_TRUE(joinedOn(m_pRig->linkB().clientIf));
    });

    m_service.stop();
    EXPECT_FALSE(m_service.isRunning());
    EXPECT_EQ(0u, m_service.getReadTransferCount());
    EXPECT_EQ(0u, m_service.getSendTransferCount());
    EXPECT_EQ(0u, m_service.getSummaryCount());
    m_pRig->client().run([&] {
        EXPECT_FALSE(joinedOn(m_pRig->linkA().clientIf));
        EXPECT_FALSE(joinedOn(m_pRig->linkB().clientIf));
    });
}

TEST_F(DiscoveryServiceTest, SuppressesEqualRecordsButNotChangedOnes) {
    DS_NETNS_RIG_OR_SKIP(m_pRig);
    ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
    ScriptedPeer peer(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    // The same record twice, then with a new DeviceTime, then the first again.
    peer.setScript(
        answerWith({answer("dev", "t0"), answer("dev", "t0"), answer("dev", "t1"), answer("dev", "t0")}));
    m_service.setAdapters({m_pRig->linkA().clientIf});
    m_service.setListener(listener());
    m_service.setSuppressDuplicates(true);
    ASSERT_EQ(0, startIn(m_pRig->client()));
    ASSERT_TRUE(m_pCollector->waitFor(2));
    std::this_thread::sleep_for(400ms);
    ASSERT_EQ(2u, m_pCollector->records().size());
    EXPECT_EQ("t0", m_pCollector->records()[0].getDeviceTime());
    EXPECT_EQ("t1", m_pCollector->records()[1].getDeviceTime());
    // The old entry stays beside the changed one.
    EXPECT_EQ(2u, m_service.getSummaryCount());

    // After stop and start every record is new again.
    m_service.stop();
    m_pCollector->clear();
    ASSERT_EQ(0, startIn(m_pRig->client()));
    ASSERT_TRUE(m_pCollector->waitFor(2));
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(2u, m_pCollector->records().size());
    EXPECT_EQ(2u, peer.count());

    // Without suppression every answer is delivered.
    m_service.stop();
    m_pCollector->clear();
    m_service.setSuppressDuplicates(false);
    ASSERT_EQ(0, startIn(m_pRig->client()));
    ASSERT_TRUE(m_pCollector->waitFor(4));
    EXPECT_EQ(0u, m_service.getSummaryCount());
}

TEST_F(DiscoveryServiceTest, DeliversAnyCommandThatCarriesASummary) {
    DS_NETNS_RIG_OR_SKIP(m_pRig);
    ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
    ScriptedPeer peer(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    // A reply without a summary delivers nothing; the socket keeps listening.
    peer.setScript(answerWith({testpeer::encodeCommand(30540, 0, nullptr), answer("odd-command", "t0", 12345),
                               answer("group-answer")}));
    m_service.setAdapters({m_pRig->linkA().clientIf});
    m_service.setListener(listener());
    ASSERT_EQ(0, startIn(m_pRig->client()));
    ASSERT_TRUE(m_pCollector->waitFor(2));
    EXPECT_EQ((std::vector<std::string>{"odd-command", "group-answer"}), m_pCollector->ids());

    // An answer to the group on the read port is heard as well.
    peer.send({{answer("by-group"), "234.5.6.7", 31002, ""}});
    ASSERT_TRUE(m_pCollector->waitFor(3));
    EXPECT_EQ("by-group", m_pCollector->ids().back());
}

TEST_F(DiscoveryServiceTest, SkipsAnAdapterWithoutAddressAndEndsWithNone) {
    DS_NETNS_RIG_OR_SKIP(m_pRig);
    ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
    ScriptedPeer peer(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    peer.setScript(answerWith({answer("after-skip")}));
    m_service.setAdapters({"no-such-adapter", m_pRig->linkA().clientIf});
    m_service.setListener(listener());
    ASSERT_EQ(0, startIn(m_pRig->client()));
    EXPECT_EQ(1u, m_service.getReadTransferCount());
    ASSERT_TRUE(m_pCollector->waitFor(1));
    EXPECT_EQ("after-skip", m_pCollector->ids().front());
    m_service.stop();

    // No adapter at all could be opened: start succeeds, the worker ends by itself.
    m_service.setAdapters({"no-such-adapter"});
    ASSERT_EQ(0, startIn(m_pRig->client()));
    EXPECT_EQ(0u, m_service.getReadTransferCount());
    for (int i = 0; i < 100 && m_service.isRunning(); ++i) std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(m_service.isRunning());
}

TEST_F(DiscoveryServiceTest, AsksAgainAfterTheSendInterval) {
    DS_NETNS_RIG_OR_SKIP(m_pRig);
    ASSERT_TRUE(testpeer::waitRigRunning(*m_pRig));
    ScriptedPeer peer(m_pRig->lanA(), 31001, m_pRig->linkA().peerIp4);
    m_service.setAdapters({m_pRig->linkA().clientIf});
    m_service.setListener(listener());
    m_service.setSendInterval(1);
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(0, startIn(m_pRig->client()));
    ASSERT_TRUE(peer.waitFor(1, 1000ms));
    const auto first = std::chrono::steady_clock::now();
    ASSERT_TRUE(peer.waitFor(2, 4000ms));
    const auto second = std::chrono::steady_clock::now();
    // The first query goes out at once, the next one no sooner than the interval
    // and no later than the interval plus one readiness wait.
    EXPECT_LT(first - started, 500ms);
    EXPECT_GE(second - first, 900ms);
    EXPECT_LE(second - first, 3500ms);
}

// Bad datagrams on the read port of adapter A: nothing is delivered, the
// process and the worker go on, adapter B keeps hearing answers, and a restart
// hears A again. A datagram that does not parse takes A's read socket out of
// readiness, so a good answer right behind it on A is not heard.
class DiscoveryServiceBadInputTest : public ::testing::TestWithParam<testpeer::BadInput> {
  protected:
    static void SetUpTestSuite() {
        std::string why;
        s_pRig = testsupport::NetnsRig::create(&why);
        if (!s_pRig) return;
        if (!testpeer::waitRigRunning(*s_pRig)) {
            s_pRig.reset();
            return;
        }
        s_pListener = new SafePointer<CollectingListener>(makeSafePointer<CollectingListener>());
        s_pService = new DeviceDiscoveryServiceImpl();
        s_pService->setAdapters({s_pRig->linkA().clientIf, s_pRig->linkB().clientIf});
        s_pService->setListener(SafePointer<IDeviceDiscoveryListener>(*s_pListener));
        s_pPeerA = new ScriptedPeer(s_pRig->lanA(), 31001, s_pRig->linkA().peerIp4);
        s_pPeerB = new ScriptedPeer(s_pRig->lanB(), 31001, s_pRig->linkB().peerIp4);
    }
    static void TearDownTestSuite() {
        if (s_pService != nullptr) s_pService->stop();
        delete s_pPeerA;
        delete s_pPeerB;
        delete s_pService;
        delete s_pListener;
        s_pRig.reset();
    }
    void SetUp() override {
        if (!s_pRig) {
            if (testsupport::netnsRequired()) FAIL() << "network namespaces are required here";
            GTEST_SKIP() << "network namespaces unavailable";
        }
        // Every case starts on fresh sockets.
        s_pService->stop();
        (*s_pListener)->clear();
        s_pRig->client().run([] { ASSERT_EQ(0, s_pService->start()); });
    }

    static std::unique_ptr<testsupport::NetnsRig> s_pRig;
    static SafePointer<CollectingListener>* s_pListener;
    static DeviceDiscoveryServiceImpl* s_pService;
    static ScriptedPeer* s_pPeerA;
    static ScriptedPeer* s_pPeerB;
};

std::unique_ptr<testsupport::NetnsRig> DiscoveryServiceBadInputTest::s_pRig;
SafePointer<CollectingListener>* DiscoveryServiceBadInputTest::s_pListener = nullptr;
DeviceDiscoveryServiceImpl* DiscoveryServiceBadInputTest::s_pService = nullptr;
ScriptedPeer* DiscoveryServiceBadInputTest::s_pPeerA = nullptr;
ScriptedPeer* DiscoveryServiceBadInputTest::s_pPeerB = nullptr;

TEST_P(DiscoveryServiceBadInputTest, DeliversNothingAndTheOtherAdapterKeepsHearing) {
    CollectingListener& collector = **s_pListener;
    const std::string clientA = s_pRig->linkA().clientIp4;
    const std::string clientB = s_pRig->linkB().clientIp4;
    s_pPeerA->send({{GetParam().bytes, clientA, 31002, ""}});
    std::this_thread::sleep_for(200ms);
    s_pPeerB->send({{answer("on-b"), clientB, 31002, ""}});
    ASSERT_TRUE(collector.waitFor(1));
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(std::vector<std::string>{"on-b"}, collector.ids());
    EXPECT_TRUE(s_pService->isRunning());
}

TEST_F(DiscoveryServiceBadInputTest, DatagramThatDoesNotParseDeafensItsAdapterUntilRestart) {
    CollectingListener& collector = **s_pListener;
    const std::string clientA = s_pRig->linkA().clientIp4;
    const std::string clientB = s_pRig->linkB().clientIp4;
    Bytes truncated = answer("cut");
    truncated.resize(20);
    s_pPeerA->send({{truncated, clientA, 31002, ""}});
    std::this_thread::sleep_for(200ms);
    s_pPeerA->send({{answer("lost-on-a"), clientA, 31002, ""}});
    s_pPeerB->send({{answer("heard-on-b"), clientB, 31002, ""}});
    ASSERT_TRUE(collector.waitFor(1));
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(std::vector<std::string>{"heard-on-b"}, collector.ids());
    EXPECT_TRUE(s_pService->isRunning());

    s_pService->stop();
    collector.clear();
    s_pRig->client().run([] { ASSERT_EQ(0, s_pService->start()); });
    s_pPeerA->send({{answer("after-restart"), clientA, 31002, ""}});
    ASSERT_TRUE(collector.waitFor(1));
    EXPECT_EQ(std::vector<std::string>{"after-restart"}, collector.ids());
}

INSTANTIATE_TEST_SUITE_P(Datagrams, DiscoveryServiceBadInputTest,
                         ::testing::ValuesIn(testpeer::badInputs(30540)),
                         [](const ::testing::TestParamInfo<testpeer::BadInput>& info) {
                             return info.param.name;
                         });

}  // namespace
