#pragma once

// Codec of TemperatureAreaAndAlarmParam, written by hand (TemperatureAreaAndAlarmParamXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/TemperatureAreaAndAlarmParam.h"
#include "domain/xml/IDomainXml.h"

class TemperatureAreaAndAlarmParamXml : public IDomainXml {
  public:
    static const char* itemName() { return "TemperatureAreaAndAlarmParam"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const TemperatureAreaAndAlarmParam& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, TemperatureAreaAndAlarmParam& record);
    bool createDomainXmlNode(const std::vector<TemperatureAreaAndAlarmParam>& records,
                             SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                            std::vector<TemperatureAreaAndAlarmParam>& records);
};

template <>
struct CodecOf<TemperatureAreaAndAlarmParam> {
    typedef TemperatureAreaAndAlarmParamXml type;
};
