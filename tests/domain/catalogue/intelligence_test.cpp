// The shared shapes of the analysis ability records: printed form, the lines of
// the shared readers and the defaults they take, the ten-character unit.

#include <gtest/gtest.h>

#include <string>

#include "CatalogueTestSupport.h"
#include "domain/codecs/AdvancedAbilityXml.h"
#include "domain/codecs/AdvancedParamXml.h"
#include "domain/codecs/CameraTamperParamXml.h"
#include "domain/codecs/ConverseParamXml.h"
#include "domain/codecs/HCNTItemXml.h"
#include "domain/codecs/HCNTParamXml.h"
#include "domain/codecs/HCNTQueryResultXml.h"
#include "domain/codecs/IntelligentEventXml.h"
#include "domain/codecs/LineCrossXml.h"
#include "domain/codecs/LoiterParamXml.h"
#include "domain/codecs/MultiTripWireRegionParamXml.h"
#include "domain/codecs/PerimeterRegionParamXml.h"
#include "domain/codecs/SignalBadAbilityXml.h"
#include "domain/codecs/TripWireAbilityXml.h"
#include "domain/codecs/hand/IntelligenceAbilityShapes.h"
#include "domain/codecs/hand/IntelligenceLibInfoXml.h"
#include "domain/codecs/hand/PolygonAreaXml.h"

namespace {

using namespace catalogue_test;

TEST(IntelligenceShapes, BuildWritesUnitOnlyWhenSet) {
    NodePtr node(new DomainXmlNode("LoiterAbility"));
    AbilityRegion region;
    region.setEnable(true);
    region.setEdgeNum(8);
    region.setMaxRegionNum(4);
    AbilityFlag flag;
    flag.setEnable(true);
    AbilityRange range;
    range.setMin(-1);
    range.setMax(30);
    ASSERT_TRUE(range.setUnit("sec"));
    AbilityFloatRange angle;
    angle.setEnable(true);
    angle.setMin(1.5f);
    angle.setMax(90.f);
    EXPECT_TRUE(buildAbilityShape(node, "Region", region));
    EXPECT_TRUE(buildAbilityShape(node, "DetailGet", flag));
    EXPECT_TRUE(buildAbilityShape(node, "MinTime", range));
    EXPECT_TRUE(buildAbilityShape(node, "ConverseAngle", angle));
    EXPECT_EQ(printXml(node),
              "<LoiterAbility>\n"
              "\t<Region enable=\"true\" edgeNum=\"8\" maxRegionNum=\"4\" />\n"
              "\t<DetailGet enable=\"true\" />\n"
              "\t<MinTime enable=\"false\" min=\"-1\" max=\"30\" unit=\"sec\" />\n"
              "\t<ConverseAngle enable=\"true\" min=\"1.500000\" max=\"90.000000\" />\n"
              "</LoiterAbility>\n");

    NodePtr none;
    EXPECT_FALSE(buildAbilityShape(none, "Region", region));
}

TEST(IntelligenceShapes, AbsentChildrenLogAndReset) {
    NodePtr node = parseXml("<ConverseAbility LibId=\"1\" />");
    AbilityRegion region;
    fillAbilityShape(region, AbilityShapeKind::Region, 3);
    AbilityFlag flag;
    fillAbilityShape(flag, AbilityShapeKind::UnitFlag, 3);
    AbilityRange range;
    fillAbilityShape(range, AbilityShapeKind::Range, 3);
    AbilityFloatRange angle;
    fillAbilityShape(angle, AbilityShapeKind::FloatRange, 3);

    testing::internal::CaptureStdout();
    parseAbilityShape(node, "Region", AbilityShapeKind::Region, region);
    // A plain flag does not read its unit, but an absent child clears it all the same.
    parseAbilityShape(node, "DetailGet", AbilityShapeKind::Flag, flag);
    parseAbilityShape(node, "TargetType", AbilityShapeKind::PlainRange, range);
    parseAbilityShape(node, "ConverseAngle", AbilityShapeKind::FloatRange, angle);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "IntelligenceAnalyseAbilityXml::getRegionParam get Region Node In ConverseAbility Node Failed! \n"
        "IntelligenceAnalyseAbilityXml Failed! get DetailGet Node In ConverseAbility Node failed! can not "
        "find this node! \n"
        "IntelligenceAnalyseAbilityXml Failed! get TargetType Node In ConverseAbility Node failed! can not "
        "find this node! \n"
        "IntelligenceAnalyseAbilityXml Failed! get ConverseAngle Node In ConverseAbility Node failed! can "
        "not find this node! \n");
    EXPECT_EQ(region, AbilityRegion());
    EXPECT_EQ(flag, AbilityFlag());
    EXPECT_EQ(range, AbilityRange());
    EXPECT_EQ(angle, AbilityFloatRange());
}

TEST(IntelligenceShapes, MissingPartsLogTheirDefaults) {
    NodePtr node = parseXml(
        "<HCNTAbility>"
        "<Region maxRegionNum=\"3\" />"
        "<MaxHCNT unit=\"abc\" />"
        "<DetailGet enable=\"maybe\" />"
        "</HCNTAbility>");
    AbilityRegion region;
    fillAbilityShape(region, AbilityShapeKind::Region, 7);
    AbilityRange range;
    fillAbilityShape(range, AbilityShapeKind::Range, 7);
    AbilityFlag flag;
    flag.setEnable(true);

    testing::internal::CaptureStdout();
    parseAbilityShape(node, "Region", AbilityShapeKind::Region, region);
    parseAbilityShape(node, "MaxHCNT", AbilityShapeKind::PlainRange, range);
    parseAbilityShape(node, "DetailGet", AbilityShapeKind::Flag, flag);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "IntelligenceAnalyseAbilityXml::getRegionParam get Enable of Region Node In HCNTAbility Node "
        "Failed! Default false! \n"
        "IntelligenceAnalyseAbilityXml::getRegionParam get EdgeNum of Region Node In HCNTAbility Node "
        "Failed! Default 0! \n"
        "IntelligenceAnalyseAbilityXml Failed! get Enable of MaxHCNT Node In HCNTAbility Node failed! "
        "Default false! \n"
        "IntelligenceAnalyseAbilityXml Failed! get Min of MaxHCNT Node In HCNTAbility Node failed! Default "
        "0! \n"
        "IntelligenceAnalyseAbilityXml Failed! get Max of MaxHCNT Node In HCNTAbility Node failed! Default "
        "0! \n");
    EXPECT_FALSE(region.getEnable());
    EXPECT_EQ(region.getEdgeNum(), 0);
    EXPECT_EQ(region.getMaxRegionNum(), 3);
    EXPECT_FALSE(range.getEnable());
    EXPECT_EQ(range.getMin(), 0);
    EXPECT_EQ(range.getMax(), 0);
    // A plain range leaves its unit alone, though the element carries one.
    EXPECT_EQ(std::string(range.getUnit()), "u7");
    // An enable text other than true/false reads as false, without a line.
    EXPECT_FALSE(flag.getEnable());

    // An absent maxRegionNum is 0 without a line.
    NodePtr quiet = parseXml("<A><Region enable=\"TRUE\" edgeNum=\"6\" /></A>");
    testing::internal::CaptureStdout();
    parseAbilityShape(quiet, "Region", AbilityShapeKind::Region, region);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(region.getEnable());
    EXPECT_EQ(region.getEdgeNum(), 6);
    EXPECT_EQ(region.getMaxRegionNum(), 0);
}

TEST(IntelligenceShapes, UnitIsBoundedToTenCharacters) {
    AbilityRange range;
    ASSERT_TRUE(range.setUnit("old"));
    EXPECT_FALSE(range.setUnit("abcdefghijk"));
    EXPECT_EQ(std::string(range.getUnit()), "old");
    EXPECT_FALSE(range.setUnit(nullptr));
    EXPECT_TRUE(range.setUnit("abcdefghij"));
    EXPECT_EQ(std::string(range.getUnit()), "abcdefghij");

    // Through a parse: eleven characters keep the old unit, ten are stored, none clears it.
    range.setUnit("old");
    NodePtr node = parseXml(
        "<X><Long enable=\"true\" min=\"1\" max=\"2\" unit=\"abcdefghijk\" />"
        "<Ten enable=\"true\" min=\"1\" max=\"2\" unit=\"abcdefghij\" />"
        "<None enable=\"true\" min=\"1\" max=\"2\" /></X>");
    parseAbilityShape(node, "Long", AbilityShapeKind::Range, range);
    EXPECT_EQ(std::string(range.getUnit()), "old");
    EXPECT_EQ(range.getMax(), 2);
    parseAbilityShape(node, "Ten", AbilityShapeKind::Range, range);
    EXPECT_EQ(std::string(range.getUnit()), "abcdefghij");
    parseAbilityShape(node, "None", AbilityShapeKind::Range, range);
    EXPECT_EQ(std::string(range.getUnit()), "");

    // A unit flag reads the unit, a plain flag does not.
    NodePtr flags = parseXml("<X><F enable=\"true\" unit=\"m\" /></X>");
    AbilityFlag unitFlag, plainFlag;
    plainFlag.setUnit("keep");
    parseAbilityShape(flags, "F", AbilityShapeKind::UnitFlag, unitFlag);
    parseAbilityShape(flags, "F", AbilityShapeKind::Flag, plainFlag);
    EXPECT_EQ(std::string(unitFlag.getUnit()), "m");
    EXPECT_EQ(std::string(plainFlag.getUnit()), "keep");
    EXPECT_TRUE(plainFlag.getEnable());
}

// Fills a shape of kind, builds it under tag, reads it back and compares.
template <class Shape>
void expectShapeRoundTrip(AbilityShapeKind kind, const char* tag, int seed) {
    Shape in, out;
    fillAbilityShape(in, kind, seed);
    NodePtr node(new DomainXmlNode("X"));
    buildAbilityShape(node, tag, in);
    NodePtr reread = parseXml(printXml(node));
    parseAbilityShape(reread, tag, kind, out);
    EXPECT_EQ(in, out) << tag;
}

TEST(IntelligenceShapes, FilledShapesRoundTripForEveryKind) {
    for (AbilityShapeKind kind : {AbilityShapeKind::Flag, AbilityShapeKind::UnitFlag}) {
        expectShapeRoundTrip<AbilityFlag>(kind, "F", 12);
    }
    for (AbilityShapeKind kind : {AbilityShapeKind::Range, AbilityShapeKind::PlainRange}) {
        expectShapeRoundTrip<AbilityRange>(kind, "R", 5);
    }
    expectShapeRoundTrip<AbilityFloatRange>(AbilityShapeKind::FloatRange, "A", 2);
}

const char kEvent[] =
    "<IntelligentEvent SourceType=\"2\" SourceID=\"7\" SourceName=\"cam\" EnableFlag=\"true\" "
    "AlarmInterval=\"30\">"
    "<ScheduleTimeParam><ScheduleTimeList /></ScheduleTimeParam>"
    "<AlarmLinkageParamList><AlarmLinkageParam ActionType=\"1\" ActionID=\"4\" /></AlarmLinkageParamList>"
    "<PTZActionParamList /><AlarmOutActionList /><RecordActionParamList />"
    "</IntelligentEvent>";

const char kLoiterRegion[] =
    "<LoiterRegionParam TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"false\" "
    "MinTargetSize=\"2\" MaxTargetSize=\"9\" MinTime=\"5\" IsAnalysisPath=\"true\">"
    "<Region><OLPoint Xval=\"1.5\" Yval=\"2\" /><Corner Xval=\"3\" Yval=\"4.25\" /></Region>"
    "</LoiterRegionParam>";

TEST(IntelligenceAbilities, EnableLineAndShapesNeverFailTheParse) {
    std::string out;
    SignalBadAbility ability;
    EXPECT_FALSE(parseCaptured<SignalBadAbilityXml>("<SignalBadAbility LibId=\"3\" />", ability, out));
    EXPECT_EQ(out, "SignalBadAbilityXml::parseDomainXmlNode get Enable failed \n");
    EXPECT_EQ(ability.getLibId(), 3);

    // Missing shape children are logged with the element's name and read as defaults.
    TripWireAbility tripWire;
    EXPECT_TRUE(parseCaptured<TripWireAbilityXml>(
        "<TripWireAbility LibId=\"1\" enable=\"true\"><Region enable=\"true\" edgeNum=\"2\" "
        "maxRegionNum=\"8\" />"
        "<DetailGet enable=\"true\" /><TriggerDirection enable=\"true\" /><Bidirection enable=\"false\" />"
        "<TargetTypeConstrain enable=\"true\" min=\"0\" max=\"1\" /><TargetType enable=\"true\" min=\"1\" "
        "max=\"3\" />"
        "<TargetSizeConstrain enable=\"true\" min=\"0\" max=\"1\" /><MinTargetSize enable=\"true\" min=\"1\" "
        "max=\"100\" unit=\"px\" /></TripWireAbility>",
        tripWire, out));
    EXPECT_EQ(out,
              "IntelligenceAnalyseAbilityXml Failed! get MaxTargetSize Node In TripWireAbility Node failed! "
              "can not "
              "find this node! \n");
    EXPECT_EQ(tripWire.getRegion().getMaxRegionNum(), 8);
    EXPECT_EQ(std::string(tripWire.getMinTargetSize().getUnit()), "px");
    EXPECT_EQ(tripWire.getTargetType().getMax(), 3);

    // Shapes inside an inline child name that child in their lines.
    AdvancedAbility advanced;
    EXPECT_TRUE(parseCaptured<AdvancedAbilityXml>(
        "<AdvancedAbility enable=\"false\" LibId=\"2\"><Scene enable=\"true\" min=\"1\" max=\"4\" />"
        "<Hight enable=\"true\" unit=\"m\" /><Angle enable=\"true\" unit=\"deg\" /><FOV enable=\"true\" />"
        "<CameraShake enable=\"true\" min=\"0\" max=\"1\" unit=\"x\" /><HighNoise enable=\"true\" min=\"0\" "
        "max=\"1\" /><LowContrast enable=\"true\" min=\"0\" max=\"1\" /><PeriodMotion enable=\"true\" "
        "min=\"0\" "
        "max=\"1\" /><PeriodMotionTime enable=\"true\" min=\"1\" max=\"60\" unit=\"s\" />"
        "<PixelToRealSize enable=\"true\"><RealSize enable=\"true\" unit=\"cm\" /><Segment enable=\"true\" />"
        "</PixelToRealSize></AdvancedAbility>",
        advanced, out));
    EXPECT_EQ(
        out,
        "IntelligenceAnalyseAbilityXml Failed! get SegmentLayType Node In PixelToRealSize Node failed! can "
        "not find this node! \n");
    EXPECT_EQ(std::string(advanced.getHight().getUnit()), "m");
    EXPECT_EQ(std::string(advanced.getCameraShake().getUnit()), "");  // a plain range ignores its unit
    EXPECT_EQ(std::string(advanced.getRealSize().getUnit()), "cm");
    EXPECT_TRUE(advanced.getPixelToRealSizeenable());
    EXPECT_TRUE(advanced.getSegment().getEnable());
}

TEST(IntelligenceRules, BaseLivesInItsOwnMandatoryChild) {
    LoiterParam rule;
    rule.setSourceID(11);
    rule.setAlarmInterval(30);
    rule.setIsGetDetail(true);
    NodePtr node(new DomainXmlNode("LoiterParam"));
    ASSERT_TRUE(LoiterParamXml().createDomainXmlNode(rule, node));
    EXPECT_EQ(printXml(node),
              "<LoiterParam IsGetDetail=\"true\">\n"
              "\t<IntelligentEvent SourceType=\"0\" SourceID=\"11\" SourceName=\"\" EnableFlag=\"false\" "
              "AlarmInterval=\"30\">\n"
              "\t\t<ScheduleTimeParam>\n"
              "\t\t\t<ScheduleTimeList />\n"
              "\t\t</ScheduleTimeParam>\n"
              "\t\t<AlarmLinkageParamList />\n"
              "\t\t<PTZActionParamList />\n"
              "\t\t<AlarmOutActionList />\n"
              "\t\t<RecordActionParamList />\n"
              "\t</IntelligentEvent>\n"
              "\t<LoiterRegionParamList />\n"
              "</LoiterParam>\n");

    // Read back through the virtual entry, as the body parser does.
    LoiterParam back;
    NodePtr reread = parseXml(printXml(node));
    ASSERT_TRUE(LoiterParamXml().parseDomainXmlNode(reread, static_cast<BaseDomain*>(&back)));
    EXPECT_EQ(back.getSourceID(), 11);
    EXPECT_EQ(back.getAlarmInterval(), 30);
    EXPECT_EQ(back.getDomainId(), 2010);

    // Without the child the parse fails at once and reads nothing else.
    std::string out;
    LoiterParam bare;
    EXPECT_FALSE(parseCaptured<LoiterParamXml>(
        "<LoiterParam IsGetDetail=\"true\" SourceID=\"4\"><LoiterRegionParamList /></LoiterParam>", bare,
        out));
    EXPECT_EQ(out, "");
    EXPECT_FALSE(bare.getIsGetDetail());
    EXPECT_EQ(bare.getSourceID(), 0);

    // The base codec refuses the top level; its element operations work.
    IntelligentEvent event;
    NodePtr eventNode(new DomainXmlNode("IntelligentEvent"));
    EXPECT_FALSE(
        IntelligentEventXml().createDomainXmlNode(static_cast<const BaseDomain*>(&event), eventNode));
    NodePtr good = parseXml(kEvent);
    EXPECT_FALSE(IntelligentEventXml().parseDomainXmlNode(good, static_cast<BaseDomain*>(&event)));
    EXPECT_TRUE(IntelligentEventXml().parseDomainXmlNode(good, event));
    EXPECT_EQ(event.getSourceName(), "cam");
    ASSERT_EQ(event.getAlarmLinkageParamList().size(), 1u);
    EXPECT_EQ(event.getAlarmLinkageParamList()[0].getActionID(), 4);
    EXPECT_FALSE(parseCaptured<IntelligentEventXml>("<IntelligentEvent SourceType=\"1\" />", event, out));
    EXPECT_EQ(out, "IntelligentEventXml::parseDomainXmlNode get AlarmInterval failed \n");
}

TEST(IntelligenceRules, RegionListsAreStrict) {
    std::string out;
    LoiterParam loiter;
    EXPECT_TRUE(parseCaptured<LoiterParamXml>(std::string("<LoiterParam IsGetDetail=\"true\">") + kEvent +
                                                  "<LoiterRegionParamList>" + kLoiterRegion +
                                                  "</LoiterRegionParamList></LoiterParam>",
                                              loiter, out));
    ASSERT_EQ(loiter.getLoiterRegionParamList().size(), 1u);
    const LoiterRegionParam& region = loiter.getLoiterRegionParamList()[0];
    EXPECT_EQ(region.getMinTime(), 5);
    // The polygon reads every child element as a corner, whatever its name.
    ASSERT_EQ(region.getRegion().getOLPoint().size(), 2u);
    EXPECT_FLOAT_EQ(region.getRegion().getOLPoint()[1].getYval(), 4.25f);

    // One region without a mandatory attribute fails the whole rule.
    EXPECT_FALSE(parseCaptured<LoiterParamXml>(std::string("<LoiterParam IsGetDetail=\"true\">") + kEvent +
                                                   "<LoiterRegionParamList><LoiterRegionParam "
                                                   "TargetTypeConstrain=\"true\" /></LoiterRegionParamList>"
                                                   "</LoiterParam>",
                                               loiter, out));
    EXPECT_EQ(out, "LoiterRegionParamXml::parseDomainXmlNode get TargetType failed \n");

    // ConverseParam's list is optional: absent is fine, a failing one still fails the rule.
    ConverseParam converse;
    EXPECT_TRUE(parseCaptured<ConverseParamXml>(
        std::string("<ConverseParam IsGetDetail=\"false\">") + kEvent + "</ConverseParam>", converse, out));
    EXPECT_FALSE(
        parseCaptured<ConverseParamXml>(std::string("<ConverseParam IsGetDetail=\"false\">") + kEvent +
                                            "<ConverseRegionParamList><X /></ConverseRegionParamList>"
                                            "</ConverseParam>",
                                        converse, out));

    // An empty polygon child fails its region; an absent one leaves the polygon empty.
    PerimeterRegionParam perimeter;
    const std::string attrs =
        "Sensitivity=\"3\" TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"true\" "
        "MinTargetSize=\"1\" MaxTargetSize=\"2\"";
    EXPECT_TRUE(parseCaptured<PerimeterRegionParamXml>("<P " + attrs + " />", perimeter, out));
    EXPECT_TRUE(perimeter.getRegion().getOLPoint().empty());
    PolygonArea polygon;
    NodePtr empty = parseXml("<Region />");
    EXPECT_FALSE(PolygonAreaXml().parseDomainXmlNode(empty, polygon));

    // HCNTParam fails on a failing child of any kind, HCNTQueryResult on a failing item.
    HCNTQueryResult result;
    EXPECT_FALSE(parseCaptured<HCNTQueryResultXml>(
        "<HCNTQueryResult><HCNTItemList><HCNTItem NumIn=\"1\" /></HCNTItemList></HCNTQueryResult>", result,
        out));
    EXPECT_EQ(out, "HCNTItemXml::parseDomainXmlNode get nTime failed \n");
    AdvancedParam advanced;
    EXPECT_FALSE(parseCaptured<AdvancedParamXml>(
        "<AdvancedParam Scene=\"1\" Hight=\"2\" Angle=\"3\" FOV=\"4\" CameraShake=\"0\" HighNoise=\"0\" "
        "LowContrast=\"0\" PeriodMotion=\"0\" PeriodMotionTime=\"0\"><PixelToRealSizeList><PixelToRealSize "
        "RealSize=\"5\" /></PixelToRealSizeList></AdvancedParam>",
        advanced, out));
}

TEST(IntelligenceRules, ParseOrdersDifferFromBuildOrders) {
    std::string out;
    // CameraTamperParam reads its child before MinTime.
    CameraTamperParam tamper;
    EXPECT_FALSE(parseCaptured<CameraTamperParamXml>("<CameraTamperParam MinTime=\"5\" />", tamper, out));
    EXPECT_EQ(tamper.getMinTime(), 0);
    EXPECT_FALSE(parseCaptured<CameraTamperParamXml>(
        std::string("<CameraTamperParam>") + kEvent + "</CameraTamperParam>", tamper, out));
    EXPECT_EQ(out, "CameraTamperParamXml::parseDomainXmlNode get MinTime failed \n");
    EXPECT_EQ(tamper.getAlarmInterval(), 30);

    // HCNTParam reads its three attributes first, then the child.
    HCNTParam count;
    EXPECT_FALSE(parseCaptured<HCNTParamXml>(
        "<HCNTParam SaveInterval=\"60\" MAXHCount=\"99\" IsGetDetail=\"true\"><HCNTRegionParamList />"
        "</HCNTParam>",
        count, out));
    EXPECT_EQ(count.getSaveInterval(), 60);
    EXPECT_EQ(count.getMAXHCount(), 99);
    EXPECT_TRUE(count.getIsGetDetail());
    // ... while the build writes the child first.
    NodePtr node(new DomainXmlNode("HCNTParam"));
    HCNTParamXml().createDomainXmlNode(count, node);
    const std::string text = printXml(node);
    EXPECT_LT(text.find("<IntelligentEvent"), text.find("<HCNTRegionParamList"));
}

TEST(IntelligenceValues, WidthsAndConversions) {
    // LineCross holds floats and travels as ints with the fraction cut off.
    LineCross line;
    line.setLineCrossStartX(1.9f);
    line.setLineCrossStartY(-2.7f);
    line.setLineCrossEndX(100.0f);
    NodePtr node(new DomainXmlNode("Segment"));
    LineCrossXml().createDomainXmlNode(line, node);
    EXPECT_EQ(printXml(node),
              "<Segment LineCrossStartX=\"1\" LineCrossStartY=\"-2\" LineCrossEndX=\"100\" "
              "LineCrossEndY=\"0\" />\n");
    LineCross back;
    NodePtr text = parseXml("<Segment LineCrossStartX=\"7\" LineCrossStartY=\"8.6\" />");
    EXPECT_TRUE(LineCrossXml().parseDomainXmlNode(text, back));
    EXPECT_FLOAT_EQ(back.getLineCrossStartX(), 7.0f);
    EXPECT_FLOAT_EQ(back.getLineCrossStartY(), 8.0f);
    EXPECT_FLOAT_EQ(back.getLineCrossEndX(), 0.0f);

    // TriggerDirection1/2 are written as ints and read as floats, cut to ints.
    MultiTripWireRegionParam wire;
    std::string out;
    EXPECT_TRUE(parseCaptured<MultiTripWireRegionParamXml>(
        "<R TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"true\" MinTargetSize=\"1\" "
        "MaxTargetSize=\"2\" TimeInterval=\"3\" TriggerDirection1=\"1.9\" TriggerDirection2=\"-2.5\" />",
        wire, out));
    EXPECT_EQ(wire.getTriggerDirection1(), 1);
    EXPECT_EQ(wire.getTriggerDirection2(), -2);

    // HCNTItem: 64-bit time travels as its low 32 bits; device texts are bounded.
    HCNTItem item;
    item.setTime(0x100000005LL);
    EXPECT_TRUE(item.setDeviceId(std::string(32, 'd').c_str()));
    EXPECT_FALSE(item.setDeviceId(std::string(33, 'e').c_str()));
    EXPECT_EQ(std::string(item.getDeviceId()), std::string(32, 'd'));
    NodePtr itemNode(new DomainXmlNode("HCNTItem"));
    HCNTItemXml().createDomainXmlNode(item, itemNode);
    EXPECT_NE(printXml(itemNode).find("Time=\"5\""), std::string::npos);
    HCNTItem parsed;
    EXPECT_TRUE(parseCaptured<HCNTItemXml>("<HCNTItem Time=\"-1\" NumIn=\"1\" NumOut=\"2\" DeviceId=\"" +
                                               std::string(33, 'x') +
                                               "\" DeviceIp=\"10.0.0.1\" CameraId=\"3\" />",
                                           parsed, out));
    EXPECT_EQ(parsed.getTime(), -1);
    EXPECT_EQ(std::string(parsed.getDeviceId()), "");  // refused, the parse goes on
    EXPECT_EQ(parsed.getCameraId(), 3);
}

TEST(IntelligenceLibInfoCodec, DefaultsAndLines) {
    std::string out;
    IntelligenceLibInfo info;
    EXPECT_FALSE(parseCaptured<IntelligenceLibInfoXml>("<IntelligenceLibInfo StreamID=\"2\" />", info, out));
    EXPECT_EQ(out, "IntelligenceLibInfoXml::parseDomainXmlNode get Version failed \n");

    // An absent StreamID reads as 1; no LIB element leaves an empty list.
    info.setStreamID(5);
    info.setLIB(std::vector<LibCommonAbility>(2));
    EXPECT_TRUE(parseCaptured<IntelligenceLibInfoXml>("<IntelligenceLibInfo Version=\"3\" />", info, out));
    EXPECT_EQ(
        out,
        "IntelligenceLibInfoXml::parseDomainXmlNode get StreamID failed \n"
        "IntelligenceAnalyseAbilityXml::parseLibCommonNode get LibCommonAbilityList Failed! Node List isn't "
        "exist! \n");
    EXPECT_EQ(info.getStreamID(), 1);
    EXPECT_TRUE(info.getLIB().empty());

    // Each failed read of a library writes its line and keeps its default.
    EXPECT_TRUE(parseCaptured<IntelligenceLibInfoXml>(
        "<IntelligenceLibInfo Version=\"3\" StreamID=\"2\">"
        "<LIB ID=\"4\" enable=\"true\"><Resolution videoWidth=\"704\" videoHeight=\"576\" />"
        "<Common totalAnalyseRegionNum=\"8\" MaxEnableFunsNum=\"2\" /></LIB>"
        "<LIB><Resolution /><Common /></LIB><LIB /></IntelligenceLibInfo>",
        info, out));
    const std::string defaults =
        "LibCommon get LibId Failed! Set Default Value -1 \n"
        "LibCommon get Enable Failed! Set Default Value false \n"
        "LibCommon get VideoWidth Failed! Set Default Value 320 \n"
        "LibCommon get VideoHeight Failed! Set Default Value 240 \n"
        "LibCommon get TotalAnalyseRegionNum Failed! Set Default Value 0 \n"
        "LibCommon get MaxEnableFunsNum Failed! Set Default Value 0 \n";
    EXPECT_EQ(out, defaults + defaults);
    ASSERT_EQ(info.getLIB().size(), 3u);
    EXPECT_EQ(info.getStreamID(), 2);
    EXPECT_EQ(info.getLIB()[0].getvideoWidth(), 704);
    EXPECT_EQ(info.getLIB()[0].getMaxEnableFunsNum(), 2);
    for (size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(info.getLIB()[i].getID(), -1);
        EXPECT_FALSE(info.getLIB()[i].getenable());
        EXPECT_EQ(info.getLIB()[i].getvideoWidth(), 320);
        EXPECT_EQ(info.getLIB()[i].getvideoHeight(), 240);
        EXPECT_EQ(info.getLIB()[i].gettotalAnalyseRegionNum(), 0);
    }

    // The build writes one LIB element per library with both children.
    IntelligenceLibInfo one;
    one.setVersion(1);
    std::vector<LibCommonAbility> libs(1);
    libs[0].setID(9);
    libs[0].setvideoWidth(352);
    one.setLIB(libs);
    NodePtr node(new DomainXmlNode("IntelligenceLibInfo"));
    ASSERT_TRUE(IntelligenceLibInfoXml().createDomainXmlNode(static_cast<const BaseDomain*>(&one), node));
    EXPECT_EQ(printXml(node),
              "<IntelligenceLibInfo Version=\"1\" StreamID=\"1\">\n"
              "\t<LIB ID=\"9\" enable=\"false\">\n"
              "\t\t<Resolution videoWidth=\"352\" videoHeight=\"0\" />\n"
              "\t\t<Common totalAnalyseRegionNum=\"0\" MaxEnableFunsNum=\"0\" />\n"
              "\t</LIB>\n"
              "</IntelligenceLibInfo>\n");
    EXPECT_EQ(LibCommonAbility().getDomainId(), 2037);
}

}  // namespace
