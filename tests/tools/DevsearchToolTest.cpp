// The devsearch tool as a program: exit statuses, and standard output that
// carries only the result while the library's own lines go to standard error.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "protocol/SDKCommandHeadParser.h"

extern char** environ;

namespace {

typedef std::vector<unsigned char> Bytes;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

class ToolTest : public testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/devsearch-tool-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        m_dir = pattern;
    }
    void TearDown() override {
        for (const std::string& f : m_files) std::remove(f.c_str());
        std::remove((m_dir + "/stdout").c_str());
        std::remove((m_dir + "/stderr").c_str());
        rmdir(m_dir.c_str());
    }

    std::string writeFile(const std::string& name, const Bytes& bytes) {
        const std::string path = m_dir + "/" + name;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        m_files.push_back(path);
        return path;
    }

    static std::string slurp(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    // Runs the tool with args; stdin from `input` (or /dev/null).
    ToolRun run(const std::vector<std::string>& args, const std::string& input = "/dev/null") {
        const std::string outPath = m_dir + "/stdout";
        const std::string errPath = m_dir + "/stderr";
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        std::vector<char*> argv;
        std::string program = DEVSEARCH_TOOL_PATH;
        argv.push_back(&program[0]);
        std::vector<std::string> copies(args);
        for (std::string& a : copies) argv.push_back(&a[0]);
        argv.push_back(nullptr);
        pid_t pid = 0;
        ToolRun result;
        if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0) {
            int status = 0;
            waitpid(pid, &status, 0);
            result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        posix_spawn_file_actions_destroy(&actions);
        result.out = slurp(outPath);
        result.err = slurp(errPath);
        return result;
    }

    static Bytes datagram(unsigned commandId, const std::string& body, int declared = -1) {
        SDKCommandHeadInfo head;
        head.nVersion = 1;
        head.nSequence = 3;
        head.nCommandID = commandId;
        head.nPayloadLength =
            declared < 0 ? static_cast<unsigned>(body.size()) : static_cast<unsigned>(declared);
        Bytes out(24 + body.size());
        SDKCommandHeadParser::encodeHead(head, out.data());
        std::copy(body.begin(), body.end(), out.begin() + 24);
        return out;
    }

    static size_t lines(const std::string& text) {
        size_t n = 0;
        for (char c : text) n += c == '\n';
        return n;
    }

    std::string m_dir;
    std::vector<std::string> m_files;
};

const std::string kEmptyDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\" />\n";

}  // namespace

TEST_F(ToolTest, DecodePrintsHeadAndDocument) {
    const std::string file = writeFile("query.bin", datagram(30539, kEmptyDocument));
    ToolRun r = run({"decode", file});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ("", r.err);
    EXPECT_NE(std::string::npos, r.out.find("commandID      30539 (0x774B)")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("sequence       3")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("payloadLength  67")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("<Parameters Version=\"1\" />")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("records: 0")) << r.out;

    // The same from standard input.
    ToolRun fromStdin = run({"decode"}, file);
    EXPECT_EQ(0, fromStdin.status);
    EXPECT_EQ(r.out, fromStdin.out);
}

TEST_F(ToolTest, DecodeShowsBinaryFields) {
    const std::string body(
        "\x00\x00\x00\x03\x00\x00\x00\x05"
        "abc",
        11);
    ToolRun r = run({"decode", writeFile("snap.bin", datagram(31026, body))});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("RemoteSnapshotRespBodyParser")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("DataBuffer: 3 bytes")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("Code 5")) << r.out;
}

TEST_F(ToolTest, DecodeRefusesWithOneLineAndStatusTwo) {
    struct Case {
        Bytes bytes;
        const char* words;
    };
    Bytes badCheck = datagram(30539, kEmptyDocument);
    badCheck[22] ^= 1;
    Bytes badEnd = datagram(30539, kEmptyDocument);
    badEnd[23] = 0;
    const Case cases[] = {
        {Bytes(23, 0xAF), "too short"},
        {Bytes{'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', ' ', 't',
               'h', 'i', 's', ' ', 'i', 's', ' ', 'n', 'o', 't', ' ', 'i', 't'},
         "not an SDK command"},
        {badCheck, "check byte"},
        {badEnd, "end mark"},
        {datagram(30539, kEmptyDocument, 500), "announces 500 body bytes"},
        {datagram(30539, "plain text"), "not a well-formed"},
        {datagram(31026, std::string("\x00\x00\x00\x09\x00\x00\x00\x05", 8)), "RemoteSnapshotRespBodyParser"},
    };
    int i = 0;
    for (const Case& c : cases) {
        ToolRun r = run({"decode", writeFile("bad" + std::to_string(i++), c.bytes)});
        EXPECT_EQ(2, r.status) << c.words;
        EXPECT_EQ("", r.out) << c.words;
        EXPECT_EQ(1u, lines(r.err)) << r.err;
        EXPECT_NE(std::string::npos, r.err.find(c.words)) << r.err;
    }
}

TEST_F(ToolTest, LibraryLinesGoToStandardError) {
    // A PTZOperation element without its logged attributes prints codec lines;
    // a record missing a mandatory attribute prints its line and fails.
    const std::string logged =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters><PTZOperation /></Parameters>";
    ToolRun ok = run({"decode", writeFile("logged.bin", datagram(1009, logged))});
    EXPECT_EQ(0, ok.status) << ok.err;
    EXPECT_EQ(std::string::npos, ok.out.find("getProperty")) << ok.out;
    EXPECT_NE(std::string::npos, ok.err.find("getProperty get CameraId failed")) << ok.err;
    EXPECT_NE(std::string::npos, ok.out.find("PTZOperation: record 1009")) << ok.out;

    const std::string missing =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters><MotionDetectionStreamReq CameraId=\"1\" "
        "/></Parameters>";
    ToolRun bad = run({"decode", writeFile("missing.bin", datagram(1010, missing))});
    EXPECT_EQ(2, bad.status);
    EXPECT_EQ("", bad.out);
    EXPECT_NE(std::string::npos, bad.err.find("ConsumerId")) << bad.err;  // the codec's own line
    EXPECT_NE(std::string::npos, bad.err.find("refused by its codec")) << bad.err;

    ToolRun recoded = run({"recode", writeFile("logged2.bin", datagram(1009, logged))});
    EXPECT_EQ(0, recoded.status) << recoded.err;
    EXPECT_EQ(0u, recoded.out.find("\xAF\xAF")) << recoded.out;
}

TEST_F(ToolTest, RecodeWritesTheDatagramAgain) {
    const Bytes query = datagram(30539, kEmptyDocument);
    ToolRun r = run({"recode", writeFile("query.bin", query)});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(std::string(query.begin(), query.end()), r.out);

    // Another spelling of the same document comes out in the library's form,
    // with version 1 and the true length.
    Bytes loose = datagram(30539, "<Foo Version='7'><Result Code='4'/></Foo>  ");
    loose[3] = 9;  // version 9
    loose[22] = SDKCommandHeadParser::checkByte(loose.data());
    ToolRun again = run({"recode", writeFile("loose.bin", loose)});
    EXPECT_EQ(0, again.status) << again.err;
    const std::string expectedBody =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Parameters Version=\"1\">\n\t<Result Code=\"4\" "
        "/>\n</Parameters>\n";
    const Bytes expected = datagram(30539, expectedBody);
    EXPECT_EQ(std::string(expected.begin(), expected.end()), again.out);

    ToolRun bad = run({"recode", writeFile("short.bin", Bytes(5, 0))});
    EXPECT_EQ(2, bad.status);
    EXPECT_EQ("", bad.out);
    EXPECT_EQ(1u, lines(bad.err));
}

TEST_F(ToolTest, ArgumentsAndHelp) {
    ToolRun help = run({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_NE(std::string::npos, help.out.find("decode"));
    EXPECT_NE(std::string::npos, help.out.find("recode"));
    for (const char* sub : {"decode", "recode"}) {
        ToolRun h = run({sub, "--help"});
        EXPECT_EQ(0, h.status);
        EXPECT_EQ(0u, h.out.find(std::string("Usage: devsearch ") + sub)) << h.out;
    }
    ToolRun none = run({});
    EXPECT_EQ(1, none.status);
    EXPECT_NE(std::string::npos, none.err.find("--help"));
    ToolRun unknown = run({"frobnicate"});
    EXPECT_EQ(1, unknown.status);
    EXPECT_NE(std::string::npos, unknown.err.find("unknown subcommand 'frobnicate'"));
    ToolRun missing = run({"decode", m_dir + "/does-not-exist"});
    EXPECT_EQ(1, missing.status);
    EXPECT_NE(std::string::npos, missing.err.find("cannot open"));
    EXPECT_EQ("", missing.out);
    ToolRun two = run({"decode", "a", "b"});
    EXPECT_EQ(1, two.status);
    EXPECT_NE(std::string::npos, two.err.find("too many arguments"));
    ToolRun option = run({"recode", "--bogus"});
    EXPECT_EQ(1, option.status);
    EXPECT_NE(std::string::npos, option.err.find("unknown option '--bogus'"));
}
