#pragma once

#include "devsearch/Export.h"

class InetAddr;

// Address helper for the application: lists the host's addresses, tells IPv4
// from IPv6 text and turns a text or host name into an InetAddr. Each object
// is independent; the class holds no lock, so one object serves one thread.
// IP version codes: 1 is IPv4, 2 is IPv6.
class DEVSEARCH_EXPORT IPTool {
  public:
    static constexpr int kMaxAddresses = 30;
    static constexpr int kAddressSize = 49;

    IPTool();
    ~IPTool();
    IPTool(const IPTool& other) = default;
    IPTool& operator=(const IPTool& other) = default;

    // Replaces the list with the host's addresses of one family (1: IPv4,
    // otherwise IPv6, without ::1). At most kMaxAddresses are kept.
    bool enumIPList(int ipVersion);
    int getEnumIPNum();
    // Copies entry `index` with its terminator into `out` (kAddressSize bytes).
    bool getEnumIP(int index, char* out);
    // First IPv4 address the host name resolves to; the index is not used.
    bool getLocalIP(int index, char* out);

    // Placeholders kept for the application: success, nothing written.
    bool getEthIP(int index, char* out);
    bool getAdslIP(int index, char* out);
    bool get3GIP(int index, char* out);
    bool getMacAddr(char* out);
    bool getIpv6Mask(int& mask);

    // IPv4 or IPv6 text is taken as it stands; anything else is resolved as a
    // host name. The port of `out` is not touched.
    bool getInetAddr(const char* text, InetAddr& out);
    bool getIPbyHostname(const char* name, InetAddr& out);
    // True and version 1 or 2 for address text; false leaves version alone.
    bool checkIPAddress(const char* text, int& version);

  private:
    friend class IPToolProbe;  // unit tests reach the private checks

    bool checkIPv4Address(const char* text);
    bool checkIPv6Address(const char* text);
    // Binary digits of a non-negative value, no terminator; the digit count,
    // -1 for a negative value.
    int dtob(int value, char* out);

    char m_szIPList[kMaxAddresses][kAddressSize];
    int m_nIPCount;
};
