#include "Product/Technic/OLMutex.h"

#include <cstdio>
#include <stdexcept>

OLMutexCore::OLMutexCore() : m_hMutex(), m_nKey(0) {
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) return;
    bool ok = pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE) == 0 &&
              pthread_mutex_init(&m_hMutex, &attr) == 0;
    pthread_mutexattr_destroy(&attr);
    if (ok) m_nKey.store(kValidKey, std::memory_order_release);
}

OLMutexCore::~OLMutexCore() {
    destroy();
}

int OLMutexCore::init() {
    if (isValid()) return -1;
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) return -3;
    bool ok = pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE) == 0 &&
              pthread_mutex_init(&m_hMutex, &attr) == 0;
    pthread_mutexattr_destroy(&attr);
    if (!ok) return -3;
    m_nKey.store(kValidKey, std::memory_order_release);
    return 0;
}

int OLMutexCore::destroy() {
    if (!isValid()) return -2;
    m_nKey.store(0, std::memory_order_release);
    pthread_mutex_destroy(&m_hMutex);
    return 0;
}

int OLMutexCore::lock() {
    if (!isValid()) return -2;
    pthread_mutex_lock(&m_hMutex);
    if (!isValid()) return -2;
    return 0;
}

int OLMutexCore::unlock() {
    if (!isValid()) return -2;
    pthread_mutex_unlock(&m_hMutex);
    return 0;
}

OLMutex::OLMutex() : m_pCore(std::make_unique<OLMutexCore>()) {
    m_pCore->init();
}

OLMutex::~OLMutex() {
    m_pCore.reset();
}

int OLMutex::init() {
    return m_pCore == nullptr ? -3 : m_pCore->init();
}

void OLMutex::throwNotInitialized(const char* file, int line) const {
    char text[256] = {0};
    std::snprintf(text, sizeof(text) - 1, "Mutex(0x%lx) not initialized(Key=%x),lock at line %d of %s ",
                  static_cast<unsigned long>(reinterpret_cast<uintptr_t>(this)),
                  m_pCore == nullptr ? 0u : static_cast<unsigned>(m_pCore->getKey()), line,
                  file == nullptr ? "" : file);
    throw std::runtime_error(text);
}

int OLMutex::lock(const char* file, int line) {
    if (m_pCore == nullptr || !m_pCore->isValid()) throwNotInitialized(file, line);
    m_pCore->lock();
    return 0;
}

int OLMutex::unlock(const char* file, int line) {
    if (m_pCore == nullptr || !m_pCore->isValid()) throwNotInitialized(file, line);
    m_pCore->unlock();
    return 0;
}
