#include <atomic>
#include <cstring>
#include <functional>
#include <new>

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

}  // namespace

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
