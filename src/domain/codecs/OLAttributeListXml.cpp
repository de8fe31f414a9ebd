// The codec of OLAttributeList: the pairs of the map travel as <Attribute>
// elements inside the child AttributeSequence, in the order of the map.

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/OLAttributeListXml.h"

using namespace domain_codec;

bool OLAttributeListXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<OLAttributeList>(*this, OLAttributeList::kDomainId, domain, node);
}

bool OLAttributeListXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<OLAttributeList>(*this, OLAttributeList::kDomainId, node, domain);
}

bool OLAttributeListXml::createDomainXmlNode(const OLAttributeList& record,
                                             SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    node->setProperty("AttributeSequenceName", record.getAttributeSequenceName());
    NodePtr sequence(new DomainXmlNode("AttributeSequence"));
    for (const auto& pair : record.getAttributeSequence()) {
        NodePtr attribute(new DomainXmlNode("Attribute"));
        attribute->setProperty("AttributeName", pair.first);
        attribute->setProperty("AttributeValue", pair.second);
        sequence->addConfigNode(attribute);
    }
    node->addConfigNode(sequence);
    return true;
}

// Both items are reset: an absent name reads as empty, an absent sequence as
// an empty map. Every child of the sequence is a pair, whatever its name; one
// without both attributes is skipped, and the first of two equal names wins.
bool OLAttributeListXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, OLAttributeList& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    std::string name;
    node->getProperty("AttributeSequenceName", name);
    record.setAttributeSequenceName(name);

    OLAttributeList::AttributeMap pairs;
    NodePtr sequence;
    if (node->getConfigNode("AttributeSequence", sequence)) {
        DomainXmlNode::NodeVector attributes;
        sequence->getAllConfigNodes(attributes);
        for (NodePtr& attribute : attributes) {
            std::string key;
            std::string value;
            if (!attribute->getProperty("AttributeName", key) ||
                !attribute->getProperty("AttributeValue", value)) {
                continue;
            }
            pairs.insert(std::make_pair(key, value));
        }
    }
    record.setAttributeSequence(pairs);
    return true;
}

bool OLAttributeListXml::createDomainXmlNode(const std::vector<OLAttributeList>& records,
                                             SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool OLAttributeListXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                            std::vector<OLAttributeList>& records) {
    return parseList(*this, node, records);
}
