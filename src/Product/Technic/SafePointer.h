#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Product/Technic/OLMutex.h"
#include "Product/Technic/OLRuntimeError.h"

// Readable (demangled) name of a type, as the registry counts it.
std::string demangleTypeName(const char* mangled);

// One registered object: its address, its reference count and a lock of its
// own. Entries are created in blocks and live until the process ends.
class SafePointerEntry {
  public:
    SafePointerEntry() = default;
    SafePointerEntry(const SafePointerEntry&) = delete;
    SafePointerEntry& operator=(const SafePointerEntry&) = delete;

    // 0, or the mutex's failure code.
    int lock() { return m_objLock.lock(); }
    void unlock() { m_objLock.unlock(); }
    const void* getPointer() const { return m_pPointer; }
    unsigned getIndex() const { return m_nIndex; }
    int getCount() const { return m_nCount; }
    // New count; a count of 0 stays 0.
    int increase() {
        if (m_nCount == 0) return 0;
        return ++m_nCount;
    }
    int decrease() { return --m_nCount; }

  private:
    friend class SafePointerRegistry;

    OLMutexCore m_objLock;
    int m_nCount = 0;
    unsigned m_nIndex = 0;
    const void* m_pPointer = nullptr;
};

// Live objects per type name. Names are never erased, so a count can stand at 0.
class SafePointerNameMap {
  public:
    virtual ~SafePointerNameMap();
    void add(const char* name);
    void remove(const char* name);
    int getCount(const std::string& name) const;
    // Ordered by name; looked up by a type's name without building a string.
    typedef std::map<std::string, int, std::less<>> NameCounts;
    const NameCounts& getMap() const { return m_mapNames; }

  private:
    NameCounts m_mapNames;
};

// Process-wide table of registered objects. Grows by 128 entries, up to 20096.
class SafePointerRegistry {
  public:
    static constexpr unsigned kBlockSize = 128;
    static constexpr unsigned kGrowLimit = 20000;
    static constexpr unsigned kMaxEntries = 20096;

    // Built on first use, never destroyed.
    static SafePointerRegistry* getInstance();

    // Takes a free entry for pointer with count 1; throws OLRuntimeError
    // ("too much safe poniter" + usage report) when the table is full at its limit.
    SafePointerEntry* allocate(const void* pointer, const char* typeName);
    // Frees the entry; throws OLRuntimeError on a free entry.
    void release(SafePointerEntry* entry, const char* typeName);
    // Appends "(NameMapSize=..)(PointerCount=..)" and "(name,count)" for each
    // name whose count is above threshold.
    void reportNames(std::string& text, int threshold);

    // Inspection, for diagnostics and tests.
    unsigned getCapacity();
    unsigned getBitmapWords();
    unsigned getUsedCount();
    unsigned getHint();
    int getNameCount(const std::string& typeName);

  private:
    SafePointerRegistry();
    ~SafePointerRegistry() = delete;
    void grow();
    bool findFreeInWord(unsigned word, unsigned& index) const;

    std::vector<SafePointerEntry*> m_vecEntries;
    std::vector<std::unique_ptr<SafePointerEntry[]>> m_vecBlocks;
    std::vector<uint32_t> m_vecBitmap;
    SafePointerNameMap m_objNames;
    OLMutexCore m_objLock;
    unsigned m_nHint = 0;
    unsigned m_nUsed = 0;
};

class BaseSafePointer {
  public:
    virtual ~BaseSafePointer() = default;
};

namespace safe_pointer_detail {

// The address that identifies an object whatever base it is seen through. Only
// taken while the object is known to be alive (registration, conversion).
template <class T>
inline const void* identity(T* p) {
    if constexpr (std::is_polymorphic<T>::value) {
        return const_cast<const void*>(dynamic_cast<const volatile void*>(p));
    } else {
        return const_cast<const void*>(static_cast<const volatile void*>(p));
    }
}

struct ShareTag {};

[[noreturn]] void report(const std::string& typeName, const char* message);
[[noreturn]] void throwPlain(const char* message);

}  // namespace safe_pointer_detail

// Shared-ownership pointer whose reference count lives in a registry entry.
// Each copy or release checks that the entry still holds this object, so a
// stale pointer is reported (OLRuntimeError) instead of being followed.
// An empty one (default-constructed) cannot be copied or assigned from.
template <class T>
class SafePointer : public BaseSafePointer {
  public:
    typedef T element_type;

    SafePointer() noexcept : m_pPointer(nullptr), m_pEntry(nullptr), m_pAddress(nullptr) {}

    // Takes ownership of raw. If registration fails the object stays the caller's.
    explicit SafePointer(T* raw) : m_pPointer(nullptr), m_pEntry(nullptr), m_pAddress(nullptr) {
        if (raw == nullptr) report("Construct from NULL original pointer");
        const void* address = safe_pointer_detail::identity(raw);
        m_pEntry = SafePointerRegistry::getInstance()->allocate(address, typeName().c_str());
        m_pPointer = raw;
        m_pAddress = address;
    }

    SafePointer(const SafePointer& other) : m_pPointer(nullptr), m_pEntry(nullptr), m_pAddress(nullptr) {
        if (other.m_pPointer == nullptr) report("Construct from NULL <T>pointer");
        other.inc_reference();
        m_pPointer = other.m_pPointer;
        m_pEntry = other.m_pEntry;
        m_pAddress = other.m_pAddress;
    }

    // Derived to base: shares the entry, which keeps its registration.
    template <class U, class = typename std::enable_if<std::is_convertible<U*, T*>::value>::type>
    SafePointer(const SafePointer<U>& other) : m_pPointer(nullptr), m_pEntry(nullptr), m_pAddress(nullptr) {
        if (other.m_pPointer == nullptr) report("Construct from NULL <U>pointer");
        other.inc_reference();
        m_pPointer = other.m_pPointer;
        m_pEntry = other.m_pEntry;
        m_pAddress = other.m_pAddress;
    }

    // Moves cost no lock; the source is left empty. Moving an empty one gives an empty one.
    SafePointer(SafePointer&& other) noexcept
        : m_pPointer(other.m_pPointer), m_pEntry(other.m_pEntry), m_pAddress(other.m_pAddress) {
        other.m_pPointer = nullptr;
        other.m_pEntry = nullptr;
        other.m_pAddress = nullptr;
    }

    template <class U, class = typename std::enable_if<std::is_convertible<U*, T*>::value>::type>
    SafePointer(SafePointer<U>&& other) noexcept
        : m_pPointer(other.m_pPointer), m_pEntry(other.m_pEntry), m_pAddress(other.m_pAddress) {
        other.m_pPointer = nullptr;
        other.m_pEntry = nullptr;
        other.m_pAddress = nullptr;
    }

    ~SafePointer() override { dec_reference(); }

    SafePointer& operator=(const SafePointer& other) {
        if (this == &other) return *this;
        if (other.m_pPointer == nullptr) report("Assigned NULL <T>pointer");
        // Take the new reference first: dropping ours may destroy what holds other.
        other.inc_reference();
        dec_reference();
        m_pPointer = other.m_pPointer;
        m_pEntry = other.m_pEntry;
        m_pAddress = other.m_pAddress;
        return *this;
    }

    template <class U, class = typename std::enable_if<std::is_convertible<U*, T*>::value>::type>
    SafePointer& operator=(const SafePointer<U>& other) {
        if (other.isNull()) report("Assigned NULL <T>pointer");
        return *this = SafePointer(other);
    }

    SafePointer& operator=(SafePointer&& other) {
        if (this == &other) return *this;
        SafePointer tmp(std::move(other));
        swap(tmp);
        return *this;
    }

    T* operator->() const {
        if (m_pPointer == nullptr) report("Use NULL pointer ->");
        return m_pPointer;
    }

    T& operator*() const {
        if (m_pPointer == nullptr) report("Use NULL pointer *");
        return *m_pPointer;
    }

    // Raw reads: no lock, no report.
    T* get() const noexcept { return m_pPointer; }
    bool isNull() const noexcept { return m_pPointer == nullptr; }
    explicit operator bool() const noexcept { return m_pPointer != nullptr; }
    SafePointerEntry* getEntry() const noexcept { return m_pEntry; }

    // Drops this holder's reference and leaves it empty.
    void reset() {
        dec_reference();
        m_pPointer = nullptr;
        m_pEntry = nullptr;
        m_pAddress = nullptr;
    }

    void swap(SafePointer& other) noexcept {
        std::swap(m_pPointer, other.m_pPointer);
        std::swap(m_pEntry, other.m_pEntry);
        std::swap(m_pAddress, other.m_pAddress);
    }

    // Current reference count (0 when empty); for diagnostics and tests.
    int useCount() const {
        if (m_pEntry == nullptr) return 0;
        m_pEntry->lock();
        int n = m_pEntry->getCount();
        m_pEntry->unlock();
        return n;
    }

    // The run-time name of T under which registrations are counted.
    static const std::string& typeName() {
        static const std::string name = demangleTypeName(typeid(T).name());
        return name;
    }

  private:
    template <class U>
    friend class SafePointer;
    template <class U, class V>
    friend SafePointer<U> staticPointerCast(const SafePointer<V>& p);
    template <class U, class V>
    friend SafePointer<U> dynamicPointerCast(const SafePointer<V>& p);

    // Shares p's entry for a pointer of another static type (p must not be empty).
    SafePointer(T* pointer, SafePointerEntry* entry, const void* address, safe_pointer_detail::ShareTag)
        : m_pPointer(pointer), m_pEntry(entry), m_pAddress(address) {}

    [[noreturn]] static void report(const char* message) { safe_pointer_detail::report(typeName(), message); }

    void inc_reference() const {
        if (m_pEntry == nullptr) report("Already destructed 1");
        if (m_pEntry->lock() != 0) report("Already destructed 2");
        if (m_pEntry->getPointer() != m_pAddress) {
            m_pEntry->unlock();
            safe_pointer_detail::throwPlain("not valid pointer in inc_reference ");
        }
        if (m_pEntry->increase() == 0) {
            m_pEntry->unlock();
            report("Already destructed 3");
        }
        m_pEntry->unlock();
    }

    void dec_reference() {
        if (m_pPointer == nullptr) return;
        SafePointerEntry* entry = m_pEntry;
        entry->lock();
        if (entry->getPointer() != m_pAddress) {
            entry->unlock();
            safe_pointer_detail::throwPlain("not valid pointer in dec_reference");
        }
        if (entry->decrease() != 0) {
            entry->unlock();
            return;
        }
        static_assert(sizeof(T) > 0, "SafePointer needs a complete type to delete the object");
        // The last reference. The object is deleted with no lock held, since
        // its destructor may release safe pointers of its own (entry locks
        // never nest); meanwhile the count of 0 tells any copy that it is
        // destructed. Then the entry goes back to the registry.
        T* object = m_pPointer;
        m_pPointer = nullptr;
        entry->unlock();
        delete object;
        entry->lock();
        try {
            SafePointerRegistry::getInstance()->release(entry, typeName().c_str());
        } catch (...) {
            entry->unlock();
            throw;
        }
        entry->unlock();
    }

    T* m_pPointer;
    SafePointerEntry* m_pEntry;
    // The address under which the object was registered: the most derived
    // object's, so that a holder of any base compares equal without following
    // a pointer that may have gone stale.
    const void* m_pAddress;
};

// Casts that share the entry of p. An empty p or a failed dynamic cast gives an empty one.
template <class U, class V>
SafePointer<U> staticPointerCast(const SafePointer<V>& p) {
    if (p.isNull()) return SafePointer<U>();
    SafePointer<V> keep(p);
    U* cast = static_cast<U*>(keep.m_pPointer);
    SafePointer<U> result(cast, keep.m_pEntry, keep.m_pAddress, safe_pointer_detail::ShareTag());
    keep.m_pPointer = nullptr;
    keep.m_pEntry = nullptr;
    keep.m_pAddress = nullptr;
    return result;
}

template <class U, class V>
SafePointer<U> dynamicPointerCast(const SafePointer<V>& p) {
    U* cast = dynamic_cast<U*>(p.get());
    if (cast == nullptr) return SafePointer<U>();
    SafePointer<V> keep(p);
    SafePointer<U> result(cast, keep.m_pEntry, keep.m_pAddress, safe_pointer_detail::ShareTag());
    keep.m_pPointer = nullptr;
    keep.m_pEntry = nullptr;
    keep.m_pAddress = nullptr;
    return result;
}

template <class T, class U>
bool operator==(const SafePointer<T>& a, const SafePointer<U>& b) noexcept {
    return a.get() == b.get();
}
template <class T, class U>
bool operator!=(const SafePointer<T>& a, const SafePointer<U>& b) noexcept {
    return a.get() != b.get();
}
template <class T, class U>
bool operator<(const SafePointer<T>& a, const SafePointer<U>& b) noexcept {
    return a.get() < b.get();
}
template <class T>
bool operator==(const SafePointer<T>& a, std::nullptr_t) noexcept {
    return a.isNull();
}
template <class T>
bool operator!=(const SafePointer<T>& a, std::nullptr_t) noexcept {
    return !a.isNull();
}

// Hands an object to a new SafePointer<T>, counted under the name of T. If the
// registry refuses it, the object is deleted and the exception passes on.
template <class T, class U>
SafePointer<T> adoptSafePointer(std::unique_ptr<U> owned) {
    SafePointer<T> holder(static_cast<T*>(owned.get()));
    owned.release();
    return holder;
}

// Builds a T and hands it to a SafePointer<T>.
template <class T, class... Args>
SafePointer<T> makeSafePointer(Args&&... args) {
    return adoptSafePointer<T>(std::make_unique<T>(std::forward<Args>(args)...));
}
