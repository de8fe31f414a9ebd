#include "support/NetnsRig.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace testsupport {

namespace {

constexpr const char* kNetnsDir = "/run/netns";
constexpr const char* kPrefix = "dsrig";

// Names of the namespaces this process created and still owns. Kept in a fixed
// array as well, so that the signal handler can remove them without locking
// or allocating.
constexpr int kMaxOwned = 64;
char g_owned[kMaxOwned][64];
std::atomic<bool> g_ownedUsed[kMaxOwned];
std::mutex g_ownedLock;
std::once_flag g_handlersOnce;

void removeNamespaceFile(const char* name) {
    char path[4160];
    std::snprintf(path, sizeof(path), "%s/%s", kNetnsDir, name);
    umount2(path, MNT_DETACH);
    unlink(path);
}

void removeAllOwned() {
    for (int i = 0; i < kMaxOwned; ++i) {
        if (g_ownedUsed[i].exchange(false)) {
            removeNamespaceFile(g_owned[i]);
        }
    }
}

void onFatalSignal(int sig) {
    removeAllOwned();
    signal(sig, SIG_DFL);
    raise(sig);
}

void installHandlers() {
    std::call_once(g_handlersOnce, [] {
        std::atexit(removeAllOwned);
        for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
            struct sigaction sa {};
            sa.sa_handler = onFatalSignal;
            sigemptyset(&sa.sa_mask);
            sa.sa_flags = SA_RESETHAND;
            sigaction(sig, &sa, nullptr);
        }
    });
}

void own(const std::string& name) {
    std::lock_guard<std::mutex> lock(g_ownedLock);
    for (int i = 0; i < kMaxOwned; ++i) {
        if (!g_ownedUsed[i].load()) {
            std::snprintf(g_owned[i], sizeof(g_owned[i]), "%s", name.c_str());
            g_ownedUsed[i].store(true);
            return;
        }
    }
    throw std::runtime_error("too many test namespaces at once");
}

void disown(const std::string& name) {
    std::lock_guard<std::mutex> lock(g_ownedLock);
    for (int i = 0; i < kMaxOwned; ++i) {
        if (g_ownedUsed[i].load() && name == g_owned[i]) {
            g_ownedUsed[i].store(false);
            removeNamespaceFile(name.c_str());
            return;
        }
    }
}

// Removes namespaces left behind by test processes that no longer exist.
void removeStale() {
    DIR* dir = opendir(kNetnsDir);
    if (dir == nullptr) {
        return;
    }
    std::vector<std::string> stale;
    const size_t prefixLen = std::strlen(kPrefix);
    while (dirent* e = readdir(dir)) {
        if (std::strncmp(e->d_name, kPrefix, prefixLen) != 0) {
            continue;
        }
        const long pid = std::strtol(e->d_name + prefixLen, nullptr, 10);
        if (pid > 0 && kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) {
            stale.emplace_back(e->d_name);
        }
    }
    closedir(dir);
    for (const std::string& name : stale) {
        removeNamespaceFile(name.c_str());
    }
}

// Runs a shell command on the calling thread (so in its namespace); returns
// the exit status and the combined output.
int runCommand(const std::string& cmd, std::string* output) {
    FILE* pipe = popen((cmd + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        *output = std::string("popen: ") + std::strerror(errno);
        return -1;
    }
    char chunk[256];
    size_t n;
    while ((n = fread(chunk, 1, sizeof(chunk), pipe)) > 0) {
        output->append(chunk, n);
    }
    return pclose(pipe);
}

void enterNetns(int fd) {
    if (setns(fd, CLONE_NEWNET) != 0) {
        throw std::runtime_error(std::string("setns: ") + std::strerror(errno));
    }
}

int openNamedNetns(const std::string& name) {
    const std::string path = std::string(kNetnsDir) + "/" + name;
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        throw std::runtime_error("open " + path + ": " + std::strerror(errno));
    }
    return fd;
}

std::unique_ptr<Netns> makeNamedNetns(const std::string& name) {
    std::string out;
    own(name);
    if (runCommand("ip netns add " + name, &out) != 0) {
        disown(name);
        throw std::runtime_error("ip netns add " + name + ": " + out);
    }
    return std::make_unique<Netns>(name, openNamedNetns(name));
}

std::atomic<int> g_rigCounter{0};

}  // namespace

bool netnsRequired() {
    const char* ci = std::getenv("CI");
    return ci != nullptr && std::strcmp(ci, "true") == 0;
}

NetnsThread::NetnsThread(int nsFd, std::function<void()> fn)
    : m_pError(std::make_unique<std::exception_ptr>()) {
    std::exception_ptr* error = m_pError.get();
    m_thread = std::thread([nsFd, fn = std::move(fn), error] {
        try {
            enterNetns(nsFd);
            fn();
        } catch (...) {
            *error = std::current_exception();
        }
    });
}

NetnsThread::~NetnsThread() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void NetnsThread::join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    if (m_pError && *m_pError) {
        std::exception_ptr e = std::exchange(*m_pError, nullptr);
        std::rethrow_exception(e);
    }
}

Netns::~Netns() {
    if (m_nFd >= 0) {
        close(m_nFd);
    }
    if (!m_name.empty()) {
        disown(m_name);
    }
}

void Netns::run(const std::function<void()>& fn) const {
    NetnsThread t(m_nFd, fn);
    t.join();
}

NetnsThread Netns::spawn(std::function<void()> fn) const {
    return NetnsThread(m_nFd, std::move(fn));
}

void Netns::ip(const std::string& args) const {
    run([&] {
        std::string out;
        if (runCommand("ip " + args, &out) != 0) {
            throw std::runtime_error("ip " + args + " (in " +
                                     (m_name.empty() ? "private namespace" : m_name) + "): " + out);
        }
    });
}

void Netns::sysctl(const std::string& key, const std::string& value) const {
    run([&] {
        const std::string path = "/proc/sys/net/" + key;
        std::ofstream f(path);
        f << value;
        f.flush();
        if (!f) {
            throw std::runtime_error("cannot write " + path);
        }
    });
}

std::unique_ptr<Netns> makeLoopbackNetns(std::string* why) {
    try {
        int fd = -1;
        std::string error;
        std::thread t([&] {
            if (unshare(CLONE_NEWNET) != 0) {
                error = std::string("unshare(CLONE_NEWNET): ") + std::strerror(errno);
                return;
            }
            fd = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
            if (fd < 0) {
                error = std::string("open /proc/thread-self/ns/net: ") + std::strerror(errno);
            }
        });
        t.join();
        if (fd < 0) {
            throw std::runtime_error(error);
        }
        auto ns = std::make_unique<Netns>(std::string(), fd);
        ns->ip("link set lo up");
        ns->ip("route add 224.0.0.0/4 dev lo");
        return ns;
    } catch (const std::exception& e) {
        if (why != nullptr) {
            *why = e.what();
        }
        return nullptr;
    }
}

std::unique_ptr<NetnsRig> NetnsRig::create(std::string* why) {
    std::unique_ptr<NetnsRig> rig(new NetnsRig());
    try {
        if (geteuid() != 0) {
            throw std::runtime_error("not running as root");
        }
        rig->build();
        return rig;
    } catch (const std::exception& e) {
        if (why != nullptr) {
            *why = e.what();
        }
        return nullptr;
    }
}

NetnsRig::~NetnsRig() = default;

void NetnsRig::build() {
    installHandlers();
    removeStale();
    mkdir(kNetnsDir, 0755);

    const std::string base =
        std::string(kPrefix) + std::to_string(getpid()) + "x" + std::to_string(g_rigCounter++);
    m_pClient = makeNamedNetns(base + "c");
    m_pLanA = makeNamedNetns(base + "a");
    m_pLanB = makeNamedNetns(base + "b");

    m_linkA = {"ethA", "ethC", "198.51.100.1", "198.51.100.2", "fd00:a::1", "fd00:a::2", "198.51.100.255"};
    m_linkB = {"ethB", "ethC", "203.0.113.1", "203.0.113.2", "fd00:b::1", "fd00:b::2", "203.0.113.255"};

    for (const Netns* ns : {m_pClient.get(), m_pLanA.get(), m_pLanB.get()}) {
        ns->sysctl("ipv6/conf/all/accept_dad", "0");
        ns->sysctl("ipv6/conf/default/accept_dad", "0");
        ns->ip("link set lo up");
    }
    struct Side {
        const Netns* lan;
        const RigLan* link;
    };
    for (const Side& s : {Side{m_pLanA.get(), &m_linkA}, Side{m_pLanB.get(), &m_linkB}}) {
        const RigLan& l = *s.link;
        m_pClient->ip("link add " + l.clientIf + " type veth peer name " + l.peerIf + " netns " +
                      s.lan->name());
        m_pClient->ip("addr add " + l.clientIp4 + "/24 broadcast " + l.broadcast4 + " dev " + l.clientIf);
        m_pClient->ip("addr add " + l.clientIp6 + "/64 dev " + l.clientIf + " nodad");
        m_pClient->ip("link set " + l.clientIf + " multicast on up");
        s.lan->ip("addr add " + l.peerIp4 + "/24 broadcast " + l.broadcast4 + " dev " + l.peerIf);
        s.lan->ip("addr add " + l.peerIp6 + "/64 dev " + l.peerIf + " nodad");
        s.lan->ip("link set " + l.peerIf + " multicast on up");
        s.lan->ip("route add 224.0.0.0/4 dev " + l.peerIf);
    }
    m_pClient->ip("route add 224.0.0.0/4 dev " + m_linkA.clientIf);
}

}  // namespace testsupport
