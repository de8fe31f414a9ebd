// The adapter contract of datagram sockets, proved in the namespace rig: a
// socket bound to an adapter's address and joined to a group hears that
// group's datagrams arriving on that adapter and unicast to its address and
// port, nothing that arrives elsewhere, and sends through its adapter.
#include "transport/AdapterQuery.h"
#include "transport/Socket.h"
#include "transport/SocketReadSelect.h"
#include "transport/UDPTransfer.h"

#include "support/NetnsRig.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using testsupport::NetnsRig;

InetAddr addr(const std::string& ip, unsigned short port, int ver) {
    InetAddr a;
    a.setIP(ip);
    a.setPORT(port);
    a.setIPProtoVer(ver);
    return a;
}

// Opens a transfer the way the discovery engines do: open, reuse, bind to the
// adapter's first address, join, ask for a big buffer. Runs inside the client
// namespace.
std::unique_ptr<UDPTransfer> openOnAdapter(const std::string& adapter, const std::string& localIp,
                                           const InetAddr& group, int ver) {
    auto t = std::make_unique<UDPTransfer>(ver);
    EXPECT_EQ(0, t->open());
    t->setReuseAddr(true);
    if (ver == 1) {
        std::vector<std::string> addrs;
        listAdapterAddresses(adapter, addrs);
        EXPECT_EQ(localIp, addrs.empty() ? "" : addrs[0]);
    }
    EXPECT_EQ(0, t->bindAddr(addr(localIp, group.getPORT(), ver)));
    EXPECT_TRUE(t->joinMulticast(group));
    EXPECT_TRUE(t->setRecvBufferSize(1048576));
    return t;
}

// LAN side, plain POSIX: a socket whose multicast leaves through `ifname`.
struct LanSocket {
    int fd = -1;
    int family;
    LanSocket(int fam, const std::string& ifname, unsigned short bindPort = 0, const std::string& group = "",
              const std::string& bindIp = "")
        : family(fam) {
        fd = socket(fam, SOCK_DGRAM, 0);
        EXPECT_GE(fd, 0);
        int on = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        const unsigned idx = if_nametoindex(ifname.c_str());
        EXPECT_NE(0u, idx) << ifname;
        if (fam == AF_INET) {
            ip_mreqn m{};
            m.imr_ifindex = static_cast<int>(idx);
            setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &m, sizeof(m));
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_port = htons(bindPort);
            if (!bindIp.empty()) inet_pton(AF_INET, bindIp.c_str(), &a.sin_addr);
            EXPECT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof(a)));
            if (!group.empty()) {
                inet_pton(AF_INET, group.c_str(), &m.imr_multiaddr);
                EXPECT_EQ(0, setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &m, sizeof(m)));
            }
        } else {
            int i = static_cast<int>(idx);
            setsockopt(fd, IPPROTO_IPV6, IPV6_MULTICAST_IF, &i, sizeof(i));
            sockaddr_in6 a{};
            a.sin6_family = AF_INET6;
            a.sin6_port = htons(bindPort);
            if (!bindIp.empty()) inet_pton(AF_INET6, bindIp.c_str(), &a.sin6_addr);
            EXPECT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof(a)));
            if (!group.empty()) {
                ipv6_mreq m{};
                inet_pton(AF_INET6, group.c_str(), &m.ipv6mr_multiaddr);
                m.ipv6mr_interface = idx;
                EXPECT_EQ(0, setsockopt(fd, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, &m, sizeof(m)));
            }
        }
    }
    ~LanSocket() { close(fd); }
    void sendTo(const std::string& ip, unsigned short port, const std::string& payload) const {
        sockaddr_storage ss{};
        socklen_t len;
        if (family == AF_INET) {
            auto& a = reinterpret_cast<sockaddr_in&>(ss);
            a.sin_family = AF_INET;
            a.sin_port = htons(port);
            inet_pton(AF_INET, ip.c_str(), &a.sin_addr);
            len = sizeof(a);
        } else {
            auto& a = reinterpret_cast<sockaddr_in6&>(ss);
            a.sin6_family = AF_INET6;
            a.sin6_port = htons(port);
            inet_pton(AF_INET6, ip.c_str(), &a.sin6_addr);
            len = sizeof(a);
        }
        EXPECT_EQ(static_cast<ssize_t>(payload.size()),
                  sendto(fd, payload.data(), payload.size(), 0, reinterpret_cast<sockaddr*>(&ss), len))
            << std::strerror(errno);
    }
    // The payload and source address of the next datagram, or empty strings.
    std::pair<std::string, std::string> receive(int timeoutMs) const {
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, timeoutMs) != 1) return {};
        char buf[256];
        sockaddr_storage from{};
        socklen_t len = sizeof(from);
        const ssize_t n = recvfrom(fd, buf, sizeof(buf), 0, reinterpret_cast<sockaddr*>(&from), &len);
        if (n < 0) return {};
        char host[64] = {};
        if (from.ss_family == AF_INET)
            inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in&>(from).sin_addr, host, sizeof(host));
        else
            inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6&>(from).sin6_addr, host, sizeof(host));
        return {std::string(buf, static_cast<size_t>(n)), host};
    }
};

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
    int af;
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
        ta = openOnAdapter(A.clientIf, ipA, group, f.ver);
        tb = openOnAdapter(B.clientIf, ipB, group, f.ver);
        // A second socket on the same adapter and port (an engine restarted
        // without closing) binds and joins as well.
        ta2 = openOnAdapter(A.clientIf, ipA, group, f.ver);
    });
    ASSERT_TRUE(ta && tb && ta2);
    InetAddr local;
    ASSERT_TRUE(ta->getLocalAddr(local));
    EXPECT_EQ(ipA, local.getIP());
    EXPECT_EQ(f.port, local.getPORT());

    // Group datagram on LAN A: both A sockets, not B.
    rig->lanA().run([&] { LanSocket(f.af, A.peerIf, 0, "", peerA).sendTo(f.group, f.port, "group-on-A"); });
    InetAddr from;
    EXPECT_EQ("group-on-A", receive(*ta, 1000, &from));
    EXPECT_EQ(peerA, from.getIP());
    EXPECT_EQ(f.ver, from.getIPProtoVer());
    EXPECT_EQ(peerA, ta->getPeerAddr().getIP());
    EXPECT_EQ("group-on-A", receive(*ta2, 1000));
    EXPECT_EQ("", receive(*tb, 100));

    // Group datagram on LAN B: B only.
    rig->lanB().run([&] { LanSocket(f.af, B.peerIf, 0, "", peerB).sendTo(f.group, f.port, "group-on-B"); });
    EXPECT_EQ("group-on-B", receive(*tb, 1000, &from));
    EXPECT_EQ(peerB, from.getIP());
    EXPECT_EQ("", receive(*ta, 100));

    // A group that nobody joined is not heard.
    rig->lanA().run([&] { LanSocket(f.af, A.peerIf).sendTo(f.otherGroup, f.port, "other-group"); });
    EXPECT_EQ("", receive(*ta, 100));

    // Unicast to A's address and port reaches an A socket.
    rig->lanA().run([&] { LanSocket(f.af, A.peerIf).sendTo(ipA, f.port, "unicast-A"); });
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
    rig->lanB().run([&] { LanSocket(f.af, B.peerIf).sendTo(ipA, f.port, "A-address-via-B"); });
    EXPECT_EQ(-1, readiness.wait(300)) << "a datagram for A's address woke B's socket";
    readiness.removeSocket(tb->getSocket()->getHandle());
    EXPECT_EQ("", receive(*tb, 50));
    EXPECT_EQ("", receive(*ta, 50));
    EXPECT_EQ("", receive(*ta2, 50));

    // Sends of an adapter's socket leave through that adapter, from its address,
    // although the client's multicast route points at adapter A.
    const unsigned short sendPort = f.port + 100;
    std::unique_ptr<LanSocket> rxA, rxB;
    rig->lanA().run([&] { rxA = std::make_unique<LanSocket>(f.af, A.peerIf, sendPort, f.group); });
    rig->lanB().run([&] { rxB = std::make_unique<LanSocket>(f.af, B.peerIf, sendPort, f.group); });
    CommandBuffer query;
    ASSERT_TRUE(query.alloc(5));
    ASSERT_TRUE(query.assign("query", 5));
    EXPECT_EQ(0, tb->send(&query, addr(f.group, sendPort, f.ver), 3000));
    auto got = rxB->receive(1000);
    EXPECT_EQ("query", got.first);
    EXPECT_EQ(ipB, got.second);
    EXPECT_EQ("", rxA->receive(100).first);

    EXPECT_EQ(0, ta->send(&query, addr(f.group, sendPort, f.ver), 3000));
    got = rxA->receive(1000);
    EXPECT_EQ("query", got.first);
    EXPECT_EQ(ipA, got.second);
    EXPECT_EQ("", rxB->receive(100).first);

    // Unicast replies from an adapter socket carry the adapter's address.
    std::unique_ptr<LanSocket> peerRx;
    rig->lanB().run([&] { peerRx = std::make_unique<LanSocket>(f.af, B.peerIf, sendPort + 1); });
    EXPECT_EQ(0, tb->send(&query, addr(peerB, sendPort + 1, f.ver), 3000));
    got = peerRx->receive(1000);
    EXPECT_EQ("query", got.first);
    EXPECT_EQ(ipB, got.second);
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
        LanSocket(AF_INET, A.peerIf).sendTo(A.clientIp4, 30777, "good");
    });
    EXPECT_EQ("good", receive(t, 2000));
}

INSTANTIATE_TEST_SUITE_P(Families, MulticastAdapter,
                         ::testing::Values(Family{1, AF_INET, "234.5.6.7", "234.5.6.8", 30003},
                                           Family{2, AF_INET6, "ff12::1", "ff12::2", 30003}),
                         [](const ::testing::TestParamInfo<Family>& i) {
                             return std::string(i.param.ver == 1 ? "IPv4" : "IPv6");
                         });

}  // namespace
