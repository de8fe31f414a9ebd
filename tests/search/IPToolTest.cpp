#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "devsearch/IPTool.h"
#include "domain/records/InetAddr.h"
#include "support/NetnsRig.h"

// Reaches the private checks of IPTool.
class IPToolProbe {
  public:
    static bool v4(const char* text) { return IPTool().checkIPv4Address(text); }
    static bool v6(const char* text) { return IPTool().checkIPv6Address(text); }
    static int dtob(int value, char* out) { return IPTool().dtob(value, out); }
};

namespace {

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
            EXPECT_EQ(c.first == 1, IPToolProbe::v4(text)) << text;
            EXPECT_EQ(c.first == 2, IPToolProbe::v6(text)) << text;
            int version = -7;  // a refused text leaves it alone
            EXPECT_EQ(c.first != 0, IPTool().checkIPAddress(text, version)) << text;
            EXPECT_EQ(c.first != 0 ? c.first : -7, version) << text;
        }
    }
}

TEST(IPToolCheck, BinaryDigits) {
    char out[40];
    std::memset(out, 'x', sizeof(out));
    EXPECT_EQ(-1, IPToolProbe::dtob(-5, out));
    EXPECT_EQ(0, IPToolProbe::dtob(0, out));
    EXPECT_EQ(3, IPToolProbe::dtob(5, out));
    EXPECT_EQ("101xx", std::string(out, 5));  // nothing for 0 and -5, no terminator
    EXPECT_EQ(31, IPToolProbe::dtob(0x7fffffff, out));
    EXPECT_EQ(std::string(31, '1'), std::string(out, 31));
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
