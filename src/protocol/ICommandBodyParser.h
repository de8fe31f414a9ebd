#pragma once

#include "domain/DomainList.h"
#include "transport/CommandBuffer.h"

// Turns the records of a command body into bytes and back. One implementation
// per body format; createBodyParser picks it by command identifier.
class ICommandBodyParser {
  public:
    virtual ~ICommandBodyParser();
    virtual bool createCommandBody(const DomainList& domains, CommandBuffer& out) = 0;
    // Reads the length bytes at the cursor of `in` and appends new records to `domains`.
    virtual bool parseCommandBody(const CommandBuffer& in, DomainList& domains) = 0;
};
