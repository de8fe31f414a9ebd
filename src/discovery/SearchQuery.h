#pragma once

#include <cstdint>

#include "discovery/DiscoveryNames.h"
#include "transport/CommandBuffer.h"

class ICommandProtocolParser;

// Builds a search query: an SDK command of version 1 with both flags clear,
// context 0 and an empty body, which gives 91 bytes. False when the parser
// cannot build it; `out` is then untouched.
bool buildSearchQuery(ICommandProtocolParser& parser, uint32_t commandId, uint16_t sequence,
                      CommandBuffer& out);
