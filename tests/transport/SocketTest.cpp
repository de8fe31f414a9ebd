// Socket layer over loopback (127.0.0.1 / ::1 only, ephemeral ports).
#include "transport/Socket.h"
#include "transport/WakeUp.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
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
std::unique_ptr<Socket> boundUdp(int ver = 1) {
    auto s = std::make_unique<Socket>(ver, 2);
    EXPECT_TRUE(s->open());
    EXPECT_TRUE(s->bind(ver == 2 ? "::1" : "127.0.0.1", 0));
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

    char host[49] = {};
    unsigned short port = 0;
    EXPECT_EQ(3, tx->sendDatagram("abc", 3, local));
    ASSERT_EQ(0, rx->waitReadable(1000));
    EXPECT_EQ(3, rx->recvFrom(buf, sizeof(buf), host, &port));
    EXPECT_STREQ("127.0.0.1", host);
    EXPECT_EQ(portOf(*tx), port);
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

    // Chunked: one datagram per chunk, the total as result.
    // The empty datagram did leave; an empty datagram received counts as a failure.
    char drain[16];
    ASSERT_EQ(-1, rx->recvFromTimed(drain, sizeof(drain), nullptr, 1000));
    ASSERT_EQ(1, rx->recvFromTimed(drain, sizeof(drain), nullptr, 1000));
    EXPECT_EQ(10, tx->sendToChunked("0123456789", 10, to, 4));
    std::vector<int> sizes;
    for (int i = 0; i < 3; ++i) sizes.push_back(rx->recvFromTimed(drain, sizeof(drain), nullptr, 1000));
    EXPECT_EQ((std::vector<int>{4, 4, 2}), sizes);
}

TEST(Socket, BindForms) {
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
}

TEST(Socket, StreamLatchesUntilReopened) {
    Socket s(1, 1);
    ASSERT_TRUE(s.open());
    EXPECT_TRUE(s.setReuseAddr(true));
    char buf[4];
    // recv on an unconnected stream fails with a latching error.
    EXPECT_EQ(-1, s.recvTimed(buf, sizeof(buf), 0, true));
    EXPECT_EQ(ENOTCONN, s.getLastError());
    EXPECT_EQ(-1, s.sendTimed("x", 1, 100));
    EXPECT_FALSE(s.setReuseAddr(true));
    EXPECT_FALSE(s.bind("127.0.0.1", 0));
    EXPECT_EQ(-1, s.waitReadable(0));
    InetAddr local;
    EXPECT_FALSE(s.getLocalAddr(local));
    EXPECT_TRUE(s.close());
    EXPECT_EQ(ENOTCONN, s.getLastError());  // close keeps it
    ASSERT_TRUE(s.open());
    EXPECT_EQ(0, s.getLastError());
    EXPECT_TRUE(s.setReuseAddr(true));
    EXPECT_NE(-1, s.getCachedSendBufferSize());
}

struct TcpPair {
    Socket listener{1, 1};
    Socket client{1, 1};
    std::unique_ptr<ISocket> server;
    void connect() {
        ASSERT_TRUE(listener.open());
        ASSERT_TRUE(listener.bind("127.0.0.1", 0));
        ASSERT_TRUE(listener.listen(4));
        ASSERT_TRUE(client.open());
        ASSERT_TRUE(client.connectTimed(addr("127.0.0.1", portOf(listener)), 1000));
        ISocket* accepted = nullptr;
        ASSERT_EQ(0, listener.accept(&accepted, 1000));
        server.reset(accepted);
    }
};

TEST(Socket, StreamConnectAcceptAndTransfer) {
    TcpPair p;
    ASSERT_NO_FATAL_FAILURE(p.connect());
    EXPECT_EQ("127.0.0.1", p.client.getAddr()->getIP());
    EXPECT_EQ(portOf(p.listener), p.client.getAddr()->getPORT());
    EXPECT_EQ("127.0.0.1", p.server->getAddr()->getIP());
    EXPECT_EQ(portOf(p.client), p.server->getAddr()->getPORT());
    EXPECT_EQ(1, p.server->getAddr()->getIPProtoVer());

    std::vector<char> out(300000), in(300000);
    for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<char>(i * 7);
    std::thread reader([&] { EXPECT_EQ(300000, p.server->recvAll(in.data(), 300000)); });
    EXPECT_EQ(300000, p.client.sendAll(out.data(), 300000));
    reader.join();
    EXPECT_EQ(out, in);

    // Nothing more: accept and recv time out; a closed peer is a failure.
    ISocket* none = nullptr;
    EXPECT_EQ(-2, p.listener.accept(&none, 20));
    EXPECT_EQ(nullptr, none);
    char c;
    EXPECT_EQ(-2, p.server->recvTimed(&c, 1, 20, false));
    p.client.close();
    EXPECT_EQ(-1, p.server->recvTimed(&c, 1, 1000, false));
}

TEST(Socket, SendBlockGivesUpAfterFourWaits) {
    TcpPair p;
    ASSERT_NO_FATAL_FAILURE(p.connect());
    ASSERT_TRUE(p.client.setSendBufferSize(4096));
    ASSERT_TRUE(p.client.setNonBlocking(true));
    std::vector<char> chunk(65536, 'q');
    int filled = 0;
    for (int i = 0; i < 10000; ++i) {
        const int n = p.client.sendBlock(chunk.data(), chunk.size(), false);
        if (n == -3) break;
        ASSERT_GT(n, 0);
        filled += n;
    }
    ASSERT_GT(filled, 0);
    EXPECT_EQ(-3, p.client.sendBlock(chunk.data(), chunk.size(), true));

    char c;
    std::unique_ptr<ISocket>& server = p.server;
    ASSERT_TRUE(server->setNonBlocking(true));
    EXPECT_GT(server->recvRaw(&c, 1), 0);
    EXPECT_EQ(0, p.client.sendBlock(chunk.data(), 0, true));
}

TEST(Socket, ReceiveBufferOfAMegabyte) {
    Socket s(1, 2);
    ASSERT_TRUE(s.open());
    ASSERT_TRUE(s.setRecvBufferSize(1048576));
    int size = 0;
    ASSERT_TRUE(s.getRecvBufferSize(&size));
    if (geteuid() == 0) {
        EXPECT_GE(size, 1048576);
    }
    EXPECT_EQ(-1, s.getCachedSendBufferSize());
    ASSERT_TRUE(s.setSendBufferSize(65536));
    EXPECT_TRUE(s.getSendBufferSize(&size));
    EXPECT_GE(size, 65536);
}

}  // namespace
