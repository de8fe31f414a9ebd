// One datagram through parseCommand, and what parses through createCommand.
// The input is copied into a block of exactly its size, so a read past the
// datagram leaves the allocation.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = [] {
        // The codecs print their lines; keep the fuzzer's output readable.
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    (void)quiet;
    if (size == 0 || size > (1u << 20)) {
        return 0;
    }
    CommandBuffer in;
    if (!in.alloc(static_cast<int>(size)) || !in.append(data, static_cast<unsigned>(size))) {
        return 0;
    }
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    if (parser.parseCommand(in, param)) {
        CommandBuffer out;
        parser.createCommand(param, out);
    }
    return 0;
}
