#include "Product/Technic/SafePointer.h"

#include <cxxabi.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

std::string demangleTypeName(const char* mangled) {
    if (mangled == nullptr) return std::string();
    int status = 0;
    char* readable = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    if (status != 0 || readable == nullptr) return mangled;
    std::string name(readable);
    std::free(readable);
    return name;
}

namespace safe_pointer_detail {

void report(const std::string& typeName, const char* message) {
    std::string text = "SafePointer Report:" + typeName + " " + message;
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    throw OLRuntimeError(text);
}

void throwPlain(const char* message) {
    throw OLRuntimeError(message);
}

}  // namespace safe_pointer_detail

SafePointerNameMap::~SafePointerNameMap() = default;

void SafePointerNameMap::add(const char* name) {
    if (name == nullptr || *name == '\0') return;
    auto it = m_mapNames.find(name);
    if (it == m_mapNames.end()) it = m_mapNames.emplace(name, 0).first;
    ++it->second;
}

void SafePointerNameMap::remove(const char* name) {
    if (name == nullptr || *name == '\0') return;
    auto it = m_mapNames.find(name);
    if (it != m_mapNames.end()) --it->second;
}

int SafePointerNameMap::getCount(const std::string& name) const {
    auto it = m_mapNames.find(name);
    return it == m_mapNames.end() ? 0 : it->second;
}

namespace {

// Holds the registry's core lock for a scope.
class CoreLock {
  public:
    explicit CoreLock(OLMutexCore& core) : m_core(core) { m_core.lock(); }
    ~CoreLock() { m_core.unlock(); }
    CoreLock(const CoreLock&) = delete;
    CoreLock& operator=(const CoreLock&) = delete;

  private:
    OLMutexCore& m_core;
};

}  // namespace

SafePointerRegistry* SafePointerRegistry::getInstance() {
    // Deliberately never destroyed: objects may be released during static destruction.
    static SafePointerRegistry* instance = new SafePointerRegistry;
    return instance;
}

SafePointerRegistry::SafePointerRegistry() {
    grow();
}

void SafePointerRegistry::grow() {
    const unsigned oldSize = static_cast<unsigned>(m_vecEntries.size());
    std::unique_ptr<SafePointerEntry[]> block(new SafePointerEntry[kBlockSize]);
    m_vecEntries.reserve(oldSize + kBlockSize);
    for (unsigned i = 0; i < kBlockSize; ++i) {
        block[i].m_nIndex = oldSize + i;
        m_vecEntries.push_back(&block[i]);
    }
    m_vecBlocks.push_back(std::move(block));
    m_vecBitmap.resize(m_vecBitmap.size() + kBlockSize / 32, 0u);
}

bool SafePointerRegistry::findFreeInWord(unsigned word, unsigned& index) const {
    const uint32_t bits = m_vecBitmap[word];
    if (bits == 0xFFFFFFFFu) return false;
    index = word * 32 + static_cast<unsigned>(__builtin_ctz(~bits));
    return true;
}

SafePointerEntry* SafePointerRegistry::allocate(const void* pointer, const char* typeName) {
    CoreLock guard(m_objLock);
    const unsigned words = static_cast<unsigned>(m_vecBitmap.size());
    const unsigned hintWord = m_nHint / 32;
    unsigned index = 0;
    // The word of the entry freed last first (from its bit 0), then the words
    // after it, then those before it.
    bool found = findFreeInWord(hintWord, index);
    for (unsigned w = hintWord + 1; !found && w < words; ++w) found = findFreeInWord(w, index);
    if (!found && m_nHint >= 32) {
        for (unsigned w = 0; !found && w < hintWord; ++w) found = findFreeInWord(w, index);
    }
    if (!found) {
        const unsigned oldSize = static_cast<unsigned>(m_vecEntries.size());
        if (oldSize > kGrowLimit) {
            std::string text = "too much safe poniter";
            reportNames(text, 50);
            throw OLRuntimeError(text);
        }
        grow();
        index = oldSize;
    }
    m_vecBitmap[index / 32] |= (1u << (index % 32));
    SafePointerEntry* entry = m_vecEntries[index];
    entry->m_pPointer = pointer;
    entry->m_nCount = 1;
    m_objNames.add(typeName);
    ++m_nUsed;
    return entry;
}

void SafePointerRegistry::release(SafePointerEntry* entry, const char* typeName) {
    CoreLock guard(m_objLock);
    const unsigned index = entry->m_nIndex;
    const uint32_t mask = 1u << (index % 32);
    if ((m_vecBitmap[index / 32] & mask) == 0) {
        char text[64] = {0};
        std::snprintf(text, sizeof(text), "double free poniter(0x%08" PRIxPTR ")",
                      reinterpret_cast<uintptr_t>(entry->m_pPointer));
        throw OLRuntimeError(text);
    }
    m_vecBitmap[index / 32] &= ~mask;
    entry->m_pPointer = nullptr;
    m_nHint = index;
    m_objNames.remove(typeName);
    --m_nUsed;
}

void SafePointerRegistry::reportNames(std::string& text, int threshold) {
    CoreLock guard(m_objLock);
    const SafePointerNameMap::NameCounts& names = m_objNames.getMap();
    long total = 0;
    for (const auto& item : names) total += item.second;
    char buffer[128];
    std::snprintf(buffer, sizeof(buffer), "(NameMapSize=%d)(PointerCount=%ld)",
                  static_cast<int>(names.size()), total);
    text += buffer;
    for (const auto& item : names) {
        if (item.second > threshold) text += "(" + item.first + "," + std::to_string(item.second) + ")";
    }
}

unsigned SafePointerRegistry::getCapacity() {
    CoreLock guard(m_objLock);
    return static_cast<unsigned>(m_vecEntries.size());
}

unsigned SafePointerRegistry::getBitmapWords() {
    CoreLock guard(m_objLock);
    return static_cast<unsigned>(m_vecBitmap.size());
}

unsigned SafePointerRegistry::getUsedCount() {
    CoreLock guard(m_objLock);
    return m_nUsed;
}

unsigned SafePointerRegistry::getHint() {
    CoreLock guard(m_objLock);
    return m_nHint;
}

int SafePointerRegistry::getNameCount(const std::string& typeName) {
    CoreLock guard(m_objLock);
    return m_objNames.getCount(typeName);
}
