// The 24-byte head and the envelope of SDKCommandParser.
#include <gtest/gtest.h>

#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

namespace {

const char kQueryHead[] = "AF AF 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00 7E 23";
const std::string kEmptyDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";

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
