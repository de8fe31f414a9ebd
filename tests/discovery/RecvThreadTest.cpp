// The announcement receiver driven in-process through the transfer seam.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "discovery/DeviceMulticastRecvThread.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"

namespace {

using namespace enginetest;
using namespace std::chrono_literals;

const std::string kLanA = "192.0.2.1";
const std::string kLanB = "198.51.100.1";

Bytes announcement(int index, int form, const std::string& time = "2024-01-01 00:00:00") {
    SimDeviceConfig config;
    config.index = index;
    config.form = form;
    config.address = "192.0.2." + std::to_string(10 + index);
    config.deviceTime = time;
    Bytes out;
    buildAnnouncement(config, makeSummary(config), out);
    return out;
}

class RecvThread : public ::testing::Test {
  protected:
    void SetUp() override {
        receiver.setAdapters({"lanA", "lanB"});
        receiver.setListener(&listener);
        receiver.setSuppressDuplicates(true);
    }
    // Delivers to the group on adapter `lan`; the number of transfers reached.
    int announce(const std::string& lan, const Bytes& bytes, int failure = 0) {
        FakeDatagram d{"192.0.2.50", 40000, kSearchGroup, kAnnouncePort, bytes, lan};
        d.failure = failure;
        return net.deliver(d);
    }
    std::vector<std::string> ids() {
        std::vector<std::string> out;
        for (const auto& r : listener.records()) out.push_back(r.getDeviceId());
        return out;
    }

    FakeNetwork net;
    DiscoveryCollector listener;
    DeviceMulticastRecvThread receiver;
};

TEST_F(RecvThread, EveryFormBecomesASummary) {
    ASSERT_EQ(0, receiver.start());
    ASSERT_EQ(1, announce(kLanA, announcement(0, 23)));
    ASSERT_EQ(1, announce(kLanB, announcement(1, 20)));
    ASSERT_EQ(1, announce(kLanA, announcement(2, 16)));
    // What each form fills in is the receiver's test; here, that every form arrives.
    ASSERT_TRUE(listener.waitFor(3));
    std::set<std::string> delivered;
    for (const auto& r : listener.records()) delivered.insert(r.getDeviceId());
    EXPECT_EQ((std::set<std::string>{"SIM000001", "SIM000002", "SIM000003"}), delivered);
}

// A changed record replaces the one of its device id: the first record again
// is a change once more (the discovery service, which keeps old entries,
// would drop it).
TEST_F(RecvThread, DeliversEachRecordOnceUntilItChangesReplacingTheOldEntry) {
    ASSERT_EQ(0, receiver.start());
    const Bytes first = announcement(1, 23);
    const Bytes later = announcement(1, 23, "2024-01-01 00:00:05");
    for (const Bytes* b : {&first, &first, &later, &first, &later}) announce(kLanA, *b);
    announce(kLanA, announcement(7, 23));
    ASSERT_TRUE(listener.waitFor(5));
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ((std::vector<std::string>{"SIM000002", "SIM000002", "SIM000002", "SIM000002", "SIM000008"}),
              ids());

    receiver.stop();
    receiver.setSuppressDuplicates(false);
    ASSERT_EQ(0, receiver.start());
    announce(kLanB, first);
    announce(kLanB, first);
    EXPECT_TRUE(listener.waitFor(7));
}

// Past the limit the oldest record is forgotten: every distinct device is
// still delivered and the count held stays at the limit; a forgotten device
// that repeats is delivered again, a remembered one is not.
TEST_F(RecvThread, PastTheLimitEveryDeviceIsDeliveredAndTheOldestForgotten) {
    receiver.setRememberedLimit(3);
    ASSERT_EQ(0, receiver.start());
    for (int i : {0, 1, 2, 3, 4, 5, 6, 7, 7, 0}) announce(kLanA, announcement(i, 23));
    ASSERT_TRUE(listener.waitFor(9));
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ((std::vector<std::string>{"SIM000001", "SIM000002", "SIM000003", "SIM000004", "SIM000005",
                                        "SIM000006", "SIM000007", "SIM000008", "SIM000001"}),
              ids());
    EXPECT_EQ(3u, receiver.getRememberedCount());
}

// Every code the receiver gives for a bad datagram is tested with the
// receiver; here, what any of them does to the thread.
TEST_F(RecvThread, AnnouncementThatDoesNotDecodeClosesOnlyThatAdapter) {
    const Bytes good = announcement(0, 23);
    const struct {
        const char* name;
        Bytes bytes;
        int failure;
    } cases[] = {{"does not decode", Bytes(good.begin(), good.end() - 1), 0},
                 {"receive failure", {}, kTransferRecvFailed}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(0, receiver.start());
        ASSERT_EQ(1, announce(kLanA, c.bytes, c.failure));
        for (int i = 0; i < 200 && receiver.getTransferCount() != 1; ++i) std::this_thread::sleep_for(10ms);
        EXPECT_EQ(1u, receiver.getTransferCount());
        EXPECT_EQ(0, announce(kLanA, good)) << "A's transfer is closed";
        const size_t before = listener.count();
        EXPECT_EQ(1, announce(kLanB, good));
        EXPECT_TRUE(listener.waitFor(before + 1));
        receiver.stop();
    }
}

TEST_F(RecvThread, StartEndsAtTheFirstAdapterThatCannotOpen) {
    const struct {
        const char* name;
        FakeStep step;
        int code;
        int expected;
    } cases[] = {{"no transfer", FakeStep::Create, -1, kDiscoveryNoMemory},
                 {"open fails", FakeStep::Open, kTransferCreateFailed, kTransferCreateFailed},
                 {"open throws", FakeStep::Throw, -1, kTransferCreateFailed},
                 {"bind fails", FakeStep::Bind, kTransferBindFailed, kTransferBindFailed},
                 {"join fails", FakeStep::Join, -1, kTransferReuseFailed}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const bool byAddress = c.step == FakeStep::Bind || c.step == FakeStep::Join;
        // On the first adapter nothing stays open; on the second, the first
        // adapter's transfer stays.
        net.failNext(c.step, byAddress ? kLanA : "", c.code);
        EXPECT_EQ(c.expected, receiver.start());
        EXPECT_FALSE(receiver.isRunning());
        EXPECT_EQ(0u, net.openCount());
        if (byAddress) {
            net.failNext(c.step, kLanB, c.code);
            EXPECT_EQ(c.expected, receiver.start());
            EXPECT_EQ(1u, net.openCount());
        }
        receiver.stop();
    }
    receiver.setAdapters({"lanWithoutAddress", "lanB"});
    EXPECT_EQ(kTransferNoLocalAddress, receiver.start());
    receiver.setAdapters({});
    EXPECT_EQ(kNotConfigured, receiver.start());
    receiver.setAdapters({"lanA"});
    ASSERT_EQ(0, receiver.start());
    EXPECT_EQ(kAlreadyRunning, receiver.start());
}

}  // namespace
