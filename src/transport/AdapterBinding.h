#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

#include "transport/SocketHandle.h"

// Ties a datagram socket to one adapter of the host.
//
// The discovery engines bind a datagram socket to an adapter's own address and
// a port, join a group, and expect the socket to hear exactly the group's
// datagrams that arrive on that adapter and unicast datagrams to that address
// and port, and to send through that adapter. On Linux a socket bound to a
// unicast address hears no multicast at all, so rebind() puts a new socket
// under the caller's handle (dup3), keeping the options the caller had set:
//   - bound to the wildcard address and the same port, with SO_REUSEADDR, so
//     that several adapters and sockets share the port;
//   - SO_BINDTODEVICE to the adapter: it hears nothing that arrives elsewhere,
//     and its datagrams leave through that adapter;
//   - IP_MULTICAST_ALL off: it hears only the groups it joined itself;
//   - a socket filter that drops, in the kernel, unicast that arrived on the
//     adapter for any other address of the host (Linux accepts a datagram for
//     adapter B's address on adapter A): such a datagram never makes the socket
//     readable;
//   - packet information on, for the same check on each datagram read;
//   - IP_MULTICAST_IF and the source address of every send set to the
//     adapter's address, so the peer sees the address the caller bound to.
// IPv6 works the same way with the IPv6 options.
class AdapterBinding {
  public:
    // Finds the adapter that holds `local` (a unicast address with the port the
    // caller bound to) among the interfaces of the calling thread's network
    // namespace. False, with errno set, when no adapter holds it.
    bool find(const sockaddr_storage& local);
    // Puts the adapter-bound socket under `fd`. False, with errno set and `fd`
    // left as it was, when any step fails.
    bool rebind(SocketHandle fd) const;
    // Whether a datagram read with recvmsg() (packet information in its
    // control data) arrived on this adapter for this adapter's address, its
    // broadcast address or a group.
    bool accepts(msghdr& received) const;
    // Writes the control message that makes a send leave from the adapter's
    // address into `control` (room for CMSG_SPACE(sizeof(in6_pktinfo))) and
    // returns its length.
    size_t writeSourceControl(unsigned char* control) const;

    const std::string& name() const { return m_strName; }
    unsigned index() const { return m_nIndex; }
    // The address and port the caller bound to.
    const sockaddr_storage& address() const { return m_address; }

  private:
    bool attachFilter(SocketHandle fd) const;

    std::string m_strName;
    unsigned m_nIndex = 0;
    sockaddr_storage m_address{};
    in_addr m_broadcast{};  // IPv4 directed broadcast of the adapter, if it has one
};

// The space writeSourceControl() needs.
constexpr size_t kSourceControlSpace = CMSG_SPACE(sizeof(in6_pktinfo));
