// The five binary bodies, both directions, and lengths that point past the data.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>

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

typedef SafePointer<BaseDomain> Domain;

Domain dataBuffer(const std::string& bytes) {
    DataBuffer* data = new DataBuffer();
    data->setData(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    return Domain(data);
}

Domain result(int code) {
    EtResult* r = new EtResult();
    r->setCode(code);
    return Domain(r);
}

Domain filePack(const std::string& bytes, unsigned char flag) {
    EtFileDataPack* pack = new EtFileDataPack();
    pack->getData().setData(reinterpret_cast<const unsigned char*>(bytes.data()),
                            static_cast<int>(bytes.size()));
    pack->setFlag(flag);
    return Domain(pack);
}

Domain comWrite(const std::string& bytes, int value1, int value2) {
    EtCOMWriteData* write = new EtCOMWriteData();
    write->getComData().setData(reinterpret_cast<const unsigned char*>(bytes.data()),
                                static_cast<int>(bytes.size()));
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

typedef std::function<ICommandBodyParser*()> Maker;
const Maker snapshot = [] { return new RemoteSnapshotRespBodyParser(); };
const Maker paramImport = [] { return new ParamImportReqBodyParser(); };
const Maker fileRead = [] { return new FileReadDataCommandBodyParser(); };
const Maker comWriteParser = [] { return new COMWriteDataCommandBodyParser(); };
const Maker ptzParser = [] { return new PTZOperationBodyParser(); };

bool create(const Maker& make, const DomainList& domains, Bytes& bytes) {
    SafePointer<ICommandBodyParser> parser(make());
    CommandBuffer out;
    if (!parser->createCommandBody(domains, out)) return false;
    bytes = bytesOf(out);
    return true;
}

bool parse(const Maker& make, const Bytes& body, DomainList& domains) {
    SafePointer<ICommandBodyParser> parser(make());
    return parser->parseCommandBody(bufferOf(body), domains);
}

template <class T>
const T& as(const Domain& domain) {
    return dynamic_cast<const T&>(*domain);
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

// Each body is written byte for byte; read back and written again it gives the
// same bytes (so every field was read into its place); every proper prefix of
// it fails without a record.
TEST(BinaryBodies, LayoutsBothWays) {
    struct Row {
        const char* what;
        Maker make;
        DomainList domains;
        const char* hex;
        bool prefixesFail;
    } rows[] = {
        {"snapshot", snapshot, {result(5), dataBuffer("abc")}, "00 00 00 03 00 00 00 05 61 62 63", true},
        {"snapshot, negative code",
         snapshot,
         {dataBuffer("z"), result(-2)},
         "00 00 00 01 FF FF FF FE 7A",
         true},
        {"parameter import", paramImport, {dataBuffer("xyz!")}, "00 00 00 04 78 79 7A 21", true},
        {"file data: the code at the odd offset 5",
         fileRead,
         {filePack("hi", 0x81), result(0x01020304)},
         "00 00 00 02 81 01 02 03 04 68 69",
         true},
        {"file data: an empty pack is 9 bytes",
         fileRead,
         {result(3), filePack("", 0)},
         "00 00 00 00 00 00 00 00 03",
         true},
        {"serial data",
         comWriteParser,
         {result(0), comWrite("\x01\x02\x03", 7, -1)},
         "00 00 00 03 01 02 03 00 00 00 07 FF FF FF FF",
         true},
        {"PTZ",
         ptzParser,
         {ptz(2, 9, "up", "n1x"), result(4)},
         "00 00 00 04 00 00 00 02 00 00 00 02 75 70 00 00 00 03 6E 31 78 00 00 00 09",
         false},
        {"PTZ without a result: code 0; an empty text writes length 0",
         ptzParser,
         {ptz(1, 1, "", "N")},
         "00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 01 4E 00 00 00 01",
         false},
    };
    for (const Row& row : rows) {
        Bytes bytes;
        ASSERT_TRUE(create(row.make, row.domains, bytes)) << row.what;
        EXPECT_EQ(hexBytes(row.hex), bytes) << row.what;
        DomainList read;
        ASSERT_TRUE(parse(row.make, bytes, read)) << row.what;
        Bytes again;
        ASSERT_TRUE(create(row.make, read, again)) << row.what;
        EXPECT_EQ(bytes, again) << row.what;
        for (size_t n = 0; row.prefixesFail && n < bytes.size(); ++n) {
            DomainList domains;
            EXPECT_FALSE(
                parse(row.make, Bytes(bytes.begin(), bytes.begin() + static_cast<long>(n)), domains));
            EXPECT_TRUE(domains.empty());
        }
    }
}

TEST(BinaryBodies, PTZOptionalFields) {
    struct Row {
        const char* hex;
        int ptzId;
        const char* operation;
        const char* name;
    } rows[] = {
        {"00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00", 1, "", ""},  // ends after Name: PTZId 1
        {"00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00", 0, "", ""},
        // A zero byte inside a text ends the string; the length still counts.
        {"00 00 00 00 00 00 00 05 00 00 00 03 61 00 62 00 00 00 01 63", 1, "a", "c"},
    };
    for (const Row& row : rows) {
        DomainList domains;
        ASSERT_TRUE(parse(ptzParser, hexBytes(row.hex), domains)) << row.hex;
        const auto& op = as<EtPTZOperation>(domains[0]);
        EXPECT_EQ(5, op.getCameraId());
        EXPECT_EQ(row.ptzId, op.getPTZId());
        EXPECT_EQ(row.operation, op.getPTZOperation());
        EXPECT_EQ(row.name, op.getName());
    }
}

TEST(BinaryBodies, Refusals) {
    const Domain emptyBuffer(new DataBuffer());
    const struct {
        Maker make;
        DomainList domains;
    } unwritable[] = {
        {snapshot, {dataBuffer("abc")}},
        {snapshot, {result(1)}},
        {snapshot, {result(1), emptyBuffer}},
        {paramImport, {result(0)}},
        {paramImport, {emptyBuffer}},
        {fileRead, {result(3)}},
        {fileRead, {filePack("", 0)}},
        {comWriteParser, {result(0)}},
        {comWriteParser, {Domain(new EtCOMWriteData())}},
        {ptzParser, {result(1)}},
    };
    for (const auto& row : unwritable) {
        Bytes bytes;
        EXPECT_FALSE(create(row.make, row.domains, bytes));
    }
    const struct {
        Maker make;
        const char* hex;
    } unreadable[] = {
        {snapshot, "00 00 00 00 00 00 00 05"},  // N of 0
        {snapshot, "FF FF FF FF 00 00 00 05 61"},
        {snapshot, "00 00 00 04 00 00 00 05 61 62 63"},  // N past the data
        {snapshot, "7F FF FF FF 00 00 00 05 61"},
        {paramImport, "00 00 00 00"},
        {paramImport, "80 00 00 00 01"},
        {paramImport, "FF FF FF FC 01 02 03 04"},
        {fileRead, "FF FF FF FF 00 00 00 00 03"},
        {fileRead, "00 00 00 03 00 00 00 00 03 41 42"},
        {fileRead, "7F FF FF FF 00 00 00 00 03"},
        {comWriteParser, "00 00 00 00 00 00 00 07 00 00 00 08"},
        {comWriteParser, "FF FF FF FF 00 00 00 07 00 00 00 08"},
        {comWriteParser, "00 00 00 09 00 00 00 07 00 00 00 08"},
        {comWriteParser, "FF FF FF F8 00 00 00 07 00 00 00 08"},
        {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 05 61 62"},
        {ptzParser, "00 00 00 00 00 00 00 05 FF FF FF FF 61 62"},
        {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 7F FF FF FF"},
        {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00"},                    // L2 missing
        {ptzParser, "00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 00 00 00"},  // a cut PTZId
        {ptzParser, ""},
    };
    for (const auto& row : unreadable) {
        DomainList domains;
        EXPECT_FALSE(parse(row.make, hexBytes(row.hex), domains)) << row.hex;
        EXPECT_TRUE(domains.empty());
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
    SafePointer<CommandParam> param;  // a head that declares more than the datagram holds
    EXPECT_FALSE(parser.parseCommand(
        bufferOf(datagram(31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63"), 12)), param));
}
