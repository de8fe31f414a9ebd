#include "transport/AddressLookup.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

int lookUpAddress(int family, int type, const char* host, unsigned short port, int flags, AddrInfoPtr& out) {
    addrinfo hints{};
    hints.ai_family = family;
    hints.ai_socktype = type == 1 ? SOCK_STREAM : SOCK_DGRAM;
    hints.ai_flags = flags;
    char service[16];
    std::snprintf(service, sizeof(service), "%u", static_cast<unsigned>(port));
    addrinfo* raw = nullptr;
    const int rc = getaddrinfo(host, service, &hints, &raw);
    out.reset(raw);
    if (rc != 0 && rc != EAI_SYSTEM) {
        errno = EINVAL;
    }
    return rc;
}

int numericName(const sockaddr_storage& address, char* host, size_t hostLength, unsigned short* port) {
    char text[INET6_ADDRSTRLEN + 16] = {};
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        inet_ntop(AF_INET, &v4.sin_addr, text, sizeof(text));
        *port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        inet_ntop(AF_INET6, &v6.sin6_addr, text, INET6_ADDRSTRLEN);
        if (v6.sin6_scope_id != 0) {
            const size_t used = std::strlen(text);
            std::snprintf(text + used, sizeof(text) - used, "%%%u", static_cast<unsigned>(v6.sin6_scope_id));
        }
        *port = ntohs(v6.sin6_port);
    } else {
        return EAI_FAMILY;
    }
    const size_t length = std::strlen(text);
    if (length + 1 > hostLength) {
        return EAI_OVERFLOW;
    }
    std::memcpy(host, text, length + 1);
    return 0;
}
