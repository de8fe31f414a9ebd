#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

typedef std::vector<std::string> Lines;

// A fresh directory under /tmp, removed with its contents at the end of the scope.
struct TempDir {
    std::string path = [] {
        char pattern[] = "/tmp/ds_technic_XXXXXX";
        return std::string(mkdtemp(pattern) == nullptr ? "" : pattern);
    }();
    ~TempDir() { std::system(("rm -rf '" + path + "'").c_str()); }
    std::string file(const std::string& name) const { return path + "/" + name; }
};

// The whole file; empty if it does not exist.
inline std::string readFile(const std::string& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

// A log line without its time stamp "YYYY-MM-DD hh:mm:ss", which is checked on the way.
inline std::string withoutStamp(const std::string& line) {
    EXPECT_TRUE(line.size() > 19 && line[4] == '-' && line[10] == ' ' && line[13] == ':') << line;
    return line.size() > 19 ? line.substr(19) : line;
}

// The lines of a log file, without their stamps.
inline Lines logLines(const std::string& path) {
    Lines lines;
    std::istringstream in(readFile(path));
    for (std::string line; std::getline(in, line);) lines.push_back(withoutStamp(line));
    return lines;
}

// The text of the E that f throws, or "no exception".
template <class E, class F>
std::string thrown(F f) {
    try {
        f();
    } catch (const E& e) {
        return e.what();
    }
    return "no exception";
}

inline void pause(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Waits up to five seconds for a condition.
template <class F>
bool eventually(F condition) {
    for (int i = 0; i < 500 && !condition(); ++i) pause(10);
    return condition();
}
