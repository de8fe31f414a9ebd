// Thermal and fisheye records: the text lists read by a format, optional
// defaults that survive a parse, the own lines, and the traced fisheye codec.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/codecs/AreaFeatureTemperatureXml.h"
#include "domain/codecs/ThermalAbilityXml.h"
#include "domain/codecs/ThermalAreaOperationConfigXml.h"
#include "domain/codecs/ThermalImagerConfigureParamXml.h"
#include "domain/codecs/ThermalTemperatureMeasureParamXml.h"
#include "domain/codecs/hand/FisheyeVideoLayoutSupportXml.h"
#include "domain/codecs/hand/TemperatureAreaAndAlarmParamXml.h"
#include "domain/codecs/hand/ThermalOperateResultCodeXml.h"

namespace {

using namespace catalogue_test;

OLPointCoordinate point(int x, int y) {
    OLPointCoordinate p;
    p.setPointX(x);
    p.setPointY(y);
    return p;
}

TEST(ThermalArea, PointsTravelAsOneText) {
    TemperatureAreaAndAlarmParam area;
    area.setAreaId(2);
    ASSERT_TRUE(area.setAreaName("gate"));
    area.setPointCoordinateList({point(10, 20), point(-30, 40)});
    NodePtr node(new DomainXmlNode("TemperatureAreaAndAlarmParam"));
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().createDomainXmlNode(area, node));
    EXPECT_EQ(
        printXml(node),
        "<TemperatureAreaAndAlarmParam AreaId=\"2\" AreaName=\"gate\" AlarmEnableFlag=\"false\" "
        "AlarmType=\"1\" WarningAlarmValue=\"48.000000\" AlarmValue=\"50.000000\" Emissivity=\"0.950000\" "
        "TargetSpace=\"5.000000\">\n"
        "\t<TemperatureMeasureArea AreaEnableFlag=\"false\" AreaShapeType=\"0\" "
        "PointCoordinateList=\"(10, 20);(-30, 40)\" />\n"
        "</TemperatureAreaAndAlarmParam>\n");

    TemperatureAreaAndAlarmParam back;
    NodePtr reread = parseXml(printXml(node));
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(reread, back));
    ASSERT_EQ(back.getPointCoordinateList().size(), 2u);
    EXPECT_EQ(back.getPointCoordinateList()[1].getPointX(), -30);
    EXPECT_EQ(back.getPointCoordinateList()[1].getPointY(), 40);
    EXPECT_EQ(std::string(back.getAreaName()), "gate");

    // No point gives an empty text; an empty text gives an empty list.
    TemperatureAreaAndAlarmParam none;
    NodePtr emptyNode(new DomainXmlNode("A"));
    TemperatureAreaAndAlarmParamXml().createDomainXmlNode(none, emptyNode);
    EXPECT_NE(printXml(emptyNode).find("PointCoordinateList=\"\""), std::string::npos);
    NodePtr emptyText = parseXml("<A><TemperatureMeasureArea PointCoordinateList=\"\" /></A>");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(emptyText, back));
    EXPECT_TRUE(back.getPointCoordinateList().empty());

    // Without the attribute the list stays as it was; a piece out of form is skipped.
    back.setPointCoordinateList({point(1, 2)});
    NodePtr noList = parseXml("<A><TemperatureMeasureArea AreaShapeType=\"3\" /></A>");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(noList, back));
    ASSERT_EQ(back.getPointCoordinateList().size(), 1u);
    EXPECT_EQ(back.getAreaShapeType(), 3);
    NodePtr odd = parseXml("<A><TemperatureMeasureArea PointCoordinateList=\"(5,6);;junk;(7, 8)\" /></A>");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(odd, back));
    ASSERT_EQ(back.getPointCoordinateList().size(), 2u);
    EXPECT_EQ(back.getPointCoordinateList()[0].getPointY(), 6);
    EXPECT_EQ(back.getPointCoordinateList()[1].getPointX(), 7);
}

TEST(ThermalArea, OptionalItemsKeepTheirDefaults) {
    TemperatureAreaAndAlarmParam area;
    NodePtr node = parseXml("<A AreaId=\"4\" AlarmValue=\"61.5\" />");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(node, area));
    EXPECT_EQ(area.getAreaId(), 4);
    EXPECT_FLOAT_EQ(area.getAlarmValue(), 61.5f);
    EXPECT_EQ(area.getAlarmType(), 1);
    EXPECT_FLOAT_EQ(area.getWarningAlarmValue(), 48.0f);
    EXPECT_FLOAT_EQ(area.getEmissivity(), 0.95f);
    EXPECT_FLOAT_EQ(area.getTargetSpace(), 5.0f);

    // The name is a fixed field of 32 characters: 33 are refused, the parse goes on.
    ASSERT_TRUE(area.setAreaName("old"));
    NodePtr longName = parseXml("<A AreaName=\"" + std::string(33, 'n') + "\" AreaId=\"9\" />");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(longName, area));
    EXPECT_EQ(std::string(area.getAreaName()), "old");
    EXPECT_EQ(area.getAreaId(), 9);
    NodePtr fits = parseXml("<A AreaName=\"" + std::string(32, 'n') + "\" />");
    ASSERT_TRUE(TemperatureAreaAndAlarmParamXml().parseDomainXmlNode(fits, area));
    EXPECT_EQ(std::string(area.getAreaName()), std::string(32, 'n'));

    // Inside the measuring parameter, as list items.
    ThermalTemperatureMeasureParam measure;
    NodePtr lists = parseXml(
        "<ThermalTemperatureMeasureParam MeasureMode=\"1\"><TemperatureAreaAndAlarmParamList>"
        "<TemperatureAreaAndAlarmParam AreaId=\"1\" /><Other AreaId=\"2\" "
        "/></TemperatureAreaAndAlarmParamList>"
        "</ThermalTemperatureMeasureParam>");
    ASSERT_TRUE(ThermalTemperatureMeasureParamXml().parseDomainXmlNode(lists, measure));
    ASSERT_EQ(measure.getTemperatureAreaAndAlarmParamList().size(), 2u);
    EXPECT_FLOAT_EQ(measure.getTemperatureAreaAndAlarmParamList()[1].getAlarmValue(), 50.0f);

    // ThermalImagerConfigureParam resets: an absent value overwrites the constructor's 25.0.
    ThermalImagerConfigureParam imager;
    EXPECT_FLOAT_EQ(imager.getEnvironmentTemperature(), 25.0f);
    NodePtr bare = parseXml("<T />");
    ASSERT_TRUE(ThermalImagerConfigureParamXml().parseDomainXmlNode(bare, imager));
    EXPECT_FLOAT_EQ(imager.getEnvironmentTemperature(), 0.0f);
    EXPECT_EQ(imager.getDisplayMode(), 0);
}

TEST(ThermalResultCode, NumberListsReadByFormat) {
    ThermalOperateResultCode code;
    NodePtr node = parseXml(
        "<ThermalOperateResultCode OperateReturnCode=\"-3\">"
        "<OperateItemId OperateItemIdList=\"(OperateId:5);(OperateId:7)\" />"
        "<ParamErrorCode ParamErrorCodeList=\"(ErrorCode:12)\" /></ThermalOperateResultCode>");
    ASSERT_TRUE(ThermalOperateResultCodeXml().parseDomainXmlNode(node, code));
    EXPECT_EQ(code.getOperateItemIdList(), (std::vector<int>{5, 7}));
    EXPECT_EQ(code.getParamErrorCodeList(), (std::vector<int>{12}));
    EXPECT_EQ(code.getOperateReturnCode(), -3);

    NodePtr built(new DomainXmlNode("ThermalOperateResultCode"));
    ASSERT_TRUE(
        ThermalOperateResultCodeXml().createDomainXmlNode(static_cast<const BaseDomain*>(&code), built));
    EXPECT_EQ(printXml(built),
              "<ThermalOperateResultCode OperateReturnCode=\"-3\">\n"
              "\t<OperateItemId OperateItemIdList=\"(OperateId:5);(OperateId:7)\" />\n"
              "\t<ParamErrorCode ParamErrorCodeList=\"(ErrorCode:12)\" />\n"
              "</ThermalOperateResultCode>\n");

    // Absent children and attributes keep what the record had.
    NodePtr bare = parseXml("<ThermalOperateResultCode />");
    ASSERT_TRUE(ThermalOperateResultCodeXml().parseDomainXmlNode(bare, code));
    EXPECT_EQ(code.getOperateItemIdList().size(), 2u);
    EXPECT_EQ(code.getOperateReturnCode(), -3);
}

TEST(ThermalCodecs, LinesAndStrictShape) {
    std::string out;
    ThermalAbility ability;
    EXPECT_TRUE(
        parseCaptured<ThermalAbilityXml>("<ThermalAbility SensorResolutionWidth=\"384\" />", ability, out));
    EXPECT_EQ(out, "=================getProperty get IsThermal failed \n");
    EXPECT_FALSE(ability.getIsThermal());
    EXPECT_EQ(ability.getSensorResolutionWidth(), 384);

    AreaFeatureTemperature feature;
    EXPECT_FALSE(parseCaptured<AreaFeatureTemperatureXml>(
        "<AreaFeatureTemperature AreaId=\"1\" TemperatureUnit=\"0\" AreaMaxTemperature=\"40\" />", feature,
        out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(feature.getAreaId(), 1);
    // A found point that fails leaves its default and the parse goes on to the next item.
    EXPECT_FALSE(parseCaptured<AreaFeatureTemperatureXml>(
        "<AreaFeatureTemperature AreaId=\"1\" TemperatureUnit=\"0\"><AreaMaxTemperaturePoint PointX=\"1\" />"
        "</AreaFeatureTemperature>",
        feature, out));
    EXPECT_EQ(out,
              "OLPointCoordinateXml::parseDomainXmlNode get PointY failed \n"
              "AreaFeatureTemperatureXml::parseDomainXmlNode get AreaMaxTemperature failed \n");

    ThermalAreaOperationConfig config;
    config.setAreaIdList({3, 4});
    NodePtr node = parseXml("<ThermalAreaOperationConfig AreaOperationConfigType=\"2\" />");
    ASSERT_TRUE(ThermalAreaOperationConfigXml().parseDomainXmlNode(node, config));
    EXPECT_EQ(config.getAreaIdList(), (std::vector<int>{3, 4}));
}

TEST(FisheyeLayoutSupport, LoggedShapeThroughTheTrace) {
    FisheyeVideoLayoutSupport support;
    support.setSensorSize(9);
    std::string out;
    // Silent in the default configuration.
    EXPECT_TRUE(parseCaptured<FisheyeVideoLayoutSupportXml>("<S />", support, out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(support.getSensorSize(), 0);

    ScopedTrace trace(3, true);
    EXPECT_TRUE(parseCaptured<FisheyeVideoLayoutSupportXml>("<S width=\"1920\" />", support, out));
    const std::string expectedStart =
        "getProperty get SensorSize failed \n"
        "getProperty get m_nheight failed \n"
        "thermal_codecs.cpp";
    EXPECT_EQ(out.substr(0, expectedStart.size()), expectedStart) << out;
    EXPECT_NE(out.find(" nSensorSize = 0 ,nwidth = 1920  nheight = 0  \n"
                       "getConfigNode NODE_FISHEYE_VIDEO_LAYOUT_LIST failed\n"
                       "parseDomainXmlNode objFisheyeVideoLayoutList failed\n"
                       "thermal_codecs.cpp"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find(" p_objFisheyeVideoLayoutSupportList.size() = 0  \n"), std::string::npos) << out;
    EXPECT_EQ(support.getwidth(), 1920);

    EXPECT_TRUE(parseCaptured<FisheyeVideoLayoutSupportXml>(
        "<S SensorSize=\"1\" width=\"2\" height=\"3\"><FisheyeVideoLayoutList><FisheyeVideoLayout "
        "DewarpMode=\"4\">"
        "<VideoRectList /></FisheyeVideoLayout></FisheyeVideoLayoutList></S>",
        support, out));
    EXPECT_NE(out.find("size() = 1  \n"), std::string::npos) << out;
    ASSERT_EQ(support.getFisheyeVideoLayoutList().size(), 1u);
    EXPECT_EQ(support.getFisheyeVideoLayoutList()[0].getDewarpMode(), 4);
}

}  // namespace
