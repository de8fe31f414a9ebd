#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <functional>
#include <string>
#include <vector>

// The host's network adapters, as the discovery engines select them.
//
// An adapter is a network interface that carries at least one IPv4 address
// (the engines work on the IPv4 stack); the loopback interface counts. Names
// are the interfaces' own names ("eth0", "lo"), in interface-index order.

// Appends the name of every adapter.
void listAdapterNames(std::vector<std::string>& out);

// Appends the IPv4 addresses of the adapter `adapterName` in dotted form, in
// the order the system lists them, never "0.0.0.0". An unknown name appends
// nothing.
void listAdapterAddresses(const std::string& adapterName, std::vector<std::string>& out);

// One adapter as the two functions above see it.
struct AdapterEntry {
    std::string name;
    std::vector<std::string> addresses;  // IPv4, dotted
};

// Replaces the host's adapters by `source` for the two functions above, so
// that engines can be driven without a network (tests); an empty function
// restores the host's.
void setAdapterSource(std::function<std::vector<AdapterEntry>()> source);

// The interface that holds one address of this host.
struct AdapterAddressInfo {
    std::string name;
    unsigned index = 0;
    in_addr broadcast{};  // IPv4 directed broadcast, zero when there is none
};

// Finds the interface, of the calling thread's network namespace, that holds
// `address` (IPv4, or IPv6 with a matching scope when it has one). Any
// interface counts, also one with IPv6 addresses only.
bool findAdapterOfAddress(const sockaddr* address, AdapterAddressInfo& out);
