#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

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

int versionOf(const char* text) {
    IPTool tool;
    int version = -7;
    if (!tool.checkIPAddress(text, version)) {
        EXPECT_EQ(-7, version) << "a refused text must leave the version alone: " << text;
        return 0;
    }
    return version;
}

TEST(IPToolCheck, IPv4Texts) {
    for (const char* ok : {"192.168.1.1", "1.2.3.4:65535", "1.2.3.4:1", "255.255.255.1", "1.2.3.0",
                           "001.02.003.4", "249.250.251.254", "1.2.3.254", "0.0.0.0"}) {
        EXPECT_TRUE(IPToolProbe::v4(ok)) << ok;
        EXPECT_EQ(1, versionOf(ok)) << ok;
    }
    for (const char* bad : {"1.2.3.255", "256.1.1.1", "1.2.3", "1.2.3.4.5", "1..3.4", "1.2.3.4:0",
                            "1.2.3.4:65536", "1.2.3.4:", "", "1.2.3.4a", "1000.1.1.1", "1.300.1.1",
                            "1.260.1.1", "1.2.3.4 ", ".1.2.3", "1.2.3.", "1.2.3.4.", "-1.2.3.4"}) {
        EXPECT_FALSE(IPToolProbe::v4(bad)) << bad;
    }
    EXPECT_FALSE(IPToolProbe::v4(nullptr));
}

TEST(IPToolCheck, IPv6Texts) {
    for (const char* ok : {"::1", "fe80::1/64", "ABCD:EF01::", "1:2:3:4:5:6:7:8", "fe80::1/128", "::", "1234",
                           "abcd:EF01:2345:6789:abcd:ef01:2345:6789/0"}) {
        EXPECT_TRUE(IPToolProbe::v6(ok)) << ok;
    }
    for (const char* bad : {"fe80::1/129", "12345::1", "g::1", "1:2:3:4:5:6:7:8:9", "fe80::1/-1", "1.2.3.4",
                            "fe80::1%eth0", "::1/99999999999999999999"}) {
        EXPECT_FALSE(IPToolProbe::v6(bad)) << bad;
    }
    EXPECT_EQ(2, versionOf("::1"));
    EXPECT_EQ(2, versionOf("fe80::1/64"));
    EXPECT_EQ(2, versionOf("ABCD:EF01::"));
    EXPECT_EQ(0, versionOf("fe80::1/129"));
    EXPECT_EQ(0, versionOf("g::1"));
    // Hex digits without a colon are no IPv4 address but pass as IPv6; so does "".
    EXPECT_EQ(2, versionOf("1234"));
    EXPECT_TRUE(IPToolProbe::v6(""));
    EXPECT_FALSE(IPToolProbe::v4(""));
    EXPECT_EQ(2, versionOf(""));
    IPTool tool;
    int version = 9;
    EXPECT_FALSE(tool.checkIPAddress(nullptr, version));
    EXPECT_EQ(9, version);
}

TEST(IPToolCheck, BinaryDigits) {
    char out[40];
    std::memset(out, 'x', sizeof(out));
    EXPECT_EQ(-1, IPToolProbe::dtob(-5, out));
    EXPECT_EQ(0, IPToolProbe::dtob(0, out));
    EXPECT_EQ('x', out[0]);
    EXPECT_EQ(3, IPToolProbe::dtob(5, out));
    EXPECT_EQ("101", std::string(out, 3));
    EXPECT_EQ('x', out[3]);  // no terminator
    EXPECT_EQ(31, IPToolProbe::dtob(0x7fffffff, out));
    EXPECT_EQ(std::string(31, '1'), std::string(out, 31));
}

TEST(IPToolInetAddr, AddressTextIsTakenAsItStands) {
    IPTool tool;
    InetAddr addr;
    addr.setPORT(1234);
    ASSERT_TRUE(tool.getInetAddr("10.1.2.3:80", addr));
    EXPECT_EQ("10.1.2.3:80", addr.getIP());
    EXPECT_EQ(1, addr.getIPProtoVer());
    EXPECT_EQ(1234, addr.getPORT());
    ASSERT_TRUE(tool.getInetAddr("FE80::1", addr));
    EXPECT_EQ("FE80::1", addr.getIP());
    EXPECT_EQ(2, addr.getIPProtoVer());
    EXPECT_EQ(1234, addr.getPORT());
}

// Host name look-ups run in a private namespace, so that no query can leave the host.
TEST(IPToolInetAddr, HostNamesResolveInsideANamespace) {
    std::unique_ptr<testsupport::Netns> ns;
    DS_LOOPBACK_NETNS_OR_SKIP(ns);
    ns->run([] {
        IPTool tool;
        InetAddr addr;
        addr.setIP("unchanged");
        addr.setIPProtoVer(7);
        EXPECT_FALSE(tool.getInetAddr("no-such-host.invalid", addr));
        EXPECT_EQ("unchanged", addr.getIP());
        EXPECT_EQ(7, addr.getIPProtoVer());
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
        ASSERT_TRUE(tool.enumIPList(1));
        std::set<std::string> v4;
        char buf[IPTool::kAddressSize];
        for (int i = 0; i < tool.getEnumIPNum(); ++i) {
            ASSERT_TRUE(tool.getEnumIP(i, buf));
            v4.insert(buf);
        }
        EXPECT_EQ((std::set<std::string>{rig->linkA().clientIp4, rig->linkB().clientIp4}), v4);
        EXPECT_FALSE(tool.getEnumIP(-1, buf));
        EXPECT_FALSE(tool.getEnumIP(tool.getEnumIPNum(), buf));
        EXPECT_FALSE(tool.getEnumIP(0, nullptr));

        ASSERT_TRUE(tool.enumIPList(2));
        std::set<std::string> v6;
        for (int i = 0; i < tool.getEnumIPNum(); ++i) {
            ASSERT_TRUE(tool.getEnumIP(i, buf));
            v6.insert(buf);
        }
        EXPECT_EQ(0u, v6.count("::1"));
        EXPECT_EQ(1u, v6.count(rig->linkA().clientIp6));
        EXPECT_EQ(1u, v6.count(rig->linkB().clientIp6));

        // A second listing replaces the first.
        ASSERT_TRUE(tool.enumIPList(1));
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
