// Network, service and platform records: strict children, mandatory shapes,
// constructor defaults that a parse resets, fixed text fields, own and short
// lines, item names and the base attributes of the alarm actions.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/DomainContainer.h"
#include "domain/codecs/CMSRegisterInfoParamXml.h"
#include "domain/codecs/Client8021xXml.h"
#include "domain/codecs/DDNSParamXml.h"
#include "domain/codecs/DevicePortMappingParamXml.h"
#include "domain/codecs/FTPParamXml.h"
#include "domain/codecs/NetworkPrivilegeInfoXml.h"
#include "domain/codecs/OrlithDDNSParamXml.h"
#include "domain/codecs/P2PParamXml.h"
#include "domain/codecs/PackFormatXml.h"
#include "domain/codecs/PortMappingXml.h"
#include "domain/codecs/ProtocolXml.h"
#include "domain/codecs/SMTPActionParamXml.h"
#include "domain/codecs/SNMPParamXml.h"
#include "domain/codecs/SNMPSecurityAbilityXml.h"
#include "domain/codecs/StartMapPortXml.h"
#include "domain/codecs/TranspondServiceParamXml.h"

namespace {

using namespace catalogue_test;

const char* const kPrivilege =
    "<NetworkPrivilegeInfo EnableFlag=\"true\" WorkMode=\"2\">"
    "<IPBlackList><IpRangeInfo BeginIpAddr=\"10.0.0.1\" EndIpAddr=\"10.0.0.9\" IpDescribeInfo=\"lab\" />"
    "</IPBlackList>%s</NetworkPrivilegeInfo>";

std::string privilegeText(const std::string& white) {
    std::string text(kPrivilege);
    return text.replace(text.find("%s"), 2, white);
}

TEST(NetworkRecords, NetworkPrivilegeInfoListsAreMandatoryAndStrict) {
    NetworkPrivilegeInfo record;
    bool ok = false;
    std::string out = parseLogged<NetworkPrivilegeInfoXml>(
        privilegeText("<IPWhiteList><IpRangeInfo BeginIpAddr=\"a\" EndIpAddr=\"b\" IpDescribeInfo=\"c\" />"
                      "<Other BeginIpAddr=\"d\" EndIpAddr=\"e\" IpDescribeInfo=\"f\" /></IPWhiteList>"),
        record, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(out, "");
    ASSERT_EQ(record.getIPBlackList().size(), 1u);
    EXPECT_EQ(record.getIPBlackList()[0].getEndIpAddr(), "10.0.0.9");
    ASSERT_EQ(record.getIPWhiteList().size(), 2u);  // item names are not checked
    EXPECT_EQ(record.getIPWhiteList()[1].getIpDescribeInfo(), "f");

    // Absent white list: the parse fails without a line.
    NetworkPrivilegeInfo other;
    out = parseLogged<NetworkPrivilegeInfoXml>(privilegeText(""), other, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "");
    EXPECT_EQ(other.getIPBlackList().size(), 1u);

    // A found list whose item fails ends the parse with false.
    out = parseLogged<NetworkPrivilegeInfoXml>(
        privilegeText("<IPWhiteList><IpRangeInfo BeginIpAddr=\"a\" IpDescribeInfo=\"c\" /></IPWhiteList>"),
        record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "IpRangeInfoXml::parseDomainXmlNode get EndIpAddr failed \n");
    EXPECT_EQ(record.getIPWhiteList().size(), 2u);  // the failed list is not stored
}

TEST(NetworkRecords, PortMappingMandatoryWithDefaults) {
    PortMapping record;
    EXPECT_EQ(record.getOutPort(), 1);
    EXPECT_EQ(record.getOutPortIP(), "0.0.0.0");
    bool ok = true;
    std::string out =
        parseLogged<PortMappingXml>("<PortMapping PortName=\"http\" OutPortIP=\"1.2.3.4\" />", record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "PortMappingXml::parseDomainXmlNode get OutPort failed \n");
    EXPECT_EQ(record.getPortName(), "http");
    EXPECT_EQ(record.getOutPort(), 1);
    EXPECT_EQ(record.getOutPortIP(), "0.0.0.0");
}

TEST(NetworkRecords, DevicePortMappingParamMapModeAndStrictList) {
    DevicePortMappingParam record;
    EXPECT_EQ(record.getMapMode(), 1);
    bool ok = true;
    std::string out = parseLogged<DevicePortMappingParamXml>(
        "<DevicePortMappingParam EnableFlag=\"true\"><PortMappingList /></DevicePortMappingParam>", record,
        ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "DevicePortMappingParamXml::parseDomainXmlNode get MapMode failed \n");
    EXPECT_TRUE(record.getEnableFlag());
    EXPECT_EQ(record.getMapMode(), 1);

    out = parseLogged<DevicePortMappingParamXml>(
        "<DevicePortMappingParam EnableFlag=\"false\" MapMode=\"2\"><PortMappingList>"
        "<PortMapping PortName=\"rtsp\" OutPort=\"554\" OutPortIP=\"1.1.1.1\" /></PortMappingList>"
        "</DevicePortMappingParam>",
        record, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "PortMappingXml::parseDomainXmlNode get WorkingFlag failed \n");
    EXPECT_EQ(record.getMapMode(), 2);
    EXPECT_TRUE(record.getPortMappingList().empty());

    out = parseLogged<DevicePortMappingParamXml>(
        "<DevicePortMappingParam EnableFlag=\"false\" MapMode=\"2\"><PortMappingList>"
        "<PortMapping PortName=\"rtsp\" OutPort=\"554\" OutPortIP=\"1.1.1.1\" WorkingFlag=\"TRUE\" />"
        "</PortMappingList></DevicePortMappingParam>",
        record, ok);
    EXPECT_TRUE(ok);
    ASSERT_EQ(record.getPortMappingList().size(), 1u);
    EXPECT_TRUE(record.getPortMappingList()[0].getWorkingFlag());
}

TEST(NetworkRecords, OrlithDDNSParamFixedTexts) {
    OrlithDDNSParam record;
    const std::string card32(32, 'c');
    EXPECT_TRUE(record.setNetWorkCardName(card32.c_str()));
    EXPECT_FALSE(record.setNetWorkCardName(std::string(33, 'x').c_str()));
    EXPECT_FALSE(record.setNetWorkCardName(nullptr));
    EXPECT_EQ(std::string(record.getNetWorkCardName()), card32);

    // An overlong text in the document leaves the field; the parse goes on.
    bool ok = false;
    parseLogged<OrlithDDNSParamXml>(
        "<OrlithDDNSParam DDNSEnableFlag=\"true\" DDNSDomainName=\"cam.example\" "
        "NetWorkCardName=\"" +
            std::string(33, 'y') + "\" />",
        record, ok);
    EXPECT_TRUE(ok);
    EXPECT_TRUE(record.getDDNSEnableFlag());
    EXPECT_EQ(std::string(record.getDDNSDomainName()), "cam.example");
    EXPECT_EQ(std::string(record.getNetWorkCardName()), card32);

    // An absent one is reset to the empty text.
    parseLogged<OrlithDDNSParamXml>("<OrlithDDNSParam />", record, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(std::string(record.getNetWorkCardName()), "");
    EXPECT_EQ(std::string(record.getDDNSDomainName()), "");
}

TEST(NetworkRecords, SMTPActionParamBaseFirstAndOptionalRecipients) {
    SMTPActionParam record;
    record.setActionType(3);
    record.setActionID(4);
    record.setActionName("mail");
    record.setSMTPServerAddr("smtp.local");
    record.setSMTPServerPort(25);
    record.setRecipientEmailAddressList({"a@b", "c@d"});
    EXPECT_EQ(
        buildXml<SMTPActionParamXml>(record, "SMTPActionParam"),
        "<SMTPActionParam ActionType=\"3\" ActionID=\"4\" ActionName=\"mail\" SMTPServerAddr=\"smtp.local\" "
        "SMTPServerPort=\"25\" SMTPUserName=\"\" SMTPPassword=\"\" SenderEmailAddress=\"\" "
        "AttachmentImageQuality=\"0\" TransportMode=\"0\">\n"
        "\t<RecipientEmailAddressList>\n"
        "\t\t<RecipientEmailAddress RecipientEmailAddress=\"a@b\" />\n"
        "\t\t<RecipientEmailAddress RecipientEmailAddress=\"c@d\" />\n"
        "\t</RecipientEmailAddressList>\n"
        "</SMTPActionParam>\n");

    bool ok = false;
    parseLogged<SMTPActionParamXml>("<SMTPActionParam ActionID=\"9\" SMTPServerPort=\"65561\" />", record,
                                    ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(record.getActionID(), 9);
    EXPECT_EQ(record.getActionName(), "");
    EXPECT_EQ(record.getSMTPServerPort(), 25);  // low 16 bits of 65561
    EXPECT_EQ(record.getRecipientEmailAddressList().size(), 2u);
}

TEST(NetworkRecords, ConstructorDefaultsResetByParse) {
    FTPParam ftp;
    EXPECT_EQ(ftp.getFTPServerWorkPath(), "/");
    EXPECT_EQ(ftp.getIPProtoVer(), 1);
    EXPECT_EQ(ftp.getImageQuality(), 2);
    EXPECT_EQ(ftp.getImageNum(), 1);
    EXPECT_EQ(ftp.getImageInterval(), 1);
    bool ok = false;
    EXPECT_EQ(parseLogged<FTPParamXml>("<FTPParam ActionType=\"1\" />", ftp, ok), "");
    EXPECT_TRUE(ok);
    EXPECT_EQ(ftp.getActionType(), 1);
    EXPECT_EQ(ftp.getFTPServerWorkPath(), "");
    EXPECT_EQ(ftp.getIPProtoVer(), 0);
    EXPECT_EQ(ftp.getImageQuality(), 0);
    EXPECT_EQ(ftp.getImageNum(), 0);
    EXPECT_EQ(ftp.getImageInterval(), 0);

    SNMPParam snmp;
    EXPECT_EQ(snmp.getSNMPPort(), 161);
    EXPECT_EQ(snmp.getTrapPort(), 162);
    parseLogged<SNMPParamXml>("<SNMPParam TrapPort=\"70000\" />", snmp, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(snmp.getSNMPPort(), 0);
    EXPECT_EQ(snmp.getTrapPort(), 4464);

    DDNSParam ddns;
    EXPECT_EQ(ddns.getDDNSProviderId(), -1);
    parseLogged<DDNSParamXml>("<DDNSParam />", ddns, ok);
    EXPECT_EQ(ddns.getDDNSProviderId(), 0);

    Protocol protocol;
    EXPECT_EQ(protocol.getType(), 1);
    parseLogged<ProtocolXml>("<Protocol />", protocol, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(protocol.getType(), 0);

    PackFormat pack;
    EXPECT_EQ(pack.getMode(), 1);
    parseLogged<PackFormatXml>("<PackFormat />", pack, ok);
    EXPECT_EQ(pack.getMode(), 0);
}

TEST(NetworkRecords, Client8021xCardNameFallsBackToEth0) {
    Client8021x record;
    EXPECT_EQ(record.getNetworkCardName(), "eth0");
    record.setNetworkCardName("wlan0");
    record.setVersion(3);
    record.setUserName("u");
    bool ok = false;
    EXPECT_EQ(parseLogged<Client8021xXml>("<Client8021x EnableFlag=\"true\" />", record, ok), "");
    EXPECT_TRUE(ok);
    EXPECT_EQ(record.getNetworkCardName(), "eth0");
    EXPECT_EQ(record.getVersion(), 3);  // optional
    EXPECT_EQ(record.getUserName(), "");
    parseLogged<Client8021xXml>("<Client8021x NetworkCardName=\"\" Version=\"2\" />", record, ok);
    EXPECT_EQ(record.getNetworkCardName(), "");  // present, though empty
    EXPECT_EQ(record.getVersion(), 2);
}

TEST(NetworkRecords, SNMPOwnLinesAndItemName) {
    SNMPSecurityAbility ability;
    EXPECT_EQ(ability.getSupportSecurityLevel(), -1);
    bool ok = true;
    EXPECT_EQ(parseLogged<SNMPSecurityAbilityXml>("<SNMPSecurityAbility />", ability, ok),
              "SNMPSecurityAbilityXml::parseDomainXmlNode get nSupportSecurityLevel failed \n");
    EXPECT_FALSE(ok);
    EXPECT_EQ(ability.getSupportSecurityLevel(), -1);
    EXPECT_EQ(parseLogged<SNMPSecurityAbilityXml>("<SNMPSecurityAbility SupportSecurityLevel=\"2\" />",
                                                  ability, ok),
              "SNMPSecurityAbilityXml::parseDomainXmlNode get nSupportSecurityLevelName failed \n");
    EXPECT_FALSE(ok);
    EXPECT_EQ(ability.getSupportSecurityLevel(), 2);

    EXPECT_EQ((builtItemNames<SNMPParamXml, SNMPParam>(1, "SNMPParamList")),
              std::vector<std::string>{"SNMParam"});
}

TEST(NetworkRecords, ShortLinesOfLoggedPorts) {
    StartMapPort ports;
    ports.setHttpStartMapPort(8080);
    ports.setMediaStartMapPort(9000);
    bool ok = false;
    EXPECT_EQ(parseLogged<StartMapPortXml>("<StartMapPort MediaStartMapPort=\"7\" />", ports, ok),
              "getProperty get HttpStartMapPort failed \n");
    EXPECT_TRUE(ok);
    EXPECT_EQ(ports.getHttpStartMapPort(), 0);
    EXPECT_EQ(ports.getMediaStartMapPort(), 7);

    TranspondServiceParam transpond;
    EXPECT_EQ(parseLogged<TranspondServiceParamXml>("<TranspondServiceParam />", transpond, ok),
              "getProperty get ChannelId failed \ngetProperty get Status failed \n");
    EXPECT_TRUE(ok);
}

TEST(PlatformRecords, P2PParamOwnLineStopsTheParse) {
    P2PParam record;
    record.setUUID("old");
    bool ok = true;
    EXPECT_EQ(parseLogged<P2PParamXml>("<P2PParam IsSupportP2P=\"true\" UUID=\"new\" />", record, ok),
              "P2PParamXml::parseDomainXmlNode get bIsOpenP2P failed \n");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(record.getIsSupportP2P());
    EXPECT_EQ(record.getUUID(), "old");
    EXPECT_EQ(parseLogged<P2PParamXml>("<P2PParam IsSupportP2P=\"false\" IsOpenP2P=\"true\" />", record, ok),
              "P2PParamXml::parseDomainXmlNode get UUID failed \n");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(record.getIsOpenP2P());
}

TEST(PlatformRecords, CMSRegisterInfoParamListTagsNameTheFirstForm) {
    CMSRegisterServerParamV2 server;
    server.setRegisterSrvName("main");
    server.setRegisterSrvIP("10.1.1.1");
    server.setRegisterSrvPort(5060);
    CMSExternConfigParamV2 extern1;
    extern1.setExternConfigName("k");
    extern1.setExternConfigValue("v");
    CMSRegisterInfoParam record;
    record.setDeviceProtocolState("on");
    record.setCMSRegisterServerParam({server});
    record.setCMSExternConfigParam({extern1});
    const std::string text = buildXml<CMSRegisterInfoParamXml>(record, "CMSRegisterInfoParam");
    EXPECT_EQ(text,
              "<CMSRegisterInfoParam DeviceProtocolState=\"on\" ProtocolName=\"\" ProtocolVersion=\"\">\n"
              "\t<CMSRegisterServerParam>\n"
              "\t\t<CMSRegisterServerParamV2 RegisterSrvName=\"main\" RegisterSrvIP=\"10.1.1.1\" "
              "RegisterSrvPort=\"5060\" />\n"
              "\t</CMSRegisterServerParam>\n"
              "\t<CMSDeviceRegisterInfoParam />\n"
              "\t<CMSCameraRegisterInfoParam />\n"
              "\t<CMSExternConfigParam>\n"
              "\t\t<CMSExternConfigParamV2 ExternConfigName=\"k\" ExternConfigValue=\"v\" />\n"
              "\t</CMSExternConfigParam>\n"
              "</CMSRegisterInfoParam>\n");

    CMSRegisterInfoParam back;
    NodePtr node = parseXml(text);
    CMSRegisterInfoParamXml codec;
    ASSERT_TRUE(codec.parseDomainXmlNode(node, back));
    ASSERT_EQ(back.getCMSRegisterServerParam().size(), 1u);
    EXPECT_EQ(back.getCMSRegisterServerParam()[0].getRegisterSrvPort(), 5060);
    ASSERT_EQ(back.getCMSExternConfigParam().size(), 1u);
    EXPECT_EQ(back.getCMSExternConfigParam()[0].getExternConfigValue(), "v");
}

}  // namespace
