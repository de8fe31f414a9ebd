#pragma once

#include <string>

#include "Product/Technic/SafePointer.h"

class ITransfer;
class ITransferFactory;
class InetAddr;
class WakeUp;

// Opens the transfer of one multicast engine on one adapter: made by
// `factory` for the group's IP version, address reuse on, bound to the
// adapter's first IPv4 address (IPv6: the wildcard address) and the group's
// port, joined to the group, a 1 MB receive buffer asked for, and its waits
// ended by `wakeUp`. The bind comes before the join, which takes its adapter
// from the bound address.
//
// 0 with the transfer in `out`; -2 the factory made none; the result of
// open(); -214 the adapter has no IPv4 address; -203 the bind failed; -215 the
// group could not be joined. What it opened is closed again on failure.
int openGroupTransfer(ITransferFactory& factory, const InetAddr& group, const std::string& adapter,
                      const WakeUp& wakeUp, SafePointer<ITransfer>& out);
