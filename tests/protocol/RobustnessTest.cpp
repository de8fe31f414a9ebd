// Mutated and random datagrams through parseCommand: never a crash, never a
// read outside the buffer (the buffers have exactly the datagram's size, so a
// sanitizer build reports any stray read).
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "domain/records/DataBuffer.h"
#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

namespace {

std::vector<Bytes> seeds() {
    const std::string doc =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<Parameters Version=\"1\">\n"
        "\t<Result Code=\"0\" />\n"
        "\t<ChannelInfoList>\n"
        "\t\t<ChannelInfo LocalChannelID=\"1\" State=\"0\" ChannelName=\"c1\" DeviceID=\"d1\" "
        "DeviceType=\"2\" />\n"
        "\t</ChannelInfoList>\n"
        "\t<DeviceSummaryInfo DeviceId=\"x\" DevicePort=\"80\" />\n"
        "\t<MotionDetectionStreamReq CameraId=\"1\" ConsumerId=\"2\" />\n"
        "</Parameters>\n";
    return {
        datagram(30539, doc),
        datagram(31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63")),
        datagram(33026, hexBytes("00 00 00 02 61 62")),
        datagram(15020, hexBytes("00 00 00 02 01 00 00 00 07 68 69")),
        datagram(33019, hexBytes("00 00 00 01 09 00 00 00 07 00 00 00 08")),
        datagram(14006, hexBytes("00 00 00 00 00 00 00 02 00 00 00 02 75 70 00 00 00 01 6E 00 00 00 09")),
    };
}

// Rewrites the head's payload length and check byte so the body parsers are reached.
void repairHead(Bytes& bytes, bool keepLength) {
    if (bytes.size() < 24) return;
    if (!keepLength) {
        const uint32_t n = static_cast<uint32_t>(bytes.size() - 24);
        bytes[16] = static_cast<unsigned char>(n >> 24);
        bytes[17] = static_cast<unsigned char>(n >> 16);
        bytes[18] = static_cast<unsigned char>(n >> 8);
        bytes[19] = static_cast<unsigned char>(n);
    }
    bytes[0] = bytes[1] = 0xAF;
    bytes[23] = 0x23;
    bytes[22] = SDKCommandHeadParser::checkByte(bytes.data());
}

}  // namespace

TEST(Robustness, MutatedDatagramsNeverCrash) {
    std::mt19937 rng(20261123u);
    const std::vector<Bytes> base = seeds();
    SDKCommandParser parser;
    // Every seed parses as it stands.
    for (const Bytes& seed : base) {
        SafePointer<CommandParam> param;
        testing::internal::CaptureStdout();
        EXPECT_TRUE(parser.parseCommand(bufferOf(seed), param));
        testing::internal::GetCapturedStdout();
    }
    int parsed = 0;
    testing::internal::CaptureStdout();
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = base[rng() % base.size()];
        const unsigned edits = 1 + rng() % 4;
        for (unsigned e = 0; e < edits && !bytes.empty(); ++e) {
            switch (rng() % 5) {
                case 0:  // flip a bit
                    bytes[rng() % bytes.size()] ^= static_cast<unsigned char>(1u << (rng() % 8));
                    break;
                case 1:  // random byte in the body, where the length fields stand
                    if (bytes.size() > 24) {
                        bytes[24 + rng() % (bytes.size() - 24)] = static_cast<unsigned char>(rng());
                    }
                    break;
                case 2:  // cut
                    bytes.resize(rng() % (bytes.size() + 1));
                    break;
                case 3:  // extend
                    for (unsigned k = rng() % 8; k > 0; --k)
                        bytes.push_back(static_cast<unsigned char>(rng()));
                    break;
                default:  // zero byte
                    bytes[rng() % bytes.size()] = 0;
                    break;
            }
        }
        repairHead(bytes, rng() % 4 == 0);
        SafePointer<CommandParam> param;
        if (parser.parseCommand(bufferOf(bytes), param)) {
            ++parsed;
            // What parses can be written again or is refused, but never crashes.
            CommandBuffer out;
            parser.createCommand(param, out);
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(parsed, 0);
}

TEST(Robustness, RandomBytesBehindAGoodHead) {
    std::mt19937 rng(7u);
    SDKCommandParser parser;
    const unsigned ids[] = {14006, 15020, 31026, 33019, 33026, 47005, 30539};
    testing::internal::CaptureStdout();
    for (int round = 0; round < 5000; ++round) {
        Bytes body(rng() % 64);
        for (unsigned char& b : body) b = static_cast<unsigned char>(rng() % 4 == 0 ? rng() : rng() % 4);
        SafePointer<CommandParam> param;
        parser.parseCommand(bufferOf(datagram(ids[rng() % 7], body)), param);
    }
    testing::internal::GetCapturedStdout();
}
