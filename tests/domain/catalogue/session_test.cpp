// Session messages (the Et family): absent values that differ from 0, own log
// lines, mandatory attributes and children, item names and scalar lists.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/DomainContainer.h"
#include "domain/DomainFactory.h"
#include "domain/codecs/EtHoldTypeListXml.h"
#include "domain/codecs/EtInterPhoneRespXml.h"
#include "domain/codecs/EtMotionDetectionStreamReqXml.h"
#include "domain/codecs/EtOperatorTypeXml.h"
#include "domain/codecs/EtPTZLastStateConfigXml.h"
#include "domain/codecs/EtPTZUserConfigXml.h"
#include "domain/codecs/EtRecordPolicyXml.h"
#include "domain/codecs/EtStringListXml.h"

namespace {

using namespace catalogue_test;

TEST(SessionMessages, OperatorTypeAbsentIdsReadAsOneWithOwnLines) {
    EtOperatorType record;
    EXPECT_EQ(record.getCameraID(), 1);
    EXPECT_EQ(record.getPTZID(), 1);
    record.setOperatorType(9);
    record.setCameraID(7);
    record.setPTZID(8);

    bool ok = false;
    std::string out = parseLogged<EtOperatorTypeXml>("<OperatorType />", record, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(out, "getProperty get nCameraID =0 failed \ngetProperty get nPTZID = 0  failed \n");
    EXPECT_EQ(record.getOperatorType(), 0);  // reset
    EXPECT_EQ(record.getCameraID(), 1);
    EXPECT_EQ(record.getPTZID(), 1);

    out = parseLogged<EtOperatorTypeXml>("<OperatorType OperatorType=\"3\" CameraID=\"0\" PTZID=\"12x\" />",
                                         record, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(out, "");
    EXPECT_EQ(record.getOperatorType(), 3);
    EXPECT_EQ(record.getCameraID(), 0);  // present: the value read, even 0
    EXPECT_EQ(record.getPTZID(), 12);
}

TEST(SessionMessages, MotionDetectionStreamReqIsMandatory) {
    EtMotionDetectionStreamReq record;
    record.setConsumerId(44);
    bool ok = true;
    std::string out = parseLogged<EtMotionDetectionStreamReqXml>(
        "<MotionDetectionStreamReq ConsumerId=\"5\" />", record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "EtMotionDetectionStreamReqXml::parseDomainXmlNode get CameraId failed \n");
    EXPECT_EQ(record.getConsumerId(), 44);  // the parse stopped before it

    out =
        parseLogged<EtMotionDetectionStreamReqXml>("<MotionDetectionStreamReq CameraId=\"2\" />", record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "EtMotionDetectionStreamReqXml::parseDomainXmlNode get ConsumerId failed \n");
    EXPECT_EQ(record.getCameraId(), 2);
    EXPECT_EQ(record.getConsumerId(), 44);

    out = parseLogged<EtMotionDetectionStreamReqXml>(
        "<MotionDetectionStreamReq CameraId=\"2\" ConsumerId=\"6\" />", record, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(out, "");
    EXPECT_EQ(record.getConsumerId(), 6);
}

TEST(SessionMessages, StringListWireFormAndOptionalList) {
    EtStringList record;
    record.setStringList({"first", "a \"quoted\" one"});
    NodePtr node(new DomainXmlNode("StringList"));
    EtStringListXml codec;
    ASSERT_TRUE(codec.createDomainXmlNode(static_cast<const BaseDomain*>(&record), node));
    EXPECT_EQ(printXml(node),
              "<StringList>\n"
              "\t<StringList>\n"
              "\t\t<String String=\"first\" />\n"
              "\t\t<String String='a &quot;quoted&quot; one' />\n"
              "\t</StringList>\n"
              "</StringList>\n");

    EtStringList back;
    ASSERT_TRUE(codec.parseDomainXmlNode(node, static_cast<BaseDomain*>(&back)));
    EXPECT_EQ(back.getStringList(), record.getStringList());

    // An empty list element gives an empty list; no list element keeps the old one.
    NodePtr empty = parseXml("<StringList><StringList /></StringList>");
    ASSERT_TRUE(codec.parseDomainXmlNode(empty, back));
    EXPECT_TRUE(back.getStringList().empty());
    NodePtr none = parseXml("<StringList />");
    ASSERT_TRUE(codec.parseDomainXmlNode(none, record));
    EXPECT_EQ(record.getStringList().size(), 2u);
}

TEST(SessionMessages, StringListIsOneRecordByNameAndAContainerWithListBehind) {
    SafePointer<BaseDomain> single(createDomain("StringList"));
    ASSERT_FALSE(single.isNull());
    EXPECT_EQ(single->getDomainId(), 1029);
    SafePointer<BaseDomain> list(createDomain("StringListList"));
    ASSERT_FALSE(list.isNull());
    EXPECT_EQ(list->getDomainId(), 99999);
    EXPECT_EQ(static_cast<DomainContainer*>(list.get())->getElementDomainId(), 1029);
    // Et records drop the prefix in the tables, except the three that keep it.
    SafePointer<BaseDomain> op(createDomain("OperatorType"));
    ASSERT_FALSE(op.isNull());
    EXPECT_EQ(op->getDomainId(), 1108);
    SafePointer<BaseDomain> user(createDomain("EtPTZUserConfig"));
    ASSERT_FALSE(user.isNull());
    EXPECT_EQ(user->getDomainId(), 4601);
}

TEST(SessionMessages, HoldTypeListScalarItems) {
    EtHoldTypeList record;
    record.setTypeList({3, -1});
    NodePtr node(new DomainXmlNode("HoldTypeList"));
    EtHoldTypeListXml codec;
    ASSERT_TRUE(codec.createDomainXmlNode(record, node));
    EXPECT_EQ(printXml(node),
              "<HoldTypeList>\n"
              "\t<TypeList>\n"
              "\t\t<Type Type=\"3\" />\n"
              "\t\t<Type Type=\"-1\" />\n"
              "\t</TypeList>\n"
              "</HoldTypeList>\n");
    EtHoldTypeList back;
    ASSERT_TRUE(codec.parseDomainXmlNode(node, back));
    EXPECT_EQ(back.getTypeList(), record.getTypeList());
}

TEST(SessionMessages, InterPhoneRespCarriesLengthsBesideChildren) {
    EtInterPhoneResp record;
    InetAddr addr;
    addr.setIP("10.0.0.2");
    addr.setPORT(8000);
    addr.setIPProtoVer(1);
    record.setRTPAddr(addr);
    record.setRTPAddrLen(99);  // not compared with the child
    record.setAudioInfoLen(3);
    NodePtr node(new DomainXmlNode("InterPhoneResp"));
    EtInterPhoneRespXml codec;
    ASSERT_TRUE(codec.createDomainXmlNode(record, node));
    const std::string text = printXml(node);
    EXPECT_EQ(text.substr(0, text.find('\n')), "<InterPhoneResp RTPAddrLen=\"99\" AudioInfoLen=\"3\">");
    EXPECT_NE(text.find("\t<RTPAddr IP=\"10.0.0.2\" PORT=\"8000\" IPProtoVer=\"1\" />\n"), std::string::npos);

    EtInterPhoneResp back;
    ASSERT_TRUE(codec.parseDomainXmlNode(node, back));
    EXPECT_EQ(back.getRTPAddrLen(), 99);
    EXPECT_EQ(back.getAudioInfoLen(), 3);
    EXPECT_EQ(back.getRTPAddr().getIP(), "10.0.0.2");
    EXPECT_EQ(back.getRTPAddr().getPORT(), 8000);
}

TEST(SessionMessages, RecordPolicyKeepsScheduleWithoutItsList) {
    EtScheduleTime slot;
    slot.setWeekDay(2);
    slot.setStartTime(60);
    slot.setEndTime(120);
    EtRecordPolicy record;
    record.setScheduleTimeList({slot});
    record.setSaveDays(30);
    EtRecordPolicyXml codec;
    NodePtr bare = parseXml("<RecordPolicy ChannelId=\"4\" />");
    ASSERT_TRUE(codec.parseDomainXmlNode(bare, record));
    EXPECT_EQ(record.getChannelId(), 4);
    EXPECT_EQ(record.getSaveDays(), 0);  // reset attribute
    ASSERT_EQ(record.getScheduleTimeList().size(), 1u);
    EXPECT_EQ(record.getScheduleTimeList()[0].getEndTime(), 120);

    // The items carry the class name, the Et prefix included.
    NodePtr node(new DomainXmlNode("RecordPolicy"));
    ASSERT_TRUE(codec.createDomainXmlNode(record, node));
    EXPECT_NE(printXml(node).find("\t\t<EtScheduleTime WeekDay=\"2\" StartTime=\"60\" EndTime=\"120\" />\n"),
              std::string::npos);
}

TEST(SessionMessages, PTZConfigListItemNames) {
    EXPECT_EQ((builtItemNames<EtPTZUserConfigXml, EtPTZUserConfig>(1, "EtPTZUserConfigList")),
              std::vector<std::string>{"PTZUserConfig"});
    EXPECT_EQ((builtItemNames<EtPTZLastStateConfigXml, EtPTZLastStateConfig>(2, "EtPTZLastStateConfigList")),
              std::vector<std::string>(2, "PTZLastStateConfig"));
}

TEST(SessionMessages, PTZUserConfigStopsAtFirstMissingChild) {
    EtPTZUserConfig full;
    full.setVerticalMaxPositionNum(5);
    EtPTZUserConfigXml codec;
    NodePtr node(new DomainXmlNode("EtPTZUserConfig"));
    ASSERT_TRUE(codec.createDomainXmlNode(full, node));
    EtPTZUserConfig back;
    ASSERT_TRUE(codec.parseDomainXmlNode(node, back));
    EXPECT_EQ(back.getVerticalMaxPositionNum(), 5);

    // Without PTZNorth the parse fails and PTZKeeper, which follows, is not read.
    PTZKeeper keeper;
    keeper.setWaitTime(17);
    EtPTZUserConfig record;
    record.setPTZKeeper(keeper);
    bool ok = true;
    std::string out = parseLogged<EtPTZUserConfigXml>(
        "<EtPTZUserConfig VerticalMaxPositionNum=\"3\">"
        "<PTZKeeper WaitTime=\"99\" /><PTZSpeed /><PresetList /><PTZTourParamList />"
        "<PTZScanList /><PTZTraceList /></EtPTZUserConfig>",
        record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "");
    EXPECT_EQ(record.getVerticalMaxPositionNum(), 3);
    EXPECT_EQ(record.getPTZKeeper().getWaitTime(), 17);

    // A missing list fails it as well.
    out = parseLogged<EtPTZUserConfigXml>(
        "<EtPTZUserConfig VerticalMaxPositionNum=\"3\"><PTZNorth /><PTZKeeper WaitTime=\"99\" /><PTZSpeed />"
        "<PresetList /><PTZTourParamList /><PTZScanList /></EtPTZUserConfig>",
        record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(record.getPTZKeeper().getWaitTime(), 99);
}

}  // namespace
