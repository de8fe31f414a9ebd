#pragma once

#include <cstdint>

#include "transport/TransferResult.h"

// The fixed addresses, ports and command identifiers of the three searches,
// and the result codes of the discovery engines, each named once. The codes
// continue the transfer vocabulary (TransferResult); one code may carry two
// names where two engines give it two meanings.

// The multicast group of both multicast engines.
constexpr const char* kSearchGroup = "234.5.6.7";
constexpr const char* kSearchGroup6 = "ff12::1";
// Queries of the discovery service go to the group on this port; answers come
// back on the next one.
constexpr unsigned short kQueryPort = 31001;
constexpr unsigned short kAnswerPort = kQueryPort + 1;
// Device announcements arrive on the group on this port.
constexpr unsigned short kAnnouncePort = 30003;
// The range search's destination port unless the application sets another.
constexpr unsigned short kRangePort = 30001;

// SDK command identifiers of the two SDK searches.
constexpr uint32_t kMulticastQueryCommand = 30539;  // to the group, answered on the group port + 1
constexpr uint32_t kMulticastAnswerCommand = 30540;
constexpr uint32_t kRangeQueryCommand = 30541;   // by unicast to each address
constexpr uint32_t kRangeAnswerCommand = 30542;  // the answer to a range query

enum DiscoveryResult {
    kDiscoveryOk = 0,
    kDiscoveryNoMemory = kTransferNoMemory,   // -2: a buffer, document or transfer could not be made
    kDiscoveryNoTransfer = kTransferNotOpen,  // -4
    kAlreadyRunning = -11,
    kThreadNotStarted = -12,
    // Announcements (port 30003).
    kBadEnvelope = -231,
    kPayloadNotAdvanced = -233,
    kUnknownCommand = -401,
    kShortCommandHead = -402,
    kBodyNotDecoded = -404,
    // Discovery service.
    kQueryNotBuilt = -401,
    kAnswerNotParsed = -404,
    // Range search.
    kRangeAnswerNotParsed = -233,
    kRangeQueryNotBuilt = -234,
    kNotAnAnswer = -501,
    // Any engine: no adapter, group or listener; or, for the service's
    // handling of an answer, nothing to deliver.
    kNotConfigured = -661,
};
