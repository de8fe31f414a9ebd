#include "discovery/DeviceDiscoveryServiceImpl.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <exception>
#include <memory>
#include <string>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/SearchQuery.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/AdapterQuery.h"
#include "transport/ITransfer.h"
#include "transport/TransferFactory.h"

namespace {

constexpr int kNotConfigured = -661;
constexpr int kQueryNotBuilt = -401;
constexpr int kNotParsed = -404;
constexpr int kAlreadyRunning = -11;
constexpr int kThreadNotStarted = -12;
// Pause of a pass whose readiness set is empty, so that the loop does not spin.
constexpr int kIdlePassMs = 200;

struct AddrInfoDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddrInfoList = std::unique_ptr<addrinfo, AddrInfoDeleter>;

AddrInfoList lookUp6(const char* host, const std::string& service, int flags) {
    addrinfo hints{};
    hints.ai_flags = flags;
    hints.ai_family = AF_INET6;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* result = nullptr;
    if (getaddrinfo(host, service.c_str(), &hints, &result) != 0) return AddrInfoList();
    return AddrInfoList(result);
}

bool bind4(SocketHandle handle, const std::string& address, unsigned short port) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1) return false;
    return ::bind(handle, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) == 0;
}

// Leaves the search group on a transfer that joined it. The results are not
// looked at: closing the socket right after drops the membership anyway.
void leaveGroup(ITransfer& transfer) {
    ISocket* socket = transfer.getSocket();
    if (socket == nullptr) return;
    const SocketHandle handle = socket->getHandle();
    if (transfer.getIPVersion() == 2) {
        AddrInfoList group =
            lookUp6(DeviceDiscoveryServiceImpl::kGroupAddress6,
                    std::to_string(DeviceDiscoveryServiceImpl::kGroupPort), AI_PASSIVE | AI_NUMERICHOST);
        if (!group) return;
        const auto* address = reinterpret_cast<const sockaddr_in6*>(group->ai_addr);
        ipv6_mreq request{};
        request.ipv6mr_multiaddr = address->sin6_addr;
        request.ipv6mr_interface = address->sin6_scope_id;
        setsockopt(handle, IPPROTO_IPV6, IPV6_DROP_MEMBERSHIP, &request, sizeof(request));
        return;
    }
    // The membership is found by the adapter's address, which the socket
    // still reports as its local address.
    ip_mreq request{};
    request.imr_multiaddr.s_addr = inet_addr(DeviceDiscoveryServiceImpl::kGroupAddress);
    request.imr_interface.s_addr = htonl(INADDR_ANY);
    InetAddr local;
    if (socket->getLocalAddr(local)) inet_pton(AF_INET, local.getIP().c_str(), &request.imr_interface);
    setsockopt(handle, IPPROTO_IP, IP_DROP_MEMBERSHIP, &request, sizeof(request));
}

}  // namespace

DeviceDiscoveryServiceImpl::DeviceDiscoveryServiceImpl()
    : m_pThread(makeSafePointer<GThread>(function<int>(&DeviceDiscoveryServiceImpl::runOnce, this),
                                         "DeviceDiscoveryServiceImpl")),
      m_pParser(makeSafePointer<SDKCommandParser>()),
      m_bSuppressDuplicates(false),
      m_nSendInterval(kDefaultSendInterval),
      m_bSent(false),
      m_nLastSend(0) {
    m_objGroup.setIP(kGroupAddress);
    m_objGroup.setPORT(kGroupPort);
    m_objGroup.setIPProtoVer(1);
    registerUDPTransfer();
}

DeviceDiscoveryServiceImpl::~DeviceDiscoveryServiceImpl() {
    // The worker calls back into this object; it ends before any member goes.
    stop();
}

void DeviceDiscoveryServiceImpl::setAdapters(const std::vector<std::string>& adapters) {
    m_vecAdapters = adapters;
}

void DeviceDiscoveryServiceImpl::setGroup(const InetAddr& group) {
    m_objGroup = group;
}

void DeviceDiscoveryServiceImpl::setSuppressDuplicates(bool on) {
    m_bSuppressDuplicates = on;
}

void DeviceDiscoveryServiceImpl::setSendInterval(int seconds) {
    m_nSendInterval = seconds;
}

void DeviceDiscoveryServiceImpl::setListener(SafePointer<IDeviceDiscoveryListener> listener) {
    // Copy assignment: an empty pointer throws "Assigned NULL <T>pointer".
    m_pListener = listener;
}

bool DeviceDiscoveryServiceImpl::isRunning() {
    return m_pThread->isRunning();
}

int DeviceDiscoveryServiceImpl::start() {
    if (m_pThread->isRunning()) return kAlreadyRunning;
    const int opened = openTransfers();
    if (opened != 0) return opened;
    // A new start asks at once, whenever the last query went out.
    m_bSent = false;
    if (!m_pThread->start()) return kThreadNotStarted;
    return 0;
}

void DeviceDiscoveryServiceImpl::stop() {
    m_pThread->stop();
    {
        OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
        closeTransfers(m_mapReadTransfers);
        closeTransfers(m_mapSendTransfers);
    }
    m_vecSummaries.clear();
}

std::vector<SocketHandle> DeviceDiscoveryServiceImpl::getReadSocketHandles() const {
    std::vector<SocketHandle> handles;
    for (const auto& entry : m_mapReadTransfers) handles.push_back(entry.first);
    return handles;
}

std::vector<SocketHandle> DeviceDiscoveryServiceImpl::getSendSocketHandles() const {
    std::vector<SocketHandle> handles;
    for (const auto& entry : m_mapSendTransfers) handles.push_back(entry.first);
    return handles;
}

int DeviceDiscoveryServiceImpl::openTransfers() {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    if (m_vecAdapters.empty() || (m_objGroup.getIP().empty() && m_objGroup.getPORT() == 0) ||
        m_pListener.isNull()) {
        return kNotConfigured;
    }
    const InetAddr sendAddress = m_objGroup;
    InetAddr readAddress = m_objGroup;
    readAddress.setPORT(static_cast<unsigned short>(m_objGroup.getPORT() + 1));

    for (const std::string& adapter : m_vecAdapters) {
        SafePointer<ITransfer> sender;
        SafePointer<ITransfer> reader;
        if (openTransfer(sendAddress, adapter, sender) != 0) continue;
        if (openTransfer(readAddress, adapter, reader) != 0) {
            // A failed adapter is skipped whole.
            sender->close();
            continue;
        }
        m_mapSendTransfers[sender->getSocket()->getHandle()] = sender;
        const SocketHandle readHandle = reader->getSocket()->getHandle();
        m_objReadSelect.addSocket(readHandle);
        m_mapReadTransfers[readHandle] = reader;
    }
    return 0;
}

int DeviceDiscoveryServiceImpl::openTransfer(const InetAddr& address, const std::string& adapter,
                                             SafePointer<ITransfer>& out) {
    try {
        ITransferFactory* factory = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
        if (factory == nullptr) return kTransferNoFactory;
        std::unique_ptr<ITransfer> created(factory->createTransfer(address.getIPProtoVer()));
        if (!created) return kTransferNoMemory;
        SafePointer<ITransfer> transfer = adoptSafePointer<ITransfer>(std::move(created));

        const int opened = transfer->open();
        if (opened != 0) return opened;
        transfer->setReuseAddr(true);
        const SocketHandle handle = transfer->getSocket()->getHandle();

        if (address.getIPProtoVer() == 2) {
            // Every adapter binds the wildcard address: reuse lets the port pair be shared.
            AddrInfoList local = lookUp6(nullptr, std::to_string(address.getPORT()), AI_PASSIVE);
            if (!local) return kTransferBindFailed;
            if (::bind(handle, local->ai_addr, local->ai_addrlen) != 0) return kTransferBindFailed;
        } else {
            std::vector<std::string> addresses;
            listAdapterAddresses(adapter, addresses);
            if (addresses.empty()) return kTransferNoLocalAddress;
            if (!bind4(handle, addresses.front(), address.getPORT())) {
                OLTrace(1, __FILE__, "DeviceDiscoveryServiceImpl::openTransfer bind() error iiiiiiiiiiii \n");
                return kTransferBindFailed;
            }
        }
        // The join takes its adapter from the address bound above.
        if (!transfer->joinMulticast(address)) return kTransferReuseFailed;
        transfer->setRecvBufferSize(kRecvBufferBytes);
        out = transfer;
        return 0;
    } catch (...) {
        return kTransferCreateFailed;
    }
}

void DeviceDiscoveryServiceImpl::closeTransfers(std::map<SocketHandle, SafePointer<ITransfer>>& transfers) {
    for (auto& entry : transfers) {
        m_objReadSelect.removeSocket(entry.first);
        leaveGroup(*entry.second);
        entry.second->close();
    }
    transfers.clear();
}

int DeviceDiscoveryServiceImpl::runOnce() {
    if (m_mapReadTransfers.empty()) return -1;

    const uint32_t now = getTickCount32();
    // Unsigned difference: the tick counter may wrap between two queries.
    if (!m_bSent || static_cast<int64_t>(static_cast<uint32_t>(now - m_nLastSend)) >=
                        static_cast<int64_t>(m_nSendInterval) * 1000) {
        sendQuery();
        m_bSent = true;
        m_nLastSend = getTickCount32();
    }

    if (m_objReadSelect.getTotal() == 0) {
        // Every read socket has failed; keep asking, but do not spin.
        sleepFor(OLTimeValue(0, kIdlePassMs * 1000));
        return 0;
    }

    const int count = m_objReadSelect.wait(kWaitMs);
    for (int i = 0; i < count; ++i) {
        int state = SocketReadSelect::kNoData;
        const SocketHandle handle = m_objReadSelect.getSocketState(i, &state);
        if (state == SocketReadSelect::kNoData) OLTrace(2, __FILE__, "socket have no data\n");
        if (state != SocketReadSelect::kReadable) continue;

        auto found = m_mapReadTransfers.find(handle);
        if (found == m_mapReadTransfers.end()) continue;

        SafePointer<CommandParam> param;
        const int received = receive(*found->second, param);
        if (received == kTransferRecvTimeout) continue;
        if (received != 0) {
            // Any failure but a time-out, a datagram that does not parse
            // included, takes the socket out of readiness: the adapter goes on
            // sending queries but is not heard again until the next start. The
            // entry stays in the read transfers, so the loop keeps running.
            m_objReadSelect.removeSocket(handle);
        }
        const int handled = handleCommand(param);
        OLTrace(3, __FILE__, "RecordTransferThread::run handleCommand, nRet = %d\n", handled);
    }
    return 0;
}

int DeviceDiscoveryServiceImpl::sendQuery() {
    CommandBuffer query;
    if (!buildSearchQuery(*m_pParser, kMulticastQueryCommand, 0, query)) return kQueryNotBuilt;
    for (auto& entry : m_mapSendTransfers) entry.second->send(&query, m_objGroup, kSendTimeoutMs);
    return 0;
}

int DeviceDiscoveryServiceImpl::receive(ITransfer& transfer, SafePointer<CommandParam>& param) {
    InetAddr from;
    const int received = transfer.recv(&m_objRecvBuffer, kRecvTimeoutMs, &from);
    if (received != 0) return received;
    try {
        if (!m_pParser->parseCommand(m_objRecvBuffer, param)) return kNotParsed;
    } catch (const std::exception&) {
        // Data from the network is never a reason to take the process down.
        param.reset();
        return kNotParsed;
    }
    return 0;
}

int DeviceDiscoveryServiceImpl::handleCommand(const SafePointer<CommandParam>& param) {
    if (param.isNull()) return kNotConfigured;
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr) return kNotConfigured;
    DeviceSummaryInfo summary;
    if (!extractDomain(summary, command->m_domains)) return kNotConfigured;

    if (m_bSuppressDuplicates) {
        // Full equality, DeviceTime included: a changed record is delivered
        // again and kept beside the old one.
        for (const DeviceSummaryInfo& known : m_vecSummaries) {
            if (known == summary) return 0;
        }
        m_pListener->onDeviceDiscovered(summary);
        m_vecSummaries.push_back(summary);
    } else {
        m_pListener->onDeviceDiscovered(summary);
    }
    return 0;
}
