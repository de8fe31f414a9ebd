#include "devsearch/DeviceListModel.h"

#include <QString>

#include "devsearch/DeviceSearch.h"

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

}  // namespace

DeviceListModel::DeviceListModel(QObject* parent) : QAbstractTableModel(parent) {
    DeviceSearch* search = DeviceSearch::GetInstance();
    // Queued even when a record is emitted on this thread: the table changes
    // in the event loop only, never inside a caller's emission.
    if (QIPsearchListener* multicast = search->getIPsearchListener()) {
        connect(
            multicast, &QIPsearchListener::IPSearchSend, this,
            [this](const NetVideoDeviceInfo& record) { addRecord(record, MulticastSearch); },
            Qt::QueuedConnection);
    }
    if (QDeviceSearcherListener* range = search->getDeviceSearcherListener()) {
        connect(
            range, &QDeviceSearcherListener::IPSearchSend, this,
            [this](const NetVideoDeviceInfo& record) { addRecord(record, RangeSearch); },
            Qt::QueuedConnection);
    }
}

DeviceListModel::~DeviceListModel() = default;

int DeviceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_vecRows.size());
}

int DeviceListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant DeviceListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
    const NetVideoDeviceInfo& r = m_vecRows[static_cast<size_t>(index.row())].record;
    if (role == RecordRole) return QVariant::fromValue(r);
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
        case ModelColumn:
            return text(r.getProductModel());
        case AddressColumn:
            return text(r.getDeviceIP());
        case PortColumn:
            return static_cast<int>(r.getDevicePort());
        case DeviceIdColumn:
            return text(r.getDeviceId());
        case HardwareVerColumn:
            return text(r.getHardwareVer());
        case SoftwareVerColumn:
            return text(r.getSoftwareVer());
        case MACAddrColumn:
            return text(r.getMACAddr());
        case DeviceNameColumn:
            return text(r.getDeviceName());
        default:
            return {};
    }
}

QVariant DeviceListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    switch (section) {
        case ModelColumn:
            return tr("Model");
        case AddressColumn:
            return tr("Address");
        case PortColumn:
            return tr("Port");
        case DeviceIdColumn:
            return tr("Device ID");
        case HardwareVerColumn:
            return tr("Hardware");
        case SoftwareVerColumn:
            return tr("Software");
        case MACAddrColumn:
            return tr("MAC");
        case DeviceNameColumn:
            return tr("Name");
        default:
            return {};
    }
}

QHash<int, QByteArray> DeviceListModel::roleNames() const {
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert(RecordRole, "record");
    return names;
}

int DeviceListModel::startSearch(bool active) {
    if (m_bClearOnStart) clearSearch(active ? RangeSearch : MulticastSearch);
    return DeviceSearch::GetInstance()->startSearch(active);
}

void DeviceListModel::addRecord(const NetVideoDeviceInfo& record, Search from) {
    auto key = std::make_pair(record.getDeviceId(), record.getDeviceIP());
    const auto found = m_mapRowOf.find(key);
    if (found == m_mapRowOf.end()) {
        if (m_vecRows.size() >= static_cast<size_t>(kMaxRows)) return;
        const int row = static_cast<int>(m_vecRows.size());
        beginInsertRows(QModelIndex(), row, row);
        m_vecRows.push_back(Row{record, from});
        m_mapRowOf.emplace(std::move(key), row);
        endInsertRows();
        return;
    }
    Row& held = m_vecRows[static_cast<size_t>(found->second)];
    held.searches |= from;
    if (held.record == record) return;
    held.record = record;
    Q_EMIT dataChanged(index(found->second, 0), index(found->second, ColumnCount - 1));
}

void DeviceListModel::clearSearch(Search search) {
    // Runs of rows to drop are removed from the end, so that the rows
    // before a run keep their numbers.
    for (int last = static_cast<int>(m_vecRows.size()) - 1; last >= 0; --last) {
        Row& row = m_vecRows[static_cast<size_t>(last)];
        row.searches &= ~search;
        if (row.searches != 0) continue;
        int first = last;
        while (first > 0) {
            Row& before = m_vecRows[static_cast<size_t>(first - 1)];
            before.searches &= ~search;
            if (before.searches != 0) break;
            --first;
        }
        beginRemoveRows(QModelIndex(), first, last);
        m_vecRows.erase(m_vecRows.begin() + first, m_vecRows.begin() + last + 1);
        endRemoveRows();
        last = first;
    }
    m_mapRowOf.clear();
    for (size_t i = 0; i < m_vecRows.size(); ++i) {
        const NetVideoDeviceInfo& r = m_vecRows[i].record;
        m_mapRowOf.emplace(std::make_pair(r.getDeviceId(), r.getDeviceIP()), static_cast<int>(i));
    }
}

void DeviceListModel::clear() {
    if (m_vecRows.empty()) return;
    beginResetModel();
    m_vecRows.clear();
    m_mapRowOf.clear();
    endResetModel();
}
