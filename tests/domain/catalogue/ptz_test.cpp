// PTZ records: the hand-written PTZOperationInfo (fixed array of three alarm
// line states) and the quirks of the generated codecs around it.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/DomainContainer.h"
#include "domain/DomainFactory.h"
#include "domain/codecs/PTZOperationInfoXml.h"
#include "domain/codecs/PTZPresetXml.h"
#include "domain/codecs/PTZSpeedXml.h"
#include "domain/codecs/PTZTrackXml.h"

namespace {

using namespace catalogue_test;

std::vector<int> ptzStates(const PTZOperationInfo& info) {
    const unsigned char* states = info.getAlarmIOStateList();
    return std::vector<int>(states, states + PTZOperationInfo::kAlarmIOStateCount);
}

PTZOperationInfo ptzSampleState() {
    PTZOperationInfo info;
    info.setCommonID(1);
    info.setPanSpeed(2);
    info.setTiltSpeed(3);
    info.setZoomSpeedValue(4);
    info.setFocusSpeedValue(5);
    info.setDirectionValue(6);
    info.setStopTime(7);
    info.setType(8);
    PTZPointParam point;
    point.setPanPosion(10);
    point.setPTZID(2);
    info.setPTZPointParamV2(point);
    const unsigned char states[] = {1, 0, 255};
    info.setAlarmIOStateList(states);
    info.setPTZVersion("V1.2");
    info.setMCUTemperature(36.5);
    info.setVerticalMaxPosition(90);
    return info;
}

TEST(PtzCatalogue, OperationInfoBuildWritesThreeStates) {
    NodePtr node(new DomainXmlNode("PTZOperationInfo"));
    ASSERT_TRUE(PTZOperationInfoXml().createDomainXmlNode(ptzSampleState(), node));
    EXPECT_EQ(printXml(node),
              "<PTZOperationInfo CommonID=\"1\" PanSpeed=\"2\" TiltSpeed=\"3\" ZoomSpeedValue=\"4\" "
              "FocusSpeedValue=\"5\" DirectionValue=\"6\" StopTime=\"7\" Type=\"8\" PTZVersion=\"V1.2\" "
              "MCUTemperature=\"36.500000\" VerticalMaxPosition=\"90\">\n"
              "\t<PTZPointParamV2 PanPosion=\"10\" TiltPosion=\"0\" ZoomValue=\"0\" DZoomValue=\"0\" "
              "DayFocusValue=\"0\" NightFocusValue=\"0\" PTZID=\"2\" />\n"
              "\t<AlarmIOStateList>\n"
              "\t\t<AlarmIOState AlarmIOState=\"1\" />\n"
              "\t\t<AlarmIOState AlarmIOState=\"0\" />\n"
              "\t\t<AlarmIOState AlarmIOState=\"255\" />\n"
              "\t</AlarmIOStateList>\n"
              "</PTZOperationInfo>\n");

    // A fresh record still writes all three states.
    NodePtr empty(new DomainXmlNode("State"));
    ASSERT_TRUE(PTZOperationInfoXml().createDomainXmlNode(PTZOperationInfo(), empty));
    NodePtr list;
    ASSERT_TRUE(empty->getConfigNode("AlarmIOStateList", list));
    DomainXmlNode::NodeVector items;
    list->getAllConfigNodes(items);
    EXPECT_EQ(items.size(), 3u);

    NodePtr none;
    EXPECT_FALSE(PTZOperationInfoXml().createDomainXmlNode(ptzSampleState(), none));
}

TEST(PtzCatalogue, OperationInfoParseFillsAtMostThreeStates) {
    const std::string head = "<PTZOperationInfo CommonID=\"4\" MCUTemperature=\"41.25\"><AlarmIOStateList>";
    const std::string tail = "</AlarmIOStateList></PTZOperationInfo>";
    std::string printed;

    PTZOperationInfo two = ptzSampleState();
    EXPECT_TRUE(parseCaptured<PTZOperationInfoXml>(
        head + "<AlarmIOState AlarmIOState=\"1\" /><AlarmIOState AlarmIOState=\"1\" />" + tail, two,
        printed));
    EXPECT_EQ(printed, "");
    EXPECT_EQ(ptzStates(two), (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(two.getCommonID(), 4);
    EXPECT_DOUBLE_EQ(two.getMCUTemperature(), 41.25);
    // Reset attributes and the optional position child.
    EXPECT_EQ(two.getPanSpeed(), 0);
    EXPECT_EQ(two.getPTZVersion(), "");
    EXPECT_EQ(two.getPTZPointParamV2().getPanPosion(), 10);

    PTZOperationInfo four;
    EXPECT_TRUE(parseCaptured<PTZOperationInfoXml>(
        head +
            "<AlarmIOState AlarmIOState=\"2\" /><Other AlarmIOState=\"7\" />"
            "<AlarmIOState AlarmIOState=\"258\" /><AlarmIOState />"
            "<AlarmIOState AlarmIOState=\"9\" />" +
            tail,
        four, printed));
    // Items are taken by their tag, cut to 8 bits, one without a value reads 0,
    // and the fourth is not read.
    EXPECT_EQ(ptzStates(four), (std::vector<int>{2, 2, 0}));

    PTZOperationInfo absent = ptzSampleState();
    EXPECT_TRUE(parseCaptured<PTZOperationInfoXml>("<PTZOperationInfo />", absent, printed));
    EXPECT_EQ(ptzStates(absent), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(absent.getVerticalMaxPosition(), 0);

    NodePtr none;
    EXPECT_FALSE(PTZOperationInfoXml().parseDomainXmlNode(none, absent));
}

TEST(PtzCatalogue, OperationInfoValueSemanticsAndEntryPoints) {
    PTZOperationInfo original = ptzSampleState();
    PTZOperationInfo copy(original);
    EXPECT_EQ(copy.getDomainId(), 243);
    EXPECT_EQ(ptzStates(copy), (std::vector<int>{1, 0, 255}));
    PTZOperationInfo assigned;
    assigned = original;
    EXPECT_EQ(ptzStates(assigned), (std::vector<int>{1, 0, 255}));
    EXPECT_EQ(assigned.getPTZPointParamV2().getPTZID(), 2);
    assigned.setAlarmIOStateList(nullptr);
    EXPECT_EQ(ptzStates(assigned), (std::vector<int>{1, 0, 255}));

    // Container round trip through the virtual operations.
    DomainVectorContainer<PTZOperationInfo> states;
    EXPECT_EQ(states.getElementDomainId(), 243);
    states.getItems().push_back(original);
    states.getItems().push_back(PTZOperationInfo());
    NodePtr node(new DomainXmlNode("PTZOperationInfoList"));
    ASSERT_TRUE(PTZOperationInfoXml().createDomainXmlNode(&states, node));
    DomainXmlNode::NodeVector items;
    ASSERT_TRUE(node->getConfigNodes("PTZOperationInfo", items));
    EXPECT_EQ(items.size(), 2u);
    DomainVectorContainer<PTZOperationInfo> back;
    ASSERT_TRUE(PTZOperationInfoXml().parseDomainXmlNode(node, &back));
    ASSERT_EQ(back.getItems().size(), 2u);
    EXPECT_EQ(ptzStates(back.getItems()[0]), (std::vector<int>{1, 0, 255}));
    EXPECT_EQ(back.getItems()[0].getPTZVersion(), "V1.2");

    // A record of another type is refused.
    PTZSpeed speed;
    EXPECT_FALSE(PTZOperationInfoXml().createDomainXmlNode(&speed, node));

    // The factories make it by name.
    std::unique_ptr<BaseDomain> made(createDomain("PTZOperationInfo"));
    ASSERT_TRUE(made);
    EXPECT_EQ(made->getDomainId(), 243);
}

TEST(PtzCatalogue, PresetKeepsItsStateWhenTheChildIsAbsent) {
    PTZPreset preset;
    preset.setPTZOperationInfo(ptzSampleState());
    std::string printed;
    EXPECT_TRUE(
        parseCaptured<PTZPresetXml>("<PTZPreset PresetId=\"5\" PresetName=\"gate\" />", preset, printed));
    EXPECT_EQ(preset.getPresetId(), 5);
    EXPECT_EQ(ptzStates(preset.getPTZOperationInfo()), (std::vector<int>{1, 0, 255}));

    EXPECT_TRUE(parseCaptured<PTZPresetXml>(
        "<PTZPreset><PTZOperationInfo CommonID=\"9\"><AlarmIOStateList><AlarmIOState AlarmIOState=\"3\" />"
        "</AlarmIOStateList></PTZOperationInfo></PTZPreset>",
        preset, printed));
    EXPECT_EQ(preset.getPTZOperationInfo().getCommonID(), 9);
    EXPECT_EQ(ptzStates(preset.getPTZOperationInfo()), (std::vector<int>{3, 0, 0}));
}

TEST(PtzCatalogue, ResetDefaultsAndLists) {
    PTZSpeed speed;
    EXPECT_EQ(speed.getSpeed(), 32);
    std::string printed;
    EXPECT_TRUE(parseCaptured<PTZSpeedXml>("<PTZSpeed ChannelId=\"1\" />", speed, printed));
    EXPECT_EQ(speed.getSpeed(), 0);

    PTZTrack track;
    track.setCmdItemList(std::vector<PTZTraceCmdItem>(2));
    EXPECT_TRUE(parseCaptured<PTZTrackXml>("<PTZTrack ID=\"1\" Name=\"t\" />", track, printed));
    EXPECT_TRUE(track.getCmdItemList().empty());
}

TEST(PtzCatalogue, FactoryNamesOfScanAbilityAndNorth) {
    std::string name;
    ASSERT_TRUE(getDomainName(302, name));
    EXPECT_EQ(name, "ScanAbilityParamV2");
    std::unique_ptr<BaseDomain> scan(createDomain("ScanAbilityParamV2"));
    ASSERT_TRUE(scan);
    EXPECT_EQ(scan->getDomainId(), 302);
    std::unique_ptr<BaseDomain> scans(createDomain("ScanAbilityParamList"));
    ASSERT_TRUE(scans);
    EXPECT_EQ(static_cast<DomainContainer*>(scans.get())->getElementDomainId(), 302);

    testing::internal::CaptureStdout();
    std::unique_ptr<BaseDomain> wrongKey(createDomain("PTZNorthList"));
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(wrongKey);
    std::unique_ptr<BaseDomain> norths(createDomain("PTZNorthV2List"));
    ASSERT_TRUE(norths);
    EXPECT_EQ(static_cast<DomainContainer*>(norths.get())->getElementDomainId(), 242);
}

}  // namespace
