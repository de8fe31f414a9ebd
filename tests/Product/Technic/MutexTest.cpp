#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLRuntimeError.h"

TEST(OLMutexTest, RecursiveLockingIsCountedPerOwner) {
    OLMutex mutex;
    EXPECT_EQ(mutex.lock(__FILE__, __LINE__), 0);
    EXPECT_EQ(mutex.lock(__FILE__, __LINE__), 0);

    std::atomic<bool> acquired{false};
    std::thread other([&] {
        mutex.lock(__FILE__, __LINE__);
        acquired = true;
        mutex.unlock(__FILE__, __LINE__);
    });
    EXPECT_EQ(mutex.unlock(__FILE__, __LINE__), 0);
    // Still held once by this thread.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(acquired);
    EXPECT_EQ(mutex.unlock(__FILE__, __LINE__), 0);
    other.join();
    EXPECT_TRUE(acquired);
}

TEST(OLMutexTest, CoreReportsAnInvalidKeyByReturnCode) {
    OLMutex healthy;
    EXPECT_EQ(healthy.init(), -1);  // no second operating-system mutex
    OLMutexCore core;
    EXPECT_EQ(core.init(), -1);
    EXPECT_EQ(core.destroy(), 0);
    EXPECT_FALSE(core.isValid());
    EXPECT_EQ(core.lock(), -2);
    EXPECT_EQ(core.unlock(), -2);
    EXPECT_EQ(core.destroy(), -2);
    EXPECT_EQ(core.init(), 0);
    EXPECT_EQ(core.init(), -1);
    EXPECT_EQ(core.lock(), 0);
    EXPECT_EQ(core.unlock(), 0);
}

TEST(OLMutexTest, UninitialisedMutexThrowsWithTheCallerPosition) {
    OLMutex mutex;
    mutex.getCore()->destroy();
    char address[32];
    std::snprintf(address, sizeof(address), "Mutex(0x%lx)", reinterpret_cast<unsigned long>(&mutex));
    // lock and unlock throw a std::runtime_error (not an OLRuntimeError) with one text.
    for (bool locking : {true, false}) {
        try {
            locking ? mutex.lock("caller.cpp", 42) : mutex.unlock("caller.cpp", 42);
            ADD_FAILURE() << "no exception";
        } catch (const OLRuntimeError&) {
            ADD_FAILURE() << "wrong type";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()),
                      std::string(address) + " not initialized(Key=0),lock at line 42 of caller.cpp ");
        }
    }
    // Restore it so that the destructor closes a valid mutex.
    EXPECT_EQ(mutex.init(), 0);
}

TEST(OLMutexTest, GuardUnlocksWhenAnExceptionLeavesTheScope) {
    OLMutex mutex;
    try {
        OLMutexGuard guard(mutex, __FILE__, __LINE__);
        throw std::logic_error("leave");
    } catch (const std::logic_error&) {
    }
    bool acquired = false;
    std::thread other([&] {
        OLMutexGuard guard(mutex, __FILE__, __LINE__);
        acquired = true;
    });
    other.join();
    EXPECT_TRUE(acquired);
}

TEST(OLRuntimeErrorTest, NullTextIsEmpty) {
    const char* none = nullptr;
    EXPECT_STREQ(OLRuntimeError(none).what(), "");
}
