#pragma once

// Codec of PolygonArea, written by hand (PolygonAreaXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/PolygonArea.h"
#include "domain/xml/IDomainXml.h"

class PolygonAreaXml : public IDomainXml {
  public:
    static const char* itemName() { return "PolygonArea"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const PolygonArea& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, PolygonArea& record);
    bool createDomainXmlNode(const std::vector<PolygonArea>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<PolygonArea>& records);
};

template <>
struct CodecOf<PolygonArea> {
    typedef PolygonAreaXml type;
};
