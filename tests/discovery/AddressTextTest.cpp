// Range texts as applications write them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Product/Technic/OLTrace.h"
#include "discovery/AddressText.h"
#include "discovery/DeviceRangeSearchThread.h"

namespace {

TEST(AddressText, DottedIPv4AsPeopleWriteIt) {
    const struct {
        const char* text;
        bool read;
        uint32_t address;
    } cases[] = {
        {"192.168.1.10", true, 0xC0A8010A},
        {"192.168.001.010", true, 0xC0A8010A},  // decimal, not octal
        {"010.000.000.008", true, 0x0A000008},
        {" \t10.0.0.1 \t", true, 0x0A000001},
        {"0.0.0.0", true, 0},
        {"255.255.255.255", true, 0xFFFFFFFF},
        {"256.1.1.1", false, 0},
        {"1.2.3.0255", false, 0},
        {"1.2.3", false, 0},
        {"1.2.3.4.5", false, 0},
        {"1..3.4", false, 0},
        {"1.2.3.4:80", false, 0},
        {"0x1.2.3.4", false, 0},
        {"+1.2.3.4", false, 0},
        {"1 .2.3.4", false, 0},
        {"1.2.3.4\n", false, 0},
        {"", false, 0},
        {"   ", false, 0},
        {"::1", false, 0},
    };
    for (const auto& c : cases) {
        uint32_t out = 7;
        EXPECT_EQ(c.read, readDottedIPv4(c.text, out)) << c.text;
        EXPECT_EQ(c.read ? c.address : 7u, out) << c.text;
    }
    uint32_t out = 0;
    EXPECT_FALSE(readDottedIPv4(nullptr, out));
    // At most 255 characters are read.
    EXPECT_TRUE(readDottedIPv4((std::string(248, ' ') + "1.2.3.4").c_str(), out));
    EXPECT_FALSE(readDottedIPv4((std::string(249, ' ') + "1.2.3.4").c_str(), out));
}

TEST(AddressText, AddRangeReadsLeadingZerosAndReportsRefusedText) {
    DeviceRangeSearchThread range;
    EXPECT_TRUE(range.addRange("192.168.001.010", " 192.168.1.012 "));
    EXPECT_EQ((std::vector<uint32_t>{0xC0A8010A, 0xC0A8010B, 0xC0A8010C}), range.getAddresses());

    OLTraceConfig& trace = OLTraceConfig::getInstance();
    trace.setLevel(1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(range.addRange("192.168.1.1", "192.168.1.x"));
    EXPECT_FALSE(range.addRange("10.0.0.1\nsecond line", "10.0.0.2"));
    const std::string lines = testing::internal::GetCapturedStdout();
    trace.setLevel(0);
    EXPECT_EQ(
        "DeviceRangeSearchThread::addRange refused range text '192.168.1.x'\n"
        "DeviceRangeSearchThread::addRange refused range text '10.0.0.1'\n",
        lines);
    EXPECT_EQ(3u, range.getAddresses().size());
}

}  // namespace
