#pragma once

#include <atomic>
#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

// Records an engine holds for its duplicate check unless told otherwise.
constexpr size_t kDefaultRememberedDevices = 65536;

// The records one engine has delivered, kept so that a repeated record can be
// dropped. Found by device id in constant time, whatever the number held.
//
// At most `limit` records are held: remembering one more forgets the oldest,
// so that a flood of made-up devices cannot grow the process without bound.
// A forgotten device is new again, and is delivered again when it repeats.
//
// `Record` has getDeviceId() (a const std::string&) and full equality. The
// index keys on views of the ids of the records it holds, which never move.
template <class Record>
class DeliveredDevices {
  public:
    explicit DeliveredDevices(size_t limit = kDefaultRememberedDevices) : m_nLimit(limit == 0 ? 1 : limit) {}
    DeliveredDevices(const DeliveredDevices&) = delete;
    DeliveredDevices& operator=(const DeliveredDevices&) = delete;

    // At least 1. Lowering it forgets the oldest at once.
    void setLimit(size_t limit) {
        m_nLimit = limit == 0 ? 1 : limit;
        while (m_lstRecords.size() > m_nLimit) forgetOldest();
        m_nHeld = m_lstRecords.size();
    }
    size_t getLimit() const { return m_nLimit; }
    // May be read on any thread while the owner changes the records.
    size_t size() const { return m_nHeld.load(std::memory_order_relaxed); }

    void clear() {
        m_mapById.clear();
        m_lstRecords.clear();
        m_nHeld = 0;
    }

  private:
    using Held = typename std::list<Record>::iterator;
    using Index = std::unordered_multimap<std::string_view, Held>;

  public:
    // Where the record of a device id is held, for an engine that holds one
    // per id; it stays valid until the index next changes.
    using Slot = typename Index::iterator;

    Slot lookup(const std::string& id) { return m_mapById.find(std::string_view(id)); }
    // The record held at `slot`, or null when lookup() found none.
    const Record* at(Slot slot) const { return slot == m_mapById.end() ? nullptr : &*slot->second; }

    // Holds `record` as the newest in place of the one at `slot`, or beside
    // the others when lookup() found none.
    void store(Slot slot, const Record& record) {
        if (slot == m_mapById.end()) {
            remember(record);
            return;
        }
        const Held held = slot->second;
        if (slot->first != std::string_view(record.getDeviceId())) {
            retake(m_mapById.extract(slot), held, record);
            return;
        }
        // An equal id is assigned into the same buffer, which the key still
        // views: the entry stays where it is.
        *held = record;
        m_lstRecords.splice(m_lstRecords.end(), m_lstRecords, held);
        if (slot->first.data() != held->getDeviceId().data()) rekey(m_mapById.extract(slot), held);
    }

    // Whether a record equal to `record` in every field is held.
    bool holdsEqual(const Record& record) const {
        auto range = m_mapById.equal_range(std::string_view(record.getDeviceId()));
        for (auto it = range.first; it != range.second; ++it) {
            if (*it->second == record) return true;
        }
        return false;
    }

    // Holds `record` as the newest, beside any earlier one of its id; at the
    // limit it takes the place of the oldest record.
    void remember(const Record& record) {
        if (m_lstRecords.size() < m_nLimit) {
            m_lstRecords.push_back(record);
            const Held held = std::prev(m_lstRecords.end());
            m_mapById.emplace(std::string_view(held->getDeviceId()), held);
            m_nHeld = m_lstRecords.size();
            return;
        }
        const Held oldest = m_lstRecords.begin();
        retake(m_mapById.extract(entryOf(oldest)), oldest, record);
    }

  private:
    // Reuses a held record and its index entry, taken out of the index, for
    // `record`: assignment keeps the record's string buffers, so a full index
    // takes new records without allocating.
    void retake(typename Index::node_type entry, Held held, const Record& record) {
        *held = record;
        m_lstRecords.splice(m_lstRecords.end(), m_lstRecords, held);
        rekey(std::move(entry), held);
    }

    void rekey(typename Index::node_type entry, Held held) {
        entry.key() = std::string_view(held->getDeviceId());
        m_mapById.insert(std::move(entry));
    }

    Slot entryOf(Held held) {
        auto range = m_mapById.equal_range(std::string_view(held->getDeviceId()));
        for (auto it = range.first; it != range.second; ++it) {
            if (it->second == held) return it;
        }
        return m_mapById.end();
    }

    void forgetOldest() {
        const Held oldest = m_lstRecords.begin();
        // The key views the record's id: the entry goes before the record.
        m_mapById.erase(entryOf(oldest));
        m_lstRecords.erase(oldest);
    }

    size_t m_nLimit;
    // Oldest first.
    std::list<Record> m_lstRecords;
    Index m_mapById;
    std::atomic<size_t> m_nHeld{0};
};
