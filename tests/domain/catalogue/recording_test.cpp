// Recording and snapshot records: reset constructor values, reset lists and
// optional children, 64-bit fields and scalar text lists.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/codecs/DeviceRecordStatReportXml.h"
#include "domain/codecs/RecordDirSpaceInfoXml.h"
#include "domain/codecs/RecordPolicyXml.h"
#include "domain/codecs/ScheduleTimeParamXml.h"
#include "domain/codecs/SnapshotQueryInfoXml.h"

namespace {

using namespace catalogue_test;

std::vector<ScheduleTime> recordingSpans(int count) {
    std::vector<ScheduleTime> spans;
    for (int i = 0; i < count; ++i) {
        ScheduleTime span;
        span.setWeekDay(i);
        span.setStartTime(i * 100);
        span.setEndTime(i * 100 + 50);
        spans.push_back(span);
    }
    return spans;
}

TEST(RecordingCatalogue, RecordPolicyBuildAndResets) {
    RecordPolicy policy;
    EXPECT_EQ(policy.getRecordMode(), 1);
    NodePtr node(new DomainXmlNode("RecordPolicy"));
    ASSERT_TRUE(RecordPolicyXml().createDomainXmlNode(policy, node));
    EXPECT_EQ(printXml(node),
              "<RecordPolicy RecordOpenFlag=\"false\" RecordMode=\"1\" DeviceId=\"\" ChannelId=\"0\" "
              "StreamId=\"0\" "
              "SaveDays=\"0\" AudioOpenFlag=\"false\" DiskGroupId=\"0\">\n"
              "\t<ScheduleTimeList />\n"
              "\t<SnapshotParameter Duration=\"0\" Quality=\"0\" Interval=\"0\" ShootTimes=\"0\">\n"
              "\t\t<VideoResolution VideoHeight=\"0\" VideoWidth=\"0\" ResolutionName=\"\" />\n"
              "\t</SnapshotParameter>\n"
              "</RecordPolicy>\n");

    SnapshotParameter snapshot;
    snapshot.setDuration(5);
    policy.setSnapshotParameter(snapshot);
    policy.setScheduleTimeList(recordingSpans(2));
    std::string printed;
    EXPECT_TRUE(parseCaptured<RecordPolicyXml>("<RecordPolicy RecordOpenFlag=\"true\" ChannelId=\"3\" />",
                                               policy, printed));
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(policy.getRecordOpenFlag());
    EXPECT_EQ(policy.getChannelId(), 3);
    // The constructor's 1 is lost: the attribute is reset.
    EXPECT_EQ(policy.getRecordMode(), 0);
    // A reset list empties, an optional child stays.
    EXPECT_TRUE(policy.getScheduleTimeList().empty());
    EXPECT_EQ(policy.getSnapshotParameter().getDuration(), 5);
}

TEST(RecordingCatalogue, ScheduleTimeParamLists) {
    ScheduleTimeParam plan;
    plan.setScheduleTimeList(recordingSpans(3));
    std::string printed;
    EXPECT_TRUE(parseCaptured<ScheduleTimeParamXml>(
        "<ScheduleTimeParam><ScheduleTimeList /></ScheduleTimeParam>", plan, printed));
    EXPECT_TRUE(plan.getScheduleTimeList().empty());

    EXPECT_TRUE(
        parseCaptured<ScheduleTimeParamXml>("<ScheduleTimeParam><ScheduleTimeList><ScheduleTime "
                                            "WeekDay=\"1\" StartTime=\"0\" EndTime=\"86399\" />"
                                            "<Span WeekDay=\"7\" /></ScheduleTimeList></ScheduleTimeParam>",
                                            plan, printed));
    ASSERT_EQ(plan.getScheduleTimeList().size(), 2u);
    EXPECT_EQ(plan.getScheduleTimeList()[0].getEndTime(), 86399);
    EXPECT_EQ(plan.getScheduleTimeList()[1].getWeekDay(), 7);

    // Round trip of the built form.
    plan.setScheduleTimeList(recordingSpans(2));
    NodePtr node(new DomainXmlNode("ScheduleTimeParam"));
    ASSERT_TRUE(ScheduleTimeParamXml().createDomainXmlNode(plan, node));
    EXPECT_EQ(printXml(node),
              "<ScheduleTimeParam>\n\t<ScheduleTimeList>\n"
              "\t\t<ScheduleTime WeekDay=\"0\" StartTime=\"0\" EndTime=\"50\" />\n"
              "\t\t<ScheduleTime WeekDay=\"1\" StartTime=\"100\" EndTime=\"150\" />\n"
              "\t</ScheduleTimeList>\n</ScheduleTimeParam>\n");
}

TEST(RecordingCatalogue, SnapshotQueryKeepsItsQueryInfo) {
    QueryInfo query;
    query.setChannelId(4);
    query.setMajorType(2);
    SnapshotQueryInfo info;
    info.setQueryInfo(query);
    std::string printed;
    EXPECT_TRUE(parseCaptured<SnapshotQueryInfoXml>("<SnapshotQueryInfo CameraId=\"2\" LockFlag=\"true\" />",
                                                    info, printed));
    EXPECT_EQ(info.getCameraId(), 2);
    EXPECT_TRUE(info.getLockFlag());
    EXPECT_EQ(info.getQueryInfo().getChannelId(), 4);
    EXPECT_EQ(info.getQueryInfo().getMajorType(), 2);

    SnapshotQueryInfo fresh;
    EXPECT_TRUE(parseCaptured<SnapshotQueryInfoXml>("<SnapshotQueryInfo />", fresh, printed));
    EXPECT_EQ(fresh.getQueryInfo().getChannelId(), 0);
}

TEST(RecordingCatalogue, SpaceSizesTravelAsLow32Bits) {
    RecordDirSpaceInfo space;
    space.setTotalSpace((int64_t(1) << 32) + 5);
    space.setFreeSpace(-2);
    space.setActualUseableSpace(int64_t(3) << 31);  // low 32 bits 0x80000000
    NodePtr node(new DomainXmlNode("RecordDirSpaceInfo"));
    ASSERT_TRUE(RecordDirSpaceInfoXml().createDomainXmlNode(space, node));
    std::string text = printXml(node);
    EXPECT_NE(
        text.find(
            "TotalSpace=\"5\" FreeSpace=\"-2\" ActualUseableSpace=\"-2147483648\" RecordFileSize=\"0\""),
        std::string::npos)
        << text;

    RecordDirSpaceInfo back;
    std::string printed;
    EXPECT_TRUE(parseCaptured<RecordDirSpaceInfoXml>(
        "<RecordDirSpaceInfo TotalSpace=\"-1\" FreeSpace=\"2147483647\" RecordFileSize=\"12abc\" />", back,
        printed));
    EXPECT_EQ(back.getTotalSpace(), -1);  // sign-extended
    EXPECT_EQ(back.getFreeSpace(), 2147483647);
    EXPECT_EQ(back.getActualUseableSpace(), 0);
    EXPECT_EQ(back.getRecordFileSize(), 12);
}

TEST(RecordingCatalogue, RecordDataTextList) {
    DeviceRecordStatReport report;
    report.setRecordDataList(std::vector<std::string>{"a", "b"});
    std::string printed;
    EXPECT_TRUE(parseCaptured<DeviceRecordStatReportXml>("<DeviceRecordStatReport CameraId=\"1\" />", report,
                                                         printed));
    EXPECT_EQ(report.getRecordDataList(), (std::vector<std::string>{"a", "b"}));

    EXPECT_TRUE(parseCaptured<DeviceRecordStatReportXml>(
        "<DeviceRecordStatReport><RecordDataList><RecordData RecordData=\"x y\" /><RecordData />"
        "</RecordDataList></DeviceRecordStatReport>",
        report, printed));
    // An item without its attribute reads as the empty text.
    EXPECT_EQ(report.getRecordDataList(), (std::vector<std::string>{"x y", ""}));

    NodePtr node(new DomainXmlNode("DeviceRecordStatReport"));
    ASSERT_TRUE(DeviceRecordStatReportXml().createDomainXmlNode(report, node));
    std::string text = printXml(node);
    EXPECT_NE(
        text.find(
            "\t<RecordDataList>\n\t\t<RecordData RecordData=\"x y\" />\n\t\t<RecordData RecordData=\"\" />\n"
            "\t</RecordDataList>\n"),
        std::string::npos)
        << text;
}

}  // namespace
