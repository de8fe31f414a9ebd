// The five binary bodies, both directions, and lengths that point past the data.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <typeinfo>

#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "protocol/BinaryBodyParsers.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/records/EtResult.h"

using namespace protocol_test;

namespace {

SafePointer<BaseDomain> dataBuffer(const std::string& bytes) {
    DataBuffer* data = new DataBuffer();
    data->setData(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    return SafePointer<BaseDomain>(data);
}

SafePointer<BaseDomain> result(int code) {
    EtResult* r = new EtResult();
    r->setCode(code);
    return SafePointer<BaseDomain>(r);
}

std::string bytesText(const DataBuffer& data) {
    if (data.getData() == nullptr) return std::string();
    return std::string(reinterpret_cast<const char*>(data.getData()), static_cast<size_t>(data.getLength()));
}

Bytes create(ICommandBodyParser& parser, const DomainList& domains, bool* ok = nullptr) {
    CommandBuffer out;
    const bool done = parser.createCommandBody(domains, out);
    if (ok != nullptr) *ok = done;
    return done ? bytesOf(out) : Bytes();
}

bool parse(ICommandBodyParser& parser, const Bytes& body, DomainList& domains) {
    return parser.parseCommandBody(bufferOf(body), domains);
}

// Every proper prefix of a valid body fails, and reads nothing outside it.
void expectPrefixesFail(ICommandBodyParser& parser, const Bytes& body, size_t keepFrom = 0) {
    for (size_t n = keepFrom; n < body.size(); ++n) {
        DomainList domains;
        EXPECT_FALSE(parse(parser, Bytes(body.begin(), body.begin() + static_cast<long>(n)), domains)) << n;
        EXPECT_TRUE(domains.empty());
    }
}

}  // namespace

TEST(BodyParserChoice, ByCommandIdentifier) {
    struct Row {
        unsigned id;
        const std::type_info& type;
    } rows[] = {
        {14006, typeid(PTZOperationBodyParser)},
        {15020, typeid(FileReadDataCommandBodyParser)},
        {31026, typeid(RemoteSnapshotRespBodyParser)},
        {32743, typeid(RemoteSnapshotRespBodyParser)},
        {32821, typeid(RemoteSnapshotRespBodyParser)},
        {33019, typeid(COMWriteDataCommandBodyParser)},
        {33026, typeid(ParamImportReqBodyParser)},
        {33028, typeid(RemoteSnapshotRespBodyParser)},
        {47005, typeid(FileReadDataCommandBodyParser)},
        {30539, typeid(SDKNormalXmlBodyParser)},
        {0, typeid(SDKNormalXmlBodyParser)},
        {14007, typeid(SDKNormalXmlBodyParser)},
        {0xFFFFFFFFu, typeid(SDKNormalXmlBodyParser)},
    };
    for (const Row& row : rows) {
        SafePointer<ICommandBodyParser> parser(createBodyParser(row.id));
        const ICommandBodyParser& made = *parser;
        EXPECT_EQ(row.type, typeid(made)) << row.id;
    }
}

TEST(RemoteSnapshotBody, LayoutBothWays) {
    RemoteSnapshotRespBodyParser parser;
    const Bytes body = create(parser, {result(5), dataBuffer("abc")});
    EXPECT_EQ(hexBytes("00 00 00 03 00 00 00 05 61 62 63"), body);

    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(2u, domains.size());
    EXPECT_EQ(416, domains[0]->getDomainId());
    EXPECT_EQ("abc", bytesText(dynamic_cast<const DataBuffer&>(*domains[0])));
    EXPECT_EQ(5, dynamic_cast<const EtResult&>(*domains[1]).getCode());

    // Negative codes travel as two's complement.
    EXPECT_EQ(hexBytes("00 00 00 01 FF FF FF FE 7A"), create(parser, {dataBuffer("z"), result(-2)}));
    expectPrefixesFail(parser, body);
}

TEST(RemoteSnapshotBody, Refusals) {
    RemoteSnapshotRespBodyParser parser;
    bool ok = true;
    create(parser, {dataBuffer("abc")}, &ok);
    EXPECT_FALSE(ok);
    create(parser, {result(1)}, &ok);
    EXPECT_FALSE(ok);
    create(parser, {result(1), SafePointer<BaseDomain>(new DataBuffer())}, &ok);
    EXPECT_FALSE(ok);

    DomainList domains;
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05"), domains));           // N of 0
    EXPECT_FALSE(parse(parser, hexBytes("FF FF FF FF 00 00 00 05 61"), domains));        // negative N
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 04 00 00 00 05 61 62 63"), domains));  // N past the data
    EXPECT_FALSE(parse(parser, hexBytes("7F FF FF FF 00 00 00 05 61"), domains));
    EXPECT_TRUE(domains.empty());
    // Bytes behind the block are not part of it.
    ASSERT_TRUE(parse(parser, hexBytes("00 00 00 01 00 00 00 05 61 62 63"), domains));
    EXPECT_EQ("a", bytesText(dynamic_cast<const DataBuffer&>(*domains[0])));
}

TEST(ParamImportBody, LayoutBothWaysAndRefusals) {
    ParamImportReqBodyParser parser;
    const Bytes body = create(parser, {dataBuffer("xyz!")});
    EXPECT_EQ(hexBytes("00 00 00 04 78 79 7A 21"), body);
    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(1u, domains.size());
    EXPECT_EQ("xyz!", bytesText(dynamic_cast<const DataBuffer&>(*domains[0])));
    expectPrefixesFail(parser, body);

    bool ok = true;
    create(parser, {result(0)}, &ok);
    EXPECT_FALSE(ok);
    create(parser, {SafePointer<BaseDomain>(new DataBuffer())}, &ok);
    EXPECT_FALSE(ok);
    domains.clear();
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("80 00 00 00 01"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("FF FF FF FC 01 02 03 04"), domains));
}

TEST(FileReadDataBody, LayoutBothWays) {
    FileReadDataCommandBodyParser parser;
    EtFileDataPack* pack = new EtFileDataPack();
    DataBuffer data;
    data.setData(reinterpret_cast<const unsigned char*>("hi"), 2);
    pack->setData(data);
    pack->setFlag(0x81);
    const Bytes body = create(parser, {SafePointer<BaseDomain>(pack), result(0x01020304)});
    // The code stands at the odd offset 5.
    EXPECT_EQ(hexBytes("00 00 00 02 81 01 02 03 04 68 69"), body);

    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(2u, domains.size());
    const auto& readPack = dynamic_cast<const EtFileDataPack&>(*domains[0]);
    EXPECT_EQ(0x81, readPack.getFlag());
    EXPECT_EQ("hi", bytesText(readPack.getData()));
    EXPECT_EQ(0x01020304, dynamic_cast<const EtResult&>(*domains[1]).getCode());
    expectPrefixesFail(parser, body);
}

TEST(FileReadDataBody, EmptyPackIsNineBytes) {
    FileReadDataCommandBodyParser parser;
    const Bytes body = create(parser, {result(3), SafePointer<BaseDomain>(new EtFileDataPack())});
    EXPECT_EQ(hexBytes("00 00 00 00 00 00 00 00 03"), body);
    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(2u, domains.size());
    const auto& pack = dynamic_cast<const EtFileDataPack&>(*domains[0]);
    EXPECT_EQ(nullptr, pack.getData().getData());
    EXPECT_EQ(0, pack.getData().getLength());
    EXPECT_EQ(3, dynamic_cast<const EtResult&>(*domains[1]).getCode());
}

TEST(FileReadDataBody, Refusals) {
    FileReadDataCommandBodyParser parser;
    bool ok = true;
    create(parser, {result(3)}, &ok);
    EXPECT_FALSE(ok);
    create(parser, {SafePointer<BaseDomain>(new EtFileDataPack())}, &ok);
    EXPECT_FALSE(ok);
    DomainList domains;
    EXPECT_FALSE(parse(parser, hexBytes("FF FF FF FF 00 00 00 00 03"), domains));        // negative N
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 03 00 00 00 00 03 41 42"), domains));  // N past the data
    EXPECT_FALSE(parse(parser, hexBytes("7F FF FF FF 00 00 00 00 03"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 00"), domains));  // code cut
    EXPECT_TRUE(domains.empty());
}

TEST(COMWriteDataBody, LayoutBothWays) {
    COMWriteDataCommandBodyParser parser;
    EtCOMWriteData* write = new EtCOMWriteData();
    ComData com;
    com.setData(reinterpret_cast<const unsigned char*>("\x01\x02\x03"), 3);
    write->setComData(com);
    write->setValue1(7);
    write->setValue2(-1);
    const Bytes body = create(parser, {result(0), SafePointer<BaseDomain>(write)});
    EXPECT_EQ(hexBytes("00 00 00 03 01 02 03 00 00 00 07 FF FF FF FF"), body);

    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(1u, domains.size());
    const auto& read = dynamic_cast<const EtCOMWriteData&>(*domains[0]);
    EXPECT_EQ(7, read.getValue1());
    EXPECT_EQ(-1, read.getValue2());
    ASSERT_EQ(3, read.getComData().getLength());
    EXPECT_EQ(0x03, read.getComData().getData()[2]);
    expectPrefixesFail(parser, body);
}

TEST(COMWriteDataBody, Refusals) {
    COMWriteDataCommandBodyParser parser;
    bool ok = true;
    create(parser, {result(0)}, &ok);
    EXPECT_FALSE(ok);
    create(parser, {SafePointer<BaseDomain>(new EtCOMWriteData())}, &ok);
    EXPECT_FALSE(ok);
    DomainList domains;
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 07 00 00 00 08"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("FF FF FF FF 00 00 00 07 00 00 00 08"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 09 00 00 00 07 00 00 00 08"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("FF FF FF F8 00 00 00 07 00 00 00 08"), domains));
    EXPECT_TRUE(domains.empty());
}

TEST(PTZOperationBody, LayoutBothWays) {
    PTZOperationBodyParser parser;
    EtPTZOperation* op = new EtPTZOperation();
    op->setCameraId(2);
    op->setPTZId(9);
    op->setPTZOperation("up");
    op->setName("n1x");
    const Bytes body = create(parser, {SafePointer<BaseDomain>(op), result(4)});
    EXPECT_EQ(hexBytes("00 00 00 04 00 00 00 02 00 00 00 02 75 70 00 00 00 03 6E 31 78 00 00 00 09"), body);

    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(2u, domains.size());
    const auto& read = dynamic_cast<const EtPTZOperation&>(*domains[0]);
    EXPECT_EQ(2, read.getCameraId());
    EXPECT_EQ(9, read.getPTZId());
    EXPECT_EQ("up", read.getPTZOperation());
    EXPECT_EQ("n1x", read.getName());
    EXPECT_EQ(4, dynamic_cast<const EtResult&>(*domains[1]).getCode());
}

TEST(PTZOperationBody, OptionalPartsAndDefaults) {
    PTZOperationBodyParser parser;
    // Without an EtResult the code is 0; an empty text writes length 0 and no bytes.
    EtPTZOperation* op = new EtPTZOperation();
    op->setName("N");
    const Bytes body = create(parser, {SafePointer<BaseDomain>(op)});
    EXPECT_EQ(hexBytes("00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 01 4E 00 00 00 01"), body);
    DomainList domains;
    ASSERT_TRUE(parse(parser, body, domains));
    ASSERT_EQ(2u, domains.size());
    EXPECT_EQ("", dynamic_cast<const EtPTZOperation&>(*domains[0]).getPTZOperation());
    EXPECT_EQ(0, dynamic_cast<const EtResult&>(*domains[1]).getCode());

    // A body that ends right after Name reads with PTZId 1; a PTZId of 0 reads as 0.
    domains.clear();
    ASSERT_TRUE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00"), domains));
    EXPECT_EQ(1, dynamic_cast<const EtPTZOperation&>(*domains[0]).getPTZId());
    EXPECT_EQ(5, dynamic_cast<const EtPTZOperation&>(*domains[0]).getCameraId());
    domains.clear();
    ASSERT_TRUE(
        parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00"), domains));
    EXPECT_EQ(0, dynamic_cast<const EtPTZOperation&>(*domains[0]).getPTZId());

    // A zero byte inside a text ends the string there, the length still counts.
    domains.clear();
    ASSERT_TRUE(
        parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 03 61 00 62 00 00 00 01 63"), domains));
    EXPECT_EQ("a", dynamic_cast<const EtPTZOperation&>(*domains[0]).getPTZOperation());
    EXPECT_EQ("c", dynamic_cast<const EtPTZOperation&>(*domains[0]).getName());

    bool ok = true;
    create(parser, {result(1)}, &ok);
    EXPECT_FALSE(ok);
}

TEST(PTZOperationBody, LengthsPastTheDataFail) {
    PTZOperationBodyParser parser;
    DomainList domains;
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 05 61 62"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 FF FF FF FF 61 62"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 00 7F FF FF FF"), domains));
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 00"), domains));  // L2 missing
    // One to three stray bytes where PTZId would stand: a cut field.
    EXPECT_FALSE(parse(parser, hexBytes("00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00"), domains));
    EXPECT_FALSE(parser.parseCommandBody(CommandBuffer(), domains));
    EXPECT_TRUE(domains.empty());
}

TEST(BinaryCommands, ThroughTheCommandParser) {
    SDKCommandParser parser;
    for (unsigned id : {31026u, 32743u, 32821u, 33028u}) {
        CommandBuffer out;
        ASSERT_TRUE(parser.createCommand(makeCommand(id, {dataBuffer("abc"), result(5)}), out));
        ASSERT_EQ(24u + 11u, out.getLength());
        EXPECT_EQ(0x0B, out.getCursor()[19]);
        SafePointer<CommandParam> param;
        ASSERT_TRUE(parser.parseCommand(out, param));
        EtResult code;
        ASSERT_TRUE(extractDomain(code, sdk(param).m_domains));
        EXPECT_EQ(5, code.getCode());
    }
    // A binary command whose body is missing its records is not written.
    CommandBuffer out;
    EXPECT_FALSE(parser.createCommand(makeCommand(33026), out));
    EXPECT_EQ(nullptr, out.getBase());
    // A file command with an empty pack: 24 + 9 bytes, and back.
    ASSERT_TRUE(parser.createCommand(
        makeCommand(47005, {SafePointer<BaseDomain>(new EtFileDataPack()), result(0)}), out));
    EXPECT_EQ(33u, out.getLength());
    SafePointer<CommandParam> param;
    ASSERT_TRUE(parser.parseCommand(out, param));
    EXPECT_EQ(2u, sdk(param).m_domains.size());
    // A snapshot head that declares more than the datagram holds.
    Bytes cut = datagram(31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63"), 12);
    EXPECT_FALSE(parser.parseCommand(bufferOf(cut), param));
}
