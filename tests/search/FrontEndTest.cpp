// The exported front end without any network: the record of the signal, its
// meta type, the two Qt listener objects, and the device list model under
// Qt's model checker: rows by device id and address fed through the listener
// objects from other threads (each record a queued copy, its fields in the
// columns), updates, clearing by search, the row limit, and the range
// search's end signal; then the controller with its real engines on the
// transfer seam: what each start sends, from which adapters, and what reaches
// a receiver of the signals.
#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QEventLoop>
#include <QMetaType>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "devsearch/DeviceListModel.h"
#include "devsearch/DeviceSearch.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/QDeviceSearcherListener.h"
#include "devsearch/QIPsearchListener.h"
#include "devsim/SimDevice.h"
#include "discovery/DiscoveryNames.h"
#include "discovery/EngineTestSupport.h"
#include "domain/records/DeviceSummaryInfo.h"

namespace {

// A QCoreApplication for the whole test program, made before the first test.
class QtEnvironment : public ::testing::Environment {
    void SetUp() override { m_pApp = std::make_unique<QCoreApplication>(m_nArgc, m_argv); }
    void TearDown() override { m_pApp.reset(); }

    int m_nArgc = 1;
    char m_szName[15] = "devsearch-test";
    char* m_argv[2] = {m_szName, nullptr};
    std::unique_ptr<QCoreApplication> m_pApp;
};
::testing::Environment* const g_qtEnvironment = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

// Processes events of the calling (application) thread until `done` is true;
// false when `limit` has passed first.
bool processUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A summary with every field set, each to a value of its own.
DeviceSummaryInfo summary() {
    SimDeviceConfig device;
    device.address = "192.0.2.9";
    device.index = 4;
    device.deviceTime = "2024-05-06 07:08:09";
    return makeSummary(device);
}

// What the multicast listener object emits for one summary, through a direct connection.
std::vector<NetVideoDeviceInfo> emitted(const DeviceSummaryInfo& s) {
    QIPsearchListener listener(nullptr);
    std::vector<NetVideoDeviceInfo> got;
    QObject::connect(&listener, &QIPsearchListener::IPSearchSend,
                     [&](const NetVideoDeviceInfo& r) { got.push_back(r); });
    listener.onDeviceDiscovered(s);
    return got;
}

// Equality, copies and assignment cover every field; a copy keeps a version
// of its own.
TEST(NetVideoDeviceInfoTest, CopiesAndComparesEveryField) {
    const std::vector<std::function<void(NetVideoDeviceInfo&)>> changes = {
        [](auto& x) { x.setDeviceId("x"); },         [](auto& x) { x.setDeviceType(8); },
        [](auto& x) { x.setDeviceIP("x"); },         [](auto& x) { x.setDevicePort(1); },
        [](auto& x) { x.setHttpPort(81); },          [](auto& x) { x.setHardwareVer("x"); },
        [](auto& x) { x.setSoftwareVer("x"); },      [](auto& x) { x.setManufacturerId("x"); },
        [](auto& x) { x.setManufacturerName("x"); }, [](auto& x) { x.setSpareText1("x"); },
        [](auto& x) { x.setProductModel("x"); },     [](auto& x) { x.setDeviceTime("x"); },
        [](auto& x) { x.setDeviceName("x"); },       [](auto& x) { x.setSN("x"); },
        [](auto& x) { x.setSpareText2("x"); },       [](auto& x) { x.setUpdatePort("x"); },
        [](auto& x) { x.setMACAddr("x"); }};
    for (size_t i = 0; i < changes.size(); ++i) {
        NetVideoDeviceInfo changed;
        changes[i](changed);
        EXPECT_NE(NetVideoDeviceInfo(), changed) << "field " << i;
        NetVideoDeviceInfo assigned;
        assigned = changed;
        const NetVideoDeviceInfo copied(assigned);
        assigned = NetVideoDeviceInfo();
        EXPECT_EQ(changed, copied) << "field " << i;
    }
}

// The listener objects exist since load, and they registered the type by
// name (looked up first: qMetaTypeId registers it by itself).
TEST(NetVideoDeviceInfoTest, IsAMetaTypeUnderItsOwnName) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const int byName = QMetaType::fromName("NetVideoDeviceInfo").id();
#else
    const int byName = QMetaType::type("NetVideoDeviceInfo");
#endif
    EXPECT_EQ(qMetaTypeId<NetVideoDeviceInfo>(), byName);
}

// Applications connect by the signal's signature as a text too.
TEST(ListenerObjectTest, SignalSignature) {
    for (const QMetaObject* meta :
         {&QDeviceSearcherListener::staticMetaObject, &QIPsearchListener::staticMetaObject})
        EXPECT_LE(0, meta->indexOfSignal("IPSearchSend(NetVideoDeviceInfo)")) << meta->className();
}

// A summary becomes a record with every field in its place (the fields that
// the device list shows are checked there); one without a product model is
// dropped; the HTTP port text is read as a decimal int cut to 16 bits,
// anything else is 0.
TEST(ListenerObjectTest, MulticastRecordItsFieldsFilterAndHttpPortText) {
    const DeviceSummaryInfo s = summary();
    const std::vector<NetVideoDeviceInfo> got = emitted(s);
    ASSERT_EQ(1u, got.size());
    const NetVideoDeviceInfo& r = got.front();
    EXPECT_EQ(s.getDeviceType(), r.getDeviceType());
    EXPECT_EQ(s.getHttpPort(), std::to_string(r.getHttpPort()));
    EXPECT_EQ(s.getManufacturerId(), r.getManufacturerId());
    EXPECT_EQ(s.getManufacturerName(), r.getManufacturerName());
    EXPECT_EQ(s.getDeviceTime(), r.getDeviceTime());
    EXPECT_EQ(s.getSN(), r.getSN());
    EXPECT_EQ(s.getUpdatePort(), r.getUpdatePort());
    EXPECT_EQ("", r.getSpareText1() + r.getSpareText2());

    DeviceSummaryInfo noModel = s;
    noModel.setProductModel("");
    EXPECT_TRUE(emitted(noModel).empty());
    const std::vector<std::pair<std::string, unsigned short>> ports = {
        {"abc", 0}, {"", 0}, {"80x", 0}, {"70000", 4464}, {"-1", 65535}, {"443", 443}};
    for (const auto& p : ports) {
        DeviceSummaryInfo port = s;
        port.setHttpPort(p.first);
        const auto one = emitted(port);
        ASSERT_EQ(1u, one.size()) << p.first;
        EXPECT_EQ(p.second, one.front().getHttpPort()) << p.first;
    }
}

// A record through the listener object of one search, emitted on a thread
// of its own as an engine emits it, or on this thread.
void emitRecord(DeviceListModel::Search search, const std::string& id, const std::string& ip,
                const std::string& name, bool ownThread = true) {
    DeviceSummaryInfo s;
    s.setDeviceId(id);
    s.setDeviceIP(ip);
    s.setDevicePort(30001);
    s.setProductModel("IPC-" + id);
    s.setDeviceName(name);
    s.setHardWareInfo("hw-" + id);
    s.setSoftWareInfo("sw-" + id);
    s.setMACAddr("00:11:22:33:44:" + id);
    DeviceSearch* controller = DeviceSearch::GetInstance();
    auto emitIt = [&] {
        if (search == DeviceListModel::MulticastSearch)
            return controller->getIPsearchListener()->onDeviceDiscovered(s);
        NetVideoDeviceInfo r;
        r.setDeviceId(id);
        r.setDeviceIP(ip);
        r.setDeviceName(name);
        controller->getDeviceSearcherListener()->onSearchResult(r);
    };
    if (!ownThread) return emitIt();
    std::thread(emitIt).join();
}

std::vector<std::string> ids(const DeviceListModel& model) {
    std::vector<std::string> out;
    for (int row = 0; row < model.rowCount(); ++row) {
        out.push_back(model.index(row, DeviceListModel::DeviceIdColumn).data().toString().toStdString());
    }
    return out;
}

TEST(DeviceListModelTest, OneRowPerDeviceIdAndAddressUpdatedInPlace) {
    DeviceListModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

    emitRecord(DeviceListModel::RangeSearch, "A", "10.0.0.1", "gate", false);
    EXPECT_EQ(0, model.rowCount());  // queued, even from this thread: it changes in the event loop only
    QCoreApplication::processEvents();
    ASSERT_EQ(1, model.rowCount());

    const struct {
        DeviceListModel::Search search;
        const char *id, *ip, *name;
        int rows, changes;
    } steps[] = {
        {DeviceListModel::RangeSearch, "A", "10.0.0.1", "gate", 1, 0},      // the same record: nothing
        {DeviceListModel::MulticastSearch, "A", "10.0.0.1", "door", 1, 1},  // changed: its row
        {DeviceListModel::RangeSearch, "A", "10.0.0.2", "door", 2, 1},      // another address: a row
        {DeviceListModel::MulticastSearch, "B", "10.0.0.1", "door", 3, 1},  // another id: a row
    };
    for (const auto& step : steps) {
        emitRecord(step.search, step.id, step.ip, step.name);
        QCoreApplication::processEvents();
        EXPECT_EQ(step.rows, model.rowCount()) << step.id << " " << step.ip;
        EXPECT_EQ(step.changes, changed.count()) << step.id << " " << step.ip;
    }
    EXPECT_EQ(model.index(0, DeviceListModel::ColumnCount - 1), changed.value(0).value(1).toModelIndex());

    // Row 0 holds the multicast record now.
    const std::vector<std::pair<int, QVariant>> columns = {
        {DeviceListModel::ModelColumn, "IPC-A"},
        {DeviceListModel::AddressColumn, "10.0.0.1"},
        {DeviceListModel::PortColumn, 30001},
        {DeviceListModel::DeviceIdColumn, "A"},
        {DeviceListModel::HardwareVerColumn, "hw-A"},
        {DeviceListModel::SoftwareVerColumn, "sw-A"},
        {DeviceListModel::MACAddrColumn, "00:11:22:33:44:A"},
        {DeviceListModel::DeviceNameColumn, "door"},
    };
    ASSERT_EQ(static_cast<size_t>(model.columnCount()), columns.size());
    for (const auto& [column, value] : columns) {
        const QVariant shown = model.index(0, column).data();
        EXPECT_EQ(value, shown) << column << ": " << shown.toString().toStdString();
    }
    const QVariant record = model.index(0, DeviceListModel::PortColumn).data(DeviceListModel::RecordRole);
    EXPECT_EQ("sw-A", record.value<NetVideoDeviceInfo>().getSoftwareVer());
}

TEST(DeviceListModelTest, StartingASearchDropsOnlyItsOwnRowsWhenAsked) {
    DeviceListModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    DeviceSearch* search = DeviceSearch::GetInstance();
    std::vector<std::tuple<int, int, int>> ends;
    QObject context;
    QObject::connect(search->getRangeSearchProgress(), &QRangeSearchProgress::finished, &context,
                     [&](int done, int total, int found) { ends.emplace_back(done, total, found); });
    // A range search over no address at all: it sends nothing and ends at once.
    search->setStartIP("");
    search->setEndIP("");
    search->setFlag(true);  // the start empties the address list first
    auto rangeSearch = [&] {
        const size_t before = ends.size();
        EXPECT_EQ(0, model.startSearch(true));
        EXPECT_TRUE(processUntil([&] { return ends.size() > before; }, std::chrono::seconds(5)));
        EXPECT_FALSE(search->isRangeSearchRunning());
    };

    // Range only, multicast only, both (interleaved, so that a drop splits runs).
    for (const char* id : {"R1", "R2", "B1", "M1", "R3", "B2"}) {
        if (id[0] != 'M') emitRecord(DeviceListModel::RangeSearch, id, "10.0.0.9", "");
        if (id[0] != 'R') emitRecord(DeviceListModel::MulticastSearch, id, "10.0.0.9", "");
    }
    QCoreApplication::processEvents();
    ASSERT_EQ(6, model.rowCount());

    model.setClearOnStart(false);
    rangeSearch();
    EXPECT_EQ(6, model.rowCount());
    model.setClearOnStart(true);
    rangeSearch();
    EXPECT_EQ((std::vector<std::string>{"B1", "M1", "B2"}), ids(model));
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(std::make_tuple(0, 0, 0), ends.back());

    // The multicast bit of B1 and B2 is all that holds them now.
    model.clearSearch(DeviceListModel::RangeSearch);
    EXPECT_EQ(3, model.rowCount());
    emitRecord(DeviceListModel::RangeSearch, "R4", "10.0.0.9", "");
    QCoreApplication::processEvents();
    model.clearSearch(DeviceListModel::MulticastSearch);
    EXPECT_EQ(std::vector<std::string>{"R4"}, ids(model));
    model.clear();
    EXPECT_EQ(0, model.rowCount());
}

TEST(DeviceListModelTest, ListsNoMoreThanItsLimitButStillUpdates) {
    DeviceListModel model;
    NetVideoDeviceInfo r;
    r.setDeviceIP("10.1.0.1");
    for (int i = 0; i <= DeviceListModel::kMaxRows; ++i) {
        r.setDeviceId(std::to_string(i));
        model.addRecord(r, DeviceListModel::RangeSearch);
    }
    EXPECT_EQ(DeviceListModel::kMaxRows, model.rowCount());
    r.setDeviceId("0");
    r.setDeviceName("renamed");
    model.addRecord(r, DeviceListModel::RangeSearch);
    EXPECT_EQ("renamed", model.index(0, DeviceListModel::DeviceNameColumn).data().toString().toStdString());
}

using namespace enginetest;
using namespace std::chrono_literals;

// Records of one listener object, received in the application's event loop.
struct Receiver {
    template <class Listener>
    explicit Receiver(Listener* listener) {
        QObject::connect(listener, &Listener::IPSearchSend, &context,
                         [this](const NetVideoDeviceInfo& r) { records.push_back(r); });
    }
    bool waitFor(size_t n) {
        return processUntil([&] { return records.size() >= n; }, 5000ms);
    }
    QObject context;
    std::vector<NetVideoDeviceInfo> records;
};

class Controller : public ::testing::Test {
  protected:
    void SetUp() override {
        // Each adapter has one device that answers the multicast query, and
        // every address of 10.5.0.0/24 answers the range query.
        net.setResponder([this](const FakeDatagram& q) {
            if (q.toPort == kQueryPort) {
                const int index = q.fromIp == "192.0.2.1" ? 1 : 2;
                net.deliver({q.fromIp, kQueryPort, q.fromIp, kAnswerPort,
                             answerBytes(deviceSummary(index, q.fromIp), kMulticastAnswerCommand)});
            } else if (q.toIp.rfind("10.5.0.", 0) == 0) {
                net.reply(q, q.toIp, answerBytes(deviceSummary(7, q.toIp), kRangeAnswerCommand));
            }
        });
    }
    void TearDown() override {
        // A range search still running is stopped by the next range start
        // (with the flag set), which then has nothing to do.
        search->setFlag(true);
        search->setStartIP(QString());
        search->startSearch(true);
        EXPECT_TRUE(processUntil([&] { return !search->isRangeSearchRunning(); }, 2000ms));
        search->stopSearch(true);
        search->setNetWorkType(0);
        search->setNetWorkName(QString());
        search->setPort(kRangePort);
        search->setQueryRate(0);
    }
    std::set<std::string> querySources() {
        std::set<std::string> out;
        for (const auto& d : net.sent()) {
            if (d.toPort == kQueryPort) out.insert(d.fromIp);
        }
        return out;
    }

    FakeNetwork net;
    DeviceSearch* search = DeviceSearch::GetInstance();
};

// Runs before any multicast search has configured its engines: the range
// search sets the flag, and the next test starts them.
TEST_F(Controller, RangeSearchTakesThePortAndKeepsOrDropsItsListByTheFlag) {
    Receiver receiver(search->getDeviceSearcherListener());
    EXPECT_EQ(kRangePort, search->getPort());  // the default
    search->setPort(30123);
    search->setStartIP("10.5.0.2");
    search->setEndIP("10.5.0.3");
    EXPECT_EQ(0, search->startSearch(true));
    EXPECT_TRUE(search->getFlag());
    ASSERT_TRUE(receiver.waitFor(2));
    for (const auto& r : receiver.records) EXPECT_EQ(30123, r.getDevicePort());

    // Started again with the flag set: the old list is dropped. This pass
    // is a fast scan.
    for (const auto& rate : {std::make_pair(-5, 0), std::make_pair(1000000, 100000),
                             std::make_pair(DeviceSearch::kDefaultQueryRate, 2000)}) {
        search->setQueryRate(rate.first);
        EXPECT_EQ(rate.second, search->getQueryRate());
    }
    receiver.records.clear();
    net.clearSent();
    search->setStartIP("10.5.0.9");
    search->setEndIP("10.5.0.9");
    EXPECT_EQ(0, search->startSearch(true));
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(1u, net.sent().size());
    search->setQueryRate(0);

    // After setFlag(false) a running search refuses a second start.
    search->setStartIP("10.6.0.0");
    search->setEndIP("10.6.3.255");
    EXPECT_EQ(0, search->startSearch(true));
    search->setFlag(false);
    EXPECT_EQ(kAlreadyRunning, search->startSearch(true));
}

TEST_F(Controller, MulticastSearchOnEveryAdapterReportsAnewOnEveryStart) {
    Receiver receiver(search->getIPsearchListener());
    EXPECT_EQ(-1, search->startSearch(false));
    ASSERT_TRUE(receiver.waitFor(2));
    EXPECT_EQ((std::set<std::string>{"192.0.2.1", "198.51.100.1"}), querySources());

    for (int restart = 0; restart < 3; ++restart) {
        receiver.records.clear();
        if (restart == 1) search->stopSearch(false);
        if (restart == 2) search->setFlag(false);  // configured once more, same listener
        EXPECT_EQ(-1, search->startSearch(false));
        ASSERT_TRUE(receiver.waitFor(2)) << restart;
    }
    search->stopSearch(false);
    EXPECT_EQ(0u, net.openCount());
}

TEST_F(Controller, NetworkTypeOneSelectsTheNamedAdapterOnly) {
    Receiver receiver(search->getIPsearchListener());
    search->setNetWorkType(1);
    search->setNetWorkName("lanB");
    EXPECT_EQ(-1, search->startSearch(false));
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(std::set<std::string>{"198.51.100.1"}, querySources());

    // An empty, unknown or differently cased name starts nothing.
    for (const QString& name : {QString(), QString("no-such-adapter"), QString("LANB")}) {
        search->stopSearch(false);
        net.clearSent();
        search->setNetWorkName(name);
        EXPECT_EQ(-1, search->startSearch(false));
        EXPECT_EQ(0u, net.openCount()) << name.toStdString();
    }
}

}  // namespace
