// The 24-byte head and the envelope of SDKCommandParser.
#include <gtest/gtest.h>

#include <string>

#include "protocol/CommandParam.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

namespace {

const char kQueryHead[] = "AF AF 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00 7E 23";
const std::string kEmptyDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";

bool parseHead(const Bytes& bytes, SafePointer<CommandHeadInfo>& head) {
    return SDKCommandHeadParser().parseCommandHead(reinterpret_cast<const char*>(bytes.data()),
                                                   static_cast<unsigned>(bytes.size()), head);
}

const SDKCommandHeadInfo& sdkHead(const SafePointer<CommandHeadInfo>& head) {
    return dynamic_cast<const SDKCommandHeadInfo&>(*head);
}

// Bytes 0 to 21 as given, with the check byte and the end mark behind them.
Bytes withCheckByte(const char* hex) {
    Bytes bytes = hexBytes(hex);
    bytes.resize(24);
    bytes[22] = SDKCommandHeadParser::checkByte(bytes.data());
    bytes[23] = 0x23;
    return bytes;
}

}  // namespace

TEST(SDKCommandHead, WritesTheMulticastQueryHeadByteForByte) {
    SafePointer<CommandHeadInfo> head(new SDKCommandHeadInfo());
    auto& h = dynamic_cast<SDKCommandHeadInfo&>(*head);
    h.m_nProtocolType = 1;
    h.nVersion = 1;
    h.nCommandID = 30539;
    h.nPayloadLength = 67;
    SDKCommandHeadParser parser;
    EXPECT_EQ(24u, parser.getHeadLength());
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommandHead(head, out));
    EXPECT_EQ(hexBytes(kQueryHead), bytesOf(out));

    // Another protocol type, a plain CommandHeadInfo or none at all is refused.
    CommandBuffer refused;
    SafePointer<CommandHeadInfo> untyped(new SDKCommandHeadInfo());
    SafePointer<CommandHeadInfo> plain(new CommandHeadInfo());
    plain->m_nProtocolType = 1;
    SafePointer<CommandHeadInfo> none;  // an empty holder cannot be copied: point at each
    for (const SafePointer<CommandHeadInfo>* bad : {&untyped, &plain, &none}) {
        EXPECT_FALSE(parser.createCommandHead(*bad, refused));
    }
    EXPECT_EQ(nullptr, refused.getBase());
}

TEST(SDKCommandHead, ReadsEveryFieldBigEndian) {
    struct Row {
        const char* bytes;  // 0 to 21
        unsigned version, sequence;
        bool flagA, flagB;
        unsigned command, context, length;
    } rows[] = {
        {"AF AF 00 07 12 34 80 80 01 02 03 04 A0 B0 C0 D0 00 00 01 00 00 00", 7, 0x1234, true, true,
         0x01020304, 0xA0B0C0D0, 256},
        // Only bit 7 of a flag byte counts; a reserved field is ignored once the check byte covers it.
        {"AF AF 00 01 00 00 7F 01 00 00 77 4B 00 00 00 00 00 00 00 43 12 34", 1, 0, false, false, 30539, 0,
         67},
        {"AF AF 00 01 00 00 80 FF 00 00 77 4B 00 00 00 00 00 00 00 43 00 00", 1, 0, true, true, 30539, 0, 67},
    };
    for (const Row& row : rows) {
        SafePointer<CommandHeadInfo> head;
        ASSERT_TRUE(parseHead(withCheckByte(row.bytes), head)) << row.bytes;
        const SDKCommandHeadInfo& h = sdkHead(head);
        EXPECT_EQ(row.version, h.nVersion);
        EXPECT_EQ(row.sequence, h.nSequence);
        EXPECT_EQ(row.flagA, h.bFlagA);
        EXPECT_EQ(row.flagB, h.bFlagB);
        EXPECT_EQ(row.command, h.nCommandID);
        EXPECT_EQ(row.context, h.nContext);
        EXPECT_EQ(row.length, h.nPayloadLength);
    }
}

TEST(SDKCommandHead, Rejections) {
    const Bytes good = hexBytes(kQueryHead);
    SafePointer<CommandHeadInfo> head;
    ASSERT_TRUE(parseHead(good, head));
    SafePointer<CommandHeadInfo> kept = head;

    EXPECT_FALSE(parseHead(Bytes(good.begin(), good.end() - 1), head));  // 23 bytes
    EXPECT_FALSE(parseHead(Bytes(), head));
    EXPECT_FALSE(SDKCommandHeadParser().parseCommandHead(nullptr, 24, head));
    Bytes bad = good;
    bad[23] = '$';
    EXPECT_FALSE(parseHead(bad, head));
    EXPECT_FALSE(
        parseHead(withCheckByte("AF AE 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00"), head));
    bad = good;
    bad[22] ^= 0x01;
    EXPECT_FALSE(parseHead(bad, head));
    // One flipped bit anywhere in bytes 0 to 21 fails the check byte (or the magic).
    for (unsigned byte = 0; byte < 22; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            bad = good;
            bad[byte] ^= static_cast<unsigned char>(1u << bit);
            EXPECT_FALSE(parseHead(bad, head)) << "byte " << byte << " bit " << bit;
        }
    }
    EXPECT_EQ(kept.get(), head.get());  // never replaced

    // From the cursor of a buffer, with the length that is left behind it.
    Bytes shifted = {0x00, 0x00};
    shifted.insert(shifted.end(), good.begin(), good.end());
    CommandBuffer buffer = bufferOf(shifted);
    ASSERT_TRUE(buffer.consume(2));
    ASSERT_TRUE(SDKCommandHeadParser().parseCommandHead(buffer, head));
    EXPECT_EQ(67u, head->nPayloadLength);
    ASSERT_TRUE(buffer.consume(1));
    EXPECT_FALSE(SDKCommandHeadParser().parseCommandHead(buffer, head));
}

TEST(SDKCommandParser, TheMulticastQueryIsExactly91Bytes) {
    CommandBuffer out;
    ASSERT_TRUE(SDKCommandParser().createCommand(makeCommand(30539), out));
    Bytes expected = hexBytes(kQueryHead);
    expected.insert(expected.end(), kEmptyDocument.begin(), kEmptyDocument.end());
    ASSERT_EQ(91u, expected.size());
    EXPECT_EQ(expected, bytesOf(out));
}

TEST(SDKCommandParser, CreateWritesVersionOneAndTheTrueLengthAndReadsBack) {
    SafePointer<CommandParam> param = makeCommand(30541);
    auto& command = dynamic_cast<SDKCommandParam&>(*param);
    command.m_objHead.nVersion = 9;
    command.m_objHead.nPayloadLength = 1000;
    command.m_objHead.nSequence = 0x0102;
    command.m_objHead.nContext = 0xCAFEBABE;
    command.m_objHead.bFlagB = true;
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(param, out));
    Bytes head = bytesOf(out);
    head.resize(24);
    EXPECT_EQ(withCheckByte("AF AF 00 01 01 02 00 80 00 00 77 4D CA FE BA BE 00 00 00 43 00 00"), head);
    EXPECT_EQ(9, command.m_objHead.nVersion);  // the parameter object keeps what it said
    EXPECT_EQ(1000u, command.m_objHead.nPayloadLength);

    // Parsed from a cursor behind other bytes: the head as written.
    Bytes bytes = {'z', 'z', 'z'};
    const Bytes written = bytesOf(out);
    bytes.insert(bytes.end(), written.begin(), written.end());
    CommandBuffer in = bufferOf(bytes);
    in.consume(3);
    SafePointer<CommandParam> read;
    ASSERT_TRUE(parser.parseCommand(in, read));
    const SDKCommandHeadInfo& h = sdk(read).m_objHead;
    EXPECT_EQ(1, sdk(read).m_nProtocolType);
    EXPECT_EQ(1, h.nVersion);
    EXPECT_EQ(0x0102, h.nSequence);
    EXPECT_FALSE(h.bFlagA);
    EXPECT_TRUE(h.bFlagB);
    EXPECT_EQ(30541u, h.nCommandID);
    EXPECT_EQ(0xCAFEBABEu, h.nContext);
    EXPECT_EQ(67u, h.nPayloadLength);
    EXPECT_TRUE(sdk(read).m_domains.empty());
}

TEST(SDKCommandParser, RefusalsLeaveOutAndParamAlone) {
    SDKCommandParser parser;
    CommandBuffer out;
    out.alloc(3);
    out.append("abc", 3);
    SafePointer<CommandParam> none;
    SafePointer<CommandParam> plain(new CommandParam());
    SafePointer<CommandParam> wrongType = makeCommand(30539);
    wrongType->m_nProtocolType = 2;
    for (const SafePointer<CommandParam>* bad : {&none, &plain, &wrongType}) {
        EXPECT_FALSE(parser.createCommand(*bad, out));
    }
    EXPECT_EQ("abc", textOf(out));

    SafePointer<CommandParam> param = makeCommand(1);
    CommandParam* before = param.get();
    const Bytes body(kEmptyDocument.begin(), kEmptyDocument.end());
    const Bytes refused[] = {
        datagram(30539, body, 68),  // declared length beyond the bytes behind the head
        datagram(30539, body, 0xFFFFFFFFu),
        datagram(30539, body, 0x7FFFFFFFu),
        datagram(30539, Bytes(), 1),
        hexBytes(kQueryHead),  // a head alone
        Bytes(),
        datagram(30539, std::string("not xml at all")),
        datagram(30539, Bytes()),  // length 0 passes the envelope, but an empty text is no document
    };
    for (const Bytes& bytes : refused) EXPECT_FALSE(parser.parseCommand(bufferOf(bytes), param));
    EXPECT_EQ(before, param.get());

    // A declared length shorter than the data: the rest is not part of the body.
    Bytes longer = body;
    longer.push_back('x');
    ASSERT_TRUE(parser.parseCommand(bufferOf(datagram(30539, longer, 67)), param));
    EXPECT_NE(before, param.get());
}
