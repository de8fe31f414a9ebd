// A text stored over a longer one leaves nothing of the old text behind its
// terminator: equality compares whole fields.
#include <gtest/gtest.h>

#include <string>

#include "devsearch/DeviceNetwork.h"

namespace {

TEST(DeviceNetworkText, ShorterTextReplacesTheWholeField) {
    DeviceNetwork reused;
    ASSERT_TRUE(reused.setDeviceId("ABCDEFGH"));
    ASSERT_TRUE(reused.setDeviceId("AB"));
    DeviceNetwork fresh;
    ASSERT_TRUE(fresh.setDeviceId("AB"));
    EXPECT_TRUE(reused == fresh);
    EXPECT_TRUE(DeviceNetwork(reused) == fresh);

    // Storing a field's own text, or a tail of it, keeps it whole.
    ASSERT_TRUE(reused.setDeviceId("ABCDEFGH"));
    ASSERT_TRUE(reused.setDeviceId(reused.getDeviceId() + 6));
    ASSERT_TRUE(fresh.setDeviceId("GH"));
    EXPECT_TRUE(reused == fresh);
    EXPECT_STREQ("GH", reused.getDeviceId());
}

}  // namespace
