#include "transport/Socket.h"

#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Product/Technic/OLTrace.h"
#include "transport/SocketOptions.h"
#include "transport/SocketTime.h"
#include "transport/WakeUp.h"

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

bool Socket::setOption(int level, int name, int value, bool report) {
    if (!setIntOption(m_hSocket, level, name, value)) {
        if (report) {
            reportError("setsockopt");
        }
        return false;
    }
    return true;
}

bool Socket::readOption(int level, int name, int* out) {
    if (!getIntOption(m_hSocket, level, name, out)) {
        reportError("getsockopt");
        return false;
    }
    return true;
}

bool Socket::open() {
    Socket::close();
    const int sysType = m_nType == 1 ? SOCK_STREAM : (m_nType == 2 ? SOCK_DGRAM : -1);
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
        setOption(SOL_SOCKET, SO_KEEPALIVE, 1, false);
        setOption(IPPROTO_TCP, TCP_KEEPIDLE, 3, false);
        setOption(IPPROTO_TCP, TCP_KEEPINTVL, 3, false);
    }
    if (isDatagram()) {
        m_nSendBufferSize = -1;
        // A socket hears only the groups it joined itself.
        if (m_nFamily == AF_INET) {
            setOption(IPPROTO_IP, IP_MULTICAST_ALL, 0, false);
        } else {
            setOption(IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0, false);
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
    m_pBinding.reset();
    m_bMulticastIfChosen = false;
    m_bCountDrops = false;
    m_nDropped = 0;
    return true;
}

// ---------------------------------------------------------------- waits

int Socket::waitFor(short events, int timeoutMs) {
    if (latched()) {
        return -1;
    }
    if (m_hSocket == kInvalidSocket) {
        // A closed socket fails at once instead of waiting out its time.
        errno = EBADF;
        reportError("select");
        return -1;
    }
    const long long start = monotonicMs();
    const SocketHandle wake = m_pWakeUp != nullptr ? m_pWakeUp->handle() : kInvalidSocket;
    for (;;) {
        pollfd p[2] = {{m_hSocket, events, 0}, {wake, POLLIN, 0}};
        const int rc = ::poll(p, 2, remainingMs(timeoutMs, start));
        if (rc < 0 && errno == EINTR) {
            continue;
        }
        if (rc < 0 || (p[0].revents & POLLNVAL) != 0) {
            if (rc > 0) {
                errno = EBADF;
            }
            reportError("select");
            return -1;
        }
        // Told to stop: nothing came in the time this wait was given.
        if (rc == 0 || p[0].revents == 0) {
            return -2;
        }
        return 0;
    }
}

int Socket::waitReadable(int timeoutMs) {
    return waitFor(POLLIN, timeoutMs);
}

int Socket::waitWritable(int timeoutMs) {
    return waitFor(POLLOUT, timeoutMs);
}

// ---------------------------------------------------------------- options

bool Socket::setRecvBufferSize(int bytes) {
    if (latched()) {
        return false;
    }
    if (!setOption(SOL_SOCKET, SO_RCVBUFFORCE, bytes, false) &&
        !setOption(SOL_SOCKET, SO_RCVBUF, bytes, true)) {
        return false;
    }
    const int granted = readIntOption(m_hSocket, SOL_SOCKET, SO_RCVBUF, -1);
    OLTrace(3, __FILE__, "socket=%d receive buffer asked %d bytes, granted %d\n", m_hSocket, bytes, granted);
    if (isDatagram() && !m_bCountDrops) {
        m_bCountDrops = setOption(SOL_SOCKET, SO_RXQ_OVFL, 1, false);
        m_nDropped = 0;
    }
    return true;
}

bool Socket::getRecvBufferSize(int* out) {
    if (latched() || out == nullptr) {
        return false;
    }
    return readOption(SOL_SOCKET, SO_RCVBUF, out);
}

bool Socket::setSendBufferSize(int bytes) {
    if (latched()) {
        return false;
    }
    if (!setOption(SOL_SOCKET, SO_SNDBUF, bytes, true)) {
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
    return readOption(SOL_SOCKET, SO_SNDBUF, out);
}

bool Socket::setReuseAddr(bool on) {
    if (latched()) {
        return false;
    }
    return setOption(SOL_SOCKET, SO_REUSEADDR, on ? 1 : 0, true);
}

bool Socket::setBroadcast(bool on) {
    if (latched()) {
        return false;
    }
    return setOption(SOL_SOCKET, SO_BROADCAST, on ? 1 : 0, true);
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
    return setIntOption(m_hSocket, IPPROTO_TCP, TCP_NODELAY, 1);
}

bool Socket::getPendingError() {
    int err = 0;
    if (!getIntOption(m_hSocket, SOL_SOCKET, SO_ERROR, &err)) {
        return false;
    }
    if (err != 0) {
        errno = err;
        return false;
    }
    return true;
}
