// Alarm model records: the quirks of their codecs (mandatory and logged
// presence with their exact lines, strict lists, reset constructor values,
// item names, lines through the trace entry, narrow fields).

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/DomainContainer.h"
#include "domain/codecs/AlarmInStatisticXml.h"
#include "domain/codecs/AlarmServiceParamXml.h"
#include "domain/codecs/AppTokenListXml.h"
#include "domain/codecs/ChannelIOAlarmEventXml.h"
#include "domain/codecs/IOAlarmInSourceParamXml.h"
#include "domain/codecs/IOAlarmOutActionParamXml.h"
#include "domain/codecs/NVRAlarmActionXml.h"
#include "domain/codecs/NVRIntelligenceAlarmEventXml.h"
#include "domain/codecs/NVRThermalAlarmLinkageXml.h"
#include "domain/codecs/PIRAlarmEventXml.h"
#include "domain/codecs/PTZActionParamXml.h"
#include "domain/codecs/UserParamEventXml.h"
#include "domain/codecs/VideoLostAlarmEventXml.h"
#include "domain/codecs/VideoLostAlarmParamXml.h"

namespace {

using namespace catalogue_test;

AlarmOutAction alarmOut(int id) {
    AlarmOutAction action;
    action.setActionID(id);
    action.setAlarmOutId(id + 100);
    return action;
}

TEST(AlarmCatalogue, ChannelIOAlarmEventNeedsItsChannel) {
    ChannelIOAlarmEvent event;
    EXPECT_EQ(event.getChannelID(), -1);

    std::string printed;
    EXPECT_FALSE(parseCaptured<ChannelIOAlarmEventXml>(
        "<ChannelIOAlarmEvent><IOAlarmEventList /></ChannelIOAlarmEvent>", event, printed));
    EXPECT_EQ(printed, "ChannelIOAlarmEventXml::parseDomainXmlNode get ChannelID failed \n");
    // The mandatory read failed before the setter: the constructor's -1 stays.
    EXPECT_EQ(event.getChannelID(), -1);

    EXPECT_TRUE(parseCaptured<ChannelIOAlarmEventXml>(
        "<ChannelIOAlarmEvent ChannelID=\"3\"><IOAlarmEventList>"
        "<IOAlarmEvent><IOAlarmInSourceParam SourceID=\"7\" ValidLevel=\"1\" /></IOAlarmEvent>"
        "<Other />"
        "</IOAlarmEventList></ChannelIOAlarmEvent>",
        event, printed));
    EXPECT_EQ(printed, "");
    EXPECT_EQ(event.getChannelID(), 3);
    // Items are read whatever their element name.
    ASSERT_EQ(event.getIOAlarmEventList().size(), 2u);
    EXPECT_EQ(event.getIOAlarmEventList()[0].getIOAlarmInSourceParam().getSourceID(), 7);
    EXPECT_EQ(event.getIOAlarmEventList()[0].getIOAlarmInSourceParam().getValidLevel(), 1);
}

TEST(AlarmCatalogue, ActionBaseComesFirstAndConstructorValuesAreReset) {
    IOAlarmOutActionParam out;
    EXPECT_EQ(out.getAlarmOutSignal(), 1);
    out.setActionType(2);
    out.setActionID(5);
    out.setActionName("siren & light");
    out.setAlarmOutFrequency(1.5f);
    out.setAlarmTime(30);
    NodePtr node(new DomainXmlNode("IOAlarmOutActionParam"));
    ASSERT_TRUE(IOAlarmOutActionParamXml().createDomainXmlNode(out, node));
    EXPECT_EQ(printXml(node),
              "<IOAlarmOutActionParam ActionType=\"2\" ActionID=\"5\" ActionName=\"siren &amp; light\" "
              "AlarmOutSignal=\"1\" AlarmOutMode=\"0\" AlarmOutFrequency=\"1.500000\" AlarmTime=\"30\" />\n");

    std::string printed;
    IOAlarmOutActionParam read;
    EXPECT_TRUE(parseCaptured<IOAlarmOutActionParamXml>(
        "<IOAlarmOutActionParam ActionID=\"9\" AlarmOutMode=\"4\" AlarmOutFrequency=\"2.25\" />", read,
        printed));
    EXPECT_EQ(printed, "");
    EXPECT_EQ(read.getActionID(), 9);
    EXPECT_EQ(read.getAlarmOutSignal(), 0);
    EXPECT_EQ(read.getAlarmOutMode(), 4);
    EXPECT_FLOAT_EQ(read.getAlarmOutFrequency(), 2.25f);

    PTZActionParam ptz;
    EXPECT_EQ(ptz.getPTZActionID(), 3);
    EXPECT_TRUE(parseCaptured<PTZActionParamXml>(
        "<PTZActionParam ActionName=\"preset\" PTZChannelID=\"2\" />", ptz, printed));
    EXPECT_EQ(ptz.getPTZActionID(), 0);
    EXPECT_EQ(ptz.getPTZChannelID(), 2);
    EXPECT_EQ(ptz.getActionName(), "preset");
}

TEST(AlarmCatalogue, SourceWithoutTimePlanKeepsIt) {
    ScheduleTime span;
    span.setWeekDay(2);
    span.setStartTime(60);
    span.setEndTime(120);
    ScheduleTimeParam plan;
    plan.setScheduleTimeList(std::vector<ScheduleTime>(1, span));

    IOAlarmInSourceParam source;
    source.setAlarmTime(plan);
    source.setAlarmInterval(10);
    std::string printed;
    EXPECT_TRUE(parseCaptured<IOAlarmInSourceParamXml>(
        "<IOAlarmInSourceParam SourceID=\"4\" ValidLevel=\"1\" />", source, printed));
    EXPECT_EQ(source.getSourceID(), 4);
    EXPECT_EQ(source.getAlarmInterval(), 0);  // reset
    ASSERT_EQ(source.getAlarmTime().getScheduleTimeList().size(), 1u);
    EXPECT_EQ(source.getAlarmTime().getScheduleTimeList()[0].getEndTime(), 120);

    IOAlarmInSourceParam fresh;
    EXPECT_TRUE(parseCaptured<IOAlarmInSourceParamXml>("<IOAlarmInSourceParam />", fresh, printed));
    EXPECT_TRUE(fresh.getAlarmTime().getScheduleTimeList().empty());
}

TEST(AlarmCatalogue, ThermalLinkageNeedsAllFourLists) {
    const char* lists[] = {("<AlarmLinkageParamList><AlarmLinkageParam ActionType=\"1\" ActionID=\"2\" "
                            "/></AlarmLinkageParamList>"),
                           "<AlarmOutActionList />", "<RecordActionParamList />", "<PTZActionParamList />"};
    for (int missing = -1; missing < 4; ++missing) {
        std::string text = "<NVRThermalAlarmLinkage SourceID=\"6\" EnableFlag=\"true\">";
        for (int i = 0; i < 4; ++i) {
            if (i != missing) text += lists[i];
        }
        text += "</NVRThermalAlarmLinkage>";

        NVRThermalAlarmLinkage linkage;
        linkage.setRecordActionParamList(std::vector<RecordActionParam>(2));
        std::string printed;
        bool ok = parseCaptured<NVRThermalAlarmLinkageXml>(text, linkage, printed);
        EXPECT_EQ(ok, missing < 0) << text;
        EXPECT_EQ(printed, "") << text;
        // The base attributes come first and are read before any list.
        EXPECT_EQ(linkage.getSourceID(), 6);
        EXPECT_TRUE(linkage.getEnableFlag());
        if (missing != 0) {
            ASSERT_EQ(linkage.getAlarmLinkageParamList().size(), 1u);
            EXPECT_EQ(linkage.getAlarmLinkageParamList()[0].getActionID(), 2);
        }
        // A failure stops the parse: the lists behind the missing one are not read.
        EXPECT_EQ(linkage.getRecordActionParamList().size(), missing >= 0 && missing <= 2 ? 2u : 0u) << text;
    }
}

TEST(AlarmCatalogue, VideoLostEventLogsEveryMissingList) {
    VideoLostAlarmParam source;
    source.setSourceID(4);
    VideoLostAlarmEvent event;
    event.setVideoLostAlarmParam(source);
    event.setAlarmOutActionList(std::vector<AlarmOutAction>(1, alarmOut(1)));
    event.setSMTPActionParamList(std::vector<SMTPActionParam>(3));

    std::string printed;
    EXPECT_TRUE(parseCaptured<VideoLostAlarmEventXml>("<VideoLostAlarmEvent />", event, printed));
    EXPECT_EQ(printed,
              "getConfigNode NODE_ALARM_LINKAGE_PARAM_LIST failed\n"
              "parseDomainXmlNode objAlarmLinkageParamList failed\n"
              "getConfigNode NODE_PTZ_ACTION_PARAM_LIST failed\n"
              "parseDomainXmlNode objPTZActionParamList failed\n"
              "getConfigNode NODE_ALARM_OUT_ACTION_LIST failed\n"
              "parseDomainXmlNode objAlarmOutActionList failed\n"
              "getConfigNode NODE_RECORD_ACTION_PARAM_LIST failed\n"
              "parseDomainXmlNode objRecordActionParamList failed\n"
              "getConfigNode NODE_SMTP_ACTION_PARAM_LIST failed\n"
              "parseDomainXmlNode objSMTPActionParamList failed\n");
    // Logged lists are emptied; the optional source child keeps its value.
    EXPECT_TRUE(event.getAlarmOutActionList().empty());
    EXPECT_TRUE(event.getSMTPActionParamList().empty());
    EXPECT_EQ(event.getVideoLostAlarmParam().getSourceID(), 4);

    NVRIntelligenceAlarmEvent intelligence;
    EXPECT_TRUE(parseCaptured<NVRIntelligenceAlarmEventXml>(
        "<NVRIntelligenceAlarmEvent><AlarmLinkageParamList /><PTZActionParamList /><AlarmOutActionList />"
        "<RecordActionParamList /></NVRIntelligenceAlarmEvent>",
        intelligence, printed));
    EXPECT_EQ(printed,
              "getConfigNode NODE_SMTP_ACTION_PARAM_LIST failed\n"
              "parseDomainXmlNode objSMTPActionParamList failed\n");
}

TEST(AlarmCatalogue, SessionParamItemNames) {
    VideoLostAlarmEvent event;
    event.setAlarmOutActionList(std::vector<AlarmOutAction>(1, alarmOut(2)));
    DomainVectorContainer<VideoLostAlarmEvent> events;
    events.getItems().push_back(event);
    NodePtr node(new DomainXmlNode("VideoLostAlarmEventList"));
    ASSERT_TRUE(VideoLostAlarmEventXml().createDomainXmlNode(&events, node));
    std::string text = printXml(node);
    EXPECT_EQ(text.rfind("<VideoLostAlarmEventList>\n\t<SessionParam>\n\t\t<VideoLostAlarmParam ", 0), 0u)
        << text;
    // Nested lists name their items by the nested record.
    EXPECT_NE(text.find("\t\t<AlarmOutActionList>\n\t\t\t<AlarmOutAction ActionType=\"0\" ActionID=\"2\" "),
              std::string::npos)
        << text;

    std::vector<VideoLostAlarmParam> sources(2);
    NodePtr sourceList(new DomainXmlNode("VideoLostAlarmParamList"));
    ASSERT_TRUE(VideoLostAlarmParamXml().createDomainXmlNode(sources, sourceList));
    DomainXmlNode::NodeVector items;
    ASSERT_TRUE(sourceList->getConfigNodes("SessionParam", items));
    EXPECT_EQ(items.size(), 2u);

    // Reading back takes the items whatever their names.
    DomainVectorContainer<VideoLostAlarmEvent> back;
    ASSERT_TRUE(VideoLostAlarmEventXml().parseDomainXmlNode(node, &back));
    ASSERT_EQ(back.getItems().size(), 1u);
    ASSERT_EQ(back.getItems()[0].getAlarmOutActionList().size(), 1u);
    EXPECT_EQ(back.getItems()[0].getAlarmOutActionList()[0].getAlarmOutId(), 102);
}

TEST(AlarmCatalogue, PirEventLinesGoThroughTheTrace) {
    PIRAlarmSourceParam source;
    source.setSourceID(9);
    PIRAlarmEvent event;
    event.setPIRAlarmSourceParam(source);
    event.setAlarmOutActionList(std::vector<AlarmOutAction>(1, alarmOut(1)));

    // At the default trace level nothing reaches standard output.
    std::string printed;
    EXPECT_TRUE(parseCaptured<PIRAlarmEventXml>("<PIRAlarmEvent />", event, printed));
    EXPECT_EQ(printed, "");
    EXPECT_EQ(event.getPIRAlarmSourceParam().getSourceID(), 0);
    EXPECT_TRUE(event.getAlarmOutActionList().empty());

    // The child-node lines are written at level 1, with their own node names.
    ScopedTrace level(1);
    EXPECT_TRUE(parseCaptured<PIRAlarmEventXml>("<PIRAlarmEvent><RecordActionParamList /></PIRAlarmEvent>",
                                                event, printed));
    EXPECT_EQ(printed,
              "getConfigNode NODE_PIR_ALARM_SOURCE_PARAM failed\n"
              "parseDomainXmlNode objPIRAlarmSourceParam failed\n"
              "getConfigNode NODE_ALARM_OUT_ACTION_LIST failed\n"
              "parseDomainXmlNode objAlarmOutActionList failed\n"
              "getConfigNode NODE_ALARM_PTZ_ACTION_LIST failed\n"
              "parseDomainXmlNode objPTZActionParamList failed\n"
              "getConfigNode NODE_ALARM_OVERLAY_ACTION_LIST failed\n"
              "parseDomainXmlNode objAlarmLinkageParamList failed\n");
}

TEST(AlarmCatalogue, UserParamEventShortLinesAndItemName) {
    UserParamEvent event;
    event.setUserName("admin");
    event.setEventId(12);
    std::string printed;
    EXPECT_TRUE(parseCaptured<UserParamEventXml>("<UserParamEvent />", event, printed));
    EXPECT_EQ(printed, "getProperty get UserName failed \ngetProperty get EventId failed \n");
    EXPECT_EQ(event.getUserName(), "");
    EXPECT_EQ(event.getEventId(), 0);

    event.setUserName("guest");
    NodePtr list(new DomainXmlNode("UserParamEventList"));
    ASSERT_TRUE(UserParamEventXml().createDomainXmlNode(std::vector<UserParamEvent>(1, event), list));
    EXPECT_EQ(
        printXml(list),
        "<UserParamEventList>\n\t<CloseVideo UserName=\"guest\" EventId=\"0\" />\n</UserParamEventList>\n");
}

TEST(AlarmCatalogue, NarrowFieldsKeepTheirLowBits) {
    AlarmServiceParam service;
    std::string printed;
    EXPECT_TRUE(
        parseCaptured<AlarmServiceParamXml>("<AlarmServiceParam AlarmCenterEnableFlag=\"TRUE\" "
                                            "AlarmCenterServerPort=\"70000\" IPProtoVer=\"2\" />",
                                            service, printed));
    EXPECT_TRUE(service.getAlarmCenterEnableFlag());
    EXPECT_EQ(service.getAlarmCenterServerPort(), 70000 - 65536);

    AlarmInStatistic statistic;
    EXPECT_TRUE(parseCaptured<AlarmInStatisticXml>(
        "<AlarmInStatistic AlarmInId=\"1\" AlarmInStatus=\"300\" />", statistic, printed));
    EXPECT_EQ(statistic.getAlarmInStatus(), 300 - 256);
    NodePtr node(new DomainXmlNode("AlarmInStatistic"));
    ASSERT_TRUE(AlarmInStatisticXml().createDomainXmlNode(statistic, node));
    EXPECT_EQ(printXml(node),
              "<AlarmInStatistic AlarmInId=\"1\" AlarmInStatus=\"44\" LastAlarmTime=\"0\" />\n");
}

TEST(AlarmCatalogue, NvrAlarmActionOptionalItemsStay) {
    NVRAlarmAction action;
    action.setEnableFlag(true);
    action.setActiveIdList(std::vector<int>{4, 5});
    std::string printed;
    EXPECT_TRUE(parseCaptured<NVRAlarmActionXml>("<NVRAlarmAction ActionType=\"3\" />", action, printed));
    EXPECT_EQ(action.getActionType(), 3);
    EXPECT_TRUE(action.getEnableFlag());
    EXPECT_EQ(action.getActiveIdList(), (std::vector<int>{4, 5}));

    EXPECT_TRUE(
        parseCaptured<NVRAlarmActionXml>("<NVRAlarmAction EnableFlag=\"false\"><ActiveIdList><ActiveId "
                                         "ActiveId=\"8\" /><Skip ActiveId=\"1\" />"
                                         "<ActiveId ActiveId=\"9\" /></ActiveIdList></NVRAlarmAction>",
                                         action, printed));
    EXPECT_EQ(action.getActionType(), 0);
    EXPECT_FALSE(action.getEnableFlag());
    // Scalar items are taken by their tag only.
    EXPECT_EQ(action.getActiveIdList(), (std::vector<int>{8, 9}));
}

TEST(AlarmCatalogue, AppTokenListNestsItsOwnTag) {
    AlarmPushParam token;
    token.setChannelID("abc\"1");
    token.setSystemType(2);
    AppTokenList tokens;
    tokens.setAppTokenList(std::vector<AlarmPushParam>(1, token));
    NodePtr node(new DomainXmlNode("AppTokenList"));
    ASSERT_TRUE(AppTokenListXml().createDomainXmlNode(&tokens, node));
    EXPECT_EQ(
        printXml(node),
        "<AppTokenList>\n\t<AppTokenList>\n\t\t<AlarmPushParam ChannelID='abc&quot;1' SystemType=\"2\" />\n"
        "\t</AppTokenList>\n</AppTokenList>\n");

    AppTokenList back;
    ASSERT_TRUE(AppTokenListXml().parseDomainXmlNode(node, &back));
    ASSERT_EQ(back.getAppTokenList().size(), 1u);
    EXPECT_EQ(back.getAppTokenList()[0].getChannelID(), "abc\"1");
}

}  // namespace
