#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <thread>

#include "Product/Technic/OLFile.h"
#include "Product/Technic/OLLogger.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "TempDir.h"

namespace {

// Restores the trace configuration after a test.
struct TraceScope {
    ~TraceScope() {
        OLTraceConfig& config = OLTraceConfig::getInstance();
        config.setEnabled(true);
        config.setLevel(0);
        config.clearFiles();
    }
};

const std::regex kLinePrefix(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2},\[)");

}  // namespace

TEST(OLTraceTest, SilentByDefault) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(1, __FILE__, "failure %d\n", 1), 0);
    EXPECT_EQ(OLTrace(3, __FILE__, "detail\n"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(OLTraceTest, LevelFilterAndCut) {
    TraceScope scope;
    OLTraceConfig& config = OLTraceConfig::getInstance();
    config.setLevel(2);

    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(2, "a.cpp", "event %s %d\n", "x", 5), 10);
    EXPECT_EQ(OLTrace(3, "a.cpp", "detail\n"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "event x 5\n");

    // A filter of one file: other files print nothing, the result is still the length.
    config.addFile("a.cpp");
    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(1, "b.cpp", "from b\n"), 7);
    EXPECT_EQ(OLTrace(1, "a.cpp", "from a\n"), 7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "from a\n");
    config.clearFiles();

    // Cut at 2047 characters; percent signs in the arguments are not read again.
    const std::string longText(3000, 'y');
    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(1, "a.cpp", "%%d%s", longText.c_str()), 2047);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, "%d" + std::string(2045, 'y'));
    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(1, "a.cpp", "%s", "100%s"), 5);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "100%s");

    // An empty result is returned as it is.
    EXPECT_EQ(OLTrace(1, "a.cpp", "%s", ""), 0);

    config.setEnabled(false);
    testing::internal::CaptureStdout();
    EXPECT_EQ(OLTrace(1, "a.cpp", "off\n"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(OLTraceTest, FilterHoldsFiftyFiles) {
    TraceScope scope;
    OLTraceConfig& config = OLTraceConfig::getInstance();
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(config.addFile("f"));
    EXPECT_FALSE(config.addFile("g"));
    EXPECT_EQ(config.getFileCount(), 50);
}

TEST(OLReportLineTest, HasNoOutput) {
    testing::internal::CaptureStdout();
    OLReportLine("recv socket error!", __FILE__, __LINE__);
    OLReportLine(nullptr, nullptr, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(OLFileTest, ModeBitsAndOperations) {
    EXPECT_STREQ(OLFile::modeString(0x01), "rb");
    EXPECT_STREQ(OLFile::modeString(0x02), "ab");
    EXPECT_STREQ(OLFile::modeString(0x22), "ab");
    EXPECT_STREQ(OLFile::modeString(0x42), "wb");
    EXPECT_STREQ(OLFile::modeString(0x04), "r+b");
    EXPECT_STREQ(OLFile::modeString(0x24), "a+b");
    EXPECT_STREQ(OLFile::modeString(0x64), "w+b");
    EXPECT_EQ(OLFile::modeString(0), nullptr);
    EXPECT_EQ(OLFile::modeString(0x03), nullptr);
    EXPECT_EQ(OLFile::modeString(0x06), nullptr);
    EXPECT_EQ(OLFile::modeString(0x20), nullptr);

    TempDir dir;
    const std::string path = dir.file("data.bin");
    OLFile file;
    EXPECT_FALSE(file.open(nullptr, 0x02));
    EXPECT_FALSE(file.open(path.c_str(), 0x03));
    EXPECT_EQ(file.write("x", 1), -1);
    EXPECT_EQ(file.getLength(), -1);
    EXPECT_FALSE(file.flush());
    EXPECT_FALSE(file.open(path.c_str(), 0x01));  // does not exist yet

    ASSERT_TRUE(file.open(path.c_str(), 0x22));
    EXPECT_EQ(file.write(nullptr, 3), -1);
    EXPECT_EQ(file.write("abc", 3), 3);
    EXPECT_EQ(file.getLength(), 3);
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(file.close());

    ASSERT_TRUE(file.open(path.c_str(), 0x02));
    EXPECT_EQ(file.write("de", 2), 2);
    file.close();
    EXPECT_EQ(TempDir::read(path), "abcde");

    ASSERT_TRUE(file.open(path.c_str(), 0x42));
    EXPECT_EQ(file.getLength(), 0);
    file.close();
    EXPECT_EQ(TempDir::read(path), "");
}

TEST(OLLoggerTest, LineFormatAndRotation) {
    TempDir dir;
    const std::string path = dir.file("test.log");

    OLLogger logger;
    logger.init(path.c_str(), 10240, 1);
    logger.write("Module", "hello");
    const std::string first = TempDir::read(path);
    ASSERT_TRUE(std::regex_search(first, kLinePrefix));
    EXPECT_EQ(first.size(), 19u + std::string(",[Module] hello\n").size());
    EXPECT_EQ(first.substr(19), ",[Module] hello\n");

    // Fill to 10239 bytes: the next write still appends.
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << std::string(10239, 'a');
    }
    logger.write("M", "one");
    std::string content = TempDir::read(path);
    EXPECT_EQ(content.size(), 10239u + 19u + std::string(",[M] one\n").size());
    EXPECT_FALSE(TempDir::exists(path + ".1"));

    // Now at 10240 or more: moved to path + ".1", a new file begins.
    {
        std::ofstream old(path + ".1");
        old << "older";
    }
    logger.write("M", "two");
    EXPECT_EQ(TempDir::read(path + ".1"), content);
    EXPECT_EQ(TempDir::read(path).substr(19), ",[M] two\n");
}

TEST(OLLoggerTest, IndexCyclesThroughFileCount) {
    TempDir dir;
    const std::string path = dir.file("cycle.log");
    OLLogger logger;
    logger.init(path.c_str(), 1, 2);  // every write after the first rotates
    logger.write("M", "a");
    logger.write("M", "b");  // a -> .1
    logger.write("M", "c");  // b -> .2
    logger.write("M", "d");  // c -> .1
    EXPECT_EQ(TempDir::read(path + ".1").substr(19), ",[M] c\n");
    EXPECT_EQ(TempDir::read(path + ".2").substr(19), ",[M] b\n");
    EXPECT_EQ(TempDir::read(path).substr(19), ",[M] d\n");
}

TEST(OLLoggerTest, WriteOnceAlwaysRotatesToDotOne) {
    TempDir dir;
    const std::string path = dir.file("once.log");
    OLLogger::writeOnce(path.c_str(), "M", "a", 1, 2);
    OLLogger::writeOnce(path.c_str(), "M", "b", 1, 2);
    OLLogger::writeOnce(path.c_str(), "M", "c", 1, 2);
    EXPECT_EQ(TempDir::read(path + ".1").substr(19), ",[M] b\n");
    EXPECT_FALSE(TempDir::exists(path + ".2"));
    EXPECT_EQ(TempDir::read(path).substr(19), ",[M] c\n");

    // A missing directory loses the line silently.
    testing::internal::CaptureStdout();
    OLLogger::writeOnce(dir.file("missing/dir/x.log").c_str(), "M", "lost", 10240, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(TempDir::exists(dir.file("missing")));
}

TEST(OLLoggerTest, WriteBeforeInitGoesToTheTraceOnly) {
    TraceScope scope;
    OLTraceConfig::getInstance().setLevel(3);
    testing::internal::CaptureStdout();
    OLLogger logger;
    logger.write("M", "early");
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.rfind("Logger is not inition,", 0), 0u) << printed;
    EXPECT_NE(printed.find(",[M] early\n"), std::string::npos);
}

TEST(RunningFlagTest, SetPrintsAndLogsOnlyWhenFalse) {
    TempDir dir;
    setStopLogPath(dir.file("Reboot.log"));
    ASSERT_TRUE(isSystemRunning());

    testing::internal::CaptureStdout();
    setSystemRunningFlag(true, "check");
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~ Flag=1 "
        "Reason=check\n");
    EXPECT_TRUE(isSystemRunning());
    EXPECT_FALSE(TempDir::exists(dir.file("Reboot.log")));

    testing::internal::CaptureStdout();
    setSystemRunningFlag(false, "GThread running exception.");
    EXPECT_NE(testing::internal::GetCapturedStdout().find(" Flag=0 Reason=GThread running exception.\n"),
              std::string::npos);
    EXPECT_FALSE(isSystemRunning());
    EXPECT_EQ(TempDir::read(dir.file("Reboot.log")).substr(19), ",[SystemStop] GThread running exception.\n");

    testing::internal::CaptureStdout();
    setSystemRunningFlag(true, "test restores the flag");
    testing::internal::GetCapturedStdout();
    setStopLogPath("");
    EXPECT_EQ(getStopLogPath(), "/mnt/mtd/log/Reboot.log");
    EXPECT_EQ(getThreadExceptionLogPath(), "./mnt/mtd/log/ThreadException.log");
}

TEST(TimeTest, TimeStringsAndValues) {
    const std::regex dayFirst(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2})");
    const std::regex monthFirst(R"(\d{2}/\d{2}/\d{4} \d{2}:\d{2}:\d{2})");
    EXPECT_TRUE(std::regex_match(getTimeString(2), dayFirst));
    EXPECT_TRUE(std::regex_match(getTimeString(0), dayFirst));
    EXPECT_TRUE(std::regex_match(getTimeString(1), monthFirst));

    OLTimeValue value(-5, 3);
    EXPECT_EQ(value.sec, 0);
    EXPECT_EQ(value.usec, 3);
    OLTimeValue zero;
    EXPECT_EQ(zero.sec, 0);
    EXPECT_EQ(zero.usec, 0);

    OLTimeValue up;
    getUpTime(&up);
    EXPECT_GE(up.usec, 0);
    EXPECT_LT(up.usec, 1000000);
    EXPECT_EQ(up.usec % 1000, 0);

    const uint32_t before = getTickCount32();
    sleepFor(OLTimeValue(0, 30000));
    const uint32_t elapsed = getTickCount32() - before;
    EXPECT_GE(elapsed, 30u);
}
