// Mutated and random datagrams through parseCommand: never a crash, never a
// read outside the buffer (the buffers have exactly the datagram's size, so a
// sanitizer build reports any stray read).
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "protocol/ProtocolTestUtil.h"
#include "protocol/SDKCommandParser.h"

using namespace protocol_test;

TEST(Robustness, MutatedAndRandomDatagramsNeverCrash) {
    const struct {
        unsigned id;
        Bytes body;
    } seeds[] = {
        {30539,
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\"><Result Code=\"0\" />"
         "<ChannelInfoList><ChannelInfo LocalChannelID=\"1\" ChannelName=\"c1\" /></ChannelInfoList>"
         "<DeviceSummaryInfo DeviceId=\"x\" DevicePort=\"80\" /><MotionDetectionStreamReq CameraId=\"1\" "
         "ConsumerId=\"2\" /></Parameters>"},
        {31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63")},
        {33026, hexBytes("00 00 00 02 61 62")},
        {15020, hexBytes("00 00 00 02 01 00 00 00 07 68 69")},
        {33019, hexBytes("00 00 00 01 09 00 00 00 07 00 00 00 08")},
        {14006, hexBytes("00 00 00 00 00 00 00 02 00 00 00 02 75 70 00 00 00 01 6E 00 00 00 09")},
    };
    SDKCommandParser parser;
    std::mt19937 rng(20261123u);
    auto randomByte = [&rng] { return static_cast<char>(rng()); };
    // Changes at a position; the length fields of the binary bodies stand behind the head.
    const std::function<void(Bytes&, size_t)> mutations[] = {
        [&](Bytes& b, size_t at) { b[at] = static_cast<char>(b[at] ^ (1 << (rng() % 8))); },
        [&](Bytes& b, size_t at) { b[b.size() > 24 ? 24 + at % (b.size() - 24) : at] = randomByte(); },
        [&](Bytes& b, size_t) { b.resize(rng() % (b.size() + 1)); },
        [&](Bytes& b, size_t) { b.append(rng() % 8, randomByte()); }, [](Bytes& b, size_t at) { b[at] = 0; }};
    int parsed = 0;
    testing::internal::CaptureStdout();
    for (const auto& seed : seeds) {
        SafePointer<CommandParam> param;
        EXPECT_TRUE(parser.parseCommand(bufferOf(datagram(seed.id, seed.body)), param));
    }
    for (int round = 0; round < 25000; ++round) {
        const auto& seed = seeds[rng() % 6];
        Bytes bytes = datagram(seed.id, seed.body);
        if (round % 5 == 0) {  // random bytes, mostly small values, behind a good head
            Bytes body(rng() % 64, '\0');
            for (char& b : body) b = rng() % 4 == 0 ? randomByte() : static_cast<char>(rng() % 4);
            bytes = datagram(seed.id, body);
        }
        for (unsigned e = 1 + rng() % 4; e > 0 && !bytes.empty(); --e) {
            const size_t at = rng() % bytes.size();
            mutations[rng() % 5](bytes, at);
        }
        // Repair the head (and mostly its length) so that the body parsers are reached.
        if (bytes.size() >= 24) {
            const uint32_t n = static_cast<uint32_t>(bytes.size() - 24);
            if (rng() % 4 != 0) {
                for (int i = 0; i < 4; ++i) bytes[16 + i] = static_cast<char>(n >> (24 - 8 * i));
            }
            bytes[0] = bytes[1] = static_cast<char>(0xAF);
            bytes[23] = 0x23;
            bytes[22] = static_cast<char>(
                SDKCommandHeadParser::checkByte(reinterpret_cast<unsigned char*>(&bytes[0])));
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
