#include <arpa/inet.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstring>

#include "Product/Technic/OLTrace.h"
#include "transport/AdapterQuery.h"
#include "transport/AddressLookup.h"
#include "transport/Socket.h"
#include "transport/SocketOptions.h"

namespace {

bool isUnicast(const sockaddr_storage& a) {
    if (a.ss_family == AF_INET) {
        const uint32_t h = ntohl(reinterpret_cast<const sockaddr_in&>(a).sin_addr.s_addr);
        return h != INADDR_ANY && h != INADDR_BROADCAST && !IN_MULTICAST(h);
    }
    if (a.ss_family == AF_INET6) {
        const in6_addr& v6 = reinterpret_cast<const sockaddr_in6&>(a).sin6_addr;
        return !IN6_IS_ADDR_UNSPECIFIED(&v6) && !IN6_IS_ADDR_MULTICAST(&v6);
    }
    return false;
}

}  // namespace

bool Socket::bindToAdapter() {
    if (m_pBinding || !isDatagram()) {
        return true;
    }
    sockaddr_storage local{};
    socklen_t n = sizeof(local);
    if (getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&local), &n) != 0 || !isUnicast(local)) {
        return true;
    }
    auto binding = std::make_unique<AdapterBinding>();
    if (!binding->find(local) || !binding->rebind(m_hSocket)) {
        const int err = errno;
        char host[INET6_ADDRSTRLEN + 16] = "?";
        unsigned short port = 0;
        numericName(local, host, sizeof(host), &port);
        OLTrace(1, __FILE__, "Socket::joinMulticast cannot tie socket %d to the adapter of %s: %s\n",
                m_hSocket, host, std::strerror(err));
        errno = err;
        reportError("setsockopt");
        return false;
    }
    m_pBinding = std::move(binding);
    return true;
}

// A membership for `group` on this socket's adapter: the binding's when the
// socket is tied to one, otherwise the one of its bound address.
bool Socket::joinMulticast(const InetAddr& group) {
    if (m_nIPVersion != 1 && m_nIPVersion != 2) {
        return true;
    }
    if (latched() || !bindToAdapter()) {
        return false;
    }
    if (m_nIPVersion == 1) {
        ip_mreqn m{};
        m.imr_multiaddr.s_addr = inet_addr(group.getIP().c_str());
        if (m_pBinding) {
            m.imr_address = reinterpret_cast<const sockaddr_in&>(m_pBinding->address()).sin_addr;
            m.imr_ifindex = static_cast<int>(m_pBinding->index());
        } else {
            InetAddr local;
            const int saved = errno;
            if (getLocalAddr(local)) {
                m.imr_address.s_addr = inet_addr(local.getIP().c_str());
            }
            errno = saved;
        }
        if (setsockopt(m_hSocket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &m, sizeof(m)) != 0) {
            reportError("setsockopt");
            return false;
        }
        return true;
    }
    AddrInfoPtr info;
    if (lookUpAddress(m_nFamily, m_nType, group.getIP().c_str(), group.getPORT(), AI_NUMERICHOST, info) !=
            0 ||
        !info || info->ai_family != AF_INET6) {
        return false;
    }
    const auto* g = reinterpret_cast<const sockaddr_in6*>(info->ai_addr);
    ipv6_mreq m{};
    m.ipv6mr_multiaddr = g->sin6_addr;
    m.ipv6mr_interface = g->sin6_scope_id != 0 ? g->sin6_scope_id : (m_pBinding ? m_pBinding->index() : 0);
    if (setsockopt(m_hSocket, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, &m, sizeof(m)) != 0) {
        reportError("setsockopt");
        return false;
    }
    return true;
}

bool Socket::leaveMulticast(const InetAddr& group) {
    if (m_hSocket == kInvalidSocket) {
        return false;
    }
    if (m_nFamily == AF_INET) {
        ip_mreqn m{};
        m.imr_multiaddr.s_addr = inet_addr(group.getIP().c_str());
        if (m_pBinding) {
            m.imr_address = reinterpret_cast<const sockaddr_in&>(m_pBinding->address()).sin_addr;
            m.imr_ifindex = static_cast<int>(m_pBinding->index());
        }
        return setsockopt(m_hSocket, IPPROTO_IP, IP_DROP_MEMBERSHIP, &m, sizeof(m)) == 0;
    }
    AddrInfoPtr info;
    if (lookUpAddress(AF_INET6, m_nType, group.getIP().c_str(), group.getPORT(), AI_NUMERICHOST, info) != 0 ||
        !info) {
        return false;
    }
    const auto* g = reinterpret_cast<const sockaddr_in6*>(info->ai_addr);
    ipv6_mreq m{};
    m.ipv6mr_multiaddr = g->sin6_addr;
    m.ipv6mr_interface = g->sin6_scope_id != 0 ? g->sin6_scope_id : (m_pBinding ? m_pBinding->index() : 0);
    return setsockopt(m_hSocket, IPPROTO_IPV6, IPV6_DROP_MEMBERSHIP, &m, sizeof(m)) == 0;
}

bool Socket::bindAndJoin(const InetAddr& group) {
    setReuseAddr(true);
    if (m_nFamily == AF_INET) {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = htons(group.getPORT());
        if (::bind(m_hSocket, reinterpret_cast<sockaddr*>(&a), sizeof(a)) != 0) {
            return false;
        }
    } else {
        AddrInfoPtr info;
        if (lookUpAddress(m_nFamily, m_nType, nullptr, group.getPORT(), AI_PASSIVE, info) != 0 || !info ||
            ::bind(m_hSocket, info->ai_addr, info->ai_addrlen) != 0) {
            return false;
        }
    }
    return joinMulticast(group);
}

// An IPv6 socket bound to an adapter's address sends its multicast through
// that adapter (IPv4 does so by itself).
void Socket::chooseMulticastInterface() {
    m_bMulticastIfChosen = true;
    sockaddr_storage local{};
    socklen_t n = sizeof(local);
    if (getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&local), &n) != 0 || local.ss_family != AF_INET6 ||
        !isUnicast(local)) {
        return;
    }
    AdapterAddressInfo adapter;
    if (findAdapterOfAddress(reinterpret_cast<const sockaddr*>(&local), adapter)) {
        setIntOption(m_hSocket, IPPROTO_IPV6, IPV6_MULTICAST_IF, static_cast<int>(adapter.index));
    }
}
