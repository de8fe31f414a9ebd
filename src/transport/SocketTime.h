#pragma once

#include <ctime>

// Monotonic milliseconds, for waits that resume after EINTR or a datagram
// that was not theirs.
inline long long monotonicMs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// What is left of a time-out begun at `start`; -1 (no limit) stays -1.
inline int remainingMs(int timeoutMs, long long start) {
    if (timeoutMs < 0) {
        return -1;
    }
    const long long left = timeoutMs - (monotonicMs() - start);
    return left > 0 ? static_cast<int>(left) : 0;
}
