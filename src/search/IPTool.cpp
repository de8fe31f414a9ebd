#include "devsearch/IPTool.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "domain/records/InetAddr.h"

namespace {

constexpr size_t npos = std::string::npos;

// atoi without its undefined overflow: out-of-range text saturates.
int toInt(const char* text) {
    long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

bool isIPv6Loopback(const in6_addr& address) {
    return IN6_IS_ADDR_LOOPBACK(&address);
}

}  // namespace

IPTool::IPTool() : m_nIPCount(0) {
    std::memset(m_szIPList, 0, sizeof(m_szIPList));
}

IPTool::~IPTool() = default;

bool IPTool::enumIPList(int ipVersion) {
    m_nIPCount = 0;
    const int family = ipVersion == 1 ? AF_INET : AF_INET6;

    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return false;

    bool result = true;
    for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (m_nIPCount >= kMaxAddresses) break;
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != family) continue;
        if ((entry->ifa_flags & IFF_UP) == 0) continue;

        char text[128] = {0};
        if (family == AF_INET) {
            // The loopback interface is not one of the host's addresses.
            if ((entry->ifa_flags & IFF_LOOPBACK) != 0) continue;
            const auto* address = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
            if (inet_ntop(AF_INET, &address->sin_addr, text, sizeof(text)) == nullptr) continue;
        } else {
            const auto* address = reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr);
            if (isIPv6Loopback(address->sin6_addr)) continue;
            char service[20] = {0};
            if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in6), text, sizeof(text), service,
                            sizeof(service), NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
                result = false;
                break;
            }
        }
        // An entry holds 48 characters; a longer text (a scoped IPv6 address
        // on a long interface name) is cut rather than overrun.
        const size_t length = strnlen(text, kAddressSize - 1);
        std::memset(m_szIPList[m_nIPCount], 0, kAddressSize);
        std::memcpy(m_szIPList[m_nIPCount], text, length);
        ++m_nIPCount;
    }
    freeifaddrs(list);
    return result;
}

int IPTool::getEnumIPNum() {
    return m_nIPCount;
}

bool IPTool::getEnumIP(int index, char* out) {
    if (out == nullptr || index < 0 || index >= m_nIPCount) return false;
    std::memcpy(out, m_szIPList[index], std::strlen(m_szIPList[index]) + 1);
    return true;
}

bool IPTool::getLocalIP(int /*index*/, char* out) {
    char hostName[256] = {0};
    if (gethostname(hostName, sizeof(hostName) - 1) != 0) return false;

    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* result = nullptr;
    if (getaddrinfo(hostName, nullptr, &hints, &result) != 0 || result == nullptr) return false;

    bool found = false;
    if (out != nullptr && result->ai_addr != nullptr) {
        const auto* address = reinterpret_cast<const sockaddr_in*>(result->ai_addr);
        found = inet_ntop(AF_INET, &address->sin_addr, out, INET_ADDRSTRLEN) != nullptr;
    }
    freeaddrinfo(result);
    return found;
}

bool IPTool::getEthIP(int, char*) {
    return true;
}
bool IPTool::getAdslIP(int, char*) {
    return true;
}
bool IPTool::get3GIP(int, char*) {
    return true;
}
bool IPTool::getMacAddr(char*) {
    return true;
}
bool IPTool::getIpv6Mask(int&) {
    return true;
}

bool IPTool::getInetAddr(const char* text, InetAddr& out) {
    if (text == nullptr) return getIPbyHostname(text, out);
    if (checkIPv4Address(text)) {
        out.setIP(text);
        out.setIPProtoVer(1);
        return true;
    }
    if (checkIPv6Address(text)) {
        out.setIP(text);
        out.setIPProtoVer(2);
        return true;
    }
    return getIPbyHostname(text, out);
}

bool IPTool::getIPbyHostname(const char* name, InetAddr& out) {
    if (name == nullptr) return false;
    addrinfo* result = nullptr;
    if (getaddrinfo(name, nullptr, nullptr, &result) != 0 || result == nullptr) return false;

    bool found = false;
    const int family = result->ai_family;
    if ((family == AF_INET || family == AF_INET6) && result->ai_addr != nullptr) {
        char text[NI_MAXHOST] = {0};
        if (getnameinfo(result->ai_addr, result->ai_addrlen, text, sizeof(text), nullptr, 0,
                        NI_NUMERICHOST) == 0) {
            out.setIP(text);
            out.setIPProtoVer(family == AF_INET ? 1 : 2);
            found = true;
        }
    }
    freeaddrinfo(result);
    return found;
}

bool IPTool::checkIPAddress(const char* text, int& version) {
    if (text == nullptr) return false;
    if (checkIPv4Address(text)) {
        version = 1;
        return true;
    }
    if (checkIPv6Address(text)) {
        version = 2;
        return true;
    }
    return false;
}

// Four dotted numbers of at most three digits; the last may carry ":port".
// Three-digit parts are bounded digit by digit, and the last part refuses 255.
bool IPTool::checkIPv4Address(const char* text) {
    if (text == nullptr) return false;
    const std::string s(text);
    for (char c : s) {
        if (!std::isdigit(static_cast<unsigned char>(c)) && c != '.' && c != ':') return false;
    }

    size_t p = 0;
    for (int i = 0; i < 4; ++i) {
        size_t end = p <= s.size() ? s.find('.', p) : npos;
        if (end == npos) {
            end = s.size();
            if (i == 3) {
                size_t colon = p <= s.size() ? s.find(':', p) : npos;
                if (colon != npos) {
                    end = colon;
                    int port = toInt(s.c_str() + colon + 1);
                    if (port < 1 || port > 65535) return false;
                }
            }
        }
        if (p >= end) return false;
        size_t width = end - p;
        if (width > 3) return false;
        if (width == 3) {
            char first = s[p], second = s[p + 1], third = s[p + 2];
            if (first > '2') return false;
            if (first == '2') {
                if (second > '5') return false;
                if (second == '5') {
                    if (third > '5') return false;
                    if (i == 3 && third == '5') return false;
                }
            }
        }
        p = end + 1;
    }
    // A dot at or behind the end of the fourth part means a fifth part.
    return s.find('.', p - 1) == npos;
}

// Hexadecimal groups of at most four digits between colons, at most eight of
// them, with an optional "/prefix" of at most 128.
bool IPTool::checkIPv6Address(const char* text) {
    if (text == nullptr) return false;
    std::string s(text);
    size_t slash = s.rfind('/');
    if (slash != npos) {
        unsigned prefix = static_cast<unsigned>(toInt(s.c_str() + slash + 1));
        if (prefix > 128) return false;
        s.erase(slash);
    }
    for (char c : s) {
        if (!std::isxdigit(static_cast<unsigned char>(c)) && c != ':') return false;
    }
    if (s.empty()) return true;

    int groups = 0;
    size_t pos = 0;
    while (true) {
        size_t colon = s.find(':', pos);
        size_t end = colon == npos ? s.size() : colon;
        if (end - pos > 4) return false;
        ++groups;
        if (colon == npos) break;
        pos = colon + 1;
        if (pos >= s.size()) break;  // a trailing colon opens no group
    }
    return groups <= 8;
}

int IPTool::dtob(int value, char* out) {
    if (value < 0) return -1;
    if (value == 0) return 0;
    int digits = 0;
    for (int v = value; v != 0; v >>= 1) ++digits;
    if (out == nullptr) return digits;
    for (int i = 0; i < digits; ++i) out[i] = ((value >> (digits - 1 - i)) & 1) != 0 ? '1' : '0';
    return digits;
}
