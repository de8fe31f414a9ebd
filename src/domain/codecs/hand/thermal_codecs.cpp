// Hand-written records and codecs of the thermal and fisheye area:
// TemperatureAreaAndAlarmParam and ThermalOperateResultCode, whose lists travel
// as texts of formatted pieces, and FisheyeVideoLayoutSupport with its traces.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Product/Technic/OLTrace.h"
#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/FisheyeVideoLayoutXml.h"
#include "domain/codecs/OLPointCoordinateXml.h"
#include "domain/codecs/fields/FisheyeVideoLayoutSupport.h"
#include "domain/codecs/hand/FisheyeVideoLayoutSupportXml.h"
#include "domain/codecs/hand/TemperatureAreaAndAlarmParamXml.h"
#include "domain/codecs/hand/ThermalOperateResultCodeXml.h"

using namespace domain_codec;

namespace {

const char kSourceFile[] = "thermal_codecs.cpp";

const char kPointFormat[] = "(%d, %d)";
const char kOperateIdFormat[] = "(OperateId:%d)";
const char kErrorCodeFormat[] = "(ErrorCode:%d)";

// Text lists: pieces joined by ";", none behind the last one.
std::string joinPieces(const std::vector<std::string>& pieces) {
    std::string text;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (i != 0) text += ';';
        text += pieces[i];
    }
    return text;
}

// Splits at each ";"; an empty text gives no piece at all.
std::vector<std::string> splitPieces(const std::string& text) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    size_t begin = 0;
    for (;;) {
        size_t end = text.find(';', begin);
        if (end == std::string::npos) {
            pieces.push_back(text.substr(begin));
            return pieces;
        }
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
}

std::string formatNumbers(const char* format, const std::vector<int>& values) {
    std::vector<std::string> pieces;
    char buffer[64];
    for (int value : values) {
        std::snprintf(buffer, sizeof(buffer), format, value);
        pieces.push_back(buffer);
    }
    return joinPieces(pieces);
}

// A piece that does not match the format is skipped: a peer sends only the form
// above.
std::vector<int> scanNumbers(const char* format, const std::string& text) {
    std::vector<int> values;
    for (const std::string& piece : splitPieces(text)) {
        int value = 0;
        if (std::sscanf(piece.c_str(), format, &value) == 1) values.push_back(value);
    }
    return values;
}

std::string formatPoints(const std::vector<OLPointCoordinate>& points) {
    std::vector<std::string> pieces;
    char buffer[64];
    for (const OLPointCoordinate& point : points) {
        std::snprintf(buffer, sizeof(buffer), kPointFormat, point.getPointX(), point.getPointY());
        pieces.push_back(buffer);
    }
    return joinPieces(pieces);
}

std::vector<OLPointCoordinate> scanPoints(const std::string& text) {
    std::vector<OLPointCoordinate> points;
    for (const std::string& piece : splitPieces(text)) {
        int x = 0;
        int y = 0;
        if (std::sscanf(piece.c_str(), kPointFormat, &x, &y) != 2) continue;
        OLPointCoordinate point;
        point.setPointX(x);
        point.setPointY(y);
        points.push_back(point);
    }
    return points;
}

// Optional reads: the field changes only when the attribute is there.
template <class V>
bool readOptional(const NodePtr& node, const char* tag, V& value) {
    V local = V();
    if (!node->getProperty(tag, &local)) return false;
    value = local;
    return true;
}

const CodecInfo kFisheyeVideoLayoutSupportXmlInfo = {"FisheyeVideoLayoutSupportXml", kSourceFile,
                                                     CodecInfo::kShortLines | CodecInfo::kTrace, 3};

}  // namespace

// ---- TemperatureAreaAndAlarmParam

TemperatureAreaAndAlarmParam::TemperatureAreaAndAlarmParam()
    : m_nAreaId(0),
      m_bAlarmEnableFlag(false),
      m_nAlarmType(1),
      m_fWarningAlarmValue(48.0f),
      m_fAlarmValue(50.0f),
      m_fEmissivity(0.95f),
      m_fTargetSpace(5.0f),
      m_bAreaEnableFlag(false),
      m_nAreaShapeType(0) {
    std::memset(m_szAreaName, 0, sizeof(m_szAreaName));
    m_nDomainId = kDomainId;
}

TemperatureAreaAndAlarmParam::TemperatureAreaAndAlarmParam(const TemperatureAreaAndAlarmParam& other)
    : BaseDomain(other),
      m_nAreaId(other.m_nAreaId),
      m_bAlarmEnableFlag(other.m_bAlarmEnableFlag),
      m_nAlarmType(other.m_nAlarmType),
      m_fWarningAlarmValue(other.m_fWarningAlarmValue),
      m_fAlarmValue(other.m_fAlarmValue),
      m_fEmissivity(other.m_fEmissivity),
      m_fTargetSpace(other.m_fTargetSpace),
      m_bAreaEnableFlag(other.m_bAreaEnableFlag),
      m_nAreaShapeType(other.m_nAreaShapeType),
      m_vecPointCoordinateList(other.m_vecPointCoordinateList) {
    std::memcpy(m_szAreaName, other.m_szAreaName, sizeof(m_szAreaName));
    m_nDomainId = kDomainId;
}

TemperatureAreaAndAlarmParam& TemperatureAreaAndAlarmParam::operator=(
    const TemperatureAreaAndAlarmParam& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nAreaId = other.m_nAreaId;
    std::memcpy(m_szAreaName, other.m_szAreaName, sizeof(m_szAreaName));
    m_bAlarmEnableFlag = other.m_bAlarmEnableFlag;
    m_nAlarmType = other.m_nAlarmType;
    m_fWarningAlarmValue = other.m_fWarningAlarmValue;
    m_fAlarmValue = other.m_fAlarmValue;
    m_fEmissivity = other.m_fEmissivity;
    m_fTargetSpace = other.m_fTargetSpace;
    m_bAreaEnableFlag = other.m_bAreaEnableFlag;
    m_nAreaShapeType = other.m_nAreaShapeType;
    m_vecPointCoordinateList = other.m_vecPointCoordinateList;
    return *this;
}

TemperatureAreaAndAlarmParam::~TemperatureAreaAndAlarmParam() = default;

bool TemperatureAreaAndAlarmParam::setAreaName(const char* value) {
    return setFixedText(m_szAreaName, kAreaNameLength, value);
}

// ---- TemperatureAreaAndAlarmParamXml

bool TemperatureAreaAndAlarmParamXml::createDomainXmlNode(const BaseDomain* domain,
                                                          SafePointer<DomainXmlNode>& node) {
    return buildEntry<TemperatureAreaAndAlarmParam>(*this, TemperatureAreaAndAlarmParam::kDomainId, domain,
                                                    node);
}

bool TemperatureAreaAndAlarmParamXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                         BaseDomain* domain) {
    return parseEntry<TemperatureAreaAndAlarmParam>(*this, TemperatureAreaAndAlarmParam::kDomainId, node,
                                                    domain);
}

bool TemperatureAreaAndAlarmParamXml::createDomainXmlNode(const TemperatureAreaAndAlarmParam& record,
                                                          SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    node->setProperty("AreaId", record.getAreaId());
    node->setProperty("AreaName", std::string(record.getAreaName()));
    node->setProperty("AlarmEnableFlag", record.getAlarmEnableFlag());
    node->setProperty("AlarmType", record.getAlarmType());
    node->setProperty("WarningAlarmValue", record.getWarningAlarmValue());
    node->setProperty("AlarmValue", record.getAlarmValue());
    node->setProperty("Emissivity", record.getEmissivity());
    node->setProperty("TargetSpace", record.getTargetSpace());
    NodePtr area(new DomainXmlNode("TemperatureMeasureArea"));
    area->setProperty("AreaEnableFlag", record.getAreaEnableFlag());
    area->setProperty("AreaShapeType", record.getAreaShapeType());
    area->setProperty("PointCoordinateList", formatPoints(record.getPointCoordinateList()));
    node->addConfigNode(area);
    return true;
}

// Every item is optional: what is absent keeps the value it had.
bool TemperatureAreaAndAlarmParamXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                         TemperatureAreaAndAlarmParam& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    int number = 0;
    bool flag = false;
    float value = 0.0f;
    std::string text;
    if (readOptional(node, "AreaId", number)) record.setAreaId(number);
    if (node->getProperty("AreaName", text)) record.setAreaName(text.c_str());  // an overlong name is refused
    if (readOptional(node, "AlarmEnableFlag", flag)) record.setAlarmEnableFlag(flag);
    if (readOptional(node, "AlarmType", number)) record.setAlarmType(number);
    if (readOptional(node, "WarningAlarmValue", value)) record.setWarningAlarmValue(value);
    if (readOptional(node, "AlarmValue", value)) record.setAlarmValue(value);
    if (readOptional(node, "Emissivity", value)) record.setEmissivity(value);
    if (readOptional(node, "TargetSpace", value)) record.setTargetSpace(value);
    NodePtr area;
    if (node->getConfigNode("TemperatureMeasureArea", area)) {
        if (readOptional(area, "AreaEnableFlag", flag)) record.setAreaEnableFlag(flag);
        if (readOptional(area, "AreaShapeType", number)) record.setAreaShapeType(number);
        std::string points;
        if (area->getProperty("PointCoordinateList", points))
            record.setPointCoordinateList(scanPoints(points));
    }
    return true;
}

bool TemperatureAreaAndAlarmParamXml::createDomainXmlNode(
    const std::vector<TemperatureAreaAndAlarmParam>& records, SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool TemperatureAreaAndAlarmParamXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                         std::vector<TemperatureAreaAndAlarmParam>& records) {
    return parseList(*this, node, records);
}

// ---- ThermalOperateResultCode

ThermalOperateResultCode::ThermalOperateResultCode() : m_nOperateReturnCode(0) {
    m_nDomainId = kDomainId;
}

ThermalOperateResultCode::ThermalOperateResultCode(const ThermalOperateResultCode& other)
    : BaseDomain(other),
      m_vecOperateItemIdList(other.m_vecOperateItemIdList),
      m_vecParamErrorCodeList(other.m_vecParamErrorCodeList),
      m_nOperateReturnCode(other.m_nOperateReturnCode) {
    m_nDomainId = kDomainId;
}

ThermalOperateResultCode& ThermalOperateResultCode::operator=(const ThermalOperateResultCode& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_vecOperateItemIdList = other.m_vecOperateItemIdList;
    m_vecParamErrorCodeList = other.m_vecParamErrorCodeList;
    m_nOperateReturnCode = other.m_nOperateReturnCode;
    return *this;
}

ThermalOperateResultCode::~ThermalOperateResultCode() = default;

// ---- ThermalOperateResultCodeXml

bool ThermalOperateResultCodeXml::createDomainXmlNode(const BaseDomain* domain,
                                                      SafePointer<DomainXmlNode>& node) {
    return buildEntry<ThermalOperateResultCode>(*this, ThermalOperateResultCode::kDomainId, domain, node);
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<ThermalOperateResultCode>(*this, ThermalOperateResultCode::kDomainId, node, domain);
}

bool ThermalOperateResultCodeXml::createDomainXmlNode(const ThermalOperateResultCode& record,
                                                      SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    NodePtr operateItemId(new DomainXmlNode("OperateItemId"));
    operateItemId->setProperty("OperateItemIdList",
                               formatNumbers(kOperateIdFormat, record.getOperateItemIdList()));
    node->addConfigNode(operateItemId);
    NodePtr paramErrorCode(new DomainXmlNode("ParamErrorCode"));
    paramErrorCode->setProperty("ParamErrorCodeList",
                                formatNumbers(kErrorCodeFormat, record.getParamErrorCodeList()));
    node->addConfigNode(paramErrorCode);
    node->setProperty("OperateReturnCode", record.getOperateReturnCode());
    return true;
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                     ThermalOperateResultCode& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    NodePtr child;
    std::string text;
    if (node->getConfigNode("OperateItemId", child) && child->getProperty("OperateItemIdList", text)) {
        record.setOperateItemIdList(scanNumbers(kOperateIdFormat, text));
    }
    child.reset();
    if (node->getConfigNode("ParamErrorCode", child) && child->getProperty("ParamErrorCodeList", text)) {
        record.setParamErrorCodeList(scanNumbers(kErrorCodeFormat, text));
    }
    int code = 0;
    if (readOptional(node, "OperateReturnCode", code)) record.setOperateReturnCode(code);
    return true;
}

bool ThermalOperateResultCodeXml::createDomainXmlNode(const std::vector<ThermalOperateResultCode>& records,
                                                      SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                     std::vector<ThermalOperateResultCode>& records) {
    return parseList(*this, node, records);
}

// ---- FisheyeVideoLayoutSupportXml: the logged shape through the trace entry

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const BaseDomain* domain,
                                                       SafePointer<DomainXmlNode>& node) {
    return buildEntry<FisheyeVideoLayoutSupport>(*this, FisheyeVideoLayoutSupport::kDomainId, domain, node);
}

bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<FisheyeVideoLayoutSupport>(*this, FisheyeVideoLayoutSupport::kDomainId, node, domain);
}

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const FisheyeVideoLayoutSupport& record,
                                                       SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    return buildFields(kFisheyeVideoLayoutSupportXmlInfo, record, node);
}

// All items are logged, so the parse never fails; the two traces report what
// was read.
bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                      FisheyeVideoLayoutSupport& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    ParseVisitor visitor(kFisheyeVideoLayoutSupportXmlInfo, node);
    int sensorSize = record.getSensorSize();
    int width = record.getwidth();
    int height = record.getheight();
    visitor.attr("SensorSize", Presence::Logged, sensorSize);
    visitor.attr("width", Presence::Logged, width, Item().line("getProperty get m_nwidth failed \n", 0));
    visitor.attr("height", Presence::Logged, height, Item().line("getProperty get m_nheight failed \n", 0));
    record.setSensorSize(sensorSize);
    record.setwidth(width);
    record.setheight(height);
    OLTrace(3, kSourceFile, "%s%d nSensorSize = %d ,nwidth = %d  nheight = %d  \n", kSourceFile, __LINE__,
            sensorSize, width, height);

    std::vector<FisheyeVideoLayout> layouts = record.getFisheyeVideoLayoutList();
    visitor.list("FisheyeVideoLayoutList", Presence::Logged, layouts,
                 Item().node("NODE_FISHEYE_VIDEO_LAYOUT_LIST"));
    record.setFisheyeVideoLayoutList(layouts);
    OLTrace(3, kSourceFile, "%s%d p_objFisheyeVideoLayoutSupportList.size() = %d  \n", kSourceFile, __LINE__,
            static_cast<int>(layouts.size()));
    return !visitor.failed();
}

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const std::vector<FisheyeVideoLayoutSupport>& records,
                                                       SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                      std::vector<FisheyeVideoLayoutSupport>& records) {
    return parseList(*this, node, records);
}
