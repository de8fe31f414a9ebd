// The devsearch tool as a program: exit statuses, and standard output that
// carries only the result while the library's own lines go to standard error.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "protocol/ProtocolTestUtil.h"

namespace {

using protocol_test::Bytes;
using protocol_test::hexBytes;
using testing::HasSubstr;

struct ToolRun {
    int status = -1;
    std::string out, err;
};

const std::string kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
const std::string kEmptyDocument = kXmlHead + "<Parameters Version=\"1\" />\n";

Bytes datagram(unsigned commandId, const std::string& body, int declared = -1) {
    return protocol_test::datagram(commandId, body, declared, 3);
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class ToolTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(std::filesystem::create_directory(m_dir)); }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    // A file of the scratch folder that holds `bytes`.
    std::string file(const Bytes& bytes) {
        const std::string path = m_dir + "/in" + std::to_string(m_nFiles++);
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    // Runs the tool with `args` (none holds a quote) and standard input from `input`.
    ToolRun run(const std::vector<std::string>& args, const std::string& input = "/dev/null") {
        std::string command = "'" DEVSEARCH_TOOL_PATH "'";
        for (const std::string& a : args) command += " '" + a + "'";
        command += " <'" + input + "' >'" + m_dir + "/out' 2>'" + m_dir + "/err'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(m_dir + "/out"), slurp(m_dir + "/err")};
    }

    const std::string m_dir = "/tmp/devsearch-tool-" + std::to_string(getpid());
    int m_nFiles = 0;
};

// Decoding and help: status 0, the text on standard output, nothing on
// standard error.
TEST_F(ToolTest, DecodeAndHelpPrintOnStandardOutputOnly) {
    const std::string query = file(datagram(30539, kEmptyDocument));
    const std::string snapshot = file(datagram(31026, hexBytes("00 00 00 03 00 00 00 05 61 62 63")));
    const std::pair<std::vector<std::string>, std::vector<const char*>> cases[] = {
        {{"decode", query},
         {"commandID      30539 (0x774B)", "sequence       3", "payloadLength  67",
          "<Parameters Version=\"1\" />", "records: 0"}},
        {{"decode", snapshot}, {"RemoteSnapshotRespBodyParser", "DataBuffer: 3 bytes", "Code 5"}},
        {{"--help"}, {"Usage: devsearch SUBCOMMAND", "decode", "recode"}},
        {{"decode", "--help"}, {"Usage: devsearch decode"}},
        {{"recode", "--help"}, {"Usage: devsearch recode"}},
    };
    for (const auto& c : cases) {
        const ToolRun r = run(c.first);
        EXPECT_EQ(0, r.status) << r.err;
        EXPECT_EQ("", r.err);
        for (const char* text : c.second) EXPECT_THAT(r.out, HasSubstr(text));
    }
    const ToolRun fromStdin = run({"decode"}, query);
    EXPECT_EQ(0, fromStdin.status);
    EXPECT_EQ(run({"decode", query}).out, fromStdin.out);
}

// Bad arguments end with status 1, data that does not decode with 2; either
// way one line on standard error and nothing on standard output.
TEST_F(ToolTest, RefusalsPrintOneLineAndTheirStatus) {
    Bytes badCheck = datagram(30539, kEmptyDocument);
    badCheck[22] ^= 1;
    Bytes badEnd = datagram(30539, kEmptyDocument);
    badEnd[23] = 0;
    const std::string text = "hello world this is not it";
    const Bytes noData = datagram(31026, hexBytes("00 00 00 09 00 00 00 05"));  // 9 data bytes announced
    const std::tuple<std::vector<std::string>, int, const char*> cases[] = {
        {{}, 1, "no subcommand given; run 'devsearch --help'"},
        {{"frobnicate"}, 1, "unknown subcommand 'frobnicate'"},
        {{"decode", m_dir + "/does-not-exist"}, 1, "cannot open"},
        {{"decode", "a", "b"}, 1, "too many arguments"},
        {{"recode", "--bogus"}, 1, "unknown option '--bogus'"},
        {{"decode", file(Bytes(23, '\xAF'))}, 2, "too short"},
        {{"recode", file(Bytes(5, '\0'))}, 2, "too short"},
        {{"decode", file(text)}, 2, "not an SDK command"},
        {{"decode", file(badCheck)}, 2, "check byte"},
        {{"decode", file(badEnd)}, 2, "end mark"},
        {{"decode", file(datagram(30539, kEmptyDocument, 500))}, 2, "announces 500 body bytes"},
        {{"decode", file(datagram(30539, "plain text"))}, 2, "not a well-formed"},
        {{"decode", file(noData)}, 2, "RemoteSnapshotRespBodyParser"},
    };
    for (const auto& [args, status, words] : cases) {
        const ToolRun r = run(args);
        EXPECT_EQ(status, r.status) << words;
        EXPECT_EQ("", r.out) << words;
        EXPECT_EQ(1, std::count(r.err.begin(), r.err.end(), '\n')) << r.err;
        EXPECT_THAT(r.err, HasSubstr(words));
    }
}

// A PTZOperation element without its logged attributes prints codec lines; a
// record missing a mandatory attribute prints its line and fails.
TEST_F(ToolTest, LibraryLinesGoToStandardError) {
    const std::string logged = file(datagram(1009, kXmlHead + "<Parameters><PTZOperation /></Parameters>"));
    const ToolRun ok = run({"decode", logged});
    EXPECT_EQ(0, ok.status) << ok.err;
    EXPECT_THAT(ok.out, HasSubstr("PTZOperation: record 1009"));
    EXPECT_THAT(ok.out, testing::Not(HasSubstr("getProperty")));
    EXPECT_THAT(ok.err, HasSubstr("getProperty get CameraId failed"));
    const ToolRun recoded = run({"recode", logged});
    EXPECT_EQ(0, recoded.status) << recoded.err;
    EXPECT_EQ(0u, recoded.out.find("\xAF\xAF")) << recoded.out;

    const std::string missing =
        kXmlHead + "<Parameters><MotionDetectionStreamReq CameraId=\"1\" /></Parameters>";
    const ToolRun bad = run({"decode", file(datagram(1010, missing))});
    EXPECT_EQ(2, bad.status);
    EXPECT_EQ("", bad.out);
    EXPECT_THAT(bad.err,
                HasSubstr("EtMotionDetectionStreamReqXml::parseDomainXmlNode get ConsumerId failed"));
    EXPECT_THAT(bad.err, HasSubstr("refused by its codec"));
}

// The library's form of a datagram comes out as it went in; another
// spelling of the same document comes out in that form, with version 1 and
// the true length.
TEST_F(ToolTest, RecodeWritesTheDatagramAgain) {
    const Bytes query = datagram(30539, kEmptyDocument);
    Bytes loose = datagram(30539, "<Foo Version='7'><Result Code='4'/></Foo>  ");
    loose[3] = 9;  // version 9
    loose[22] =
        static_cast<char>(SDKCommandHeadParser::checkByte(reinterpret_cast<unsigned char*>(&loose[0])));
    const std::pair<Bytes, Bytes> cases[] = {
        {query, query},
        {loose,
         datagram(30539, kXmlHead + "<Parameters Version=\"1\">\n\t<Result Code=\"4\" />\n</Parameters>\n")}};
    for (const auto& c : cases) {
        const ToolRun r = run({"recode", file(c.first)});
        EXPECT_EQ(0, r.status) << r.err;
        EXPECT_EQ(c.second, r.out);
    }
}

}  // namespace
