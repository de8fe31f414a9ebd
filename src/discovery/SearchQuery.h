#pragma once

#include <cstdint>

#include "transport/CommandBuffer.h"

class ICommandProtocolParser;

// Command identifiers of the two SDK searches.
constexpr uint32_t kMulticastQueryCommand = 30539;  // to the group, answered on the group port + 1
constexpr uint32_t kRangeQueryCommand = 30541;      // by unicast to each address
constexpr uint32_t kRangeAnswerCommand = 30542;     // the answer to a range query

// Builds a search query: an SDK command of version 1 with both flags clear,
// context 0 and an empty body, which gives 91 bytes. False when the parser
// cannot build it; `out` is then untouched.
bool buildSearchQuery(ICommandProtocolParser& parser, uint32_t commandId, uint16_t sequence,
                      CommandBuffer& out);
