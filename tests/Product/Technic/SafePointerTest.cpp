#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
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

struct SpPlain {
    int value = 0;
};

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

// Runs first in this binary: the registry is still at its starting size.
TEST(SafePointerRegistryTest, GrowsByOneBlockWhenFull) {
    const unsigned capacity = registry().getCapacity();
    const unsigned words = registry().getBitmapWords();
    if (capacity == 128) {
        EXPECT_EQ(words, 4u);
    }
    const unsigned room = capacity - registry().getUsedCount();

    std::vector<SafePointer<SpPlain>> held;
    for (unsigned i = 0; i < room; ++i) held.emplace_back(new SpPlain);
    EXPECT_EQ(registry().getCapacity(), capacity);
    EXPECT_EQ(registry().getUsedCount(), capacity);

    held.emplace_back(new SpPlain);
    EXPECT_EQ(registry().getCapacity(), capacity + 128);
    EXPECT_EQ(registry().getBitmapWords(), words + 4);
    // The first entry of the new block.
    EXPECT_EQ(held.back().getEntry()->getIndex(), capacity);
}

TEST(SafePointerRegistryTest, AllocationSearchesTheWordOfTheLastFreedEntry) {
    std::vector<SafePointer<SpPlain>> held;
    // Fill the table and half a block more, so that every free entry is ours.
    const unsigned room = registry().getCapacity() - registry().getUsedCount();
    for (unsigned i = 0; i < room + 64; ++i) held.emplace_back(new SpPlain);
    auto holderOf = [&](unsigned index) -> SafePointer<SpPlain>* {
        for (auto& p : held)
            if (p.getEntry()->getIndex() == index) return &p;
        return nullptr;
    };
    SafePointer<SpPlain>* at5 = holderOf(5);
    SafePointer<SpPlain>* at66 = holderOf(66);
    SafePointer<SpPlain>* at70 = holderOf(70);
    if (at5 == nullptr || at66 == nullptr || at70 == nullptr) GTEST_SKIP() << "entries held elsewhere";
    // Only our holders use entries 64..95 once these are all ours.
    for (unsigned i = 64; i < 96; ++i) ASSERT_NE(holderOf(i), nullptr) << i;

    // Entry 70 freed while 64..69 are in use: the new object takes 70.
    at70->reset();
    EXPECT_EQ(registry().getHint(), 70u);
    *at70 = SafePointer<SpPlain>(new SpPlain);
    EXPECT_EQ(at70->getEntry()->getIndex(), 70u);

    // The search starts at bit 0 of the hint's word, not at the hint's bit.
    at66->reset();
    at70->reset();
    *at70 = SafePointer<SpPlain>(new SpPlain);
    EXPECT_EQ(at70->getEntry()->getIndex(), 66u);
    *at66 = SafePointer<SpPlain>(new SpPlain);
    EXPECT_EQ(at66->getEntry()->getIndex(), 70u);

    // A free entry in an earlier word waits while the hint's word has room.
    at5->reset();
    at66->reset();  // entry 70, now the hint
    *at66 = SafePointer<SpPlain>(new SpPlain);
    EXPECT_EQ(at66->getEntry()->getIndex(), 70u);
    // The hint's word is full now: the words after it come next, entry 5 only after those.
    SafePointer<SpPlain> next(new SpPlain);
    EXPECT_GT(next.getEntry()->getIndex(), 95u);
}

TEST(SafePointerTest, CopiesShareOneCountAndDeleteOnce) {
    const int before = SpCounted::destroyed;
    {
        SafePointer<SpCounted> a(new SpCounted(7));
        EXPECT_EQ(a.useCount(), 1);
        {
            SafePointer<SpCounted> b(a);
            EXPECT_EQ(a.useCount(), 2);
            EXPECT_EQ(b->value, 7);
            EXPECT_EQ(&*b, a.get());
            EXPECT_TRUE(a == b);
        }
        EXPECT_EQ(a.useCount(), 1);
        EXPECT_EQ(SpCounted::destroyed, before);

        SafePointer<SpCounted>& same = a;
        a = same;  // self-assignment (through a reference, which Clang does not warn of)
        EXPECT_EQ(a.useCount(), 1);

        SafePointer<SpCounted> c(new SpCounted(8));
        c = a;  // c's object goes, c shares a's
        EXPECT_EQ(SpCounted::destroyed, before + 1);
        EXPECT_EQ(a.useCount(), 2);
        EXPECT_EQ(c->value, 7);

        SafePointer<SpCounted> moved(std::move(c));
        EXPECT_TRUE(c.isNull());
        EXPECT_EQ(a.useCount(), 2);
        moved.reset();
        EXPECT_EQ(a.useCount(), 1);
    }
    EXPECT_EQ(SpCounted::destroyed, before + 2);

    // An empty holder touches no registry and can be destroyed freely.
    const unsigned used = registry().getUsedCount();
    { SafePointer<SpCounted> empty; }
    EXPECT_EQ(registry().getUsedCount(), used);
}

TEST(SafePointerTest, MisuseReportsPrintAndThrow) {
    SafePointer<SpCounted> empty;
    const std::string prefix = "SafePointer Report:SpCounted ";

    auto r = expectReport([] { SafePointer<SpCounted> p(static_cast<SpCounted*>(nullptr)); });
    EXPECT_EQ(r.first, prefix + "Construct from NULL original pointer");
    EXPECT_EQ(r.second, r.first + "\n");

    r = expectReport([&] { SafePointer<SpCounted> p(empty); });
    EXPECT_EQ(r.first, prefix + "Construct from NULL <T>pointer");
    EXPECT_EQ(r.second, r.first + "\n");

    r = expectReport([] {
        SafePointer<SpDerived> derived;
        SafePointer<SpCounted> p(derived);
    });
    EXPECT_EQ(r.first, prefix + "Construct from NULL <U>pointer");

    r = expectReport([&] { (void)empty->value; });
    EXPECT_EQ(r.first, prefix + "Use NULL pointer ->");
    r = expectReport([&] { (void)(*empty).value; });
    EXPECT_EQ(r.first, prefix + "Use NULL pointer *");
    EXPECT_EQ(r.second, r.first + "\n");

    // Assigning from an empty one leaves the target as it was.
    const int before = SpCounted::destroyed;
    SafePointer<SpCounted> target(new SpCounted(3));
    r = expectReport([&] { target = empty; });
    EXPECT_EQ(r.first, prefix + "Assigned NULL <T>pointer");
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

TEST(SafePointerTest, ConversionToBaseSharesTheEntryAndCountsUnderTheHolderName) {
    // The base name exists in the map once a base object has been registered.
    SafePointer<SpCounted> anchor(new SpCounted);
    const int baseBefore = registry().getNameCount("SpCounted");
    const int derivedBefore = registry().getNameCount("SpDerived");
    const int destroyedBefore = SpCounted::destroyed;
    {
        SafePointer<SpDerived> derived(new SpDerived(5));
        EXPECT_EQ(registry().getNameCount("SpDerived"), derivedBefore + 1);
        SafePointer<SpCounted> base(derived);
        EXPECT_EQ(base.getEntry(), derived.getEntry());
        EXPECT_EQ(derived.useCount(), 2);
        EXPECT_EQ(base->value, 5);
        EXPECT_EQ(registry().getNameCount("SpCounted"), baseBefore);

        SafePointer<SpDerived> back = dynamicPointerCast<SpDerived>(base);
        ASSERT_FALSE(back.isNull());
        EXPECT_EQ(back.useCount(), 3);
        EXPECT_TRUE(dynamicPointerCast<SpBoth>(SafePointer<SpLeft>(new SpLeft)).isNull());
        back.reset();
        derived.reset();  // the converted holder is the last one
        EXPECT_EQ(SpCounted::destroyed, destroyedBefore);
    }
    EXPECT_EQ(SpCounted::destroyed, destroyedBefore + 1);
    EXPECT_EQ(registry().getNameCount("SpCounted"), baseBefore - 1);
    EXPECT_EQ(registry().getNameCount("SpDerived"), derivedBefore + 1);
}

TEST(SafePointerTest, ConversionToASecondBaseKeepsTheObjectIdentity) {
    const int before = SpBoth::destroyed;
    {
        SafePointer<SpBoth> both(new SpBoth);
        SafePointer<SpRight> right(both);
        EXPECT_NE(static_cast<void*>(right.get()), static_cast<void*>(both.get()));
        SafePointer<SpRight> copy(right);
        EXPECT_EQ(copy->right, 2);
        both.reset();
        right.reset();
        EXPECT_EQ(SpBoth::destroyed, before);
        SafePointer<SpLeft> left = dynamicPointerCast<SpLeft>(copy);
        EXPECT_EQ(left->left, 1);
    }
    EXPECT_EQ(SpBoth::destroyed, before + 1);
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

TEST(SafePointerTest, ReportNamesListsNamesAboveThreshold) {
    SafePointerNameMap names;
    names.add(nullptr);
    names.add("");
    names.remove("absent");
    EXPECT_TRUE(names.getMap().empty());
    names.add("x");
    names.remove("x");
    EXPECT_EQ(names.getCount("x"), 0);
    EXPECT_EQ(names.getMap().size(), 1u);

    std::vector<SafePointer<SpPlain>> held;
    for (int i = 0; i < 3; ++i) held.emplace_back(new SpPlain);
    const int count = registry().getNameCount("SpPlain");
    std::string text = "head";
    registry().reportNames(text, count - 1);
    EXPECT_EQ(text.rfind("head(NameMapSize=", 0), 0u) << text;
    EXPECT_NE(text.find(")(PointerCount="), std::string::npos) << text;
    EXPECT_NE(text.find("(SpPlain," + std::to_string(count) + ")"), std::string::npos) << text;
    text.clear();
    registry().reportNames(text, count);
    EXPECT_EQ(text.find("(SpPlain,"), std::string::npos) << text;
}

TEST(SafePointerTest, HelpersOwnTheObject) {
    const int before = SpCounted::destroyed;
    {
        SafePointer<SpCounted> made = makeSafePointer<SpCounted>(4);
        EXPECT_EQ(made->value, 4);
        SafePointer<SpCounted> adopted = adoptSafePointer<SpCounted>(std::make_unique<SpDerived>(6));
        EXPECT_EQ(adopted->value, 6);
        EXPECT_EQ(staticPointerCast<SpDerived>(adopted).useCount(), 2);
    }
    EXPECT_EQ(SpCounted::destroyed, before + 2);
}
