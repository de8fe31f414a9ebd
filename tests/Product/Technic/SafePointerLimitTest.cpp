#include <atomic>
#include <memory>

#include "Product/Technic/SafePointer.h"
#include "TestSupport.h"

// Its own binary: once the registry has reached its limit it stays that large.

struct SpLimitObject {
    static std::atomic<int> destroyed;
    ~SpLimitObject() { ++destroyed; }
};
std::atomic<int> SpLimitObject::destroyed{0};

TEST(SafePointerLimitTest, TableStopsAt20096Entries) {
    SafePointerRegistry& registry = *SafePointerRegistry::getInstance();
    // A second type with no more than 50 live objects stays out of the report.
    std::vector<SafePointer<int>> few;
    for (int i = 0; i < 50; ++i) few.emplace_back(new int);
    std::vector<SafePointer<SpLimitObject>> held;
    while (registry.getUsedCount() < 20096u) held.emplace_back(new SpLimitObject);
    EXPECT_EQ(registry.getCapacity(), 20096u);

    // The 20097th: the object stays the caller's.
    auto extra = std::make_unique<SpLimitObject>();
    EXPECT_EQ(thrown<OLRuntimeError>([&] { SafePointer<SpLimitObject> p(extra.get()); }),
              "too much safe poniter(NameMapSize=2)(PointerCount=20096)(SpLimitObject," +
                  std::to_string(held.size()) + ")");
    EXPECT_EQ(SpLimitObject::destroyed, 0);
    // The helpers delete what the registry refused.
    EXPECT_THROW(makeSafePointer<SpLimitObject>(), OLRuntimeError);
    EXPECT_EQ(SpLimitObject::destroyed, 1);

    // One freed entry makes room again, without growth.
    const unsigned freedIndex = held[1000].getEntry()->getIndex();
    held[1000].reset();
    SafePointer<SpLimitObject> again(extra.release());
    EXPECT_EQ(again.getEntry()->getIndex(), freedIndex);
    EXPECT_EQ(registry.getCapacity(), 20096u);

    const int created = static_cast<int>(held.size()) + 2;  // the held ones, the refused one, the extra one
    held.clear();
    few.clear();
    again.reset();
    EXPECT_EQ(registry.getUsedCount(), 0u);
    EXPECT_EQ(SpLimitObject::destroyed, created);
}
