#include "ToolSupport.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

// Larger inputs are refused: a datagram is a few kilobytes at most.
const size_t kMaxInput = 16u * 1024u * 1024u;

}  // namespace

StdoutDiversion::StdoutDiversion() {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    if (saved < 0) {
        m_pResult = stdout;
        return;
    }
    FILE* result = fdopen(saved, "w");
    if (result == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        if (result != nullptr) {
            std::fclose(result);
        } else {
            close(saved);
        }
        m_pResult = stdout;
        return;
    }
    m_nSavedFd = saved;
    m_pResult = result;
}

StdoutDiversion::~StdoutDiversion() {
    if (m_nSavedFd < 0) {
        return;
    }
    std::fflush(stdout);
    std::fflush(m_pResult);
    dup2(m_nSavedFd, STDOUT_FILENO);
    std::fclose(m_pResult);
}

std::string inputName(const std::string& path) {
    return path == "-" ? std::string("standard input") : "'" + path + "'";
}

bool readInput(const std::string& path, std::vector<unsigned char>& data, std::string& error) {
    data.clear();
    FILE* file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        error = "cannot open " + inputName(path) + ": " + std::strerror(errno) +
                "; give a readable file, or '-' for standard input";
        return false;
    }
    unsigned char chunk[65536];
    bool ok = true;
    for (;;) {
        const size_t n = std::fread(chunk, 1, sizeof(chunk), file);
        data.insert(data.end(), chunk, chunk + n);
        if (data.size() > kMaxInput) {
            error = "input " + inputName(path) + " is larger than 16 MiB; give one datagram, not a capture";
            ok = false;
            break;
        }
        if (n < sizeof(chunk)) {
            if (std::ferror(file)) {
                error = "cannot read " + inputName(path) + ": " + std::strerror(errno);
                ok = false;
            }
            break;
        }
    }
    if (file != stdin) {
        std::fclose(file);
    }
    return ok;
}

int parseSingleInputArgs(const std::vector<std::string>& args, const char* name, const char* usage,
                         ToolStreams& io, std::string& path) {
    path = "-";
    bool havePath = false;
    bool optionsDone = false;
    for (const std::string& arg : args) {
        if (!optionsDone && arg == "--") {
            optionsDone = true;
            continue;
        }
        if (!optionsDone && (arg == "--help" || arg == "-h")) {
            std::fputs(usage, io.out);
            return kExitOk;
        }
        if (!optionsDone && arg.size() > 1 && arg[0] == '-') {
            std::fprintf(io.err, "devsearch %s: unknown option '%s'; see 'devsearch %s --help'\n", name,
                         arg.c_str(), name);
            return kExitUsage;
        }
        if (havePath) {
            std::fprintf(
                io.err,
                "devsearch %s: too many arguments; give at most one FILE (see 'devsearch %s --help')\n", name,
                name);
            return kExitUsage;
        }
        path = arg;
        havePath = true;
    }
    return -1;
}
