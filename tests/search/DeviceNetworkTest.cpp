#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "devsearch/DeviceNetwork.h"

namespace {

struct TextField {
    bool (DeviceNetwork::*set)(const char*);
    const char* (DeviceNetwork::*get)() const;
    size_t limit;
};
const TextField kAddressFields[] = {
    {&DeviceNetwork::setLocalIp, &DeviceNetwork::getLocalIp, 48},
    {&DeviceNetwork::setLocalSubnetMask, &DeviceNetwork::getLocalSubnetMask, 48},
    {&DeviceNetwork::setGateway, &DeviceNetwork::getGateway, 48},
    {&DeviceNetwork::setPrimaryDNSIp, &DeviceNetwork::getPrimaryDNSIp, 48},
    {&DeviceNetwork::setSpareDNSIp, &DeviceNetwork::getSpareDNSIp, 48},
};

TEST(DeviceNetwork, InitialValuesAndTextLimits) {
    DeviceNetwork n;
    EXPECT_EQ(
        (std::vector<int>{0, 0, 0, 0, 0, 0, 1, 1}),
        (std::vector<int>{n.getNetId(), n.getAutoGetIpFlag(), n.getAutoGetDNSFlag(), n.getControlPort(),
                          n.getRegisterPort(), n.getHttpPort(), n.getIPProtoVer(), n.getAdapterType()}));
    // Each text starts empty, takes its limit, and refuses null or one more
    // character keeping what it held; content is not judged.
    std::vector<TextField> fields(std::begin(kAddressFields), std::end(kAddressFields));
    fields.push_back({&DeviceNetwork::setDeviceId, &DeviceNetwork::getDeviceId, 32});
    for (const TextField& f : fields) {
        SCOPED_TRACE(f.limit);
        EXPECT_STREQ("", (n.*f.get)());
        const std::string full(f.limit, 'a');
        EXPECT_TRUE((n.*f.set)(full.c_str()));
        EXPECT_FALSE((n.*f.set)(std::string(f.limit + 1, 'b').c_str()));
        EXPECT_FALSE((n.*f.set)(nullptr));
        EXPECT_EQ(full, (n.*f.get)());
    }
}

// Equality, copies, assignment and reset() cover every field; the device id
// is compared byte for byte, the addresses without regard to case.
TEST(DeviceNetwork, EqualityCopiesAndResetCoverEveryField) {
    std::vector<std::function<void(DeviceNetwork&)>> changes = {
        [](auto& x) { x.setDeviceId("dev"); },     [](auto& x) { x.setNetId(7); },
        [](auto& x) { x.setAutoGetIpFlag(true); }, [](auto& x) { x.setAutoGetDNSFlag(true); },
        [](auto& x) { x.setControlPort(30001); },  [](auto& x) { x.setRegisterPort(9); },
        [](auto& x) { x.setHttpPort(80); },        [](auto& x) { x.setIPProtoVer(2); },
        [](auto& x) { x.setAdapterType(3); }};
    for (const TextField& f : kAddressFields)
        changes.push_back([f](DeviceNetwork& x) { (x.*f.set)("FE80::A"); });
    DeviceNetwork all;
    for (size_t i = 0; i < changes.size(); ++i) {
        DeviceNetwork changed;
        changes[i](changed);
        changes[i](all);
        EXPECT_FALSE(changed == DeviceNetwork()) << "field " << i;
        DeviceNetwork assigned;
        assigned = changed;
        EXPECT_TRUE(DeviceNetwork(assigned) == changed) << "field " << i;
    }
    all.reset();
    EXPECT_TRUE(all == DeviceNetwork());

    DeviceNetwork upper, lower;
    upper.setDeviceId("DEV");
    lower.setDeviceId("dev");
    EXPECT_FALSE(upper == lower);
    upper.setDeviceId("dev");
    for (const TextField& f : kAddressFields) {
        (upper.*f.set)("FE80::ABCD");
        (lower.*f.set)("fe80::abcd");
    }
    EXPECT_TRUE(upper == lower);

    // A shorter text stored over a longer one leaves nothing behind its
    // terminator, also when it is a tail of the field's own text.
    DeviceNetwork reused, fresh;
    reused.setDeviceId("ABCDEFGH");
    reused.setDeviceId("AB");
    fresh.setDeviceId("AB");
    EXPECT_TRUE(DeviceNetwork(reused) == fresh);
    reused.setDeviceId("ABCDEFGH");
    reused.setDeviceId(reused.getDeviceId() + 6);
    EXPECT_STREQ("GH", reused.getDeviceId());
}

}  // namespace
