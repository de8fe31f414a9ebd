#pragma once

// What the engine suites share: listeners that collect what the engines
// deliver, and the datagrams of simulated devices.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "devsearch/DeviceSearchListener.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsim/SimDevice.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "support/FakeNetwork.h"

namespace enginetest {

using testsupport::FakeDatagram;
using testsupport::FakeNetwork;
using testsupport::FakeStep;

// Records of one kind, collected from an engine's thread.
template <class Record>
class Collected {
  public:
    void add(const Record& r) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(r);
        m_cv.notify_all();
    }
    // Waits until `count` records arrived; false on time-out.
    bool waitFor(size_t count, std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cv.wait_for(lock, limit, [&] { return m_records.size() >= count; });
    }
    std::vector<Record> records() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    size_t count() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records.size();
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::vector<Record> m_records;
};

class DiscoveryCollector : public IDeviceDiscoveryListener, public Collected<DeviceSummaryInfo> {
  public:
    void onDeviceDiscovered(const DeviceSummaryInfo& record) override { add(record); }
};

struct Progress {
    int done, total, found;
    bool finished;
};

class RangeCollector : public IDeviceSearcherListener,
                       public IRangeSearchProgressListener,
                       public Collected<NetVideoDeviceInfo> {
  public:
    int onSearchResult(const NetVideoDeviceInfo& record) override {
        add(record);
        return 0;
    }
    void onRangeProgress(int done, int total, int found) override { report({done, total, found, false}); }
    void onRangeFinished(int done, int total, int found) override { report({done, total, found, true}); }
    // Waits for the end of a run and gives every report of it.
    std::vector<Progress> waitFinished(std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
        std::unique_lock<std::mutex> lock(m_progressMutex);
        m_progressSignal.wait_for(lock, limit,
                                  [&] { return !m_progress.empty() && m_progress.back().finished; });
        return m_progress;
    }

  private:
    void report(Progress p) {
        std::lock_guard<std::mutex> lock(m_progressMutex);
        m_progress.push_back(p);
        m_progressSignal.notify_all();
    }
    std::mutex m_progressMutex;
    std::condition_variable m_progressSignal;
    std::vector<Progress> m_progress;
};

// The summary that simulated device `index` on `address` reports, at `time`.
inline DeviceSummaryInfo deviceSummary(int index, const std::string& address = "192.0.2.100",
                                       const std::string& time = "2024-01-01 00:00:00") {
    SimDeviceConfig config;
    config.index = index;
    config.address = address;
    config.deviceTime = time;
    return makeSummary(config);
}

// An SDK datagram `command` carrying `summary`.
inline Bytes answerBytes(const DeviceSummaryInfo& summary, uint32_t command, uint16_t sequence = 0) {
    Bytes out;
    buildSummaryAnswer(summary, command, sequence, out);
    return out;
}

}  // namespace enginetest
