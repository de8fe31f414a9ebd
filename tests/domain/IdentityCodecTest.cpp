// Generated codecs of the identity, session and discovery records, end to end.
#include <gtest/gtest.h>

#include <string>

#include "domain/DomainContainer.h"
#include "domain/DomainFactory.h"
#include "domain/codecs/ChannelInfoXml.h"
#include "domain/codecs/DeviceBaseInfoXml.h"
#include "domain/codecs/DeviceInfoXml.h"
#include "domain/codecs/DeviceResetCommandInfoXml.h"
#include "domain/codecs/DeviceSummaryInfoXml.h"
#include "domain/codecs/EtPTZOperationXml.h"
#include "domain/codecs/EtResultXml.h"
#include "domain/codecs/HardwareCapabilityXml.h"
#include "domain/codecs/InetAddrXml.h"
#include "domain/codecs/MachineInfoXml.h"
#include "domain/codecs/NVRDeviceAbilityXml.h"
#include "domain/codecs/SearchDeviceInfoExXml.h"
#include "domain/codecs/SystemRebootTypeXml.h"
#include "domain/codecs/TimeRebootParamXml.h"
#include "domain/xml/IDomainXml.h"

namespace {

typedef SafePointer<DomainXmlNode> Node;

Node parseText(const std::string& text) {
    Node node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node));
    return node;
}

std::string print(const Node& node) {
    std::string text;
    DomainXmlNode::toString(node, text);
    return text;
}

TEST(IdentityCodecTest, InetAddrThroughTheFactories) {
    InetAddr addr;
    addr.setIP("192.168.1.10");
    addr.setPORT(30001);
    addr.setIPProtoVer(1);
    Node node;
    ASSERT_TRUE(domainToXmlNode("InetAddr", &addr, node));
    EXPECT_EQ("<InetAddr IP=\"192.168.1.10\" PORT=\"30001\" IPProtoVer=\"1\" />\n", print(node));

    Node wide = parseText("<InetAddr IP=\"::1\" PORT=\"70000\" IPProtoVer=\"2\" />");
    InetAddr back;
    std::string name;
    ASSERT_TRUE(xmlNodeToDomain(wide, name, &back));
    EXPECT_EQ("InetAddr", name);
    EXPECT_EQ("::1", back.getIP());
    EXPECT_EQ(4464, back.getPORT());
    EXPECT_EQ(2, back.getIPProtoVer());
    EXPECT_FALSE(domainToXmlNode("X", nullptr, node));
}

TEST(IdentityCodecTest, DeviceSummaryInfoRoundTrip) {
    DeviceSummaryInfo info;
    info.setDeviceId("dev-1");
    info.setDeviceType(3);
    info.setDeviceName("Cam <1>");
    info.setDevicePort(30001);
    info.setSoftWareInfo("V1.0");
    info.setHttpPort("80");
    Node node(new DomainXmlNode("DeviceSummaryInfo"));
    DeviceSummaryInfoXml codec;
    ASSERT_TRUE(codec.createDomainXmlNode(static_cast<const BaseDomain*>(&info), node));
    EXPECT_EQ(
        "<DeviceSummaryInfo DeviceId=\"dev-1\" DeviceType=\"3\" DeviceName=\"Cam &lt;1&gt;\" DeviceIP=\"\" "
        "DevicePort=\"30001\" MACAddr=\"\" ManufacturerName=\"\" ManufacturerId=\"\" ProductModel=\"\" "
        "SN=\"\" "
        "SoftWareInfo=\"V1.0\" HardWareInfo=\"\" UpdatePort=\"\" HttpPort=\"80\" DeviceTime=\"\" />\n",
        print(node));
    Node reread = parseText(print(node));
    DeviceSummaryInfo back;
    ASSERT_TRUE(codec.parseDomainXmlNode(reread, static_cast<BaseDomain*>(&back)));
    EXPECT_TRUE(back == info);
}

TEST(IdentityCodecTest, EtResultAndContainers) {
    EtResult result;
    result.setCode(-3);
    Node node;
    ASSERT_TRUE(domainToXmlNode("Result", &result, node));
    EXPECT_EQ("<Result Code=\"-3\" />\n", print(node));
    EtResult back;
    back.setCode(5);
    Node bare = parseText("<Result />");
    std::string name;
    ASSERT_TRUE(xmlNodeToDomain(bare, name, &back));
    EXPECT_EQ(0, back.getCode());  // reset: an absent Code reads as 0

    DomainVectorContainer<EtResult> results;
    results.getItems().resize(2);
    results.getItems()[1].setCode(1);
    ASSERT_TRUE(domainToXmlNode("ResultList", &results, node));
    EXPECT_EQ("<ResultList>\n\t<EtResult Code=\"0\" />\n\t<EtResult Code=\"1\" />\n</ResultList>\n",
              print(node));
    DomainVectorContainer<EtResult> parsed;
    ASSERT_TRUE(xmlNodeToDomain(node, name, &parsed));
    ASSERT_EQ(2u, parsed.getItems().size());
    EXPECT_EQ(1, parsed.getItems()[1].getCode());

    // The virtual build refuses another record type and a container of another type.
    ChannelInfoXml channelCodec;
    DomainVectorContainer<ChannelInfo> noChannels;
    Node empty(new DomainXmlNode("ChannelInfoList"));
    EXPECT_TRUE(channelCodec.createDomainXmlNode(&noChannels, empty));
    EXPECT_EQ("<ChannelInfoList />\n", print(empty));
    DomainVectorContainer<InetAddr> addrs;
    EXPECT_FALSE(channelCodec.createDomainXmlNode(&addrs, empty));
    InetAddr single;
    EXPECT_FALSE(channelCodec.createDomainXmlNode(&single, empty));
    EXPECT_FALSE(channelCodec.parseDomainXmlNode(empty, &single));

    // A failed list parse leaves the container as it was.
    DomainVectorContainer<MachineInfo> machines;
    machines.getItems().resize(1);
    Node badList = parseText("<MachineInfoList><MachineInfo /></MachineInfoList>");
    MachineInfoXml machineCodec;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(machineCodec.parseDomainXmlNode(badList, &machines));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(1u, machines.getItems().size());
}

TEST(IdentityCodecTest, IdentityEdgeCases) {
    DeviceInfoXml deviceCodec;
    DeviceInfo device;
    Node noAddr = parseText("<DeviceInfo UserID=\"u\" />");
    ASSERT_TRUE(deviceCodec.parseDomainXmlNode(noAddr, device));
    EXPECT_EQ("", device.getDeviceAddr().getIP());
    EXPECT_EQ("u", device.getUserID());

    SearchDeviceInfoExXml searchCodec;
    SearchDeviceInfoEx search;
    search.setDeviceName("old");
    Node longName = parseText("<S DeviceName=\"" + std::string(33, 'x') + "\" CameraNum=\"4\" />");
    ASSERT_TRUE(searchCodec.parseDomainXmlNode(longName, search));
    EXPECT_STREQ("old", search.getDeviceName());
    EXPECT_EQ(4, search.getCameraNum());

    SystemRebootTypeXml rebootCodec;
    SystemRebootType reboot;
    reboot.setRebootType(9);
    Node noType = parseText("<S RebootType=\"2\" />");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(rebootCodec.parseDomainXmlNode(noType, reboot));
    EXPECT_EQ("SystemRebootTypeXml::parseDomainXmlNode get MessageType failed \n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(9, reboot.getRebootType());

    MachineInfoXml machineCodec;
    MachineInfo machine;
    Node noAttributes = parseText("<M />");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(machineCodec.parseDomainXmlNode(noAttributes, machine));
    EXPECT_EQ("MachineInfoXml::parseDomainXmlNode get DeviceType failed \n",
              testing::internal::GetCapturedStdout());

    DeviceResetCommandInfoXml resetCodec;
    DeviceResetCommandInfo reset;
    ASSERT_TRUE(resetCodec.parseDomainXmlNode(noAttributes, reset));
    EXPECT_TRUE(reset.getHoldTypeList().empty());

    TimeRebootParamXml timeCodec;
    TimeRebootParam timeReboot;
    timeReboot.setRebootTimeList(std::vector<RebootTime>(2));
    ASSERT_TRUE(timeCodec.parseDomainXmlNode(noAttributes, timeReboot));
    EXPECT_TRUE(timeReboot.getRebootTimeList().empty());  // reset list: absent empties it
}

TEST(IdentityCodecTest, ShortAndLoggedLines) {
    HardwareCapabilityXml hardwareCodec;
    HardwareCapability hardware;
    Node onlyChannels = parseText(
        "<H ChannelNum=\"4\" AudioInNum=\"1\" SoundChannelType=\"1\" AudioOutNum=\"1\" "
        "AlarmInNum=\"1\" AlarmOutNum=\"1\" RS485Num=\"1\" RS232Num=\"1\" WireNetworkNum=\"1\" "
        "USBNum=\"1\" SDNum=\"1\" HardDiskNum=\"1\" WiFiEnable=\"true\" POEEnable=\"true\" "
        "IREnable=\"true\" PIREnable=\"true\" BNCEnable=\"true\" />");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(hardwareCodec.parseDomainXmlNode(onlyChannels, hardware));
    EXPECT_EQ("getProperty get InternalPTZEnable failed \n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(4, hardware.getChannelNum());

    NVRDeviceAbilityXml abilityCodec;
    NVRDeviceAbility ability;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(abilityCodec.parseDomainXmlNode(onlyChannels, ability));
    std::string lines = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, lines.find("getProperty get MaxChannelNumber failed \n"));
    EXPECT_NE(std::string::npos, lines.find("getConfigNode NODE_MONITOR_ABILITY_LIST "
                                            "failed\nparseDomainXmlNode objMonitorAbilityList failed\n"));
    EXPECT_NE(std::string::npos, lines.find("getProperty get DoubleVoFlag failed \n"));
    EXPECT_NE(std::string::npos, lines.find("getConfigNode NODE_FILE_SYSTEM_ABILITY_LIST failed\n"));
}

TEST(IdentityCodecTest, DeviceBaseInfoDefaultsAndVersion) {
    DeviceBaseInfo info;
    EXPECT_EQ(1, info.getIPProtoVer());
    EXPECT_EQ(1, info.getState());
    info.setIPProtoVer(2);
    info.setState(5);
    Node bare = parseText("<DeviceBaseInfo><Version SoftwareVer=\"2.1\" /></DeviceBaseInfo>");
    DeviceBaseInfoXml codec;
    ASSERT_TRUE(codec.parseDomainXmlNode(bare, info));
    EXPECT_EQ(1, info.getIPProtoVer());  // an absent IPProtoVer or State reads as 1
    EXPECT_EQ(1, info.getState());
    EXPECT_EQ("2.1", info.getVersion().getSoftwareVer());
    EXPECT_EQ("", info.getVersion().getHardwareVer());
}

TEST(IdentityCodecTest, EtPTZOperationKeepsItsDefaults) {
    EtPTZOperation operation;
    EXPECT_EQ(1, operation.getCameraId());
    EXPECT_EQ(1, operation.getPTZId());
    Node node = parseText("<PTZOperation PTZOperation=\"left\" />");
    EtPTZOperationXml codec;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(codec.parseDomainXmlNode(node, operation));
    std::string lines = testing::internal::GetCapturedStdout();
    EXPECT_EQ(1, operation.getCameraId());
    EXPECT_EQ(1, operation.getPTZId());
    EXPECT_EQ("left", operation.getPTZOperation());
    EXPECT_NE(std::string::npos, lines.find("###########   EtPTZOperationXml    ########### \n"));
    EXPECT_NE(std::string::npos,
              lines.find("getProperty get CameraId failed \ngetProperty get nCameraID =1  \n"));
    EXPECT_NE(std::string::npos, lines.find("getProperty get Name failed \n"));

    operation.setCameraId(4);
    Node out(new DomainXmlNode("PTZOperation"));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(codec.createDomainXmlNode(operation, out));
    lines = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, lines.find("setProperty get nCameraID =4  \n"));
    EXPECT_EQ("<PTZOperation CameraId=\"4\" PTZId=\"1\" PTZOperation=\"left\" Name=\"\" />\n", print(out));
}

}  // namespace
