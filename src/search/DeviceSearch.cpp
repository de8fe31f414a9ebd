#include "devsearch/DeviceSearch.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLTrace.h"
#include "Product/Technic/SafePointer.h"
#include "discovery/DeliveredDevices.h"
#include "discovery/DeviceDiscoveryService.h"
#include "discovery/DeviceMulticastRecv.h"
#include "discovery/DeviceRangeSearch.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/RangeScan.h"
#include "domain/records/InetAddr.h"
#include "transport/AdapterQuery.h"

namespace {

constexpr int kMulticastSendInterval = 10;
constexpr int kAddressBufferSize = 256;

// Deleter of the multicast listener. The discovery service holds the listener
// through a SafePointer, and a raw address may be wrapped in a SafePointer
// only once; so the listener is wrapped once, here, and the shared pointer of
// the controller holds one share of that wrapper. The object goes with the
// last share, whoever holds it.
struct DiscoveryListenerShare {
    SafePointer<IDeviceDiscoveryListener> listener;
    void operator()(QIPsearchListener*) { listener.reset(); }
};

// Text of a range end as the range search reads it: at most 256 bytes of
// Latin-1. Text that fills the buffer has no terminating zero within it and is
// refused by the range search as no address.
std::vector<char> addressBuffer(const QString& text) {
    std::vector<char> buffer(kAddressBufferSize + 1, '\0');
    const QByteArray latin1 = text.toLatin1();
    std::memcpy(buffer.data(), latin1.constData(),
                static_cast<size_t>(std::min<qsizetype>(latin1.size(), kAddressBufferSize)));
    return buffer;
}

}  // namespace

DeviceSearch DeviceSearch::m_Instance;

DeviceSearch* DeviceSearch::GetInstance() {
    return &m_Instance;
}

DeviceSearch::DeviceSearch()
    : m_bFlag(false),
      m_nPort(kRangePort),
      m_bStartSearch(false),
      m_nNetWorkType(0),
      m_bMulticastConfigured(false),
      m_nRememberedDeviceLimit(kDefaultRememberedDevices) {
    // Statics that the engines' threads use are made before this object, so
    // that they are destroyed after it: at exit the destructor stops the
    // engines while everything they touch still stands.
    OLTraceConfig::getInstance();
    getThreadExceptionLogPath();

    // Built in this order; a part that cannot be made leaves the later ones
    // null, and every operation copes with a missing part.
    try {
        m_pDiscoveryService = std::make_unique<DeviceDiscoveryService>();

        auto listener = std::make_unique<QIPsearchListener>(nullptr);
        QIPsearchListener* raw = listener.get();
        DiscoveryListenerShare share{adoptSafePointer<IDeviceDiscoveryListener>(std::move(listener))};
        m_pIPsearchListener = boost::shared_ptr<QIPsearchListener>(raw, share);

        m_pDeviceSearcherListener =
            boost::shared_ptr<QDeviceSearcherListener>(new QDeviceSearcherListener(nullptr));
        m_pRangeSearch = std::make_unique<DeviceRangeSearch>();
        m_pRangeSearchProgress = std::make_unique<QRangeSearchProgress>(nullptr);
        m_pRangeSearch->setProgressListener(m_pRangeSearchProgress.get());
        m_pMulticastRecv = std::make_unique<DeviceMulticastRecv>();
    } catch (const std::exception& e) {
        OLTrace(1, __FILE__, "DeviceSearch::DeviceSearch incomplete: %s\n", e.what());
    }
}

DeviceSearch::~DeviceSearch() {
    // All three are told first, so the whole stop takes no longer than one.
    // The range thread calls the searcher listener, which goes before it.
    if (m_pRangeSearch) m_pRangeSearch->requestStop();
    stopMulticastEngines();
    if (m_pRangeSearch) {
        m_pRangeSearch->clearRange();
        m_pRangeSearch->stop();
    }
}

void DeviceSearch::stopMulticastEngines() {
    // Both are told before either is waited for; each ends its wait at once.
    if (m_pDiscoveryService) m_pDiscoveryService->requestStop();
    if (m_pMulticastRecv) m_pMulticastRecv->requestStop();
    if (m_pDiscoveryService) m_pDiscoveryService->stop();
    if (m_pMulticastRecv) m_pMulticastRecv->stop();
}

int DeviceSearch::startSearch(bool active) {
    if (active) {
        const int result = ActiveSearch(false);
        m_bFlag = true;
        return result;
    }
    stopMulticastEngines();
    MuticastSearch();
    m_bFlag = true;
    return -1;
}

void DeviceSearch::stopSearch(bool clearRange) {
    stopMulticastEngines();
    if (clearRange && m_pRangeSearch) m_pRangeSearch->clearRange();
}

int DeviceSearch::ActiveSearch(bool wholeSubnet) {
    if (m_pRangeSearch == nullptr) return -1;
    if (m_bFlag) {
        m_bFlag = false;
        m_pRangeSearch->stop();
        m_pRangeSearch->clearRange();
    }
    const std::vector<char> first = addressBuffer(wholeSubnet ? QStringLiteral("192.168.0.0") : m_strStartIP);
    const std::vector<char> last =
        addressBuffer(wholeSubnet ? QStringLiteral("192.168.255.255") : m_strEndIP);
    if (!m_pDeviceSearcherListener) return -1;

    // Text that is no range adds nothing. The search then starts on what the
    // list already holds: the caller sees 0 and, with an empty list, no
    // record, since the thread ends at once.
    m_pRangeSearch->addRange(first.data(), last.data());
    m_pRangeSearch->setListener(m_pDeviceSearcherListener.get());
    m_pRangeSearch->setPort(m_nPort);
    m_pRangeSearch->setPassLimit(1);
    m_pRangeSearch->setSuppressDuplicates(true);
    // A run still in its pass keeps the limit it started with.
    if (!m_pRangeSearch->isRunning()) m_pRangeSearch->setRememberedLimit(m_nRememberedDeviceLimit);
    m_pRangeSearch->setQueryRate(m_nQueryRate);

    const int started = m_pRangeSearch->start();
    if (started != 0) return started;
    m_bFlag = true;
    return 0;
}

void DeviceSearch::MuticastSearch() {
    const QByteArray name = m_strNetWorkName.toLocal8Bit();
    OLTrace(3, __FILE__, "%s\n", name.constData());

    // A range search sets the flag as well, without configuring these
    // engines: the first multicast start configures them whatever the flag says.
    const bool restart = m_bFlag && m_bMulticastConfigured;
    m_bFlag = false;

    std::vector<std::string> adapters;
    listAdapterNames(adapters);
    if (adapters.empty()) return;
    std::vector<std::string> selection;
    if (m_nNetWorkType == 0) {
        selection = adapters;
    } else {
        if (name.isEmpty()) return;
        const std::string wanted(name.constData(), static_cast<size_t>(name.size()));
        for (const std::string& adapter : adapters) {
            if (adapter == wanted) {
                selection.push_back(adapter);
                break;
            }
        }
        if (selection.empty()) return;
    }
    if (!m_pDiscoveryService || !m_pMulticastRecv) return;

    if (!restart) {
        if (!m_pIPsearchListener) return;
        auto* share = boost::get_deleter<DiscoveryListenerShare>(m_pIPsearchListener);
        if (share == nullptr || share->listener.isNull()) return;
        m_pDiscoveryService->setAdapters(selection);
        m_pDiscoveryService->setListener(share->listener);
        m_pDiscoveryService->setSuppressDuplicates(true);
        m_pDiscoveryService->setRememberedLimit(m_nRememberedDeviceLimit);
        m_pDiscoveryService->setSendInterval(kMulticastSendInterval);
        InetAddr group;
        group.setIP(kSearchGroup);
        group.setPORT(kQueryPort);
        group.setIPProtoVer(1);
        m_pDiscoveryService->setGroup(group);
        if (m_pDiscoveryService->start() != 0) return;

        m_pMulticastRecv->setAdapters(selection);
        m_pMulticastRecv->setSuppressDuplicates(true);
        m_pMulticastRecv->setRememberedLimit(m_nRememberedDeviceLimit);
        m_pMulticastRecv->setListener(m_pIPsearchListener.get());
        m_pMulticastRecv->start();
        m_bMulticastConfigured = true;
        return;
    }

    // The listener and the other settings stand from the first start.
    m_pDiscoveryService->stop();
    m_pDiscoveryService->setAdapters(selection);
    m_pDiscoveryService->setRememberedLimit(m_nRememberedDeviceLimit);
    if (m_pDiscoveryService->start() != 0) return;
    m_pMulticastRecv->stop();
    m_pMulticastRecv->setAdapters(selection);
    m_pMulticastRecv->setRememberedLimit(m_nRememberedDeviceLimit);
    m_pMulticastRecv->start();
}

unsigned int DeviceSearch::getRememberedDeviceLimit() {
    return m_nRememberedDeviceLimit;
}
void DeviceSearch::setRememberedDeviceLimit(unsigned int devices) {
    m_nRememberedDeviceLimit = devices == 0 ? 1 : devices;
}

QString DeviceSearch::getStartIP() {
    return m_strStartIP;
}
void DeviceSearch::setStartIP(QString ip) {
    m_strStartIP = ip;
}
QString DeviceSearch::getEndIP() {
    return m_strEndIP;
}
void DeviceSearch::setEndIP(QString ip) {
    m_strEndIP = ip;
}
unsigned short DeviceSearch::getPort() {
    return m_nPort;
}
void DeviceSearch::setPort(unsigned short port) {
    m_nPort = port;
}
int DeviceSearch::getQueryRate() {
    return m_nQueryRate;
}
void DeviceSearch::setQueryRate(int perSecond) {
    m_nQueryRate = std::min(std::max(perSecond, 0), static_cast<int>(RangeScan::kMaxRate));
}
QString DeviceSearch::getNetWorkName() {
    return m_strNetWorkName;
}
void DeviceSearch::setNetWorkName(QString name) {
    m_strNetWorkName = name;
}
int DeviceSearch::getNetWorkType() {
    return m_nNetWorkType;
}
void DeviceSearch::setNetWorkType(int type) {
    m_nNetWorkType = type;
}
bool DeviceSearch::getFlag() {
    return m_bFlag;
}
void DeviceSearch::setFlag(bool flag) {
    m_bFlag = flag;
}
bool DeviceSearch::getStartSearch() {
    return m_bStartSearch;
}
void DeviceSearch::setStartSearch(bool start) {
    m_bStartSearch = start;
}

QIPsearchListener* DeviceSearch::getIPsearchListener() {
    return m_pIPsearchListener.get();
}

QDeviceSearcherListener* DeviceSearch::getDeviceSearcherListener() {
    return m_pDeviceSearcherListener.get();
}

QRangeSearchProgress* DeviceSearch::getRangeSearchProgress() {
    return m_pRangeSearchProgress.get();
}

bool DeviceSearch::isRangeSearchRunning() {
    return m_pRangeSearch != nullptr && m_pRangeSearch->isRunning();
}
