// devsim's datagrams read back through the library's own decoders.
#include <gtest/gtest.h>

#include "SimDevice.h"
#include "discovery/BroadcastCommand.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "discovery/DiscoveryEnvelope.h"
#include "discovery/MulticastCommand.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/CommandBuffer.h"

namespace {

SimDeviceConfig config(int form, int index) {
    SimDeviceConfig c;
    c.address = "198.51.100.77";
    c.index = index;
    c.form = form;
    c.deviceTime = "2026-01-02 03:04:05";
    return c;
}

// The announcement in a buffer, the envelope checked and skipped.
CommandBuffer payloadOf(const std::vector<unsigned char>& datagram) {
    CommandBuffer buffer;
    EXPECT_TRUE(buffer.alloc(static_cast<int>(datagram.size())));
    EXPECT_TRUE(buffer.assign(datagram.data(), static_cast<unsigned>(datagram.size())));
    DiscoveryEnvelope envelope;
    EXPECT_EQ(0, envelope.decode(buffer));
    EXPECT_EQ(datagram.size() - 24, envelope.m_nPayloadLength);
    EXPECT_TRUE(buffer.consume(24));
    return buffer;
}

TEST(DevsimDatagrams, AnnouncementsOfTheThreeFormsDecode) {
    std::vector<unsigned char> datagram;
    SimDeviceConfig c23 = config(23, 0);
    ASSERT_TRUE(buildAnnouncement(c23, makeSummary(c23), datagram));
    CommandBuffer p23 = payloadOf(datagram);
    MulticastCommand multicast;
    ASSERT_EQ(0, multicast.decode(p23));
    EXPECT_STREQ("SIM000001", multicast.getDeviceId());
    EXPECT_STREQ("IPC-2131", multicast.getProductModel());
    EXPECT_STREQ("198.51.100.77", multicast.getDeviceIP());
    EXPECT_EQ(30001, multicast.getControlPort());
    EXPECT_STREQ("2026-01-02 03:04:05", multicast.getDeviceTime());

    SimDeviceConfig c20 = config(20, 1);
    ASSERT_TRUE(buildAnnouncement(c20, makeSummary(c20), datagram));
    CommandBuffer p20 = payloadOf(datagram);
    DeviceBaseInfoCommand baseInfo;
    ASSERT_EQ(0, baseInfo.decode(p20));
    EXPECT_EQ("SIM000002", baseInfo.getDeviceBaseInfo().getDeviceID());
    EXPECT_EQ("IPC-5240", baseInfo.getDeviceBaseInfo().getProductModel());
    EXPECT_EQ("V3.11.0", baseInfo.getDeviceBaseInfo().getVersion().getSoftwareVer());

    SimDeviceConfig c16 = config(16, 2);
    ASSERT_TRUE(buildAnnouncement(c16, makeSummary(c16), datagram));
    EXPECT_EQ(24u + 76u + 274u, datagram.size());
    CommandBuffer p16 = payloadOf(datagram);
    BroadcastCommand broadcast;
    ASSERT_EQ(0, broadcast.decode(p16));
    EXPECT_EQ("SIM000003", broadcast.getDeviceSummaryInfo().getDeviceId());
    EXPECT_EQ("198.51.100.77", broadcast.getDeviceSummaryInfo().getDeviceIP());
    EXPECT_EQ("", broadcast.getDeviceSummaryInfo().getProductModel());
}

TEST(DevsimDatagrams, AnswerCarriesTheSummaryAndTheQuerySequence) {
    SimDeviceConfig c = config(23, 41);
    c.httpPort = 8080;
    const DeviceSummaryInfo summary = makeSummary(c);
    std::vector<unsigned char> datagram;
    ASSERT_TRUE(buildSummaryAnswer(summary, 30542, 513, datagram));
    CommandBuffer buffer;
    ASSERT_TRUE(buffer.alloc(static_cast<int>(datagram.size())));
    ASSERT_TRUE(buffer.assign(datagram.data(), static_cast<unsigned>(datagram.size())));
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    ASSERT_TRUE(parser.parseCommand(buffer, param));
    const SDKCommandParam& sdk = static_cast<const SDKCommandParam&>(*param);
    EXPECT_EQ(30542u, sdk.m_objHead.nCommandID);
    EXPECT_EQ(513u, sdk.m_objHead.nSequence);
    DeviceSummaryInfo read;
    ASSERT_TRUE(extractDomain(read, sdk.m_domains));
    EXPECT_TRUE(read == summary);
    EXPECT_EQ("8080", read.getHttpPort());
    EXPECT_EQ("02:5e:00:00:00:29", read.getMACAddr());
}

}  // namespace
