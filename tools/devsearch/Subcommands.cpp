#include "Subcommand.h"

// Add a subcommand here: its name, a one-line summary and its entry point.
const std::vector<Subcommand>& subcommands() {
    static const std::vector<Subcommand> table = {
        {"decode", "print the head and the body of one raw SDK datagram", runDecode},
        {"recode", "parse one raw SDK datagram and write it again as the library builds it", runRecode},
        {"search", "multicast search on all adapters or one, for some seconds", runSearch},
        {"range", "range search: query every address from FIRST to LAST once", runRange},
    };
    return table;
}
