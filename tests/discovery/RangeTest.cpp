// The range search driven in-process through the transfer seam.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "discovery/DeviceRangeSearchThread.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"

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

TEST_F(Range, StopEndsThePassAndReportsItsEnd) {
    ASSERT_TRUE(search.addRange("10.4.0.0", "10.4.3.255"));
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
