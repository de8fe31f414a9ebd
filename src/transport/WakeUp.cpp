#include "transport/WakeUp.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

WakeUp::WakeUp() : m_hEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeUp::~WakeUp() {
    if (m_hEvent != kInvalidSocket) {
        ::close(m_hEvent);
    }
}

void WakeUp::raise() {
    const uint64_t one = 1;
    // A counter that is already non-zero stays readable; nothing else matters.
    [[maybe_unused]] const ssize_t n = ::write(m_hEvent, &one, sizeof(one));
}

void WakeUp::clear() {
    uint64_t value = 0;
    [[maybe_unused]] const ssize_t n = ::read(m_hEvent, &value, sizeof(value));
}

bool WakeUp::isRaised() const {
    pollfd p{m_hEvent, POLLIN, 0};
    return m_hEvent != kInvalidSocket && ::poll(&p, 1, 0) > 0;
}

bool WakeUp::sleepFor(int ms) const {
    if (m_hEvent == kInvalidSocket) {
        const timespec pause{ms / 1000, (ms % 1000) * 1000000L};
        nanosleep(&pause, nullptr);
        return true;
    }
    pollfd p{m_hEvent, POLLIN, 0};
    int rc;
    do {
        rc = ::poll(&p, 1, ms);
    } while (rc < 0 && errno == EINTR);
    return rc <= 0;
}
