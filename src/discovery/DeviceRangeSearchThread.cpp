#include "discovery/DeviceRangeSearchThread.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <exception>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"
#include "devsearch/DeviceSearchListener.h"
#include "discovery/AddressText.h"
#include "discovery/SearchQuery.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/Version.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/CommandBuffer.h"
#include "transport/Socket.h"

namespace {

constexpr int kAlreadyRunning = -11;
constexpr int kThreadNotStarted = -12;
constexpr int kNotParsed = -233;
constexpr int kNoAnswer = -501;
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

uint32_t elapsedMs(uint32_t since) {
    return static_cast<uint32_t>(getTickCount32() - since);
}

}  // namespace

DeviceRangeSearchThread::DeviceRangeSearchThread()
    : OLThread("DeviceRangeSearchThread"),
      m_nPort(kDefaultPort),
      m_bStop(false),
      m_pListener(nullptr),
      m_bFirstPass(true),
      m_nPassLimit(1),
      m_nRepeatInterval(0),
      m_bSuppressDuplicates(false) {}

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
    m_vecResults.clear();
    m_bStop = false;
    m_bSearching = true;
    if (OLThread::start() < 0) {
        m_bStop = true;
        m_bSearching = false;
        return kThreadNotStarted;
    }
    return 0;
}

void DeviceRangeSearchThread::stop() {
    m_bStop = true;
    OLThread::stop();
    closeSockets();
    m_vecBatch.clear();
    m_vecResults.clear();
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
                pause(kRepeatPollMs);
                continue;
            }
            if (work.empty()) break;

            m_nPassDone = 0;
            m_nPassFound = 0;
            for (size_t i = 0; i < work.size() && !m_bStop; ++i) {
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
    closeSockets();
    m_vecBatch.clear();
    m_bSearching = false;
    reportProgress(true);
    return 0;
}

void DeviceRangeSearchThread::runBatch(bool firstPass) {
    const int doneBefore = m_nPassDone;
    sendPhase(firstPass);
    receivePhase();
    closeSockets();
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
    SDKCommandParser parser;
    if (!buildSearchQuery(parser, kRangeQueryCommand, g_nSequence.fetch_add(1), query)) {
        OLTrace(1, __FILE__, "DeviceRangeSearchThread::sendPhase query not built, nRet = %d\n", -234);
        return;
    }
    const unsigned short port = m_nPort;
    int sent = 0;
    for (uint32_t address : m_vecBatch) {
        std::unique_ptr<Socket> socket = openQuerySocket();
        if (socket) {
            sockaddr_in to{};
            to.sin_family = AF_INET;
            to.sin_port = htons(port);
            to.sin_addr.s_addr = htonl(address);
            // An address that cannot be reached simply gives no answer.
            ::sendto(socket->getHandle(), query.getCursor(), query.getLength(), 0,
                     reinterpret_cast<const sockaddr*>(&to), sizeof(to));
            m_vecSockets.push_back(std::move(socket));
        }
        if (m_bStop) return;
        ++sent;
        if (firstPass) {
            if (sent % kFirstPassBurst == 0) pause(kFirstPassPauseMs);
        } else {
            pause(kLaterPassPauseMs);
        }
    }
}

std::unique_ptr<Socket> DeviceRangeSearchThread::openQuerySocket() {
    // Unbound: the system gives it a port with the first send.
    auto socket = std::make_unique<Socket>(1, 2);
    if (!socket->open()) return nullptr;
    socket->setNonBlocking(true);
    // Beyond the system's limit where the process may.
    socket->setRecvBufferSize(kSocketRecvBufferBytes);
    return socket;
}

void DeviceRangeSearchThread::receivePhase() {
    const uint32_t start = getTickCount32();
    std::vector<unsigned char> buffer(kRecvBufferSize);
    std::vector<pollfd> polled;
    while (!m_bStop) {
        if (elapsedMs(start) > static_cast<uint32_t>(kReceiveWindowMs)) return;
        if (m_vecSockets.empty()) return;

        const size_t count = std::min(m_vecSockets.size(), static_cast<size_t>(kMaxPollEntries));
        polled.assign(count, pollfd{});
        for (size_t i = 0; i < count; ++i) {
            polled[i].fd = m_vecSockets[i]->getHandle();
            polled[i].events = POLLIN;
        }
        const int ready = ::poll(polled.data(), polled.size(), kPollTimeoutMs);
        if (ready > 0) {
            std::vector<bool> done(count, false);
            for (size_t i = 0; i < count && !m_bStop; ++i) {
                if (polled[i].revents == 0) continue;
                const SocketHandle handle = polled[i].fd;
                int error = 0;
                socklen_t errorLength = sizeof(error);
                if (getsockopt(handle, SOL_SOCKET, SO_ERROR, &error, &errorLength) != 0 || error != 0)
                    continue;

                std::memset(buffer.data(), 0, buffer.size());
                sockaddr_in source{};
                socklen_t sourceLength = sizeof(source);
                // MSG_TRUNC reports a datagram's full length: one longer than
                // the buffer is no answer, as everywhere in the transport.
                const ssize_t got = ::recvfrom(handle, buffer.data(), buffer.size(), MSG_TRUNC,
                                               reinterpret_cast<sockaddr*>(&source), &sourceLength);
                if (got > 0 && static_cast<size_t>(got) <= buffer.size() && source.sin_family == AF_INET) {
                    char text[INET_ADDRSTRLEN] = {0};
                    inet_ntop(AF_INET, &source.sin_addr, text, sizeof(text));
                    DeviceSummaryInfo summary;
                    if (parseAnswer(buffer.data(), static_cast<unsigned>(got), summary) == 0) {
                        deliver(summary, text);
                    }
                }
                // One answer per query: whatever came, this socket is done.
                done[i] = true;
                ++m_nPassDone;
                reportProgress(false);
            }
            size_t kept = 0;
            for (size_t i = 0; i < m_vecSockets.size(); ++i) {
                if (i < count && done[i]) {
                    m_vecSockets[i]->close();
                    continue;
                }
                m_vecSockets[kept++] = std::move(m_vecSockets[i]);
            }
            m_vecSockets.resize(kept);
        }
        pause(kPollPauseMs);
    }
}

void DeviceRangeSearchThread::closeSockets() {
    for (auto& socket : m_vecSockets) socket->close();
    m_vecSockets.clear();
}

int DeviceRangeSearchThread::parseAnswer(const unsigned char* data, unsigned length,
                                         DeviceSummaryInfo& summary) {
    CommandBuffer datagram;
    if (!datagram.alloc(static_cast<int>(length)) || !datagram.assign(data, length)) return kNotParsed;
    SDKCommandParser parser;
    SafePointer<CommandParam> param;
    if (!parser.parseCommand(datagram, param)) return kNotParsed;
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr || command->m_objHead.nCommandID != kRangeAnswerCommand) return kNoAnswer;
    if (!extractDomain(summary, command->m_domains)) return kNoAnswer;
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

    const bool suppress = m_bSuppressDuplicates;
    if (suppress) {
        for (auto it = m_vecResults.begin(); it != m_vecResults.end(); ++it) {
            if (it->getDeviceId() != record.getDeviceId()) continue;
            if (*it == record) return;
            m_vecResults.erase(it);
            break;
        }
    }
    {
        OLMutexGuard guard(m_objListenerLock, __FILE__, __LINE__);
        if (m_pListener != nullptr) m_pListener->onSearchResult(record);
    }
    ++m_nPassFound;
    if (suppress) m_vecResults.push_back(record);
}

void DeviceRangeSearchThread::pause(int ms) {
    sleepFor(OLTimeValue(ms / 1000, (ms % 1000) * 1000));
}
