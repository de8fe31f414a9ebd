// Mutated and random datagrams through parseCommand: never a crash, never a
// read outside the buffer (the buffers have exactly the datagram's size, so a
// sanitizer build reports any stray read).
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

TEST(Robustness, MutatedAndRandomDatagramsNeverCrash) {
    const std::vector<Bytes> seeds = {
        datagram(30539, std::string(
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\">"
                            "<Result Code=\"0\" /><ChannelInfoList><ChannelInfo LocalChannelID=\"1\" "
                            "ChannelName=\"c1\" /></ChannelInfoList><DeviceSummaryInfo DeviceId=\"x\" "
                            "DevicePort=\"80\" /><MotionDetectionStreamReq CameraId=\"1\" ConsumerId=\"2\" />"
                            "</Parameters>")),
        datagram(31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63")),
        datagram(33026, hexBytes("00 00 00 02 61 62")),
        datagram(15020, hexBytes("00 00 00 02 01 00 00 00 07 68 69")),
        datagram(33019, hexBytes("00 00 00 01 09 00 00 00 07 00 00 00 08")),
        datagram(14006, hexBytes("00 00 00 00 00 00 00 02 00 00 00 02 75 70 00 00 00 01 6E 00 00 00 09")),
    };
    SDKCommandParser parser;
    std::mt19937 rng(20261123u);
    int parsed = 0;
    testing::internal::CaptureStdout();
    for (const Bytes& seed : seeds) {
        SafePointer<CommandParam> param;
        EXPECT_TRUE(parser.parseCommand(bufferOf(seed), param));
    }
    for (int round = 0; round < 25000; ++round) {
        Bytes bytes = seeds[rng() % seeds.size()];
        if (round % 5 == 0) {  // random bytes, mostly small values, behind a good head
            Bytes body(rng() % 64);
            for (unsigned char& b : body) b = static_cast<unsigned char>(rng() % 4 == 0 ? rng() : rng() % 4);
            bytes = datagram(bytes[8] << 24 | bytes[9] << 16 | bytes[10] << 8 | bytes[11], body);
        }
        for (unsigned e = 1 + rng() % 4; e > 0 && !bytes.empty(); --e) {
            const size_t at = rng() % bytes.size();
            switch (rng() % 5) {
                case 0:
                    bytes[at] ^= static_cast<unsigned char>(1u << (rng() % 8));
                    break;
                case 1:  // the length fields stand in the body
                    if (bytes.size() > 24)
                        bytes[24 + at % (bytes.size() - 24)] = static_cast<unsigned char>(rng());
                    break;
                case 2:
                    bytes.resize(rng() % (bytes.size() + 1));
                    break;
                case 3:
                    bytes.insert(bytes.end(), rng() % 8, static_cast<unsigned char>(rng()));
                    break;
                default:
                    bytes[at] = 0;
                    break;
            }
        }
        // Repair the head (and mostly its length) so that the body parsers are reached.
        if (bytes.size() >= 24) {
            if (rng() % 4 != 0) {
                const uint32_t n = static_cast<uint32_t>(bytes.size() - 24);
                for (int i = 0; i < 4; ++i) bytes[16 + i] = static_cast<unsigned char>(n >> (24 - 8 * i));
            }
            bytes[0] = bytes[1] = 0xAF;
            bytes[23] = 0x23;
            bytes[22] = SDKCommandHeadParser::checkByte(bytes.data());
        }
        SafePointer<CommandParam> param;
        if (parser.parseCommand(bufferOf(bytes), param)) {
            ++parsed;
            CommandBuffer out;  // what parses can be written again or is refused, but never crashes
            parser.createCommand(param, out);
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(parsed, 0);
}
