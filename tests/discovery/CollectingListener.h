#pragma once

// A discovery listener for tests: keeps every record it is handed and lets the
// test wait for a number of them. Engines call it on their own threads.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "devsearch/DeviceSearchListener.h"
#include "domain/records/DeviceSummaryInfo.h"

class CollectingListener : public IDeviceDiscoveryListener {
  public:
    void onDeviceDiscovered(const DeviceSummaryInfo& record) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
        m_cv.notify_all();
    }
    // Waits until `count` records arrived; false on time-out.
    bool waitFor(size_t count, std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cv.wait_for(lock, limit, [&] { return m_records.size() >= count; });
    }
    std::vector<DeviceSummaryInfo> records() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    size_t count() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records.size();
    }
    std::vector<std::string> ids() {
        std::vector<std::string> out;
        for (const auto& r : records()) out.push_back(r.getDeviceId());
        return out;
    }
    void clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.clear();
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::vector<DeviceSummaryInfo> m_records;
};
