#pragma once

#include <cstdint>
#include <string>

// Reads the dotted text of an IPv4 address as people write it: four decimal
// numbers of one to three digits, each at most 255, separated by single dots.
// Leading zeros count as decimal ("192.168.001.010" is 192.168.1.10, never
// octal), and blanks (spaces, tabs) before and after the address are allowed.
// Everything else is refused: signs, hexadecimal, fewer or more parts, empty
// parts, a port, other characters. `out` gets the address in host byte order
// and is only written on success. Reads at most kMaxDottedIPv4Text characters.
bool readDottedIPv4(const char* text, uint32_t& out);

constexpr int kMaxDottedIPv4Text = 256;

// The dotted text of an IPv4 address given in host byte order.
std::string dottedIPv4(uint32_t host);
