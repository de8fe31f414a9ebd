#pragma once

#include "Product/Technic/SafePointer.h"
#include "transport/CommandBuffer.h"

class CommandParam;

// Turns a command in memory into the bytes of one datagram and back.
class ICommandProtocolParser {
  public:
    virtual ~ICommandProtocolParser();
    // Writes head and body into `out`; `out` is touched only on success.
    virtual bool createCommand(const SafePointer<CommandParam>& param, CommandBuffer& out) = 0;
    // Reads the command at the cursor of `in`; `param` is assigned only on success.
    virtual bool parseCommand(const CommandBuffer& in, SafePointer<CommandParam>& param) = 0;
};
