#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <utility>

#include "Product/Technic/GThread.h"
#include "Product/Technic/OLLogger.h"
#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLSystem.h"
#include "Product/Technic/OLThread.h"
#include "Product/Technic/OLTrace.h"
#include "Product/Technic/SafePointer.h"
#include "TestSupport.h"

// Types at global scope, so that their run-time names read plainly.
struct SpCounted {
    static std::atomic<int> destroyed;
    virtual ~SpCounted() { ++destroyed; }
    int value = 0;
};
std::atomic<int> SpCounted::destroyed{0};
struct SpDerived : SpCounted {};
struct SpLeft {
    virtual ~SpLeft() = default;
    int left = 1;
};
// Its SpCounted part lies behind the SpLeft part: a conversion moves the address.
struct SpBoth : SpLeft, SpCounted {};

namespace {

// A bitwise duplicate of a holder that does not take a reference: how a stale
// SafePointer looks to the registry. It is never destroyed.
template <class T>
struct StaleHolder {
    alignas(SafePointer<T>) unsigned char storage[sizeof(SafePointer<T>)];
    explicit StaleHolder(const SafePointer<T>& from) {
        std::memcpy(storage, static_cast<const void*>(&from), sizeof(storage));
    }
    SafePointer<T>& get() { return *std::launder(reinterpret_cast<SafePointer<T>*>(storage)); }
};

typedef std::pair<std::string, int> Out;

// What a call printed, and its result.
template <class F>
Out printed(F call) {
    testing::internal::CaptureStdout();
    int result = call();
    return {testing::internal::GetCapturedStdout(), result};
}

class Worker : public OLThread {
  public:
    ~Worker() override {
        quit = true;
        stop();
    }
    std::atomic<bool> quit{false}, begun{false};

  protected:
    int run() override {
        begun = true;
        notifyStarted();
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

// The owner locks again through a guard that an exception ends; one unlock
// later another thread gets the mutex, and not before.
TEST(OLMutexTest, RecursiveLockingAndTheGuard) {
    OLMutex mutex;
    EXPECT_EQ(mutex.lock(__FILE__, __LINE__), 0);
    try {
        OLMutexGuard guard(mutex, __FILE__, __LINE__);
        throw std::logic_error("leave");
    } catch (const std::logic_error&) {
    }
    std::atomic<bool> acquired{false};
    std::thread other([&] {
        OLMutexGuard guard(mutex, __FILE__, __LINE__);
        acquired = true;
    });
    pause(50);
    EXPECT_FALSE(acquired);  // still held once by this thread
    EXPECT_EQ(mutex.unlock(__FILE__, __LINE__), 0);
    const bool freed = eventually([&] { return acquired.load(); });
    EXPECT_TRUE(freed);
    if (!freed) mutex.unlock(__FILE__, __LINE__);  // the guard kept its lock: let the thread end
    other.join();
}

TEST(OLTraceTest, LevelsFilterAndCut) {
    OLTraceConfig& config = OLTraceConfig::getInstance();
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "failure %d\n", 1); }), Out("", 0));
    config.setLevel(2);
    EXPECT_EQ(printed([] { return OLTrace(2, "a.cpp", "event %s %d\n", "x", 5); }), Out("event x 5\n", 10));
    EXPECT_EQ(printed([] { return OLTrace(3, "a.cpp", "detail\n"); }), Out("", 0));
    // Cut at 2047 characters; percent signs in the arguments are not read again.
    const std::string longText(3000, 'y');
    EXPECT_EQ(printed([&] { return OLTrace(1, "a.cpp", "%%d%s", longText.c_str()); }),
              Out("%d" + std::string(2045, 'y'), 2047));
    EXPECT_EQ(printed([] { return OLTrace(1, "a.cpp", "%s", "100%s"); }), Out("100%s", 5));
    config.setLevel(0);
    EXPECT_EQ(printed([] { return OLReportLine("recv socket error!", __FILE__, __LINE__), 0; }), Out("", 0));
}

TEST(OLLoggerTest, LineFormatAndRotation) {
    TempDir dir;
    const std::string path = dir.file("test.log");
    OLLogger logger;
    logger.init(path.c_str(), 10240, 1);
    // At 10239 bytes the next write still appends; at 10240 the file moves to
    // path + ".1", replacing an older one, and a new file begins.
    std::ofstream(path) << std::string(10239, 'a');
    logger.write("Module", "one");
    EXPECT_EQ(withoutStamp(readFile(path).substr(10239)), ",[Module] one\n");
    std::ofstream(path) << std::string(10240, 'b');
    std::ofstream(path + ".1") << "older";
    logger.write("M", "two");
    EXPECT_EQ(readFile(path + ".1"), std::string(10240, 'b'));
    EXPECT_EQ(logLines(path), Lines{",[M] two"});

    // writeOnce starts each logger at index 0: every rotation goes to ".1".
    const std::string once = dir.file("once.log");
    for (const char* text : {"a", "b", "c"}) OLLogger::writeOnce(once.c_str(), "M", text, 1, 2);
    EXPECT_EQ(logLines(once + ".1"), Lines{",[M] b"});
    EXPECT_EQ(logLines(once), Lines{",[M] c"});
    EXPECT_FALSE(std::ifstream(once + ".2")) << "a rotation went beyond .1";

    // A missing directory loses the line silently.
    OLLogger::writeOnce(dir.file("missing/dir/x.log").c_str(), "M", "lost", 10240, 1);
    EXPECT_NE(access(dir.file("missing").c_str(), F_OK), 0);
}

// Each misuse throws OLRuntimeError; the reports of a holder print their text first.
TEST(SafePointerTest, MisuseTexts) {
    SafePointer<SpCounted> empty;
    SafePointer<SpDerived> emptyDerived;
    SafePointer<SpCounted> target(new SpCounted);
    SafePointer<SpCounted> live(new SpCounted);
    StaleHolder<SpCounted> stale(live);
    live.reset();  // the object is gone, the entry is free

    const std::string report = "SafePointer Report:SpCounted ";
    const struct {
        std::function<void()> misuse;
        std::string text;  // a holder's report is printed before it is thrown
    } rows[] = {
        {[] { SafePointer<SpCounted> p(static_cast<SpCounted*>(nullptr)); },
         report + "Construct from NULL original pointer"},
        {[&] { SafePointer<SpCounted> p(empty); }, report + "Construct from NULL <T>pointer"},
        {[&] { SafePointer<SpCounted> p(emptyDerived); }, report + "Construct from NULL <U>pointer"},
        {[&] { (void)empty->value; }, report + "Use NULL pointer ->"},
        {[&] { (void)(*empty).value; }, report + "Use NULL pointer *"},
        {[&] { target = empty; }, report + "Assigned NULL <T>pointer"},
        {[&] { SafePointer<SpCounted> copy(stale.get()); }, "not valid pointer in inc_reference "},
        {[&] { stale.get().reset(); }, "not valid pointer in dec_reference"},
        {[&] { SafePointerRegistry::getInstance()->release(stale.get().getEntry(), "SpCounted"); },
         "double free poniter(0x00000000)"},
    };
    const int before = SpCounted::destroyed;
    for (const auto& row : rows) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(row.text, thrown<OLRuntimeError>(row.misuse));
        const bool printed = row.text.rfind("SafePointer Report:", 0) == 0;
        EXPECT_EQ(printed ? row.text + "\n" : "", testing::internal::GetCapturedStdout()) << row.text;
    }
    // The assignment from an empty one left the target as it was.
    EXPECT_EQ(target.useCount(), 1);
    EXPECT_EQ(SpCounted::destroyed, before);
}

// Copies and conversions share the object's one entry: the last holder, of
// whatever type, deletes it once, through the right destructor and address.
TEST(SafePointerTest, CopiesAndConversionsShareOneEntry) {
    const int before = SpCounted::destroyed;
    {
        SafePointer<SpDerived> derived(new SpDerived);
        SafePointer<SpCounted> base(derived);
        SafePointer<SpCounted> other(new SpCounted);
        other = base;  // other's object goes
        EXPECT_EQ(SpCounted::destroyed, before + 1);
        SafePointer<SpCounted>& same = base;
        base = same;  // self-assignment
        SafePointer<SpCounted> moved(std::move(other));
        SafePointer<SpDerived> back = dynamicPointerCast<SpDerived>(moved);
        EXPECT_EQ(back.useCount(), 4);  // derived, base, moved, back
        EXPECT_TRUE(dynamicPointerCast<SpBoth>(SafePointer<SpLeft>(new SpLeft)).isNull());

        SafePointer<SpBoth> both(new SpBoth);
        SafePointer<SpCounted> right(both);
        both.reset();
        EXPECT_EQ(dynamicPointerCast<SpLeft>(right)->left, 1);
        derived.reset();
        base.reset();
        back.reset();
        EXPECT_EQ(moved.useCount(), 1);
        EXPECT_EQ(SpCounted::destroyed, before + 1);
        SafePointer<SpCounted> empty;  // touches no registry entry
    }
    EXPECT_EQ(SpCounted::destroyed, before + 3);
}

TEST(SafePointerTest, ConcurrentCopiesOfOneObject) {
    const int before = SpCounted::destroyed;
    SafePointer<SpCounted> shared(new SpCounted);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([shared] {
            for (int i = 0; i < 2000; ++i) std::vector<SafePointer<SpCounted>>(8, shared);
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(shared.useCount(), 1);
    shared.reset();
    EXPECT_EQ(SpCounted::destroyed, before + 1);
}
