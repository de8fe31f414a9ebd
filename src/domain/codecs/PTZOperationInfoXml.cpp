// Codec of PTZOperationInfo.

#include <cstring>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/PTZPointParamXml.h"
#include "domain/codecs/PTZOperationInfoXml.h"

using namespace domain_codec;

namespace {

const CodecInfo kInfo = {"PTZOperationInfoXml", "PTZOperationInfoXml.cpp", 0, 3};

const char kStateListTag[] = "AlarmIOStateList";
const char kStateTag[] = "AlarmIOState";

}  // namespace

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
