#pragma once

#include "Product/Technic/SafePointer.h"
#include "transport/CommandBuffer.h"

class CommandHeadInfo;

// Reads and writes the fixed head of a command.
class ICommandHeadParser {
  public:
    virtual ~ICommandHeadParser();
    virtual unsigned getHeadLength() = 0;
    virtual bool createCommandHead(const SafePointer<CommandHeadInfo>& head, CommandBuffer& out) = 0;
    // On success `head` gets a new head object; on failure it stays as it was.
    virtual bool parseCommandHead(const char* data, unsigned length, SafePointer<CommandHeadInfo>& head) = 0;
    virtual bool parseCommandHead(const CommandBuffer& in, SafePointer<CommandHeadInfo>& head) = 0;
};
