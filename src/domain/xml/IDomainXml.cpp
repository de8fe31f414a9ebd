#include "domain/xml/IDomainXml.h"

#include <memory>

#include "domain/DomainContainer.h"
#include "domain/DomainXmlFactory.h"

IDomainXml::~IDomainXml() = default;

bool IDomainXml::createDomainXmlNode(const BaseDomain*, SafePointer<DomainXmlNode>&) {
    return false;
}

bool IDomainXml::parseDomainXmlNode(SafePointer<DomainXmlNode>&, BaseDomain*) {
    return false;
}

bool checkDomainId(const BaseDomain* domain, int id, bool& isContainer) {
    isContainer = false;
    int found = domain->getDomainId();
    if (found == kDomainContainerId) {
        found = static_cast<const DomainContainer*>(domain)->getElementDomainId();
        isContainer = true;
    }
    return found == id;
}

bool BaseDomainXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    bool isContainer = false;
    if (domain == nullptr || !checkDomainId(domain, 0, isContainer)) return false;
    if (isContainer) {
        const DomainVectorContainer<BaseDomain>* container = containerOf<BaseDomain>(domain);
        return container != nullptr && createDomainXmlNode(container->getItems(), node);
    }
    return createDomainXmlNode(*domain, node);
}

bool BaseDomainXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    bool isContainer = false;
    if (domain == nullptr || !checkDomainId(domain, 0, isContainer)) return false;
    if (isContainer) {
        DomainVectorContainer<BaseDomain>* container = containerOf<BaseDomain>(domain);
        std::vector<BaseDomain> records;
        if (container == nullptr || !parseDomainXmlNode(node, records)) return false;
        container->getItems() = records;
        return true;
    }
    return parseDomainXmlNode(node, *domain);
}

bool BaseDomainXml::createDomainXmlNode(const BaseDomain&, SafePointer<DomainXmlNode>& node) {
    return !node.isNull();
}

bool BaseDomainXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain&) {
    return !node.isNull();
}

bool BaseDomainXml::createDomainXmlNode(const std::vector<BaseDomain>& records,
                                        SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    for (const BaseDomain& record : records) {
        SafePointer<DomainXmlNode> item(new DomainXmlNode(itemName()));
        if (!createDomainXmlNode(record, item)) return false;
        node->addConfigNode(item);
    }
    return true;
}

bool BaseDomainXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<BaseDomain>& records) {
    if (node.isNull()) return false;
    DomainXmlNode::NodeVector children;
    node->getAllConfigNodes(children);
    for (SafePointer<DomainXmlNode>& child : children) {
        BaseDomain record;
        if (!parseDomainXmlNode(child, record)) return false;
        records.push_back(record);
    }
    return true;
}

namespace {

int lookupId(const BaseDomain* domain) {
    int id = domain->getDomainId();
    if (id == kDomainContainerId) id = static_cast<const DomainContainer*>(domain)->getElementDomainId();
    return id;
}

}  // namespace

bool domainToXmlNode(const std::string& name, const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    if (domain == nullptr) return false;
    IDomainXml* raw = createDomainXml(lookupId(domain));
    if (raw == nullptr) return false;
    const std::unique_ptr<IDomainXml> codec(raw);
    node = SafePointer<DomainXmlNode>(new DomainXmlNode(name));
    return codec->createDomainXmlNode(domain, node);
}

bool xmlNodeToDomain(SafePointer<DomainXmlNode>& node, std::string& name, BaseDomain* domain) {
    if (domain == nullptr) return false;
    IDomainXml* raw = createDomainXml(lookupId(domain));
    if (raw == nullptr) return false;
    const std::unique_ptr<IDomainXml> codec(raw);
    if (node.isNull() || !node->getName(name)) return false;
    return codec->parseDomainXmlNode(node, domain);
}
