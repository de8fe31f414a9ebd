#include "discovery/DeviceMulticastRecvThread.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "devsearch/DeviceSearchListener.h"
#include "discovery/DiscoveryCommandReceiver.h"
#include "domain/records/DeviceAccessParam.h"
#include "domain/records/HostNetwork.h"
#include "transport/AdapterQuery.h"
#include "transport/ITransfer.h"
#include "transport/UDPTransfer.h"

namespace {

// Binds an IPv6 socket to the wildcard address and `port`.
bool bindWildcard6(SocketHandle handle, unsigned short port) {
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE;
    hints.ai_family = AF_INET6;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* result = nullptr;
    const std::string service = std::to_string(port);
    if (getaddrinfo(nullptr, service.c_str(), &hints, &result) != 0 || result == nullptr) return false;
    bool bound = ::bind(handle, result->ai_addr, result->ai_addrlen) == 0;
    freeaddrinfo(result);
    return bound;
}

// Leaves `group` on a socket that joined it; results are not looked at, since
// the socket is closed right after.
void leaveGroup(ITransfer& transfer, const InetAddr& group) {
    ISocket* socket = transfer.getSocket();
    if (socket == nullptr) return;
    const SocketHandle handle = socket->getHandle();
    if (transfer.getIPVersion() == 2) {
        addrinfo hints{};
        hints.ai_flags = AI_NUMERICHOST;
        hints.ai_family = AF_INET6;
        hints.ai_socktype = SOCK_DGRAM;
        addrinfo* result = nullptr;
        if (getaddrinfo(group.getIP().c_str(), nullptr, &hints, &result) == 0 && result != nullptr) {
            const auto* address = reinterpret_cast<const sockaddr_in6*>(result->ai_addr);
            ipv6_mreq request{};
            request.ipv6mr_multiaddr = address->sin6_addr;
            request.ipv6mr_interface = address->sin6_scope_id;
            setsockopt(handle, IPPROTO_IPV6, IPV6_DROP_MEMBERSHIP, &request, sizeof(request));
            freeaddrinfo(result);
        }
        return;
    }
    ip_mreqn request{};
    request.imr_multiaddr.s_addr = inet_addr(group.getIP().c_str());
    InetAddr local;
    if (socket->getLocalAddr(local)) request.imr_address.s_addr = inet_addr(local.getIP().c_str());
    setsockopt(handle, IPPROTO_IP, IP_DROP_MEMBERSHIP, &request, sizeof(request));
}

// Field-by-field equality of two summaries, the device time included: a device
// that repeats its announcement with a new time counts as changed.
bool sameSummary(const DeviceSummaryInfo& a, const DeviceSummaryInfo& b) {
    return a.getDeviceId() == b.getDeviceId() && a.getDeviceType() == b.getDeviceType() &&
           a.getDeviceName() == b.getDeviceName() && a.getDeviceIP() == b.getDeviceIP() &&
           a.getDevicePort() == b.getDevicePort() && a.getMACAddr() == b.getMACAddr() &&
           a.getManufacturerName() == b.getManufacturerName() &&
           a.getManufacturerId() == b.getManufacturerId() && a.getProductModel() == b.getProductModel() &&
           a.getSN() == b.getSN() && a.getSoftWareInfo() == b.getSoftWareInfo() &&
           a.getHardWareInfo() == b.getHardWareInfo() && a.getUpdatePort() == b.getUpdatePort() &&
           a.getHttpPort() == b.getHttpPort() && a.getDeviceTime() == b.getDeviceTime();
}

}  // namespace

DeviceMulticastRecvThread::DeviceMulticastRecvThread()
    : OLThread("DeviceMulticastRecvThread"),
      m_bStop(false),
      m_pListener(nullptr),
      m_bSuppressDuplicates(false) {
    m_objGroup.setIP(kGroupAddress);
    m_objGroup.setPORT(kGroupPort);
    m_objGroup.setIPProtoVer(1);
}

DeviceMulticastRecvThread::~DeviceMulticastRecvThread() {
    stop();
    closeAllTransfers();
}

void DeviceMulticastRecvThread::setAdapters(const std::vector<std::string>& adapters) {
    m_vecAdapters = adapters;
}

void DeviceMulticastRecvThread::setSuppressDuplicates(bool on) {
    m_bSuppressDuplicates = on;
}

void DeviceMulticastRecvThread::setListener(IDeviceDiscoveryListener* listener) {
    OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
    m_pListener = listener;
}

int DeviceMulticastRecvThread::start() {
    if (isRunning()) return -11;

    bool hasListener;
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        hasListener = m_pListener != nullptr;
    }
    if (m_vecAdapters.empty() || (m_objGroup.getIP().empty() && m_objGroup.getPORT() == 0) || !hasListener) {
        return -661;
    }

    // Sockets left by a start that failed half-way are not read twice.
    closeAllTransfers();

    for (const std::string& adapter : m_vecAdapters) {
        SafePointer<ITransfer> transfer;
        int result = openTransfer(adapter, transfer);
        if (result != 0) return result;
        const SocketHandle handle = transfer->getSocket()->getHandle();
        m_objReadSelect.addSocket(handle);
        m_mapTransfers[handle] = transfer;
    }

    m_vecSummaries.clear();
    m_bStop = false;
    if (OLThread::start() < 0) {
        m_bStop = true;
        return -12;
    }
    return 0;
}

void DeviceMulticastRecvThread::stop() {
    m_bStop = true;
    OLThread::stop();
    closeAllTransfers();
    m_vecSummaries.clear();
}

std::vector<SocketHandle> DeviceMulticastRecvThread::getSocketHandles() const {
    std::vector<SocketHandle> handles;
    for (const auto& entry : m_mapTransfers) handles.push_back(entry.first);
    return handles;
}

int DeviceMulticastRecvThread::openTransfer(const std::string& adapter, SafePointer<ITransfer>& out) {
    try {
        const int version = m_objGroup.getIPProtoVer();
        ITransfer* raw = new UDPTransfer(version);
        SafePointer<ITransfer> transfer(raw);
        int result = transfer->open();
        if (result != 0) return result;
        transfer->setReuseAddr(true);
        ISocket* socket = transfer->getSocket();
        const SocketHandle handle = socket->getHandle();

        if (version == 1) {
            std::vector<std::string> addresses;
            listAdapterAddresses(adapter, addresses);
            if (addresses.empty()) return -214;
            if (!socket->bind(addresses.front().c_str(), m_objGroup.getPORT())) {
                std::printf("DeviceDiscoveryServiceImpl::openTransfer bind() error iiiiiiiiiiii \n");
                return -203;
            }
        } else if (version == 2) {
            if (!bindWildcard6(handle, m_objGroup.getPORT())) return -203;
        }

        // The join takes its interface from the bound address.
        if (!transfer->joinMulticast(m_objGroup)) return -215;
        transfer->setRecvBufferSize(kRecvBufferBytes);
        out = transfer;
        return 0;
    } catch (...) {
        return -202;
    }
}

void DeviceMulticastRecvThread::closeTransfer(SocketHandle handle, SafePointer<ITransfer>& transfer) {
    m_objReadSelect.removeSocket(handle);
    if (transfer.isNull()) return;
    leaveGroup(*transfer, m_objGroup);
    transfer->close();
}

void DeviceMulticastRecvThread::closeAllTransfers() {
    for (auto& entry : m_mapTransfers) closeTransfer(entry.first, entry.second);
    m_mapTransfers.clear();
}

int DeviceMulticastRecvThread::run() {
    notifyStarted();
    if (m_bStop) return 0;

    while (true) {
        if (m_mapTransfers.empty()) return 0;

        const int count = m_objReadSelect.wait(kWaitMs);
        std::vector<SocketHandle> failed;
        for (int i = 0; i < count; ++i) {
            int state = 0;
            const SocketHandle handle = m_objReadSelect.getSocketState(i, &state);
            if (state == 0) std::printf("socket have no data\n");
            if (state == 1) {
                // Closed or failed: the readiness set has dropped it already.
                failed.push_back(handle);
                continue;
            }
            if (state != 2) continue;

            auto found = m_mapTransfers.find(handle);
            if (found == m_mapTransfers.end()) continue;

            int result;
            DeviceAccessParam access;
            DeviceSummaryInfo summary;
            HostNetwork network;
            try {
                DiscoveryCommandReceiver receiver;
                result = receiver.receive(found->second, access, summary, network);
            } catch (const std::exception&) {
                result = -2;
            }
            if (result == -213) continue;
            if (result != 0) {
                // A datagram that does not decode ends reception on this adapter.
                m_objReadSelect.removeSocket(handle);
                failed.push_back(handle);
                continue;
            }
            std::printf("DeviceMulticastRecvThread::run handleCommand, nRet = %d\n", deliver(summary));
        }
        // Closed only after the sweep, so that no handle is reused while the
        // readiness set still names it. When every adapter has failed the map
        // is empty and the thread ends instead of spinning on an empty set.
        for (SocketHandle handle : failed) {
            auto found = m_mapTransfers.find(handle);
            if (found == m_mapTransfers.end()) continue;
            closeTransfer(found->first, found->second);
            m_mapTransfers.erase(found);
        }

        if (m_bStop) return 0;
    }
}

int DeviceMulticastRecvThread::deliver(const DeviceSummaryInfo& summary) {
    if (m_bSuppressDuplicates) {
        for (auto it = m_vecSummaries.begin(); it != m_vecSummaries.end(); ++it) {
            if (it->getDeviceId() != summary.getDeviceId()) continue;
            if (sameSummary(*it, summary)) return 0;
            m_vecSummaries.erase(it);
            break;
        }
    }
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        if (m_pListener != nullptr) m_pListener->onDeviceDiscovered(summary);
    }
    if (m_bSuppressDuplicates) m_vecSummaries.push_back(summary);
    return 0;
}
