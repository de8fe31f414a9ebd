#include "transport/AdapterQuery.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <memory>
#include <mutex>

namespace {

struct IfAddrsDeleter {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};
using IfAddrsPtr = std::unique_ptr<ifaddrs, IfAddrsDeleter>;

IfAddrsPtr interfaceAddresses() {
    ifaddrs* raw = nullptr;
    return IfAddrsPtr(getifaddrs(&raw) == 0 ? raw : nullptr);
}

// One snapshot of the IPv4 interfaces, ordered by interface index; addresses
// keep the order in which the system lists them.
std::vector<AdapterEntry> hostAdapters() {
    struct Indexed {
        unsigned index;
        AdapterEntry entry;
    };
    std::vector<Indexed> adapters;
    const IfAddrsPtr list = interfaceAddresses();
    for (ifaddrs* it = list.get(); it != nullptr; it = it->ifa_next) {
        if (it->ifa_addr == nullptr || it->ifa_addr->sa_family != AF_INET || it->ifa_name == nullptr) {
            continue;
        }
        auto found = std::find_if(adapters.begin(), adapters.end(),
                                  [&](const Indexed& a) { return a.entry.name == it->ifa_name; });
        if (found == adapters.end()) {
            adapters.push_back({if_nametoindex(it->ifa_name), {it->ifa_name, {}}});
            found = adapters.end() - 1;
        }
        char text[INET_ADDRSTRLEN] = {};
        const auto* sin = reinterpret_cast<const sockaddr_in*>(it->ifa_addr);
        if (inet_ntop(AF_INET, &sin->sin_addr, text, sizeof(text)) != nullptr &&
            std::string(text) != "0.0.0.0") {
            found->entry.addresses.emplace_back(text);
        }
    }
    std::stable_sort(adapters.begin(), adapters.end(),
                     [](const Indexed& a, const Indexed& b) { return a.index < b.index; });
    std::vector<AdapterEntry> out;
    for (Indexed& a : adapters) out.push_back(std::move(a.entry));
    return out;
}

std::mutex g_sourceLock;
std::function<std::vector<AdapterEntry>()> g_source;

std::vector<AdapterEntry> adapters() {
    std::function<std::vector<AdapterEntry>()> source;
    {
        std::lock_guard<std::mutex> guard(g_sourceLock);
        source = g_source;
    }
    return source ? source() : hostAdapters();
}

bool sameAddress(const sockaddr* mine, const sockaddr* theirs) {
    if (theirs == nullptr || theirs->sa_family != mine->sa_family) return false;
    if (mine->sa_family == AF_INET) {
        return reinterpret_cast<const sockaddr_in*>(theirs)->sin_addr.s_addr ==
               reinterpret_cast<const sockaddr_in*>(mine)->sin_addr.s_addr;
    }
    const auto* a = reinterpret_cast<const sockaddr_in6*>(mine);
    const auto* b = reinterpret_cast<const sockaddr_in6*>(theirs);
    return IN6_ARE_ADDR_EQUAL(&a->sin6_addr, &b->sin6_addr) &&
           (a->sin6_scope_id == 0 || a->sin6_scope_id == b->sin6_scope_id);
}

}  // namespace

void listAdapterNames(std::vector<std::string>& out) {
    for (const AdapterEntry& a : adapters()) out.push_back(a.name);
}

void listAdapterAddresses(const std::string& adapterName, std::vector<std::string>& out) {
    for (const AdapterEntry& a : adapters()) {
        if (a.name == adapterName) {
            out.insert(out.end(), a.addresses.begin(), a.addresses.end());
            return;
        }
    }
}

void setAdapterSource(std::function<std::vector<AdapterEntry>()> source) {
    std::lock_guard<std::mutex> guard(g_sourceLock);
    g_source = std::move(source);
}

bool findAdapterOfAddress(const sockaddr* address, AdapterAddressInfo& out) {
    const IfAddrsPtr list = interfaceAddresses();
    for (ifaddrs* it = list.get(); it != nullptr; it = it->ifa_next) {
        if (it->ifa_name == nullptr || !sameAddress(address, it->ifa_addr)) continue;
        out.name = it->ifa_name;
        out.index = if_nametoindex(it->ifa_name);
        out.broadcast = in_addr{};
        if (address->sa_family == AF_INET && (it->ifa_flags & IFF_BROADCAST) != 0 &&
            it->ifa_broadaddr != nullptr) {
            out.broadcast = reinterpret_cast<const sockaddr_in*>(it->ifa_broadaddr)->sin_addr;
        }
        return true;
    }
    return false;
}
