#include <atomic>

#include "Product/Technic/GThread.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLThread.h"
#include "TestSupport.h"

namespace {

class Worker : public OLThread {
  public:
    ~Worker() override {
        quit = true;
        stop();
    }
    std::atomic<bool> quit{false}, begun{false};
    bool notify = true;

  protected:
    int run() override {
        begun = true;
        if (notify) notifyStarted();
        while (!quit) pause(5);
        return 7;
    }
};

// The thread exception log and the stop log of each test lie in a temporary directory.
class GThreadTest : public testing::Test {
  protected:
    void SetUp() override {
        setThreadExceptionLogPath(m_objDir.file("ThreadException.log"));
        setStopLogPath(m_objDir.file("Reboot.log"));
        ASSERT_TRUE(isSystemRunning());
    }
    void TearDown() override {
        testing::internal::CaptureStdout();
        setSystemRunningFlag(true, "restored by test");
        testing::internal::GetCapturedStdout();
        setThreadExceptionLogPath("");
        setStopLogPath("");
    }
    Lines exceptionLog() const { return logLines(m_objDir.file("ThreadException.log")); }
    Lines stopLog() const { return logLines(m_objDir.file("Reboot.log")); }

    TempDir m_objDir;
};

// A callable that counts its calls, returns a result or throws a text; as a
// run callable it paces the loop.
struct Counter {
    std::atomic<int> calls{0};
    int result = 0;
    const char* throws = nullptr;
    int call() {
        ++calls;
        pause(1);
        if (throws != nullptr) throw OLRuntimeError(throws);
        return result;
    }
    function<int> fn() { return function<int>(&Counter::call, this); }
};

}  // namespace

TEST(OLThreadTest, StartStopWaitAndRestart) {
    Worker thread;
    EXPECT_EQ(thread.stop(), -4);  // never started
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(thread.begun);  // start() returns after run() has begun
    EXPECT_EQ(thread.start(), -5);
    std::thread releaser([&] {
        pause(30);
        thread.quit = true;
    });
    EXPECT_EQ(thread.waitForExit(), 0);  // joined the running thread
    releaser.join();
    EXPECT_EQ(thread.stop(), -4);  // already ended: handle closed
    EXPECT_EQ(thread.getExitResult(), 7);

    // A run() that never calls notifyStarted still lets start() return; a second start works.
    thread.notify = false;
    thread.begun = false;
    ASSERT_EQ(thread.start(), 0);
    EXPECT_TRUE(eventually([&] { return thread.begun && !thread.isRunning(); }));
}

// A run result other than 0 ends the loop; stop runs teardown once. A start
// after stop runs setup again and counts anew, a second start changes nothing,
// and destroying the running thread forces a stop.
TEST_F(GThreadTest, LifecycleWithoutFailures) {
    Counter body, setup, teardown;
    std::string threadId;
    {
        body.result = -1;
        GThread thread(body.fn(), "worker", setup.fn(), teardown.fn());
        ASSERT_TRUE(thread.start());
        EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
        EXPECT_EQ(body.calls, 1);
        EXPECT_EQ(thread.getResult(), -1);
        EXPECT_TRUE(thread.stop());
        EXPECT_TRUE(thread.stop());
        EXPECT_EQ(teardown.calls, 1);
        ASSERT_TRUE(thread.start());
        EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
        EXPECT_EQ(setup.calls, 2);
        EXPECT_EQ(thread.getRunCount(), 1);
        EXPECT_TRUE(thread.stop());
        EXPECT_TRUE(exceptionLog().empty());

        body.result = 0;
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(eventually([&] { return body.calls >= 5; }));
        const int runs = thread.getRunCount();
        EXPECT_TRUE(thread.start());
        EXPECT_EQ(setup.calls, 3);
        EXPECT_GE(thread.getRunCount(), runs);
        threadId = std::to_string(thread.getInfo()->threadId);
    }
    EXPECT_EQ(teardown.calls, 3);
    EXPECT_EQ(exceptionLog(), Lines{",[ThreadException] force stop thread(worker," + threadId + ")"});
    EXPECT_TRUE(isSystemRunning());
}

// A setup or teardown that fails by result or by exception: start and stop
// say false, the exception log gets a line each, and an exception also takes
// the process's running flag down. setupDone stays set, so stop runs teardown.
TEST_F(GThreadTest, SetupAndTeardownFailures) {
    const std::string id = std::to_string(OLThread::currentThreadId());
    const std::string line = ",[ThreadException] thread(failing,";
    testing::internal::CaptureStdout();
    for (bool exception : {false, true}) {
        Counter body, setup, teardown;
        setup.result = 5;
        teardown.result = 3;
        if (exception) setup.throws = "setup broke", teardown.throws = "teardown broke";
        GThread thread(body.fn(), "failing", setup.fn(), teardown.fn());
        EXPECT_FALSE(thread.start());
        EXPECT_EQ(isSystemRunning(), !exception);
        setSystemRunningFlag(true, "restored by test");
        EXPECT_FALSE(thread.stop());
        EXPECT_EQ(isSystemRunning(), !exception);
        EXPECT_TRUE(thread.stop());
        setSystemRunningFlag(true, "restored by test");
        EXPECT_EQ(body.calls, 0);
        EXPECT_EQ(teardown.calls, 1);
    }
    testing::internal::GetCapturedStdout();
    // Raising the flag again writes nothing to the stop log.
    EXPECT_EQ(stopLog(),
              (Lines{",[SystemStop] GThread setup exception.", ",[SystemStop] GThread teardown exception."}));
    EXPECT_EQ(exceptionLog(),
              (Lines{line + id + ") setup failed. result= 5", line + "0) teardown failed,result=3",
                     line + id + ") setup exception,massage[setup broke]",
                     line + "0) teardown exception,massage[teardown broke]"}));
}

// A run exception takes the process down: the other GThread leaves its loop on its next pass.
TEST_F(GThreadTest, RunExceptionTakesTheProcessDown) {
    Counter body, boom;
    boom.throws = "broken pointer";
    GThread other(body.fn(), "bystander"), thrower(boom.fn(), "thrower");
    ASSERT_TRUE(other.start());
    testing::internal::CaptureStdout();
    ASSERT_TRUE(thrower.start());
    EXPECT_TRUE(eventually([&] { return !isSystemRunning() && !other.isRunning() && !thrower.isRunning(); }));
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~ Flag=0 "
        "Reason=GThread running exception.\n");
    EXPECT_EQ(other.getInfo()->state, 2);
    EXPECT_EQ(exceptionLog(),
              Lines{",[ThreadException] thread(thrower," + std::to_string(thrower.getInfo()->threadId) +
                    ") running exception,message[broken pointer]"});
    EXPECT_EQ(stopLog(), Lines{",[SystemStop] GThread running exception."});
    EXPECT_TRUE(thrower.stop());
    EXPECT_TRUE(other.stop());
}
