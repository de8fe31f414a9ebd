#include <atomic>
#include <stdexcept>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLRuntimeError.h"
#include "TestSupport.h"

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

TEST(OLMutexTest, CoreReportsAnInvalidKeyByReturnCode) {
    OLMutex healthy;
    EXPECT_EQ(healthy.init(), -1);  // no second operating-system mutex
    OLMutexCore core;
    // Destroyed, then lock, unlock and destroy on the invalid core; init twice; lock and unlock.
    EXPECT_EQ((std::vector<int>{core.destroy(), core.lock(), core.unlock(), core.destroy(), core.init(),
                                core.init(), core.lock(), core.unlock()}),
              (std::vector<int>{0, -2, -2, -2, 0, -1, 0, 0}));
}

TEST(OLMutexTest, UninitialisedMutexThrowsWithTheCallerPosition) {
    OLMutex mutex;
    mutex.getCore()->destroy();
    std::ostringstream address;
    address << static_cast<void*>(&mutex);
    const std::string text =
        "Mutex(" + address.str() + ") not initialized(Key=0),lock at line 42 of caller.cpp ";
    // lock and unlock throw a std::runtime_error (not an OLRuntimeError) with one text.
    EXPECT_EQ(text, thrown<std::runtime_error>([&] { mutex.lock("caller.cpp", 42); }));
    EXPECT_EQ(text, thrown<std::runtime_error>([&] { mutex.unlock("caller.cpp", 42); }));
    EXPECT_EQ(mutex.init(), 0);  // valid again, for the destructor
}

TEST(OLRuntimeErrorTest, NullTextIsEmpty) {
    const char* none = nullptr;
    EXPECT_STREQ(OLRuntimeError(none).what(), "");
}
