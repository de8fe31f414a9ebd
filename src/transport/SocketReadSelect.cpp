#include "transport/SocketReadSelect.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>

#include "transport/SocketOptions.h"
#include "transport/WakeUp.h"

namespace {

int socketOption(SocketHandle s, int name) {
    return readIntOption(s, SOL_SOCKET, name, -1);
}

}  // namespace

SocketReadSelect::SocketReadSelect() {
    for (int g = 0; g < kGroups; ++g) {
        for (int i = 0; i < kGroupSize; ++i) {
            m_sockets[g][i] = kInvalidSocket;
            m_bActive[g][i] = false;
        }
    }
}

SocketReadSelect::~SocketReadSelect() {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    for (int g = 0; g < kGroups; ++g) {
        for (int i = 0; i < m_nCounts[g]; ++i) {
            m_bActive[g][i] = false;
        }
        m_nCounts[g] = 0;
    }
    m_nTotal = 0;
}

bool SocketReadSelect::addSocket(SocketHandle s) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    if (m_nTotal >= kCapacity) {
        return false;
    }
    for (int g = 0; g < kGroups; ++g) {
        for (int i = 0; i < m_nCounts[g]; ++i) {
            if (m_bActive[g][i] && m_sockets[g][i] == s) {
                return true;
            }
        }
    }
    for (int g = 0; g < kGroups; ++g) {
        if (m_nCounts[g] == kGroupSize) {
            continue;
        }
        const int slot = m_nCounts[g];
        m_sockets[g][slot] = s;
        m_bActive[g][slot] = true;
        // Registering for readiness makes the socket non-blocking, as event
        // registration does elsewhere; a failure here only means the socket
        // never shows up as readable.
        const int flags = fcntl(s, F_GETFL, 0);
        if (flags >= 0) {
            fcntl(s, F_SETFL, flags | O_NONBLOCK);
        }
        ++m_nCounts[g];
        ++m_nTotal;
        return true;
    }
    return false;
}

void SocketReadSelect::removeSocket(SocketHandle s) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    for (int g = 0; g < kGroups; ++g) {
        for (int i = 0; i < m_nCounts[g]; ++i) {
            if (m_bActive[g][i] && m_sockets[g][i] == s) {
                removeSlot(g, i);
                return;
            }
        }
    }
}

void SocketReadSelect::removeSlot(int g, int slot) {
    m_bActive[g][slot] = false;
    m_bNeedCompact = true;
}

void SocketReadSelect::compact() {
    if (!m_bNeedCompact) {
        return;
    }
    for (int g = 0; g < kGroups; ++g) {
        int kept = 0;
        for (int i = 0; i < m_nCounts[g]; ++i) {
            if (m_bActive[g][i]) {
                m_sockets[g][kept] = m_sockets[g][i];
                m_bActive[g][kept] = true;
                ++kept;
            }
        }
        for (int i = kept; i < m_nCounts[g]; ++i) {
            m_sockets[g][i] = kInvalidSocket;
            m_bActive[g][i] = false;
        }
        m_nTotal -= m_nCounts[g] - kept;
        m_nCounts[g] = kept;
    }
    m_bNeedCompact = false;
}

int SocketReadSelect::waitGroup(int g, int timeoutMs) {
    // The group's sockets and, behind them, the wake-up.
    pollfd fds[kGroupSize + 1];
    const int count = m_nCounts[g];
    for (int i = 0; i < count; ++i) {
        fds[i].fd = m_bActive[g][i] ? m_sockets[g][i] : -1;
        fds[i].events = POLLIN;
        fds[i].revents = 0;
    }
    fds[count] = {m_pWakeUp != nullptr ? m_pWakeUp->handle() : kInvalidSocket, POLLIN, 0};
    const int rc = ::poll(fds, static_cast<nfds_t>(count + 1), timeoutMs < 0 ? -1 : timeoutMs);
    if (rc < 0) {
        if (errno != EINTR) {
            std::printf("error = %d", errno);
            std::fflush(stdout);
        }
        return -1;
    }
    if (rc == 0) {
        return -1;
    }
    for (int i = 0; i < count; ++i) {
        if (fds[i].revents != 0) {
            m_nCurrentGroup = g;
            m_nFirstIndex = i;
            return count - i;
        }
    }
    return -1;
}

int SocketReadSelect::wait(int timeoutMs) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    compact();
    if (m_pWakeUp != nullptr && m_pWakeUp->isRaised()) {
        return -1;
    }
    const int served = m_nCurrentGroup;
    for (int g = served + 1; g < kGroups; ++g) {
        if (m_nCounts[g] == 0) {
            continue;
        }
        const int n = waitGroup(g, 0);
        if (n != -1) {
            return n;
        }
    }
    for (int g = 0; g <= served; ++g) {
        if (m_nCounts[g] == 0) {
            continue;
        }
        const int n = waitGroup(g, g == served ? timeoutMs : 0);
        if (n != -1) {
            return n;
        }
    }
    return -1;
}

SocketHandle SocketReadSelect::getSocketState(int i, int* state) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    int ignored = 0;
    int& out = state != nullptr ? *state : ignored;
    out = kNoData;
    const int g = m_nCurrentGroup;
    const int slot = m_nFirstIndex + i;
    if (i < 0 || slot >= m_nCounts[g]) {
        return kInvalidSocket;
    }
    const SocketHandle s = m_sockets[g][slot];
    if (!m_bActive[g][slot]) {
        return s;
    }
    pollfd p{s, static_cast<short>(POLLIN | POLLRDHUP), 0};
    if (::poll(&p, 1, 0) <= 0 || p.revents == 0) {
        return s;
    }
    if ((p.revents & POLLNVAL) != 0) {
        removeSlot(g, slot);
        out = kClosed;
        return s;
    }
    if (socketOption(s, SO_TYPE) == SOCK_STREAM) {
        // A listening socket signals a connection to accept; a connected one
        // that reports hang-up or an error has lost its peer, even when data
        // is still queued.
        if (socketOption(s, SO_ACCEPTCONN) == 1) {
            out = kReadable;
        } else if ((p.revents & (POLLERR | POLLHUP | POLLRDHUP)) != 0) {
            removeSlot(g, slot);
            out = kClosed;
        } else if ((p.revents & POLLIN) != 0) {
            out = kReadable;
        }
        return s;
    }
    if ((p.revents & POLLERR) != 0) {
        // A datagram socket's pending error (e.g. an ICMP report) is read and
        // cleared; only a network that went down ends the socket's turn.
        if (socketOption(s, SO_ERROR) == ENETDOWN) {
            removeSlot(g, slot);
            out = kClosed;
            return s;
        }
    }
    if ((p.revents & POLLIN) != 0) {
        out = kReadable;
    }
    return s;
}

void SocketReadSelect::setWakeUp(const WakeUp* wakeUp) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    m_pWakeUp = wakeUp;
}

int SocketReadSelect::getTotal() {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    return m_nTotal;
}

int pollReadable(const std::vector<SocketHandle>& sockets, int timeoutMs, const WakeUp* wakeUp,
                 std::vector<bool>& ready) {
    std::vector<pollfd> polled(sockets.size() + 1);
    for (size_t i = 0; i < sockets.size(); ++i) polled[i] = {sockets[i], POLLIN, 0};
    polled.back() = {wakeUp != nullptr ? wakeUp->handle() : kInvalidSocket, POLLIN, 0};
    ready.assign(sockets.size(), false);
    if (::poll(polled.data(), polled.size(), timeoutMs) <= 0) return 0;
    int count = 0;
    for (size_t i = 0; i < sockets.size(); ++i) {
        ready[i] = polled[i].revents != 0;
        count += ready[i] ? 1 : 0;
    }
    return count;
}
