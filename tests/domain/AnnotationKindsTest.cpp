// Every kind of schema item and annotation, each on the generated record whose
// wire form is the oddest: the codec the generator made parses a text (with
// the lines it prints) and builds the record again.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CodecCase.h"
#include "domain/codecs/AlarmInStatisticXml.h"
#include "domain/codecs/CLBRParamXml.h"
#include "domain/codecs/CameraTamperParamXml.h"
#include "domain/codecs/EtOperatorTypeXml.h"
#include "domain/codecs/HCNTItemXml.h"
#include "domain/codecs/HeterlogousOutputParamXml.h"
#include "domain/codecs/IOAlarmOutActionParamXml.h"
#include "domain/codecs/InetAddrXml.h"
#include "domain/codecs/IntelligentEventXml.h"
#include "domain/codecs/LoiterParamXml.h"
#include "domain/codecs/MultiTripWireRegionParamXml.h"
#include "domain/codecs/NetworkPrivilegeInfoXml.h"
#include "domain/codecs/PIRAlarmEventXml.h"
#include "domain/codecs/RaidInfoXml.h"
#include "domain/codecs/SNMPSecurityAbilityXml.h"
#include "domain/codecs/SearchDeviceInfoExXml.h"
#include "domain/codecs/SignalBadAbilityXml.h"
#include "domain/codecs/UpdateSoftwareDeviceInfoXml.h"
#include "domain/codecs/UserParamEventXml.h"

using namespace codec_case;

namespace {

const std::string kEvent =
    "<IntelligentEvent SourceID=\"11\" AlarmInterval=\"30\"><ScheduleTimeParam><ScheduleTimeList />"
    "</ScheduleTimeParam><AlarmLinkageParamList /><PTZActionParamList /><AlarmOutActionList />"
    "<RecordActionParamList /></IntelligentEvent>";

TEST(AnnotationKindsTest, EachKindOnItsOddestRecord) {
    const std::string n33(33, 'n');
    check({
        {"(16-bit) keeps the low bits",
         run<InetAddr>("<A PORT=\"70000\" IPProtoVer=\"2\" />"),
         {true, "", "<A IP=\"\" PORT=\"4464\" IPProtoVer=\"2\" />\n"}},
        {"(8-bit) keeps the low bits",
         run<AlarmInStatistic>("<S AlarmInStatus=\"300\" />"),
         {true, "", "<S AlarmInId=\"0\" AlarmInStatus=\"44\" LastAlarmTime=\"0\" />\n"}},
        {"(64-bit) and (at most N characters), mandatory: an overlong text is refused, the parse goes on",
         run<HCNTItem>("<I Time=\"-2\" NumIn=\"1\" NumOut=\"2\" DeviceId=\"" + n33 +
                       "\" DeviceIp=\"ip\" CameraId=\"3\" />"),
         {true, "",
          "<I Time=\"-2\" NumIn=\"1\" NumOut=\"2\" DeviceId=\"\" DeviceIp=\"ip\" CameraId=\"3\" />\n"}},
        {"@line of a mandatory attribute ends the parse at once",
         run<HCNTItem>("<I NumIn=\"1\" />"),
         {false, "HCNTItemXml::parseDomainXmlNode get nTime failed \n",
          "<I Time=\"0\" NumIn=\"0\" NumOut=\"0\" DeviceId=\"\" DeviceIp=\"\" CameraId=\"0\" />\n"}},
        {"mandatory: the constructor's value stays",
         run<SNMPSecurityAbility>("<S />"),
         {false, "SNMPSecurityAbilityXml::parseDomainXmlNode get nSupportSecurityLevel failed \n",
          "<S SupportSecurityLevel=\"-1\" SupportSecurityLevelName=\"\" />\n"}},
        {"(at most N characters), reset",
         run<SearchDeviceInfoEx>("<S DeviceName=\"" + n33 + "\" CameraNum=\"4\" />"),
         {true, "",
          "<S MACAddress=\"\" DeviceId=\"\" DeviceName=\"\" DeviceIP=\"\" DevicePort=\"0\" CameraNum=\"4\" "
          "..."}},
        {"(read as float) and a nested (as int)",
         run<MultiTripWireRegionParam>(
             "<R TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"false\" "
             "MinTargetSize=\"1\" MaxTargetSize=\"2\" TimeInterval=\"3\" TriggerDirection1=\"1.9\" "
             "TriggerDirection2=\"-2.5\"><LineCross1 LineCrossStartY=\"8.6\" /></R>"),
         {true, "",
          "<R TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"false\" "
          "MinTargetSize=\"1\" MaxTargetSize=\"2\" TimeInterval=\"3\" TriggerDirection1=\"1\" "
          "TriggerDirection2=\"-2\">\n\t<LineCross1 LineCrossStartX=\"0\" LineCrossStartY=\"8\" "
          "LineCrossEndX=\"0\" LineCrossEndY=\"0\" />\n..."}},
        {"= v of a reset attribute gives way to 0; the base's attributes come first",
         run<IOAlarmOutActionParam>("<I ActionID=\"9\" AlarmOutMode=\"4\" />"),
         {true, "",
          "<I ActionType=\"0\" ActionID=\"9\" ActionName=\"\" AlarmOutSignal=\"0\" AlarmOutMode=\"4\" "
          "AlarmOutFrequency=\"0.000000\" AlarmTime=\"0\" />\n"}},
        {"@absent with an own @line that prints the value read",
         run<EtOperatorType>("<O OperatorType=\"3\" />"),
         {true, "getProperty get nCameraID =0 failed \ngetProperty get nPTZID = 0  failed \n",
          "<O OperatorType=\"3\" CameraID=\"1\" PTZID=\"1\" />\n"}},
        {"@short, @item, and list items read whatever their names",
         run<std::vector<UserParamEvent>>("<L><X UserName=\"u\" /></L>"),
         {true, "getProperty get EventId failed \n",
          "<L>\n\t<CloseVideo UserName=\"u\" EventId=\"0\" />\n</L>\n"}},
        {"@trace with @short and @node: silent at the default level",
         run<UpdateSoftwareDeviceInfo>("<U UpdateSoftwareDeviceType=\"2\" />"),
         {true, "",
          "<U UpdateSoftwareDeviceName=\"\" UpdateSoftwareDeviceType=\"2\" UpdateSoftwareDeviceDiskID=\"0\" "
          "UpdateSoftwareTotalSpace=\"0\" UpdateSoftwareUsedSpace=\"0\">\n\t<PartionalDeviceList "
          "/>\n</U>\n"}},
        {"@trace at level 3",
         run<UpdateSoftwareDeviceInfo>("<U UpdateSoftwareDeviceType=\"2\" />", 3),
         {true,
          "getProperty get UpdateSoftwareDeviceName failed \ngetProperty get UpdateSoftwareDeviceDiskID "
          "failed \ngetProperty get UpdateSoftwareTotalSpace failed \ngetProperty get "
          "UpdateSoftwareUsedSpace failed \ngetConfigNode NODE_PARTIONAL_DEVICE_LIST failed\n"
          "parseDomainXmlNode objPartionalDeviceList failed\n",
          "<U UpdateSoftwareDeviceName=\"\" UpdateSoftwareDeviceType=\"2\" ..."}},
        {"@trace children=1: at level 1 only the child lines, with their @node names",
         run<PIRAlarmEvent>("<P><RecordActionParamList /></P>", 1),
         {true,
          "getConfigNode NODE_PIR_ALARM_SOURCE_PARAM failed\nparseDomainXmlNode objPIRAlarmSourceParam "
          "failed\ngetConfigNode NODE_ALARM_OUT_ACTION_LIST failed\nparseDomainXmlNode objAlarmOutActionList "
          "failed\ngetConfigNode NODE_ALARM_PTZ_ACTION_LIST failed\nparseDomainXmlNode objPTZActionParamList "
          "failed\ngetConfigNode NODE_ALARM_OVERLAY_ACTION_LIST failed\nparseDomainXmlNode "
          "objAlarmLinkageParamList failed\n",
          "<P>\n\t<PIRAlarmSourceParam SourceType=\"0\" ..."}},
        {"@strict: a failing item of a found list ends the parse",
         run<NetworkPrivilegeInfo>(
             "<N EnableFlag=\"true\" WorkMode=\"2\"><IPBlackList><X BeginIpAddr=\"a\" EndIpAddr=\"b\" "
             "IpDescribeInfo=\"c\" /></IPBlackList><IPWhiteList><X BeginIpAddr=\"d\" /></IPWhiteList></N>"),
         {false, "IpRangeInfoXml::parseDomainXmlNode get EndIpAddr failed \n",
          "<N EnableFlag=\"true\" WorkMode=\"2\">\n\t<IPBlackList>\n\t\t<IpRangeInfo BeginIpAddr=\"a\" "
          "EndIpAddr=\"b\" IpDescribeInfo=\"c\" />\n\t</IPBlackList>\n\t<IPWhiteList />\n</N>\n"}},
        {"@strict Tag: only the named children; a failing scalar item (int!) leaves its list",
         run<HeterlogousOutputParam>(
             "<H MinorMonitorFlag=\"true\"><MajorResolution VideoWidth=\"9\" "
             "/><MajorMonitorList><MajorMonitor /></MajorMonitorList><MinorResolution "
             "/><MinorMonitorList><MinorMonitor MinorMonitor=\"7\" /></MinorMonitorList></H>"),
         {true, "HeterlogousOutputParamXml::parseDomainXmlNode get MajorMonitor failed \n",
          "<H MinorMonitorFlag=\"true\">\n\t<MajorResolution VideoHeight=\"0\" VideoWidth=\"9\" "
          "ResolutionName=\"\" />\n\t<MajorMonitorList />\n\t<MinorResolution VideoHeight=\"0\" "
          "VideoWidth=\"0\" ResolutionName=\"\" />\n\t<MinorMonitorList>\n\t\t<MinorMonitor "
          "MinorMonitor=\"7\" />\n\t</MinorMonitorList>\n</H>\n"}},
        {"@parse: the base child is read before MinTime",
         run<CameraTamperParam>("<C MinTime=\"5\" />"),
         {false, "", "<C MinTime=\"0\">\n\t<IntelligentEvent ..."}},
        {"base child: the base part in a mandatory element of its own",
         run<LoiterParam>("<L IsGetDetail=\"true\">" + kEvent + "<LoiterRegionParamList /></L>"),
         {true, "",
          "<L IsGetDetail=\"true\">\n\t<IntelligentEvent SourceType=\"0\" SourceID=\"11\" SourceName=\"\" "
          "EnableFlag=\"false\" AlarmInterval=\"30\">\n..."}},
        {"@abstract: the top-level operations refuse",
         run<IntelligentEvent, true>(kEvent),
         {false, "", "refused"}},
        {"logged attributes, optional scalar lists taken by their item tag",
         run<RaidInfo>("<R RaidName=\"r0\"><DiskIDList><DiskID DiskID=\"1\" /><Other DiskID=\"5\" /><DiskID "
                       "DiskID=\"2\" /></DiskIDList></R>"),
         {true,
          "RaidInfoXml::parseDomainXmlNode get Level failed \nRaidInfoXml::parseDomainXmlNode get ChunkSize "
          "failed \n",
          "<R RaidID=\"0\" RaidName=\"r0\" Level=\"0\" ChunkSize=\"0\" EnableFlag=\"false\">\n"
          "\t<SpareDiskIDList />\n\t<DiskIDList>\n\t\t<DiskID DiskID=\"1\" />\n\t\t<DiskID DiskID=\"2\" />\n"
          "\t</DiskIDList>\n</R>\n"}},
        {"a mandatory inline child; doubles print six decimals",
         run<CLBRParam>(
             "<C Area=\"0.1234567\" Ratio=\"2\" Width=\"3\" Height=\"4\"><Pos Xval=\"1.5\" /></C>"),
         {true, "",
          "<C Area=\"0.123457\" Ratio=\"2.000000\" Width=\"3.000000\" Height=\"4.000000\">\n"
          "\t<Pos Xval=\"1.500000\" Yval=\"0.000000\" />\n</C>\n"}},
        {"a shape child and an own @line",
         run<SignalBadAbility>("<SignalBadAbility LibId=\"3\" />"),
         {false, "SignalBadAbilityXml::parseDomainXmlNode get Enable failed \n",
          "<SignalBadAbility LibId=\"3\" enable=\"false\">\n\t<DetailGet enable=\"false\" "
          "/>\n</SignalBadAbility>\n"}},
    });
}

}  // namespace
