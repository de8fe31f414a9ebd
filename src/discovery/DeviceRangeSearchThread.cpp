#include "discovery/DeviceRangeSearchThread.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>
#include <exception>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/AddressText.h"
#include "discovery/RangeScan.h"
#include "discovery/SearchQuery.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/Version.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/CommandBuffer.h"
#include "transport/ITransfer.h"
#include "transport/SocketReadSelect.h"
#include "transport/TransferFactory.h"

namespace {

constexpr int kSendTimeoutMs = 3000;
constexpr uint32_t kBroadcastAll = 0xFFFFFFFFu;

// Sequence number of the range queries, shared by every search of the
// process: one number per batch.
std::atomic<uint16_t> g_nSequence{0};

// A dotted IPv4 address (see readDottedIPv4), in host order. Refused text is
// reported in one line of at most 64 characters.
bool parseAddress(const char* text, uint32_t& out) {
    if (readDottedIPv4(text, out)) return true;
    const char* shown = text != nullptr ? text : "(null)";
    const int width = static_cast<int>(strnlen(shown, 64));
    const int shownLength = static_cast<int>(strcspn(std::string(shown, width).c_str(), "\r\n"));
    OLTrace(1, __FILE__, "DeviceRangeSearchThread::addRange refused range text '%.*s'\n", shownLength, shown);
    return false;
}

// The query of one batch or scan, with the next sequence number; a failure
// is logged for `caller`.
bool buildRangeQuery(CommandBuffer& query, const char* caller) {
    SDKCommandParser parser;
    if (buildSearchQuery(parser, kRangeQueryCommand, g_nSequence.fetch_add(1), query)) return true;
    OLTrace(1, __FILE__, "DeviceRangeSearchThread::%s query not built, nRet = %d\n", caller,
            kRangeQueryNotBuilt);
    return false;
}

uint32_t elapsedMs(uint32_t since) {
    return static_cast<uint32_t>(getTickCount32() - since);
}

}  // namespace

DeviceRangeSearchThread::DeviceRangeSearchThread()
    : OLThread("DeviceRangeSearchThread"),
      m_nPort(kRangePort),
      m_bStop(false),
      m_pListener(nullptr),
      m_bFirstPass(true),
      m_nPassLimit(1),
      m_nRepeatInterval(0),
      m_bSuppressDuplicates(false) {
    registerUDPTransfer();
}

DeviceRangeSearchThread::~DeviceRangeSearchThread() {
    // run() reaches this object until it returns.
    stop();
}

bool DeviceRangeSearchThread::addRange(const char* first, const char* last) {
    uint32_t from = 0;
    uint32_t to = 0;
    if (!parseAddress(first, from) || !parseAddress(last, to)) return false;
    // The walk below stops after `to`; an end at the all-ones address would
    // leave it no value to stop at, and such a range is no set of devices.
    if (to < from || to == kBroadcastAll) return false;

    OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
    for (uint32_t a = from;; ++a) {
        if (m_setKnownAddresses.insert(a).second) m_vecAddresses.push_back(a);
        if (a == to) break;
    }
    m_bFirstPass = true;
    return true;
}

void DeviceRangeSearchThread::clearRange() {
    OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
    m_vecAddresses.clear();
    m_setKnownAddresses.clear();
}

void DeviceRangeSearchThread::setPort(unsigned short port) {
    m_nPort = port;
}

void DeviceRangeSearchThread::setPassLimit(int limit) {
    m_nPassLimit = limit;
}

void DeviceRangeSearchThread::setSuppressDuplicates(bool on) {
    m_bSuppressDuplicates = on;
}

void DeviceRangeSearchThread::setRememberedLimit(size_t devices) {
    m_objDelivered.setLimit(devices);
}

void DeviceRangeSearchThread::setQueryRate(int perSecond) {
    m_nQueryRate = std::min(std::max(perSecond, 0), static_cast<int>(RangeScan::kMaxRate));
}

void DeviceRangeSearchThread::setListener(IDeviceSearcherListener* listener) {
    OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
    m_pListener = listener;
}

void DeviceRangeSearchThread::setProgressListener(IRangeSearchProgressListener* listener) {
    OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
    m_pProgressListener = listener;
}

int DeviceRangeSearchThread::start() {
    if (isRunning()) return kAlreadyRunning;
    m_objDelivered.clear();
    m_bStop = false;
    m_bSearching = true;
    m_objWakeUp.clear();
    if (OLThread::start() < 0) {
        m_bStop = true;
        m_bSearching = false;
        return kThreadNotStarted;
    }
    return 0;
}

void DeviceRangeSearchThread::requestStop() {
    m_bStop = true;
    m_objWakeUp.raise();
}

void DeviceRangeSearchThread::stop() {
    requestStop();
    OLThread::stop();
    closeTransfers();
    m_vecBatch.clear();
    m_objDelivered.clear();
}

std::vector<uint32_t> DeviceRangeSearchThread::getAddresses() {
    OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
    return m_vecAddresses;
}

uint16_t DeviceRangeSearchThread::peekSequence() {
    return g_nSequence.load();
}

int DeviceRangeSearchThread::run() {
    notifyStarted();
    try {
        std::vector<uint32_t> work;
        {
            OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
            work = m_vecAddresses;
        }
        uint32_t lastPass = getTickCount32();
        int passes = 0;
        m_nPassDone = 0;
        m_nPassTotal = static_cast<int>(work.size());
        m_nPassFound = 0;
        while (!m_bStop) {
            bool firstPass;
            {
                OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
                firstPass = m_bFirstPass;
            }
            if (!firstPass && static_cast<int64_t>(m_nRepeatInterval) * 1000 > elapsedMs(lastPass)) {
                m_objWakeUp.sleepFor(kRepeatPollMs);
                continue;
            }
            if (work.empty()) break;

            m_nPassDone = 0;
            m_nPassFound = 0;
            const int rate = m_nQueryRate;
            if (rate > 0) scanPass(work, rate);
            for (size_t i = 0; rate == 0 && i < work.size() && !m_bStop; ++i) {
                m_vecBatch.push_back(work[i]);
                if (m_vecBatch.size() == static_cast<size_t>(kBatchSize) || i + 1 == work.size()) {
                    runBatch(firstPass);
                }
            }

            lastPass = getTickCount32();
            ++passes;
            {
                OLMutexGuard guard(m_objAddressLock, __FILE__, __LINE__);
                m_bFirstPass = false;
            }
            const int limit = m_nPassLimit;
            if (limit != -1 && passes >= limit) break;
        }
    } catch (const std::exception& e) {
        // Nothing catches above an OLThread's run(): end the search instead.
        OLTrace(1, __FILE__, "DeviceRangeSearchThread::run exception: %s\n", e.what());
    }
    closeTransfers();
    m_vecBatch.clear();
    m_bSearching = false;
    reportProgress(true);
    return 0;
}

void DeviceRangeSearchThread::runBatch(bool firstPass) {
    const int doneBefore = m_nPassDone;
    sendPhase(firstPass);
    receivePhase();
    closeTransfers();
    if (!m_bStop) {
        // Whatever did not answer is given up with its batch.
        m_nPassDone = doneBefore + static_cast<int>(m_vecBatch.size());
        reportProgress(false);
    }
    m_vecBatch.clear();
}

void DeviceRangeSearchThread::reportProgress(bool finished) {
    OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
    if (m_pProgressListener == nullptr) return;
    if (finished) {
        m_pProgressListener->onRangeFinished(m_nPassDone, m_nPassTotal, m_nPassFound);
    } else {
        m_pProgressListener->onRangeProgress(m_nPassDone, m_nPassTotal, m_nPassFound);
    }
}

void DeviceRangeSearchThread::sendPhase(bool firstPass) {
    CommandBuffer query;
    if (!buildRangeQuery(query, "sendPhase")) return;
    ITransferFactory* factory = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
    InetAddr to;
    to.setPORT(m_nPort);
    to.setIPProtoVer(1);
    int sent = 0;
    for (uint32_t address : m_vecBatch) {
        // Unbound: the system gives each transfer a port with its first send.
        std::unique_ptr<ITransfer> transfer(factory != nullptr ? factory->createTransfer(1) : nullptr);
        if (transfer && transfer->open() == 0) {
            transfer->getSocket()->setNonBlocking(true);
            // Beyond the system's limit where the process may.
            transfer->setRecvBufferSize(kSocketRecvBufferBytes);
            to.setIP(dottedIPv4(address));
            // An address that cannot be reached simply gives no answer.
            transfer->send(&query, to, kSendTimeoutMs);
            m_vecTransfers.push_back(adoptSafePointer<ITransfer>(std::move(transfer)));
        }
        if (m_bStop) return;
        ++sent;
        if (firstPass) {
            if (sent % kFirstPassBurst == 0) m_objWakeUp.sleepFor(kFirstPassPauseMs);
        } else {
            m_objWakeUp.sleepFor(kLaterPassPauseMs);
        }
    }
}

void DeviceRangeSearchThread::scanPass(const std::vector<uint32_t>& work, int rate) {
    CommandBuffer query;
    if (!buildRangeQuery(query, "scanPass")) return;
    RangeScan::Events events;
    events.answer = [this](CommandBuffer& datagram, const std::string& source) {
        DeviceSummaryInfo summary;
        if (parseAnswer(datagram, summary) == 0) deliver(summary, source);
    };
    events.progress = [this](int done) {
        m_nPassDone = done;
        reportProgress(false);
    };
    SystemRangeScanClock clock(&m_objWakeUp);
    RangeScan scan(work, m_nPort, rate, std::move(events), m_bStop, clock);
    OLTrace(2, __FILE__, "DeviceRangeSearchThread::scanPass %zu addresses at %d/s\n", work.size(), rate);
    const int result = scan.run(query);
    if (result != 0)
        OLTrace(1, __FILE__, "DeviceRangeSearchThread::scanPass no transfer, nRet = %d\n", result);
}

void DeviceRangeSearchThread::receivePhase() {
    const uint32_t start = getTickCount32();
    std::vector<SocketHandle> handles;
    std::vector<bool> ready;
    while (!m_bStop) {
        if (elapsedMs(start) > static_cast<uint32_t>(kReceiveWindowMs)) return;
        if (m_vecTransfers.empty()) return;

        const size_t count = std::min(m_vecTransfers.size(), static_cast<size_t>(kMaxPollEntries));
        handles.resize(count);
        for (size_t i = 0; i < count; ++i) handles[i] = m_vecTransfers[i]->getSocket()->getHandle();
        if (pollReadable(handles, kPollTimeoutMs, &m_objWakeUp, ready) > 0) {
            std::vector<bool> done(count, false);
            for (size_t i = 0; i < count && !m_bStop; ++i) {
                if (!ready[i]) continue;
                // A pending error (an unreachable address, say) leaves the
                // transfer waiting; reading it clears it.
                if (!m_vecTransfers[i]->getSocket()->getPendingError()) continue;
                readAnswer(*m_vecTransfers[i]);
                // One answer per query: whatever came, this transfer is done.
                done[i] = true;
                ++m_nPassDone;
                reportProgress(false);
            }
            size_t kept = 0;
            for (size_t i = 0; i < m_vecTransfers.size(); ++i) {
                if (i < count && done[i]) {
                    m_vecTransfers[i]->close();
                    continue;
                }
                m_vecTransfers[kept++] = m_vecTransfers[i];
            }
            m_vecTransfers.resize(kept);
        }
        m_objWakeUp.sleepFor(kPollPauseMs);
    }
}

void DeviceRangeSearchThread::readAnswer(ITransfer& transfer) {
    CommandBuffer datagram;
    InetAddr from;
    // Readiness was seen: no wait. Nothing there, a failure, or a datagram
    // longer than 5600 bytes is no answer.
    if (transfer.recv(&datagram, 0, &from) != 0) return;
    DeviceSummaryInfo summary;
    if (parseAnswer(datagram, summary) == 0) deliver(summary, from.getIP());
}

void DeviceRangeSearchThread::closeTransfers() {
    for (auto& transfer : m_vecTransfers) transfer->close();
    m_vecTransfers.clear();
}

int DeviceRangeSearchThread::parseAnswer(CommandBuffer& datagram, DeviceSummaryInfo& summary) {
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    try {
        if (!parser.parseCommand(datagram, param)) return kRangeAnswerNotParsed;
    } catch (const std::exception&) {
        // Data from the network never ends the pass.
        return kRangeAnswerNotParsed;
    }
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr || command->m_objHead.nCommandID != kRangeAnswerCommand) return kNotAnAnswer;
    if (!extractDomain(summary, command->m_domains)) return kNotAnAnswer;
    return 0;
}

void DeviceRangeSearchThread::deliver(const DeviceSummaryInfo& summary, const std::string& sourceAddress) {
    NetVideoDeviceInfo record;
    record.setDeviceId(summary.getDeviceId());
    record.setDeviceType(summary.getDeviceType());
    // Where the answer came from and where the query went, not what the
    // device says about itself.
    record.setDeviceIP(sourceAddress);
    record.setDevicePort(m_nPort);
    Version version;
    version.setHardwareVer(summary.getHardWareInfo());
    version.setSoftwareVer(summary.getSoftWareInfo());
    record.setVersion(version);
    record.setProductModel(summary.getProductModel());

    deliverRecord(record);
}

void DeviceRangeSearchThread::deliverRecord(const NetVideoDeviceInfo& record) {
    const bool suppress = m_bSuppressDuplicates;
    auto slot = m_objDelivered.lookup(record.getDeviceId());
    if (suppress) {
        // A changed record takes the place of the old one of its device id.
        const NetVideoDeviceInfo* known = m_objDelivered.at(slot);
        if (known != nullptr && *known == record) return;
    }
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        if (m_pListener != nullptr) m_pListener->onSearchResult(record);
    }
    ++m_nPassFound;
    if (suppress) m_objDelivered.store(slot, record);
}
