// The range search: address lists without any network, batches and answers
// inside a private loopback namespace.
#include <arpa/inet.h>
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "devsearch/DeviceSearchListener.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "discovery/DeviceRangeSearchThread.h"
#include "discovery/ScriptedPeer.h"
#include "support/NetnsRig.h"
#include "transport/Socket.h"

namespace {

using namespace std::chrono_literals;
using testpeer::Bytes;
using testpeer::Received;
using testpeer::Reply;
using testpeer::ScriptedPeer;

class CollectingSearcher : public IDeviceSearcherListener {
  public:
    int onSearchResult(const NetVideoDeviceInfo& record) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
        return 0;
    }
    std::vector<NetVideoDeviceInfo> records() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }

  private:
    std::mutex m_mutex;
    std::vector<NetVideoDeviceInfo> m_records;
};

uint32_t ip(const char* text) {
    return ntohl(inet_addr(text));
}

// Waits until the thread has ended; false after `limit`.
bool waitEnded(DeviceRangeSearchThread& search, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (search.isRunning()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

// Answers each query from the queried address with a summary named after it.
ScriptedPeer::Script answerFromQueriedAddress(uint32_t command = 30542) {
    return [command](const Received& q) {
        const DeviceSummaryInfo s = testpeer::makeSummary("dev-" + q.to);
        return std::vector<Reply>{{testpeer::encodeCommand(command, 1, &s), q.from, q.fromPort, q.to}};
    };
}

TEST(RangeListTest, AddsRangesInOrderOnceAndRefusesBadText) {
    DeviceRangeSearchThread search;
    EXPECT_TRUE(search.addRange("10.0.0.5", "10.0.0.5"));
    EXPECT_EQ(std::vector<uint32_t>{ip("10.0.0.5")}, search.getAddresses());

    // Overlapping ranges keep every address once, in the order first added.
    EXPECT_TRUE(search.addRange("10.0.0.3", "10.0.0.6"));
    EXPECT_EQ((std::vector<uint32_t>{ip("10.0.0.5"), ip("10.0.0.3"), ip("10.0.0.4"), ip("10.0.0.6")}),
              search.getAddresses());
    // Across an octet boundary.
    EXPECT_TRUE(search.addRange("10.0.0.255", "10.0.1.1"));
    EXPECT_EQ(7u, search.getAddresses().size());
    EXPECT_EQ(ip("10.0.1.1"), search.getAddresses().back());

    const std::vector<uint32_t> before = search.getAddresses();
    const std::string longText(256, '1');
    const std::string longAddress = std::string(252, '0') + "10.0.0.1";  // a number, but 260 characters
    const char* refused[][2] = {
        {"10.0.0.9", "10.0.0.8"},         // last below first
        {"10.0.0.1", "255.255.255.255"},  // reaches the all-ones address
        {"255.255.255.255", "255.255.255.255"},
        {"not an address", "10.0.0.1"},
        {"10.0.0.1", "10.0.0"},  // not dotted in four parts
        {"10.0.0.1", "10.0.0.256"},
        {"", "10.0.0.1"},
        {nullptr, "10.0.0.1"},
        {"10.0.0.1", nullptr},
        {longText.c_str(), "10.0.0.1"},
        {"10.0.0.1", longAddress.c_str()},
    };
    for (const auto& r : refused) {
        EXPECT_FALSE(search.addRange(r[0], r[1])) << (r[0] ? r[0] : "null") << " " << (r[1] ? r[1] : "null");
    }
    EXPECT_EQ(before, search.getAddresses());

    // The first address of the space and a range just below the top are fine.
    EXPECT_TRUE(search.addRange("255.255.255.253", "255.255.255.254"));
    EXPECT_EQ(before.size() + 2, search.getAddresses().size());

    search.clearRange();
    EXPECT_TRUE(search.getAddresses().empty());
    // Once cleared, an address counts as new again.
    EXPECT_TRUE(search.addRange("10.0.0.5", "10.0.0.5"));
    EXPECT_EQ(1u, search.getAddresses().size());
}

TEST(RangeListTest, QuerySocketsAreNonBlockingWithALargeReceiveBuffer) {
    std::unique_ptr<Socket> socket = DeviceRangeSearchThread::openQuerySocket();
    ASSERT_TRUE(socket);
    EXPECT_NE(0, fcntl(socket->getHandle(), F_GETFL) & O_NONBLOCK);
    int size = 0;
    ASSERT_TRUE(socket->getRecvBufferSize(&size));
    // The kernel reports twice what it grants. Without the privilege to pass
    // the system's limit the request is cut to that limit.
    if (geteuid() == 0) {
        EXPECT_GE(size, 2 * DeviceRangeSearchThread::kSocketRecvBufferBytes);
    }
    sockaddr_in local{};
    socklen_t length = sizeof(local);
    ASSERT_EQ(0, getsockname(socket->getHandle(), reinterpret_cast<sockaddr*>(&local), &length));
    EXPECT_EQ(0, local.sin_port);  // unbound until the first send
}

TEST(RangeListTest, AnEmptyListEndsAtOnce) {
    DeviceRangeSearchThread search;
    EXPECT_EQ(0, search.start());
    EXPECT_TRUE(waitEnded(search, 1000ms));
    search.stop();
}

class RangeSearchTest : public ::testing::Test {
  protected:
    void SetUp() override { m_search.setListener(&m_listener); }
    void TearDown() override { m_search.stop(); }

    int startIn(const testsupport::Netns& ns) {
        int result = 1;
        ns.run([&] { result = m_search.start(); });
        return result;
    }

    CollectingSearcher m_listener;
    DeviceRangeSearchThread m_search;
};

TEST_F(RangeSearchTest, FourHundredAndOneAddressesMakeTwoBatches) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ScriptedPeer peer(*ns, 30001);
    peer.setScript(answerFromQueriedAddress());
    ASSERT_TRUE(m_search.addRange("127.0.0.1", "127.0.1.145"));
    ASSERT_EQ(401u, m_search.getAddresses().size());
    m_search.setSuppressDuplicates(true);

    const uint16_t sequence = DeviceRangeSearchThread::peekSequence();
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(0, startIn(*ns));
    EXPECT_EQ(-11, startIn(*ns));
    // Every device answers, so neither batch waits out its 3 seconds.
    ASSERT_TRUE(waitEnded(m_search, 5000ms));
    EXPECT_LT(std::chrono::steady_clock::now() - started, 2500ms);

    ASSERT_TRUE(peer.waitFor(401, 1000ms));
    std::map<uint16_t, size_t> perSequence;
    std::set<std::string> queried;
    for (const Received& q : peer.received()) {
        uint32_t command = 0;
        uint16_t seq = 0;
        ASSERT_TRUE(testpeer::readHead(q.bytes, command, seq));
        EXPECT_EQ(30541u, command);
        EXPECT_EQ(91u, q.bytes.size());
        ++perSequence[seq];
        queried.insert(q.to);
    }
    EXPECT_EQ((std::map<uint16_t, size_t>{{sequence, 400}, {uint16_t(sequence + 1), 1}}), perSequence);
    EXPECT_EQ(401u, queried.size());
    EXPECT_EQ(uint16_t(sequence + 2), DeviceRangeSearchThread::peekSequence());
    EXPECT_EQ(401u, m_listener.records().size());

    // The query is the multicast one with its own identifier and sequence.
    Bytes expected = testpeer::sdkHead(30541, sequence, 67);
    const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";
    expected.insert(expected.end(), body.begin(), body.end());
    EXPECT_EQ(expected, peer.received().front().bytes);
}

TEST_F(RangeSearchTest, RecordTakesTheSourceAddressAndTheSearchPort) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ScriptedPeer peer(*ns, 30111);
    peer.setScript(answerFromQueriedAddress());
    m_search.setPort(30111);
    ASSERT_TRUE(m_search.addRange("127.0.0.7", "127.0.0.7"));
    ASSERT_EQ(0, startIn(*ns));
    ASSERT_TRUE(waitEnded(m_search, 5000ms));

    ASSERT_EQ(1u, m_listener.records().size());
    const NetVideoDeviceInfo r = m_listener.records().front();
    const DeviceSummaryInfo s = testpeer::makeSummary("dev-127.0.0.7");
    EXPECT_EQ("dev-127.0.0.7", r.getDeviceId());
    EXPECT_EQ(s.getDeviceType(), r.getDeviceType());
    // Not the device's own account of itself (10.9.9.9, port 1234).
    EXPECT_EQ("127.0.0.7", r.getDeviceIP());
    EXPECT_EQ(30111, r.getDevicePort());
    EXPECT_EQ("hw-1.0", r.getHardwareVer());
    EXPECT_EQ("sw-2.1", r.getSoftwareVer());
    EXPECT_EQ("IPC-1", r.getProductModel());
    // The range search fills nothing else.
    EXPECT_EQ(0, r.getHttpPort());
    EXPECT_EQ("", r.getManufacturerId());
    EXPECT_EQ("", r.getManufacturerName());
    EXPECT_EQ("", r.getDeviceTime());
    EXPECT_EQ("", r.getDeviceName());
    EXPECT_EQ("", r.getSN());
    EXPECT_EQ("", r.getUpdatePort());
    EXPECT_EQ("", r.getMACAddr());
}

TEST_F(RangeSearchTest, OnlyTheAnswerCommandCountsAndEachSocketIsHeardOnce) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ScriptedPeer peer(*ns, 30001);
    // 127.0.0.1 answers with the query's own identifier; 127.0.0.2 answers twice.
    peer.setScript([](const Received& q) {
        const DeviceSummaryInfo s = testpeer::makeSummary("dev-" + q.to);
        if (q.to == "127.0.0.1")
            return std::vector<Reply>{{testpeer::encodeCommand(30541, 1, &s), q.from, q.fromPort, q.to}};
        const Bytes a = testpeer::encodeCommand(30542, 1, &s);
        return std::vector<Reply>{{a, q.from, q.fromPort, q.to}, {a, q.from, q.fromPort, q.to}};
    });
    ASSERT_TRUE(m_search.addRange("127.0.0.1", "127.0.0.2"));
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(0, startIn(*ns));
    ASSERT_TRUE(waitEnded(m_search, 5000ms));
    // Both sockets were answered (and closed), so the batch ended early.
    EXPECT_LT(std::chrono::steady_clock::now() - started, 2500ms);
    ASSERT_EQ(1u, m_listener.records().size());
    EXPECT_EQ("127.0.0.2", m_listener.records().front().getDeviceIP());
}

TEST_F(RangeSearchTest, SuppressionKeepsTheLaterRecordOfADeviceId) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ScriptedPeer peer(*ns, 30001);
    peer.setScript([](const Received& q) {
        const DeviceSummaryInfo s = testpeer::makeSummary("same-device");
        return std::vector<Reply>{{testpeer::encodeCommand(30542, 1, &s), q.from, q.fromPort, q.to}};
    });
    m_search.setSuppressDuplicates(true);
    ASSERT_TRUE(m_search.addRange("127.0.0.1", "127.0.0.2"));
    ASSERT_EQ(0, startIn(*ns));
    ASSERT_TRUE(waitEnded(m_search, 5000ms));
    // Different source addresses make different records: both are delivered,
    // and only the later one is kept.
    EXPECT_EQ(2u, m_listener.records().size());
    EXPECT_EQ(1u, m_search.getResultCount());

    // A new start forgets the results; the same answers deliver again.
    ASSERT_EQ(0, startIn(*ns));
    ASSERT_TRUE(waitEnded(m_search, 5000ms));
    EXPECT_EQ(4u, m_listener.records().size());
}

TEST_F(RangeSearchTest, ABatchWithoutAnswersWaitsThreeSeconds) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ScriptedPeer peer(*ns, 30001);  // hears the query, never answers
    ASSERT_TRUE(m_search.addRange("127.0.0.3", "127.0.0.3"));
    ASSERT_EQ(0, startIn(*ns));
    ASSERT_TRUE(peer.waitFor(1, 1000ms));
    std::this_thread::sleep_for(2500ms);
    EXPECT_TRUE(m_search.isRunning());
    EXPECT_TRUE(waitEnded(m_search, 2000ms));
    EXPECT_TRUE(m_listener.records().empty());
}

TEST_F(RangeSearchTest, StopEndsARunningSearchPromptly) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ASSERT_TRUE(m_search.addRange("127.0.0.1", "127.0.0.100"));
    ASSERT_EQ(0, startIn(*ns));
    std::this_thread::sleep_for(300ms);
    const auto stopping = std::chrono::steady_clock::now();
    m_search.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - stopping, 1000ms);
    EXPECT_FALSE(m_search.isRunning());
    // The list stays for the next start.
    EXPECT_EQ(100u, m_search.getAddresses().size());
}

// Bad answers from the network: dropped, never delivered, never a hang; the
// next search still hears a good answer.
class RangeSearchBadInputTest : public ::testing::TestWithParam<testpeer::BadInput> {};

TEST_P(RangeSearchBadInputTest, IsDroppedAndTheSearchGoesOn) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    CollectingSearcher listener;
    DeviceRangeSearchThread search;
    search.setListener(&listener);
    ScriptedPeer peer(*ns, 30001);
    const Bytes bad = GetParam().bytes;
    peer.setScript([bad](const Received& q) { return std::vector<Reply>{{bad, q.from, q.fromPort, q.to}}; });
    ASSERT_TRUE(search.addRange("127.0.0.9", "127.0.0.9"));

    const auto started = std::chrono::steady_clock::now();
    ns->run([&] { ASSERT_EQ(0, search.start()); });
    ASSERT_TRUE(waitEnded(search, 5000ms));
    // The socket was closed on its one datagram, so the batch did not wait it out.
    EXPECT_LT(std::chrono::steady_clock::now() - started, 2500ms);
    EXPECT_TRUE(listener.records().empty());

    peer.setScript(answerFromQueriedAddress());
    ns->run([&] { ASSERT_EQ(0, search.start()); });
    ASSERT_TRUE(waitEnded(search, 5000ms));
    ASSERT_EQ(1u, listener.records().size());
    EXPECT_EQ("dev-127.0.0.9", listener.records().front().getDeviceId());
}

INSTANTIATE_TEST_SUITE_P(Datagrams, RangeSearchBadInputTest, ::testing::ValuesIn(testpeer::badInputs(30542)),
                         [](const ::testing::TestParamInfo<testpeer::BadInput>& info) {
                             return info.param.name;
                         });

}  // namespace
