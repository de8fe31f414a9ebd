// The shared shapes of the analysis ability records: printed form, the lines of
// the shared readers and the defaults they take, the ten-character unit.

#include <gtest/gtest.h>

#include <string>

#include "domain/codecs/hand/IntelligenceAbilityShapes.h"
#include "domain/xml/DomainXmlNode.h"

namespace {

using NodePtr = SafePointer<DomainXmlNode>;

NodePtr parseText(const std::string& text) {
    NodePtr node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node)) << text;
    return node;
}

std::string print(const NodePtr& node) {
    std::string text;
    EXPECT_TRUE(DomainXmlNode::toString(node, text));
    return text;
}

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
    EXPECT_EQ(print(node),
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
    NodePtr node = parseText("<ConverseAbility LibId=\"1\" />");
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
    NodePtr node = parseText(
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
    NodePtr quiet = parseText("<A><Region enable=\"TRUE\" edgeNum=\"6\" /></A>");
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
    NodePtr node = parseText(
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
    NodePtr flags = parseText("<X><F enable=\"true\" unit=\"m\" /></X>");
    AbilityFlag unitFlag, plainFlag;
    plainFlag.setUnit("keep");
    parseAbilityShape(flags, "F", AbilityShapeKind::UnitFlag, unitFlag);
    parseAbilityShape(flags, "F", AbilityShapeKind::Flag, plainFlag);
    EXPECT_EQ(std::string(unitFlag.getUnit()), "m");
    EXPECT_EQ(std::string(plainFlag.getUnit()), "keep");
    EXPECT_TRUE(plainFlag.getEnable());
}

TEST(IntelligenceShapes, FilledShapesRoundTripForEveryKind) {
    const AbilityShapeKind kinds[] = {AbilityShapeKind::Flag, AbilityShapeKind::UnitFlag};
    for (AbilityShapeKind kind : kinds) {
        AbilityFlag in, out;
        fillAbilityShape(in, kind, 12);
        NodePtr node(new DomainXmlNode("X"));
        buildAbilityShape(node, "F", in);
        NodePtr reread = parseText(print(node));
        parseAbilityShape(reread, "F", kind, out);
        EXPECT_EQ(in, out);
    }
    const AbilityShapeKind rangeKinds[] = {AbilityShapeKind::Range, AbilityShapeKind::PlainRange};
    for (AbilityShapeKind kind : rangeKinds) {
        AbilityRange in, out;
        fillAbilityShape(in, kind, 5);
        NodePtr node(new DomainXmlNode("X"));
        buildAbilityShape(node, "R", in);
        NodePtr reread = parseText(print(node));
        parseAbilityShape(reread, "R", kind, out);
        EXPECT_EQ(in, out);
    }
    AbilityFloatRange fin, fout;
    fillAbilityShape(fin, AbilityShapeKind::FloatRange, 2);
    NodePtr node(new DomainXmlNode("X"));
    buildAbilityShape(node, "A", fin);
    NodePtr reread = parseText(print(node));
    parseAbilityShape(reread, "A", AbilityShapeKind::FloatRange, fout);
    EXPECT_EQ(fin, fout);
}

}  // namespace
