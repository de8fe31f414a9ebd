#pragma once

// Codec of OLAttributeList, written by hand (OLAttributeListXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/OLAttributeList.h"
#include "domain/xml/IDomainXml.h"

class OLAttributeListXml : public IDomainXml {
  public:
    static const char* itemName() { return "OLAttributeList"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const OLAttributeList& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, OLAttributeList& record);
    bool createDomainXmlNode(const std::vector<OLAttributeList>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<OLAttributeList>& records);
};

template <>
struct CodecOf<OLAttributeList> {
    typedef OLAttributeListXml type;
};
