#pragma once

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/xml/IDomainXml.h"

// Codec of EtPTZOperation: the logged shape with short lines, plus a trace of
// its entry and of the two numbers in both directions. A missing CameraId or
// PTZId keeps its value (1 from the constructor).
class EtPTZOperationXml : public IDomainXml {
  public:
    static const char* itemName() { return "EtPTZOperation"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const EtPTZOperation& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, EtPTZOperation& record);
    bool createDomainXmlNode(const std::vector<EtPTZOperation>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<EtPTZOperation>& records);
};

template <>
struct CodecOf<EtPTZOperation> {
    typedef EtPTZOperationXml type;
};
