// The transport: the command buffer, datagram sockets and transfers over
// loopback (127.0.0.1 only, ephemeral ports), waiting on many sockets (local
// socket pairs), and in the namespace rig the adapters of a host and the
// adapter contract of datagram sockets: a socket bound to an adapter's address
// and joined to a group hears that group's datagrams arriving on that adapter
// and unicast to its address and port, nothing that arrives elsewhere, and
// sends through its adapter.
#include "transport/AdapterQuery.h"
#include "transport/CommandBuffer.h"
#include "transport/Socket.h"
#include "transport/SocketReadSelect.h"
#include "transport/UDPTransfer.h"
#include "transport/WakeUp.h"

#include "support/NetnsRig.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

InetAddr addr(const std::string& ip, unsigned short port, int ver = 1) {
    InetAddr a;
    a.setIP(ip);
    a.setPORT(port);
    a.setIPProtoVer(ver);
    return a;
}

// An open datagram socket bound to the loopback address and an ephemeral port.
std::unique_ptr<Socket> boundUdp() {
    auto s = std::make_unique<Socket>(1, 2);
    EXPECT_TRUE(s->open());
    EXPECT_TRUE(s->bind("127.0.0.1", 0));
    return s;
}

unsigned short portOf(Socket& s) {
    InetAddr local;
    EXPECT_TRUE(s.getLocalAddr(local));
    return local.getPORT();
}

TEST(Socket, DatagramRoundTripReportsTheSource) {
    auto rx = boundUdp();
    auto tx = boundUdp();
    InetAddr local;
    ASSERT_TRUE(rx->getLocalAddr(local));
    EXPECT_EQ("127.0.0.1", local.getIP());
    EXPECT_NE(0, local.getPORT());
    EXPECT_EQ(1, local.getIPProtoVer());

    EXPECT_EQ(5, tx->sendTo("hello", 5, local));
    char buf[16] = {};
    InetAddr from;
    ASSERT_EQ(5, rx->recvFromTimed(buf, sizeof(buf), &from, 1000));
    EXPECT_EQ("hello", std::string(buf, 5));
    EXPECT_EQ("127.0.0.1", from.getIP());
    EXPECT_EQ(portOf(*tx), from.getPORT());
    EXPECT_EQ(1, from.getIPProtoVer());
}

TEST(Socket, TimeOutsPollBlockAndLeaveTheSourceAlone) {
    auto rx = boundUdp();
    auto tx = boundUdp();
    EXPECT_EQ(-2, rx->waitReadable(0));

    InetAddr from = addr("untouched", 7, 2);
    char buf[8];
    EXPECT_EQ(-2, rx->recvFromTimed(buf, sizeof(buf), &from, 30));
    EXPECT_EQ("untouched", from.getIP());
    EXPECT_EQ(7, from.getPORT());
    EXPECT_EQ(2, from.getIPProtoVer());

    const InetAddr to = addr("127.0.0.1", portOf(*rx));
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        tx->sendTo("x", 1, to);
    });
    EXPECT_EQ(0, rx->waitReadable(-1));
    late.join();
    EXPECT_EQ(0, tx->waitWritable(0));
    ASSERT_EQ(1, rx->recvFromTimed(buf, sizeof(buf), &from, 0));
    // No time given, nothing queued: a time-out at once, though the socket blocks.
    EXPECT_EQ(-2, rx->recvFromTimed(buf, sizeof(buf), &from, 0));

    // A raised wake-up ends even an unlimited wait, as a time-out; a closed
    // socket fails at once.
    WakeUp wake;
    rx->setWakeUp(&wake);
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        wake.raise();
    });
    EXPECT_EQ(-2, rx->recvFromTimed(buf, sizeof(buf), &from, -1));
    stopper.join();
    rx->close();
    EXPECT_EQ(-1, rx->waitReadable(-1));
}

TEST(Socket, DatagramSizesAndRefusedSends) {
    auto rx = boundUdp();
    auto tx = boundUdp();
    const InetAddr to = addr("127.0.0.1", portOf(*rx));
    std::vector<char> big(5601, 'z');
    std::vector<char> buf(5600);

    ASSERT_EQ(5600, tx->sendTo(big.data(), 5600, to));
    EXPECT_EQ(5600, rx->recvFromTimed(buf.data(), 5600, nullptr, 1000));
    // Longer than the buffer: a failure, not a short read; the datagram is gone.
    ASSERT_EQ(5601, tx->sendTo(big.data(), 5601, to));
    EXPECT_EQ(-1, rx->recvFromTimed(buf.data(), 5600, nullptr, 1000));
    EXPECT_EQ(-2, rx->waitReadable(0));

    EXPECT_EQ(-1, tx->sendTo("", 0, to));  // zero-length send counts as failure
    EXPECT_EQ(-1, tx->sendTo("x", 1, addr("not-an-address", 9)));
    EXPECT_EQ(-1, tx->sendTo("x", 1, "example.invalid", 9));  // numeric hosts only
    // A datagram socket does not latch: the next send works.
    EXPECT_EQ(1, tx->sendTo("x", 1, to));
    EXPECT_EQ(0, tx->getLastError());

    // The empty datagram did leave; an empty datagram received counts as a failure.
    char drain[16];
    EXPECT_EQ(-1, rx->recvFromTimed(drain, sizeof(drain), nullptr, 1000));
    EXPECT_EQ(1, rx->recvFromTimed(drain, sizeof(drain), nullptr, 1000));
}

TEST(Socket, BindFormsAndReceiveBuffer) {
    Socket s(1, 2);
    ASSERT_TRUE(s.open());
    EXPECT_FALSE(s.bind(nullptr, 5000));
    ASSERT_TRUE(s.bind(nullptr));
    InetAddr local;
    ASSERT_TRUE(s.getLocalAddr(local));
    EXPECT_EQ("0.0.0.0", local.getIP());
    EXPECT_NE(0, local.getPORT());

    Socket bad(1, 2);
    ASSERT_TRUE(bad.open());
    EXPECT_FALSE(bad.bind("192.0.2.55"));  // no such local address
    EXPECT_EQ(0, bad.getLastError());
    EXPECT_TRUE(bad.bind(addr("127.0.0.1", 0)));

    // A receive buffer of a megabyte, above the system's limit for others than root.
    ASSERT_TRUE(s.setRecvBufferSize(1048576));
    int size = 0;
    ASSERT_TRUE(s.getRecvBufferSize(&size));
    EXPECT_TRUE(geteuid() != 0 || size >= 1048576) << size;
}

TEST(UDPTransfer, NeverOpenedGivesItsCodes) {
    UDPTransfer t(1);
    CommandBuffer buf;
    ASSERT_TRUE(buf.alloc(4));
    InetAddr a = addr("127.0.0.1", 9), from;
    EXPECT_EQ(-4, t.recv(&buf, 10, &from));
    EXPECT_EQ(-4, t.send(&buf, a, 3000));
    EXPECT_EQ(-4, t.setReuseAddr(true));
    EXPECT_EQ(-4, t.bindAddr(a));
    EXPECT_FALSE(t.getLocalAddr(from));
    EXPECT_FALSE(t.setRecvBufferSize(1048576));
    EXPECT_FALSE(t.joinMulticast(addr("234.5.6.7", 30003)));
    EXPECT_EQ(1, t.getIPVersion());
    EXPECT_EQ(0, t.close());
    EXPECT_EQ(4u, buf.getCapacity());  // untouched

    // Opening an open transfer replaces its socket and leaks nothing.
    ASSERT_EQ(0, t.open());
    const int before = ::dup(0);
    ::close(before);
    ASSERT_EQ(0, t.open());
    const int after = ::dup(0);
    ::close(after);
    EXPECT_EQ(before, after);
}

struct OpenPair : ::testing::Test {
    UDPTransfer rx{1}, tx{1};
    InetAddr rxAddr;
    void SetUp() override {
        ASSERT_EQ(0, rx.open());
        ASSERT_EQ(0, tx.open());
        ASSERT_EQ(0, rx.setReuseAddr(true));
        ASSERT_EQ(0, rx.bindAddr(addr("127.0.0.1", 0)));
        ASSERT_EQ(0, tx.bindAddr(addr("127.0.0.1", 0)));
        ASSERT_TRUE(rx.getLocalAddr(rxAddr));
        ASSERT_TRUE(rx.setRecvBufferSize(1048576));
    }
    int sendBytes(size_t n, char fill = 'd') {
        std::vector<char> data(n, fill);
        CommandBuffer b;
        if (n > 0) {
            EXPECT_TRUE(b.alloc(static_cast<int>(n)));
            EXPECT_TRUE(b.assign(data.data(), static_cast<unsigned>(n)));
        }
        return tx.send(&b, rxAddr, 3000);
    }
};

TEST_F(OpenPair, RecvTimeOutLeavesPeerAndAnEmptyBuffer) {
    CommandBuffer buf;
    InetAddr from = addr("keep", 1);
    EXPECT_EQ(-213, rx.recv(&buf, 20, &from));
    EXPECT_EQ(0u, buf.getLength());
    EXPECT_EQ(5600u, buf.getCapacity());
    EXPECT_EQ("keep", from.getIP());
    EXPECT_EQ("", rx.getPeerAddr().getIP());
    EXPECT_EQ(0, rx.getPeerAddr().getPORT());
}

TEST_F(OpenPair, DatagramLimitAndPeer) {
    CommandBuffer buf;
    InetAddr from;
    ASSERT_EQ(0, sendBytes(5600, 'a'));
    ASSERT_EQ(0, rx.recv(&buf, 1000, &from));
    EXPECT_EQ(5600u, buf.getLength());
    EXPECT_EQ('a', *buf.at(5599));
    InetAddr txAddr;
    ASSERT_TRUE(tx.getLocalAddr(txAddr));
    EXPECT_EQ("127.0.0.1", from.getIP());
    EXPECT_EQ(txAddr.getPORT(), from.getPORT());
    const InetAddr peer = rx.getPeerAddr();
    EXPECT_EQ(from.getIP(), peer.getIP());
    EXPECT_EQ(from.getPORT(), peer.getPORT());
    EXPECT_EQ(from.getIPProtoVer(), peer.getIPProtoVer());

    ASSERT_EQ(0, sendBytes(5601));
    EXPECT_EQ(-212, rx.recv(&buf, 1000, &from));

    // A shorter datagram leaves none of the earlier bytes behind.
    ASSERT_EQ(0, sendBytes(3, 'b'));
    ASSERT_EQ(0, rx.recv(&buf, 1000, nullptr));
    EXPECT_EQ(3u, buf.getLength());
    EXPECT_EQ(0, *buf.at(3));

    EXPECT_EQ(-210, sendBytes(0));  // zero-length send
    // The transfer stays open after failures and after close can be opened again.
    EXPECT_EQ(0, sendBytes(1));
    EXPECT_EQ(0, rx.close());
    EXPECT_EQ(0, rx.close());
    EXPECT_EQ(-4, rx.recv(&buf, 10, nullptr));
    EXPECT_EQ(0, rx.open());
}

std::string bytes(const CommandBuffer& b) {
    return std::string(reinterpret_cast<const char*>(b.getCursor()), b.getLength());
}

TEST(CommandBuffer, AllocRefusesSizesBelowOneAndClearsAKeptBlock) {
    CommandBuffer b;
    EXPECT_FALSE(b.alloc(0));
    EXPECT_FALSE(b.alloc(-5));
    EXPECT_EQ(b.getBase(), nullptr);

    ASSERT_TRUE(b.alloc(8));
    ASSERT_TRUE(b.assign("abcdefgh", 8));
    ASSERT_TRUE(b.consume(3));
    unsigned char* block = b.getBase();
    // Same size: the block is kept, zeroed, cursor and length reset.
    ASSERT_TRUE(b.alloc(8));
    EXPECT_EQ(b.getBase(), block);
    EXPECT_EQ(b.getCursor(), block);
    EXPECT_EQ(b.getLength(), 0u);
    for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(block[i], 0) << i;

    // Another size: a new zeroed block of that capacity.
    ASSERT_TRUE(b.alloc(16));
    EXPECT_EQ(b.getCapacity(), 16u);
    EXPECT_EQ(b.getCursor(), b.getBase());
    for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(b.getBase()[i], 0) << i;

    b.release();
    EXPECT_EQ(b.getBase(), nullptr);
    EXPECT_EQ(b.getCursor(), nullptr);
}

TEST(CommandBuffer, AssignAndAppendRespectCapacityAndMissingBlock) {
    CommandBuffer b;
    EXPECT_FALSE(b.assign("x", 1));  // no block
    EXPECT_FALSE(b.append("x", 1));
    ASSERT_TRUE(b.alloc(6));
    EXPECT_FALSE(b.assign(nullptr, 1));
    EXPECT_FALSE(b.append(nullptr, 1));
    EXPECT_FALSE(b.assign("1234567", 7));
    EXPECT_EQ(b.getLength(), 0u);

    ASSERT_TRUE(b.assign("abc", 3));
    ASSERT_TRUE(b.append("def", 3));
    EXPECT_EQ(bytes(b), "abcdef");
    EXPECT_FALSE(b.append("g", 1));  // full: nothing changes
    EXPECT_EQ(b.getLength(), 6u);
    EXPECT_TRUE(b.append("", 0));

    ASSERT_TRUE(b.assign("Z", 1));  // assign rewrites from the start
    EXPECT_EQ(bytes(b), "Z");
}

TEST(CommandBuffer, ConsumeAndSetLength) {
    CommandBuffer b;
    ASSERT_TRUE(b.alloc(4));
    ASSERT_TRUE(b.assign("wxyz", 4));
    EXPECT_FALSE(b.consume(5));
    EXPECT_EQ(b.getLength(), 4u);
    ASSERT_TRUE(b.consume(1));
    EXPECT_EQ(bytes(b), "xyz");
    ASSERT_TRUE(b.consume(3));
    EXPECT_EQ(b.getLength(), 0u);
    EXPECT_FALSE(b.consume(1));

    b.setLength(100);
    EXPECT_EQ(b.getLength(), 4u);
    b.setLength(2);
    EXPECT_EQ(b.getLength(), 2u);
}

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

using testsupport::NetnsRig;

// Opens a transfer the way the discovery engines do: open, reuse, bind to an
// adapter's address, join, ask for a big buffer. Runs inside the calling
// thread's namespace.
std::unique_ptr<UDPTransfer> openOnAdapter(const std::string& localIp, const InetAddr& group, int ver) {
    auto t = std::make_unique<UDPTransfer>(ver);
    EXPECT_EQ(0, t->open());
    t->setReuseAddr(true);
    EXPECT_EQ(0, t->bindAddr(addr(localIp, group.getPORT(), ver)));
    EXPECT_TRUE(t->joinMulticast(group));
    EXPECT_TRUE(t->setRecvBufferSize(1048576));
    return t;
}

CommandBuffer bufferOf(const std::string& bytes) {
    CommandBuffer b;
    EXPECT_TRUE(b.alloc(static_cast<int>(bytes.size())) &&
                b.assign(bytes.data(), static_cast<unsigned>(bytes.size())));
    return b;
}

// Sends from a new transfer of the calling thread's namespace (a LAN), bound to
// `fromIp` when given.
void lanSend(int ver, const std::string& fromIp, const std::string& toIp, unsigned short port,
             const std::string& payload) {
    UDPTransfer t(ver);
    ASSERT_EQ(0, t.open());
    ASSERT_TRUE(fromIp.empty() || t.bindAddr(addr(fromIp, 0, ver)) == 0) << fromIp;
    CommandBuffer b = bufferOf(payload);
    EXPECT_EQ(0, t.send(&b, addr(toIp, port, ver), 3000));
}

// Receives on a transfer; "" when nothing arrives in time.
std::string receive(UDPTransfer& t, int timeoutMs, InetAddr* from = nullptr) {
    CommandBuffer buf;
    InetAddr source;
    const int rc = t.recv(&buf, timeoutMs, &source);
    if (rc != 0) {
        EXPECT_EQ(-213, rc);
        return "";
    }
    if (from != nullptr) *from = source;
    return std::string(reinterpret_cast<char*>(buf.getCursor()), buf.getLength());
}

struct Family {
    int ver;
    const char* group;
    const char* otherGroup;
    unsigned short port;
};

class MulticastAdapter : public ::testing::TestWithParam<Family> {};

TEST_P(MulticastAdapter, EachSocketHearsItsOwnAdapterOnly) {
    const Family f = GetParam();
    std::unique_ptr<NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    const auto& A = rig->linkA();
    const auto& B = rig->linkB();
    const bool v6 = f.ver == 2;
    const std::string ipA = v6 ? A.clientIp6 : A.clientIp4;
    const std::string ipB = v6 ? B.clientIp6 : B.clientIp4;
    const std::string peerA = v6 ? A.peerIp6 : A.peerIp4;
    const std::string peerB = v6 ? B.peerIp6 : B.peerIp4;
    const InetAddr group = addr(f.group, f.port, f.ver);

    std::unique_ptr<UDPTransfer> ta, tb, ta2;
    rig->client().run([&] {
        ta = openOnAdapter(ipA, group, f.ver);
        tb = openOnAdapter(ipB, group, f.ver);
        // A second socket on the same adapter and port (an engine restarted
        // without closing) binds and joins as well.
        ta2 = openOnAdapter(ipA, group, f.ver);
    });
    ASSERT_TRUE(ta && tb && ta2);
    InetAddr local;
    ASSERT_TRUE(ta->getLocalAddr(local));
    EXPECT_EQ(ipA, local.getIP());
    EXPECT_EQ(f.port, local.getPORT());

    // Group datagram on LAN A: both A sockets, not B.
    rig->lanA().run([&] { lanSend(f.ver, peerA, f.group, f.port, "group-on-A"); });
    InetAddr from;
    EXPECT_EQ("group-on-A", receive(*ta, 1000, &from));
    EXPECT_EQ(peerA, from.getIP());
    EXPECT_EQ(f.ver, from.getIPProtoVer());
    EXPECT_EQ(peerA, ta->getPeerAddr().getIP());
    EXPECT_EQ("group-on-A", receive(*ta2, 1000));
    EXPECT_EQ("", receive(*tb, 100));

    // Group datagram on LAN B: B only.
    rig->lanB().run([&] { lanSend(f.ver, peerB, f.group, f.port, "group-on-B"); });
    EXPECT_EQ("group-on-B", receive(*tb, 1000, &from));
    EXPECT_EQ(peerB, from.getIP());
    EXPECT_EQ("", receive(*ta, 100));

    // A group that nobody joined is not heard.
    rig->lanA().run([&] { lanSend(f.ver, "", f.otherGroup, f.port, "other-group"); });
    EXPECT_EQ("", receive(*ta, 100));

    // Unicast to A's address and port reaches an A socket.
    rig->lanA().run([&] { lanSend(f.ver, "", ipA, f.port, "unicast-A"); });
    const std::string first = receive(*ta, 300);
    const std::string second = receive(*ta2, first.empty() ? 1000 : 50);
    EXPECT_EQ("unicast-A", first + second);
    EXPECT_EQ("", receive(*tb, 50));

    // Unicast to A's address arriving on adapter B: heard by nobody, and it
    // does not even make B's socket readable (so no receive waits for it).
    rig->lanB().ip(std::string(v6 ? "-6 " : "") + "route add " + (v6 ? "fd00:a::/64" : "198.51.100.0/24") +
                   " via " + (v6 ? B.clientIp6 : B.clientIp4));
    rig->client().sysctl(v6 ? "ipv6/conf/all/forwarding" : "ipv4/conf/all/rp_filter", "0");
    SocketReadSelect readiness;
    readiness.addSocket(tb->getSocket()->getHandle());
    rig->lanB().run([&] { lanSend(f.ver, "", ipA, f.port, "A-address-via-B"); });
    EXPECT_EQ(-1, readiness.wait(300)) << "a datagram for A's address woke B's socket";
    readiness.removeSocket(tb->getSocket()->getHandle());
    EXPECT_EQ("", receive(*tb, 50));
    EXPECT_EQ("", receive(*ta, 50));
    EXPECT_EQ("", receive(*ta2, 50));

    // Sends of an adapter's socket leave through that adapter, from its address,
    // although the client's multicast route points at adapter A.
    const unsigned short sendPort = f.port + 100;
    const InetAddr sendGroup = addr(f.group, sendPort, f.ver);
    std::unique_ptr<UDPTransfer> rxA, rxB, peerRx;
    rig->lanA().run([&] { rxA = openOnAdapter(peerA, sendGroup, f.ver); });
    rig->lanB().run([&] {
        rxB = openOnAdapter(peerB, sendGroup, f.ver);
        peerRx = openOnAdapter(peerB, addr(f.group, sendPort + 1, f.ver), f.ver);
    });
    CommandBuffer query = bufferOf("query");
    const std::tuple<UDPTransfer*, UDPTransfer*, UDPTransfer*, std::string> sends[] = {
        {tb.get(), rxB.get(), rxA.get(), ipB}, {ta.get(), rxA.get(), rxB.get(), ipA}};
    for (const auto& [t, rx, other, ip] : sends) {
        EXPECT_EQ(0, t->send(&query, sendGroup, 3000));
        EXPECT_EQ("query", receive(*rx, 1000, &from));
        EXPECT_EQ(ip, from.getIP());
        EXPECT_EQ("", receive(*other, 100));
    }
    // Unicast replies from an adapter socket carry the adapter's address.
    EXPECT_EQ(0, tb->send(&query, addr(peerB, sendPort + 1, f.ver), 3000));
    EXPECT_EQ("query", receive(*peerRx, 1000, &from));
    EXPECT_EQ(ipB, from.getIP());
}

// A socket that cannot be tied to its adapter (here: no descriptor left for
// the adapter-bound socket) must not join: it would hear nothing.
TEST_P(MulticastAdapter, JoinFailsWhenTheSocketCannotBeTiedToItsAdapter) {
    const Family f = GetParam();
    std::unique_ptr<NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    const std::string ipA = f.ver == 2 ? rig->linkA().clientIp6 : rig->linkA().clientIp4;
    rig->client().run([&] {
        UDPTransfer t(f.ver);
        ASSERT_EQ(0, t.open());
        ASSERT_EQ(0, t.bindAddr(addr(ipA, f.port, f.ver)));
        rlimit saved{};
        ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &saved));
        const int next = ::dup(0);
        ::close(next);
        rlimit full = saved;
        full.rlim_cur = static_cast<rlim_t>(next);
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &full));
        const bool joined = t.joinMulticast(addr(f.group, f.port, f.ver));
        setrlimit(RLIMIT_NOFILE, &saved);
        EXPECT_FALSE(joined);
        EXPECT_FALSE(dynamic_cast<Socket*>(t.getSocket())->isAdapterBound());
        EXPECT_TRUE(t.joinMulticast(addr(f.group, f.port, f.ver))) << "with a descriptor to spare it works";
    });
}

// Linux may report a datagram socket readable and then drop the datagram (a
// bad checksum is found only when it is read): the receive goes on waiting
// for the rest of its time instead of failing.
TEST(DatagramReceive, ReadableWithoutADatagramWaitsOn) {
    std::unique_ptr<NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    const auto& A = rig->linkA();
    UDPTransfer t(1);
    rig->client().run([&] {
        ASSERT_EQ(0, t.open());
        ASSERT_EQ(0, t.bindAddr(addr(A.clientIp4, 30777, 1)));
        ASSERT_TRUE(t.getSocket()->setNonBlocking(true));
    });
    // More than 76 bytes, so that the kernel leaves the checksum to the read.
    rig->lanA().run([&] {
        const int raw = socket(AF_INET, SOCK_RAW, IPPROTO_UDP);
        ASSERT_GE(raw, 0);
        unsigned char packet[8 + 200] = {};
        const uint16_t header[4] = {htons(40000), htons(30777), htons(sizeof(packet)), htons(0x1234)};
        std::memcpy(packet, header, sizeof(header));
        sockaddr_in to{};
        to.sin_family = AF_INET;
        inet_pton(AF_INET, A.clientIp4.c_str(), &to.sin_addr);
        EXPECT_EQ(static_cast<ssize_t>(sizeof(packet)),
                  sendto(raw, packet, sizeof(packet), 0, reinterpret_cast<sockaddr*>(&to), sizeof(to)));
        close(raw);
    });
    pollfd p{t.getSocket()->getHandle(), POLLIN, 0};
    ASSERT_EQ(1, poll(&p, 1, 1000)) << "the bad datagram made the socket readable";
    auto late = rig->lanA().spawn([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        lanSend(1, "", A.clientIp4, 30777, "good");
    });
    EXPECT_EQ("good", receive(t, 2000));
}

using Strings = std::vector<std::string>;

TEST(AdapterQuery, ListsIPv4AdaptersInIndexOrderWithTheirAddresses) {
    std::unique_ptr<testsupport::NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    const auto& client = rig->client();
    // An interface with IPv6 only is no adapter; a second IPv4 address follows the first.
    client.ip("link add dummy6 type veth peer name dummy6p");
    client.ip("addr add fd00:99::1/64 dev dummy6 nodad");
    client.ip("link set dummy6 up");
    client.ip("addr add 198.51.100.77/24 dev ethA");

    client.run([] {
        Strings names{"kept"};
        listAdapterNames(names);
        EXPECT_EQ(names, (Strings{"kept", "lo", "ethA", "ethB"}));

        Strings a;
        listAdapterAddresses("ethA", a);
        EXPECT_EQ(a, (Strings{"198.51.100.1", "198.51.100.77"}));
        Strings lo;
        listAdapterAddresses("lo", lo);
        EXPECT_EQ(lo, (Strings{"127.0.0.1"}));
        Strings none;
        listAdapterAddresses("nosuch", none);
        listAdapterAddresses("dummy6", none);
        listAdapterAddresses("", none);
        EXPECT_TRUE(none.empty());
    });
}

INSTANTIATE_TEST_SUITE_P(Families, MulticastAdapter,
                         ::testing::Values(Family{1, "234.5.6.7", "234.5.6.8", 30003},
                                           Family{2, "ff12::1", "ff12::2", 30003}),
                         [](const ::testing::TestParamInfo<Family>& i) {
                             return std::string(i.param.ver == 1 ? "IPv4" : "IPv6");
                         });

}  // namespace
