// The receive thread in network namespaces: nothing here leaves the host.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "DatagramBytes.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/BroadcastCommand.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "discovery/DeviceMulticastRecv.h"
#include "discovery/DeviceMulticastRecvThread.h"
#include "discovery/MulticastCommand.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "support/NetnsRig.h"
#include "discovery/CollectingListener.h"

namespace {

using dgram::Bytes;
using namespace std::chrono_literals;

// Sends one datagram to the group from inside a LAN namespace.
void sendToGroup(const testsupport::Netns& ns, const Bytes& datagram) {
    ns.run([&] {
        int fd = socket(AF_INET, SOCK_DGRAM, 0);
        ASSERT_GE(fd, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(30003);
        to.sin_addr.s_addr = inet_addr("234.5.6.7");
        ssize_t sent =
            sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof(to));
        close(fd);
        ASSERT_EQ(ssize_t(datagram.size()), sent) << std::strerror(errno);
    });
}

Bytes multicastDatagram(const std::string& id, const std::string& time = "t0") {
    DeviceInfoFields f;
    std::strncpy(f.m_szDeviceId, id.c_str(), 32);
    std::strncpy(f.m_szDeviceTime, time.c_str(), 64);
    std::strcpy(f.m_szDeviceIP, "198.51.100.2");
    f.m_nControlPort = 30001;
    MulticastCommand cmd(f);
    CommandBuffer wire;
    EXPECT_EQ(0, cmd.encode(wire));
    return dgram::envelope(dgram::toBytes(wire));
}

Bytes broadcastDatagram(const std::string& id) {
    DeviceSummaryInfo s;
    s.setDeviceId(id);
    DeviceNetwork n;
    n.setLocalIp("198.51.100.2");
    BroadcastCommand cmd(s, n);
    CommandBuffer wire;
    EXPECT_EQ(0, cmd.encode(wire));
    return dgram::envelope(dgram::toBytes(wire));
}

Bytes baseInfoDatagram(const std::string& id) {
    DeviceBaseInfo b;
    b.setDeviceID(id);
    b.setDeviceIP("203.0.113.2");
    b.setDevicePort(8000);
    DeviceBaseInfoCommand cmd(b);
    CommandBuffer wire;
    EXPECT_EQ(0, cmd.encode(wire));
    return dgram::envelope(dgram::toBytes(wire));
}

// Whether the calling thread's namespace has a membership of 234.5.6.7 on `ifName`.
bool joinedOn(const std::string& ifName) {
    std::ifstream igmp("/proc/thread-self/net/igmp");
    std::string line, current;
    while (std::getline(igmp, line)) {
        if (!line.empty() && line[0] != '\t' && line[0] != ' ') {
            // "<index>\t<name>  : ..." starts an interface block.
            size_t tab = line.find('\t');
            size_t colon = line.find(':');
            if (tab != std::string::npos && colon != std::string::npos) {
                current = line.substr(tab + 1, colon - tab - 1);
                current.erase(current.find_last_not_of(' ') + 1);
            }
            continue;
        }
        if (current == ifName && line.find("070605EA") != std::string::npos) return true;
    }
    return false;
}

class MulticastRecvThreadTest : public ::testing::Test {
  protected:
    void startIn(DeviceMulticastRecvThread& thread, const std::vector<std::string>& adapters,
                 int expected = 0) {
        rig->client().run([&] {
            thread.setAdapters(adapters);
            thread.setListener(&listener);
            EXPECT_EQ(expected, thread.start());
        });
    }

    std::unique_ptr<testsupport::NetnsRig> rig;
    CollectingListener listener;
};

TEST_F(MulticastRecvThreadTest, EveryFormOnEveryAdapterIsDelivered) {
    DS_NETNS_RIG_OR_SKIP(rig);
    DeviceMulticastRecvThread thread;
    startIn(thread, {"ethA", "ethB"});
    EXPECT_EQ(2u, thread.getTransferCount());
    EXPECT_TRUE(thread.isRunning());

    sendToGroup(rig->lanA(), multicastDatagram("m23"));
    ASSERT_TRUE(listener.waitFor(1));
    sendToGroup(rig->lanA(), broadcastDatagram("b16"));
    ASSERT_TRUE(listener.waitFor(2));
    sendToGroup(rig->lanB(), baseInfoDatagram("d20"));
    ASSERT_TRUE(listener.waitFor(3));

    std::vector<DeviceSummaryInfo> got = listener.records();
    ASSERT_EQ(3u, got.size());
    EXPECT_EQ("m23", got[0].getDeviceId());
    EXPECT_EQ("t0", got[0].getDeviceTime());
    EXPECT_EQ(30001, got[0].getDevicePort());
    EXPECT_EQ("b16", got[1].getDeviceId());
    EXPECT_EQ(30001, got[1].getDevicePort());
    EXPECT_EQ("d20", got[2].getDeviceId());
    EXPECT_EQ(8000, got[2].getDevicePort());
    // Without duplicate suppression nothing is remembered.
    EXPECT_EQ(0u, thread.getSummaryCount());

    // Each socket asks for a receive buffer of 1 MiB and gets it (the kernel reports it doubled).
    for (SocketHandle handle : thread.getSocketHandles()) {
        int size = 0;
        socklen_t len = sizeof(size);
        ASSERT_EQ(0, getsockopt(handle, SOL_SOCKET, SO_RCVBUF, &size, &len));
        EXPECT_GE(size, 1048576);
    }
    thread.stop();
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(MulticastRecvThreadTest, DuplicatesAreSuppressedByDeviceId) {
    DS_NETNS_RIG_OR_SKIP(rig);
    DeviceMulticastRecvThread thread;
    thread.setSuppressDuplicates(true);
    startIn(thread, {"ethA"});

    sendToGroup(rig->lanA(), multicastDatagram("dup", "t1"));
    ASSERT_TRUE(listener.waitFor(1));
    sendToGroup(rig->lanA(), multicastDatagram("dup", "t1"));  // equal: dropped
    sendToGroup(rig->lanA(), multicastDatagram("dup", "t2"));  // changed: delivered, replaces
    ASSERT_TRUE(listener.waitFor(2));
    sendToGroup(rig->lanA(), multicastDatagram("other", "t1"));
    ASSERT_TRUE(listener.waitFor(3));
    std::vector<DeviceSummaryInfo> got = listener.records();
    ASSERT_EQ(3u, got.size());
    EXPECT_EQ("t2", got[1].getDeviceTime());
    EXPECT_EQ("other", got[2].getDeviceId());
    EXPECT_EQ(2u, thread.getSummaryCount());

    // stop forgets what was delivered: the same record comes again after a restart.
    thread.stop();
    EXPECT_EQ(0u, thread.getSummaryCount());
    startIn(thread, {"ethA"});
    sendToGroup(rig->lanA(), multicastDatagram("dup", "t2"));
    ASSERT_TRUE(listener.waitFor(4));
    thread.stop();
}

TEST_F(MulticastRecvThreadTest, AMalformedDatagramEndsReceptionOnItsAdapterOnly) {
    DS_NETNS_RIG_OR_SKIP(rig);
    DeviceMulticastRecvThread thread;
    startIn(thread, {"ethA", "ethB"});

    Bytes xml = dgram::text("<DeviceInfo DeviceID=\"x\"/>");
    sendToGroup(rig->lanA(), dgram::envelope(dgram::command(21, int32_t(xml.size()), xml)));
    sendToGroup(rig->lanB(), multicastDatagram("fromB-1"));
    ASSERT_TRUE(listener.waitFor(1));
    // Give the thread time to see the bad datagram if it came after B's.
    std::this_thread::sleep_for(200ms);
    sendToGroup(rig->lanA(), multicastDatagram("fromA"));
    sendToGroup(rig->lanB(), multicastDatagram("fromB-2"));
    ASSERT_TRUE(listener.waitFor(2));
    std::this_thread::sleep_for(200ms);
    std::vector<DeviceSummaryInfo> got = listener.records();
    ASSERT_EQ(2u, got.size());
    EXPECT_EQ("fromB-1", got[0].getDeviceId());
    EXPECT_EQ("fromB-2", got[1].getDeviceId());
    EXPECT_EQ(1u, thread.getTransferCount());
    EXPECT_TRUE(thread.isRunning());

    // Malformed datagrams of every kind on B as well: the thread ends by itself
    // once no adapter is left, instead of spinning.
    sendToGroup(rig->lanB(), Bytes(23, 0xFF));
    for (int i = 0; i < 300 && thread.isRunning(); ++i) std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(0u, thread.getTransferCount());

    // The next start hears both adapters again.
    thread.stop();
    startIn(thread, {"ethA", "ethB"});
    sendToGroup(rig->lanA(), multicastDatagram("fromA-again"));
    ASSERT_TRUE(listener.waitFor(3));
    EXPECT_EQ("fromA-again", listener.records()[2].getDeviceId());
    thread.stop();
}

TEST_F(MulticastRecvThreadTest, StopClosesAndLeavesSoARestartReadsOnce) {
    DS_NETNS_RIG_OR_SKIP(rig);
    DeviceMulticastRecvThread thread;
    startIn(thread, {"ethA"});
    rig->client().run([] { EXPECT_TRUE(joinedOn("ethA")); });
    thread.stop();
    EXPECT_EQ(0u, thread.getTransferCount());
    rig->client().run([] { EXPECT_FALSE(joinedOn("ethA")); });

    startIn(thread, {"ethA"});
    EXPECT_EQ(1u, thread.getTransferCount());
    sendToGroup(rig->lanA(), multicastDatagram("once"));
    ASSERT_TRUE(listener.waitFor(1));
    sendToGroup(rig->lanA(), multicastDatagram("marker"));
    ASSERT_TRUE(listener.waitFor(2));
    std::this_thread::sleep_for(200ms);
    // One socket per adapter: each datagram arrives exactly once.
    std::vector<DeviceSummaryInfo> got = listener.records();
    ASSERT_EQ(2u, got.size());
    EXPECT_EQ("once", got[0].getDeviceId());
    EXPECT_EQ("marker", got[1].getDeviceId());

    // stop on a stopped thread returns at once.
    thread.stop();
    thread.stop();
}

TEST_F(MulticastRecvThreadTest, StartRefusals) {
    DS_NETNS_RIG_OR_SKIP(rig);
    // An adapter with no IPv4 address.
    rig->client().ip("link add bare0 type veth peer name bare1");
    rig->client().ip("link set bare0 up");

    DeviceMulticastRecvThread thread;
    rig->client().run([&] {
        EXPECT_EQ(-661, thread.start());  // nothing configured
        thread.setAdapters({"ethA"});
        EXPECT_EQ(-661, thread.start());  // no listener
        thread.setListener(&listener);
        thread.setAdapters({});
        EXPECT_EQ(-661, thread.start());  // no adapter
        EXPECT_FALSE(thread.isRunning());

        // An adapter without an IPv4 address, or an unknown name, ends the start.
        thread.setAdapters({"bare0"});
        EXPECT_EQ(-214, thread.start());
        thread.setAdapters({"no-such-adapter"});
        EXPECT_EQ(-214, thread.start());
        // The sockets opened before the failing adapter stay until the next start or stop.
        thread.setAdapters({"ethA", "bare0", "ethB"});
        EXPECT_EQ(-214, thread.start());
        EXPECT_EQ(1u, thread.getTransferCount());
        EXPECT_FALSE(thread.isRunning());

        thread.setAdapters({"ethA", "ethB"});
        EXPECT_EQ(0, thread.start());
        EXPECT_EQ(2u, thread.getTransferCount());
        EXPECT_EQ(-11, thread.start());
        EXPECT_EQ(2u, thread.getTransferCount());
    });
    thread.stop();
    EXPECT_EQ(0u, thread.getTransferCount());
}

TEST_F(MulticastRecvThreadTest, HandleForwardsToTheThread) {
    DS_NETNS_RIG_OR_SKIP(rig);
    DeviceMulticastRecv handle;
    rig->client().run([&] {
        EXPECT_EQ(-661, handle.start());
        handle.setAdapters({"ethB"});
        handle.setSuppressDuplicates(true);
        handle.setListener(&listener);
        EXPECT_EQ(0, handle.start());
        EXPECT_EQ(-11, handle.start());
    });
    sendToGroup(rig->lanB(), broadcastDatagram("via-handle"));
    sendToGroup(rig->lanB(), broadcastDatagram("via-handle"));
    sendToGroup(rig->lanB(), multicastDatagram("second"));
    ASSERT_TRUE(listener.waitFor(2));
    std::vector<DeviceSummaryInfo> got = listener.records();
    EXPECT_EQ("via-handle", got[0].getDeviceId());
    EXPECT_EQ("second", got[1].getDeviceId());
    handle.stop();
}

}  // namespace
