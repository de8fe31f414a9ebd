// The XML body: the envelope document, element names, skipping and failures.
#include <gtest/gtest.h>

#include <string>

#include "domain/DomainContainer.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/EtResult.h"

using namespace protocol_test;

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

std::string document(const std::string& tree) {
    return kDeclaration + tree;
}

// Parses a body text through the XML body parser.
bool parseBody(const std::string& text, DomainList& domains) {
    SDKNormalXmlBodyParser parser;
    return parser.parseCommandBody(bufferOf(text), domains);
}

int codeOf(const SafePointer<BaseDomain>& domain) {
    return dynamic_cast<const EtResult&>(*domain).getCode();
}

SafePointer<BaseDomain> result(int code) {
    EtResult* r = new EtResult();
    r->setCode(code);
    return SafePointer<BaseDomain>(r);
}

// A record type that no factory row names.
class UnnamedRecord : public BaseDomain {
  public:
    UnnamedRecord() { m_nDomainId = 7000; }
};

}  // namespace

TEST(XmlBody, EmptyListIsThe67ByteDocumentAndReadsBackEmpty) {
    SDKNormalXmlBodyParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommandBody(DomainList(), out));
    EXPECT_EQ(document("<Parameters Version=\"1\" />\n"), textOf(out));
    EXPECT_EQ(67u, out.getLength());
    EXPECT_EQ(68u, out.getCapacity());  // one spare zero byte behind the text
    EXPECT_EQ(0, out.getCursor()[67]);

    DomainList domains;
    EXPECT_TRUE(parser.parseCommandBody(out, domains));
    EXPECT_TRUE(domains.empty());
}

TEST(XmlBody, ExampleReplyLineByLine) {
    ChannelInfo channel;
    channel.setLocalChannelID(1);
    channel.setState(0);
    channel.setChannelName("c1");
    channel.setDeviceID("d1");
    channel.setDeviceType(2);
    auto* list = new DomainVectorContainer<ChannelInfo>();
    list->getItems().push_back(channel);
    DomainList domains{result(0), SafePointer<BaseDomain>(list)};

    SDKNormalXmlBodyParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommandBody(domains, out));
    const std::string expected = document(
        "<Parameters Version=\"1\">\n"
        "\t<Result Code=\"0\" />\n"
        "\t<ChannelInfoList>\n"
        "\t\t<ChannelInfo LocalChannelID=\"1\" State=\"0\" ChannelName=\"c1\" DeviceID=\"d1\" "
        "DeviceType=\"2\" />\n"
        "\t</ChannelInfoList>\n"
        "</Parameters>\n");
    EXPECT_EQ(expected, textOf(out));

    DomainList read;
    ASSERT_TRUE(parser.parseCommandBody(out, read));
    ASSERT_EQ(2u, read.size());
    EXPECT_EQ(801, read[0]->getDomainId());
    EXPECT_EQ(0, codeOf(read[0]));
    const auto& container = dynamic_cast<const DomainVectorContainer<ChannelInfo>&>(*read[1]);
    EXPECT_EQ(67, container.getElementDomainId());
    ASSERT_EQ(1u, container.getItems().size());
    EXPECT_EQ("c1", container.getItems()[0].getChannelName());
    EXPECT_EQ("d1", container.getItems()[0].getDeviceID());
    EXPECT_EQ(2, container.getItems()[0].getDeviceType());
}

TEST(XmlBody, EmptyContainerWritesOneEmptyElementAndReadsBack) {
    DomainList domains{SafePointer<BaseDomain>(new DomainVectorContainer<ChannelInfo>())};
    SDKNormalXmlBodyParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommandBody(domains, out));
    EXPECT_EQ(document("<Parameters Version=\"1\">\n\t<ChannelInfoList />\n</Parameters>\n"), textOf(out));
    DomainList read;
    ASSERT_TRUE(parser.parseCommandBody(out, read));
    ASSERT_EQ(1u, read.size());
    const auto* container = dynamic_cast<const DomainVectorContainer<ChannelInfo>*>(read[0].get());
    ASSERT_NE(nullptr, container);
    EXPECT_EQ(99999, container->getDomainId());
    EXPECT_TRUE(container->getItems().empty());
}

TEST(XmlBody, RecordsWithoutAnElementNameAreLeftOut) {
    DomainList domains{result(1), SafePointer<BaseDomain>(new UnnamedRecord()), result(2)};
    SDKNormalXmlBodyParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommandBody(domains, out));
    EXPECT_EQ(
        document(
            "<Parameters Version=\"1\">\n\t<Result Code=\"1\" />\n\t<Result Code=\"2\" />\n</Parameters>\n"),
        textOf(out));
}

TEST(XmlBody, NodeNamesComeFromTheTableBeforeTheFactory) {
    SDKNormalXmlBodyParser parser;
    std::string name;
    EXPECT_TRUE(parser.getNodeName(result(0), name));
    EXPECT_EQ("Result", name);
    EXPECT_TRUE(parser.getNodeName(SafePointer<BaseDomain>(new DomainVectorContainer<EtResult>()), name));
    EXPECT_EQ("ResultList", name);
    name = "kept";
    EXPECT_FALSE(parser.getNodeName(SafePointer<BaseDomain>(new UnnamedRecord()), name));
    SafePointer<BaseDomain> special;
    EXPECT_FALSE(parser.createSpecialDomain("Result", special));
    EXPECT_TRUE(special.isNull());
}

TEST(XmlBody, AnyRootNameAndOrderOfRecords) {
    DomainList domains;
    ASSERT_TRUE(
        parseBody(document("<Foo>\n\t<Result Code=\"3\" />\n\t<Result Code=\"4\" />\n</Foo>\n"), domains));
    ASSERT_EQ(2u, domains.size());
    EXPECT_EQ(3, codeOf(domains[0]));
    EXPECT_EQ(4, codeOf(domains[1]));
    EtResult first;
    ASSERT_TRUE(extractDomain(first, domains));
    EXPECT_EQ(3, first.getCode());

    // No declaration, attributes on the root ignored, a comment before the root.
    domains.clear();
    ASSERT_TRUE(
        parseBody("<!-- c --><Parameters Version=\"9\" X=\"y\"><Result Code=\"5\"/></Parameters>", domains));
    ASSERT_EQ(1u, domains.size());
    EXPECT_EQ(5, codeOf(domains[0]));
}

TEST(XmlBody, UnknownElementsAreSkipped) {
    DomainList domains;
    ASSERT_TRUE(parseBody(document("<Parameters Version=\"1\">\n"
                                   "\t<Result Code=\"1\" />\n"
                                   "\t<NoSuchRecord A=\"1\"><Result Code=\"9\" /></NoSuchRecord>\n"
                                   "\t<NoSuchList />\n"
                                   "\t<Result Code=\"2\" />\n"
                                   "</Parameters>\n"),
                          domains));
    ASSERT_EQ(2u, domains.size());
    EXPECT_EQ(1, codeOf(domains[0]));
    EXPECT_EQ(2, codeOf(domains[1]));

    domains.clear();
    ASSERT_TRUE(parseBody("<Parameters Version=\"1\" />", domains));
    EXPECT_TRUE(domains.empty());
}

TEST(XmlBody, AMissingMandatoryAttributeFailsTheBody) {
    const std::string body = document(
        "<Parameters Version=\"1\">\n"
        "\t<Result Code=\"1\" />\n"
        "\t<MotionDetectionStreamReq CameraId=\"2\" />\n"
        "\t<Result Code=\"2\" />\n"
        "</Parameters>\n");
    DomainList domains;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(parseBody(body, domains));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, printed.find("ConsumerId")) << printed;
    // The record before the failing one was read.
    ASSERT_EQ(1u, domains.size());

    // Through the command parser nothing reaches the caller.
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(1000, body)), param));
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(param.isNull());

    // With both attributes it reads.
    domains.clear();
    ASSERT_TRUE(parseBody("<P><MotionDetectionStreamReq CameraId=\"2\" ConsumerId=\"3\" /></P>", domains));
    EXPECT_EQ(1u, domains.size());
}

TEST(XmlBody, AZeroByteEndsTheText) {
    std::string body = document("<Parameters Version=\"1\">\n\t<Result Code=\"7\" />\n</Parameters>\n");
    std::string cutAfter = body + std::string(1, '\0') + "<garbage";
    DomainList domains;
    ASSERT_TRUE(parseBody(cutAfter, domains));
    ASSERT_EQ(1u, domains.size());
    EXPECT_EQ(7, codeOf(domains[0]));

    std::string cutInside = body;
    cutInside[kDeclaration.size() + 10] = '\0';
    domains.clear();
    EXPECT_FALSE(parseBody(cutInside, domains));
}

TEST(XmlBody, TextsThatAreNoDocumentFail) {
    const char* const bad[] = {
        "",
        "not xml",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n",
        "<Parameters Version=\"1\">",
        "<Parameters><Result Code=\"1\"></Parameters>",
        "<",
        "<!--",
        "\xff\xfe\x00<",
    };
    for (const char* text : bad) {
        DomainList domains;
        EXPECT_FALSE(parseBody(text, domains)) << text;
        EXPECT_TRUE(domains.empty());
    }
    // A buffer without a block.
    DomainList domains;
    SDKNormalXmlBodyParser parser;
    EXPECT_FALSE(parser.parseCommandBody(CommandBuffer(), domains));
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
            parseBody(document(start + end), domains);
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
    flat += "</P>";
    EXPECT_TRUE(parseBody(flat, domains));

    // Many records up to the element bound; one element more fails.
    const unsigned most = SDKNormalXmlBodyParser::kMaxElements;
    std::string many = "<Parameters>";
    for (unsigned i = 1; i < most; ++i) many += "<Result Code=\"" + std::to_string(i) + "\" />";
    domains.clear();
    ASSERT_TRUE(parseBody(many + "</Parameters>", domains));
    ASSERT_EQ(most - 1, domains.size());
    EXPECT_EQ(static_cast<int>(most - 1), codeOf(domains.back()));
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
    ASSERT_EQ(1u, domains.size());
    EXPECT_EQ(size_t(1) << 20, dynamic_cast<const DomainVectorContainer<ChannelInfo>&>(*domains[0])
                                   .getItems()[0]
                                   .getChannelName()
                                   .size());
}

TEST(XmlBody, DeviceReplyCarriesTheSummary) {
    const std::string body = document(
        "<Parameters Version=\"1\">\n"
        "\t<DeviceSummaryInfo DeviceId=\"ID-1\" DeviceType=\"3\" DeviceName=\"cam &amp; co\" "
        "DeviceIP=\"10.0.0.5\" "
        "DevicePort=\"30001\" MACAddr=\"00:11:22:33:44:55\" ManufacturerName=\"M\" ManufacturerId=\"7\" "
        "ProductModel=\"P\" SN=\"S\" SoftWareInfo=\"sw\" HardWareInfo=\"hw\" UpdatePort=\"1\" "
        "HttpPort=\"80\" "
        "DeviceTime=\"t\" />\n"
        "</Parameters>\n");
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    ASSERT_TRUE(parser.parseCommand(bufferOf(datagram(30540, body)), param));
    DeviceSummaryInfo summary;
    ASSERT_TRUE(extractDomain(summary, sdk(param).m_domains));
    EXPECT_EQ("ID-1", summary.getDeviceId());
    EXPECT_EQ("cam & co", summary.getDeviceName());
    EXPECT_EQ(30001, summary.getDevicePort());
    EXPECT_EQ("80", summary.getHttpPort());

    // A reply without a summary is useless to the search.
    ASSERT_TRUE(parser.parseCommand(
        bufferOf(datagram(30540, document("<Parameters><Result Code=\"0\"/></Parameters>"))), param));
    DeviceSummaryInfo none;
    EXPECT_FALSE(extractDomain(none, sdk(param).m_domains));
}
