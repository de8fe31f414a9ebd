// The XML body: the envelope document, element names, skipping and failures.
#include <gtest/gtest.h>

#include "domain/DomainContainer.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/EtResult.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKNormalXmlBodyParser.h"

using namespace protocol_test;

namespace {

typedef DomainVectorContainer<ChannelInfo> Channels;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

bool parseBody(const std::string& text, DomainList& domains) {
    return SDKNormalXmlBodyParser().parseCommandBody(bufferOf(text), domains);
}

std::string createBody(const DomainList& domains) {
    CommandBuffer out;
    EXPECT_TRUE(SDKNormalXmlBodyParser().createCommandBody(domains, out));
    return bytesOf(out);
}

std::string repeat(const std::string& text, unsigned times) {
    std::string out;
    while (times-- > 0) out += text;
    return out;
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

// Written line by line, read and written again: the same text. A container
// without items is one empty element and reads back as one; no records are the
// 67 bytes of an empty document, with a spare zero byte behind them.
TEST(XmlBody, RecordsAndContainersBothWays) {
    auto* list = new Channels();
    list->getItems().resize(1);
    list->getItems()[0].setChannelName("c1");
    const struct {
        DomainList domains;
        std::string text;
    } rows[] = {
        {{result(0), Domain(list)},
         "<Parameters Version=\"1\">\n\t<Result Code=\"0\" />\n\t<ChannelInfoList>\n"
         "\t\t<ChannelInfo LocalChannelID=\"0\" State=\"0\" ChannelName=\"c1\" DeviceID=\"\" "
         "DeviceType=\"0\" />\n\t</ChannelInfoList>\n</Parameters>\n"},
        {{Domain(new Channels())}, "<Parameters Version=\"1\">\n\t<ChannelInfoList />\n</Parameters>\n"},
        {{}, "<Parameters Version=\"1\" />\n"},
        // A record without an element name is left out.
        {{result(1), Domain(new UnnamedRecord()), result(2)},
         "<Parameters Version=\"1\">\n\t<Result Code=\"1\" />\n\t<Result Code=\"2\" />\n</Parameters>\n"},
    };
    for (const auto& row : rows) {
        const std::string text = createBody(row.domains);
        EXPECT_EQ(kDeclaration + row.text, text);
        DomainList read;
        ASSERT_TRUE(parseBody(text, read));
        EXPECT_EQ(text, createBody(read));
    }
    CommandBuffer out;
    ASSERT_TRUE(SDKNormalXmlBodyParser().createCommandBody(DomainList(), out));
    EXPECT_EQ(68u, out.getCapacity());
    EXPECT_EQ(0, out.getCursor()[67]);
}

TEST(XmlBody, Reading) {
    const std::string body =
        kDeclaration + "<Parameters Version=\"1\">\n\t<Result Code=\"7\" />\n</Parameters>\n";
    const struct {
        std::string text;
        std::vector<int> codes;
    } good[] = {
        {"<!-- c --><Foo Version=\"9\" X=\"y\"><Result Code=\"3\" /><Result Code=\"4\"/></Foo>", {3, 4}},
        {"<P><Result Code=\"1\" /><NoSuchRecord A=\"1\"><Result Code=\"9\" /></NoSuchRecord><NoSuchList />"
         "<Result Code=\"2\" /></P>",
         {1, 2}},                                         // unknown elements are skipped
        {body + std::string(1, '\0') + "<garbage", {7}},  // a zero byte ends the text
    };
    for (const auto& row : good) {
        DomainList domains;
        EXPECT_TRUE(parseBody(row.text, domains)) << row.text;
        EXPECT_EQ(row.codes, codes(domains)) << row.text;
    }
    std::string cutInside = body;
    cutInside[kDeclaration.size() + 10] = '\0';
    const std::string bad[] = {cutInside,    "",     "not xml",
                               kDeclaration, "<P>",  "<P><Result Code=\"1\"></P>",
                               "<",          "<!--", std::string("\xff\xfe\x00<", 4)};
    for (const std::string& text : bad) {
        DomainList domains;
        EXPECT_FALSE(parseBody(text, domains)) << text;
        EXPECT_TRUE(domains.empty()) << text;
    }
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
}

TEST(XmlBody, LeadBytesAtTheEndStayInsideTheText) {
    // Near the end of the text a UTF-8 lead byte made the XML library step over the terminating
    // zero (fuzz/corpus/parse_command/utf8-lead-bytes.bin). Whatever the result, nothing may be
    // read behind the text (sanitizer builds check it).
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
    auto nested = [](unsigned depth) { return repeat("<A x=\"/>\">", depth) + repeat("</A>", depth); };
    DomainList domains;
    EXPECT_TRUE(parseBody(nested(limit), domains));
    EXPECT_FALSE(parseBody(nested(limit + 1), domains));
    // Far deeper than the stack of the XML library could follow.
    EXPECT_FALSE(parseBody(nested(200000), domains));
    EXPECT_FALSE(parseBody(repeat("<A>", 200000), domains));
    // Self-closing siblings, comments and CDATA do not count as depth.
    EXPECT_TRUE(
        parseBody("<P>" + repeat("<A/><!-- <B> --><X><![CDATA[<C><C>]]></X>", 2000) + "</P>", domains));

    // Elements up to the bound, the nested ones counted too; one more fails.
    const std::string many =
        "<Parameters><ChannelInfoList>" + repeat("<ChannelInfo />", SDKNormalXmlBodyParser::kMaxElements - 2);
    ASSERT_TRUE(parseBody(many + "</ChannelInfoList></Parameters>", domains));
    EXPECT_EQ(SDKNormalXmlBodyParser::kMaxElements - 2,
              dynamic_cast<const Channels&>(*domains[0]).getItems().size());
    EXPECT_FALSE(parseBody(many + "<ChannelInfo /></ChannelInfoList></Parameters>", domains));

    // A megabyte in one attribute is no problem.
    domains.clear();
    ASSERT_TRUE(parseBody("<P><ChannelInfoList><ChannelInfo ChannelName=\"" + std::string(1 << 20, 'n') +
                              "\" /></ChannelInfoList></P>",
                          domains));
    EXPECT_EQ(size_t(1) << 20,
              dynamic_cast<const Channels&>(*domains[0]).getItems()[0].getChannelName().size());
}
