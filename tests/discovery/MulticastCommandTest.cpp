#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "devsim/SimDevice.h"
#include "discovery/CommandHead.h"
#include "discovery/DiscoveryEnvelope.h"
#include "discovery/MulticastCommand.h"
#include "transport/CommandBuffer.h"

namespace {

DeviceInfoFields sampleFields() {
    DeviceInfoFields f;
    std::strcpy(f.m_szDeviceId, "CAM-0001");
    f.m_nDeviceType = 503;
    std::strcpy(f.m_szManufacturerName, "Maker & Sons <ltd>");
    std::strcpy(f.m_szProductModel, "IPC-\"X\"");
    std::strcpy(f.m_szMACAddress, "00:11:22:33:44:55");
    std::strcpy(f.m_szBarCode, "BC1234567890");
    std::strcpy(f.m_szHardwareVer, "HW 1.0");
    std::strcpy(f.m_szSoftwareVer, "SW 2.3.4 'build'");
    std::strcpy(f.m_szDeviceIP, "198.51.100.7");
    std::strcpy(f.m_szSubnetMask, "255.255.255.0");
    std::strcpy(f.m_szGateway, "198.51.100.1");
    std::strcpy(f.m_szPreferredDNSIP, "198.51.100.2");
    f.m_nControlPort = 30001;
    std::strcpy(f.m_szDeviceTime, "2024-05-06 07:08:09");
    return f;
}

TEST(CommandHead, WireLayoutAndRoundTrip) {
    MulticastCommand cmd;
    EXPECT_EQ(23, cmd.getCommandId());
    EXPECT_EQ(76, cmd.getHead().size());
    cmd.setBodyLength(0x01020304);
    CommandBuffer out;
    ASSERT_EQ(0, cmd.encodeHead(out));
    ASSERT_EQ(76u, out.getLength());
    const unsigned char* p = out.getCursor();
    EXPECT_EQ(Bytes({0, 0, 0, 23}), Bytes(p, p + 4));
    EXPECT_EQ(1, p[4]);   // lead byte default
    EXPECT_EQ(0, p[5]);   // name A zero
    EXPECT_EQ(1, p[69]);  // trail byte default
    EXPECT_EQ(Bytes({1, 2, 3, 4}), Bytes(p + 72, p + 76));

    // Raw fields travel unchanged; the trail word is not swapped.
    Bytes raw = announcementCommand(-5, 9, {});
    raw[4] = 7;
    std::memcpy(&raw[5], "nameA", 5);
    std::memcpy(&raw[37], "nameB", 5);
    raw[69] = 8;
    raw[70] = 0x12;
    raw[71] = 0x34;
    CommandBuffer in = bufferOf(raw);
    CommandHead head;
    ASSERT_EQ(0, head.decode(in));
    EXPECT_EQ(-5, head.m_nCommandId);
    EXPECT_EQ(9, head.m_nBodyLength);
    EXPECT_EQ(7, head.m_nLeadByte);
    EXPECT_EQ(8, head.m_nTrailByte);
    EXPECT_EQ(0, std::memcmp(head.m_szNameA, "nameA", 6));
    EXPECT_EQ(0, std::memcmp(head.m_szNameB, "nameB", 6));
    uint16_t expectedWord;
    std::memcpy(&expectedWord, &raw[70], 2);
    EXPECT_EQ(expectedWord, head.m_nTrailWord);
    CommandBuffer again;
    again.alloc(76);
    ASSERT_EQ(0, head.encode(again));
    EXPECT_EQ(raw, bytesOf(again));

    // Short buffers are refused.
    raw.resize(75);
    CommandBuffer shortBuf = bufferOf(raw);
    EXPECT_EQ(-402, head.decode(shortBuf));
    CommandBuffer empty;
    EXPECT_EQ(-402, head.decode(empty));
}

TEST(DiscoveryEnvelope, MarkerAndLengthAreJudged) {
    Bytes payload(100, 0xAB);
    Bytes good = enveloped(payload);
    good[15] = 0x01;
    good[16] = 0x02;
    good[17] = 0x0A;
    good[18] = 0x0B;
    DiscoveryEnvelope env;
    CommandBuffer b = bufferOf(good);
    ASSERT_EQ(0, env.decode(b));
    EXPECT_EQ(100u, env.m_nPayloadLength);
    EXPECT_EQ(0x0102, env.m_nShortA);
    uint16_t rawShort;
    std::memcpy(&rawShort, &good[17], 2);
    EXPECT_EQ(rawShort, env.m_nShortB);

    CommandBuffer bad = bufferOf(enveloped(payload, 0xFE));
    EXPECT_EQ(-231, env.decode(bad));
    Bytes wrongLength = good;
    wrongLength[23] = 101;
    CommandBuffer wl = bufferOf(wrongLength);
    EXPECT_EQ(-231, env.decode(wl));
    Bytes huge = good;
    huge[20] = 0xFF;  // a declared length far past the datagram
    CommandBuffer hb = bufferOf(huge);
    EXPECT_EQ(-231, env.decode(hb));
    CommandBuffer b23 = bufferOf(Bytes(23, 0xFF));
    EXPECT_EQ(-231, env.decode(b23));
    CommandBuffer b24 = bufferOf(enveloped({}));
    EXPECT_EQ(0, env.decode(b24));  // an empty payload is a valid envelope
}

TEST(MulticastCommand, EncodeFixesTheDocumentBytes) {
    MulticastCommand cmd(sampleFields());
    CommandBuffer out;
    ASSERT_EQ(0, cmd.encode(out));
    // TinyXML quotes a value that holds a double quote with single quotes.
    const std::string expected =
        "<DeviceInfo DeviceID=\"CAM-0001\" DeviceType=\"503\" ManufacturerName=\"Maker &amp; Sons "
        "&lt;ltd&gt;\" "
        "ProductModel='IPC-&quot;X&quot;' MACAddress=\"00:11:22:33:44:55\" BarCode=\"BC1234567890\" "
        "HardwareVer=\"HW 1.0\" SoftwareVer=\"SW 2.3.4 &apos;build&apos;\" DeviceIP=\"198.51.100.7\" "
        "SubnetMask=\"255.255.255.0\" Gateway=\"198.51.100.1\" PreferredDNSIP=\"198.51.100.2\" "
        "ControlPort=\"30001\" DeviceTime=\"2024-05-06 07:08:09\" />\n";
    // The head declares the text with its terminating zero.
    EXPECT_EQ(announcementCommand(23, int32_t(expected.size() + 1), textBytes(expected)), bytesOf(out));
    EXPECT_EQ(out.getLength(), out.getCapacity());

    // Empty fields are still written.
    MulticastCommand blank;
    CommandBuffer blankOut;
    ASSERT_EQ(0, blank.encode(blankOut));
    std::string body(reinterpret_cast<const char*>(blankOut.getCursor() + 76));
    EXPECT_EQ(
        "<DeviceInfo DeviceID=\"\" DeviceType=\"0\" ManufacturerName=\"\" ProductModel=\"\" MACAddress=\"\" "
        "BarCode=\"\" HardwareVer=\"\" SoftwareVer=\"\" DeviceIP=\"\" SubnetMask=\"\" Gateway=\"\" "
        "PreferredDNSIP=\"\" ControlPort=\"0\" DeviceTime=\"\" />\n",
        body);
}

TEST(MulticastCommand, DecodeGivesBackEveryField) {
    DeviceInfoFields f = sampleFields();
    MulticastCommand sender(f);
    CommandBuffer wire;
    ASSERT_EQ(0, sender.encode(wire));
    MulticastCommand got;
    ASSERT_EQ(0, got.decode(wire));
    EXPECT_EQ(0, std::memcmp(&f, &got.getFields(), sizeof(f)));

    // Fields filled to their full width survive.
    DeviceInfoFields full;
    std::memset(full.m_szDeviceId, 'i', 32);
    std::memset(full.m_szDeviceTime, 't', 64);
    std::memset(full.m_szBarCode, 'b', 16);
    MulticastCommand fullSender(full);
    CommandBuffer fullWire;
    ASSERT_EQ(0, fullSender.encode(fullWire));
    MulticastCommand fullGot;
    ASSERT_EQ(0, fullGot.decode(fullWire));
    EXPECT_EQ(std::string(32, 'i'), fullGot.getDeviceId());
    EXPECT_EQ(std::string(64, 't'), fullGot.getDeviceTime());
    EXPECT_EQ(std::string(16, 'b'), fullGot.getBarCode());
}

CommandBuffer body23(const std::string& xml, bool withZero = true, int lengthDelta = 0) {
    Bytes body = textBytes(xml, withZero);
    return bufferOf(announcementCommand(23, int32_t(body.size()) + lengthDelta, body));
}

// No attribute is mandatory; numbers are read leniently; texts are cut to
// their field; nothing behind a zero byte is read.
TEST(MulticastCommand, DecodeIsLenientAboutAttributes) {
    const std::string longText(500, 'L');
    const struct {
        std::string body;
        bool withZero;
        const char* id;
        int type;
        int port;
    } cases[] = {
        {"<DeviceInfo />", true, "", 0, 0},
        {"<DeviceInfo DeviceID=\"a\" ControlPort=\"81\"/>", false, "a", 0, 81},
        {"<DeviceInfo DeviceType=\"abc\" ControlPort=\"70000\"/>", true, "", 0, 4464},
        {"<DeviceInfo DeviceType=\"99999999999999999999\"/>", true, "", 2147483647, 0},
        {"<?xml version=\"1.0\"?><DeviceInfo DeviceID=\"d\"/>", true, "d", 0, 0},
        {std::string("<DeviceInfo DeviceID=\"z\"/>\0garbage<<<", 36), true, "z", 0, 0},
        // Any order, and attributes of no field in between.
        {"<DeviceInfo ControlPort=\"7\" Extra=\"1\" DeviceType=\"3\" DeviceID=\"r\" Other=\"\"/>", true, "r",
         3, 7},
    };
    for (const auto& c : cases) {
        MulticastCommand cmd;
        CommandBuffer in = body23(c.body, c.withZero);
        ASSERT_EQ(0, cmd.decode(in)) << c.body;
        EXPECT_STREQ(c.id, cmd.getDeviceId());
        EXPECT_EQ(c.type, cmd.getDeviceType());
        EXPECT_EQ(c.port, cmd.getControlPort());
    }
    MulticastCommand cut;
    CommandBuffer cb = body23("<DeviceInfo DeviceID=\"" + longText + "\" MACAddress=\"" + longText +
                              "\" DeviceTime=\"" + longText + "\"/>");
    ASSERT_EQ(0, cut.decode(cb));
    EXPECT_EQ(std::string(32, 'L'), cut.getDeviceId());
    EXPECT_EQ(std::string(20, 'L'), cut.getMACAddress());
    EXPECT_EQ(std::string(64, 'L'), cut.getDeviceTime());
}

TEST(MulticastCommand, MalformedBodiesAreRefused) {
    const Bytes xml = textBytes("<DeviceInfo/>");
    struct {
        const char* name;
        CommandBuffer in;
        int code;
    } cases[] = {
        {"identifier 21", bufferOf(announcementCommand(21, int32_t(xml.size()), xml)), -401},
        {"length + 1", body23("<DeviceInfo/>", true, 1), -404},
        {"length - 1", body23("<DeviceInfo/>", true, -1), -404},
        {"negative length", bufferOf(announcementCommand(23, -1, xml)), -404},
        {"huge length", bufferOf(announcementCommand(23, 0x7fffffff, xml)), -404},
        {"no body", bufferOf(announcementCommand(23, 0, {})), -404},
        {"under a head", bufferOf(Bytes(40, 0)), -402},
        {"other element", body23("<Device DeviceID=\"x\"/>"), -404},
        {"no XML", body23("not xml at all"), -404},
        {"unclosed", body23("<DeviceInfo DeviceID=\"x\">"), -404},
        {"binary", body23("\x01\x02\xff\xfe<<>>"), -404},
        {"empty", body23(""), -404},
    };
    MulticastCommand cmd;
    for (auto& c : cases) EXPECT_EQ(c.code, cmd.decode(c.in)) << c.name;
    EXPECT_STREQ("", cmd.getDeviceId()) << "a failed decode leaves the fields as they were";
}

}  // namespace
