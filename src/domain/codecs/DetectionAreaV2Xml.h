#pragma once

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/DetectionAreaV2.h"
#include "domain/xml/IDomainXml.h"

// Codec of DetectionAreaV2: three int attributes and the block as base64 text
// in Data.
class DetectionAreaV2Xml : public IDomainXml {
  public:
    static const char* itemName() { return "DetectionAreaV2"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const DetectionAreaV2& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, DetectionAreaV2& record);
    bool createDomainXmlNode(const std::vector<DetectionAreaV2>& records, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<DetectionAreaV2>& records);
};

template <>
struct CodecOf<DetectionAreaV2> {
    typedef DetectionAreaV2Xml type;
};
