#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"

// Its own binary: once the registry has reached its limit it stays that large.

struct SpLimitObject {
    static std::atomic<int> destroyed;
    ~SpLimitObject() { ++destroyed; }
};
std::atomic<int> SpLimitObject::destroyed{0};

struct SpFewObject {};

TEST(SafePointerLimitTest, TableStopsAt20096Entries) {
    SafePointerRegistry& registry = *SafePointerRegistry::getInstance();
    // A second type with no more than 50 live objects stays out of the report.
    std::vector<SafePointer<SpFewObject>> few;
    for (int i = 0; i < 50; ++i) few.emplace_back(new SpFewObject);

    const unsigned used = registry.getUsedCount();
    ASSERT_LT(used, SafePointerRegistry::kMaxEntries);
    std::vector<SafePointer<SpLimitObject>> held;
    held.reserve(SafePointerRegistry::kMaxEntries);
    for (unsigned i = used; i < SafePointerRegistry::kMaxEntries; ++i) held.emplace_back(new SpLimitObject);
    const size_t filled = held.size();
    EXPECT_EQ(registry.getCapacity(), 20096u);
    EXPECT_EQ(registry.getUsedCount(), 20096u);

    // The 20097th: the object stays the caller's.
    auto extra = std::make_unique<SpLimitObject>();
    std::string what;
    try {
        SafePointer<SpLimitObject> p(extra.get());
        ADD_FAILURE() << "no exception";
    } catch (const OLRuntimeError& e) {
        what = e.what();
    }
    const std::string expected = "too much safe poniter(NameMapSize=2)(PointerCount=20096)(SpLimitObject," +
                                 std::to_string(filled) + ")";
    EXPECT_EQ(what, expected);
    EXPECT_EQ(SpLimitObject::destroyed, 0);
    EXPECT_EQ(registry.getCapacity(), 20096u);

    // The helpers delete what the registry refused.
    EXPECT_THROW(makeSafePointer<SpLimitObject>(), OLRuntimeError);
    EXPECT_EQ(SpLimitObject::destroyed, 1);

    // One freed entry makes room again, without growth.
    const unsigned freedIndex = held[1000].getEntry()->getIndex();
    held[1000].reset();
    SafePointer<SpLimitObject> again(extra.release());
    EXPECT_EQ(again.getEntry()->getIndex(), freedIndex);
    EXPECT_EQ(registry.getCapacity(), 20096u);
    EXPECT_EQ(SpLimitObject::destroyed, 2);

    held.clear();
    few.clear();
    again.reset();
    EXPECT_EQ(registry.getUsedCount(), 0u);
    // Every held object, the refused one and the extra one, each once.
    EXPECT_EQ(SpLimitObject::destroyed, static_cast<int>(filled) + 2);
}
