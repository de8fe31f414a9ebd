// Codec of PolygonArea: one element per corner, read whatever its name.

#include "domain/codecs/PolygonAreaXml.h"

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/fields/PolygonArea.h"

using namespace domain_codec;

namespace {

const CodecInfo kPolygonAreaXmlInfo = {"PolygonAreaXml", "PolygonAreaXml.cpp", 0, 3};

}  // namespace

bool PolygonAreaXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<PolygonArea>(*this, PolygonArea::kDomainId, domain, node);
}

bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<PolygonArea>(*this, PolygonArea::kDomainId, node, domain);
}

// One <OLPoint> element per corner.
bool PolygonAreaXml::createDomainXmlNode(const PolygonArea& record, SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    return buildFields(kPolygonAreaXmlInfo, record, node);
}

// Every child element is a corner, whatever its name; a polygon without any
// fails.
bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, PolygonArea& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    DomainXmlNode::NodeVector corners;
    if (!node->getAllConfigNodes(corners)) return false;
    std::vector<PolygonArea::OLPointItem> points;
    for (NodePtr& corner : corners) {
        PolygonArea::OLPointItem point;
        ParseVisitor visitor(kPolygonAreaXmlInfo, corner);
        PolygonArea::OLPointItem::visitFields(visitor, point);
        if (visitor.failed()) return false;
        points.push_back(point);
    }
    record.setOLPoint(points);
    return true;
}

bool PolygonAreaXml::createDomainXmlNode(const std::vector<PolygonArea>& records,
                                         SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<PolygonArea>& records) {
    return parseList(*this, node, records);
}
