// The device list model under Qt's model checker: rows by device id and
// address fed through the listener objects from other threads (each record a
// queued copy, its fields in the columns), updates, clearing by search, the
// row limit, and the range search's end signal.
#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "devsearch/DeviceListModel.h"
#include "devsearch/DeviceSearch.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "search/QtTestEnvironment.h"

namespace {

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
        EXPECT_TRUE(testqt::processUntil([&] { return ends.size() > before; }, std::chrono::seconds(5)));
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

}  // namespace
