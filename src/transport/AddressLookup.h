#pragma once

#include <netdb.h>
#include <sys/socket.h>

#include <cstddef>
#include <memory>

#include "domain/records/InetAddr.h"

// Name resolution and numeric address text for the socket layer.

struct AddrInfoDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddrInfoPtr = std::unique_ptr<addrinfo, AddrInfoDeleter>;

// getaddrinfo for `family` and socket type (1 stream, otherwise datagram),
// with the port as decimal service text. 0, or the EAI_ code; a failure that
// is not a system error leaves errno at EINVAL, so that it can be reported.
int lookUpAddress(int family, int type, const char* host, unsigned short port, int flags, AddrInfoPtr& out);

// The numeric host text and port of a socket address, as getnameinfo gives
// them with NI_NUMERICHOST | NI_NUMERICSERV, except that an IPv6 scope is
// written as a number (an interface name would depend on the calling thread's
// network namespace). 0, or an EAI_ code.
int numericName(const sockaddr_storage& address, char* host, size_t hostLength, unsigned short* port);

// Fills an address record: text, port and IP version code.
inline void setInetAddr(InetAddr& addr, const char* host, unsigned short port, int ipVersion) {
    addr.setIP(host);
    addr.setPORT(port);
    addr.setIPProtoVer(ipVersion);
}
