#include "domain/codecs/IntelligenceAbilityShapes.h"

#include <cstdio>
#include <cstring>

#include "domain/xml/DomainXmlNode.h"

bool AbilityUnit::set(const char* text) {
    if (text == nullptr) return false;
    const size_t length = std::strlen(text);
    if (length > static_cast<size_t>(kLength)) return false;
    std::memcpy(m_szText, text, length + 1);
    return true;
}

void AbilityUnit::clear() {
    std::memset(m_szText, 0, sizeof(m_szText));
}

bool AbilityUnit::operator==(const AbilityUnit& other) const {
    return std::strcmp(m_szText, other.m_szText) == 0;
}

namespace {

using NodePtr = SafePointer<DomainXmlNode>;

// Name of the element that holds the shapes, for the readers' lines.
std::string elementName(NodePtr& node) {
    std::string name;
    node->getName(name);
    return name;
}

NodePtr newChild(const char* tag) {
    return NodePtr(new DomainXmlNode(std::string(tag)));
}

template <class Shape>
void writeEnableAndUnit(NodePtr& child, const Shape& value, bool withRange) {
    child->setProperty("enable", value.getEnable());
    if (withRange) {
        child->setProperty("min", value.getMin());
        child->setProperty("max", value.getMax());
    }
    if (value.getUnit()[0] != '\0') child->setProperty("unit", std::string(value.getUnit()));
}

// Finds the child of a flag or range; logs and returns false when it is absent.
bool findShapeChild(NodePtr& node, const char* tag, NodePtr& child) {
    if (node->getConfigNode(tag, child)) return true;
    std::printf(
        "IntelligenceAnalyseAbilityXml Failed! get %s Node In %s Node failed! can not find this node! \n",
        tag, elementName(node).c_str());
    return false;
}

bool readEnable(NodePtr& node, NodePtr& child, const char* tag) {
    bool enable = false;
    if (!child->getProperty("enable", &enable)) {
        std::printf(
            "IntelligenceAnalyseAbilityXml Failed! get Enable of %s Node In %s Node failed! Default false! "
            "\n",
            tag, elementName(node).c_str());
        return false;
    }
    return enable;
}

// Reads min or max; `word` is the capitalised name of the line.
template <class V>
V readBound(NodePtr& node, NodePtr& child, const char* tag, const char* attribute, const char* word) {
    V value = 0;
    if (!child->getProperty(attribute, &value)) {
        std::printf(
            "IntelligenceAnalyseAbilityXml Failed! get %s of %s Node In %s Node failed! Default 0! \n", word,
            tag, elementName(node).c_str());
        return 0;
    }
    return value;
}

// Absent unit reads as the empty text; an overlong one is refused by the field.
template <class Shape>
void readUnit(NodePtr& child, Shape& value) {
    std::string unit;
    if (child->getProperty("unit", unit))
        value.setUnit(unit.c_str());
    else
        value.setUnit("");
}

template <class V>
void parseRange(NodePtr& node, const char* tag, AbilityShapeKind kind, AbilityRangeOf<V>& value) {
    if (node.isNull()) {
        value = AbilityRangeOf<V>();
        return;
    }
    NodePtr child;
    if (!findShapeChild(node, tag, child)) {
        value.setEnable(false);
        value.setMin(0);
        value.setMax(0);
        value.setUnit("");
        return;
    }
    value.setEnable(readEnable(node, child, tag));
    value.setMin(readBound<V>(node, child, tag, "min", "Min"));
    value.setMax(readBound<V>(node, child, tag, "max", "Max"));
    if (kind != AbilityShapeKind::PlainRange) readUnit(child, value);
}

template <class V>
bool buildRange(NodePtr& node, const char* tag, const AbilityRangeOf<V>& value) {
    if (node.isNull()) return false;
    NodePtr child = newChild(tag);
    writeEnableAndUnit(child, value, true);
    node->addConfigNode(child);
    return true;
}

// Ten characters at most, derived from the seed.
std::string unitText(int seed) {
    return "u" + std::to_string(seed % 100000);
}

}  // namespace

bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityRegion& value) {
    if (node.isNull()) return false;
    NodePtr child = newChild(tag);
    child->setProperty("enable", value.getEnable());
    child->setProperty("edgeNum", value.getEdgeNum());
    child->setProperty("maxRegionNum", value.getMaxRegionNum());
    node->addConfigNode(child);
    return true;
}

bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityFlag& value) {
    if (node.isNull()) return false;
    NodePtr child = newChild(tag);
    child->setProperty("enable", value.getEnable());
    if (value.getUnit()[0] != '\0') child->setProperty("unit", std::string(value.getUnit()));
    node->addConfigNode(child);
    return true;
}

bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityRange& value) {
    return buildRange(node, tag, value);
}

bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityFloatRange& value) {
    return buildRange(node, tag, value);
}

void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind,
                       AbilityRegion& value) {
    if (node.isNull()) {
        value = AbilityRegion();
        return;
    }
    NodePtr child;
    if (!node->getConfigNode(tag, child)) {
        std::printf("IntelligenceAnalyseAbilityXml::getRegionParam get Region Node In %s Node Failed! \n",
                    elementName(node).c_str());
        value.setEnable(false);
        value.setEdgeNum(0);
        value.setMaxRegionNum(0);
        return;
    }
    bool enable = false;
    if (!child->getProperty("enable", &enable)) {
        std::printf(
            "IntelligenceAnalyseAbilityXml::getRegionParam get Enable of Region Node In %s Node Failed! "
            "Default "
            "false! \n",
            elementName(node).c_str());
        enable = false;
    }
    value.setEnable(enable);
    int edgeNum = 0;
    if (!child->getProperty("edgeNum", &edgeNum)) {
        std::printf(
            "IntelligenceAnalyseAbilityXml::getRegionParam get EdgeNum of Region Node In %s Node Failed! "
            "Default "
            "0! \n",
            elementName(node).c_str());
        edgeNum = 0;
    }
    value.setEdgeNum(edgeNum);
    int maxRegionNum = 0;
    if (!child->getProperty("maxRegionNum", &maxRegionNum)) maxRegionNum = 0;
    value.setMaxRegionNum(maxRegionNum);
}

void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityFlag& value) {
    if (node.isNull()) {
        value = AbilityFlag();
        return;
    }
    NodePtr child;
    if (!findShapeChild(node, tag, child)) {
        value.setEnable(false);
        value.setUnit("");
        return;
    }
    value.setEnable(readEnable(node, child, tag));
    if (kind == AbilityShapeKind::UnitFlag) readUnit(child, value);
}

void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityRange& value) {
    parseRange(node, tag, kind, value);
}

void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityFloatRange& value) {
    parseRange(node, tag, kind, value);
}

void fillAbilityShape(AbilityRegion& value, AbilityShapeKind, int seed) {
    value.setEnable(true);
    value.setEdgeNum(seed + 1);
    value.setMaxRegionNum(seed + 2);
}

void fillAbilityShape(AbilityFlag& value, AbilityShapeKind kind, int seed) {
    value.setEnable(true);
    value.setUnit(kind == AbilityShapeKind::UnitFlag ? unitText(seed).c_str() : "");
}

void fillAbilityShape(AbilityRange& value, AbilityShapeKind kind, int seed) {
    value.setEnable(true);
    value.setMin(seed + 1);
    value.setMax(seed + 2);
    value.setUnit(kind == AbilityShapeKind::PlainRange ? "" : unitText(seed).c_str());
}

void fillAbilityShape(AbilityFloatRange& value, AbilityShapeKind kind, int seed) {
    value.setEnable(true);
    value.setMin(static_cast<float>(seed) + 0.5f);
    value.setMax(static_cast<float>(seed) + 1.25f);
    value.setUnit(kind == AbilityShapeKind::PlainRange ? "" : unitText(seed).c_str());
}
