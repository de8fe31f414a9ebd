// Port and hardware description records: the one strict codec and optional lists.

#include <gtest/gtest.h>

#include <string>

#include "CatalogueTestSupport.h"
#include "domain/codecs/ExternUARTAbilityXml.h"
#include "domain/codecs/HardwareInfoXml.h"
#include "domain/codecs/POEAbilityXml.h"

namespace {

using namespace catalogue_test;

TEST(Ports, MandatoryAndOptionalItems) {
    POEAbility poe;
    NodePtr empty = parseXml("<POEAbility />");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(POEAbilityXml().parseDomainXmlNode(empty, poe));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "POEAbilityXml::parseDomainXmlNode get POENumber failed \n");

    ExternUARTAbility uart;
    uart.setStopBitsList({"1", "2"});
    uart.setExternComInfoList(std::vector<ExternComInfo>(1));
    NodePtr node = parseXml(
        "<ExternUARTAbility><BaudRateList><BaudRate BaudRate=\"9600\" /><BaudRate BaudRate=\"115200\" />"
        "</BaudRateList><ParityList><Parity Parity=\"none\" /></ParityList></ExternUARTAbility>");
    ASSERT_TRUE(ExternUARTAbilityXml().parseDomainXmlNode(node, uart));
    EXPECT_EQ(uart.getStopBitsList(), (std::vector<std::string>{"1", "2"}));  // optional: kept
    EXPECT_TRUE(uart.getExternComInfoList().empty());                         // reset: emptied
    EXPECT_EQ(uart.getBaudRateList(), (std::vector<int>{9600, 115200}));
    EXPECT_EQ(uart.getParityList(), (std::vector<std::string>{"none"}));
}

TEST(Ports, HardwareInfoNestsFisheyeAndPtzItems) {
    HardwareInfo info;
    FisheyePTZParam fisheye;
    fisheye.setInternalFlag(true);
    std::vector<FisheyePTZParamItem> items(1);
    items[0].setPTZDeviceId(6);
    fisheye.setFisheyePTZParamList(items);
    info.setFisheyePTZ(fisheye);
    NodePtr node(new DomainXmlNode("HardwareInfo"));
    ASSERT_TRUE(HardwareInfoXml().createDomainXmlNode(static_cast<const BaseDomain*>(&info), node));
    std::string text;
    ASSERT_TRUE(DomainXmlNode::toString(node, text));
    EXPECT_NE(text.find("\t<FisheyePTZ InternalFlag=\"true\" ThreeDimensionalPositioningFlag=\"false\" "
                        "OSDSupportFlag=\"false\">\n\t\t<FisheyePTZParamList>\n\t\t\t<FisheyePTZParamItem "
                        "PTZEnableFlag=\"false\" CameraId=\"0\" PTZDeviceId=\"6\" />\n"),
              std::string::npos)
        << text;
    HardwareInfo back;
    NodePtr reread = parseXml(text);
    ASSERT_TRUE(HardwareInfoXml().parseDomainXmlNode(reread, static_cast<BaseDomain*>(&back)));
    ASSERT_EQ(back.getFisheyePTZ().getFisheyePTZParamList().size(), 1u);
    EXPECT_EQ(back.getFisheyePTZ().getFisheyePTZParamList()[0].getPTZDeviceId(), 6);
}

}  // namespace
