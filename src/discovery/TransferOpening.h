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
// port, joined to the group, a receive buffer of `recvBufferBytes` asked for,
// and its waits ended by `wakeUp`. The bind comes before the join, which takes its adapter
// from the bound address.
//
// 0 with the transfer in `out`; -2 the factory made none; the result of
// open(); -214 the adapter has no IPv4 address; -203 the bind failed; -215 the
// group could not be joined. What it opened is closed again on failure.
int openGroupTransfer(ITransferFactory& factory, const InetAddr& group, const std::string& adapter,
                      const WakeUp& wakeUp, int recvBufferBytes, SafePointer<ITransfer>& out);

// Receive buffer of a transfer that is never read (the service's send side).
constexpr int kIdleRecvBufferBytes = 1048576;
// Receive buffer of a transfer that the engine reads: room for a burst of
// several thousand announcements while the thread is busy. The kernel grants
// more than the system limit only to a process that may raise it.
constexpr int kBurstRecvBufferBytes = 8 * 1048576;
