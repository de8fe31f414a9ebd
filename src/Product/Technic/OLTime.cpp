#include "Product/Technic/OLTime.h"

#include <time.h>

#include <cerrno>
#include <cstdio>

uint32_t getTickCount32() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64_t ms =
        static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    return static_cast<uint32_t>(ms);
}

void getUpTime(OLTimeValue* out) {
    if (out == nullptr) return;
    const uint32_t ticks = getTickCount32();
    *out = OLTimeValue(static_cast<int>(ticks / 1000u), static_cast<int>((ticks % 1000u) * 1000u % 1000000u));
}

void sleepFor(const OLTimeValue& t) {
    const long long ms = static_cast<long long>(t.sec) * 1000 + t.usec / 1000;
    if (ms <= 0) return;
    struct timespec request;
    request.tv_sec = static_cast<time_t>(ms / 1000);
    request.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
    while (nanosleep(&request, &request) != 0 && errno == EINTR) {
    }
}

std::string getTimeString(int format) {
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char buffer[64] = {0};
    if (format == 1) {
        std::snprintf(buffer, sizeof(buffer), "%02d/%02d/%04d %02d:%02d:%02d", local.tm_mon + 1,
                      local.tm_mday, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
    } else {
        std::snprintf(buffer, sizeof(buffer), "%04d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900,
                      local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    }
    return buffer;
}
