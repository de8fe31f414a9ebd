#include "transport/AdapterQuery.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>

namespace {

struct Adapter {
    unsigned index = 0;
    std::string name;
    std::vector<std::string> addresses;
};

struct IfAddrsDeleter {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

// One snapshot of the IPv4 interfaces, ordered by interface index; addresses
// keep the order in which the system lists them.
std::vector<Adapter> queryAdapters() {
    std::vector<Adapter> adapters;
    ifaddrs* raw = nullptr;
    if (getifaddrs(&raw) != 0) {
        return adapters;
    }
    std::unique_ptr<ifaddrs, IfAddrsDeleter> list(raw);
    for (ifaddrs* it = raw; it != nullptr; it = it->ifa_next) {
        if (it->ifa_addr == nullptr || it->ifa_addr->sa_family != AF_INET || it->ifa_name == nullptr) {
            continue;
        }
        auto found = std::find_if(adapters.begin(), adapters.end(),
                                  [&](const Adapter& a) { return a.name == it->ifa_name; });
        if (found == adapters.end()) {
            Adapter a;
            a.index = if_nametoindex(it->ifa_name);
            a.name = it->ifa_name;
            adapters.push_back(a);
            found = adapters.end() - 1;
        }
        char text[INET_ADDRSTRLEN] = {};
        const auto* sin = reinterpret_cast<const sockaddr_in*>(it->ifa_addr);
        if (inet_ntop(AF_INET, &sin->sin_addr, text, sizeof(text)) != nullptr &&
            std::string(text) != "0.0.0.0") {
            found->addresses.emplace_back(text);
        }
    }
    std::stable_sort(adapters.begin(), adapters.end(),
                     [](const Adapter& a, const Adapter& b) { return a.index < b.index; });
    return adapters;
}

}  // namespace

void listAdapterNames(std::vector<std::string>& out) {
    for (const Adapter& a : queryAdapters()) {
        out.push_back(a.name);
    }
}

void listAdapterAddresses(const std::string& adapterName, std::vector<std::string>& out) {
    for (const Adapter& a : queryAdapters()) {
        if (a.name == adapterName) {
            out.insert(out.end(), a.addresses.begin(), a.addresses.end());
            return;
        }
    }
}
