#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "devsim/SimDevice.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "transport/CommandBuffer.h"

namespace {

DeviceBaseInfo sampleBaseInfo() {
    DeviceBaseInfo r;
    r.setDeviceID("DEV-9");
    r.setDeviceName("Lobby");
    r.setDeviceType(3);
    r.setDeviceIP("203.0.113.5");
    r.setDevicePort(30001);
    r.setIPProtoVer(1);
    r.setUserID("admin");
    r.setPassword("pw&<>");
    r.setManufacturerId("M1");
    r.setManufacturerName("Maker");
    r.setProductModel("PM-1");
    r.setProductDescription("desc");
    r.setMACAddress("00:aa:bb:cc:dd:ee");
    r.setBarCode("BAR");
    r.setProductionTime("2020");
    r.setHardwareModel("HM");
    r.setHardwareDescription("HD");
    r.setCameraNum(16);
    r.setAlarmInNum(4);
    r.setAlarmOutNum(2);
    r.setRS485Num(1);
    r.setDeviceTime("2024-02-03 04:05:06");
    r.setState(int64_t(5000000000LL));
    Version v;
    v.setHardwareVer("H1");
    v.setSoftwareVer("S2");
    r.setVersion(v);
    return r;
}

std::string bodyText(const CommandBuffer& wire) {
    return std::string(reinterpret_cast<const char*>(wire.getCursor() + 76));
}

TEST(DeviceBaseInfoCommand, EncodeFixesTheDocumentBytes) {
    DeviceBaseInfoCommand cmd(sampleBaseInfo());
    EXPECT_EQ(20, cmd.getCommandId());
    CommandBuffer out;
    ASSERT_EQ(0, cmd.encode(out));
    const std::string expected =
        "<DeviceBaseInfo DeviceID=\"DEV-9\" DeviceName=\"Lobby\" DeviceType=\"3\" DeviceIP=\"203.0.113.5\" "
        "DevicePort=\"30001\" IPProtoVer=\"1\" UserID=\"admin\" Password=\"pw&amp;&lt;&gt;\" "
        "ManufacturerId=\"M1\" "
        "ManufacturerName=\"Maker\" ProductModel=\"PM-1\" ProductDescription=\"desc\" "
        "MACAddress=\"00:aa:bb:cc:dd:ee\" BarCode=\"BAR\" ProductionTime=\"2020\" HardwareModel=\"HM\" "
        "HardwareDescription=\"HD\" CameraNum=\"16\" AlarmInNum=\"4\" AlarmOutNum=\"2\" RS485Num=\"1\" "
        "DeviceTime=\"2024-02-03 04:05:06\" State=\"5000000000\">\n"
        "\t<Version HardwareVer=\"H1\" SoftwareVer=\"S2\" />\n"
        "\t<CameraDevcieList />\n"
        "</DeviceBaseInfo>\n";
    EXPECT_EQ(expected, bodyText(out));
    EXPECT_EQ(int(expected.size() + 1), cmd.getBodyLength());
    EXPECT_EQ(76u + expected.size() + 1, out.getLength());
}

TEST(DeviceBaseInfoCommand, RoundTripAndDefaults) {
    DeviceBaseInfoCommand sender(sampleBaseInfo());
    CommandBuffer wire;
    ASSERT_EQ(0, sender.encode(wire));
    DeviceBaseInfoCommand got;
    ASSERT_EQ(0, got.decode(wire));
    const DeviceBaseInfo& r = got.getDeviceBaseInfo();
    EXPECT_EQ("DEV-9", r.getDeviceID());
    EXPECT_EQ("pw&<>", r.getPassword());
    EXPECT_EQ(30001, r.getDevicePort());
    EXPECT_EQ(16, r.getCameraNum());
    EXPECT_EQ(1, r.getRS485Num());
    EXPECT_EQ(int64_t(5000000000LL), r.getState());
    EXPECT_EQ("H1", r.getVersion().getHardwareVer());
    EXPECT_EQ("S2", r.getVersion().getSoftwareVer());
    EXPECT_EQ("2024-02-03 04:05:06", r.getDeviceTime());

    auto decodeText = [](const std::string& xml, DeviceBaseInfoCommand& cmd) {
        Bytes body = textBytes(xml);
        CommandBuffer in = bufferOf(announcementCommand(20, int32_t(body.size()), body));
        return cmd.decode(in);
    };
    DeviceBaseInfoCommand empty;
    ASSERT_EQ(0, decodeText("<DeviceBaseInfo/>", empty));
    const DeviceBaseInfo& e = empty.getDeviceBaseInfo();
    EXPECT_EQ(1, e.getIPProtoVer());
    EXPECT_EQ(1, e.getState());
    EXPECT_EQ("", e.getDeviceID());
    EXPECT_EQ(0, e.getDevicePort());
    EXPECT_EQ(0, e.getCameraNum());
    EXPECT_EQ("", e.getVersion().getHardwareVer());

    DeviceBaseInfoCommand partial;
    ASSERT_EQ(0, decodeText("<DeviceBaseInfo DeviceID=\"p\" State=\"junk\" DevicePort=\"65537\">"
                            "<Version SoftwareVer=\"only\"/>"
                            "<CameraDevcieList><CameraDevice Id=\"1\"/><CameraDevice/></CameraDevcieList>"
                            "</DeviceBaseInfo>",
                            partial));
    const DeviceBaseInfo& p = partial.getDeviceBaseInfo();
    EXPECT_EQ("", p.getVersion().getHardwareVer());
    EXPECT_EQ("only", p.getVersion().getSoftwareVer());
    EXPECT_EQ(1, p.getState());  // no number in the text keeps the default
    EXPECT_EQ(1, p.getDevicePort());
    EXPECT_TRUE(p.getCameraDevcieList().empty());

    DeviceBaseInfoCommand negative;
    ASSERT_EQ(0, decodeText("<DeviceBaseInfo State=\"-9000000000\" IPProtoVer=\"2\"/>", negative));
    EXPECT_EQ(int64_t(-9000000000LL), negative.getDeviceBaseInfo().getState());
    EXPECT_EQ(2, negative.getDeviceBaseInfo().getIPProtoVer());
}

TEST(DeviceBaseInfoCommand, MalformedBodiesAreRefused) {
    DeviceBaseInfoCommand cmd;
    auto decodeRaw = [&](int32_t id, const Bytes& body, int32_t delta) {
        CommandBuffer in = bufferOf(announcementCommand(id, int32_t(body.size()) + delta, body));
        return cmd.decode(in);
    };
    Bytes good = textBytes("<DeviceBaseInfo DeviceID=\"x\"/>");
    EXPECT_EQ(-401, decodeRaw(23, good, 0));
    EXPECT_EQ(-404, decodeRaw(20, good, 1));
    EXPECT_EQ(-404, decodeRaw(20, good, -1));
    EXPECT_EQ(-404, decodeRaw(20, {}, 0));
    EXPECT_EQ(-404, decodeRaw(20, textBytes("<DeviceInfo DeviceID=\"x\"/>"), 0));
    EXPECT_EQ(-404, decodeRaw(20, textBytes("<DeviceBaseInfo"), 0));
    EXPECT_EQ(-404, decodeRaw(20, textBytes("\xff\xfe garbage"), 0));
    EXPECT_EQ("", cmd.getDeviceBaseInfo().getDeviceID());
    EXPECT_EQ(0, decodeRaw(20, good, 0));
    EXPECT_EQ("x", cmd.getDeviceBaseInfo().getDeviceID());
}

}  // namespace
