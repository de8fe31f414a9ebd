#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "devsim/SimDevice.h"
#include "discovery/BroadcastCommand.h"
#include "transport/CommandBuffer.h"

namespace {

DeviceSummaryInfo sampleSummary() {
    DeviceSummaryInfo s;
    s.setDeviceId("NVR-42");
    s.setManufacturerId("MID-7");
    s.setDeviceType(-3);
    s.setManufacturerName("Maker");
    s.setHardWareInfo("HW-A");
    s.setSoftWareInfo("SW-B");
    s.setDeviceTime("2024-01-02 03:04:05");
    s.setProductModel("not on this wire");
    s.setDevicePort(1234);
    return s;
}

TEST(BroadcastCommand, EncodeWritesTheFixedBody) {
    DeviceNetwork net;
    net.setLocalIp("198.51.100.9");
    net.setControlPort(1);
    net.setHttpPort(2);
    BroadcastCommand cmd(sampleSummary(), net);
    EXPECT_EQ(16, cmd.getCommandId());
    CommandBuffer out;
    ASSERT_EQ(0, cmd.encode(out));
    ASSERT_EQ(76u + 274u, out.getLength());
    const unsigned char* p = out.getCursor();
    EXPECT_EQ(Bytes({0, 0, 0, 16}), Bytes(p, p + 4));
    EXPECT_EQ(Bytes({0, 0, 1, 18}), Bytes(p + 72, p + 76));  // 274
    const unsigned char* b = p + 76;
    EXPECT_EQ("NVR-42", std::string(reinterpret_cast<const char*>(b)));
    EXPECT_EQ(0, b[31]);
    EXPECT_EQ("MID-7", std::string(reinterpret_cast<const char*>(b + 32)));
    EXPECT_EQ(Bytes({0xFF, 0xFF, 0xFF, 0xFD}), Bytes(b + 64, b + 68));
    EXPECT_EQ("Maker", std::string(reinterpret_cast<const char*>(b + 68)));
    for (int at : {100, 104, 108, 144, 148, 152})
        EXPECT_EQ(Bytes({0, 0, 0, 1}), Bytes(b + at, b + at + 4)) << at;
    EXPECT_EQ("HW-A", std::string(reinterpret_cast<const char*>(b + 112)));
    EXPECT_EQ("SW-B", std::string(reinterpret_cast<const char*>(b + 128)));
    EXPECT_EQ(Bytes({0x75, 0x31, 0, 0, 0, 80}), Bytes(b + 156, b + 162));
    EXPECT_EQ("198.51.100.9", std::string(reinterpret_cast<const char*>(b + 162)));
    EXPECT_EQ("2024-01-02 03:04:05", std::string(reinterpret_cast<const char*>(b + 210)));
    EXPECT_EQ(0, b[273]);
}

TEST(BroadcastCommand, RoundTripGivesTheFixedPorts) {
    DeviceNetwork net;
    net.setLocalIp(std::string(48, '7').c_str());  // fills its width: no terminator on the wire
    net.setControlPort(555);
    net.setRegisterPort(666);
    net.setHttpPort(777);
    DeviceSummaryInfo summary = sampleSummary();
    summary.setDeviceId(std::string(40, 'x'));  // cut to the 32 bytes of the field
    BroadcastCommand sender(summary, net);
    CommandBuffer wire;
    ASSERT_EQ(0, sender.encode(wire));

    BroadcastCommand got;
    ASSERT_EQ(0, got.decode(wire));
    const DeviceSummaryInfo& s = got.getDeviceSummaryInfo();
    EXPECT_EQ(std::string(32, 'x'), s.getDeviceId());
    EXPECT_EQ("MID-7", s.getManufacturerId());
    EXPECT_EQ(-3, s.getDeviceType());
    EXPECT_EQ("Maker", s.getManufacturerName());
    EXPECT_EQ("HW-A", s.getHardWareInfo());
    EXPECT_EQ("SW-B", s.getSoftWareInfo());
    EXPECT_EQ(std::string(48, '7'), s.getDeviceIP());
    EXPECT_EQ(30001, s.getDevicePort());
    EXPECT_EQ("2024-01-02 03:04:05", s.getDeviceTime());
    EXPECT_EQ("", s.getProductModel());
    const DeviceNetwork& n = got.getDeviceNetwork();
    EXPECT_EQ(std::string(48, '7'), n.getLocalIp());
    EXPECT_EQ(30001, n.getControlPort());
    EXPECT_EQ(0, n.getRegisterPort());
    EXPECT_EQ(80, n.getHttpPort());
}

TEST(BroadcastCommand, BodyLengthLimits) {
    BroadcastCommand sender(sampleSummary(), DeviceNetwork());
    CommandBuffer wire;
    ASSERT_EQ(0, sender.encode(wire));
    Bytes full = bytesOf(wire);
    Bytes body(full.begin() + 76, full.end());

    auto decodeWith = [&](size_t bodyBytes, int32_t declared, BroadcastCommand& cmd) {
        Bytes part(body.begin(), body.begin() + bodyBytes);
        CommandBuffer in = bufferOf(announcementCommand(16, declared, part));
        return cmd.decode(in);
    };
    BroadcastCommand cmd;
    EXPECT_EQ(-404, decodeWith(209, 209, cmd));
    EXPECT_EQ(-404, decodeWith(274, 273, cmd));
    EXPECT_EQ(-404, decodeWith(274, 275, cmd));
    EXPECT_EQ(-404, decodeWith(0, 0, cmd));
    BroadcastCommand shortOne;
    ASSERT_EQ(0, decodeWith(210, 210, shortOne));
    EXPECT_EQ("", shortOne.getDeviceSummaryInfo().getDeviceTime());
    EXPECT_EQ("NVR-42", shortOne.getDeviceSummaryInfo().getDeviceId());
    BroadcastCommand partial;
    ASSERT_EQ(0, decodeWith(215, 215, partial));
    EXPECT_EQ("2024-", partial.getDeviceSummaryInfo().getDeviceTime());
    // A longer body than the record is accepted; the fields stay where they are.
    Bytes longer = body;
    longer.resize(400, 'z');
    CommandBuffer in = bufferOf(announcementCommand(16, 400, longer));
    BroadcastCommand big;
    ASSERT_EQ(0, big.decode(in));
    EXPECT_EQ("2024-01-02 03:04:05", big.getDeviceSummaryInfo().getDeviceTime());
    // Another identifier.
    CommandBuffer other = bufferOf(announcementCommand(17, 274, body));
    EXPECT_EQ(-401, cmd.decode(other));
}

}  // namespace
