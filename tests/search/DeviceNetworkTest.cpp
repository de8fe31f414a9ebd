#include <gtest/gtest.h>

#include <string>

#include "devsearch/DeviceNetwork.h"

namespace {

TEST(DeviceNetwork, NewObjectHasResetValues) {
    DeviceNetwork fresh;
    EXPECT_STREQ("", fresh.getDeviceId());
    EXPECT_STREQ("", fresh.getLocalIp());
    EXPECT_EQ(0, fresh.getNetId());
    EXPECT_FALSE(fresh.getAutoGetIpFlag());
    EXPECT_EQ(0, fresh.getControlPort());
    EXPECT_EQ(1, fresh.getIPProtoVer());
    EXPECT_EQ(1, fresh.getAdapterType());

    DeviceNetwork used;
    used.setDeviceId("dev");
    used.setLocalIp("10.0.0.1");
    used.setHttpPort(80);
    used.setIPProtoVer(2);
    used.setAutoGetDNSFlag(true);
    EXPECT_FALSE(used == fresh);
    used.reset();
    EXPECT_TRUE(used == fresh);
    EXPECT_EQ(1, used.getIPProtoVer());
}

TEST(DeviceNetwork, TextSettersRefuseNullAndOverlongAndKeepOldValue) {
    DeviceNetwork n;
    const std::string id32(32, 'd');
    EXPECT_TRUE(n.setDeviceId(id32.c_str()));
    EXPECT_EQ(id32, n.getDeviceId());
    EXPECT_FALSE(n.setDeviceId(std::string(33, 'x').c_str()));
    EXPECT_EQ(id32, n.getDeviceId());
    EXPECT_FALSE(n.setDeviceId(nullptr));
    EXPECT_EQ(id32, n.getDeviceId());

    const std::string a48(48, '1');
    // Each of the five address setters takes 48 characters and refuses 49.
    bool (DeviceNetwork::*setters[])(const char*) = {
        &DeviceNetwork::setLocalIp, &DeviceNetwork::setLocalSubnetMask, &DeviceNetwork::setGateway,
        &DeviceNetwork::setPrimaryDNSIp, &DeviceNetwork::setSpareDNSIp};
    const char* (DeviceNetwork::*getters[])()
        const = {&DeviceNetwork::getLocalIp, &DeviceNetwork::getLocalSubnetMask, &DeviceNetwork::getGateway,
                 &DeviceNetwork::getPrimaryDNSIp, &DeviceNetwork::getSpareDNSIp};
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE((n.*setters[i])(a48.c_str()));
        EXPECT_FALSE((n.*setters[i])(std::string(49, '2').c_str()));
        EXPECT_FALSE((n.*setters[i])(nullptr));
        EXPECT_EQ(a48, (n.*getters[i])());
    }
    // Content is not judged.
    EXPECT_TRUE(n.setLocalIp("not an address"));
    EXPECT_STREQ("not an address", n.getLocalIp());
    EXPECT_TRUE(n.setGateway(""));
    EXPECT_STREQ("", n.getGateway());
}

TEST(DeviceNetwork, EqualityIgnoresCaseOfAddressesOnly) {
    DeviceNetwork a, b;
    a.setGateway("FE80::ABCD");
    b.setGateway("fe80::abcd");
    a.setPrimaryDNSIp("FD00::1");
    b.setPrimaryDNSIp("fd00::1");
    EXPECT_TRUE(a == b);

    b.setDeviceId("abc");
    a.setDeviceId("ABC");
    EXPECT_FALSE(a == b);
    a.setDeviceId("abc");
    EXPECT_TRUE(a == b);

    // Every scalar takes part.
    DeviceNetwork c = a;
    c.setNetId(5);
    EXPECT_FALSE(a == c);
    c = a;
    c.setAutoGetIpFlag(true);
    EXPECT_FALSE(a == c);
    c = a;
    c.setRegisterPort(9);
    EXPECT_FALSE(a == c);
    c = a;
    c.setAdapterType(3);
    EXPECT_FALSE(a == c);
    c = a;
    c.setSpareDNSIp("1.1.1.1");
    EXPECT_FALSE(a == c);
}

TEST(DeviceNetwork, CopyIsEqualAndIndependent) {
    DeviceNetwork source;
    source.setDeviceId("cam-1");
    source.setNetId(7);
    source.setLocalIp("192.168.1.10");
    source.setLocalSubnetMask("255.255.255.0");
    source.setControlPort(30001);
    source.setRegisterPort(0);
    source.setHttpPort(80);
    source.setAdapterType(2);

    DeviceNetwork copy(source);
    EXPECT_TRUE(copy == source);
    copy.setLocalIp("192.168.1.11");
    copy.setHttpPort(8080);
    EXPECT_STREQ("192.168.1.10", source.getLocalIp());
    EXPECT_EQ(80, source.getHttpPort());
    EXPECT_FALSE(copy == source);

    DeviceNetwork assigned;
    assigned = source;
    EXPECT_TRUE(assigned == source);
    DeviceNetwork& same = assigned;
    assigned = same;  // self-assignment leaves the object alone
    EXPECT_TRUE(assigned == source);
}

}  // namespace
