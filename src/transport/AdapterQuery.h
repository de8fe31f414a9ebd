#pragma once

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
