#include <unistd.h>

#include <utility>

#include "Product/Technic/OLFile.h"
#include "Product/Technic/OLLogger.h"
#include "Product/Technic/OLTrace.h"
#include "TestSupport.h"

namespace {

typedef std::pair<std::string, int> Out;

// What a call printed, and its result.
template <class F>
Out printed(F call) {
    testing::internal::CaptureStdout();
    int result = call();
    return {testing::internal::GetCapturedStdout(), result};
}

}  // namespace

TEST(OLTraceTest, LevelsFilterAndCut) {
    OLTraceConfig& config = OLTraceConfig::getInstance();
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "failure %d\n", 1); }), Out("", 0));
    config.setLevel(2);
    EXPECT_EQ(printed([] { return OLTrace(2, "a.cpp", "event %s %d\n", "x", 5); }), Out("event x 5\n", 10));
    EXPECT_EQ(printed([] { return OLTrace(3, "a.cpp", "detail\n"); }), Out("", 0));
    // A filter of one file: other files print nothing, the result is still the length.
    config.addFile("a.cpp");
    EXPECT_EQ(printed([] { return OLTrace(1, "b.cpp", "from b\n"); }), Out("", 7));
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "from a\n"); }), Out("from a\n", 7));
    config.clearFiles();
    // Cut at 2047 characters; percent signs in the arguments are not read again.
    const std::string longText(3000, 'y');
    EXPECT_EQ(printed([&] { return OLTrace(1, "a.cpp", "%%d%s", longText.c_str()); }),
              Out("%d" + std::string(2045, 'y'), 2047));
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "%s", "100%s"); }), Out("100%s", 5));
    config.setLevel(0);
    EXPECT_EQ(printed([] { return OLReportLine("recv socket error!", __FILE__, __LINE__), 0; }), Out("", 0));
}

TEST(OLFileTest, ModeBits) {
    const struct {
        int mode;
        const char* text;
    } modes[] = {{0x01, "rb"},  {0x02, "ab"}, {0x22, "ab"},    {0x42, "wb"},    {0x04, "r+b"},  {0x24, "a+b"},
                 {0x64, "w+b"}, {0, nullptr}, {0x03, nullptr}, {0x06, nullptr}, {0x20, nullptr}};
    for (const auto& m : modes) EXPECT_STREQ(OLFile::modeString(m.mode), m.text) << m.mode;
    EXPECT_FALSE(OLFile().open(nullptr, 0x02));
}

TEST(OLLoggerTest, LineFormatAndRotation) {
    TempDir dir;
    const std::string path = dir.file("test.log");
    OLLogger logger;
    logger.init(path.c_str(), 10240, 1);
    // At 10239 bytes the next write still appends; at 10240 the file moves to
    // path + ".1", replacing an older one, and a new file begins.
    std::ofstream(path) << std::string(10239, 'a');
    logger.write("Module", "one");
    EXPECT_EQ(withoutStamp(readFile(path).substr(10239)), ",[Module] one\n");
    std::ofstream(path) << std::string(10240, 'b');
    std::ofstream(path + ".1") << "older";
    logger.write("M", "two");
    EXPECT_EQ(readFile(path + ".1"), std::string(10240, 'b'));
    EXPECT_EQ(logLines(path), Lines{",[M] two"});

    // writeOnce starts each logger at index 0: every rotation goes to ".1".
    const std::string once = dir.file("once.log");
    for (const char* text : {"a", "b", "c"}) OLLogger::writeOnce(once.c_str(), "M", text, 1, 2);
    EXPECT_EQ(logLines(once + ".1") + logLines(once + ".2") + logLines(once), (Lines{",[M] b", ",[M] c"}));

    // A missing directory loses the line silently; a write before init goes to the trace only.
    OLLogger::writeOnce(dir.file("missing/dir/x.log").c_str(), "M", "lost", 10240, 1);
    EXPECT_NE(access(dir.file("missing").c_str(), F_OK), 0);
    OLTraceConfig::getInstance().setLevel(3);
    const Out early = printed([] { return OLLogger().write("M", "early"), 0; });
    OLTraceConfig::getInstance().setLevel(0);
    EXPECT_EQ(early.first.substr(0, 22) + withoutStamp(early.first.substr(22)),
              "Logger is not inition,,[M] early\n");
}
