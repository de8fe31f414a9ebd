#include "transport/Socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>

#include "Product/Technic/OLTrace.h"

#ifndef IPV6_MULTICAST_ALL
#define IPV6_MULTICAST_ALL 29
#endif

namespace {

struct AddrInfoDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddrInfoPtr = std::unique_ptr<addrinfo, AddrInfoDeleter>;

struct IfAddrsDeleter {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

// Monotonic milliseconds, for waits that resume after EINTR or a dropped datagram.
long long nowMs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

int remainingMs(int timeoutMs, long long start) {
    if (timeoutMs < 0) {
        return -1;
    }
    const long long left = timeoutMs - (nowMs() - start);
    return left > 0 ? static_cast<int>(left) : 0;
}

void setAddress(InetAddr& addr, const char* host, unsigned short port, int ipVersion) {
    addr.setIP(host);
    addr.setPORT(port);
    addr.setIPProtoVer(ipVersion);
}

int readIntOption(int fd, int level, int name, int fallback) {
    int value = 0;
    socklen_t n = sizeof(value);
    return getsockopt(fd, level, name, &value, &n) == 0 ? value : fallback;
}

bool isWouldBlock(int err) {
    return err == EAGAIN || err == EWOULDBLOCK;
}

bool isUnicast4(in_addr a) {
    const uint32_t h = ntohl(a.s_addr);
    return h != INADDR_ANY && h != INADDR_BROADCAST && !IN_MULTICAST(h);
}

bool isUnicast6(const in6_addr& a) {
    return !IN6_IS_ADDR_UNSPECIFIED(&a) && !IN6_IS_ADDR_MULTICAST(&a);
}

// The numeric host text and port of a socket address, as getnameinfo gives
// them with NI_NUMERICHOST | NI_NUMERICSERV, except that an IPv6 scope is
// written as a number: an interface name would depend on the network
// namespace of the calling thread. 0, or an EAI_ code.
int numericName(const sockaddr_storage& a, char* host, size_t hostLen, unsigned short* port) {
    char text[INET6_ADDRSTRLEN + 16] = {};
    if (a.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(a);
        inet_ntop(AF_INET, &v4.sin_addr, text, sizeof(text));
        *port = ntohs(v4.sin_port);
    } else if (a.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(a);
        inet_ntop(AF_INET6, &v6.sin6_addr, text, INET6_ADDRSTRLEN);
        if (v6.sin6_scope_id != 0) {
            const size_t used = std::strlen(text);
            std::snprintf(text + used, sizeof(text) - used, "%%%u", static_cast<unsigned>(v6.sin6_scope_id));
        }
        *port = ntohs(v6.sin6_port);
    } else {
        return EAI_FAMILY;
    }
    if (std::strlen(text) + 1 > hostLen) {
        return EAI_OVERFLOW;
    }
    std::memcpy(host, text, std::strlen(text) + 1);
    return 0;
}

}  // namespace

Socket::Socket(int ipVersion, int type)
    : m_nIPVersion(ipVersion), m_nFamily(ipVersion == 2 ? AF_INET6 : AF_INET), m_nType(type) {}

Socket::~Socket() {
    close();
}

void Socket::reportError(const char* name) {
    const int err = errno;
    // These never latch: a busy address, a reset or broken connection and a
    // missing entry say nothing about the socket itself.
    if (err == EADDRINUSE || err == ECONNRESET || err == EPIPE || err == ENOENT) {
        return;
    }
    char text[256];
    std::snprintf(text, sizeof(text), "socket error!! errorno=%d(%s),func=%s,pid=%d,socket=%d", err,
                  std::strerror(err), name, static_cast<int>(getpid()), m_hSocket);
    OLReportLine(text, __FILE__, __LINE__);
    if (m_nType == 1) {
        m_nLastError = err;
    }
    errno = err;
}

bool Socket::setIntOption(int level, int name, int value, bool report) {
    if (setsockopt(m_hSocket, level, name, &value, sizeof(value)) != 0) {
        if (report) {
            reportError("setsockopt");
        }
        return false;
    }
    return true;
}

bool Socket::getIntOption(int level, int name, int* out) {
    socklen_t n = sizeof(*out);
    if (getsockopt(m_hSocket, level, name, out, &n) != 0) {
        reportError("getsockopt");
        return false;
    }
    return true;
}

bool Socket::open() {
    Socket::close();
    int sysType = m_nType == 1 ? SOCK_STREAM : (m_nType == 2 ? SOCK_DGRAM : -1);
    m_hSocket = sysType < 0 ? -1 : ::socket(m_nFamily, sysType | SOCK_CLOEXEC, 0);
    if (sysType < 0) {
        errno = EINVAL;
    }
    if (m_hSocket < 0) {
        m_hSocket = kInvalidSocket;
        reportError("open");
        return false;
    }
    if (m_nType == 1) {
        setNoDelay();
        // Keep-alive: probes after 3 s of silence, then every 3 s.
        setIntOption(SOL_SOCKET, SO_KEEPALIVE, 1, false);
        setIntOption(IPPROTO_TCP, TCP_KEEPIDLE, 3, false);
        setIntOption(IPPROTO_TCP, TCP_KEEPINTVL, 3, false);
    }
    if (isDatagram()) {
        m_nSendBufferSize = -1;
        // A socket hears only the groups it joined itself.
        if (m_nFamily == AF_INET) {
            setIntOption(IPPROTO_IP, IP_MULTICAST_ALL, 0, false);
        } else {
            setIntOption(IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0, false);
        }
    } else {
        m_nSendBufferSize = readIntOption(m_hSocket, SOL_SOCKET, SO_SNDBUF, -1);
    }
    m_nLastError = 0;
    return true;
}

bool Socket::close() {
    if (m_hSocket != kInvalidSocket) {
        ::close(m_hSocket);
        m_hSocket = kInvalidSocket;
    }
    m_bAdapterBound = false;
    m_bMulticastIfChosen = false;
    return true;
}

// ---------------------------------------------------------------- addresses

namespace {

// getaddrinfo with this socket's family and type; the caller reports.
int lookUp(int family, int type, const char* host, unsigned short port, int flags, AddrInfoPtr& out) {
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

}  // namespace

bool Socket::bind(const char* host, unsigned short port) {
    if (host == nullptr || latched()) {
        return false;
    }
    AddrInfoPtr info;
    if (lookUp(m_nFamily, m_nType, host, port, AI_PASSIVE, info) != 0 || !info) {
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

// ---------------------------------------------------------------- datagrams

int Socket::sendOne(const void* buf, unsigned len, const sockaddr* to, socklen_t toLen) {
    if (!m_bAdapterBound) {
        if (!m_bMulticastIfChosen && to->sa_family == AF_INET6 &&
            IN6_IS_ADDR_MULTICAST(&reinterpret_cast<const sockaddr_in6*>(to)->sin6_addr)) {
            chooseMulticastInterface();
        }
        return static_cast<int>(::sendto(m_hSocket, buf, len, MSG_NOSIGNAL, to, toLen));
    }
    // An adapter-bound socket sends from the address it was bound to.
    iovec iov{const_cast<void*>(buf), len};
    msghdr msg{};
    msg.msg_name = const_cast<sockaddr*>(to);
    msg.msg_namelen = toLen;
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(in6_pktinfo))] = {};
    msg.msg_control = control;
    cmsghdr* c = reinterpret_cast<cmsghdr*>(control);
    if (m_nFamily == AF_INET) {
        in_pktinfo info{};
        info.ipi_spec_dst = reinterpret_cast<const sockaddr_in&>(m_adapterAddr).sin_addr;
        c->cmsg_level = IPPROTO_IP;
        c->cmsg_type = IP_PKTINFO;
        c->cmsg_len = CMSG_LEN(sizeof(info));
        std::memcpy(CMSG_DATA(c), &info, sizeof(info));
        msg.msg_controllen = CMSG_SPACE(sizeof(info));
    } else {
        in6_pktinfo info{};
        info.ipi6_addr = reinterpret_cast<const sockaddr_in6&>(m_adapterAddr).sin6_addr;
        info.ipi6_ifindex = m_nAdapterIndex;
        c->cmsg_level = IPPROTO_IPV6;
        c->cmsg_type = IPV6_PKTINFO;
        c->cmsg_len = CMSG_LEN(sizeof(info));
        std::memcpy(CMSG_DATA(c), &info, sizeof(info));
        msg.msg_controllen = CMSG_SPACE(sizeof(info));
    }
    return static_cast<int>(::sendmsg(m_hSocket, &msg, MSG_NOSIGNAL));
}

int Socket::sendToChunked(const void* buf, unsigned len, const char* host, unsigned short port,
                          unsigned chunk) {
    if (host != nullptr && *host == '\0') {
        host = nullptr;
    }
    if (latched()) {
        return -1;
    }
    AddrInfoPtr info;
    if (lookUp(m_nFamily, m_nType, host, port, AI_PASSIVE | AI_NUMERICHOST, info) != 0 || !info) {
        reportError("getaddrinfo");
        return -1;
    }
    const char* p = static_cast<const char*>(buf);
    unsigned done = 0;
    int total = 0;
    do {
        if (latched()) {
            return -1;
        }
        const unsigned rest = len - done;
        const unsigned part = (chunk == 0 || rest <= chunk) ? rest : chunk;
        errno = 0;
        const int n = sendOne(p + done, part, info->ai_addr, info->ai_addrlen);
        if (n <= 0) {
            reportError("sendto");
            return -1;
        }
        total += n;
        done += part;
    } while (done < len);
    return total;
}

int Socket::sendTo(const void* buf, unsigned len, const char* host, unsigned short port) {
    if (host != nullptr && *host == '\0') {
        host = nullptr;
    }
    if (latched()) {
        return -1;
    }
    AddrInfoPtr info;
    if (lookUp(m_nFamily, m_nType, host, port, AI_PASSIVE | AI_NUMERICHOST, info) != 0 || !info) {
        reportError("getaddrinfo");
        return -1;
    }
    errno = 0;
    const int n = sendOne(buf, len, info->ai_addr, info->ai_addrlen);
    if (n <= 0) {
        // A zero-length datagram counts as a failure too.
        reportError("sendto");
        return -1;
    }
    return n;
}

int Socket::sendToChunked(const void* buf, unsigned len, InetAddr to, unsigned chunk) {
    return sendToChunked(buf, len, to.getIP().c_str(), to.getPORT(), chunk);
}

int Socket::sendTo(const void* buf, unsigned len, InetAddr to) {
    return sendTo(buf, len, to.getIP().c_str(), to.getPORT());
}

int Socket::sendDatagram(const void* buf, unsigned len, InetAddr to) {
    return sendTo(buf, len, to);
}

int Socket::waitFor(short events, int timeoutMs) {
    if (latched()) {
        return -1;
    }
    const long long start = nowMs();
    for (;;) {
        pollfd p{m_hSocket, events, 0};
        const int rc = ::poll(&p, 1, remainingMs(timeoutMs, start));
        if (rc < 0 && errno == EINTR) {
            continue;
        }
        if (rc < 0 || (rc > 0 && (p.revents & POLLNVAL) != 0)) {
            if (rc > 0) {
                errno = EBADF;
            }
            reportError("select");
            return -1;
        }
        return rc == 0 ? -2 : 0;
    }
}

int Socket::waitReadable(int timeoutMs) {
    return waitFor(POLLIN, timeoutMs);
}

int Socket::waitWritable(int timeoutMs) {
    return waitFor(POLLOUT, timeoutMs);
}

int Socket::recvFromTimed(void* buf, unsigned len, InetAddr* from, int timeoutMs) {
    const long long start = nowMs();
    for (;;) {
        const int w = waitReadable(remainingMs(timeoutMs, start));
        if (w != 0) {
            return w;
        }
        if (latched()) {
            return -1;
        }
        char host[49] = {};
        unsigned short port = 0;
        const int n = receiveOne(buf, len, host, &port);
        if (n == kDropped) {
            if (timeoutMs >= 0 && remainingMs(timeoutMs, start) == 0) {
                return -2;
            }
            continue;
        }
        if (n < 0) {
            return -1;
        }
        if (from != nullptr) {
            setAddress(*from, host, port, m_nIPVersion);
        }
        return n;
    }
}

int Socket::recvFrom(void* buf, unsigned len, InetAddr* from) {
    char host[49] = {};
    unsigned short port = 0;
    const int n = recvFrom(buf, len, host, &port);
    if (n == -1) {
        return -1;
    }
    if (from != nullptr) {
        setAddress(*from, host, port, m_nIPVersion);
    }
    return n;
}

int Socket::recvFrom(void* buf, unsigned len, char* host, unsigned short* port) {
    for (;;) {
        if (latched()) {
            return -1;
        }
        const int n = receiveOne(buf, len, host, port);
        if (n != kDropped) {
            return n < 0 ? -1 : n;
        }
    }
}

int Socket::receiveOne(void* buf, unsigned len, char* host, unsigned short* port) {
    sockaddr_storage source{};
    iovec iov{buf, len};
    msghdr msg{};
    msg.msg_name = &source;
    msg.msg_namelen = 128;
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) unsigned char control[256];
    if (m_bAdapterBound) {
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
    }
    // MSG_TRUNC makes a datagram report its full length, so that one longer
    // than the buffer is seen as a failure and not as a short read.
    const ssize_t got = ::recvmsg(m_hSocket, &msg, isDatagram() ? MSG_TRUNC : 0);
    if (got < 0) {
        reportError("recvfrom");
        return -1;
    }
    if (got == 0) {
        return -1;
    }
    if (static_cast<size_t>(got) > len || (msg.msg_flags & MSG_TRUNC) != 0) {
        errno = EMSGSIZE;
        reportError("recvfrom");
        return -1;
    }
    if (m_bAdapterBound) {
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
                in_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(c), sizeof(info));
                const in_addr own = reinterpret_cast<const sockaddr_in&>(m_adapterAddr).sin_addr;
                const bool otherAdapter =
                    m_nAdapterIndex != 0 && info.ipi_ifindex != static_cast<int>(m_nAdapterIndex);
                const bool otherAddress = isUnicast4(info.ipi_addr) && info.ipi_addr.s_addr != own.s_addr &&
                                          info.ipi_addr.s_addr != m_adapterBroadcast.s_addr;
                if (otherAdapter || otherAddress) {
                    return kDropped;
                }
            } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_PKTINFO) {
                in6_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(c), sizeof(info));
                const in6_addr& own = reinterpret_cast<const sockaddr_in6&>(m_adapterAddr).sin6_addr;
                const bool otherAdapter = m_nAdapterIndex != 0 && info.ipi6_ifindex != m_nAdapterIndex;
                const bool otherAddress =
                    isUnicast6(info.ipi6_addr) && !IN6_ARE_ADDR_EQUAL(&info.ipi6_addr, &own);
                if (otherAdapter || otherAddress) {
                    return kDropped;
                }
            }
        }
    }
    if (source.ss_family == AF_UNSPEC) {
        // A connected stream names no source; its peer is the source.
        socklen_t n = sizeof(source);
        getpeername(m_hSocket, reinterpret_cast<sockaddr*>(&source), &n);
    }
    char hostText[49];
    unsigned short sourcePort = 0;
    const int rc = numericName(source, hostText, sizeof(hostText), &sourcePort);
    if (rc != 0) {
        errno = EINVAL;
        reportError("getnameinfo");
        return -1;
    }
    if (host != nullptr) {
        std::memcpy(host, hostText, std::strlen(hostText) + 1);
    }
    if (port != nullptr) {
        *port = sourcePort;
    }
    return static_cast<int>(got);
}

// ---------------------------------------------------------------- streams

bool Socket::connect(const char* host, unsigned short port) {
    if (latched()) {
        return false;
    }
    AddrInfoPtr info;
    if (lookUp(m_nFamily, m_nType, host, port, AI_NUMERICHOST, info) != 0 || !info) {
        reportError("getaddrinfo");
        return false;
    }
    if (::connect(m_hSocket, info->ai_addr, info->ai_addrlen) != 0) {
        reportError("connect");
        return false;
    }
    setAddress(m_objAddr, host != nullptr ? host : "", port, m_nIPVersion);
    return true;
}

bool Socket::connectTimed(const char* host, unsigned short port, int timeoutMs) {
    if (!setNonBlocking(true)) {
        return false;
    }
    if (latched()) {
        return false;
    }
    AddrInfoPtr info;
    if (lookUp(m_nFamily, m_nType, host, port, AI_NUMERICHOST, info) != 0 || !info) {
        reportError("getaddrinfo");
        return false;
    }
    (void)::connect(m_hSocket, info->ai_addr, info->ai_addrlen);
    info.reset();
    if (waitWritable(timeoutMs) != 0) {
        return false;
    }
    if (m_nFamily == AF_INET) {
        sockaddr_storage peer{};
        socklen_t n = sizeof(peer);
        if (getpeername(m_hSocket, reinterpret_cast<sockaddr*>(&peer), &n) != 0) {
            return false;
        }
    }
    if (!setNonBlocking(false)) {
        return false;
    }
    setAddress(m_objAddr, host != nullptr ? host : "", port, m_nIPVersion);
    return true;
}

bool Socket::connectTimed(const InetAddr& addr, int timeoutMs) {
    return connectTimed(addr.getIP().c_str(), addr.getPORT(), timeoutMs);
}

bool Socket::connect(const InetAddr& addr) {
    return connect(addr.getIP().c_str(), addr.getPORT());
}

bool Socket::listen(int backlog) {
    if (latched()) {
        return false;
    }
    if (::listen(m_hSocket, backlog) != 0) {
        reportError("listen");
        return false;
    }
    return true;
}

int Socket::acceptInto(ISocket* out, int timeoutMs) {
    const int w = waitReadable(timeoutMs);
    if (w != 0) {
        return w;
    }
    sockaddr_storage peer{};
    socklen_t n = 128;
    const int fd = ::accept4(m_hSocket, reinterpret_cast<sockaddr*>(&peer), &n, SOCK_CLOEXEC);
    if (fd < 0) {
        reportError("accept");
        return -1;
    }
    char host[128];
    unsigned short peerPort = 0;
    const int rc = numericName(peer, host, sizeof(host), &peerPort);
    if (rc != 0 || out == nullptr) {
        if (rc != 0) {
            errno = EINVAL;
            reportError("getnameinfo");
        }
        ::close(fd);
        return -1;
    }
    InetAddr* addr = out->getAddr();
    setAddress(*addr, host, peerPort, m_nIPVersion);
    out->setHandle(fd);
    return 0;
}

int Socket::accept(ISocket** out, int timeoutMs) {
    if (out == nullptr) {
        return -1;
    }
    std::unique_ptr<Socket> accepted(new Socket(m_nIPVersion, m_nType));
    const int rc = acceptInto(accepted.get(), timeoutMs);
    if (rc != 0) {
        return rc;
    }
    *out = accepted.release();
    return 0;
}

int Socket::sendTimed(const void* buf, unsigned len, int timeoutMs) {
    const int t = timeoutMs > 0 ? timeoutMs : 0;
    if (t != m_nSendTimeout) {
        m_nSendTimeout = t;
        if (!latched()) {
            timeval tv{};
            tv.tv_sec = t / 1000;
            tv.tv_usec = (t % 1000) * 1000;
            if (setsockopt(m_hSocket, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv)) != 0) {
                reportError("setsockopt");
            }
        }
    }
    if (latched()) {
        return -1;
    }
    const ssize_t n = ::send(m_hSocket, buf, len, MSG_NOSIGNAL);
    if (n < 0) {
        reportError("send");
        return -1;
    }
    return static_cast<int>(n);
}

int Socket::send(const void* buf, unsigned len) {
    return sendTimed(buf, len, -1);
}

int Socket::sendBlock(const void* buf, unsigned len, bool retry) {
    const char* p = static_cast<const char*>(buf);
    if (!retry) {
        const ssize_t n = ::send(m_hSocket, p, len, MSG_NOSIGNAL);
        if (n >= 0) {
            return static_cast<int>(n);
        }
        return isWouldBlock(errno) ? -3 : -1;
    }
    unsigned total = 0;
    int sends = 0;
    int waits = 0;
    while (total < len) {
        const ssize_t n = ::send(m_hSocket, p + total, len - total, MSG_NOSIGNAL);
        if (n > 0) {
            total += static_cast<unsigned>(n);
            if (sends == 4) {
                return static_cast<int>(total);
            }
            ++sends;
            continue;
        }
        if (n < 0 && !isWouldBlock(errno)) {
            return -1;
        }
        if (waits == 4) {
            return total > 0 ? static_cast<int>(total) : -3;
        }
        ++waits;
        pollfd pfd{m_hSocket, POLLOUT, 0};
        const timespec oneMicrosecond{0, 1000};
        ::ppoll(&pfd, 1, &oneMicrosecond, nullptr);
    }
    return static_cast<int>(total);
}

int Socket::recvRaw(void* buf, unsigned len) {
    const ssize_t n = ::recv(m_hSocket, buf, len, 0);
    if (n > 0) {
        return static_cast<int>(n);
    }
    if (n < 0 && isWouldBlock(errno)) {
        return -3;
    }
    return -1;
}

int Socket::recvTimed(void* buf, unsigned len, int timeoutMs, bool skipWait) {
    if (!skipWait) {
        const int w = waitReadable(timeoutMs);
        if (w != 0) {
            return w;
        }
    }
    if (!latched()) {
        errno = 0;
        const ssize_t n = ::recv(m_hSocket, buf, len, 0);
        if (n < 0) {
            reportError("recv");
        }
        if (n > 0) {
            return static_cast<int>(n);
        }
    }
    // Nothing read: "try again" is a time-out, anything else (a closed peer
    // included) a failure.
    return errno == EAGAIN ? -2 : -1;
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
    if (m_bAdapterBound) {
        // Report the address the caller bound to, not the wildcard that the
        // adapter binding uses underneath; the port is the same.
        const in_port_t port = local.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(local).sin6_port
                                                           : reinterpret_cast<sockaddr_in&>(local).sin_port;
        local = m_adapterAddr;
        if (local.ss_family == AF_INET6) {
            reinterpret_cast<sockaddr_in6&>(local).sin6_port = port;
            n = sizeof(sockaddr_in6);
        } else {
            reinterpret_cast<sockaddr_in&>(local).sin_port = port;
            n = sizeof(sockaddr_in);
        }
    }
    if (local.ss_family == AF_INET) {
        const auto& a = reinterpret_cast<const sockaddr_in&>(local);
        out.setIP(inet_ntoa(a.sin_addr));
        out.setPORT(ntohs(a.sin_port));
    } else {
        char host[INET6_ADDRSTRLEN + 16];
        unsigned short localPort = 0;
        if (numericName(local, host, sizeof(host), &localPort) != 0) {
            errno = EINVAL;
            reportError("getnameinfo");
            return false;
        }
        out.setIP(host);
        out.setPORT(localPort);
    }
    out.setIPProtoVer(m_nIPVersion);
    return true;
}

int Socket::sendAll(const void* buf, unsigned len) {
    const char* p = static_cast<const char*>(buf);
    unsigned total = 0;
    while (total < len) {
        const int n = sendTimed(p + total, len - total, 300);
        if (n < 0) {
            return n;
        }
        if (n == 0) {
            return -1;
        }
        total += static_cast<unsigned>(n);
    }
    return static_cast<int>(total);
}

int Socket::recvAll(void* buf, unsigned len) {
    char* p = static_cast<char*>(buf);
    unsigned total = 0;
    while (total < len) {
        const int n = recvTimed(p + total, len - total, -1, false);
        if (n <= 0) {
            return -1;
        }
        total += static_cast<unsigned>(n);
    }
    return static_cast<int>(total);
}

// ---------------------------------------------------------------- options

bool Socket::setRecvBufferSize(int bytes) {
    if (latched()) {
        return false;
    }
    if (setIntOption(SOL_SOCKET, SO_RCVBUFFORCE, bytes, false)) {
        return true;
    }
    return setIntOption(SOL_SOCKET, SO_RCVBUF, bytes, true);
}

bool Socket::getRecvBufferSize(int* out) {
    if (latched() || out == nullptr) {
        return false;
    }
    return getIntOption(SOL_SOCKET, SO_RCVBUF, out);
}

bool Socket::setSendBufferSize(int bytes) {
    if (latched()) {
        return false;
    }
    if (!setIntOption(SOL_SOCKET, SO_SNDBUF, bytes, true)) {
        return false;
    }
    if (!isDatagram()) {
        m_nSendBufferSize = readIntOption(m_hSocket, SOL_SOCKET, SO_SNDBUF, -1);
    }
    return true;
}

bool Socket::getSendBufferSize(int* out) {
    if (latched() || out == nullptr) {
        return false;
    }
    return getIntOption(SOL_SOCKET, SO_SNDBUF, out);
}

bool Socket::setReuseAddr(bool on) {
    if (latched()) {
        return false;
    }
    return setIntOption(SOL_SOCKET, SO_REUSEADDR, on ? 1 : 0, true);
}

bool Socket::setBroadcast(bool on) {
    if (latched()) {
        return false;
    }
    return setIntOption(SOL_SOCKET, SO_BROADCAST, on ? 1 : 0, true);
}

bool Socket::setNonBlocking(bool on) {
    const int flags = fcntl(m_hSocket, F_GETFL, 0);
    if (flags < 0) {
        return false;
    }
    const int wanted = on ? (flags | O_NONBLOCK) : (flags & ~O_NONBLOCK);
    return fcntl(m_hSocket, F_SETFL, wanted) == 0;
}

bool Socket::setNoDelay() {
    int on = 1;
    return setsockopt(m_hSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) == 0;
}

bool Socket::getPendingError() {
    int err = 0;
    socklen_t n = sizeof(err);
    if (getsockopt(m_hSocket, SOL_SOCKET, SO_ERROR, &err, &n) != 0) {
        return false;
    }
    if (err != 0) {
        errno = err;
        return false;
    }
    return true;
}

// ---------------------------------------------------------------- multicast
//
// The adapter contract. The discovery engines bind a datagram socket to an
// adapter's own address and a port, then join a group, and expect the socket
// to hear exactly the group's datagrams arriving on that adapter and unicast
// datagrams to that address and port, and to send through that adapter. On
// Linux a socket bound to a unicast address hears no multicast at all, so the
// join re-creates the socket in that shape and puts it under the same handle
// (dup3), keeping every option the caller had set:
//   - bound to the wildcard address and the same port, with SO_REUSEADDR, so
//     that several adapters and sockets can share the port;
//   - SO_BINDTODEVICE to the adapter's interface: it hears nothing that arrives
//     elsewhere, and its datagrams leave through that interface;
//   - IP_MULTICAST_ALL off: it hears only the groups it joined itself;
//   - IP_PKTINFO on: a datagram to another unicast address of the same
//     interface is dropped on receipt (recvFrom and friends never return it);
//   - IP_MULTICAST_IF and the source address of every send set to the bound
//     address, so the peer sees the address the caller bound to.
// getLocalAddr() keeps reporting the bound address. IPv6 works the same way
// (IPV6_MULTICAST_ALL, IPV6_RECVPKTINFO, IPV6_MULTICAST_IF). A socket bound to
// the wildcard address joins in the ordinary way.

namespace {

struct AdapterInfo {
    std::string name;
    unsigned index = 0;
    in_addr broadcast{};
};

bool findAdapter(const sockaddr_storage& local, AdapterInfo& out) {
    ifaddrs* raw = nullptr;
    if (getifaddrs(&raw) != 0) {
        return false;
    }
    std::unique_ptr<ifaddrs, IfAddrsDeleter> list(raw);
    for (ifaddrs* it = raw; it != nullptr; it = it->ifa_next) {
        if (it->ifa_addr == nullptr || it->ifa_addr->sa_family != local.ss_family) {
            continue;
        }
        bool same = false;
        if (local.ss_family == AF_INET) {
            same = reinterpret_cast<const sockaddr_in*>(it->ifa_addr)->sin_addr.s_addr ==
                   reinterpret_cast<const sockaddr_in&>(local).sin_addr.s_addr;
        } else {
            const auto& mine = reinterpret_cast<const sockaddr_in6&>(local);
            const auto* theirs = reinterpret_cast<const sockaddr_in6*>(it->ifa_addr);
            same = IN6_ARE_ADDR_EQUAL(&theirs->sin6_addr, &mine.sin6_addr) &&
                   (mine.sin6_scope_id == 0 || mine.sin6_scope_id == theirs->sin6_scope_id);
        }
        if (!same) {
            continue;
        }
        out.name = it->ifa_name;
        out.index = if_nametoindex(it->ifa_name);
        if (local.ss_family == AF_INET && (it->ifa_flags & IFF_BROADCAST) != 0 &&
            it->ifa_broadaddr != nullptr) {
            out.broadcast = reinterpret_cast<const sockaddr_in*>(it->ifa_broadaddr)->sin_addr;
        }
        return out.index != 0;
    }
    return false;
}

// findAdapter for the interfaces of the socket's own network namespace, which
// need not be the calling thread's (a socket keeps the namespace it was made
// in): the look-up then runs on a short-lived thread inside that namespace.
bool findAdapterOf(int fd, const sockaddr_storage& local, AdapterInfo& out) {
    const int nsFd = ioctl(fd, SIOCGSKNS);
    if (nsFd < 0) {
        return findAdapter(local, out);
    }
    struct stat socketNs {};
    struct stat threadNs {};
    const bool same = fstat(nsFd, &socketNs) == 0 && stat("/proc/thread-self/ns/net", &threadNs) == 0 &&
                      socketNs.st_ino == threadNs.st_ino && socketNs.st_dev == threadNs.st_dev;
    bool found = false;
    if (same) {
        found = findAdapter(local, out);
    } else {
        std::thread lookUp([&] {
            if (setns(nsFd, CLONE_NEWNET) == 0) {
                found = findAdapter(local, out);
            }
        });
        lookUp.join();
    }
    ::close(nsFd);
    return found;
}

void copyIntOption(int from, int to, int level, int name) {
    int value = 0;
    socklen_t n = sizeof(value);
    if (getsockopt(from, level, name, &value, &n) == 0) {
        setsockopt(to, level, name, &value, sizeof(value));
    }
}

}  // namespace

// An IPv6 socket bound to an adapter's address sends its multicast through
// that adapter (IPv4 does so by itself).
void Socket::chooseMulticastInterface() {
    m_bMulticastIfChosen = true;
    sockaddr_storage local{};
    socklen_t n = sizeof(local);
    if (getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&local), &n) != 0 || local.ss_family != AF_INET6 ||
        !isUnicast6(reinterpret_cast<sockaddr_in6&>(local).sin6_addr)) {
        return;
    }
    AdapterInfo adapter;
    if (findAdapterOf(m_hSocket, local, adapter)) {
        const int index = static_cast<int>(adapter.index);
        setsockopt(m_hSocket, IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof(index));
    }
}

bool Socket::adoptAdapterSocket(const sockaddr_storage& local) {
    AdapterInfo adapter;
    if (!findAdapterOf(m_hSocket, local, adapter)) {
        return false;
    }
    const bool v4 = local.ss_family == AF_INET;
    const int fd = ::socket(local.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    auto fail = [fd] {
        ::close(fd);
        return false;
    };
    auto set = [fd](int level, int name, int value) {
        return setsockopt(fd, level, name, &value, sizeof(value)) == 0;
    };
    // Options that the caller may have set before the join.
    copyIntOption(m_hSocket, fd, SOL_SOCKET, SO_BROADCAST);
    copyIntOption(m_hSocket, fd, SOL_SOCKET, SO_SNDBUF);
    const int rcvbuf =
        readIntOption(m_hSocket, SOL_SOCKET, SO_RCVBUF, 0) / 2;  // the kernel reports it doubled
    if (rcvbuf > 0 && !set(SOL_SOCKET, SO_RCVBUFFORCE, rcvbuf)) {
        set(SOL_SOCKET, SO_RCVBUF, rcvbuf);
    }
    if (v4) {
        copyIntOption(m_hSocket, fd, IPPROTO_IP, IP_MULTICAST_TTL);
        copyIntOption(m_hSocket, fd, IPPROTO_IP, IP_MULTICAST_LOOP);
        copyIntOption(m_hSocket, fd, IPPROTO_IP, IP_TOS);
    } else {
        copyIntOption(m_hSocket, fd, IPPROTO_IPV6, IPV6_V6ONLY);
        copyIntOption(m_hSocket, fd, IPPROTO_IPV6, IPV6_MULTICAST_HOPS);
        copyIntOption(m_hSocket, fd, IPPROTO_IPV6, IPV6_MULTICAST_LOOP);
    }
    const int flags = fcntl(m_hSocket, F_GETFL, 0);
    if (flags >= 0) {
        fcntl(fd, F_SETFL, flags);
    }
    set(SOL_SOCKET, SO_REUSEADDR, 1);
    // SO_BINDTODEVICE may be refused to an unprivileged process on old
    // kernels; the receive filter then still drops other adapters' traffic.
    setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, adapter.name.c_str(),
               static_cast<socklen_t>(adapter.name.size()));

    sockaddr_storage any{};
    socklen_t anyLen = 0;
    if (v4) {
        const auto& mine = reinterpret_cast<const sockaddr_in&>(local);
        if (!set(IPPROTO_IP, IP_MULTICAST_ALL, 0) || !set(IPPROTO_IP, IP_PKTINFO, 1)) {
            return fail();
        }
        ip_mreqn mif{};
        mif.imr_address = mine.sin_addr;
        mif.imr_ifindex = static_cast<int>(adapter.index);
        if (setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &mif, sizeof(mif)) != 0) {
            return fail();
        }
        auto& a = reinterpret_cast<sockaddr_in&>(any);
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = mine.sin_port;
        anyLen = sizeof(sockaddr_in);
    } else {
        const auto& mine = reinterpret_cast<const sockaddr_in6&>(local);
        if (!set(IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0) || !set(IPPROTO_IPV6, IPV6_RECVPKTINFO, 1) ||
            !set(IPPROTO_IPV6, IPV6_MULTICAST_IF, static_cast<int>(adapter.index))) {
            return fail();
        }
        auto& a = reinterpret_cast<sockaddr_in6&>(any);
        a.sin6_family = AF_INET6;
        a.sin6_addr = in6addr_any;
        a.sin6_port = mine.sin6_port;
        anyLen = sizeof(sockaddr_in6);
    }
    // The caller's socket still holds the port; let the new one share it.
    setIntOption(SOL_SOCKET, SO_REUSEADDR, 1, false);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&any), anyLen) != 0) {
        return fail();
    }
    if (::dup3(fd, m_hSocket, O_CLOEXEC) < 0) {
        return fail();
    }
    ::close(fd);
    m_bAdapterBound = true;
    m_nAdapterIndex = adapter.index;
    m_adapterAddr = local;
    m_adapterBroadcast = adapter.broadcast;
    return true;
}

bool Socket::joinMulticast(const InetAddr& group) {
    if (m_nIPVersion != 1 && m_nIPVersion != 2) {
        return true;
    }
    if (latched()) {
        return false;
    }
    // The adapter comes from the address that the socket is bound to.
    if (!m_bAdapterBound && isDatagram()) {
        sockaddr_storage local{};
        socklen_t n = sizeof(local);
        if (getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&local), &n) == 0) {
            const bool unicast =
                (local.ss_family == AF_INET && isUnicast4(reinterpret_cast<sockaddr_in&>(local).sin_addr)) ||
                (local.ss_family == AF_INET6 && isUnicast6(reinterpret_cast<sockaddr_in6&>(local).sin6_addr));
            if (unicast) {
                adoptAdapterSocket(local);
            }
        }
    }
    if (m_nIPVersion == 1) {
        ip_mreqn m{};
        m.imr_multiaddr.s_addr = inet_addr(group.getIP().c_str());
        if (m_bAdapterBound) {
            m.imr_address = reinterpret_cast<const sockaddr_in&>(m_adapterAddr).sin_addr;
            m.imr_ifindex = static_cast<int>(m_nAdapterIndex);
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
    if (lookUp(m_nFamily, m_nType, group.getIP().c_str(), group.getPORT(), AI_NUMERICHOST, info) != 0 ||
        !info || info->ai_family != AF_INET6) {
        return false;
    }
    const auto* g = reinterpret_cast<const sockaddr_in6*>(info->ai_addr);
    ipv6_mreq m{};
    m.ipv6mr_multiaddr = g->sin6_addr;
    m.ipv6mr_interface = g->sin6_scope_id != 0 ? g->sin6_scope_id : (m_bAdapterBound ? m_nAdapterIndex : 0);
    if (setsockopt(m_hSocket, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, &m, sizeof(m)) != 0) {
        reportError("setsockopt");
        return false;
    }
    return true;
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
        if (lookUp(m_nFamily, m_nType, nullptr, group.getPORT(), AI_PASSIVE, info) != 0 || !info) {
            return false;
        }
        if (::bind(m_hSocket, info->ai_addr, info->ai_addrlen) != 0) {
            return false;
        }
    }
    return joinMulticast(group);
}
