#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include "transport/SocketHandle.h"

#ifndef IPV6_MULTICAST_ALL
#define IPV6_MULTICAST_ALL 29
#endif

// Integer socket options, the one way the transport reads and writes them.

inline bool setIntOption(SocketHandle s, int level, int name, int value) {
    return setsockopt(s, level, name, &value, sizeof(value)) == 0;
}

// True and the value in *out, or false with errno set.
inline bool getIntOption(SocketHandle s, int level, int name, int* out) {
    socklen_t n = sizeof(*out);
    return getsockopt(s, level, name, out, &n) == 0;
}

// The value, or `fallback` when it cannot be read.
inline int readIntOption(SocketHandle s, int level, int name, int fallback) {
    int value = 0;
    return getIntOption(s, level, name, &value) ? value : fallback;
}
