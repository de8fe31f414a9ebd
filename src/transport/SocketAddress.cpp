#include <arpa/inet.h>

#include <cerrno>

#include "transport/AddressLookup.h"
#include "transport/Socket.h"

bool Socket::bind(const char* host, unsigned short port) {
    if (host == nullptr || latched()) {
        return false;
    }
    AddrInfoPtr info;
    if (lookUpAddress(m_nFamily, m_nType, host, port, AI_PASSIVE, info) != 0 || !info) {
        reportError("getaddrinfo");
        return false;
    }
    if (::bind(m_hSocket, info->ai_addr, info->ai_addrlen) != 0) {
        reportError("bind");
        return false;
    }
    return true;
}

bool Socket::bind(const char* host) {
    if (latched()) {
        return false;
    }
    if (m_nFamily == AF_INET6) {
        if (host != nullptr) {
            return bind(host, 0);
        }
        sockaddr_in6 any{};
        any.sin6_family = AF_INET6;
        any.sin6_addr = in6addr_any;
        if (::bind(m_hSocket, reinterpret_cast<sockaddr*>(&any), sizeof(any)) != 0) {
            reportError("bind");
            return false;
        }
        return true;
    }
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = host == nullptr ? htonl(INADDR_ANY) : inet_addr(host);
    if (::bind(m_hSocket, reinterpret_cast<sockaddr*>(&a), sizeof(a)) != 0) {
        reportError("bind");
        return false;
    }
    return true;
}

bool Socket::bind(const InetAddr& addr) {
    return bind(addr.getIP().c_str(), addr.getPORT());
}

bool Socket::getLocalAddr(InetAddr& out) {
    if (latched()) {
        return false;
    }
    sockaddr_storage local{};
    socklen_t n = sizeof(local);
    if (getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&local), &n) != 0) {
        reportError("getsockname");
        return false;
    }
    if (m_pBinding) {
        // The address the caller bound to, not the wildcard that the adapter
        // binding uses underneath; the port is the same.
        local = m_pBinding->address();
    }
    char host[INET6_ADDRSTRLEN + 16];
    unsigned short port = 0;
    if (local.ss_family == AF_INET) {
        const auto& a = reinterpret_cast<const sockaddr_in&>(local);
        setInetAddr(out, inet_ntoa(a.sin_addr), ntohs(a.sin_port), m_nIPVersion);
        return true;
    }
    if (numericName(local, host, sizeof(host), &port) != 0) {
        errno = EINVAL;
        reportError("getnameinfo");
        return false;
    }
    setInetAddr(out, host, port, m_nIPVersion);
    return true;
}
