#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Product/Technic/GThread.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLThread.h"
#include "TempDir.h"

namespace {

// Waits up to five seconds for a condition.
template <class F>
bool eventually(F condition) {
    for (int i = 0; i < 500; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

class CountingThread : public OLThread {
  public:
    explicit CountingThread(int result) : OLThread("counting"), m_nResult(result) {}
    ~CountingThread() override {
        m_bQuit = true;
        stop();
    }
    std::atomic<bool> m_bQuit{false};
    std::atomic<bool> m_bBegun{false};
    std::atomic<int> m_nRuns{0};
    bool m_bHold = false;

  protected:
    int run() override {
        m_bBegun = true;
        notifyStarted();
        ++m_nRuns;
        while (m_bHold && !m_bQuit) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return m_nResult;
    }

  private:
    int m_nResult;
};

// Runs each thread test in a temporary directory, where the relative thread
// exception log path leads into ./mnt/mtd/log, and with the stop log there too.
class GThreadTest : public testing::Test {
  protected:
    void SetUp() override {
        char cwd[4096];
        ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
        m_strOldDir = cwd;
        ASSERT_EQ(std::system(("mkdir -p '" + m_objDir.path() + "/mnt/mtd/log'").c_str()), 0);
        ASSERT_EQ(chdir(m_objDir.path().c_str()), 0);
        setStopLogPath(m_objDir.file("Reboot.log"));
        ASSERT_TRUE(isSystemRunning());
    }
    void TearDown() override {
        if (!isSystemRunning()) {
            testing::internal::CaptureStdout();
            setSystemRunningFlag(true, "restored by test");
            testing::internal::GetCapturedStdout();
        }
        setStopLogPath("");
        ASSERT_EQ(chdir(m_strOldDir.c_str()), 0);
    }

    std::vector<std::string> exceptionLog() const {
        std::vector<std::string> lines;
        std::istringstream in(TempDir::read(m_objDir.file("mnt/mtd/log/ThreadException.log")));
        for (std::string line; std::getline(in, line);)
            lines.push_back(line.size() > 19 ? line.substr(19) : line);
        return lines;
    }

    TempDir m_objDir;
    std::string m_strOldDir;
};

struct Counter {
    std::atomic<int> calls{0};
    int result = 0;
    int call() {
        ++calls;
        return result;
    }
};

}  // namespace

TEST(OLThreadTest, StartStopAndRestart) {
    CountingThread thread(7);
    thread.m_bHold = true;
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.stop(), -4);  // never started

    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(thread.m_bBegun);  // start() returns after run() has begun
    EXPECT_TRUE(thread.isRunning());
    EXPECT_EQ(thread.start(), -5);
    EXPECT_NE(thread.getThreadId(), 0);
    EXPECT_NE(thread.getThreadId(), OLThread::currentThreadId());

    thread.m_bQuit = true;
    EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
    EXPECT_EQ(thread.stop(), -4);  // already ended: handle closed
    EXPECT_EQ(thread.getExitResult(), 7);
    EXPECT_EQ(thread.m_nRuns, 1);

    // A run() that returns at once still lets start() return; a second start works.
    thread.m_bHold = false;
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(eventually([&] { return thread.m_nRuns == 2 && !thread.isRunning(); }));
    EXPECT_EQ(thread.waitForExit(), -4);
}

TEST(OLThreadTest, WaitForExitJoinsARunningThread) {
    CountingThread thread(0);
    thread.m_bHold = true;
    ASSERT_EQ(thread.start(), 0);
    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        thread.m_bQuit = true;
    });
    EXPECT_EQ(thread.waitForExit(), 0);
    EXPECT_FALSE(thread.isRunning());
    releaser.join();
    EXPECT_EQ(thread.waitForExit(), -4);
}

TEST(OLThreadTest, RunWithoutNotifyStillReleasesTheGate) {
    class Forgetful : public OLThread {
      protected:
        int run() override { return 3; }
    };
    Forgetful thread;
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
    thread.stop();
    ASSERT_EQ(thread.start(), 0);
    thread.stop();
    EXPECT_EQ(thread.getExitResult(), 3);
}

TEST_F(GThreadTest, RunResultEndsTheLoop) {
    Counter body, setup, teardown;
    body.result = -1;
    GThread thread(function<int>(&Counter::call, &body), "worker", function<int>(&Counter::call, &setup),
                   function<int>(&Counter::call, &teardown));
    EXPECT_EQ(thread.getInfo()->state, 2);
    EXPECT_EQ(thread.getInfo()->timeout, 210);
    EXPECT_EQ(thread.getInfo()->name, "worker");
    EXPECT_EQ(getThreadChannel(), "/tmp/threadchannel");

    ASSERT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 1);
    EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
    EXPECT_EQ(body.calls, 1);
    EXPECT_EQ(thread.getRunCount(), 1);
    EXPECT_EQ(thread.getResult(), -1);
    EXPECT_EQ(thread.getInfo()->state, 2);
    EXPECT_NE(thread.getInfo()->threadId, 0);
    EXPECT_TRUE(isSystemRunning());

    EXPECT_TRUE(thread.stop());
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(teardown.calls, 1);
    EXPECT_TRUE(exceptionLog().empty());
}

TEST_F(GThreadTest, StartOnARunningThreadChangesNothing) {
    Counter setup;
    std::atomic<int> calls{0};
    GThread thread(function<int>([&] {
                       ++calls;
                       std::this_thread::sleep_for(std::chrono::milliseconds(2));
                       return 0;
                   }),
                   "busy", function<int>(&Counter::call, &setup));
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(eventually([&] { return calls >= 3; }));
    const int seen = thread.getRunCount();
    EXPECT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 1);
    EXPECT_GE(thread.getRunCount(), seen);
    EXPECT_TRUE(thread.stop());
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.getInfo()->state, 2);

    // start after stop: a new thread, setup again, the count from zero.
    const int before = calls;
    ASSERT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 2);
    ASSERT_TRUE(eventually([&] { return calls > before; }));
    EXPECT_LE(thread.getRunCount(), calls - before);
    EXPECT_TRUE(thread.stop());
}

TEST_F(GThreadTest, SetupAndTeardownFailures) {
    Counter body, setup, teardown;
    setup.result = 5;
    teardown.result = 3;
    GThread thread(function<int>(&Counter::call, &body), "failing", function<int>(&Counter::call, &setup),
                   function<int>(&Counter::call, &teardown));
    EXPECT_FALSE(thread.start());
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(body.calls, 0);
    EXPECT_EQ(thread.getInfo()->state, 2);
    std::vector<std::string> log = exceptionLog();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], ",[ThreadException] thread(failing," + std::to_string(OLThread::currentThreadId()) +
                          ") setup failed. result= 5");

    // setupDone stayed set: stop runs teardown, once.
    EXPECT_FALSE(thread.stop());
    EXPECT_EQ(teardown.calls, 1);
    log = exceptionLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], ",[ThreadException] thread(failing,0) teardown failed,result=3");
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(teardown.calls, 1);
    EXPECT_TRUE(isSystemRunning());
}

TEST_F(GThreadTest, RemainingLimitsThePasses) {
    Counter body;
    GThread thread(function<int>(&Counter::call, &body), "limited");
    thread.setRemaining(3);
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
    EXPECT_EQ(body.calls, 3);
    EXPECT_TRUE(thread.stop());
}

TEST_F(GThreadTest, RunExceptionTakesTheProcessDown) {
    std::atomic<int> otherCalls{0};
    GThread other(function<int>([&] {
                      ++otherCalls;
                      std::this_thread::sleep_for(std::chrono::milliseconds(5));
                      return 0;
                  }),
                  "bystander");
    ASSERT_TRUE(other.start());

    GThread thrower(function<int>([]() -> int {
                        const char* text = "broken pointer";
                        throw OLRuntimeError(text);
                    }),
                    "thrower");
    testing::internal::CaptureStdout();
    ASSERT_TRUE(thrower.start());
    EXPECT_TRUE(eventually([&] { return !isSystemRunning(); }));
    // The second GThread leaves its loop on its next pass.
    EXPECT_TRUE(eventually([&] { return !other.isRunning() && !thrower.isRunning(); }));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("Flag=0 Reason=GThread running exception.\n"), std::string::npos) << printed;
    EXPECT_EQ(other.getInfo()->state, 2);
    EXPECT_EQ(thrower.getInfo()->state, 2);

    const std::vector<std::string> log = exceptionLog();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], ",[ThreadException] thread(thrower," + std::to_string(thrower.getInfo()->threadId) +
                          ") running exception,message[broken pointer]");
    EXPECT_EQ(TempDir::read(m_objDir.file("Reboot.log")).substr(19),
              ",[SystemStop] GThread running exception.\n");
    EXPECT_TRUE(thrower.stop());
    EXPECT_TRUE(other.stop());
}

TEST_F(GThreadTest, SetupAndTeardownExceptions) {
    Counter body;
    bool throwInSetup = true;
    auto thrower = [&]() -> int {
        if (throwInSetup) throw std::runtime_error("setup broke");
        throw std::runtime_error("teardown broke");
    };
    GThread thread(function<int>(&Counter::call, &body), "fragile", function<int>(thrower),
                   function<int>(thrower));
    testing::internal::CaptureStdout();
    EXPECT_FALSE(thread.start());
    EXPECT_FALSE(isSystemRunning());
    EXPECT_FALSE(thread.isRunning());

    // Restore the flag, then the teardown throws.
    setSystemRunningFlag(true, "restored by test");
    throwInSetup = false;
    EXPECT_FALSE(thread.stop());
    EXPECT_FALSE(isSystemRunning());
    testing::internal::GetCapturedStdout();

    const std::vector<std::string> log = exceptionLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], ",[ThreadException] thread(fragile," + std::to_string(OLThread::currentThreadId()) +
                          ") setup exception,massage[setup broke]");
    EXPECT_EQ(log[1], ",[ThreadException] thread(fragile,0) teardown exception,massage[teardown broke]");
    EXPECT_EQ(body.calls, 0);
}

TEST_F(GThreadTest, DestroyingARunningThreadForcesAStop) {
    Counter teardown;
    std::atomic<int> calls{0};
    int threadId = 0;
    {
        GThread thread(function<int>([&] {
                           ++calls;
                           std::this_thread::sleep_for(std::chrono::milliseconds(2));
                           return 0;
                       }),
                       "doomed", function<int>(), function<int>(&Counter::call, &teardown));
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(eventually([&] { return thread.getInfo()->threadId != 0; }));
        threadId = thread.getInfo()->threadId;
    }
    EXPECT_EQ(teardown.calls, 1);
    const std::vector<std::string> log = exceptionLog();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], ",[ThreadException] force stop thread(doomed," + std::to_string(threadId) + ")");
}

TEST_F(GThreadTest, DefaultCallablesLogNothing) {
    GThread thread(function<int>(), "idle");
    // The default run callable returns 0 and does not block: stop it right away.
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(thread.stop());
    EXPECT_TRUE(exceptionLog().empty());
    EXPECT_TRUE(isSystemRunning());
}

TEST(FunctionTest, CopiesShareOneCallable) {
    SafePointerRegistry& registry = *SafePointerRegistry::getInstance();
    const int before = registry.getNameCount("function_obj_base<int>");
    Counter counter;
    counter.result = 9;
    {
        function<int> bound(&Counter::call, &counter);
        EXPECT_EQ(registry.getNameCount("function_obj_base<int>"), before + 1);
        function<int> copy(bound);
        function<int> assigned;
        EXPECT_EQ(registry.getNameCount("function_obj_base<int>"), before + 2);
        assigned = copy;
        EXPECT_EQ(registry.getNameCount("function_obj_base<int>"), before + 1);
        EXPECT_EQ(copy(), 9);
        EXPECT_EQ(assigned(), 9);
        EXPECT_EQ(counter.calls, 2);
        EXPECT_EQ(function<int>()(), 0);
    }
    EXPECT_EQ(registry.getNameCount("function_obj_base<int>"), before);
}
