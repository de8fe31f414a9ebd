#pragma once

#include <string>
#include <vector>

#include "Subcommand.h"

// Redirects file descriptor 1 to standard error for its lifetime and gives a
// stream on the original standard output.
class StdoutDiversion {
  public:
    StdoutDiversion();
    ~StdoutDiversion();
    StdoutDiversion(const StdoutDiversion&) = delete;
    StdoutDiversion& operator=(const StdoutDiversion&) = delete;

    // False when the descriptors could not be set up; `out` is then stdout itself.
    bool isActive() const { return m_nSavedFd >= 0; }
    FILE* result() const { return m_pResult; }

  private:
    int m_nSavedFd = -1;
    FILE* m_pResult = nullptr;
};

// Reads a whole file, or standard input for "-". On failure `error` says why.
bool readInput(const std::string& path, std::vector<unsigned char>& data, std::string& error);

// The name of the input in messages.
std::string inputName(const std::string& path);

// Common argument handling of the subcommands that read one datagram:
// "--help"/"-h", at most one FILE ("-" or none means standard input).
// Returns -1 to go on, otherwise the exit status to return.
int parseSingleInputArgs(const std::vector<std::string>& args, const char* name, const char* usage,
                         ToolStreams& io, std::string& path);
