#pragma once

#include "protocol/ICommandProtocolParser.h"

class ICommandBodyParser;

// Returns a new body parser for the command identifier, owned by the caller:
// the binary parsers for the nine identifiers with a binary body, the XML
// body parser for every other one. Null only when allocation fails.
ICommandBodyParser* createBodyParser(unsigned commandId);

// The SDK command protocol: 24-byte head, then the body that
// createBodyParser picks. Holds no state; one object may serve several threads.
class SDKCommandParser : public ICommandProtocolParser {
  public:
    ~SDKCommandParser() override;

    // Writes the head with version 1 and the true body length, whatever the
    // parameter object says; the parameter object is not changed.
    bool createCommand(const SafePointer<CommandParam>& param, CommandBuffer& out) override;
    // Fails on a bad head, on a payload length that exceeds the bytes behind
    // the head, and when the body does not parse.
    bool parseCommand(const CommandBuffer& in, SafePointer<CommandParam>& param) override;
};
