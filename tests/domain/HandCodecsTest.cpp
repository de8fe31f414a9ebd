// The hand-written records and codecs, and the shared readers of the ability
// shapes, on the texts that their special rules are about.
#include <gtest/gtest.h>

#include <string>

#include "CodecCase.h"
#include "domain/codecs/DetectionAreaV2Xml.h"
#include "domain/codecs/DiskAbilityXml.h"
#include "domain/codecs/EtPTZOperationXml.h"
#include "domain/codecs/FisheyeVideoLayoutSupportXml.h"
#include "domain/codecs/IntelligenceLibInfoXml.h"
#include "domain/codecs/OLAttributeListXml.h"
#include "domain/codecs/PTZOperationInfoXml.h"
#include "domain/codecs/PolygonAreaXml.h"
#include "domain/codecs/TemperatureAreaAndAlarmParamXml.h"
#include "domain/codecs/ThermalOperateResultCodeXml.h"
#include "domain/codecs/IntelligenceAbilityShapes.h"

using namespace codec_case;

namespace {

template <class Shape, AbilityShapeKind Kind, AbilityShapeKind Fill>
Outcome runShape(const std::string& text) {
    Node node = parse(text);
    std::string name;
    node->getName(name);
    Shape shape;
    fillAbilityShape(shape, Fill, 7);  // unit "u7" where the shape has one
    Node out(new DomainXmlNode(name));
    Capture capture(0);
    parseAbilityShape(node, "T", Kind, shape);
    buildAbilityShape(out, "T", shape);
    return capture.outcome(true, true, out);
}
using K = AbilityShapeKind;
const auto region = runShape<AbilityRegion, K::Region, K::Region>;
const auto flag = runShape<AbilityFlag, K::Flag, K::UnitFlag>;
const auto unitFlag = runShape<AbilityFlag, K::UnitFlag, K::UnitFlag>;
const auto range = runShape<AbilityRange, K::Range, K::Range>;
const auto plainRange = runShape<AbilityRange, K::PlainRange, K::Range>;
const auto floatRange = runShape<AbilityFloatRange, K::FloatRange, K::FloatRange>;

const char kNoNode[] =
    "IntelligenceAnalyseAbilityXml Failed! get T Node In X Node failed! can not find this node! \n";

TEST(HandCodecsTest, AbilityShapes) {
    check({
        {"region",
         region("<X><T enable=\"TRUE\" edgeNum=\"8\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" edgeNum=\"8\" maxRegionNum=\"0\" />\n</X>\n"}},
        {"region parts missing",
         region("<H><T maxRegionNum=\"3\" /></H>"),
         {true,
          "IntelligenceAnalyseAbilityXml::getRegionParam get Enable of Region Node In H Node Failed! Default "
          "false! \nIntelligenceAnalyseAbilityXml::getRegionParam get EdgeNum of Region Node In H Node "
          "Failed! Default 0! \n",
          "<H>\n\t<T enable=\"false\" edgeNum=\"0\" maxRegionNum=\"3\" />\n</H>\n"}},
        {"region absent",
         region("<X />"),
         {true, "IntelligenceAnalyseAbilityXml::getRegionParam get Region Node In X Node Failed! \n",
          "<X>\n\t<T enable=\"false\" edgeNum=\"0\" maxRegionNum=\"0\" />\n</X>\n"}},
        {"a flag leaves its unit, an enable text of neither word is false",
         flag("<X><T enable=\"maybe\" unit=\"m\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"false\" unit=\"u7\" />\n</X>\n"}},
        {"a unit flag reads it",
         unitFlag("<X><T enable=\"true\" unit=\"m\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" unit=\"m\" />\n</X>\n"}},
        {"an absent flag clears its unit too",
         flag("<X />"),
         {true, kNoNode, "<X>\n\t<T enable=\"false\" />\n</X>\n"}},
        {"a unit of eleven characters is refused",
         range("<X><T enable=\"true\" min=\"-1\" max=\"30\" unit=\"abcdefghijk\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" min=\"-1\" max=\"30\" unit=\"u7\" />\n</X>\n"}},
        {"ten fit",
         range("<X><T enable=\"true\" min=\"1\" max=\"2\" unit=\"abcdefghij\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" min=\"1\" max=\"2\" unit=\"abcdefghij\" />\n</X>\n"}},
        {"none clears",
         range("<X><T enable=\"true\" min=\"1\" max=\"2\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" min=\"1\" max=\"2\" />\n</X>\n"}},
        {"a plain range leaves its unit; its lines",
         plainRange("<H><T unit=\"abc\" /></H>"),
         {true,
          "IntelligenceAnalyseAbilityXml Failed! get Enable of T Node In H Node failed! Default false! \n"
          "IntelligenceAnalyseAbilityXml Failed! get Min of T Node In H Node failed! Default 0! \n"
          "IntelligenceAnalyseAbilityXml Failed! get Max of T Node In H Node failed! Default 0! \n",
          "<H>\n\t<T enable=\"false\" min=\"0\" max=\"0\" unit=\"u7\" />\n</H>\n"}},
        {"float range",
         floatRange("<X><T enable=\"true\" min=\"1.5\" max=\"90\" /></X>"),
         {true, "", "<X>\n\t<T enable=\"true\" min=\"1.500000\" max=\"90.000000\" />\n</X>\n"}},
    });
}

TEST(HandCodecsTest, RecordsAndCodecs) {
    const std::string libDefaults =
        "LibCommon get LibId Failed! Set Default Value -1 \nLibCommon get Enable Failed! Set Default Value "
        "false \nLibCommon get VideoWidth Failed! Set Default Value 320 \nLibCommon get VideoHeight Failed! "
        "Set Default Value 240 \nLibCommon get TotalAnalyseRegionNum Failed! Set Default Value 0 \nLibCommon "
        "get MaxEnableFunsNum Failed! Set Default Value 0 \n";
    const std::string ptzTrace = "EtPTZOperationXml.cpp# ###########   EtPTZOperationXml    ########### \n";
    check({
        {"DetectionAreaV2: the block as base64",
         run<DetectionAreaV2>(
             "<D WidthCellNumber=\"22\" HighCellNumber=\"18\" DataLength=\"5\" Data=\"AQIDBAU=\" />"),
         {true, "",
          "<D WidthCellNumber=\"22\" HighCellNumber=\"18\" DataLength=\"5\" Data=\"AQIDBAU=\" />\n"}},
        {"DetectionAreaV2: no Data, no block",
         run<DetectionAreaV2>("<D WidthCellNumber=\"1\" DataLength=\"4\" />"),
         {true, "", "<D WidthCellNumber=\"1\" HighCellNumber=\"0\" DataLength=\"0\" />\n"}},
        {"DetectionAreaV2: a Data that decodes to no byte stores no block",
         run<DetectionAreaV2>("<D WidthCellNumber=\"3\" DataLength=\"4\" Data=\"QQ\" />"),
         {true, "", "<D WidthCellNumber=\"3\" HighCellNumber=\"0\" DataLength=\"0\" />\n"}},
        {"DetectionAreaV2: bad base64 fails",
         run<DetectionAreaV2>("<D DataLength=\"3\" Data=\"A*==\" />"),
         {false, "", "<D ..."}},
        {"OLAttributeList: pairs in map order, the first of a name, incomplete ones skipped",
         run<OLAttributeList>(
             "<P AttributeSequenceName=\"n\"><AttributeSequence><Attribute AttributeName=\"b\" "
             "AttributeValue=\"2\" /><Pair AttributeName=\"a\" AttributeValue=\"1&amp;\" /><Attribute "
             "AttributeName=\"c\" /><Attribute AttributeValue=\"4\" /><Attribute AttributeName=\"b\" "
             "AttributeValue=\"5\" /></AttributeSequence></P>"),
         {true, "",
          "<P AttributeSequenceName=\"n\">\n\t<AttributeSequence>\n"
          "\t\t<Attribute AttributeName=\"a\" AttributeValue=\"1&amp;\" />\n"
          "\t\t<Attribute AttributeName=\"b\" AttributeValue=\"2\" />\n\t</AttributeSequence>\n</P>\n"}},
        {"EtPTZOperation: absent ids stay 1; traces in both directions",
         run<EtPTZOperation>("<O PTZOperation=\"left\" />"),
         {true,
          ptzTrace +
              "getProperty get CameraId failed \ngetProperty get nCameraID =1  \n"
              "getProperty get PTZId failed \ngetProperty get nPTZId =1  \ngetProperty get Name failed \n" +
              ptzTrace + "setProperty get nCameraID =1  \nsetProperty get nPTZId =1  \n",
          "<O CameraId=\"1\" PTZId=\"1\" PTZOperation=\"left\" Name=\"\" />\n"}},
        {"IntelligenceLibInfo: each failed library value logs and takes its default",
         run<IntelligenceLibInfo>(
             "<I Version=\"3\" StreamID=\"2\"><LIB ID=\"4\" enable=\"true\"><Resolution videoWidth=\"704\" "
             "videoHeight=\"576\" /><Common totalAnalyseRegionNum=\"8\" MaxEnableFunsNum=\"2\" /></LIB><LIB "
             "/></I>"),
         {true, "IntelligenceLibInfoXml.cpp# nStreamID = 2 \n" + libDefaults,
          "<I Version=\"3\" StreamID=\"2\">\n\t<LIB ID=\"4\" enable=\"true\">\n"
          "\t\t<Resolution videoWidth=\"704\" videoHeight=\"576\" />\n"
          "\t\t<Common totalAnalyseRegionNum=\"8\" MaxEnableFunsNum=\"2\" />\n\t</LIB>\n"
          "\t<LIB ID=\"-1\" enable=\"false\">\n\t\t<Resolution videoWidth=\"320\" videoHeight=\"240\" />\n"
          "\t\t<Common totalAnalyseRegionNum=\"0\" MaxEnableFunsNum=\"0\" />\n\t</LIB>\n</I>\n"}},
        {"IntelligenceLibInfo: absent StreamID is 1, no LIB",
         run<IntelligenceLibInfo>("<I Version=\"3\" />"),
         {true,
          "IntelligenceLibInfoXml::parseDomainXmlNode get StreamID failed \n"
          "IntelligenceLibInfoXml.cpp# nStreamID = 1 \n"
          "IntelligenceAnalyseAbilityXml::parseLibCommonNode get LibCommonAbilityList Failed! Node List "
          "isn't exist! \n",
          "<I Version=\"3\" StreamID=\"1\" />\n"}},
        {"IntelligenceLibInfo: Version is mandatory",
         run<IntelligenceLibInfo>("<I StreamID=\"2\" />"),
         {false, "IntelligenceLibInfoXml::parseDomainXmlNode get Version failed \n", "<I ..."}},
        {"PolygonArea: every child element is a corner",
         run<PolygonArea>("<R><OLPoint Xval=\"1.5\" Yval=\"2\" /><Corner Xval=\"3\" Yval=\"4.25\" /></R>"),
         {true, "",
          "<R>\n\t<OLPoint Xval=\"1.500000\" Yval=\"2.000000\" />\n\t<OLPoint Xval=\"3.000000\" "
          "Yval=\"4.250000\" />\n</R>\n"}},
        {"PolygonArea: none fails", run<PolygonArea>("<R />"), {false, "", "<R />\n"}},
        {"TemperatureAreaAndAlarmParam: optional items keep their defaults, corners as one text",
         run<TemperatureAreaAndAlarmParam>(
             "<A AreaId=\"4\" AlarmValue=\"61.5\" AreaName=\"" + std::string(33, 'n') +
             "\"><TemperatureMeasureArea PointCoordinateList=\"(5,6);;junk;(-7, 8)\" /></A>"),
         {true, "",
          "<A AreaId=\"4\" AreaName=\"\" AlarmEnableFlag=\"false\" AlarmType=\"1\" "
          "WarningAlarmValue=\"48.000000\" AlarmValue=\"61.500000\" Emissivity=\"0.950000\" "
          "TargetSpace=\"5.000000\">\n\t<TemperatureMeasureArea AreaEnableFlag=\"false\" AreaShapeType=\"0\" "
          "PointCoordinateList=\"(5, 6);(-7, 8)\" />\n</A>\n"}},
        {"ThermalOperateResultCode: number lists read by their formats",
         run<ThermalOperateResultCode>("<T OperateReturnCode=\"-3\"><OperateItemId "
                                       "OperateItemIdList=\"(OperateId:5);x;(OperateId:7)\" />"
                                       "<ParamErrorCode ParamErrorCodeList=\"(ErrorCode:12)\" /></T>"),
         {true, "",
          "<T OperateReturnCode=\"-3\">\n\t<OperateItemId OperateItemIdList=\"(OperateId:5);(OperateId:7)\" "
          "/>\n\t<ParamErrorCode ParamErrorCodeList=\"(ErrorCode:12)\" />\n</T>\n"}},
        {"FisheyeVideoLayoutSupport: the logged shape and two traces at level 3",
         run<FisheyeVideoLayoutSupport>("<S width=\"1920\" />", 3),
         {true,
          "getProperty get SensorSize failed \ngetProperty get m_nheight failed \n"
          "FisheyeVideoLayoutSupportXml.cpp# nSensorSize = 0 ,nwidth = 1920  nheight = 0  \ngetConfigNode "
          "NODE_FISHEYE_VIDEO_LAYOUT_LIST failed\nparseDomainXmlNode objFisheyeVideoLayoutList failed\n"
          "FisheyeVideoLayoutSupportXml.cpp# p_objFisheyeVideoLayoutSupportList.size() = 0  \n",
          "<S SensorSize=\"0\" width=\"1920\" height=\"0\">\n\t<FisheyeVideoLayoutList />\n</S>\n"}},
        {"FisheyeVideoLayoutSupport: at the default level only the two traces",
         run<FisheyeVideoLayoutSupport>("<S SensorSize=\"1\" width=\"2\" height=\"3\" />"),
         {true,
          "FisheyeVideoLayoutSupportXml.cpp# nSensorSize = 1 ,nwidth = 2  nheight = 3  \n"
          "FisheyeVideoLayoutSupportXml.cpp# p_objFisheyeVideoLayoutSupportList.size() = 0  \n",
          "<S SensorSize=\"1\" width=\"2\" height=\"3\">\n\t<FisheyeVideoLayoutList />\n</S>\n"}},
        {"PTZOperationInfo: three 8-bit states taken by their tag, the fourth ignored",
         run<PTZOperationInfo>(
             "<P CommonID=\"4\"><AlarmIOStateList><AlarmIOState AlarmIOState=\"2\" /><Other "
             "AlarmIOState=\"7\" /><AlarmIOState AlarmIOState=\"258\" /><AlarmIOState /><AlarmIOState "
             "AlarmIOState=\"9\" /></AlarmIOStateList></P>"),
         {true, "",
          "...\t<AlarmIOStateList>\n\t\t<AlarmIOState AlarmIOState=\"2\" />\n\t\t<AlarmIOState "
          "AlarmIOState=\"2\" />\n\t\t<AlarmIOState AlarmIOState=\"0\" />\n\t</AlarmIOStateList>\n</P>\n"}},
        {"DiskAbility: its RecordAbility never travels",
         run<DiskAbility>(
             "<D><FileSystemList><X FileSystemType=\"1\" FileSystemName=\"ext4\" /></FileSystemList></D>"),
         {true, "",
          "<D>\n\t<FileSystemList>\n\t\t<FileSystem FileSystemType=\"1\" FileSystemName=\"ext4\" />\n"
          "\t</FileSystemList>\n\t<DiskAttributeExList />\n\t<DiskSummaryInfoList />\n\t<RaidAbility "
          "SupportRaid=\"false\" SupportGlobalDisk=\"false\" MaxRaidNumber=\"0\" SupportDiskSleep=\"false\" "
          "AutoRebuild=\"false\">\n\t\t<RaidLevelList />\n\t</RaidAbility>\n</D>\n"}},
    });
}

}  // namespace
