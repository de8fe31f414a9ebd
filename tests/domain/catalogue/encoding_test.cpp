// Video and audio encoding records: the own log line of
// AudioInterphoneConfigure, optional bounds, double and int frame rates,
// narrow audio fields and the list tag of VideoEncoderParam.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/codecs/AVStreamParamXml.h"
#include "domain/codecs/AudioInTypeXml.h"
#include "domain/codecs/AudioInfoXml.h"
#include "domain/codecs/AudioInterphoneConfigureXml.h"
#include "domain/codecs/AudioProcessAbilityXml.h"
#include "domain/codecs/StreamConfigureXml.h"
#include "domain/codecs/VideoEncodeQualityXml.h"
#include "domain/codecs/VideoEncoderParamXml.h"

namespace {

using namespace catalogue_test;

TEST(EncodingCatalogue, InterphoneDoubleAudioFlagOwnLine) {
    AudioInterphoneConfigure config;
    config.setDoubleAudioFlag(true);
    std::string printed;
    EXPECT_TRUE(parseCaptured<AudioInterphoneConfigureXml>(
        "<AudioInterphoneConfigure SupportFlag=\"true\" ChannelId=\"1\" />", config, printed));
    EXPECT_EQ(printed, "getProperty get bDoubleAudioFlag failed \n");
    EXPECT_FALSE(config.getDoubleAudioFlag());  // logged: reset
    EXPECT_TRUE(config.getSupportFlag());

    EXPECT_TRUE(parseCaptured<AudioInterphoneConfigureXml>(
        "<AudioInterphoneConfigure DoubleAudioFlag=\"True\" />", config, printed));
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(config.getDoubleAudioFlag());
}

TEST(EncodingCatalogue, AudioInTypeBoundsAreOptional) {
    AudioInType type;
    type.setAudioInTypeId(3);
    type.setAudioInVolMax(100);
    type.setAudioInVolMin(-5);
    std::string printed;
    EXPECT_TRUE(parseCaptured<AudioInTypeXml>("<AudioInType AudioInTypeName=\"mic\" AudioInVolMin=\"1\" />",
                                              type, printed));
    EXPECT_EQ(type.getAudioInTypeId(), 0);
    EXPECT_EQ(type.getAudioInTypeName(), "mic");
    EXPECT_EQ(type.getAudioInVolMax(), 100);
    EXPECT_EQ(type.getAudioInVolMin(), 1);
}

TEST(EncodingCatalogue, FrameRatesAsDoubleAndInt) {
    StreamConfigure stream;
    stream.setFrameRate(25.5);
    NodePtr node(new DomainXmlNode("StreamConfigure"));
    ASSERT_TRUE(StreamConfigureXml().createDomainXmlNode(stream, node));
    std::string text = printXml(node);
    EXPECT_NE(text.find(" FrameRate=\"25.500000\" "), std::string::npos) << text;

    // Six decimals: what lies below is lost on the way.
    stream.setFrameRate(0.1234567);
    node = NodePtr(new DomainXmlNode("StreamConfigure"));
    ASSERT_TRUE(StreamConfigureXml().createDomainXmlNode(stream, node));
    StreamConfigure back;
    ASSERT_TRUE(StreamConfigureXml().parseDomainXmlNode(node, back));
    EXPECT_DOUBLE_EQ(back.getFrameRate(), 0.123457);

    VideoEncodeQuality quality;
    std::string printed;
    EXPECT_TRUE(
        parseCaptured<VideoEncodeQualityXml>("<VideoEncodeQuality FrameRate=\"12.75\" />", quality, printed));
    EXPECT_DOUBLE_EQ(quality.getFrameRate(), 12.75);

    AVStreamParam av;
    EXPECT_TRUE(parseCaptured<AVStreamParamXml>("<AVStreamParam FrameRate=\"25.9\" />", av, printed));
    EXPECT_EQ(av.getFrameRate(), 25);
    node = NodePtr(new DomainXmlNode("AVStreamParam"));
    ASSERT_TRUE(AVStreamParamXml().createDomainXmlNode(av, node));
    text = printXml(node);
    EXPECT_NE(text.find(" FrameRate=\"25\" "), std::string::npos) << text;
}

TEST(EncodingCatalogue, AudioProcessAbilityNeedsItsFlag) {
    AudioProcessAbility ability;
    std::string printed;
    EXPECT_FALSE(parseCaptured<AudioProcessAbilityXml>("<AudioProcessAbility />", ability, printed));
    EXPECT_EQ(printed, "AudioProcessAbilityXml::parseDomainXmlNode get SupportFlag failed \n");
    // A text that is neither true nor false still counts as read.
    EXPECT_TRUE(parseCaptured<AudioProcessAbilityXml>("<AudioProcessAbility SupportFlag=\"yes\" />", ability,
                                                      printed));
    EXPECT_EQ(printed, "");
    EXPECT_FALSE(ability.getSupportFlag());
}

TEST(EncodingCatalogue, AudioInfoSixteenBitFields) {
    AudioInfo info;
    std::string printed;
    EXPECT_TRUE(parseCaptured<AudioInfoXml>(
        "<AudioInfo FormatTag=\"65535\" Channels=\"70000\" SamplesPerSec=\"8000\" BlockAlign=\"-1\" />", info,
        printed));
    EXPECT_EQ(info.getFormatTag(), 65535);
    EXPECT_EQ(info.getChannels(), 70000 - 65536);
    EXPECT_EQ(info.getSamplesPerSec(), 8000);
    EXPECT_EQ(info.getBlockAlign(), 65535);
    NodePtr node(new DomainXmlNode("AudioInfo"));
    ASSERT_TRUE(AudioInfoXml().createDomainXmlNode(info, node));
    EXPECT_EQ(printXml(node),
              "<AudioInfo FormatTag=\"65535\" Channels=\"4464\" SamplesPerSec=\"8000\" AvgBytesPerSec=\"0\" "
              "BlockAlign=\"65535\" BitsPerSample=\"0\" CBSize=\"0\" EncodeType=\"0\" />\n");
}

TEST(EncodingCatalogue, VideoEncoderParamListTagWithoutListSuffix) {
    VideoEncoderParamItem item;
    item.setResolutionId(3);
    item.setName("1080P");
    item.setHight(1080);
    VideoEncoderParam param;
    param.setVideoEncoderType(1);
    param.setEncodeLevelList("1,2");
    param.setVideoEncoderParamItem(std::vector<VideoEncoderParamItem>(1, item));
    NodePtr node(new DomainXmlNode("VideoEncoderParam"));
    ASSERT_TRUE(VideoEncoderParamXml().createDomainXmlNode(param, node));
    std::string text = printXml(node);
    EXPECT_NE(
        text.find("\t<VideoEncoderParamItem>\n\t\t<VideoEncoderParamItem ResolutionId=\"3\" Name=\"1080P\" "
                  "Width=\"0\" Hight=\"1080\" "),
        std::string::npos)
        << text;

    VideoEncoderParam back;
    ASSERT_TRUE(VideoEncoderParamXml().parseDomainXmlNode(node, back));
    ASSERT_EQ(back.getVideoEncoderParamItem().size(), 1u);
    EXPECT_EQ(back.getVideoEncoderParamItem()[0].getHight(), 1080);
    EXPECT_EQ(back.getEncodeLevelList(), "1,2");

    // Both the level text and the list are optional.
    std::string printed;
    EXPECT_TRUE(
        parseCaptured<VideoEncoderParamXml>("<VideoEncoderParam EncodeTypeName=\"H.265\" />", back, printed));
    EXPECT_EQ(back.getEncodeLevelList(), "1,2");
    EXPECT_EQ(back.getVideoEncoderParamItem().size(), 1u);
    EXPECT_EQ(back.getVideoEncoderType(), 0);
}

}  // namespace
