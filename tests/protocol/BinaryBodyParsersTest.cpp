// The five binary bodies, both directions, and lengths that point past the data.
#include <gtest/gtest.h>

#include <typeinfo>
#include <vector>

#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "domain/records/EtPTZOperation.h"
#include "protocol/BinaryBodyParsers.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"

using namespace protocol_test;

namespace {

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
