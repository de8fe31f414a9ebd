#pragma once

#include <QString>

#include <boost/shared_ptr.hpp>
#include <memory>

#include "devsearch/Export.h"
#include "devsearch/QDeviceSearcherListener.h"
#include "devsearch/QIPsearchListener.h"
#include "devsearch/QRangeSearchProgress.h"

class DeviceDiscoveryService;
class DeviceMulticastRecv;
class DeviceRangeSearch;

// The search controller: one object, built when the library is loaded, that
// holds the search settings, owns the search engines and the two Qt listener
// objects, and starts and stops searches.
//
//   DeviceSearch* search = DeviceSearch::GetInstance();
//   QObject::connect(search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, receiver, slot);
//   search->setNetWorkType(0);
//   search->startSearch(false);
//
// startSearch(false) runs the multicast search on all adapters (network type
// 0) or on the adapter named by the network name (any other type) until
// stopSearch or the next startSearch(false); its records come from
// getIPsearchListener(). startSearch(true) walks the addresses from the start
// IP to the end IP once and ends by itself; its records come from
// getDeviceSearcherListener(), its progress and its end from
// getRangeSearchProgress(). Records arrive on the engines' threads, so a
// receiver on the application's thread gets them through queued connections.
//
// The class has no lock: call it from one thread at a time. Stopping returns
// at once: an engine that is told to stop ends its waits on the network.
class DEVSEARCH_EXPORT DeviceSearch {
  public:
    static DeviceSearch* GetInstance();

    // true: the range search; the result of starting it (0, -1 without a
    // listener, -11 still running, -12 no thread). false: the multicast
    // search; -1 in every case, also when it runs.
    int startSearch(bool active);
    // Stops the multicast search. With clearRange the address list of the
    // range search is emptied as well; a range search in progress finishes
    // its pass.
    void stopSearch(bool clearRange);

    QString getStartIP();
    void setStartIP(QString ip);
    QString getEndIP();
    void setEndIP(QString ip);
    // Destination port of the range search (30001 at load); the multicast
    // ports are fixed.
    unsigned short getPort();
    void setPort(unsigned short port);
    // Queries per second of the range search. 0 (at load): batches of 400
    // addresses with up to 3 s of waiting each, sent with pauses. A positive
    // rate (kDefaultQueryRate is a fair choice, at most 100000): a fast scan
    // for large ranges that queries every address at that rate from one
    // socket and ends when every address has answered, at the latest 3 s
    // after the last query; a send the system refuses for the moment slows
    // it down, no address is skipped. A negative rate counts as 0. The next
    // startSearch(true) uses it.
    static constexpr int kDefaultQueryRate = 2000;
    int getQueryRate();
    void setQueryRate(int perSecond);
    QString getNetWorkName();
    void setNetWorkName(QString name);
    int getNetWorkType();
    void setNetWorkType(int type);
    // True once a search has been started since load.
    bool getFlag();
    void setFlag(bool flag);
    // A plain flag for the application; the library only stores it.
    bool getStartSearch();
    void setStartSearch(bool start);

    // Most records each engine keeps to drop a device it has reported already
    // (65,536 at load, at least 1). A flood of more distinct devices than
    // this is still reported in full, but the oldest are forgotten, and a
    // forgotten device is reported again when it is heard again. Takes
    // effect at the next start of a search.
    unsigned int getRememberedDeviceLimit();
    void setRememberedDeviceLimit(unsigned int devices);

    // The listener objects; they live as long as the library.
    QIPsearchListener* getIPsearchListener();
    QDeviceSearcherListener* getDeviceSearcherListener();
    // Progress and end of each range search pass, as signals; it lives as
    // long as the library.
    QRangeSearchProgress* getRangeSearchProgress();
    // True from a successful startSearch(true) until its run has ended.
    bool isRangeSearchRunning();

    DeviceSearch(const DeviceSearch&) = delete;
    DeviceSearch& operator=(const DeviceSearch&) = delete;

  private:
    DeviceSearch();
    ~DeviceSearch();

    int ActiveSearch(bool wholeSubnet);
    void MuticastSearch();
    void stopMulticastEngines();

    static DeviceSearch m_Instance;

    std::unique_ptr<DeviceDiscoveryService> m_pDiscoveryService;
    boost::shared_ptr<QIPsearchListener> m_pIPsearchListener;
    std::unique_ptr<DeviceRangeSearch> m_pRangeSearch;
    boost::shared_ptr<QDeviceSearcherListener> m_pDeviceSearcherListener;
    std::unique_ptr<DeviceMulticastRecv> m_pMulticastRecv;
    bool m_bFlag;
    QString m_strStartIP;
    QString m_strEndIP;
    unsigned short m_nPort;
    bool m_bStartSearch;
    int m_nNetWorkType;
    QString m_strNetWorkName;
    // Whether the multicast engines have been given their listener and
    // settings; a range search sets the flag without doing so.
    bool m_bMulticastConfigured;
    unsigned int m_nRememberedDeviceLimit;
    // Told of the range search's progress by its thread: the range search
    // must be stopped before this goes.
    std::unique_ptr<QRangeSearchProgress> m_pRangeSearchProgress;
    int m_nQueryRate = 0;
};
