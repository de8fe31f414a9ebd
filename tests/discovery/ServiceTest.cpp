// The discovery service driven in-process through the transfer seam.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "discovery/DeviceDiscoveryServiceImpl.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"
#include "transport/TransferFactory.h"

namespace {

using namespace enginetest;
using namespace std::chrono_literals;

const std::string kLanA = "192.0.2.1";
const std::string kLanB = "198.51.100.1";

// The query, byte by byte.
Bytes expectedQuery() {
    Bytes q = {0xAF, 0xAF, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x77, 0x4B,
               0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x43, 0x00, 0x00, 0x7E, 0x23};
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";
    q.insert(q.end(), text.begin(), text.end());
    return q;
}

class Service : public ::testing::Test {
  protected:
    void SetUp() override {
        service.setAdapters({"lanA", "lanB"});
        service.setListener(SafePointer<IDeviceDiscoveryListener>(listener));
        service.setSuppressDuplicates(true);
    }
    // An answer of `summary` arriving on the read transfer of adapter `lan`.
    void answer(const std::string& lan, const DeviceSummaryInfo& summary, uint32_t command = 30540) {
        deliver(lan, answerBytes(summary, command));
    }
    void deliver(const std::string& lan, const Bytes& bytes, int failure = 0) {
        FakeDatagram d{"192.0.2.77", kQueryPort, lan, kAnswerPort, bytes};
        d.failure = failure;
        ASSERT_EQ(1, net.deliver(d));
    }
    // Delivers a marker record on `lan` and waits until it is through, so
    // that what was queued there before it has been handled.
    void barrier(const std::string& lan, int index) {
        const size_t before = listener->count();
        answer(lan, deviceSummary(index, lan));
        ASSERT_TRUE(listener->waitFor(before + 1));
    }
    std::vector<std::string> ids() {
        std::vector<std::string> out;
        for (const auto& r : listener->records()) out.push_back(r.getDeviceId());
        return out;
    }

    FakeNetwork net;
    SafePointer<DiscoveryCollector> listener = makeSafePointer<DiscoveryCollector>();
    DeviceDiscoveryServiceImpl service;
};

TEST_F(Service, QueriesFromEveryAdapterAtOnceThenEveryInterval) {
    service.setSendInterval(1);
    ASSERT_EQ(0, service.start());
    EXPECT_EQ(2u, service.getReadTransferCount());
    EXPECT_EQ(2u, service.getSendTransferCount());
    const auto sent = net.waitSent(4);
    ASSERT_GE(sent.size(), 4u);
    std::set<std::string> sources;
    for (const FakeDatagram& d : sent) {
        EXPECT_EQ(expectedQuery(), d.bytes);
        EXPECT_EQ(kSearchGroup, d.toIp);
        EXPECT_EQ(kQueryPort, d.toPort);
        EXPECT_EQ(kQueryPort, d.fromPort);
        sources.insert(d.fromIp);
    }
    EXPECT_EQ((std::set<std::string>{kLanA, kLanB}), sources);
    EXPECT_GE(sent[2].at - sent[0].at, 950ms) << "the second round comes one interval after the first";
}

TEST_F(Service, DeliversEachRecordOnceUntilItChangesKeepingTheOldEntry) {
    ASSERT_EQ(0, service.start());
    const DeviceSummaryInfo s = deviceSummary(1);
    const DeviceSummaryInfo changed = deviceSummary(1, "192.0.2.100", "2024-01-01 00:00:01");
    answer(kLanA, s);
    answer(kLanA, s);                               // the same record: dropped
    answer(kLanA, changed);                         // a new time is a change
    answer(kLanA, s);                               // the old entry stays: dropped again
    answer(kLanA, deviceSummary(2, kLanA), 12345);  // any command that carries a summary
    ASSERT_TRUE(listener->waitFor(3));
    barrier(kLanA, 9);
    EXPECT_EQ((std::vector<std::string>{"SIM000002", "SIM000002", "SIM000003", "SIM000010"}), ids());

    // A new start forgets what was delivered.
    service.stop();
    ASSERT_EQ(0, service.start());
    answer(kLanB, s);
    ASSERT_TRUE(listener->waitFor(5));

    service.stop();
    service.setSuppressDuplicates(false);
    ASSERT_EQ(0, service.start());
    answer(kLanB, s);
    answer(kLanB, s);
    EXPECT_TRUE(listener->waitFor(7));
}

// Changed records count towards the limit too; the oldest goes first.
TEST_F(Service, PastTheLimitTheOldestRecordIsForgotten) {
    service.setRememberedLimit(2);
    ASSERT_EQ(0, service.start());
    const DeviceSummaryInfo s = deviceSummary(1);
    answer(kLanA, s);
    answer(kLanA, deviceSummary(1, "192.0.2.100", "2024-01-01 00:00:01"));
    answer(kLanA, deviceSummary(2));  // s is forgotten
    answer(kLanA, s);
    ASSERT_TRUE(listener->waitFor(4));
    barrier(kLanA, 9);
    EXPECT_EQ((std::vector<std::string>{"SIM000002", "SIM000002", "SIM000003", "SIM000002", "SIM000010"}),
              ids());
    EXPECT_EQ(2u, service.getRememberedCount());
}

TEST_F(Service, AdapterThatCannotOpenIsSkipped) {
    const struct {
        const char* name;
        FakeStep step;
        int code;
    } cases[] = {{"no transfer", FakeStep::Create, -1},
                 {"open fails", FakeStep::Open, kTransferCreateFailed},
                 {"open throws", FakeStep::Throw, -1},
                 {"bind fails", FakeStep::Bind, kTransferBindFailed},
                 {"join fails", FakeStep::Join, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Create, Open and Throw come before any address: the first transfer,
        // that is adapter A's send transfer, fails.
        net.failNext(c.step, c.step == FakeStep::Bind || c.step == FakeStep::Join ? kLanA : "", c.code);
        ASSERT_EQ(0, service.start());
        EXPECT_EQ(1u, service.getReadTransferCount());
        answer(kLanB, deviceSummary(1));
        EXPECT_TRUE(listener->waitFor(1));
        service.stop();
        EXPECT_EQ(0u, net.openCount()) << "what a failed adapter opened is closed";
    }
    // An adapter without an IPv4 address.
    service.setAdapters({"lanWithoutAddress", "lanB"});
    ASSERT_EQ(0, service.start());
    EXPECT_EQ(1u, service.getReadTransferCount());
}

TEST_F(Service, WithoutAnyTransferTheWorkerEndsByItself) {
    ITransferFactory* fake = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
    TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, nullptr);
    EXPECT_EQ(0, service.start());
    EXPECT_EQ(0u, service.getReadTransferCount());
    for (int i = 0; i < 100 && service.isRunning(); ++i) std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(service.isRunning());
    TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, fake);
}

// What a read transfer does with what it receives: a time-out and an answer
// without a summary keep it; any other failure takes it out of readiness
// until the next start, on that adapter only.
TEST_F(Service, ReceiveFailureDeafensOnlyThatAdapter) {
    auto malformed = [](const std::string& name) {
        for (const auto& m : malformedAnswers(30540)) {
            if (m.name == name) return m.bytes;
        }
        return Bytes();
    };
    const struct {
        const char* name;
        Bytes bytes;
        int failure;
        bool keeps;
    } cases[] = {{"time-out", {}, kTransferRecvTimeout, true},
                 {"no summary", malformed("NoSummaryInBody"), 0, true},
                 {"receive failure", {}, kTransferRecvFailed, false},
                 {"does not parse", malformed("BodyNotXml"), 0, false},
                 {"wrong check byte", malformed("WrongCheckByte"), 0, false}};
    int index = 100;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(0, service.start());
        const size_t before = listener->count();
        deliver(kLanA, c.bytes, c.failure);
        answer(kLanA, deviceSummary(index++, kLanA));
        barrier(kLanB, index++);
        if (c.keeps) {
            EXPECT_TRUE(listener->waitFor(before + 2));
        } else {
            std::this_thread::sleep_for(200ms);
            EXPECT_EQ(before + 1, listener->count()) << "adapter A still heard";
        }
        service.stop();
    }
}

TEST_F(Service, RefusesToStartUnconfiguredOrTwice) {
    DeviceDiscoveryServiceImpl bare;
    bare.setAdapters({"lanA"});
    EXPECT_EQ(kNotConfigured, bare.start()) << "no listener";
    bare.setListener(SafePointer<IDeviceDiscoveryListener>(listener));
    InetAddr group;
    bare.setGroup(group);
    EXPECT_EQ(kNotConfigured, bare.start()) << "no group text and port 0";
    bare.setAdapters({});
    group.setPORT(kQueryPort);
    bare.setGroup(group);
    EXPECT_EQ(kNotConfigured, bare.start()) << "no adapter";
    EXPECT_EQ(0u, net.openCount());
    bare.setAdapters({"lanA"});
    EXPECT_EQ(0, bare.start()) << "a group with a port and no text";
    EXPECT_EQ(kAlreadyRunning, bare.start());
    EXPECT_THROW(bare.setListener(SafePointer<IDeviceDiscoveryListener>()), OLRuntimeError);
}

}  // namespace
