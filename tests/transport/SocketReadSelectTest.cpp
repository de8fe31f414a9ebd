#include "transport/SocketReadSelect.h"
#include "transport/WakeUp.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

// A connected pair of local sockets (no network involved).
struct Pair {
    int a = -1, b = -1;
    explicit Pair(int type = SOCK_DGRAM) {
        int fds[2];
        EXPECT_EQ(0, socketpair(AF_UNIX, type, 0, fds));
        a = fds[0];
        b = fds[1];
    }
    ~Pair() {
        if (a >= 0) close(a);
        if (b >= 0) close(b);
    }
    void poke() const { ASSERT_EQ(1, write(b, "x", 1)); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
};

TEST(SocketReadSelect, CapacityDuplicatesAndNonBlockingMode) {
    SocketReadSelect set;
    std::vector<std::unique_ptr<Pair>> pairs;
    for (int i = 0; i < 129; ++i) pairs.push_back(std::make_unique<Pair>());
    Pair& first = *pairs[0];
    EXPECT_TRUE(set.addSocket(first.a));
    EXPECT_TRUE(set.addSocket(first.a));  // already held: no second slot
    EXPECT_EQ(1, set.getTotal());
    EXPECT_NE(0, fcntl(first.a, F_GETFL) & O_NONBLOCK);
    EXPECT_TRUE(set.addSocket(first.b));
    for (int i = 1; i < 128; ++i) {
        ASSERT_TRUE(set.addSocket(pairs[i]->a)) << i;
        ASSERT_TRUE(set.addSocket(pairs[i]->b)) << i;
    }
    EXPECT_EQ(256, set.getTotal());
    EXPECT_FALSE(set.addSocket(pairs[128]->a));  // the 257th
    EXPECT_FALSE(set.addSocket(first.a));        // full: false even for one it holds
    // A removed slot frees its place only at the next wait.
    set.removeSocket(first.b);
    EXPECT_FALSE(set.addSocket(pairs[128]->a));
    EXPECT_EQ(-1, set.wait(0));
    EXPECT_EQ(255, set.getTotal());
    EXPECT_TRUE(set.addSocket(pairs[128]->a));
}

TEST(SocketReadSelect, SweepFromFirstSignalledSlotWithLazyRemoval) {
    SocketReadSelect set;
    Pair p0, p1, p2, p3;
    for (Pair* p : {&p0, &p1, &p2, &p3}) ASSERT_TRUE(set.addSocket(p->a));
    p1.poke();
    p2.poke();
    p3.poke();
    // Slots 1..3 to examine: the count runs from the lowest signalled slot to the group's end.
    ASSERT_EQ(3, set.wait(100));
    int state = -1;
    EXPECT_EQ(p1.a, set.getSocketState(0, &state));
    EXPECT_EQ(SocketReadSelect::kReadable, state);
    set.removeSocket(p2.a);  // mid-sweep: later slots keep their indices
    EXPECT_EQ(p2.a, set.getSocketState(1, &state));
    EXPECT_EQ(SocketReadSelect::kNoData, state);
    EXPECT_EQ(p3.a, set.getSocketState(2, &state));
    EXPECT_EQ(SocketReadSelect::kReadable, state);
    EXPECT_EQ(kInvalidSocket, set.getSocketState(3, &state));
    EXPECT_EQ(SocketReadSelect::kNoData, state);
    EXPECT_EQ(4, set.getTotal());

    // Next wait compacts: p3 moves down to slot 2, p1 (slot 1) is still the first signalled.
    ASSERT_EQ(2, set.wait(100));
    EXPECT_EQ(3, set.getTotal());
    EXPECT_EQ(p3.a, set.getSocketState(1, &state));
    EXPECT_EQ(SocketReadSelect::kReadable, state);

    // A signalled slot's neighbours without data report state 0.
    char c;
    ASSERT_EQ(1, read(p1.a, &c, 1));
    ASSERT_EQ(1, set.wait(100));
    EXPECT_EQ(p3.a, set.getSocketState(0, &state));
    EXPECT_EQ(SocketReadSelect::kReadable, state);
}

TEST(SocketReadSelect, GroupsAreServedInTurn) {
    SocketReadSelect set;
    std::vector<std::unique_ptr<Pair>> pairs;
    for (int i = 0; i < 65; ++i) {
        pairs.push_back(std::make_unique<Pair>());
        ASSERT_TRUE(set.addSocket(pairs.back()->a));
    }
    const int inGroup0 = pairs[0]->a;
    const int inGroup1 = pairs[64]->a;  // the 65th socket opens the second group
    pairs[0]->poke();
    pairs[64]->poke();
    int state = -1;
    // Both stay readable (nobody reads), yet the answers alternate.
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(1, set.wait(100));
        EXPECT_EQ(inGroup1, set.getSocketState(0, &state));
        EXPECT_EQ(SocketReadSelect::kReadable, state);
        ASSERT_EQ(64, set.wait(100));
        EXPECT_EQ(inGroup0, set.getSocketState(0, &state));
        EXPECT_EQ(SocketReadSelect::kReadable, state);
    }
}

// A wait blocks until data comes, answers -1 on an empty set or after its
// time, and ends at once (with -1) while its wake-up is raised.
TEST(SocketReadSelect, WaitBlocksUntilDataOrAWakeUp) {
    SocketReadSelect set;
    EXPECT_EQ(-1, set.wait(0));
    Pair p;
    ASSERT_TRUE(set.addSocket(p.a));
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        p.poke();
    });
    EXPECT_EQ(1, set.wait(-1));
    writer.join();
    char c;
    ASSERT_EQ(1, read(p.a, &c, 1));
    EXPECT_EQ(-1, set.wait(30));

    WakeUp wake;
    set.setWakeUp(&wake);
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        wake.raise();
    });
    EXPECT_EQ(-1, set.wait(-1));
    stopper.join();
    p.poke();
    EXPECT_EQ(-1, set.wait(-1)) << "raised, it stays so until cleared";
    wake.clear();
    EXPECT_EQ(1, set.wait(100));
}

TEST(SocketReadSelect, ClosedPeerGivesStateOneOnceAndLeavesTheSet) {
    SocketReadSelect set;
    Pair stream(SOCK_STREAM);
    Pair other;
    ASSERT_TRUE(set.addSocket(stream.a));
    ASSERT_TRUE(set.addSocket(other.a));
    stream.poke();  // data still queued does not hide the close
    close(stream.b);
    stream.b = -1;
    ASSERT_EQ(2, set.wait(100));
    int state = -1;
    EXPECT_EQ(stream.a, set.getSocketState(0, &state));
    EXPECT_EQ(SocketReadSelect::kClosed, state);
    EXPECT_EQ(stream.a, set.getSocketState(0, &state));
    EXPECT_EQ(SocketReadSelect::kNoData, state);
    EXPECT_EQ(-1, set.wait(0));
    EXPECT_EQ(1, set.getTotal());

    // A closed descriptor is reported the same way.
    Pair gone;
    ASSERT_TRUE(set.addSocket(gone.a));
    close(gone.a);
    const int closedFd = gone.a;
    gone.a = -1;
    ASSERT_EQ(1, set.wait(100));
    EXPECT_EQ(closedFd, set.getSocketState(0, &state));
    EXPECT_EQ(SocketReadSelect::kClosed, state);
}

}  // namespace
