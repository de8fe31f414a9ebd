#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "Product/Technic/SafePointer.h"

// Types at global scope, so that their run-time names read plainly.
struct SpCounted {
    static std::atomic<int> destroyed;
    explicit SpCounted(int v = 0) : value(v) {}
    virtual ~SpCounted() { ++destroyed; }
    int value;
};
std::atomic<int> SpCounted::destroyed{0};

struct SpDerived : SpCounted {
    explicit SpDerived(int v = 0) : SpCounted(v) {}
};

struct SpLeft {
    virtual ~SpLeft() = default;
    int left = 1;
};
struct SpRight {
    virtual ~SpRight() = default;
    int right = 2;
};
struct SpBoth : SpLeft, SpRight {
    static std::atomic<int> destroyed;
    ~SpBoth() override { ++destroyed; }
};
std::atomic<int> SpBoth::destroyed{0};

namespace {

SafePointerRegistry& registry() {
    return *SafePointerRegistry::getInstance();
}

// Runs f, expects OLRuntimeError, returns what() and what went to standard output.
template <class F>
std::pair<std::string, std::string> expectReport(F f) {
    std::string what;
    testing::internal::CaptureStdout();
    try {
        f();
        ADD_FAILURE() << "no exception";
    } catch (const OLRuntimeError& e) {
        what = e.what();
    }
    return {what, testing::internal::GetCapturedStdout()};
}

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

}  // namespace

TEST(SafePointerTest, CopiesShareOneCountAndDeleteOnce) {
    const int before = SpCounted::destroyed;
    {
        SafePointer<SpCounted> a(new SpCounted(7));
        SafePointer<SpCounted> b(a);
        EXPECT_EQ(a.useCount(), 2);
        EXPECT_EQ(&*b, a.get());
        b.reset();
        a = a;  // self-assignment
        EXPECT_EQ(a.useCount(), 1);
        SafePointer<SpCounted> c(new SpCounted(8));
        c = a;  // c's object goes, c shares a's
        EXPECT_EQ(SpCounted::destroyed, before + 1);
        EXPECT_EQ(c->value, 7);
        SafePointer<SpCounted> moved(std::move(c));
        EXPECT_TRUE(c.isNull());
        EXPECT_EQ(a.useCount(), 2);
        SafePointer<SpCounted> empty;  // touches no registry entry
    }
    EXPECT_EQ(SpCounted::destroyed, before + 2);
}

TEST(SafePointerTest, MisuseReportsPrintAndThrow) {
    SafePointer<SpCounted> empty;
    SafePointer<SpCounted> target(new SpCounted(3));
    const struct {
        std::function<void()> misuse;
        const char* text;
    } rows[] = {
        {[] { SafePointer<SpCounted> p(static_cast<SpCounted*>(nullptr)); },
         "Construct from NULL original pointer"},
        {[&] { SafePointer<SpCounted> p(empty); }, "Construct from NULL <T>pointer"},
        {[] {
             SafePointer<SpDerived> derived;
             SafePointer<SpCounted> p(derived);
         },
         "Construct from NULL <U>pointer"},
        {[&] { (void)empty->value; }, "Use NULL pointer ->"},
        {[&] { (void)(*empty).value; }, "Use NULL pointer *"},
        {[&] { target = empty; }, "Assigned NULL <T>pointer"},
    };
    const int before = SpCounted::destroyed;
    for (const auto& row : rows) {
        auto r = expectReport(row.misuse);
        EXPECT_EQ("SafePointer Report:SpCounted " + std::string(row.text), r.first);
        EXPECT_EQ(r.first + "\n", r.second);
    }
    // The assignment from an empty one left the target as it was.
    EXPECT_EQ(target->value, 3);
    EXPECT_EQ(target.useCount(), 1);
    EXPECT_EQ(SpCounted::destroyed, before);
}

TEST(SafePointerTest, StaleHolderIsDetected) {
    SafePointer<SpCounted> live(new SpCounted(1));
    StaleHolder<SpCounted> stale(live);
    live.reset();  // the object is gone, the entry is free

    // These texts are thrown without a report on standard output.
    auto r = expectReport([&] { SafePointer<SpCounted> copy(stale.get()); });
    EXPECT_EQ(r.first, "not valid pointer in inc_reference ");
    EXPECT_EQ(r.second, "");
    r = expectReport([&] { stale.get().reset(); });
    EXPECT_EQ(r.first, "not valid pointer in dec_reference");
    EXPECT_EQ(r.second, "");

    // Releasing a free entry.
    SafePointerEntry* entry = stale.get().getEntry();
    r = expectReport([&] { registry().release(entry, "SpCounted"); });
    EXPECT_EQ(r.first, "double free poniter(0x00000000)");
}

// An object whose destructor copies a stale holder of itself: the count is
// already 0 while the entry still holds the address.
struct SpSelfCopy {
    std::unique_ptr<StaleHolder<SpSelfCopy>> self;
    std::string seen;
    std::string* out = nullptr;
    ~SpSelfCopy() {
        try {
            SafePointer<SpSelfCopy> copy(self->get());
        } catch (const OLRuntimeError& e) {
            *out = e.what();
        }
    }
};

TEST(SafePointerTest, CopyDuringDestructionReportsAlreadyDestructed) {
    std::string seen;
    SafePointer<SpSelfCopy> p(new SpSelfCopy);
    p->out = &seen;
    p->self = std::make_unique<StaleHolder<SpSelfCopy>>(p);
    testing::internal::CaptureStdout();
    p.reset();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(seen, "SafePointer Report:SpSelfCopy Already destructed 3");
    EXPECT_EQ(printed, seen + "\n");
}

// Conversions share the object's one entry: the last holder, of whatever
// type, deletes it once, through the right destructor and address.
TEST(SafePointerTest, ConversionsShareTheEntry) {
    const int before = SpCounted::destroyed;
    const int bothBefore = SpBoth::destroyed;
    {
        SafePointer<SpDerived> derived(new SpDerived(5));
        SafePointer<SpCounted> base(derived);
        EXPECT_EQ(base.getEntry(), derived.getEntry());
        SafePointer<SpDerived> back = dynamicPointerCast<SpDerived>(base);
        EXPECT_EQ(back.useCount(), 3);
        EXPECT_TRUE(dynamicPointerCast<SpBoth>(SafePointer<SpLeft>(new SpLeft)).isNull());

        SafePointer<SpBoth> both(new SpBoth);
        SafePointer<SpRight> right(both);
        EXPECT_NE(static_cast<void*>(right.get()), static_cast<void*>(both.get()));
        both.reset();
        EXPECT_EQ(dynamicPointerCast<SpLeft>(right)->left, 1);
        derived.reset();
        back.reset();
        EXPECT_EQ(SpCounted::destroyed, before);
    }
    EXPECT_EQ(SpCounted::destroyed, before + 1);
    EXPECT_EQ(SpBoth::destroyed, bothBefore + 1);
}

TEST(SafePointerTest, ConcurrentCopiesOfOneObject) {
    const int before = SpCounted::destroyed;
    SafePointer<SpCounted> shared(new SpCounted);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([shared] {
            std::vector<SafePointer<SpCounted>> local;
            for (int i = 0; i < 5000; ++i) {
                local.push_back(shared);
                if (local.size() > 16) local.erase(local.begin());
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(shared.useCount(), 1);
    shared.reset();
    EXPECT_EQ(SpCounted::destroyed, before + 1);
}
