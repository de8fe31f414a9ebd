#pragma once

#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"
#include "domain/BaseDomain.h"
#include "domain/xml/DomainXmlNode.h"

// The interface of all codecs. A codec holds no state. The two entry points
// take a record or a container of the codec's record type; a codec that
// overrides neither refuses to work at the top level.
class IDomainXml {
  public:
    virtual ~IDomainXml();
    virtual bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node);
    virtual bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain);
};

// The codec of BaseDomain (identifier 0): its element operations only report
// whether the node is set. Every record codec runs it (or its record's base
// codec) first on the same element.
class BaseDomainXml : public IDomainXml {
  public:
    static const char* itemName() { return "BaseDomain"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const BaseDomain& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain& record);
    bool createDomainXmlNode(const std::vector<BaseDomain>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<BaseDomain>& records);
};

// Clears isContainer; reads the identifier, or the element identifier of a
// container (then sets isContainer); true when that number equals id.
bool checkDomainId(const BaseDomain* domain, int id, bool& isContainer);

// Builds domain into a new node called name, with the codec that
// DomainXmlFactory gives for its identifier (element identifier for a container).
bool domainToXmlNode(const std::string& name, const BaseDomain* domain, SafePointer<DomainXmlNode>& node);

// Reads node into domain with the codec of domain's identifier; name gets the
// node's element name.
bool xmlNodeToDomain(SafePointer<DomainXmlNode>& node, std::string& name, BaseDomain* domain);
