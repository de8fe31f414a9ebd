#pragma once

// Codec of IntelligenceLibInfo, written by hand (IntelligenceLibInfoXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/IntelligenceLibInfo.h"
#include "domain/xml/IDomainXml.h"

class IntelligenceLibInfoXml : public IDomainXml {
  public:
    static const char* itemName() { return "IntelligenceLibInfo"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const IntelligenceLibInfo& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, IntelligenceLibInfo& record);
    bool createDomainXmlNode(const std::vector<IntelligenceLibInfo>& records,
                             SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<IntelligenceLibInfo>& records);
};

template <>
struct CodecOf<IntelligenceLibInfo> {
    typedef IntelligenceLibInfoXml type;
};
