#pragma once

#include <cstdio>
#include <string>
#include <vector>

// The exit statuses of the tool, every subcommand's.
enum ExitStatus {
    kExitOk = 0,
    // decode and recode: bad arguments or unreadable input; search and range:
    // the search could not be started.
    kExitUsage = 1,
    // Input refused: a datagram that is no well-formed SDK command (decode,
    // recode); arguments of search and range that give no usable adapter,
    // range, port or time (nothing is sent then).
    kExitRefused = 2,
    kExitNoEncode = 3,      // the command could not be written again
    kExitInterrupted = 130  // Ctrl-C during a range search
};

// Where a subcommand writes. `out` is the original standard output and carries
// only the subcommand's result; `err` is standard error. While a subcommand
// runs, file descriptor 1 is redirected to standard error, so that lines the
// library prints itself never mix with the result.
struct ToolStreams {
    FILE* out;
    FILE* err;
};

// One entry of the subcommand table.
struct Subcommand {
    const char* name;
    const char* summary;  // one line for the overview of `devsearch --help`
    int (*run)(const std::vector<std::string>& args, ToolStreams& io);
};

// The table, in the order of the overview.
const std::vector<Subcommand>& subcommands();

// The subcommands (one file each).
int runDecode(const std::vector<std::string>& args, ToolStreams& io);
int runRecode(const std::vector<std::string>& args, ToolStreams& io);
int runSearch(const std::vector<std::string>& args, ToolStreams& io);
int runRange(const std::vector<std::string>& args, ToolStreams& io);
