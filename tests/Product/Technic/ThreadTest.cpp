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

void pause(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Waits up to five seconds for a condition.
template <class F>
bool eventually(F condition) {
    for (int i = 0; i < 500 && !condition(); ++i) pause(10);
    return condition();
}

class CountingThread : public OLThread {
  public:
    CountingThread() : OLThread("counting") {}
    ~CountingThread() override {
        m_bQuit = true;
        stop();
    }
    std::atomic<bool> m_bQuit{false};
    std::atomic<bool> m_bBegun{false};
    std::atomic<int> m_nRuns{0};
    bool m_bNotify = true;

  protected:
    int run() override {
        m_bBegun = true;
        if (m_bNotify) notifyStarted();
        ++m_nRuns;
        while (!m_bQuit) pause(5);
        return 7;
    }
};

// Each thread test runs in a temporary directory, where the relative thread
// exception log path leads into ./mnt/mtd/log, with the stop log there too.
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

    // The lines of the thread exception log without their time stamps.
    std::vector<std::string> exceptionLog() const {
        std::vector<std::string> lines;
        std::istringstream in(TempDir::read(m_objDir.file("mnt/mtd/log/ThreadException.log")));
        for (std::string line; std::getline(in, line);) lines.push_back(line.substr(19));
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
    function<int> fn() { return function<int>(&Counter::call, this); }
};

// A run callable that counts its calls and paces the loop.
function<int> busy(std::atomic<int>& calls) {
    return function<int>([&calls] {
        ++calls;
        pause(2);
        return 0;
    });
}

}  // namespace

TEST(OLThreadTest, StartStopWaitAndRestart) {
    CountingThread thread;
    EXPECT_EQ(thread.stop(), -4);  // never started
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(thread.m_bBegun);  // start() returns after run() has begun
    EXPECT_TRUE(thread.isRunning());
    EXPECT_EQ(thread.start(), -5);
    EXPECT_NE(thread.getThreadId(), OLThread::currentThreadId());
    std::thread releaser([&] {
        pause(30);
        thread.m_bQuit = true;
    });
    EXPECT_EQ(thread.waitForExit(), 0);  // joined the running thread
    releaser.join();
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.waitForExit(), -4);
    EXPECT_EQ(thread.stop(), -4);  // already ended: handle closed
    EXPECT_EQ(thread.getExitResult(), 7);

    // A run() that never calls notifyStarted still lets start() return; a second start works.
    thread.m_bNotify = false;
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(eventually([&] { return thread.m_nRuns == 2 && !thread.isRunning(); }));
}

TEST_F(GThreadTest, RunResultEndsTheLoopAndTeardownRunsOnce) {
    Counter body, setup, teardown;
    body.result = -1;
    GThread thread(body.fn(), "worker", setup.fn(), teardown.fn());
    ASSERT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 1);
    EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
    EXPECT_EQ(body.calls, 1);
    EXPECT_EQ(thread.getRunCount(), 1);
    EXPECT_EQ(thread.getResult(), -1);
    EXPECT_EQ(thread.getInfo()->state, 2);
    EXPECT_TRUE(isSystemRunning());
    EXPECT_TRUE(thread.stop());
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(teardown.calls, 1);
    EXPECT_TRUE(exceptionLog().empty());

    // A limit of passes ends the loop as well.
    Counter limited;
    GThread counted(limited.fn(), "limited");
    counted.setRemaining(3);
    ASSERT_TRUE(counted.start());
    EXPECT_TRUE(eventually([&] { return !counted.isRunning(); }));
    EXPECT_EQ(limited.calls, 3);
    EXPECT_TRUE(counted.stop());
}

TEST_F(GThreadTest, StartOnARunningThreadChangesNothing) {
    Counter setup;
    std::atomic<int> calls{0};
    GThread thread(busy(calls), "busy", setup.fn());
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(eventually([&] { return calls >= 3; }));
    const int seen = thread.getRunCount();
    EXPECT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 1);
    EXPECT_GE(thread.getRunCount(), seen);
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.getInfo()->state, 2);

    // start after stop: a new thread, setup again, the count from zero.
    const int before = calls;
    ASSERT_TRUE(thread.start());
    EXPECT_EQ(setup.calls, 2);
    ASSERT_TRUE(eventually([&] { return calls > before; }));
    EXPECT_LE(thread.getRunCount(), calls - before);
    EXPECT_TRUE(thread.stop());
}

// A setup or teardown that fails by result or by exception: start and stop
// say false, the exception log gets a line each, and an exception also takes
// the process's running flag down. setupDone stays set, so stop runs teardown.
TEST_F(GThreadTest, SetupAndTeardownFailures) {
    bool throws = false;
    auto failing = [&](int result, const char* text) {
        return function<int>([&throws, result, text]() -> int {
            if (throws) throw std::runtime_error(text);
            return result;
        });
    };
    const std::string id = std::to_string(OLThread::currentThreadId());
    for (bool exception : {false, true}) {
        throws = exception;
        Counter body;
        GThread thread(body.fn(), "failing", failing(5, "setup broke"), failing(3, "teardown broke"));
        testing::internal::CaptureStdout();
        EXPECT_FALSE(thread.start());
        EXPECT_EQ(isSystemRunning(), !exception);
        setSystemRunningFlag(true, "restored by test");
        EXPECT_FALSE(thread.stop());
        EXPECT_EQ(isSystemRunning(), !exception);
        EXPECT_TRUE(thread.stop());  // teardown ran once
        setSystemRunningFlag(true, "restored by test");
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(body.calls, 0);
    }
    EXPECT_EQ(exceptionLog(),
              (std::vector<std::string>{
                  ",[ThreadException] thread(failing," + id + ") setup failed. result= 5",
                  ",[ThreadException] thread(failing,0) teardown failed,result=3",
                  ",[ThreadException] thread(failing," + id + ") setup exception,massage[setup broke]",
                  ",[ThreadException] thread(failing,0) teardown exception,massage[teardown broke]"}));
}

TEST_F(GThreadTest, RunExceptionTakesTheProcessDown) {
    std::atomic<int> otherCalls{0};
    GThread other(busy(otherCalls), "bystander");
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
    EXPECT_EQ(exceptionLog(), (std::vector<std::string>{",[ThreadException] thread(thrower," +
                                                        std::to_string(thrower.getInfo()->threadId) +
                                                        ") running exception,message[broken pointer]"}));
    EXPECT_EQ(TempDir::read(m_objDir.file("Reboot.log")).substr(19),
              ",[SystemStop] GThread running exception.\n");
    EXPECT_TRUE(thrower.stop());
    EXPECT_TRUE(other.stop());
}

TEST_F(GThreadTest, DestroyingARunningThreadForcesAStop) {
    Counter teardown;
    std::atomic<int> calls{0};
    int threadId = 0;
    {
        GThread thread(busy(calls), "doomed", function<int>(), teardown.fn());
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(eventually([&] { return thread.getInfo()->threadId != 0; }));
        threadId = thread.getInfo()->threadId;
    }
    EXPECT_EQ(teardown.calls, 1);
    EXPECT_EQ(exceptionLog(), (std::vector<std::string>{",[ThreadException] force stop thread(doomed," +
                                                        std::to_string(threadId) + ")"}));

    // Default callables return 0 and log nothing.
    GThread idle(function<int>(), "idle");
    ASSERT_TRUE(idle.start());
    EXPECT_TRUE(idle.stop());
    EXPECT_EQ(exceptionLog().size(), 1u);
}

TEST(FunctionTest, CopiesShareOneCallable) {
    int calls = 0;
    function<int> counting([calls]() mutable { return ++calls; });
    function<int> copy(counting);
    EXPECT_EQ(counting(), 1);
    EXPECT_EQ(copy(), 2);  // the same callable, not a copy of it
    EXPECT_EQ(function<int>()(), 0);
}
