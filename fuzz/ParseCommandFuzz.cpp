// Any datagram through parseCommand (head, XML body with every record, the
// binary bodies), and what parses back through createCommand.
#include "FuzzSupport.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietStdout();
    CommandBuffer in;
    if (!toDatagram(data, size, in)) return 0;
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    if (parser.parseCommand(in, param)) {
        CommandBuffer out;
        parser.createCommand(param, out);
    }
    return 0;
}
