#include <netinet/in.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "Product/Technic/OLTrace.h"
#include "transport/AddressLookup.h"
#include "transport/Socket.h"
#include "transport/SocketTime.h"

int Socket::sendOne(const void* buf, unsigned len, const sockaddr* to, socklen_t toLen) {
    if (!m_pBinding) {
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
    alignas(cmsghdr) unsigned char control[kSourceControlSpace];
    msg.msg_control = control;
    msg.msg_controllen = m_pBinding->writeSourceControl(control);
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
    if (lookUpAddress(m_nFamily, m_nType, host, port, AI_PASSIVE | AI_NUMERICHOST, info) != 0 || !info) {
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
    // One pass of the chunked form: a zero-length datagram counts as a failure too.
    return sendToChunked(buf, len, host, port, 0);
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

int Socket::recvFromTimed(void* buf, unsigned len, InetAddr* from, int timeoutMs) {
    const long long start = monotonicMs();
    // A datagram socket given no time is read at once, without asking for
    // readiness first: a burst costs one call per datagram, not two.
    bool draining = timeoutMs == 0 && isDatagram() && m_hSocket != kInvalidSocket;
    bool wait = !draining;
    for (;;) {
        // After a datagram the adapter filter dropped, only what is already
        // queued is read: a stray datagram never costs a wait.
        if (wait) {
            const int w = waitReadable(draining ? 0 : remainingMs(timeoutMs, start));
            if (w != 0) {
                return w;
            }
        }
        if (latched()) {
            return -1;
        }
        char host[49] = {};
        unsigned short port = 0;
        const int n = receiveOne(buf, len, host, &port, wait ? 0 : MSG_DONTWAIT);
        wait = true;
        if (n == kDropped) {
            draining = true;
            continue;
        }
        if (n == kWouldBlock) {
            // Readable, yet nothing to read (the system discarded the
            // datagram): wait for the rest of the time.
            if (draining) {
                return -2;
            }
            continue;
        }
        if (n < 0) {
            return -1;
        }
        if (from != nullptr) {
            setInetAddr(*from, host, port, m_nIPVersion);
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
        setInetAddr(*from, host, port, m_nIPVersion);
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

void Socket::noteDrops(msghdr& received) {
    for (cmsghdr* c = CMSG_FIRSTHDR(&received); c != nullptr; c = CMSG_NXTHDR(&received, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SO_RXQ_OVFL) continue;
        uint32_t total = 0;
        std::memcpy(&total, CMSG_DATA(c), sizeof(total));
        // The kernel's counter only grows (and wraps); it rides on every read
        // once a drop has happened.
        if (total != m_nDropped) {
            OLTrace(2, __FILE__, "socket=%d receive buffer full: %u datagrams dropped, %u in all\n",
                    m_hSocket, static_cast<unsigned>(total - m_nDropped), static_cast<unsigned>(total));
            m_nDropped = total;
        }
        return;
    }
}

int Socket::receiveOne(void* buf, unsigned len, char* host, unsigned short* port, int flags) {
    sockaddr_storage source{};
    iovec iov{buf, len};
    msghdr msg{};
    msg.msg_name = &source;
    msg.msg_namelen = 128;
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) unsigned char control[256];
    if (m_pBinding || m_bCountDrops) {
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
    }
    // MSG_TRUNC makes a datagram report its full length, so that one longer
    // than the buffer is seen as a failure and not as a short read.
    const ssize_t got = ::recvmsg(m_hSocket, &msg, flags | (isDatagram() ? MSG_TRUNC : 0));
    if (got < 0) {
        if (isDatagram() && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return kWouldBlock;
        }
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
    if (m_bCountDrops) {
        noteDrops(msg);
    }
    if (m_pBinding && !m_pBinding->accepts(msg)) {
        return kDropped;
    }
    if (source.ss_family == AF_UNSPEC) {
        // A connected stream names no source; its peer is the source.
        socklen_t n = sizeof(source);
        getpeername(m_hSocket, reinterpret_cast<sockaddr*>(&source), &n);
    }
    char hostText[49];
    unsigned short sourcePort = 0;
    if (numericName(source, hostText, sizeof(hostText), &sourcePort) != 0) {
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
