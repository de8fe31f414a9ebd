#include "support/NetnsRig.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace testsupport {

namespace {

// Runs a shell command on the calling thread (so in its namespace); returns
// the exit status and the combined output.
int runCommand(const std::string& cmd, std::string* output) {
    FILE* pipe = popen((cmd + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        *output = std::string("popen: ") + std::strerror(errno);
        return -1;
    }
    char chunk[256];
    for (size_t n; (n = fread(chunk, 1, sizeof(chunk), pipe)) > 0;) output->append(chunk, n);
    return pclose(pipe);
}

// A new namespace, held by a descriptor only: it goes away with the last
// descriptor, socket and process in it, so nothing is left behind by a test
// that crashes. Its name is the descriptor's path, which `ip link ... netns`
// and nsenter take.
std::unique_ptr<Netns> makeNetns() {
    int fd = -1;
    std::string error;
    std::thread([&] {
        if (unshare(CLONE_NEWNET) != 0) {
            error = std::string("unshare(CLONE_NEWNET): ") + std::strerror(errno);
        } else if ((fd = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)) < 0) {
            error = std::string("open /proc/thread-self/ns/net: ") + std::strerror(errno);
        }
    }).join();
    if (fd < 0) throw std::runtime_error(error);
    auto ns = std::make_unique<Netns>("/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(fd), fd);
    ns->ip("link set lo up");
    return ns;
}

// Builds what `build` makes; null with the reason in *why when it throws.
template <class T, class F>
std::unique_ptr<T> orWhy(std::string* why, F build) {
    try {
        return build();
    } catch (const std::exception& e) {
        if (why != nullptr) *why = e.what();
        return nullptr;
    }
}

}  // namespace

NetnsThread::NetnsThread(int nsFd, std::function<void()> fn)
    : m_pError(std::make_unique<std::exception_ptr>()) {
    std::exception_ptr* error = m_pError.get();
    m_thread = std::thread([nsFd, fn = std::move(fn), error] {
        try {
            if (setns(nsFd, CLONE_NEWNET) != 0)
                throw std::runtime_error(std::string("setns: ") + std::strerror(errno));
            fn();
        } catch (...) {
            *error = std::current_exception();
        }
    });
}

NetnsThread::~NetnsThread() {
    if (m_thread.joinable()) m_thread.join();
}

void NetnsThread::join() {
    if (m_thread.joinable()) m_thread.join();
    if (m_pError && *m_pError) std::rethrow_exception(std::exchange(*m_pError, nullptr));
}

Netns::~Netns() {
    if (m_nFd >= 0) close(m_nFd);
}

void Netns::run(const std::function<void()>& fn) const {
    NetnsThread(m_nFd, fn).join();
}

NetnsThread Netns::spawn(std::function<void()> fn) const {
    return NetnsThread(m_nFd, std::move(fn));
}

void Netns::ip(const std::string& args) const {
    run([&] {
        std::string out;
        if (runCommand("ip " + args, &out) != 0) throw std::runtime_error("ip " + args + ": " + out);
    });
}

void Netns::sysctl(const std::string& key, const std::string& value) const {
    run([&] {
        const std::string path = "/proc/sys/net/" + key;
        if (!(std::ofstream(path) << value << std::flush)) throw std::runtime_error("cannot write " + path);
    });
}

std::unique_ptr<Netns> makeLoopbackNetns(std::string* why) {
    return orWhy<Netns>(why, [] {
        auto ns = makeNetns();
        ns->ip("route add 224.0.0.0/4 dev lo");
        return ns;
    });
}

std::unique_ptr<NetnsRig> NetnsRig::create(std::string* why) {
    return orWhy<NetnsRig>(why, [] {
        if (geteuid() != 0) throw std::runtime_error("not running as root");
        std::unique_ptr<NetnsRig> rig(new NetnsRig());
        rig->build();
        return rig;
    });
}

void NetnsRig::build() {
    m_pClient = makeNetns();
    m_pLanA = makeNetns();
    m_pLanB = makeNetns();
    m_linkA = {"ethA", "ethC", "198.51.100.1", "198.51.100.2", "fd00:a::1", "fd00:a::2", "198.51.100.255"};
    m_linkB = {"ethB", "ethC", "203.0.113.1", "203.0.113.2", "fd00:b::1", "fd00:b::2", "203.0.113.255"};
    for (const Netns* ns : {m_pClient.get(), m_pLanA.get(), m_pLanB.get()}) {
        ns->sysctl("ipv6/conf/all/accept_dad", "0");
        ns->sysctl("ipv6/conf/default/accept_dad", "0");
    }
    const std::pair<const Netns*, const RigLan*> sides[] = {{m_pLanA.get(), &m_linkA},
                                                            {m_pLanB.get(), &m_linkB}};
    for (const auto& [lan, link] : sides) {
        const RigLan& l = *link;
        m_pClient->ip("link add " + l.clientIf + " type veth peer name " + l.peerIf + " netns " +
                      lan->name());
        m_pClient->ip("addr add " + l.clientIp4 + "/24 broadcast " + l.broadcast4 + " dev " + l.clientIf);
        m_pClient->ip("addr add " + l.clientIp6 + "/64 dev " + l.clientIf + " nodad");
        m_pClient->ip("link set " + l.clientIf + " multicast on up");
        lan->ip("addr add " + l.peerIp4 + "/24 broadcast " + l.broadcast4 + " dev " + l.peerIf);
        lan->ip("addr add " + l.peerIp6 + "/64 dev " + l.peerIf + " nodad");
        lan->ip("link set " + l.peerIf + " multicast on up");
        lan->ip("route add 224.0.0.0/4 dev " + l.peerIf);
    }
    m_pClient->ip("route add 224.0.0.0/4 dev " + m_linkA.clientIf);
}

}  // namespace testsupport
