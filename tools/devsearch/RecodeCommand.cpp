// devsearch recode: parses one raw SDK datagram and writes it again.
#include <string>

#include "Datagram.h"
#include "Subcommand.h"
#include "ToolSupport.h"
#include "protocol/SDKCommandParser.h"

namespace {

const char* const kUsage =
    "Usage: devsearch recode [FILE]\n"
    "\n"
    "Reads one raw SDK datagram from FILE, or from standard input when FILE is '-'\n"
    "or missing, parses it into records and writes the command again with the same\n"
    "head. The datagram bytes go to standard output; redirect them to a file.\n"
    "The head is written as the library writes it: version 1 and the true body length.\n"
    "\n"
    "Exit status: 0 written; 1 bad arguments or unreadable input; 2 the datagram does\n"
    "not parse; 3 its records could not be written again (the reason is one line on\n"
    "standard error).\n";

}  // namespace

int runRecode(const std::vector<std::string>& args, ToolStreams& io) {
    std::string path;
    const int early = parseSingleInputArgs(args, "recode", kUsage, io, path);
    if (early >= 0) {
        return early;
    }
    std::vector<unsigned char> bytes;
    std::string error;
    if (!readInput(path, bytes, error)) {
        std::fprintf(io.err, "devsearch recode: %s\n", error.c_str());
        return kExitUsage;
    }
    SafePointer<CommandParam> param;
    std::string reason;
    if (!parseDatagram(bytes, param, reason)) {
        std::fprintf(io.err, "devsearch recode: %s: %s\n", inputName(path).c_str(), reason.c_str());
        return kExitRefused;
    }
    CommandBuffer out;
    SDKCommandParser parser;
    if (!parser.createCommand(param, out)) {
        std::fprintf(io.err,
                     "devsearch recode: %s: parsed, but its records could not be written again "
                     "(a record without a codec, or one its codec refuses)\n",
                     inputName(path).c_str());
        return kExitNoEncode;
    }
    if (std::fwrite(out.getCursor(), 1, out.getLength(), io.out) != out.getLength() ||
        std::fflush(io.out) != 0) {
        std::fprintf(io.err, "devsearch recode: cannot write to standard output\n");
        return kExitUsage;
    }
    return kExitOk;
}
