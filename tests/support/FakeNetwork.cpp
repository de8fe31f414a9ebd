#include "support/FakeNetwork.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <deque>
#include <stdexcept>

#include "transport/Socket.h"
#include "transport/UDPTransfer.h"
#include "transport/WakeUp.h"

namespace testsupport {

namespace {

bool isGroup(const std::string& ip) {
    if (ip.rfind("ff", 0) == 0) return true;
    const int first = std::atoi(ip.c_str());
    return first >= 224 && first <= 239;
}

bool isWildcard(const std::string& ip) {
    return ip.empty() || ip == "0.0.0.0" || ip == "::";
}

}  // namespace

// Its state is guarded by the network's lock.
class FakeTransfer : public ITransfer {
  public:
    FakeTransfer(FakeNetwork& network, int ipVersion) : m_network(network) {
        m_nFamily = ipVersion;
        m_nKind = 1;
    }
    ~FakeTransfer() override { FakeTransfer::close(); }

    int open() override {
        FakeTransfer::close();
        if (m_network.takeFailure(FakeStep::Throw, "") != 0)
            throw std::runtime_error("fake transfer refuses");
        if (const int code = m_network.takeFailure(FakeStep::Open, "")) return code;
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) {
            return kTransferCreateFailed;
        }
        auto socket = std::make_unique<Socket>(m_nFamily == 2 ? 2 : 1, 2);
        socket->setHandle(ends[0]);
        m_nWriteEnd = ends[1];
        m_pSocket = socket.release();
        Guard guard(m_network.m_lock);
        m_network.m_transfers.insert(this);
        return 0;
    }

    int close() override {
        if (m_pSocket == nullptr) return 0;
        {
            Guard guard(m_network.m_lock);
            m_network.m_transfers.erase(this);
            ::close(m_nWriteEnd);
            m_nWriteEnd = -1;
            m_queue.clear();
            m_groups.clear();
            m_strLocalIp.clear();
            m_nLocalPort = 0;
        }
        return ITransfer::close();
    }

    int setReuseAddr(bool) override { return m_pSocket != nullptr ? 0 : kTransferNotOpen; }

    int bindAddr(const InetAddr& local) override {
        if (m_pSocket == nullptr) return kTransferNotOpen;
        if (const int code = m_network.takeFailure(FakeStep::Bind, local.getIP())) return code;
        Guard guard(m_network.m_lock);
        m_strLocalIp = local.getIP();
        m_nLocalPort = local.getPORT();
        return 0;
    }

    bool getLocalAddr(InetAddr& out) override {
        if (m_pSocket == nullptr) return false;
        Guard guard(m_network.m_lock);
        out.setIP(m_strLocalIp);
        out.setPORT(m_nLocalPort);
        out.setIPProtoVer(getIPVersion());
        return true;
    }

    bool joinMulticast(const InetAddr& group) override {
        if (m_pSocket == nullptr || m_network.takeFailure(FakeStep::Join, localIp()) != 0) return false;
        Guard guard(m_network.m_lock);
        m_groups.insert(group.getIP());
        return true;
    }

    bool leaveMulticast(const InetAddr& group) override {
        Guard guard(m_network.m_lock);
        return m_groups.erase(group.getIP()) == 1;
    }

    bool setRecvBufferSize(int) override { return m_pSocket != nullptr; }

    int send(CommandBuffer* buffer, const InetAddr& to, int) override {
        if (m_pSocket == nullptr) return kTransferNotOpen;
        if (buffer == nullptr || buffer->getLength() == 0) return kTransferSendFailed;
        if (const int error = m_network.takeFailure(FakeStep::Send, to.getIP())) {
            errno = error;
            return kTransferSendFailed;
        }
        FakeDatagram d;
        {
            // The first send of an unbound transfer gives it a port.
            Guard guard(m_network.m_lock);
            if (m_nLocalPort == 0) m_nLocalPort = m_network.m_nNextPort++;
            if (m_strLocalIp.empty()) m_strLocalIp = getIPVersion() == 2 ? "::" : "0.0.0.0";
            d = {m_strLocalIp, m_nLocalPort, to.getIP(), to.getPORT(),
                 Bytes(buffer->getCursor(), buffer->getCursor() + buffer->getLength())};
        }
        m_network.recordSend(d);
        return 0;
    }

    int recv(CommandBuffer* buffer, int timeoutMs, InetAddr* from) override {
        if (m_pSocket == nullptr) return kTransferNotOpen;
        if (buffer == nullptr || !buffer->alloc(UDPTransfer::kMaxDatagram)) return kTransferNoMemory;
        // As the real socket: no time given, no wait for readiness.
        pollfd p[2] = {{m_pSocket->getHandle(), POLLIN, 0},
                       {m_pWakeUp != nullptr ? m_pWakeUp->handle() : -1, POLLIN, 0}};
        char token;
        if (timeoutMs != 0 && (::poll(p, 2, timeoutMs) <= 0 || p[0].revents == 0))
            return kTransferRecvTimeout;
        if (::recv(p[0].fd, &token, 1, MSG_DONTWAIT) != 1) return kTransferRecvTimeout;
        FakeDatagram d;
        {
            Guard guard(m_network.m_lock);
            if (m_queue.empty()) return kTransferRecvTimeout;
            d = std::move(m_queue.front());
            m_queue.pop_front();
        }
        if (d.failure != 0) return d.failure;
        if (d.bytes.size() > static_cast<size_t>(UDPTransfer::kMaxDatagram)) return kTransferRecvFailed;
        if (!d.bytes.empty()) buffer->assign(d.bytes.data(), static_cast<unsigned>(d.bytes.size()));
        m_objPeer.setIP(d.fromIp);
        m_objPeer.setPORT(d.fromPort);
        m_objPeer.setIPProtoVer(getIPVersion());
        if (from != nullptr) *from = m_objPeer;
        return 0;
    }

    int reservedA(int, int) override { return 0; }
    int reservedB(int) override { return 0; }
    int reservedC(int) override { return 0; }
    int reservedD(int, int) override { return 0; }
    InetAddr getPeerAddr() override { return m_objPeer; }

    // The rest is called by the network under its lock.
    bool reaches(const FakeDatagram& d) const {
        if (d.toPort != m_nLocalPort) return false;
        if (isGroup(d.toIp)) return m_groups.count(d.toIp) == 1 && (d.via.empty() || d.via == m_strLocalIp);
        return m_strLocalIp == d.toIp || (isWildcard(m_strLocalIp) && !isGroup(d.toIp));
    }
    bool sentFrom(const std::string& ip, unsigned short port) const {
        return m_strLocalIp == ip && m_nLocalPort == port;
    }
    void enqueue(const FakeDatagram& d) {
        m_queue.push_back(d);
        const char token = 1;
        [[maybe_unused]] const ssize_t n = ::write(m_nWriteEnd, &token, 1);
    }

  private:
    using Guard = std::lock_guard<std::mutex>;
    std::string localIp() {
        Guard guard(m_network.m_lock);
        return m_strLocalIp;
    }

    FakeNetwork& m_network;
    std::deque<FakeDatagram> m_queue;
    int m_nWriteEnd = -1;
    std::string m_strLocalIp;
    unsigned short m_nLocalPort = 0;
    std::set<std::string> m_groups;
    InetAddr m_objPeer;
};

ITransfer* FakeNetwork::createTransfer(int ipVersion) {
    if (takeFailure(FakeStep::Create, "") != 0) return nullptr;
    return new FakeTransfer(*this, ipVersion);
}

FakeNetwork::FakeNetwork(std::vector<AdapterEntry> adapters) {
    // The datagram factory is registered first, so that an engine made later
    // does not register it over this one.
    m_pPrevious = registerUDPTransfer();
    TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, this);
    setAdapterSource([adapters] { return adapters; });
}

FakeNetwork::~FakeNetwork() {
    TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, m_pPrevious);
    setAdapterSource({});
}

int FakeNetwork::deliver(const FakeDatagram& d) {
    std::lock_guard<std::mutex> guard(m_lock);
    int reached = 0;
    for (FakeTransfer* t : m_transfers) {
        if (!t->reaches(d)) continue;
        t->enqueue(d);
        ++reached;
    }
    return reached;
}

int FakeNetwork::reply(const FakeDatagram& query, const std::string& fromIp, const Bytes& bytes) {
    std::lock_guard<std::mutex> guard(m_lock);
    for (FakeTransfer* t : m_transfers) {
        if (!t->sentFrom(query.fromIp, query.fromPort)) continue;
        t->enqueue({fromIp, query.toPort, query.fromIp, query.fromPort, bytes});
        return 1;
    }
    return 0;
}

std::vector<FakeDatagram> FakeNetwork::waitSent(size_t count) {
    std::unique_lock<std::mutex> guard(m_lock);
    m_sentSignal.wait_for(guard, std::chrono::seconds(5), [&] { return m_sent.size() >= count; });
    return m_sent;
}

int FakeNetwork::takeFailure(FakeStep step, const std::string& address) {
    std::lock_guard<std::mutex> guard(m_lock);
    for (auto it = m_failures.begin(); it != m_failures.end(); ++it) {
        if (it->step != step || (!it->address.empty() && it->address != address)) continue;
        const int code = it->code;
        m_failures.erase(it);
        return code;
    }
    return 0;
}

void FakeNetwork::recordSend(const FakeDatagram& d) {
    std::function<void(const FakeDatagram&)> responder;
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_sent.push_back(d);
        m_sent.back().at = std::chrono::steady_clock::now();
        responder = m_responder;
    }
    m_sentSignal.notify_all();
    if (responder) responder(d);
}

}  // namespace testsupport
