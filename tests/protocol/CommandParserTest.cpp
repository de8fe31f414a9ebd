// The 24-byte head, the envelope of SDKCommandParser, the XML body (the
// envelope document, element names, skipping and failures), and the five
// binary bodies, both directions, with lengths that point past the data.
#include <gtest/gtest.h>

#include <typeinfo>
#include <vector>

#include "domain/DomainContainer.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/records/EtResult.h"
#include "protocol/BinaryBodyParsers.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"

using namespace protocol_test;

namespace {

typedef DomainVectorContainer<ChannelInfo> Channels;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

const char kQueryHead[] = "AF AF 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00 7E 23";
const std::string kEmptyDocument = kDeclaration + "<Parameters Version=\"1\" />\n";

bool parseHead(const Bytes& bytes, SafePointer<CommandHeadInfo>& head) {
    return SDKCommandHeadParser().parseCommandHead(bytes.data(), static_cast<unsigned>(bytes.size()), head);
}

// Bytes 0 to 21 as given, with the check byte and the end mark behind them.
Bytes withCheckByte(const char* hex) {
    Bytes bytes = hexBytes(hex);
    bytes.resize(24);
    bytes[22] =
        static_cast<char>(SDKCommandHeadParser::checkByte(reinterpret_cast<unsigned char*>(&bytes[0])));
    bytes[23] = 0x23;
    return bytes;
}

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

template <class D>
D& fill(D& data, const std::string& bytes) {
    data.setData(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    return data;
}

Domain dataBuffer(const std::string& bytes) {
    return Domain(&fill(*new DataBuffer(), bytes));
}

Domain filePack(const std::string& bytes, unsigned char flag) {
    EtFileDataPack* pack = new EtFileDataPack();
    fill(pack->getData(), bytes);
    pack->setFlag(flag);
    return Domain(pack);
}

Domain comWrite(const std::string& bytes, int value1, int value2) {
    EtCOMWriteData* write = new EtCOMWriteData();
    fill(write->getComData(), bytes);
    write->setValue1(value1);
    write->setValue2(value2);
    return Domain(write);
}

Domain ptz(int cameraId, int ptzId, const std::string& operation, const std::string& name) {
    EtPTZOperation* op = new EtPTZOperation();
    op->setCameraId(cameraId);
    op->setPTZId(ptzId);
    op->setPTZOperation(operation);
    op->setName(name);
    return Domain(op);
}

typedef ICommandBodyParser* (*Maker)();
template <class P>
ICommandBodyParser* make() {
    return new P();
}
const Maker snapshot = make<RemoteSnapshotRespBodyParser>;
const Maker paramImport = make<ParamImportReqBodyParser>;
const Maker fileRead = make<FileReadDataCommandBodyParser>;
const Maker comWriteParser = make<COMWriteDataCommandBodyParser>;
const Maker ptzParser = make<PTZOperationBodyParser>;

bool create(Maker make, const DomainList& domains, Bytes& bytes) {
    CommandBuffer out;
    if (!SafePointer<ICommandBodyParser>(make())->createCommandBody(domains, out)) return false;
    bytes = bytesOf(out);
    return true;
}

bool parse(Maker make, const Bytes& body, DomainList& domains) {
    return SafePointer<ICommandBodyParser>(make())->parseCommandBody(bufferOf(body), domains);
}

}  // namespace

TEST(SDKCommandHead, TheMulticastQueryIsExactly91Bytes) {
    CommandBuffer out;
    ASSERT_TRUE(SDKCommandParser().createCommand(makeCommand(30539), out));
    const Bytes expected = hexBytes(kQueryHead) + kEmptyDocument;
    ASSERT_EQ(91u, expected.size());
    EXPECT_EQ(expected, bytesOf(out));
}

// Each head read is written again by the encoder: every field in its place.
TEST(SDKCommandHead, ReadsEveryFieldBigEndian) {
    const struct {
        const char* in;   // bytes 0 to 21
        const char* out;  // as written again, if not the same
    } rows[] = {
        {"AF AF 00 07 12 34 80 80 01 02 03 04 A0 B0 C0 D0 00 00 01 00 00 00", nullptr},
        // Only bit 7 of a flag byte counts; a reserved field is ignored once the check byte covers it.
        {"AF AF 00 01 00 00 7F 01 00 00 77 4B 00 00 00 00 00 00 00 43 12 34",
         "AF AF 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00"},
        {"AF AF 00 01 00 00 80 FF 00 00 77 4B 00 00 00 00 00 00 00 43 00 00",
         "AF AF 00 01 00 00 80 80 00 00 77 4B 00 00 00 00 00 00 00 43 00 00"},
    };
    for (const auto& row : rows) {
        SafePointer<CommandHeadInfo> head;
        ASSERT_TRUE(parseHead(withCheckByte(row.in), head)) << row.in;
        unsigned char again[24];
        SDKCommandHeadParser::encodeHead(dynamic_cast<const SDKCommandHeadInfo&>(*head), again);
        EXPECT_EQ(withCheckByte(row.out != nullptr ? row.out : row.in),
                  Bytes(reinterpret_cast<char*>(again), 24));
    }
}

TEST(SDKCommandHead, Rejections) {
    const Bytes good = hexBytes(kQueryHead);
    SafePointer<CommandHeadInfo> head;
    ASSERT_TRUE(parseHead(good, head));
    SafePointer<CommandHeadInfo> kept = head;
    EXPECT_FALSE(parseHead(good.substr(0, 23), head));
    EXPECT_FALSE(SDKCommandHeadParser().parseCommandHead(nullptr, 24, head));
    EXPECT_FALSE(
        parseHead(withCheckByte("AF AE 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00"), head));
    // One flipped bit anywhere fails the magic, the check byte or the end mark.
    for (unsigned bit = 0; bit < 24 * 8; ++bit) {
        Bytes bad = good;
        bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_FALSE(parseHead(bad, head)) << "bit " << bit;
    }
    EXPECT_EQ(kept.get(), head.get());  // never replaced
}

// The writer puts version 1 and the true body length, whatever the head says;
// read from a cursor behind other bytes and written again, the same bytes.
TEST(SDKCommandParser, CreateWritesVersionOneAndTheTrueLength) {
    SafePointer<CommandParam> param = makeCommand(30541);
    SDKCommandHeadInfo& head = dynamic_cast<SDKCommandParam&>(*param).m_objHead;
    head.nVersion = 9;
    head.nPayloadLength = 1000;
    head.nSequence = 0x0102;
    head.nContext = 0xCAFEBABE;
    head.bFlagB = true;
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(param, out));
    const Bytes written = bytesOf(out);
    EXPECT_EQ(withCheckByte("AF AF 00 01 01 02 00 80 00 00 77 4D CA FE BA BE 00 00 00 43 00 00"),
              written.substr(0, 24));

    CommandBuffer in = bufferOf("zzz" + written);
    in.consume(3);
    SafePointer<CommandParam> read;
    ASSERT_TRUE(parser.parseCommand(in, read));
    EXPECT_TRUE(sdk(read).m_domains.empty());
    CommandBuffer again;
    ASSERT_TRUE(parser.createCommand(read, again));
    EXPECT_EQ(written, bytesOf(again));
}

TEST(SDKCommandParser, RefusalsLeaveOutAndParamAlone) {
    SDKCommandParser parser;
    CommandBuffer out = bufferOf("abc");
    SafePointer<CommandParam> none, plain(new CommandParam()), wrongType = makeCommand(30539);
    wrongType->m_nProtocolType = 2;
    for (const SafePointer<CommandParam>* bad : {&none, &plain, &wrongType}) {
        EXPECT_FALSE(parser.createCommand(*bad, out));
    }
    EXPECT_EQ("abc", bytesOf(out));

    SafePointer<CommandParam> param = makeCommand(1);
    CommandParam* before = param.get();
    const Bytes& body = kEmptyDocument;
    const Bytes refused[] = {
        datagram(30539, body, 68),  // declared length beyond the bytes behind the head
        datagram(30539, body, 0xFFFFFFFFu),
        datagram(30539, body, 0x7FFFFFFFu),
        datagram(30539, Bytes(), 1),
        hexBytes(kQueryHead),  // a head alone
        Bytes(),
        datagram(30539, "not xml at all"),
        datagram(30539, Bytes()),  // length 0 passes the envelope, but an empty text is no document
    };
    for (const Bytes& bytes : refused) EXPECT_FALSE(parser.parseCommand(bufferOf(bytes), param));
    EXPECT_EQ(before, param.get());

    // A declared length shorter than the data: the rest is not part of the body.
    ASSERT_TRUE(parser.parseCommand(bufferOf(datagram(30539, body + "x", 67)), param));
    EXPECT_NE(before, param.get());
}

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

TEST(BodyParserChoice, ByCommandIdentifier) {
    const struct {
        const std::type_info& type;
        std::vector<unsigned> ids;
    } rows[] = {{typeid(PTZOperationBodyParser), {14006}},
                {typeid(FileReadDataCommandBodyParser), {15020, 47005}},
                {typeid(RemoteSnapshotRespBodyParser), {31026, 32743, 32821, 33028}},
                {typeid(COMWriteDataCommandBodyParser), {33019}},
                {typeid(ParamImportReqBodyParser), {33026}},
                {typeid(SDKNormalXmlBodyParser), {30539, 0, 14007, 0xFFFFFFFFu}}};
    for (const auto& row : rows) {
        for (unsigned id : row.ids) {
            SafePointer<ICommandBodyParser> parser(createBodyParser(id));
            const ICommandBodyParser& made = *parser;
            EXPECT_EQ(row.type, typeid(made)) << id;
        }
    }
}

// Each body is written byte for byte; read back and written again it gives the
// same bytes (so every field was read into its place); every proper prefix of
// it but a PTZ body's fails without a record. The code of a file body stands
// at the odd offset 5; a PTZ body without a result has code 0.
TEST(BinaryBodies, LayoutsBothWays) {
    const struct {
        Maker make;
        DomainList domains;
        const char* hex;
    } rows[] = {
        {snapshot, {result(5), dataBuffer("abc")}, "00 00 00 03 00 00 00 05 61 62 63"},
        {snapshot, {dataBuffer("z"), result(-2)}, "00 00 00 01 FF FF FF FE 7A"},
        {paramImport, {dataBuffer("xyz!")}, "00 00 00 04 78 79 7A 21"},
        {fileRead, {filePack("hi", 0x81), result(0x01020304)}, "00 00 00 02 81 01 02 03 04 68 69"},
        {fileRead, {result(3), filePack("", 0)}, "00 00 00 00 00 00 00 00 03"},
        {comWriteParser,
         {result(0), comWrite("\x01\x02\x03", 7, -1)},
         "00 00 00 03 01 02 03 00 00 00 07 FF FF FF FF"},
        {ptzParser,
         {ptz(2, 9, "up", "n1x"), result(4)},
         "00 00 00 04 00 00 00 02 00 00 00 02 75 70 00 00 00 03 6E 31 78 00 00 00 09"},
        {ptzParser, {ptz(1, 1, "", "N")}, "00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 01 4E 00 00 00 01"}};
    for (const auto& row : rows) {
        Bytes bytes, again;
        ASSERT_TRUE(create(row.make, row.domains, bytes)) << row.hex;
        EXPECT_EQ(hexBytes(row.hex), bytes);
        DomainList read;
        ASSERT_TRUE(parse(row.make, bytes, read)) << row.hex;
        ASSERT_TRUE(create(row.make, read, again)) << row.hex;
        EXPECT_EQ(bytes, again);
        for (size_t n = 0; row.make != ptzParser && n < bytes.size(); ++n) {
            DomainList domains;
            EXPECT_FALSE(parse(row.make, bytes.substr(0, n), domains));
            EXPECT_TRUE(domains.empty());
        }
    }
}

// Bodies without the records of their layout, or with empty data, are not written.
TEST(BinaryBodies, Refusals) {
    const Domain emptyBuffer(new DataBuffer());
    const struct {
        Maker make;
        std::vector<DomainList> bodies;
    } rows[] = {{snapshot, {{dataBuffer("abc")}, {result(1)}, {result(1), emptyBuffer}}},
                {paramImport, {{result(0)}, {emptyBuffer}}},
                {fileRead, {{result(3)}, {filePack("", 0)}}},
                {comWriteParser, {{result(0)}, {Domain(new EtCOMWriteData())}}},
                {ptzParser, {{result(1)}}}};
    for (const auto& row : rows) {
        for (const DomainList& domains : row.bodies) {
            Bytes bytes;
            EXPECT_FALSE(create(row.make, domains, bytes));
        }
    }
}

// Bodies read and written again: what the reader made of them; null where the
// reading fails. A PTZ body that ends after Name has PTZId 1; a zero byte in a
// text ends it, its length still counts. Lengths that point past the data
// (other than in the prefixes of the layouts), that are zero or that turn
// negative as a signed number fail.
TEST(BinaryBodies, Reading) {
    const struct {
        Maker make;
        const char* hex;
        const char* again;
    } rows[] = {{ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00",
                 "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 01"},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00",
                 "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00"},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 03 61 00 62 00 00 00 01 63",
                 "00 00 00 00 00 00 00 05 00 00 00 01 61 00 00 00 01 63 00 00 00 01"},
                {snapshot, "00 00 00 00 00 00 00 05", nullptr},
                {snapshot, "FF FF FF FF 00 00 00 05 61", nullptr},
                {snapshot, "7F FF FF FF 00 00 00 05 61", nullptr},
                {paramImport, "00 00 00 00", nullptr},
                {paramImport, "80 00 00 00 01", nullptr},
                {paramImport, "FF FF FF FC 01 02 03 04", nullptr},
                {fileRead, "FF FF FF FF 00 00 00 00 03", nullptr},
                {fileRead, "7F FF FF FF 00 00 00 00 03", nullptr},
                {comWriteParser, "00 00 00 00 00 00 00 07 00 00 00 08", nullptr},
                {comWriteParser, "FF FF FF FF 00 00 00 07 00 00 00 08", nullptr},
                {comWriteParser, "FF FF FF F8 00 00 00 07 00 00 00 08", nullptr},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 05 61 62", nullptr},
                {ptzParser, "00 00 00 00 00 00 00 05 FF FF FF FF 61 62", nullptr},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 7F FF FF FF", nullptr},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00", nullptr},
                {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00", nullptr},
                {ptzParser, "", nullptr}};
    for (const auto& row : rows) {
        DomainList domains;
        Bytes again;
        EXPECT_EQ(row.again != nullptr, parse(row.make, hexBytes(row.hex), domains)) << row.hex;
        EXPECT_EQ(row.again == nullptr, domains.empty()) << row.hex;
        EXPECT_TRUE(row.again == nullptr || create(row.make, domains, again)) << row.hex;
        EXPECT_EQ(hexBytes(row.again != nullptr ? row.again : ""), again) << row.hex;
    }
}

TEST(BinaryBodies, ThroughTheCommandParser) {
    SDKCommandParser parser;
    for (unsigned id : {31026u, 32743u, 32821u, 33028u}) {
        CommandBuffer out;
        ASSERT_TRUE(parser.createCommand(makeCommand(id, {dataBuffer("abc"), result(5)}), out));
        EXPECT_EQ(datagram(id, hexBytes("00 00 00 03 00 00 00 05 61 62 63")), bytesOf(out));
        SafePointer<CommandParam> param;
        ASSERT_TRUE(parser.parseCommand(out, param));
        EXPECT_EQ(2u, sdk(param).m_domains.size());
    }
    CommandBuffer out;  // a binary command whose body is missing its records is not written
    EXPECT_FALSE(parser.createCommand(makeCommand(33026), out));
    EXPECT_EQ(nullptr, out.getBase());
}
