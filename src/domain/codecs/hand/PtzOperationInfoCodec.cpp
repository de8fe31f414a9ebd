// Record and codec of PTZOperationInfo.

#include <cstring>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/PTZPointParamXml.h"
#include "domain/codecs/hand/PTZOperationInfoXml.h"

using namespace domain_codec;

namespace {

const CodecInfo kInfo = {"PTZOperationInfoXml", "PtzOperationInfoCodec.cpp", 0, 3};

const char kStateListTag[] = "AlarmIOStateList";
const char kStateTag[] = "AlarmIOState";

}  // namespace

// ---- record

PTZOperationInfo::PTZOperationInfo()
    : m_nCommonID(0),
      m_nPanSpeed(0),
      m_nTiltSpeed(0),
      m_nZoomSpeedValue(0),
      m_nFocusSpeedValue(0),
      m_nDirectionValue(0),
      m_nStopTime(0),
      m_nType(0),
      m_dMCUTemperature(0.0),
      m_nVerticalMaxPosition(0) {
    std::memset(m_AlarmIOStateList, 0, sizeof(m_AlarmIOStateList));
    m_nDomainId = kDomainId;
}

PTZOperationInfo::PTZOperationInfo(const PTZOperationInfo& other)
    : BaseDomain(other),
      m_nCommonID(other.m_nCommonID),
      m_nPanSpeed(other.m_nPanSpeed),
      m_nTiltSpeed(other.m_nTiltSpeed),
      m_nZoomSpeedValue(other.m_nZoomSpeedValue),
      m_nFocusSpeedValue(other.m_nFocusSpeedValue),
      m_nDirectionValue(other.m_nDirectionValue),
      m_nStopTime(other.m_nStopTime),
      m_nType(other.m_nType),
      m_objPTZPointParamV2(other.m_objPTZPointParamV2),
      m_strPTZVersion(other.m_strPTZVersion),
      m_dMCUTemperature(other.m_dMCUTemperature),
      m_nVerticalMaxPosition(other.m_nVerticalMaxPosition) {
    std::memcpy(m_AlarmIOStateList, other.m_AlarmIOStateList, sizeof(m_AlarmIOStateList));
    m_nDomainId = kDomainId;
}

PTZOperationInfo& PTZOperationInfo::operator=(const PTZOperationInfo& other) {
    if (this == &other) return *this;
    BaseDomain::operator=(other);
    m_nCommonID = other.m_nCommonID;
    m_nPanSpeed = other.m_nPanSpeed;
    m_nTiltSpeed = other.m_nTiltSpeed;
    m_nZoomSpeedValue = other.m_nZoomSpeedValue;
    m_nFocusSpeedValue = other.m_nFocusSpeedValue;
    m_nDirectionValue = other.m_nDirectionValue;
    m_nStopTime = other.m_nStopTime;
    m_nType = other.m_nType;
    m_objPTZPointParamV2 = other.m_objPTZPointParamV2;
    std::memcpy(m_AlarmIOStateList, other.m_AlarmIOStateList, sizeof(m_AlarmIOStateList));
    m_strPTZVersion = other.m_strPTZVersion;
    m_dMCUTemperature = other.m_dMCUTemperature;
    m_nVerticalMaxPosition = other.m_nVerticalMaxPosition;
    return *this;
}

PTZOperationInfo::~PTZOperationInfo() = default;

void PTZOperationInfo::setAlarmIOStateList(const unsigned char* states) {
    if (states == nullptr) return;
    std::memcpy(m_AlarmIOStateList, states, sizeof(m_AlarmIOStateList));
}

// ---- codec

template <class V>
void PTZOperationInfoXml::visitLeading(V& v, PTZOperationInfo& r) {
    using P = Presence;
    v.attr("CommonID", P::Reset, r.m_nCommonID);
    v.attr("PanSpeed", P::Reset, r.m_nPanSpeed);
    v.attr("TiltSpeed", P::Reset, r.m_nTiltSpeed);
    v.attr("ZoomSpeedValue", P::Reset, r.m_nZoomSpeedValue);
    v.attr("FocusSpeedValue", P::Reset, r.m_nFocusSpeedValue);
    v.attr("DirectionValue", P::Reset, r.m_nDirectionValue);
    v.attr("StopTime", P::Reset, r.m_nStopTime);
    v.attr("Type", P::Reset, r.m_nType);
    v.child("PTZPointParamV2", P::Optional, r.m_objPTZPointParamV2);
}

template <class V>
void PTZOperationInfoXml::visitTrailing(V& v, PTZOperationInfo& r) {
    using P = Presence;
    v.attr("PTZVersion", P::Reset, r.m_strPTZVersion);
    v.attr("MCUTemperature", P::Reset, r.m_dMCUTemperature);
    v.attr("VerticalMaxPosition", P::Reset, r.m_nVerticalMaxPosition);
}

bool PTZOperationInfoXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<PTZOperationInfo>(*this, PTZOperationInfo::kDomainId, domain, node);
}

bool PTZOperationInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<PTZOperationInfo>(*this, PTZOperationInfo::kDomainId, node, domain);
}

bool PTZOperationInfoXml::createDomainXmlNode(const PTZOperationInfo& record,
                                              SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    // The visitors take fields by reference; the build only reads them.
    PTZOperationInfo& fields = const_cast<PTZOperationInfo&>(record);
    BuildVisitor visitor(kInfo, node);
    visitLeading(visitor, fields);
    // Always all three states, whatever they hold.
    NodePtr listNode(new DomainXmlNode(kStateListTag));
    for (int i = 0; i < PTZOperationInfo::kAlarmIOStateCount; ++i) {
        NodePtr itemNode(new DomainXmlNode(kStateTag));
        itemNode->setProperty(kStateTag, static_cast<int>(record.m_AlarmIOStateList[i]));
        listNode->addConfigNode(itemNode);
    }
    node->addConfigNode(listNode);
    visitTrailing(visitor, fields);
    return true;
}

bool PTZOperationInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, PTZOperationInfo& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    ParseVisitor visitor(kInfo, node);
    visitLeading(visitor, record);
    // The states in document order, at most three; those missing stay 0 and an
    // absent list leaves all three at 0.
    unsigned char states[PTZOperationInfo::kAlarmIOStateCount] = {0, 0, 0};
    NodePtr listNode;
    if (node->getConfigNode(kStateListTag, listNode)) {
        DomainXmlNode::NodeVector items;
        listNode->getConfigNodes(kStateTag, items);
        for (size_t i = 0; i < items.size() && i < sizeof(states); ++i) {
            int value = 0;
            items[i]->getProperty(kStateTag, &value);
            states[i] = static_cast<unsigned char>(value);  // low 8 bits
        }
    }
    record.setAlarmIOStateList(states);
    visitTrailing(visitor, record);
    return !visitor.failed();
}

bool PTZOperationInfoXml::createDomainXmlNode(const std::vector<PTZOperationInfo>& records,
                                              SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool PTZOperationInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                             std::vector<PTZOperationInfo>& records) {
    return parseList(*this, node, records);
}
