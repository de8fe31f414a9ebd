#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <iterator>
#include <list>
#include <string>
#include <string_view>
#include <vector>

// Records an engine holds for its duplicate check unless told otherwise.
constexpr size_t kDefaultRememberedDevices = 65536;

// The records one engine has delivered, kept so that a repeated record can be
// dropped. Found by device id in constant time, whatever the number held.
//
// At most `limit` records are held: remembering one more forgets the oldest,
// so that a flood of made-up devices cannot grow the process without bound.
// A forgotten device is new again, and is delivered again when it repeats.
//
// `Record` has getDeviceId() (a const std::string&) and full equality.
//
// The index is one flat table (open addressing, linear probing) of the ids'
// hashes and the records' places: a look-up reads one entry and the record it
// names. With many devices known a chained hash map costs two more reads far
// apart in memory per look-up, which dominated the cost of a delivery.
template <class Record>
class DeliveredDevices {
    using Held = typename std::list<Record>::iterator;

  public:
    // Where the record of a device id is held, for an engine that holds one
    // per id; it stays valid until the index next changes.
    using Slot = size_t;
    static constexpr Slot kNoSlot = static_cast<Slot>(-1);

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
        m_vecTable.clear();
        m_lstRecords.clear();
        m_nHeld = 0;
    }

    Slot lookup(const std::string& id) const {
        return find(id, [](const Record&) { return true; });
    }
    // The record held at `slot`, or null when lookup() found none.
    const Record* at(Slot slot) const { return slot == kNoSlot ? nullptr : &*m_vecTable[slot].held; }

    // Holds `record`, whose id is the one lookup() was given, as the newest:
    // written over the one at `slot` (its entry stays), or beside the others
    // when lookup() found none.
    void store(Slot slot, const Record& record) {
        if (slot == kNoSlot) {
            remember(record);
            return;
        }
        makeNewest(m_vecTable[slot].held, record);
    }

    // Whether a record equal to `record` in every field is held.
    bool holdsEqual(const Record& record) const {
        return find(record.getDeviceId(), [&](const Record& held) { return held == record; }) != kNoSlot;
    }

    // Holds `record` as the newest, beside any earlier one of its id; at the
    // limit it takes the place of the oldest record.
    void remember(const Record& record) {
        if (m_lstRecords.size() < m_nLimit) {
            m_lstRecords.push_back(record);
            insert(std::prev(m_lstRecords.end()));
            m_nHeld = m_lstRecords.size();
            return;
        }
        const Held oldest = m_lstRecords.begin();
        erase(entryOf(oldest));
        makeNewest(oldest, record);
        insert(oldest);
    }

  private:
    struct Entry {
        size_t hash = 0;
        Held held{};
        bool used = false;
    };

    static size_t hashOf(const std::string& id) { return std::hash<std::string_view>()(id); }
    size_t home(size_t hash) const { return hash & (m_vecTable.size() - 1); }
    size_t next(size_t i) const { return (i + 1) & (m_vecTable.size() - 1); }

    // The first entry of `id` whose record `match` accepts, or kNoSlot.
    template <class Match>
    Slot find(const std::string& id, Match match) const {
        const size_t hash = hashOf(id);
        for (size_t i = home(hash); !m_vecTable.empty() && m_vecTable[i].used; i = next(i)) {
            const Entry& e = m_vecTable[i];
            if (e.hash == hash && e.held->getDeviceId() == id && match(*e.held)) return i;
        }
        return kNoSlot;
    }

    // Writes `record` over a held one and makes it the newest. Assignment
    // keeps the record's string buffers, so a full index takes new records
    // without allocating.
    void makeNewest(Held held, const Record& record) {
        *held = record;
        m_lstRecords.splice(m_lstRecords.end(), m_lstRecords, held);
    }

    // The table is at most half full: probes stay short. `held` is counted
    // among the records already.
    void insert(Held held) {
        if (2 * m_lstRecords.size() > m_vecTable.size()) grow();
        place(Entry{hashOf(held->getDeviceId()), held, true});
    }

    void place(const Entry& entry) {
        size_t i = home(entry.hash);
        while (m_vecTable[i].used) i = next(i);
        m_vecTable[i] = entry;
    }

    void grow() {
        std::vector<Entry> old(std::max<size_t>(16, 2 * m_vecTable.size()));
        old.swap(m_vecTable);
        for (const Entry& e : old) {
            if (e.used) place(e);
        }
    }

    // Empties entry `i` and moves later entries of its run back, so that
    // every entry stays reachable from its home without markers.
    void erase(size_t i) {
        for (size_t j = next(i); m_vecTable[j].used; j = next(j)) {
            const size_t h = home(m_vecTable[j].hash);
            // An entry whose home lies cyclically in (i, j] stays put.
            const bool stays = i <= j ? (i < h && h <= j) : (i < h || h <= j);
            if (stays) continue;
            m_vecTable[i] = m_vecTable[j];
            i = j;
        }
        m_vecTable[i] = Entry{};
    }

    size_t entryOf(Held held) const {
        const size_t hash = hashOf(held->getDeviceId());
        size_t i = home(hash);
        while (!m_vecTable[i].used || m_vecTable[i].held != held) i = next(i);
        return i;
    }

    void forgetOldest() {
        const Held oldest = m_lstRecords.begin();
        erase(entryOf(oldest));
        m_lstRecords.erase(oldest);
    }

    size_t m_nLimit;
    // Oldest first.
    std::list<Record> m_lstRecords;
    // Empty, or a power of two entries.
    std::vector<Entry> m_vecTable;
    std::atomic<size_t> m_nHeld{0};
};
