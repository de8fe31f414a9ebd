// The 24-byte head and the envelope of SDKCommandParser.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "protocol/CommandParam.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

namespace {

const char* const kQueryHead = "AF AF 00 01 00 00 00 00 00 00 77 4B 00 00 00 00 00 00 00 43 00 00 7E 23";

bool parseHead(const Bytes& bytes, SafePointer<CommandHeadInfo>& head) {
    SDKCommandHeadParser parser;
    return parser.parseCommandHead(reinterpret_cast<const char*>(bytes.data()),
                                   static_cast<unsigned>(bytes.size()), head);
}

const SDKCommandHeadInfo& sdkHead(const SafePointer<CommandHeadInfo>& head) {
    return dynamic_cast<const SDKCommandHeadInfo&>(*head);
}

// Rewrites the check byte after a deliberate change of bytes 0 to 21.
void fixCheckByte(Bytes& bytes) {
    bytes[22] = SDKCommandHeadParser::checkByte(bytes.data());
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
}

TEST(SDKCommandHead, CreateRefusesAHeadOfAnotherProtocolOrKind) {
    SDKCommandHeadParser parser;
    CommandBuffer out;
    SafePointer<CommandHeadInfo> sdkWithoutType(new SDKCommandHeadInfo());
    EXPECT_FALSE(parser.createCommandHead(sdkWithoutType, out));
    SafePointer<CommandHeadInfo> plain(new CommandHeadInfo());
    plain->m_nProtocolType = 1;
    EXPECT_FALSE(parser.createCommandHead(plain, out));
    SafePointer<CommandHeadInfo> empty;
    EXPECT_FALSE(parser.createCommandHead(empty, out));
    EXPECT_EQ(nullptr, out.getBase());
}

TEST(SDKCommandHead, ReadsAllFieldsBigEndian) {
    Bytes bytes = hexBytes("AF AF 00 07 12 34 80 80 01 02 03 04 A0 B0 C0 D0 00 00 01 00 00 00 00 23");
    fixCheckByte(bytes);
    SafePointer<CommandHeadInfo> head;
    ASSERT_TRUE(parseHead(bytes, head));
    const SDKCommandHeadInfo& h = sdkHead(head);
    EXPECT_EQ(7, h.nVersion);
    EXPECT_EQ(0x1234, h.nSequence);
    EXPECT_TRUE(h.bFlagA);
    EXPECT_TRUE(h.bFlagB);
    EXPECT_EQ(0x01020304u, h.nCommandID);
    EXPECT_EQ(0xA0B0C0D0u, h.nContext);
    EXPECT_EQ(256u, h.nPayloadLength);
}

TEST(SDKCommandHead, FlagsAreBitSevenOnly) {
    Bytes bytes = hexBytes(kQueryHead);
    SafePointer<CommandHeadInfo> head;
    bytes[6] = 0x7F;
    bytes[7] = 0x01;
    fixCheckByte(bytes);
    ASSERT_TRUE(parseHead(bytes, head));
    EXPECT_FALSE(sdkHead(head).bFlagA);
    EXPECT_FALSE(sdkHead(head).bFlagB);
    bytes[6] = 0x80;
    bytes[7] = 0xFF;
    fixCheckByte(bytes);
    ASSERT_TRUE(parseHead(bytes, head));
    EXPECT_TRUE(sdkHead(head).bFlagA);
    EXPECT_TRUE(sdkHead(head).bFlagB);

    // Writing sets only bit 7.
    SDKCommandHeadInfo h;
    h.bFlagA = true;
    unsigned char out[24];
    SDKCommandHeadParser::encodeHead(h, out);
    EXPECT_EQ(0x80, out[6]);
    EXPECT_EQ(0x00, out[7]);
}

TEST(SDKCommandHead, IgnoresReservedBytesCoveredByTheCheckByte) {
    Bytes bytes = hexBytes(kQueryHead);
    bytes[20] = 0x12;
    bytes[21] = 0x34;
    SafePointer<CommandHeadInfo> head;
    EXPECT_FALSE(parseHead(bytes, head));  // check byte no longer matches
    fixCheckByte(bytes);
    ASSERT_TRUE(parseHead(bytes, head));
    EXPECT_EQ(30539u, sdkHead(head).nCommandID);
}

TEST(SDKCommandHead, Rejections) {
    const Bytes good = hexBytes(kQueryHead);
    SafePointer<CommandHeadInfo> head;
    ASSERT_TRUE(parseHead(good, head));
    SafePointer<CommandHeadInfo> kept = head;

    // 23 bytes: too short, the 24th byte is never looked at.
    Bytes shortHead(good.begin(), good.end() - 1);
    EXPECT_FALSE(parseHead(shortHead, head));
    EXPECT_FALSE(parseHead(Bytes(), head));
    SDKCommandHeadParser parser;
    EXPECT_FALSE(parser.parseCommandHead(nullptr, 24, head));

    Bytes endMark = good;
    endMark[23] = '$';
    EXPECT_FALSE(parseHead(endMark, head));

    Bytes magic = good;
    magic[1] = 0xAE;
    fixCheckByte(magic);
    EXPECT_FALSE(parseHead(magic, head));

    Bytes check = good;
    check[22] ^= 0x01;
    EXPECT_FALSE(parseHead(check, head));

    // One flipped bit anywhere in bytes 0 to 21 fails the check byte (or the magic).
    for (unsigned byte = 0; byte < 22; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            Bytes flipped = good;
            flipped[byte] ^= static_cast<unsigned char>(1u << bit);
            EXPECT_FALSE(parseHead(flipped, head)) << "byte " << byte << " bit " << bit;
        }
    }
    // The head object was never replaced.
    EXPECT_EQ(kept.get(), head.get());
}

TEST(SDKCommandHead, ParsesFromTheCursorOfABuffer) {
    Bytes bytes = {0x00, 0x00};
    const Bytes head = hexBytes(kQueryHead);
    bytes.insert(bytes.end(), head.begin(), head.end());
    CommandBuffer buffer = bufferOf(bytes);
    ASSERT_TRUE(buffer.consume(2));
    SDKCommandHeadParser parser;
    SafePointer<CommandHeadInfo> info;
    ASSERT_TRUE(parser.parseCommandHead(buffer, info));
    EXPECT_EQ(67u, info->nPayloadLength);
    ASSERT_TRUE(buffer.consume(1));
    EXPECT_FALSE(parser.parseCommandHead(buffer, info));  // 23 bytes left
}

TEST(SDKCommandParser, TheMulticastQueryIsExactly91Bytes) {
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(makeCommand(30539), out));
    Bytes expected = hexBytes(kQueryHead);
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<Parameters Version=\"1\" />\n";
    expected.insert(expected.end(), text.begin(), text.end());
    ASSERT_EQ(91u, expected.size());
    EXPECT_EQ(expected, bytesOf(out));
}

TEST(SDKCommandParser, CreateWritesVersionOneAndTheTrueLength) {
    SafePointer<CommandParam> param = makeCommand(4242);
    auto& command = dynamic_cast<SDKCommandParam&>(*param);
    command.m_objHead.nVersion = 9;
    command.m_objHead.nPayloadLength = 1000;
    command.m_objHead.nSequence = 0x0102;
    command.m_objHead.nContext = 0xCAFEBABE;
    command.m_objHead.bFlagB = true;
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(param, out));
    ASSERT_EQ(24u + 67u, out.getLength());
    const unsigned char* b = out.getCursor();
    EXPECT_EQ(0x00, b[2]);
    EXPECT_EQ(0x01, b[3]);
    EXPECT_EQ(0x01, b[4]);
    EXPECT_EQ(0x02, b[5]);
    EXPECT_EQ(0x00, b[6]);
    EXPECT_EQ(0x80, b[7]);
    EXPECT_EQ(0, std::memcmp(b + 12, "\xCA\xFE\xBA\xBE", 4));
    EXPECT_EQ(0, std::memcmp(b + 16, "\x00\x00\x00\x43", 4));
    // The parameter object keeps what it said.
    EXPECT_EQ(9, command.m_objHead.nVersion);
    EXPECT_EQ(1000u, command.m_objHead.nPayloadLength);
}

TEST(SDKCommandParser, CreateRefusesBadParametersWithoutTouchingOut) {
    SDKCommandParser parser;
    CommandBuffer out;
    out.alloc(3);
    out.append("abc", 3);
    EXPECT_FALSE(parser.createCommand(SafePointer<CommandParam>(), out));
    SafePointer<CommandParam> other(new CommandParam());
    EXPECT_FALSE(parser.createCommand(other, out));
    SafePointer<CommandParam> wrongType = makeCommand(30539);
    wrongType->m_nProtocolType = 2;
    EXPECT_FALSE(parser.createCommand(wrongType, out));
    EXPECT_EQ("abc", textOf(out));
}

TEST(SDKCommandParser, RoundTripKeepsTheHead) {
    SafePointer<CommandParam> param = makeCommand(30541);
    auto& command = dynamic_cast<SDKCommandParam&>(*param);
    command.m_objHead.nSequence = 77;
    command.m_objHead.bFlagA = true;
    command.m_objHead.nContext = 5;
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(param, out));
    SafePointer<CommandParam> read;
    ASSERT_TRUE(parser.parseCommand(out, read));
    const SDKCommandHeadInfo& h = sdk(read).m_objHead;
    EXPECT_EQ(1, sdk(read).m_nProtocolType);
    EXPECT_EQ(1, h.nVersion);
    EXPECT_EQ(77, h.nSequence);
    EXPECT_TRUE(h.bFlagA);
    EXPECT_FALSE(h.bFlagB);
    EXPECT_EQ(30541u, h.nCommandID);
    EXPECT_EQ(5u, h.nContext);
    EXPECT_EQ(67u, h.nPayloadLength);
    EXPECT_TRUE(sdk(read).m_domains.empty());
}

TEST(SDKCommandParser, ParseRefusesBadEnvelopesAndLeavesParamAlone) {
    SDKCommandParser parser;
    SafePointer<CommandParam> param = makeCommand(1);
    CommandParam* before = param.get();
    const std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";

    // Declared length beyond the bytes behind the head, by one and by a lot.
    Bytes body(doc.begin(), doc.end());
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, body, 68)), param));
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, body, 0xFFFFFFFFu)), param));
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, body, 0x7FFFFFFFu)), param));
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, Bytes(), 1)), param));
    // A head alone, or nothing at all.
    EXPECT_FALSE(parser.parseCommand(bufferOf(hexBytes(kQueryHead)), param));
    EXPECT_FALSE(parser.parseCommand(CommandBuffer(), param));
    // A body that is not XML.
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, std::string("not xml at all"))), param));
    EXPECT_EQ(before, param.get());

    // A declared length shorter than the data: the rest is not part of the body.
    Bytes longer = body;
    longer.push_back('x');
    longer.push_back('y');
    ASSERT_TRUE(parser.parseCommand(bufferOf(datagram(30539, longer, 67)), param));
    EXPECT_NE(before, param.get());
}

TEST(SDKCommandParser, ParseReadsFromTheCursor) {
    SDKCommandParser parser;
    CommandBuffer out;
    ASSERT_TRUE(parser.createCommand(makeCommand(30539), out));
    Bytes bytes = {'z', 'z', 'z'};
    const Bytes command = bytesOf(out);
    bytes.insert(bytes.end(), command.begin(), command.end());
    CommandBuffer in = bufferOf(bytes);
    in.consume(3);
    SafePointer<CommandParam> param;
    ASSERT_TRUE(parser.parseCommand(in, param));
    EXPECT_EQ(30539u, sdk(param).m_objHead.nCommandID);
}

TEST(SDKCommandParser, AnEmptyBodyOfAnXmlCommandFails) {
    // Length 0 passes the envelope, but an empty text is no document.
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    EXPECT_FALSE(parser.parseCommand(bufferOf(datagram(30539, Bytes())), param));
    EXPECT_TRUE(param.isNull());
}
