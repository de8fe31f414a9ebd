// Image, OSD, mask and region records: the short lines and node name of
// CanvasProper, constructor defaults that a parse resets or keeps.

#include <gtest/gtest.h>

#include <string>

#include "CatalogueTestSupport.h"
#include "domain/codecs/BlindAbilityXml.h"
#include "domain/codecs/BlindAreaParamXml.h"
#include "domain/codecs/BlindTypeAbilityXml.h"
#include "domain/codecs/CanvasProperXml.h"
#include "domain/codecs/OSDFontAbilityXml.h"

namespace {

using namespace catalogue_test;

TEST(ImageCanvas, LoggedItemsUseShortLinesAndTheirNode) {
    CanvasProper canvas;
    canvas.setFrontWidth(7);
    canvas.setOSDInfoList(std::vector<OSDInfo>(2));
    std::string out;
    EXPECT_TRUE(
        parseCaptured<CanvasProperXml>("<CanvasProper FrontHeight=\"20\" AlignMode=\"1\" />", canvas, out));
    EXPECT_EQ(out,
              "getProperty get FrontWidth failed \n"
              "getProperty get AreaID failed \n"
              "getConfigNode NODE_OSD_INFO_LIST failed\n"
              "parseDomainXmlNode objOSDInfoList failed\n");
    EXPECT_EQ(canvas.getFrontWidth(), 0);
    EXPECT_EQ(canvas.getFrontHeight(), 20);
    EXPECT_TRUE(canvas.getOSDInfoList().empty());

    // The optional AreaParam child keeps what it had when absent.
    AreaParam area;
    area.setWidth(640);
    canvas.setAreaParam(area);
    EXPECT_TRUE(parseCaptured<CanvasProperXml>(
        "<CanvasProper FrontWidth=\"1\" FrontHeight=\"2\" AlignMode=\"3\" AreaID=\"4\"><OSDInfoList>"
        "<OSDInfo AreaID=\"4\" Info=\"x\" /></OSDInfoList></CanvasProper>",
        canvas, out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(canvas.getAreaParam().getWidth(), 640);
    ASSERT_EQ(canvas.getOSDInfoList().size(), 1u);
    EXPECT_EQ(canvas.getOSDInfoList()[0].getInfo(), "x");
}

TEST(ImageMasks, ConstructorDefaultsAndResets) {
    BlindAreaParam blind;
    EXPECT_EQ(blind.getType(), 1);
    std::string out;
    EXPECT_TRUE(parseCaptured<BlindAreaParamXml>("<BlindAreaParam AreaId=\"2\" />", blind, out));
    EXPECT_EQ(blind.getType(), 0);  // reset: absent reads as 0
    EXPECT_EQ(out, "");

    EXPECT_EQ(BlindTypeAbility().getBlindType(), -1);
    EXPECT_EQ(BlindAbility().getBlindStreamID(), 1);
    BlindTypeAbility type;
    EXPECT_TRUE(parseCaptured<BlindTypeAbilityXml>("<BlindTypeAbility />", type, out));
    EXPECT_EQ(type.getBlindType(), 0);

    // Optional scalar lists keep their content when absent, reset lists empty.
    OSDFontAbility font;
    font.setVideoOSDFontAlphaList({50, 100});
    font.setOSDTypeList(std::vector<OSDType>(1));
    EXPECT_TRUE(parseCaptured<OSDFontAbilityXml>("<OSDFontAbility />", font, out));
    EXPECT_EQ(font.getVideoOSDFontAlphaList().size(), 2u);
    EXPECT_TRUE(font.getOSDTypeList().empty());
}

}  // namespace
