#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <memory>

#include "transport/AddressLookup.h"
#include "transport/Socket.h"

namespace {

bool isWouldBlock(int err) {
    return err == EAGAIN || err == EWOULDBLOCK;
}

}  // namespace

bool Socket::connect(const char* host, unsigned short port) {
    if (latched()) {
        return false;
    }
    AddrInfoPtr info;
    if (lookUpAddress(m_nFamily, m_nType, host, port, AI_NUMERICHOST, info) != 0 || !info) {
        reportError("getaddrinfo");
        return false;
    }
    if (::connect(m_hSocket, info->ai_addr, info->ai_addrlen) != 0) {
        reportError("connect");
        return false;
    }
    setInetAddr(m_objAddr, host != nullptr ? host : "", port, m_nIPVersion);
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
    if (lookUpAddress(m_nFamily, m_nType, host, port, AI_NUMERICHOST, info) != 0 || !info) {
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
    setInetAddr(m_objAddr, host != nullptr ? host : "", port, m_nIPVersion);
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
    setInetAddr(*out->getAddr(), host, peerPort, m_nIPVersion);
    out->setHandle(fd);
    return 0;
}

int Socket::accept(ISocket** out, int timeoutMs) {
    if (out == nullptr) {
        return -1;
    }
    auto accepted = std::make_unique<Socket>(m_nIPVersion, m_nType);
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
