#include "discovery/AddressText.h"

#include <arpa/inet.h>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

bool readDottedIPv4(const char* text, uint32_t& out) {
    if (text == nullptr) return false;
    int i = 0;
    while (i < kMaxDottedIPv4Text && isBlank(text[i])) ++i;
    uint32_t address = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (i >= kMaxDottedIPv4Text || text[i] != '.') return false;
            ++i;
        }
        unsigned value = 0;
        int digits = 0;
        while (i < kMaxDottedIPv4Text && isDigit(text[i])) {
            if (++digits > 3) return false;
            value = value * 10 + static_cast<unsigned>(text[i] - '0');
            ++i;
        }
        if (digits == 0 || value > 255) return false;
        address = (address << 8) | value;
    }
    while (i < kMaxDottedIPv4Text && isBlank(text[i])) ++i;
    if (i >= kMaxDottedIPv4Text || text[i] != '\0') return false;
    out = address;
    return true;
}

std::string dottedIPv4(uint32_t host) {
    in_addr address{htonl(host)};
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address, text, sizeof(text));
    return text;
}
