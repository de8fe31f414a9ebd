#include "discovery/DeviceDiscoveryServiceImpl.h"

#include <exception>
#include <memory>
#include <string>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/SearchQuery.h"
#include "discovery/TransferOpening.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/ITransfer.h"
#include "transport/TransferFactory.h"

namespace {

// Pause of a pass whose readiness set is empty, so that the loop does not spin.
constexpr int kIdlePassMs = 200;

}  // namespace

DeviceDiscoveryServiceImpl::DeviceDiscoveryServiceImpl()
    : m_pThread(makeSafePointer<GThread>(function<int>(&DeviceDiscoveryServiceImpl::runOnce, this),
                                         "DeviceDiscoveryServiceImpl")),
      m_pParser(makeSafePointer<SDKCommandParser>()),
      m_bSuppressDuplicates(false),
      m_nSendInterval(kDefaultSendInterval),
      m_bSent(false),
      m_nLastSend(0) {
    m_objGroup.setIP(kSearchGroup);
    m_objGroup.setPORT(kQueryPort);
    m_objGroup.setIPProtoVer(1);
    m_objReadSelect.setWakeUp(&m_objWakeUp);
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

void DeviceDiscoveryServiceImpl::setRememberedLimit(size_t records) {
    m_objDelivered.setLimit(records);
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
    m_objWakeUp.clear();
    if (!m_pThread->start()) return kThreadNotStarted;
    return 0;
}

void DeviceDiscoveryServiceImpl::requestStop() {
    m_pThread->requestStop();
    m_objWakeUp.raise();
}

bool DeviceDiscoveryServiceImpl::stopRequested() const {
    return m_pThread->getInfo()->state != GThreadInfo::kStateRun;
}

void DeviceDiscoveryServiceImpl::stop() {
    requestStop();
    m_pThread->stop();
    {
        OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
        closeTransfers(m_mapReadTransfers);
        closeTransfers(m_mapSendTransfers);
    }
    m_objDelivered.clear();
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
        if (openTransfer(sendAddress, adapter, kIdleRecvBufferBytes, sender) != 0) continue;
        if (openTransfer(readAddress, adapter, kBurstRecvBufferBytes, reader) != 0) {
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
                                             int recvBufferBytes, SafePointer<ITransfer>& out) {
    try {
        ITransferFactory* factory = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
        if (factory == nullptr) return kTransferNoFactory;
        const int opened = openGroupTransfer(*factory, address, adapter, m_objWakeUp, recvBufferBytes, out);
        if (opened == kTransferBindFailed && address.getIPProtoVer() != 2) {
            OLTrace(1, __FILE__, "DeviceDiscoveryServiceImpl::openTransfer bind() error iiiiiiiiiiii \n");
        }
        return opened;
    } catch (...) {
        return kTransferCreateFailed;
    }
}

void DeviceDiscoveryServiceImpl::closeTransfers(std::map<SocketHandle, SafePointer<ITransfer>>& transfers) {
    // The group left is always the search group, whatever group was set.
    InetAddr group;
    for (auto& entry : transfers) {
        m_objReadSelect.removeSocket(entry.first);
        const bool v6 = entry.second->getIPVersion() == 2;
        group.setIP(v6 ? kSearchGroup6 : kSearchGroup);
        group.setPORT(kQueryPort);
        group.setIPProtoVer(v6 ? 2 : 1);
        entry.second->leaveMulticast(group);
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
        // Every read transfer has failed; keep asking, but do not spin.
        m_objWakeUp.sleepFor(kIdlePassMs);
        return 0;
    }

    const int count = m_objReadSelect.wait(kWaitMs);
    for (int i = 0; i < count && !stopRequested(); ++i) {
        int state = SocketReadSelect::kNoData;
        const SocketHandle handle = m_objReadSelect.getSocketState(i, &state);
        if (state == SocketReadSelect::kNoData) OLTrace(2, __FILE__, "socket have no data\n");
        if (state != SocketReadSelect::kReadable) continue;

        auto found = m_mapReadTransfers.find(handle);
        if (found == m_mapReadTransfers.end()) continue;

        // The answers queued behind the first are read without waiting for
        // readiness again, up to kDrainLimit before the next adapter's turn.
        for (int taken = 0; taken < kDrainLimit && !stopRequested(); ++taken) {
            SafePointer<CommandParam> param;
            const int received = receive(*found->second, taken == 0 ? kRecvTimeoutMs : 0, param);
            if (received == kTransferRecvTimeout) break;
            if (received != 0) {
                // Any failure but a time-out, a datagram that does not parse
                // included, takes the transfer out of readiness: the adapter
                // goes on sending queries but is not heard again until the
                // next start. The entry stays in the read transfers, so the
                // loop keeps running.
                m_objReadSelect.removeSocket(handle);
            }
            const int handled = handleCommand(param);
            OLTrace(3, __FILE__, "RecordTransferThread::run handleCommand, nRet = %d\n", handled);
            if (received != 0) break;
        }
    }
    return 0;
}

int DeviceDiscoveryServiceImpl::sendQuery() {
    CommandBuffer query;
    if (!buildSearchQuery(*m_pParser, kMulticastQueryCommand, 0, query)) return kQueryNotBuilt;
    for (auto& entry : m_mapSendTransfers) entry.second->send(&query, m_objGroup, kSendTimeoutMs);
    return 0;
}

int DeviceDiscoveryServiceImpl::receive(ITransfer& transfer, int timeoutMs,
                                        SafePointer<CommandParam>& param) {
    InetAddr from;
    const int received = transfer.recv(&m_objRecvBuffer, timeoutMs, &from);
    if (received != 0) return received;
    try {
        if (!m_pParser->parseCommand(m_objRecvBuffer, param)) return kAnswerNotParsed;
    } catch (const std::exception&) {
        // Data from the network is never a reason to take the process down.
        param.reset();
        return kAnswerNotParsed;
    }
    return 0;
}

int DeviceDiscoveryServiceImpl::handleCommand(const SafePointer<CommandParam>& param) {
    if (param.isNull()) return kNotConfigured;
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr) return kNotConfigured;
    DeviceSummaryInfo summary;
    if (!extractDomain(summary, command->m_domains)) return kNotConfigured;

    deliver(summary);
    return 0;
}

void DeviceDiscoveryServiceImpl::deliver(const DeviceSummaryInfo& summary) {
    if (!m_bSuppressDuplicates) {
        m_pListener->onDeviceDiscovered(summary);
        return;
    }
    // Full equality, DeviceTime included: a changed record is delivered
    // again and kept beside the old one.
    if (m_objDelivered.holdsEqual(summary)) return;
    m_pListener->onDeviceDiscovered(summary);
    m_objDelivered.remember(summary);
}
