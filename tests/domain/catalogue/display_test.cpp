// Recorder display, layout and playback records: strict codecs, their own
// lines, strict children and bounded names.

#include <gtest/gtest.h>

#include <string>

#include "CatalogueTestSupport.h"
#include "domain/codecs/HeterlogousOutputParamXml.h"
#include "domain/codecs/LiveVideoPlayerParamXml.h"
#include "domain/codecs/NVRManufacturerXml.h"
#include "domain/codecs/OperateRecordPlaybackXml.h"
#include "domain/codecs/RecordChannelPlaybackXml.h"
#include "domain/codecs/RecordPlaybackParamXml.h"

namespace {

using namespace catalogue_test;

const char kRect[] =
    "<LayoutVDRectInfo DisplayId=\"1\" WindowId=\"2\" x=\"0\" y=\"0\" width=\"640\" height=\"480\" />";

TEST(DisplayPlayback, OwnLinesOfTheTimes) {
    std::string out;
    RecordChannelPlayback channels;
    EXPECT_FALSE(
        parseCaptured<RecordChannelPlaybackXml>("<RecordChannelPlayback CommandType=\"1\" DisplayId=\"2\" "
                                                "Rate=\"1.5\" SkipBlankSpaceFlag=\"true\" />",
                                                channels, out));
    EXPECT_EQ(out, "RecordChannelPlaybackXml::parseDomainXmlNode get nnBeginTime failed \n");
    EXPECT_FLOAT_EQ(channels.getRate(), 1.5f);
    EXPECT_FALSE(parseCaptured<RecordChannelPlaybackXml>(
        "<RecordChannelPlayback CommandType=\"1\" DisplayId=\"2\" Rate=\"1\" SkipBlankSpaceFlag=\"true\" "
        "BeginTime=\"5\" />",
        channels, out));
    EXPECT_EQ(out, "RecordChannelPlaybackXml::parseDomainXmlNode get nnEndTime failed \n");

    RecordPlaybackParam single;
    const std::string head =
        "<RecordPlaybackParam CommandType=\"1\" DisplayId=\"2\" WindowId=\"3\" ChannelId=\"4\" "
        "DeviceID=\"dev\" "
        "SkipBlankSpaceFlag=\"false\" AudioFlag=\"true\" BeginTime=\"10\" EndTime=\"20\"";
    EXPECT_FALSE(parseCaptured<RecordPlaybackParamXml>(head + " />", single, out));
    EXPECT_EQ(out, "RecordPlaybackParamXml::parseDomainXmlNode get nnlocateTime failed \n");
    EXPECT_FALSE(parseCaptured<RecordPlaybackParamXml>(head + " locateTime=\"15\" />", single, out));
    EXPECT_EQ(out, "RecordPlaybackParamXml::parseDomainXmlNode get Rate failed \n");
    EXPECT_EQ(single.getDeviceID(), "dev");  // what came before the failure stays stored
    EXPECT_EQ(single.getlocateTime(), 15);
    EXPECT_FALSE(parseCaptured<RecordPlaybackParamXml>(
        "<RecordPlaybackParam CommandType=\"1\" DisplayId=\"2\" WindowId=\"3\" ChannelId=\"4\" "
        "SkipBlankSpaceFlag=\"false\" />",
        single, out));
    EXPECT_EQ(out, "RecordPlaybackParamXml::parseDomainXmlNode get DeviceID failed \n");
}

TEST(DisplayPlayback, StrictChildren) {
    std::string out;
    // A playback item without DeviceID fails, and with it the whole command.
    OperateRecordPlayback item;
    EXPECT_FALSE(parseCaptured<OperateRecordPlaybackXml>("<OperateRecordPlayback />", item, out));
    EXPECT_EQ(out, "OperateRecordPlaybackXml::parseDomainXmlNode get DeviceID failed \n");
    RecordChannelPlayback channels;
    const std::string head =
        "<RecordChannelPlayback CommandType=\"1\" DisplayId=\"2\" Rate=\"1\" SkipBlankSpaceFlag=\"true\" "
        "BeginTime=\"5\" EndTime=\"6\"><OperateRecordPlaybackList>";
    EXPECT_FALSE(parseCaptured<RecordChannelPlaybackXml>(
        head + "<OperateRecordPlayback /></OperateRecordPlaybackList></RecordChannelPlayback>", channels,
        out));
    EXPECT_TRUE(parseCaptured<RecordChannelPlaybackXml>(
        head + "<OperateRecordPlayback DeviceID=\"d\"><OperateLayoutVDRect ChannelId=\"1\" StreamId=\"0\">" +
            kRect +
            "</OperateLayoutVDRect></OperateRecordPlayback></OperateRecordPlaybackList>"
            "</RecordChannelPlayback>",
        channels, out));
    ASSERT_EQ(channels.getOperateRecordPlaybackList().size(), 1u);
    EXPECT_EQ(
        channels.getOperateRecordPlaybackList()[0].getOperateLayoutVDRect().getLayoutVDRectInfo().getwidth(),
        640);

    // The live player needs its rectangle.
    LiveVideoPlayerParam player;
    const std::string attrs =
        "CommandType=\"1\" DisplayId=\"1\" WindowId=\"1\" ModeFlag=\"true\" refreshFlag=\"false\" "
        "AudioFlag=\"false\" Rate=\"25\"";
    EXPECT_FALSE(parseCaptured<LiveVideoPlayerParamXml>("<P " + attrs + " />", player, out));
    EXPECT_TRUE(parseCaptured<LiveVideoPlayerParamXml>("<P " + attrs + ">" + kRect + "</P>", player, out));

    HeterlogousOutputParam output;
    const std::string res = "<MajorResolution VideoHeight=\"1080\" VideoWidth=\"1920\" />";
    const std::string minor =
        "<MinorResolution VideoHeight=\"720\" VideoWidth=\"1280\" /><MinorMonitorList />";
    EXPECT_TRUE(parseCaptured<HeterlogousOutputParamXml>(
        "<H MinorMonitorFlag=\"true\">" + res +
            "<MajorMonitorList><MajorMonitor MajorMonitor=\"1\" /><MajorMonitor MajorMonitor=\"2\" />"
            "</MajorMonitorList>" +
            minor + "</H>",
        output, out));
    EXPECT_EQ(output.getMajorMonitorList(), (std::vector<int>{1, 2}));
    EXPECT_EQ(output.getMinorResolution().getVideoWidth(), 1280);
    // Scalar list items are mandatory: one without its value fails the list, which
    // (not strict) leaves the field as it was and lets the parse go on.
    EXPECT_TRUE(parseCaptured<HeterlogousOutputParamXml>(
        "<H MinorMonitorFlag=\"true\">" + res + "<MajorMonitorList><MajorMonitor /></MajorMonitorList>" +
            minor + "</H>",
        output, out));
    EXPECT_EQ(out, "HeterlogousOutputParamXml::parseDomainXmlNode get MajorMonitor failed \n");
    EXPECT_EQ(output.getMajorMonitorList(), (std::vector<int>{1, 2}));
    // A missing resolution fails at once.
    EXPECT_FALSE(parseCaptured<HeterlogousOutputParamXml>("<H MinorMonitorFlag=\"true\">" + minor + "</H>",
                                                          output, out));
}

TEST(DisplayChannels, ManufacturerNameIsBounded) {
    NVRManufacturer maker;
    ASSERT_TRUE(maker.setManufacturerName("old"));
    std::string out;
    EXPECT_TRUE(
        parseCaptured<NVRManufacturerXml>("<M ManufacturerFlag=\"1\" ManufacturerPort=\"80\" "
                                          "ManufacturerName=\"" +
                                              std::string(33, 'm') + "\" />",
                                          maker, out));
    EXPECT_EQ(std::string(maker.getManufacturerName()), "old");
    EXPECT_TRUE(
        parseCaptured<NVRManufacturerXml>("<M ManufacturerFlag=\"1\" ManufacturerPort=\"80\" "
                                          "ManufacturerName=\"" +
                                              std::string(32, 'm') + "\" />",
                                          maker, out));
    EXPECT_EQ(std::string(maker.getManufacturerName()), std::string(32, 'm'));
    EXPECT_FALSE(parseCaptured<NVRManufacturerXml>("<M ManufacturerFlag=\"1\" ManufacturerPort=\"80\" />",
                                                   maker, out));
    EXPECT_EQ(out, "NVRManufacturerXml::parseDomainXmlNode get ManufacturerName failed \n");
}

}  // namespace
