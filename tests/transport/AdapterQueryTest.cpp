#include "transport/AdapterQuery.h"

#include "support/NetnsRig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

TEST(AdapterQuery, ListsIPv4AdaptersInIndexOrderWithTheirAddresses) {
    std::unique_ptr<testsupport::NetnsRig> rig;
    DS_NETNS_RIG_OR_SKIP(rig);
    const auto& client = rig->client();
    // An interface with IPv6 only is no adapter; a second IPv4 address follows the first.
    client.ip("link add dummy6 type veth peer name dummy6p");
    client.ip("addr add fd00:99::1/64 dev dummy6 nodad");
    client.ip("link set dummy6 up");
    client.ip("addr add 198.51.100.77/24 dev ethA");

    client.run([] {
        Strings names{"kept"};
        listAdapterNames(names);
        EXPECT_EQ(names, (Strings{"kept", "lo", "ethA", "ethB"}));

        Strings a;
        listAdapterAddresses("ethA", a);
        EXPECT_EQ(a, (Strings{"198.51.100.1", "198.51.100.77"}));
        Strings lo;
        listAdapterAddresses("lo", lo);
        EXPECT_EQ(lo, (Strings{"127.0.0.1"}));
        Strings none;
        listAdapterAddresses("nosuch", none);
        listAdapterAddresses("dummy6", none);
        listAdapterAddresses("", none);
        EXPECT_TRUE(none.empty());
    });
}

}  // namespace
