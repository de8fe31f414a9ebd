// devsearch: command-line companion of the device search library.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Subcommand.h"
#include "devsearch/LibraryVersion.h"
#include "ToolSupport.h"

namespace {

void printOverview(FILE* out) {
    std::fputs(
        "Usage: devsearch SUBCOMMAND [ARGS]\n"
        "       devsearch --version\n"
        "\n"
        "Subcommands:\n",
        out);
    for (const Subcommand& sub : subcommands()) {
        std::fprintf(out, "  %-10s %s\n", sub.name, sub.summary);
    }
    std::fputs(
        "\n"
        "Run 'devsearch SUBCOMMAND --help' for the arguments of one subcommand.\n"
        "Exit status of decode and recode: 0 success, 1 bad arguments or unreadable input, 2 the\n"
        "datagram does not parse, 3 the command could not be written again. Of search and range:\n"
        "0 done, 2 bad arguments.\n",
        out);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("devsearch: no subcommand given; run 'devsearch --help' for the list\n", stderr);
        return kExitUsage;
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        printOverview(stdout);
        return kExitOk;
    }
    if (name == "--version") {
        std::printf("devsearch %s (libdevsearch SOVERSION %d)\n", DEVSEARCH_VERSION_STRING,
                    DEVSEARCH_SOVERSION);
        return kExitOk;
    }
    for (const Subcommand& sub : subcommands()) {
        if (name != sub.name) {
            continue;
        }
        std::vector<std::string> args(argv + 2, argv + argc);
        int status;
        {
            StdoutDiversion diversion;
            ToolStreams io{diversion.result(), stderr};
            status = sub.run(args, io);
            std::fflush(io.out);
        }
        std::fflush(stderr);
        return status;
    }
    std::fprintf(stderr, "devsearch: unknown subcommand '%s'; run 'devsearch --help' for the list\n",
                 name.c_str());
    return kExitUsage;
}
