#include "discovery/DeviceMulticastRecvThread.h"

#include <cstdio>
#include <exception>
#include <string>

#include "devsearch/DeviceSearchListener.h"
#include "discovery/DiscoveryCommandReceiver.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/TransferOpening.h"
#include "domain/records/DeviceAccessParam.h"
#include "domain/records/HostNetwork.h"
#include "transport/ITransfer.h"
#include "transport/TransferFactory.h"

DeviceMulticastRecvThread::DeviceMulticastRecvThread()
    : OLThread("DeviceMulticastRecvThread"),
      m_bStop(false),
      m_pListener(nullptr),
      m_bSuppressDuplicates(false) {
    m_objGroup.setIP(kSearchGroup);
    m_objGroup.setPORT(kAnnouncePort);
    m_objGroup.setIPProtoVer(1);
    m_objReadSelect.setWakeUp(&m_objWakeUp);
    registerUDPTransfer();
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

void DeviceMulticastRecvThread::setRememberedLimit(size_t devices) {
    m_objDelivered.setLimit(devices);
}

void DeviceMulticastRecvThread::setListener(IDeviceDiscoveryListener* listener) {
    OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
    m_pListener = listener;
}

int DeviceMulticastRecvThread::start() {
    if (isRunning()) return kAlreadyRunning;

    bool hasListener;
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        hasListener = m_pListener != nullptr;
    }
    if (m_vecAdapters.empty() || (m_objGroup.getIP().empty() && m_objGroup.getPORT() == 0) || !hasListener) {
        return kNotConfigured;
    }

    // Transfers left by a start that failed half-way are not read twice.
    closeAllTransfers();

    for (const std::string& adapter : m_vecAdapters) {
        SafePointer<ITransfer> transfer;
        const int result = openTransfer(adapter, transfer);
        if (result != 0) return result;
        const SocketHandle handle = transfer->getSocket()->getHandle();
        m_objReadSelect.addSocket(handle);
        m_mapTransfers[handle] = transfer;
        m_nTransfers = m_mapTransfers.size();
    }

    m_objDelivered.clear();
    m_bStop = false;
    m_objWakeUp.clear();
    if (OLThread::start() < 0) {
        m_bStop = true;
        return kThreadNotStarted;
    }
    return 0;
}

void DeviceMulticastRecvThread::requestStop() {
    m_bStop = true;
    m_objWakeUp.raise();
}

void DeviceMulticastRecvThread::stop() {
    requestStop();
    OLThread::stop();
    closeAllTransfers();
    m_objDelivered.clear();
}

int DeviceMulticastRecvThread::openTransfer(const std::string& adapter, SafePointer<ITransfer>& out) {
    try {
        ITransferFactory* factory = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
        if (factory == nullptr) return kDiscoveryNoMemory;
        const int opened =
            openGroupTransfer(*factory, m_objGroup, adapter, m_objWakeUp, kBurstRecvBufferBytes, out);
        if (opened == kTransferBindFailed && m_objGroup.getIPProtoVer() == 1) {
            std::printf("DeviceDiscoveryServiceImpl::openTransfer bind() error iiiiiiiiiiii \n");
        }
        return opened;
    } catch (...) {
        return kTransferCreateFailed;
    }
}

void DeviceMulticastRecvThread::closeTransfer(SocketHandle handle, SafePointer<ITransfer>& transfer) {
    m_objReadSelect.removeSocket(handle);
    if (transfer.isNull()) return;
    transfer->leaveMulticast(m_objGroup);
    transfer->close();
}

void DeviceMulticastRecvThread::closeAllTransfers() {
    for (auto& entry : m_mapTransfers) closeTransfer(entry.first, entry.second);
    m_mapTransfers.clear();
    m_nTransfers = 0;
}

int DeviceMulticastRecvThread::run() {
    notifyStarted();
    if (m_bStop) return 0;

    while (true) {
        if (m_mapTransfers.empty()) return 0;

        const int count = m_objReadSelect.wait(kWaitMs);
        std::vector<SocketHandle> failed;
        for (int i = 0; i < count && !m_bStop; ++i) {
            int state = SocketReadSelect::kNoData;
            const SocketHandle handle = m_objReadSelect.getSocketState(i, &state);
            if (state == SocketReadSelect::kNoData) std::printf("socket have no data\n");
            if (state == SocketReadSelect::kClosed) {
                // Closed or failed: the readiness set has dropped it already.
                failed.push_back(handle);
                continue;
            }
            if (state != SocketReadSelect::kReadable) continue;

            auto found = m_mapTransfers.find(handle);
            if (found == m_mapTransfers.end()) continue;

            if (drain(found->second) != 0) {
                // A datagram that does not decode ends reception on this adapter.
                m_objReadSelect.removeSocket(handle);
                failed.push_back(handle);
            }
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
        m_nTransfers = m_mapTransfers.size();

        if (m_bStop) return 0;
    }
}

int DeviceMulticastRecvThread::drain(const SafePointer<ITransfer>& transfer) {
    DiscoveryCommandReceiver receiver;
    for (int taken = 0; taken < kDrainLimit && !m_bStop; ++taken) {
        int result;
        DeviceAccessParam access;
        DeviceSummaryInfo summary;
        HostNetwork network;
        try {
            result = receiver.receive(transfer, access, summary, network);
        } catch (const std::exception&) {
            result = kDiscoveryNoMemory;
        }
        if (result == kTransferRecvTimeout) return 0;
        if (result != 0) return result;
        std::printf("DeviceMulticastRecvThread::run handleCommand, nRet = %d\n", deliver(summary));
        // The rest of a burst is read without waiting for readiness again.
        receiver.setTimeout(0);
    }
    return 0;
}

int DeviceMulticastRecvThread::deliver(const DeviceSummaryInfo& summary) {
    auto slot = m_objDelivered.lookup(summary.getDeviceId());
    if (m_bSuppressDuplicates) {
        // Every field, the device time included: a device that repeats its
        // announcement with a new time counts as changed, and its new record
        // takes the place of the old.
        const DeviceSummaryInfo* known = m_objDelivered.at(slot);
        if (known != nullptr && *known == summary) return 0;
    }
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        if (m_pListener != nullptr) m_pListener->onDeviceDiscovered(summary);
    }
    if (m_bSuppressDuplicates) m_objDelivered.store(slot, summary);
    return 0;
}
