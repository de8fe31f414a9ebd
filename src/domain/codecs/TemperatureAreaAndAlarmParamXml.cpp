// Codec of TemperatureAreaAndAlarmParam: every item optional, the corners of
// the measuring area as one text of "(x, y)" pieces.

#include "domain/codecs/TemperatureAreaAndAlarmParamXml.h"

#include <cstdio>
#include <string>
#include <vector>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/TextPieces.h"

using namespace domain_codec;

namespace {

const char kPointFormat[] = "(%d, %d)";

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

}  // namespace

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
