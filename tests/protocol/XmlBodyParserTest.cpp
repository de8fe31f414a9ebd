// The XML body: the envelope document, element names, skipping and failures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "domain/DomainContainer.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/EtResult.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"

using namespace protocol_test;

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

bool parseBody(const std::string& text, DomainList& domains) {
    return SDKNormalXmlBodyParser().parseCommandBody(bufferOf(text), domains);
}

std::string createBody(const DomainList& domains) {
    CommandBuffer out;
    EXPECT_TRUE(SDKNormalXmlBodyParser().createCommandBody(domains, out));
    return textOf(out);
}

SafePointer<BaseDomain> result(int code) {
    EtResult* r = new EtResult();
    r->setCode(code);
    return SafePointer<BaseDomain>(r);
}

// The codes of a list that holds results only.
std::vector<int> codes(const DomainList& domains) {
    std::vector<int> out;
    for (const auto& d : domains) out.push_back(dynamic_cast<const EtResult&>(*d).getCode());
    return out;
}

// A record type that no factory row names.
class UnnamedRecord : public BaseDomain {
  public:
    UnnamedRecord() { m_nDomainId = 7000; }
};

}  // namespace

TEST(XmlBody, EmptyListIsThe67ByteDocumentAndReadsBackEmpty) {
    CommandBuffer out;
    ASSERT_TRUE(SDKNormalXmlBodyParser().createCommandBody(DomainList(), out));
    EXPECT_EQ(kDeclaration + "<Parameters Version=\"1\" />\n", textOf(out));
    EXPECT_EQ(67u, out.getLength());
    EXPECT_EQ(68u, out.getCapacity());  // one spare zero byte behind the text
    EXPECT_EQ(0, out.getCursor()[67]);
    DomainList domains;
    EXPECT_TRUE(SDKNormalXmlBodyParser().parseCommandBody(out, domains));
    EXPECT_TRUE(domains.empty());
}

TEST(XmlBody, ExampleReplyLineByLine) {
    ChannelInfo channel;
    channel.setLocalChannelID(1);
    channel.setChannelName("c1");
    channel.setDeviceID("d1");
    channel.setDeviceType(2);
    auto* list = new DomainVectorContainer<ChannelInfo>();
    list->getItems().push_back(channel);
    const std::string text = createBody({result(0), SafePointer<BaseDomain>(list)});
    EXPECT_EQ(kDeclaration +
                  "<Parameters Version=\"1\">\n"
                  "\t<Result Code=\"0\" />\n"
                  "\t<ChannelInfoList>\n"
                  "\t\t<ChannelInfo LocalChannelID=\"1\" State=\"0\" ChannelName=\"c1\" DeviceID=\"d1\" "
                  "DeviceType=\"2\" />\n"
                  "\t</ChannelInfoList>\n"
                  "</Parameters>\n",
              text);
    DomainList read;
    ASSERT_TRUE(parseBody(text, read));
    ASSERT_EQ(2u, read.size());
    EXPECT_EQ((std::vector<int>{0}), codes(DomainList(1, read[0])));
    const auto& container = dynamic_cast<const DomainVectorContainer<ChannelInfo>&>(*read[1]);
    ASSERT_EQ(1u, container.getItems().size());
    EXPECT_EQ("d1", container.getItems()[0].getDeviceID());

    // An empty container is one empty element and reads back as an empty container.
    const std::string empty = createBody({SafePointer<BaseDomain>(new DomainVectorContainer<ChannelInfo>())});
    EXPECT_EQ(kDeclaration + "<Parameters Version=\"1\">\n\t<ChannelInfoList />\n</Parameters>\n", empty);
    read.clear();
    ASSERT_TRUE(parseBody(empty, read));
    ASSERT_EQ(1u, read.size());
    EXPECT_TRUE(dynamic_cast<const DomainVectorContainer<ChannelInfo>&>(*read[0]).getItems().empty());
}

TEST(XmlBody, ElementNames) {
    // A record without an element name is left out; the table comes before the factory.
    EXPECT_EQ(
        kDeclaration +
            "<Parameters Version=\"1\">\n\t<Result Code=\"1\" />\n\t<Result Code=\"2\" />\n</Parameters>\n",
        createBody({result(1), SafePointer<BaseDomain>(new UnnamedRecord()), result(2)}));
    SDKNormalXmlBodyParser parser;
    std::string name;
    EXPECT_TRUE(parser.getNodeName(SafePointer<BaseDomain>(new DomainVectorContainer<EtResult>()), name));
    EXPECT_EQ("ResultList", name);
    EXPECT_FALSE(parser.getNodeName(SafePointer<BaseDomain>(new UnnamedRecord()), name));
    SafePointer<BaseDomain> special;
    EXPECT_FALSE(parser.createSpecialDomain("Result", special));
    EXPECT_TRUE(special.isNull());
}

TEST(XmlBody, Reading) {
    const std::string body =
        kDeclaration + "<Parameters Version=\"1\">\n\t<Result Code=\"7\" />\n</Parameters>\n";
    std::string cutInside = body;
    cutInside[kDeclaration.size() + 10] = '\0';
    const struct {
        std::string text;
        bool ok;
        std::vector<int> codes;
    } rows[] = {
        {"<Foo><Result Code=\"3\" /><Result Code=\"4\" /></Foo>", true, {3, 4}},  // any root, document order
        {"<!-- c --><Parameters Version=\"9\" X=\"y\"><Result Code=\"5\"/></Parameters>", true, {5}},
        {"<P><Result Code=\"1\" /><NoSuchRecord A=\"1\"><Result Code=\"9\" /></NoSuchRecord><NoSuchList />"
         "<Result Code=\"2\" /></P>",
         true,
         {1, 2}},  // unknown elements are skipped
        {"<Parameters Version=\"1\" />", true, {}},
        {body + std::string(1, '\0') + "<garbage", true, {7}},  // a zero byte ends the text
        {cutInside, false, {}},
        {"", false, {}},
        {"not xml", false, {}},
        {kDeclaration, false, {}},
        {"<Parameters Version=\"1\">", false, {}},
        {"<Parameters><Result Code=\"1\"></Parameters>", false, {}},
        {"<", false, {}},
        {"<!--", false, {}},
        {std::string("\xff\xfe\x00<", 4), false, {}},
    };
    for (const auto& row : rows) {
        DomainList domains;
        EXPECT_EQ(row.ok, parseBody(row.text, domains)) << row.text;
        EXPECT_EQ(row.codes, codes(domains)) << row.text;
    }
    DomainList domains;
    EXPECT_FALSE(SDKNormalXmlBodyParser().parseCommandBody(CommandBuffer(), domains));
}

TEST(XmlBody, AMissingMandatoryAttributeFailsTheBody) {
    const std::string body =
        kDeclaration +
        "<Parameters Version=\"1\">\n\t<Result Code=\"1\" />\n"
        "\t<MotionDetectionStreamReq CameraId=\"2\" />\n\t<Result Code=\"2\" />\n</Parameters>\n";
    DomainList domains;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(parseBody(body, domains));
    EXPECT_EQ("EtMotionDetectionStreamReqXml::parseDomainXmlNode get ConsumerId failed \n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(1u, domains.size());  // the record before the failing one was read

    // Through the command parser nothing reaches the caller.
    SafePointer<CommandParam> param;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(SDKCommandParser().parseCommand(bufferOf(datagram(1000, body)), param));
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(param.isNull());
}

TEST(XmlBody, LeadBytesAtTheEndStayInsideTheText) {
    // A UTF-8 lead byte announces up to three more bytes; near the end of the
    // text the XML library can step over the terminating zero (seen in fuzzing;
    // fuzz/corpus/parse_command/utf8-lead-bytes.bin). Whatever the result,
    // nothing may be read behind the text (sanitizer builds check it).
    const std::string ends[] = {"\xE1", "\xF0", "\xF0\x90", "\xF4\x8F\xBF", "\xFF\xFF"};
    const std::string starts[] = {"<P>", "<P><A>x", "<P \xE1", "<P><A B=\"", "<P>" + std::string(97, '\xE1')};
    for (const std::string& start : starts) {
        for (const std::string& end : ends) {
            DomainList domains;
            parseBody(kDeclaration + start + end, domains);
            parseBody(start + end, domains);
        }
    }
}

TEST(XmlBody, DeepAndHugeDocuments) {
    const unsigned limit = SDKNormalXmlBodyParser::kMaxNestingDepth;
    auto nested = [](unsigned depth) {
        std::string s;
        for (unsigned i = 0; i < depth; ++i) s += "<A x=\"/>\">";
        for (unsigned i = 0; i < depth; ++i) s += "</A>";
        return s;
    };
    DomainList domains;
    EXPECT_TRUE(parseBody(nested(limit), domains));
    EXPECT_TRUE(domains.empty());
    EXPECT_FALSE(parseBody(nested(limit + 1), domains));
    // Far deeper than the stack of the XML library could follow.
    EXPECT_FALSE(parseBody(nested(200000), domains));
    std::string openOnly;
    for (int i = 0; i < 200000; ++i) openOnly += "<A>";
    EXPECT_FALSE(parseBody(openOnly, domains));
    // Self-closing siblings, comments and CDATA do not count as depth.
    std::string flat = "<P>";
    for (int i = 0; i < 2000; ++i) flat += "<A/><!-- <B> --><X><![CDATA[<C><C>]]></X>";
    EXPECT_TRUE(parseBody(flat + "</P>", domains));

    // Many records up to the element bound; one element more fails.
    const unsigned most = SDKNormalXmlBodyParser::kMaxElements;
    std::string many = "<Parameters>";
    for (unsigned i = 1; i < most; ++i) many += "<Result Code=\"" + std::to_string(i) + "\" />";
    domains.clear();
    ASSERT_TRUE(parseBody(many + "</Parameters>", domains));
    ASSERT_EQ(most - 1, domains.size());
    EXPECT_EQ(static_cast<int>(most - 1), codes(domains).back());
    domains.clear();
    EXPECT_FALSE(parseBody(many + "<Result /></Parameters>", domains));
    // Far more elements than the pointer registry could hold at once.
    std::string lots = "<Parameters><ChannelInfoList>";
    for (int i = 0; i < 30000; ++i) lots += "<ChannelInfo />";
    EXPECT_FALSE(parseBody(lots + "</ChannelInfoList></Parameters>", domains));

    // A megabyte in one attribute is no problem.
    domains.clear();
    ASSERT_TRUE(parseBody("<P><ChannelInfoList><ChannelInfo ChannelName=\"" + std::string(1 << 20, 'n') +
                              "\" /></ChannelInfoList></P>",
                          domains));
    EXPECT_EQ(size_t(1) << 20, dynamic_cast<const DomainVectorContainer<ChannelInfo>&>(*domains[0])
                                   .getItems()[0]
                                   .getChannelName()
                                   .size());
}

TEST(XmlBody, DeviceReplyCarriesTheSummary) {
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    ASSERT_TRUE(parser.parseCommand(
        bufferOf(datagram(30540, kDeclaration +
                                     "<Parameters><DeviceSummaryInfo DeviceId=\"ID-1\" "
                                     "DeviceName=\"cam &amp; co\" DevicePort=\"30001\" HttpPort=\"80\" />"
                                     "</Parameters>")),
        param));
    DeviceSummaryInfo summary;
    ASSERT_TRUE(extractDomain(summary, sdk(param).m_domains));
    EXPECT_EQ("ID-1", summary.getDeviceId());
    EXPECT_EQ("cam & co", summary.getDeviceName());
    EXPECT_EQ(30001, summary.getDevicePort());
    EXPECT_EQ("80", summary.getHttpPort());

    // A reply without a summary is useless to the search.
    ASSERT_TRUE(parser.parseCommand(
        bufferOf(datagram(30540, "<Parameters><Result Code=\"0\"/></Parameters>")), param));
    DeviceSummaryInfo none;
    EXPECT_FALSE(extractDomain(none, sdk(param).m_domains));
}
