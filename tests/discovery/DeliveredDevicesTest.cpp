// The engines' duplicate index against a plain list of the records it must
// hold, over long random runs with small limits: the table wraps, probes run
// long, and entries are removed from the middle of runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <string>

#include "discovery/DeliveredDevices.h"

namespace {

struct Rec {
    std::string id;
    int value;
    const std::string& getDeviceId() const { return id; }
    bool operator==(const Rec& o) const { return id == o.id && value == o.value; }
};

// Oldest first, as the index forgets them.
void rememberInModel(std::list<Rec>& model, const Rec& r, size_t limit) {
    model.push_back(r);
    while (model.size() > limit) model.pop_front();
}

TEST(DeliveredDevices, MatchesAListOverRandomRuns) {
    std::mt19937 random(7);
    for (const size_t limit : {1u, 3u, 7u, 8u, 17u, 31u, 200u}) {
        for (const bool onePerId : {true, false}) {
            SCOPED_TRACE(testing::Message()
                         << "limit " << limit << (onePerId ? ", one per id" : ", several"));
            DeliveredDevices<Rec> index(limit);
            std::list<Rec> model;
            size_t currentLimit = limit;
            for (int step = 0; step < 20000; ++step) {
                const Rec r{"dev" + std::to_string(random() % 60), static_cast<int>(random() % 3)};
                if (step % 997 == 500) {
                    // Lowering the limit forgets the oldest at once.
                    currentLimit = std::max<size_t>(1, currentLimit / 2);
                    index.setLimit(currentLimit);
                    while (model.size() > currentLimit) model.pop_front();
                }
                if (onePerId) {
                    // The receiver's and the range search's rule.
                    auto slot = index.lookup(r.id);
                    auto known =
                        std::find_if(model.begin(), model.end(), [&](const Rec& m) { return m.id == r.id; });
                    ASSERT_EQ(known == model.end(), index.at(slot) == nullptr);
                    if (known != model.end()) {
                        ASSERT_EQ(*known, *index.at(slot));
                        if (*known == r) continue;
                        model.erase(known);
                    }
                    index.store(slot, r);
                } else {
                    // The service's rule.
                    const bool held = std::find(model.begin(), model.end(), r) != model.end();
                    ASSERT_EQ(held, index.holdsEqual(r));
                    if (held) continue;
                    index.remember(r);
                }
                rememberInModel(model, r, currentLimit);
                ASSERT_EQ(model.size(), index.size());
            }
            for (const Rec& m : model) EXPECT_TRUE(index.holdsEqual(m)) << m.id;
        }
    }
}

}  // namespace
