#pragma once

#include <QAbstractTableModel>
#include <QByteArray>
#include <QHash>
#include <QModelIndex>
#include <QVariant>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "devsearch/Export.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/NetVideoDeviceInfoMetaType.h"

// The devices that the two searches of DeviceSearch::GetInstance() have
// found, as a table for a view or a proxy model: one row per device, told
// apart by device id and address, in the order they were first found. A
// record of a listed device replaces that row's record when it differs.
//
// Records reach the model through queued connections, so it changes only in
// the event loop of its own thread; call its operations on that thread.
// Rows stay when a search stops. startSearch() starts a search through the
// controller and, while clearOnStart() is true, first drops the rows that
// only that search had found; clear() empties the table.
class DEVSEARCH_EXPORT DeviceListModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column {
        ModelColumn,  // product model
        AddressColumn,
        PortColumn,  // control port, a number
        DeviceIdColumn,
        HardwareVerColumn,
        SoftwareVerColumn,
        MACAddrColumn,
        DeviceNameColumn,
        ColumnCount
    };
    enum Role {
        // The whole NetVideoDeviceInfo of the row, in every column.
        RecordRole = Qt::UserRole + 1
    };
    // Which search reported a record.
    enum Search { MulticastSearch = 1, RangeSearch = 2 };
    // More devices than this are not listed; their records are dropped.
    static constexpr int kMaxRows = 65536;

    explicit DeviceListModel(QObject* parent = nullptr);
    ~DeviceListModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Whether startSearch() drops the rows of the search it starts (true at
    // construction).
    bool clearOnStart() const { return m_bClearOnStart; }
    void setClearOnStart(bool on) { m_bClearOnStart = on; }
    // DeviceSearch::startSearch, with its result.
    int startSearch(bool active);

  public Q_SLOTS:
    // Lists the device or updates its row.
    void addRecord(const NetVideoDeviceInfo& record, DeviceListModel::Search from);
    // Drops the rows that no other search than `search` has reported.
    void clearSearch(DeviceListModel::Search search);
    void clear();

  private:
    struct Row {
        NetVideoDeviceInfo record;
        int searches;  // Search bits
    };

    std::vector<Row> m_vecRows;
    std::map<std::pair<std::string, std::string>, int> m_mapRowOf;  // (device id, address) to row
    bool m_bClearOnStart = true;
};
