#pragma once

// Network namespaces for tests that send datagrams.
//
// NetnsRig builds, per instance, three namespaces joined by veth pairs:
//
//      LAN A namespace                client namespace                LAN B namespace
//   ethC 198.51.100.2/24  <-->  ethA 198.51.100.1/24
//        fd00:a::2/64                fd00:a::1/64
//                                    ethB 203.0.113.1/24  <-->  ethC 203.0.113.2/24
//                                         fd00:b::1/64               fd00:b::2/64
//
// Each namespace has `lo` up. Every link carries multicast: the LAN namespaces
// route 224.0.0.0/4 to their `ethC`, the client routes it to `ethA` (so a send
// that does not choose its adapter leaves through A). IPv6 duplicate address
// detection is off, so every address is usable at once. These addresses exist
// only inside the namespaces.
//
// The namespaces are held by descriptors alone: they vanish with the rig (or
// the process), so a test that crashes leaves nothing behind.
//
// Code runs inside a namespace on a thread that entered it with setns():
// sockets created on that thread belong to that namespace, and keep it when
// used from any other thread afterwards; threads started from it (an engine's
// worker) start in it too. Typical use:
//
//   std::unique_ptr<testsupport::NetnsRig> rig;
//   DS_NETNS_RIG_OR_SKIP(rig);
//   rig->client().run([&] { engine.start(); });          // adapters ethA, ethB
//   rig->lanA().run([&] { /* a device answering on LAN A */ });
//   rig->lanB().ip("route add 198.51.100.0/24 via 203.0.113.1");

#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace testsupport {

// True when namespaces are a hard requirement (environment CI=true): tests
// then fail instead of skipping.
inline bool netnsRequired() {
    return std::getenv("CI") != nullptr && std::string(std::getenv("CI")) == "true";
}

// A thread that enters a network namespace (given by an open namespace file
// descriptor) and runs `fn`. join() waits and rethrows what `fn` threw; the
// destructor joins.
class NetnsThread {
  public:
    NetnsThread(int nsFd, std::function<void()> fn);
    NetnsThread(NetnsThread&&) = default;
    NetnsThread& operator=(NetnsThread&&) = default;
    ~NetnsThread();

    void join();

  private:
    std::thread m_thread;
    std::unique_ptr<std::exception_ptr> m_pError;
};

// One namespace, held by an open file descriptor.
class Netns {
  public:
    Netns(std::string name, int fd) : m_name(std::move(name)), m_nFd(fd) {}
    ~Netns();
    Netns(const Netns&) = delete;
    Netns& operator=(const Netns&) = delete;

    // A path of the namespace, for tools: `ip link ... netns PATH`, `nsenter --net=PATH`.
    const std::string& name() const { return m_name; }
    int fd() const { return m_nFd; }

    // Runs fn inside this namespace on a fresh thread and waits for it;
    // rethrows what fn threw.
    void run(const std::function<void()>& fn) const;
    // Starts fn inside this namespace; the returned thread joins when destroyed.
    NetnsThread spawn(std::function<void()> fn) const;
    // Runs an `ip` command line (the arguments after "ip") in this namespace;
    // throws std::runtime_error with the command's output on failure.
    void ip(const std::string& args) const;
    // Writes a value under /proc/sys/net (e.g. "ipv6/conf/all/accept_dad") in
    // this namespace; throws on failure.
    void sysctl(const std::string& key, const std::string& value) const;

  private:
    std::string m_name;
    int m_nFd;
};

// A private namespace that has only `lo` (up, with 127.0.0.1 and ::1, and a
// multicast route on lo), for tests that need nothing else.
std::unique_ptr<Netns> makeLoopbackNetns(std::string* why);

struct RigLan {
    std::string clientIf;  // the client's adapter facing this LAN ("ethA"/"ethB")
    std::string peerIf;    // the LAN side ("ethC")
    std::string clientIp4, peerIp4;
    std::string clientIp6, peerIp6;
    std::string broadcast4;
};

class NetnsRig {
  public:
    // Builds the rig; null with the reason in *why when it cannot.
    static std::unique_ptr<NetnsRig> create(std::string* why);

    const Netns& client() const { return *m_pClient; }
    const Netns& lanA() const { return *m_pLanA; }
    const Netns& lanB() const { return *m_pLanB; }
    const RigLan& linkA() const { return m_linkA; }
    const RigLan& linkB() const { return m_linkB; }

  private:
    NetnsRig() = default;
    void build();

    std::unique_ptr<Netns> m_pClient, m_pLanA, m_pLanB;
    RigLan m_linkA, m_linkB;
};

}  // namespace testsupport

// In a test body: builds the rig into `var` (a std::unique_ptr<NetnsRig>), or
// skips the test with the reason, or fails it where namespaces are required.
#define DS_NETNS_RIG_OR_SKIP(var) DS_NETNS_OR_SKIP_(var, ::testsupport::NetnsRig::create)
// The same for a private loopback-only namespace in `var` (std::unique_ptr<Netns>).
#define DS_LOOPBACK_NETNS_OR_SKIP(var) DS_NETNS_OR_SKIP_(var, ::testsupport::makeLoopbackNetns)
#define DS_NETNS_OR_SKIP_(var, make)                                                                  \
    do {                                                                                              \
        std::string dsNsWhy_;                                                                         \
        var = make(&dsNsWhy_);                                                                        \
        if (!var) {                                                                                   \
            if (::testsupport::netnsRequired()) {                                                     \
                FAIL() << "network namespaces are required here (CI=true) but failed: " << dsNsWhy_;  \
            }                                                                                         \
            GTEST_SKIP() << "network namespaces unavailable (needs root and iproute2): " << dsNsWhy_; \
        }                                                                                             \
    } while (0)
