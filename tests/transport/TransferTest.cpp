// Transfers and the factory map, over loopback (127.0.0.1 only).
#include "transport/TransferFactory.h"
#include "transport/UDPTransfer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

InetAddr addr(const std::string& ip, unsigned short port) {
    InetAddr a;
    a.setIP(ip);
    a.setPORT(port);
    a.setIPProtoVer(1);
    return a;
}

TEST(UDPTransfer, NeverOpenedGivesItsCodes) {
    UDPTransfer t(1);
    CommandBuffer buf;
    ASSERT_TRUE(buf.alloc(4));
    InetAddr a = addr("127.0.0.1", 9), from;
    EXPECT_EQ(-4, t.recv(&buf, 10, &from));
    EXPECT_EQ(-4, t.send(&buf, a, 3000));
    EXPECT_EQ(-4, t.setReuseAddr(true));
    EXPECT_EQ(-4, t.bindHost("127.0.0.1"));
    EXPECT_EQ(-4, t.bindAddr(a));
    EXPECT_EQ(-4, t.connect(a));
    EXPECT_EQ(-4, t.connectTimed(a, 10));
    EXPECT_FALSE(t.getLocalAddr(from));
    EXPECT_FALSE(t.setRecvBufferSize(1048576));
    EXPECT_FALSE(t.setSendBufferSize(1024));
    EXPECT_FALSE(t.setBroadcast(true));
    EXPECT_FALSE(t.joinMulticast(addr("234.5.6.7", 30003)));
    EXPECT_FALSE(t.bindAndJoin(addr("234.5.6.7", 30003)));
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
        ASSERT_EQ(0, tx.bindHost("127.0.0.1"));
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

TEST_F(OpenPair, ConnectedDatagramTransfer) {
    EXPECT_EQ(0, tx.connectTimed(rxAddr, 1));
    EXPECT_EQ(-204, tx.connect(addr("bogus", 1)));
}

}  // namespace
