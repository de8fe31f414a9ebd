#include <gtest/gtest.h>

#include <string>

#include "Product/Technic/OLFile.h"
#include "Product/Technic/OLLogger.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "TempDir.h"

namespace {

// What a call printed, and its result.
template <class F>
std::string printed(F call, int* result = nullptr) {
    testing::internal::CaptureStdout();
    int r = call();
    if (result != nullptr) *result = r;
    return testing::internal::GetCapturedStdout();
}

// A log line without its time stamp "YYYY-MM-DD hh:mm:ss", which is checked on the way.
std::string withoutStamp(const std::string& line) {
    EXPECT_TRUE(line.size() > 19 && line[4] == '-' && line[10] == ' ' && line[13] == ':') << line;
    return line.size() > 19 ? line.substr(19) : line;
}

}  // namespace

TEST(OLTraceTest, LevelsFilterAndCut) {
    int result = -1;
    EXPECT_EQ(printed([] { return OLTrace(1, __FILE__, "failure %d\n", 1); }, &result), "");
    EXPECT_EQ(result, 0);  // silent by default

    OLTraceConfig& config = OLTraceConfig::getInstance();
    config.setLevel(2);
    EXPECT_EQ(printed([] { return OLTrace(2, "a.cpp", "event %s %d\n", "x", 5); }, &result), "event x 5\n");
    EXPECT_EQ(result, 10);
    EXPECT_EQ(printed([] { return OLTrace(3, "a.cpp", "detail\n"); }, &result), "");
    EXPECT_EQ(result, 0);

    // A filter of one file: other files print nothing, the result is still the length.
    config.addFile("a.cpp");
    EXPECT_EQ(printed([] { return OLTrace(1, "b.cpp", "from b\n"); }, &result), "");
    EXPECT_EQ(result, 7);
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "from a\n"); }), "from a\n");
    config.clearFiles();

    // Cut at 2047 characters; percent signs in the arguments are not read again.
    const std::string longText(3000, 'y');
    EXPECT_EQ(printed([&] { return OLTrace(1, "a.cpp", "%%d%s", longText.c_str()); }, &result),
              "%d" + std::string(2045, 'y'));
    EXPECT_EQ(result, 2047);
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "%s", "100%s"); }), "100%s");
    EXPECT_EQ(OLTrace(1, "a.cpp", "%s", ""), 0);

    config.setEnabled(false);
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "off\n"); }), "");
    config.setEnabled(true);
    config.setLevel(0);
    EXPECT_EQ(printed([] {
                  OLReportLine("recv socket error!", __FILE__, __LINE__);
                  OLReportLine(nullptr, nullptr, 0);
                  return 0;
              }),
              "");
}

TEST(OLFileTest, ModeBitsAndOperations) {
    const struct {
        int mode;
        const char* text;
    } modes[] = {{0x01, "rb"},  {0x02, "ab"}, {0x22, "ab"},    {0x42, "wb"},    {0x04, "r+b"},  {0x24, "a+b"},
                 {0x64, "w+b"}, {0, nullptr}, {0x03, nullptr}, {0x06, nullptr}, {0x20, nullptr}};
    for (const auto& m : modes) EXPECT_STREQ(OLFile::modeString(m.mode), m.text) << m.mode;

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
}

TEST(OLLoggerTest, LineFormatAndRotation) {
    TempDir dir;
    const std::string path = dir.file("test.log");
    OLLogger logger;
    logger.init(path.c_str(), 10240, 1);
    logger.write("Module", "hello");
    EXPECT_EQ(withoutStamp(TempDir::read(path)), ",[Module] hello\n");

    // At 10239 bytes the next write still appends; at 10240 or more the file
    // moves to path + ".1", replacing an older one, and a new file begins.
    TempDir::write(path, std::string(10239, 'a'));
    logger.write("M", "one");
    const std::string full = TempDir::read(path);
    EXPECT_EQ(withoutStamp(full.substr(10239)), ",[M] one\n");
    TempDir::write(path + ".1", "older");
    logger.write("M", "two");
    EXPECT_EQ(TempDir::read(path + ".1"), full);
    EXPECT_EQ(withoutStamp(TempDir::read(path)), ",[M] two\n");

    // The rotation index cycles through the file count.
    OLLogger cycling;
    const std::string cycle = dir.file("cycle.log");
    cycling.init(cycle.c_str(), 1, 2);  // every write after the first rotates
    for (const char* text : {"a", "b", "c", "d"}) cycling.write("M", text);  // a->.1, b->.2, c->.1
    EXPECT_EQ(withoutStamp(TempDir::read(cycle + ".1")), ",[M] c\n");
    EXPECT_EQ(withoutStamp(TempDir::read(cycle + ".2")), ",[M] b\n");
    EXPECT_EQ(withoutStamp(TempDir::read(cycle)), ",[M] d\n");

    // writeOnce starts each logger at index 0: every rotation goes to ".1".
    const std::string once = dir.file("once.log");
    for (const char* text : {"a", "b", "c"}) OLLogger::writeOnce(once.c_str(), "M", text, 1, 2);
    EXPECT_EQ(withoutStamp(TempDir::read(once + ".1")), ",[M] b\n");
    EXPECT_FALSE(TempDir::exists(once + ".2"));
    EXPECT_EQ(withoutStamp(TempDir::read(once)), ",[M] c\n");

    // A missing directory loses the line silently; a write before init goes to the trace only.
    EXPECT_EQ(printed([&] {
                  OLLogger::writeOnce(dir.file("missing/dir/x.log").c_str(), "M", "lost", 10240, 1);
                  return 0;
              }),
              "");
    EXPECT_FALSE(TempDir::exists(dir.file("missing")));
    OLTraceConfig::getInstance().setLevel(3);
    const std::string early = printed([] {
        OLLogger().write("M", "early");
        return 0;
    });
    OLTraceConfig::getInstance().setLevel(0);
    EXPECT_EQ(early.rfind("Logger is not inition,", 0), 0u) << early;
    EXPECT_EQ(withoutStamp(early.substr(22)), ",[M] early\n");
}

TEST(RunningFlagTest, SetPrintsAndLogsOnlyWhenFalse) {
    TempDir dir;
    setStopLogPath(dir.file("Reboot.log"));
    ASSERT_TRUE(isSystemRunning());
    EXPECT_EQ(
        printed([] {
            setSystemRunningFlag(true, "check");
            return 0;
        }),
        "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~ Flag=1 "
        "Reason=check\n");
    EXPECT_TRUE(isSystemRunning());
    EXPECT_FALSE(TempDir::exists(dir.file("Reboot.log")));

    const std::string down = printed([] {
        setSystemRunningFlag(false, "GThread running exception.");
        return 0;
    });
    EXPECT_NE(down.find(" Flag=0 Reason=GThread running exception.\n"), std::string::npos);
    EXPECT_FALSE(isSystemRunning());
    EXPECT_EQ(withoutStamp(TempDir::read(dir.file("Reboot.log"))),
              ",[SystemStop] GThread running exception.\n");

    printed([] {
        setSystemRunningFlag(true, "test restores the flag");
        return 0;
    });
    setStopLogPath("");
    EXPECT_EQ(getStopLogPath(), "/mnt/mtd/log/Reboot.log");
    EXPECT_EQ(getThreadExceptionLogPath(), "./mnt/mtd/log/ThreadException.log");
}

TEST(TimeTest, TimeStringsAndValues) {
    EXPECT_EQ(withoutStamp(getTimeString(2) + "|"), "|");
    EXPECT_EQ(withoutStamp(getTimeString(0) + "|"), "|");
    const std::string monthFirst = getTimeString(1);  // MM/DD/YYYY hh:mm:ss
    EXPECT_TRUE(monthFirst.size() == 19 && monthFirst[2] == '/' && monthFirst[5] == '/' &&
                monthFirst[10] == ' ');
    OLTimeValue value(-5, 3);
    EXPECT_EQ(value.sec, 0);
    EXPECT_EQ(value.usec, 3);
    OLTimeValue up;
    getUpTime(&up);
    EXPECT_GE(up.usec, 0);
    EXPECT_LT(up.usec, 1000000);
    EXPECT_EQ(up.usec % 1000, 0);
}
