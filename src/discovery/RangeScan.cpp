#include "discovery/RangeScan.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>

#include "Product/Technic/OLTrace.h"
#include "discovery/AddressText.h"
#include "domain/records/InetAddr.h"
#include "transport/CommandBuffer.h"
#include "transport/ITransfer.h"
#include "transport/SocketReadSelect.h"
#include "transport/TransferFactory.h"

namespace {

constexpr int kBufferBytes = 1048576;
// Most datagrams read in one turn between two sends.
constexpr int kMaxReadsPerTurn = 256;
// Lateness that the sender makes up for with a burst; beyond it the schedule
// starts again from now.
constexpr int64_t kMaxCatchUpUs = 100000;
// Longest wait of one turn, so that the stop flag is seen without a wake-up.
constexpr int kMaxWaitMs = 200;

// Failures that no pause mends: the address is given up at once. (EINVAL is
// not one: the system gives it when its neighbour table is full.)
bool lasting(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
        case ENETUNREACH:
        case EAFNOSUPPORT:
        case EDESTADDRREQ:
        case EMSGSIZE:
            return true;
        default:
            return false;
    }
}

}  // namespace

int64_t SystemRangeScanClock::nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool SystemRangeScanClock::waitReadable(SocketHandle handle, int timeoutMs) {
    std::vector<bool> ready;
    return pollReadable({handle}, timeoutMs, m_pWakeUp, ready) > 0;
}

RangeScan::RangeScan(std::vector<uint32_t> addresses, unsigned short port, int rate, Events events,
                     const std::atomic<bool>& stop, RangeScanClock& clock)
    : m_vecAddresses(std::move(addresses)),
      m_vecState(m_vecAddresses.size(), kUnsent),
      m_vecSentAt(m_vecAddresses.size(), 0),
      m_nPort(port),
      m_dTargetRate(rate <= 0 ? kDefaultRate : std::min(rate, kMaxRate)),
      m_dRate(m_dTargetRate),
      m_objEvents(std::move(events)),
      m_bStop(stop),
      m_objClock(clock) {
    m_mapIndex.reserve(m_vecAddresses.size());
    for (size_t i = 0; i < m_vecAddresses.size(); ++i) m_mapIndex.emplace(m_vecAddresses[i], i);
}

int RangeScan::run(CommandBuffer& query) {
    ITransferFactory* factory = TransferFactoryMap::getInstance()->getFactory(kUDPTransferKey);
    if (factory == nullptr) return kTransferNoFactory;
    std::unique_ptr<ITransfer> transfer(factory->createTransfer(1));
    if (!transfer || transfer->open() != 0) return kTransferCreateFailed;
    // Unbound: the system gives the transfer a port with its first send, and
    // every answer comes back to it.
    transfer->getSocket()->setNonBlocking(true);
    transfer->setRecvBufferSize(kBufferBytes);
    transfer->setSendBufferSize(kBufferBytes);
    const SocketHandle handle = transfer->getSocket()->getHandle();

    const size_t count = m_vecAddresses.size();
    const int64_t windowUs = int64_t(kAnswerWindowMs) * 1000;
    m_nDueUs = m_objClock.nowUs();
    while (!m_bStop) {
        int64_t now = m_objClock.nowUs();
        if (m_nNext < count && now >= m_nDueUs) sendDue(*transfer, query, now);
        readAnswers(*transfer);
        now = m_objClock.nowUs();
        expire(now);
        if (m_nNext == count && m_nDone == static_cast<int>(count)) break;

        // Until the next query is due or the next wait ends.
        int64_t until = m_nNext < count ? m_nDueUs : INT64_MAX;
        if (m_nExpiry < m_nNext) until = std::min(until, m_vecSentAt[m_nExpiry] + windowUs);
        const int64_t waitUs = std::max<int64_t>(0, until - now);
        const int waitMs = static_cast<int>(std::min<int64_t>((waitUs + 999) / 1000, kMaxWaitMs));
        if (waitMs > 0) m_objClock.waitReadable(handle, waitMs);
    }
    transfer->close();
    if (m_nReportedDone != m_nDone && m_objEvents.progress) m_objEvents.progress(m_nDone);
    return 0;
}

void RangeScan::sendDue(ITransfer& transfer, CommandBuffer& query, int64_t now) {
    for (int burst = 0; burst < kMaxBurst && m_nNext < m_vecAddresses.size() && now >= m_nDueUs; ++burst) {
        if (m_bStop || !sendOne(transfer, query, now)) return;
    }
}

bool RangeScan::sendOne(ITransfer& transfer, CommandBuffer& query, int64_t now) {
    const size_t index = m_nNext;
    const std::string text = dottedIPv4(m_vecAddresses[index]);
    InetAddr to;
    to.setIP(text);
    to.setPORT(m_nPort);
    to.setIPProtoVer(1);
    errno = 0;
    const int result = transfer.send(&query, to, 0);
    const int error = errno;
    if (result == 0) {
        m_vecState[index] = kWaiting;
        m_vecSentAt[index] = now;
        ++m_nNext;
        ++m_nSent;
        m_nBackoffMs = 0;
        m_nFailingSince = -1;
        // The rate comes back in about a hundred good sends.
        m_dRate = std::min(m_dTargetRate, m_dRate + m_dTargetRate / 100);
        m_nDueUs = std::max(m_nDueUs, now - kMaxCatchUpUs) + static_cast<int64_t>(1e6 / m_dRate);
        return true;
    }
    if (m_nFailingSince < 0) m_nFailingSince = now;
    if (lasting(error) || result == kTransferNotOpen || now - m_nFailingSince >= int64_t(kGiveUpMs) * 1000) {
        OLTrace(1, __FILE__, "RangeScan::sendOne gives up %s, nRet = %d, errno = %d\n", text.c_str(), result,
                error);
        m_nBackoffMs = 0;
        m_nFailingSince = -1;
        ++m_nNext;
        finish(index);
        return true;
    }
    // A full buffer or neighbour table, or a neighbour not resolved yet:
    // wait, slow down, and try the same address again.
    m_nBackoffMs = m_nBackoffMs == 0 ? kFirstBackoffMs : std::min(2 * m_nBackoffMs, kMaxBackoffMs);
    m_dRate = std::max(m_dRate / 2, std::min(m_dTargetRate, double(kMinRate)));
    m_nDueUs = now + int64_t(m_nBackoffMs) * 1000;
    OLTrace(3, __FILE__, "RangeScan::sendOne %s failed (errno = %d): pause %d ms, %d/s\n", text.c_str(),
            error, m_nBackoffMs, static_cast<int>(m_dRate));
    return false;
}

void RangeScan::readAnswers(ITransfer& transfer) {
    CommandBuffer datagram;
    InetAddr from;
    for (int i = 0; i < kMaxReadsPerTurn && !m_bStop; ++i) {
        const int result = transfer.recv(&datagram, 0, &from);
        if (result == kTransferRecvFailed) continue;  // a failed read or an oversized datagram
        if (result != 0) return;
        in_addr source{};
        if (inet_pton(AF_INET, from.getIP().c_str(), &source) != 1) continue;
        const auto it = m_mapIndex.find(ntohl(source.s_addr));
        if (it == m_mapIndex.end() || m_vecState[it->second] != kWaiting) continue;
        finish(it->second);
        if (m_objEvents.answer) m_objEvents.answer(datagram, from.getIP());
        m_nReportedDone = m_nDone;
        if (m_objEvents.progress) m_objEvents.progress(m_nDone);
    }
}

void RangeScan::expire(int64_t now) {
    const int64_t windowUs = int64_t(kAnswerWindowMs) * 1000;
    for (; m_nExpiry < m_nNext; ++m_nExpiry) {
        if (m_vecState[m_nExpiry] != kWaiting) continue;
        if (now < m_vecSentAt[m_nExpiry] + windowUs) break;
        finish(m_nExpiry);
    }
    const bool all = m_nDone == static_cast<int>(m_vecAddresses.size());
    if (m_nDone - m_nReportedDone >= kProgressStep || (all && m_nReportedDone != m_nDone)) {
        m_nReportedDone = m_nDone;
        if (m_objEvents.progress) m_objEvents.progress(m_nDone);
    }
}

void RangeScan::finish(size_t index) {
    m_vecState[index] = kDone;
    ++m_nDone;
}
