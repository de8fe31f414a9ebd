// The network settings record and the address tool.
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "devsearch/DeviceNetwork.h"
#include "devsearch/IPTool.h"
#include "domain/records/InetAddr.h"
#include "support/NetnsRig.h"

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

// Each text with the version that checkIPAddress gives it: 1 when the IPv4
// check takes it, 2 when only the IPv6 check does, 0 when neither does.
TEST(IPToolCheck, AddressTexts) {
    const std::pair<int, std::vector<const char*>> cases[] = {
        {1,
         {"192.168.1.1", "1.2.3.4:65535", "1.2.3.4:1", "255.255.255.1", "1.2.3.0", "001.02.003.4",
          "249.250.251.254", "1.2.3.254", "0.0.0.0"}},
        // Hex digits without a colon are no IPv4 address but pass as IPv6; so does "".
        {2,
         {"::1", "fe80::1/64", "ABCD:EF01::", "1:2:3:4:5:6:7:8", "fe80::1/128", "::", "1234", "",
          "abcd:EF01:2345:6789:abcd:ef01:2345:6789/0"}},
        {0,
         {"1.2.3.255", "256.1.1.1", "1.2.3", "1.2.3.4.5", "1..3.4", "1.2.3.4:0", "1.2.3.4:65536",
          "1.2.3.4:", "1.2.3.4a", "1000.1.1.1", "1.300.1.1", "1.260.1.1"}},
        {0,
         {"1.2.3.4 ", ".1.2.3", "1.2.3.", "1.2.3.4.", "-1.2.3.4", nullptr, "fe80::1/129", "12345::1", "g::1",
          "1:2:3:4:5:6:7:8:9", "fe80::1/-1", "fe80::1%eth0", "::1/99999999999999999999"}},
    };
    for (const auto& c : cases) {
        for (const char* text : c.second) {
            int version = -7;  // a refused text leaves it alone
            EXPECT_EQ(c.first != 0, IPTool().checkIPAddress(text, version)) << text;
            EXPECT_EQ(c.first != 0 ? c.first : -7, version) << text;
        }
    }
}

// Address text is taken as it stands (the port kept); host names are looked
// up, inside a private namespace so that no query can leave the host.
TEST(IPToolInetAddr, AddressTextAsItStandsAndHostNamesInsideANamespace) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ns->run([] {
        IPTool tool;
        InetAddr addr;
        addr.setPORT(1234);
        for (const auto& text : {std::make_pair("10.1.2.3:80", 1), std::make_pair("FE80::1", 2)}) {
            ASSERT_TRUE(tool.getInetAddr(text.first, addr));
            EXPECT_EQ(text.first, addr.getIP());
            EXPECT_EQ(text.second, addr.getIPProtoVer());
            EXPECT_EQ(1234, addr.getPORT());
        }
        EXPECT_FALSE(tool.getInetAddr("no-such-host.invalid", addr));
        EXPECT_EQ("FE80::1", addr.getIP());
        EXPECT_EQ(2, addr.getIPProtoVer());
        EXPECT_FALSE(tool.getIPbyHostname(nullptr, addr));
        EXPECT_FALSE(tool.getInetAddr(nullptr, addr));
        if (tool.getInetAddr("localhost", addr)) {
            EXPECT_TRUE(addr.getIP() == "127.0.0.1" || addr.getIP() == "::1") << addr.getIP();
            EXPECT_EQ(addr.getIP() == "::1" ? 2 : 1, addr.getIPProtoVer());
        }
    });
}

TEST(IPToolEnum, ListsTheNamespaceAddresses) {
    std::unique_ptr<testsupport::NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    rig->client().run([&] {
        IPTool tool;
        char buf[IPTool::kAddressSize];
        auto listed = [&](int version) {
            std::set<std::string> out;
            EXPECT_TRUE(tool.enumIPList(version));
            for (int i = 0; i < tool.getEnumIPNum(); ++i) {
                EXPECT_TRUE(tool.getEnumIP(i, buf));
                out.insert(buf);
            }
            return out;
        };
        EXPECT_EQ((std::set<std::string>{rig->linkA().clientIp4, rig->linkB().clientIp4}), listed(1));
        EXPECT_FALSE(tool.getEnumIP(-1, buf));
        EXPECT_FALSE(tool.getEnumIP(tool.getEnumIPNum(), buf));
        EXPECT_FALSE(tool.getEnumIP(0, nullptr));

        const std::set<std::string> v6 = listed(2);
        EXPECT_EQ(0u, v6.count("::1"));
        EXPECT_EQ(1u, v6.count(rig->linkA().clientIp6));
        EXPECT_EQ(1u, v6.count(rig->linkB().clientIp6));
        listed(1);  // a second listing replaces the first
        EXPECT_EQ(2, tool.getEnumIPNum());
    });
}

TEST(IPToolEnum, NeverKeepsMoreThanThirty) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ns->ip("link add many0 type veth peer name many1");
    ns->ip("link set many0 up");
    for (int i = 1; i <= 40; ++i) ns->ip("addr add 10.9.0." + std::to_string(i) + "/32 dev many0");
    ns->run([] {
        IPTool tool;
        ASSERT_TRUE(tool.enumIPList(1));
        EXPECT_EQ(IPTool::kMaxAddresses, tool.getEnumIPNum());
        char buf[IPTool::kAddressSize];
        EXPECT_TRUE(tool.getEnumIP(IPTool::kMaxAddresses - 1, buf));
        EXPECT_FALSE(tool.getEnumIP(IPTool::kMaxAddresses, buf));
    });
}

}  // namespace
