#pragma once

// A QCoreApplication for the whole test program, made before the first test,
// and a way to run its event loop until something has happened.

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace testqt {

class QtEnvironment : public ::testing::Environment {
    void SetUp() override { m_pApp = std::make_unique<QCoreApplication>(m_nArgc, m_argv); }
    void TearDown() override { m_pApp.reset(); }

    int m_nArgc = 1;
    char m_szName[15] = "devsearch-test";
    char* m_argv[2] = {m_szName, nullptr};
    std::unique_ptr<QCoreApplication> m_pApp;
};

// Processes events of the calling (application) thread until `done` is true;
// false when `limit` has passed first.
inline bool processUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// Registered once per test program.
inline ::testing::Environment* const g_qtEnvironment = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace testqt
