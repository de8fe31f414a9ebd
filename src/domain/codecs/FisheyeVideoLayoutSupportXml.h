#pragma once

// Codec of FisheyeVideoLayoutSupport, written by hand (FisheyeVideoLayoutSupportXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/FisheyeVideoLayoutSupport.h"
#include "domain/xml/IDomainXml.h"

class FisheyeVideoLayoutSupportXml : public IDomainXml {
  public:
    static const char* itemName() { return "FisheyeVideoLayoutSupport"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const FisheyeVideoLayoutSupport& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, FisheyeVideoLayoutSupport& record);
    bool createDomainXmlNode(const std::vector<FisheyeVideoLayoutSupport>& records,
                             SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                            std::vector<FisheyeVideoLayoutSupport>& records);
};

template <>
struct CodecOf<FisheyeVideoLayoutSupport> {
    typedef FisheyeVideoLayoutSupportXml type;
};
