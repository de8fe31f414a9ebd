#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "Product/Technic/OLRuntimeError.h"

// Recursive mutex owned by the thread that locked it. The key word tells a
// usable mutex from one that was never created or was already destroyed; the
// inner layer reports that by a return code.
class OLMutexCore {
  public:
    static constexpr uint32_t kValidKey = 0x55AA55AAu;

    OLMutexCore();
    ~OLMutexCore();
    OLMutexCore(const OLMutexCore&) = delete;
    OLMutexCore& operator=(const OLMutexCore&) = delete;

    // -1 if already usable, -3 if the system mutex could not be created, 0 on success.
    int init();
    // Closes the system mutex and invalidates the key. 0, or -2 if it was not usable.
    int destroy();
    bool isValid() const { return m_nKey.load(std::memory_order_acquire) == kValidKey; }
    uint32_t getKey() const { return m_nKey.load(std::memory_order_acquire); }

    // Waits without limit. -2 if the key is (or became) invalid, else 0.
    int lock();
    // -2 if the key is invalid, else 0.
    int unlock();

  private:
    pthread_mutex_t m_hMutex;
    std::atomic<uint32_t> m_nKey;
};

// The toolkit's lock. Lock and unlock carry the caller's source position, used
// only in the error text when the mutex is not usable; that case throws
// std::runtime_error.
class OLMutex {
  public:
    OLMutex();
    ~OLMutex();
    OLMutex(const OLMutex&) = delete;
    OLMutex& operator=(const OLMutex&) = delete;

    // The core's init(): -1 on a healthy mutex, without effect.
    int init();
    int lock(const char* file, int line);
    int unlock(const char* file, int line);

    // The inner mutex (diagnostics and tests); may be null after destruction.
    OLMutexCore* getCore() const { return m_pCore.get(); }

  private:
    [[noreturn]] void throwNotInitialized(const char* file, int line) const;

    std::unique_ptr<OLMutexCore> m_pCore;
};

// Holds an OLMutex for a scope; unlocks on every way out, with this header's
// own position.
class OLMutexGuard {
  public:
    static constexpr int kUnlockLine = 71;

    OLMutexGuard(OLMutex& mutex, const char* file, int line) : m_pMutex(&mutex) {
        m_pMutex->lock(file, line);
    }
    ~OLMutexGuard() { m_pMutex->unlock(__FILE__, kUnlockLine); }
    OLMutexGuard(const OLMutexGuard&) = delete;
    OLMutexGuard& operator=(const OLMutexGuard&) = delete;

  private:
    OLMutex* m_pMutex;
};
