#pragma once

// Codec of PTZOperationInfo (identifier 243), written by hand for the fixed
// array of alarm line states; every other item follows the regular pattern
// (all reset, the position child optional).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/PTZOperationInfo.h"
#include "domain/xml/IDomainXml.h"

class PTZOperationInfoXml : public IDomainXml {
  public:
    static const char* itemName() { return "PTZOperationInfo"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const PTZOperationInfo& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, PTZOperationInfo& record);
    bool createDomainXmlNode(const std::vector<PTZOperationInfo>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<PTZOperationInfo>& records);

  private:
    // The regular items before and after the states, for the engine's visitors.
    template <class V>
    static void visitLeading(V& v, PTZOperationInfo& r);
    template <class V>
    static void visitTrailing(V& v, PTZOperationInfo& r);
};

template <>
struct CodecOf<PTZOperationInfo> {
    typedef PTZOperationInfoXml type;
};
