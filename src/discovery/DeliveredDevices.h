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

    // The earliest record held for `id`, or null.
    const Record* find(const std::string& id) const {
        auto found = m_mapById.find(std::string_view(id));
        return found == m_mapById.end() ? nullptr : &*found->second;
    }

    // Whether a record equal to `record` in every field is held.
    bool holdsEqual(const Record& record) const {
        auto range = m_mapById.equal_range(std::string_view(record.getDeviceId()));
        for (auto it = range.first; it != range.second; ++it) {
            if (*it->second == record) return true;
        }
        return false;
    }

    // Forgets every record held for `id`.
    void forget(const std::string& id) {
        auto range = m_mapById.equal_range(std::string_view(id));
        // The key views the record's id: the entry goes before the record.
        for (auto it = range.first; it != range.second;) {
            const Held held = it->second;
            it = m_mapById.erase(it);
            m_lstRecords.erase(held);
        }
        m_nHeld = m_lstRecords.size();
    }

    // Holds `record` as the newest, beside any earlier one of its id; past
    // the limit the oldest record is forgotten.
    void remember(const Record& record) {
        m_lstRecords.push_back(record);
        const auto held = std::prev(m_lstRecords.end());
        m_mapById.emplace(std::string_view(held->getDeviceId()), held);
        if (m_lstRecords.size() > m_nLimit) forgetOldest();
        m_nHeld = m_lstRecords.size();
    }

  private:
    using Held = typename std::list<Record>::iterator;

    void forgetOldest() {
        const Held oldest = m_lstRecords.begin();
        auto range = m_mapById.equal_range(std::string_view(oldest->getDeviceId()));
        for (auto it = range.first; it != range.second; ++it) {
            if (it->second != oldest) continue;
            m_mapById.erase(it);
            break;
        }
        m_lstRecords.erase(oldest);
    }

    size_t m_nLimit;
    // Oldest first.
    std::list<Record> m_lstRecords;
    std::unordered_multimap<std::string_view, Held> m_mapById;
    std::atomic<size_t> m_nHeld{0};
};
