// The range search driven in-process through the transfer seam.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <string>

#include "discovery/DeviceRangeSearchThread.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"
#include "discovery/RangeScan.h"
#include "protocol/SDKCommandParser.h"
#include "discovery/SearchQuery.h"

namespace {

using namespace enginetest;
using namespace std::chrono_literals;

uint32_t host(const std::string& dotted) {
    in_addr a{};
    inet_pton(AF_INET, dotted.c_str(), &a);
    return ntohl(a.s_addr);
}

class Range : public ::testing::Test {
  protected:
    void SetUp() override {
        search.setListener(&collector);
        search.setProgressListener(&collector);
        search.setPort(30555);
        search.setSuppressDuplicates(true);
    }
    // Every query is answered as `answer(address)` says (no bytes: no answer).
    void respond(std::function<Bytes(const std::string&)> answer) {
        net.setResponder([this, answer](const FakeDatagram& query) {
            const Bytes bytes = answer(query.toIp);
            if (!bytes.empty()) net.reply(query, query.toIp, bytes);
        });
    }
    std::map<std::string, NetVideoDeviceInfo> byAddress() {
        std::map<std::string, NetVideoDeviceInfo> out;
        for (const auto& r : collector.records()) out[r.getDeviceIP()] = r;
        return out;
    }

    FakeNetwork net;
    RangeCollector collector;
    DeviceRangeSearchThread search;
};

TEST_F(Range, BatchesOf400EachWithItsSequenceAndEveryAnswerDelivered) {
    respond(
        [](const std::string& ip) { return answerBytes(deviceSummary(int(host(ip) & 0xFFFF), ip), 30542); });
    ASSERT_TRUE(search.addRange("10.1.0.0", "10.1.1.144"));  // 401 addresses
    const uint16_t sequence = DeviceRangeSearchThread::peekSequence();
    ASSERT_EQ(0, search.start());
    const auto progress = collector.waitFinished();
    ASSERT_FALSE(progress.empty());
    EXPECT_TRUE(progress.back().finished);
    EXPECT_EQ(401, progress.back().done);
    EXPECT_EQ(401, progress.back().total);
    EXPECT_EQ(401, progress.back().found);
    for (size_t i = 1; i < progress.size(); ++i) EXPECT_LE(progress[i - 1].done, progress[i].done);

    const auto sent = net.sent();
    ASSERT_EQ(401u, sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        uint32_t command = 0;
        uint16_t seq = 0;
        ASSERT_TRUE(readSdkHead(sent[i].bytes, command, seq));
        EXPECT_EQ(91u, sent[i].bytes.size());
        EXPECT_EQ(kRangeQueryCommand, command);
        EXPECT_EQ(uint16_t(sequence + (i < 400 ? 0 : 1)), seq) << i;
        EXPECT_EQ(30555, sent[i].toPort);
    }
    const auto records = byAddress();
    ASSERT_EQ(401u, records.size());
    const NetVideoDeviceInfo& r = records.at("10.1.1.144");
    EXPECT_EQ(30555, r.getDevicePort()) << "the search's port, not the device's";
    EXPECT_EQ(deviceSummary(0x190).getProductModel(), r.getProductModel());
    EXPECT_EQ(0u, net.openCount()) << "every query transfer is closed";
}

TEST_F(Range, OnlyAnswersWithASummaryAndCommand30542Count) {
    auto malformed = malformedAnswers(30542);
    // An empty datagram cannot be delivered here; every other address answers.
    malformed.erase(
        std::remove_if(malformed.begin(), malformed.end(), [](const auto& m) { return m.bytes.empty(); }),
        malformed.end());
    respond([&](const std::string& ip) {
        const uint32_t n = host(ip) & 0xFF;
        if (n == 1) return answerBytes(deviceSummary(1, ip), 30541);  // a query, no answer
        if (n == 2) return answerBytes(deviceSummary(2, ip), 30542);
        if (n - 3 < malformed.size()) return malformed[n - 3].bytes;
        return Bytes();
    });
    ASSERT_TRUE(search.addRange("10.2.0.1", "10.2.0.14"));
    ASSERT_EQ(0, search.start());
    const auto progress = collector.waitFinished();
    EXPECT_EQ(1, progress.back().found);
    ASSERT_EQ(1u, collector.count());
    EXPECT_EQ("10.2.0.2", collector.records()[0].getDeviceIP());
}

// Records are kept by device id: two addresses with one id replace each
// other's record, so each is delivered in every pass; a record equal to the
// one kept is not.
TEST_F(Range, DuplicatesByDeviceId) {
    respond([](const std::string& ip) {
        return answerBytes(deviceSummary(ip == "10.3.0.3" ? 6 : 5, ip), 30542);
    });
    search.setPassLimit(2);
    ASSERT_TRUE(search.addRange("10.3.0.1", "10.3.0.3"));
    ASSERT_EQ(0, search.start());
    collector.waitFinished();
    EXPECT_EQ(6u, net.sent().size());
    std::vector<std::string> delivered;
    for (const auto& r : collector.records()) delivered.push_back(r.getDeviceIP());
    EXPECT_EQ((std::vector<std::string>{"10.3.0.1", "10.3.0.2", "10.3.0.3", "10.3.0.1", "10.3.0.2"}),
              delivered);
}

// The fast scan delivers through the same parsing, duplicates rule, listener
// and progress as the batches, with one query (one sequence) for the pass.
TEST_F(Range, FastScanDeliversWhatThePacedPassDelivers) {
    respond([](const std::string& ip) {
        const uint32_t n = host(ip) & 0xFF;
        return answerBytes(deviceSummary(n == 9 ? 8 : int(n), ip), n == 5 ? 30541 : 30542);
    });
    ASSERT_TRUE(search.addRange("10.8.0.1", "10.8.0.12"));
    ASSERT_EQ(0, search.start());
    collector.waitFinished();
    search.stop();  // waits for the thread's end
    RangeCollector fast;
    search.setListener(&fast);
    search.setProgressListener(&fast);
    search.setQueryRate(5000);
    net.clearSent();
    const uint16_t sequence = DeviceRangeSearchThread::peekSequence();
    ASSERT_EQ(0, search.start());
    const auto progress = fast.waitFinished();
    ASSERT_FALSE(progress.empty());
    const Progress last = progress.back();
    EXPECT_TRUE(last.finished && last.done == 12 && last.found == 11);
    const auto sent = net.sent();
    ASSERT_EQ(12u, sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        uint32_t command = 0;
        uint16_t seq = 0;
        EXPECT_TRUE(readSdkHead(sent[i].bytes, command, seq) && seq == sequence);
        EXPECT_EQ("10.8.0." + std::to_string(i + 1), sent[i].toIp);
    }
    EXPECT_TRUE(collector.records() == fast.records() && fast.count() == 11);
    EXPECT_EQ(0u, net.openCount());
}

// A clock that moves only while the scan waits, each wait its whole time.
class StepClock : public RangeScanClock {
  public:
    int64_t nowUs() override { return now; }
    bool waitReadable(SocketHandle handle, int timeoutMs) override {
        now += int64_t(timeoutMs) * 1000;
        pollfd p{handle, POLLIN, 0};
        return ::poll(&p, 1, 0) > 0;
    }
    int64_t now = 1000000;
};

// A fast scan of 10.7.0.1-10.7.0.41 at 1000/s where even addresses answer
// (twice, and a stranger with them) and some sends fail: .6 twice with
// ENOBUFS, .10 once with EAGAIN, .20 with ENETUNREACH (no pause mends it),
// .30 with EHOSTUNREACH for longer than the scan retries.
TEST(RangeScanTest, EveryAddressOnceInOrderWithBackOffAndAnEnd3sAfterTheLastQuery) {
    FakeNetwork net;
    StepClock clock;
    std::map<std::string, int64_t> sentAt;
    std::vector<std::string> sent, answered;
    std::vector<int> progress;
    net.setResponder([&](const FakeDatagram& q) {
        sent.push_back(q.toIp);
        sentAt[q.toIp] = clock.now;
        const uint32_t n = host(q.toIp) & 0xFF;
        if (n % 2 == 1) return;
        const Bytes bytes = answerBytes(deviceSummary(int(n), q.toIp), 30542);
        for (const char* from : {q.toIp.c_str(), q.toIp.c_str(), "10.7.9.9"}) net.reply(q, from, bytes);
    });
    const std::vector<std::pair<int, int>> failures = {
        {6, ENOBUFS}, {6, ENOBUFS}, {10, EAGAIN}, {20, ENETUNREACH}};
    for (const auto& f : failures)
        net.failNext(FakeStep::Send, "10.7.0." + std::to_string(f.first), f.second);
    for (int i = 0; i < 40; ++i) net.failNext(FakeStep::Send, "10.7.0.30", EHOSTUNREACH);

    std::vector<uint32_t> addresses;
    for (uint32_t a = host("10.7.0.1"); a <= host("10.7.0.41"); ++a) addresses.push_back(a);
    RangeScan::Events events;
    events.answer = [&](CommandBuffer&, const std::string& from) { answered.push_back(from); };
    events.progress = [&](int done) { progress.push_back(done); };
    std::atomic<bool> stop{false};
    RangeScan scan(addresses, 30001, 1000, events, stop, clock);
    CommandBuffer query;
    SDKCommandParser parser;
    ASSERT_TRUE(buildSearchQuery(parser, kRangeQueryCommand, 1, query));
    ASSERT_EQ(0, scan.run(query));

    std::vector<std::string> expectSent, expectAnswered;
    for (int n = 1; n <= 41; ++n) {
        if (n == 20 || n == 30) continue;
        expectSent.push_back("10.7.0." + std::to_string(n));
        if (n % 2 == 0) expectAnswered.push_back(expectSent.back());
    }
    EXPECT_EQ(expectSent, sent);
    EXPECT_EQ(expectAnswered, answered);
    ASSERT_FALSE(progress.empty());
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_EQ(41, progress.back());
    EXPECT_EQ(41, scan.done());
    auto ms = [&](const char* a, const char* b) { return (sentAt.at(b) - sentAt.at(a)) / 1000; };
    EXPECT_EQ(1, ms("10.7.0.1", "10.7.0.2")) << "1000 queries per second";
    EXPECT_EQ(4, ms("10.7.0.1", "10.7.0.5"));
    EXPECT_GE(ms("10.7.0.5", "10.7.0.6"), 1 + 5 + 10) << "two pauses before .6 went";
    EXPECT_GE(ms("10.7.0.29", "10.7.0.31"), RangeScan::kGiveUpMs);
    EXPECT_EQ(RangeScan::kAnswerWindowMs, (clock.now - sentAt.at("10.7.0.41")) / 1000);
}

TEST_F(Range, StopEndsThePassAndReportsItsEnd) {
    ASSERT_TRUE(search.addRange("10.4.0.0", "10.4.3.255"));
    for (int rate : {0, 50}) {  // the batches, then the fast scan
        search.setQueryRate(rate);
        net.clearSent();
        ASSERT_EQ(0, search.start());
        net.waitSent(10);
        EXPECT_TRUE(search.isSearching());
        search.stop();
        EXPECT_FALSE(search.isSearching());
        const auto progress = collector.waitFinished(0ms);
        ASSERT_FALSE(progress.empty());
        EXPECT_TRUE(progress.back().finished);
        EXPECT_LT(progress.back().done, 1024);
        EXPECT_EQ(0u, net.openCount());
    }
}

TEST_F(Range, AddRangeKeepsEachAddressOnceInFirstAddedOrder) {
    const struct {
        const char* first;
        const char* last;
        bool ok;
    } cases[] = {{"10.0.0.5", "10.0.0.7", true},
                 {"10.0.0.3", "10.0.0.6", true},
                 {"10.0.0.9", "10.0.0.9", true},
                 {"10.0.0.9", "10.0.0.8", false},
                 {"255.255.255.254", "255.255.255.255", false},
                 {"10.0.0.1", "no address", false},
                 {nullptr, "10.0.0.1", false},
                 {"1.2.3", "1.2.3.4", false}};
    for (const auto& c : cases) EXPECT_EQ(c.ok, search.addRange(c.first, c.last)) << c.first << " " << c.last;
    const std::string longText(300, '1');
    EXPECT_FALSE(search.addRange(longText.c_str(), "10.0.0.1"));
    const std::vector<uint32_t> expected = {host("10.0.0.5"), host("10.0.0.6"), host("10.0.0.7"),
                                            host("10.0.0.3"), host("10.0.0.4"), host("10.0.0.9")};
    EXPECT_EQ(expected, search.getAddresses());
    search.clearRange();
    EXPECT_TRUE(search.getAddresses().empty());
}

}  // namespace
