// User, privilege and log records: the short lines and node names of the
// logged privilege codecs, optional and reset lists, narrow and double fields.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/codecs/LoginSessionXml.h"
#include "domain/codecs/OperateLogInfoXml.h"
#include "domain/codecs/PrivilegeGroupXml.h"
#include "domain/codecs/PrivilegeUserXml.h"
#include "domain/codecs/PrivilegeXml.h"
#include "domain/codecs/SecurityParamXml.h"
#include "domain/codecs/UserDefineParamXml.h"

namespace {

using namespace catalogue_test;

TEST(UserRecords, PrivilegeShortLinesAndOptionalDevices) {
    Privilege record;
    record.setDesc("old");
    record.setHasDeviceFlag(true);
    record.setDeviceList({"cam1", "cam2"});
    bool ok = false;
    EXPECT_EQ(
        parseLogged<PrivilegeXml>("<Privilege Privilege=\"live\" AllDeviceFlag=\"true\" />", record, ok),
        "getProperty get Desc failed \ngetProperty get HasDeviceFlag failed \n");
    EXPECT_TRUE(ok);
    EXPECT_EQ(record.getPrivilege(), "live");
    EXPECT_EQ(record.getDesc(), "");
    EXPECT_FALSE(record.getHasDeviceFlag());
    EXPECT_TRUE(record.getAllDeviceFlag());
    EXPECT_EQ(record.getDeviceList(), (std::vector<std::string>{"cam1", "cam2"}));

    parseLogged<PrivilegeXml>(
        "<Privilege Privilege=\"p\" Desc=\"d\" HasDeviceFlag=\"1\" AllDeviceFlag=\"false\">"
        "<DeviceList><Device Device=\"cam9\" /></DeviceList></Privilege>",
        record, ok);
    // "1" is neither true nor false: the flag keeps the local's false.
    EXPECT_FALSE(record.getHasDeviceFlag());
    EXPECT_EQ(record.getDeviceList(), std::vector<std::string>{"cam9"});
}

TEST(UserRecords, LoggedPrivilegeListsWriteBothChildLines) {
    Privilege right;
    right.setPrivilege("config");
    PrivilegeGroup group;
    group.setPrivilegeList({right});
    bool ok = false;
    EXPECT_EQ(parseLogged<PrivilegeGroupXml>(
                  "<PrivilegeGroup GroupName=\"g\" Desc=\"\" SupGroupName=\"root\" />", group, ok),
              "getConfigNode NODE_PRIVILEGE_LIST failed\nparseDomainXmlNode objPrivilegeList failed\n");
    EXPECT_TRUE(ok);
    EXPECT_TRUE(group.getPrivilegeList().empty());
    EXPECT_EQ(group.getSupGroupName(), "root");

    PrivilegeUser user;
    user.setPrivilegeList({right});
    EXPECT_EQ(parseLogged<PrivilegeUserXml>("<PrivilegeUser />", user, ok),
              "getProperty get UserName failed \n"
              "getProperty get Password failed \n"
              "getProperty get GroupName failed \n"
              "getProperty get LockFlag failed \n"
              "getProperty get LockTime failed \n"
              "getProperty get MultiLoginFlag failed \n"
              "getProperty get Desc failed \n"
              "getConfigNode NODE_PRIVILEGE_LIST failed\n"
              "parseDomainXmlNode objPrivilegeList failed\n");
    EXPECT_TRUE(ok);
    EXPECT_TRUE(user.getPrivilegeList().empty());

    // Items of a found list: their own short lines, and the list is stored.
    EXPECT_EQ(
        parseLogged<PrivilegeUserXml>(
            "<PrivilegeUser UserName=\"u\" Password=\"p\" GroupName=\"g\" LockFlag=\"false\" LockTime=\"0\" "
            "MultiLoginFlag=\"true\" Desc=\"\"><PrivilegeList><Privilege Privilege=\"a\" Desc=\"\" "
            "HasDeviceFlag=\"false\" /></PrivilegeList></PrivilegeUser>",
            user, ok),
        "getProperty get AllDeviceFlag failed \n");
    ASSERT_EQ(user.getPrivilegeList().size(), 1u);
    EXPECT_EQ(user.getPrivilegeList()[0].getPrivilege(), "a");
    EXPECT_TRUE(user.getMultiLoginFlag());
}

TEST(UserRecords, ResetListAndDefaults) {
    UserDefineParamItem item;
    item.setParamItemType("t");
    UserDefineParam param;
    param.setParamItemList({item});
    bool ok = false;
    EXPECT_EQ(parseLogged<UserDefineParamXml>("<UserDefineParam ParamType=\"x\" />", param, ok), "");
    EXPECT_TRUE(ok);
    EXPECT_TRUE(param.getParamItemList().empty());  // a reset list is emptied when absent

    SecurityParam security;
    EXPECT_EQ(security.getPasswordLevel(), 1);
    parseLogged<SecurityParamXml>("<SecurityParam LoginMode=\"2\" />", security, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(security.getLoginMode(), 2);
    EXPECT_EQ(security.getPasswordLevel(), 0);
}

TEST(UserRecords, LoginSessionNarrowIdDoubleTimeOptionalAddress) {
    LoginSession session;
    session.setFromIP("192.168.1.5");
    bool ok = false;
    EXPECT_EQ(
        parseLogged<LoginSessionXml>("<LoginSession SessionId=\"70000\" Time=\"12.25\" />", session, ok), "");
    EXPECT_TRUE(ok);
    EXPECT_EQ(session.getSessionId(), 4464);
    EXPECT_DOUBLE_EQ(session.getTime(), 12.25);
    EXPECT_EQ(session.getFromIP(), "192.168.1.5");

    session.setTime(0.1234567);
    session.setPrivilegesList({"view"});
    NodePtr node(new DomainXmlNode("LoginSession"));
    LoginSessionXml codec;
    ASSERT_TRUE(codec.createDomainXmlNode(session, node));
    const std::string text = printXml(node);
    EXPECT_EQ(text.substr(0, text.find('\n')),
              "<LoginSession SessionId=\"4464\" Time=\"0.123457\" FromIP=\"192.168.1.5\">");
    EXPECT_NE(text.find("\t<PrivilegesList>\n\t\t<Privileges Privileges=\"view\" />\n\t</PrivilegesList>\n"),
              std::string::npos);
    EXPECT_NE(text.find("\t<LoginUser "), std::string::npos);
}

TEST(UserRecords, OperateLogInfoStopsAtFirstMissing) {
    OperateLogInfo record;
    bool ok = true;
    EXPECT_EQ(parseLogged<OperateLogInfoXml>("<OperateLogInfo OperateType=\"4\" DeviceIp=\"1.2.3.4\" />",
                                             record, ok),
              "OperateLogInfoXml::parseDomainXmlNode get OperateInfo failed \n");
    EXPECT_FALSE(ok);
    EXPECT_EQ(record.getOperateType(), 4);
    EXPECT_EQ(record.getDeviceIp(), "");
}

}  // namespace
