#pragma once

// Codec of ThermalOperateResultCode, written by hand (ThermalOperateResultCodeXml.cpp).

#include <vector>

#include "domain/codecs/CodecOf.h"
#include "domain/records/ThermalOperateResultCode.h"
#include "domain/xml/IDomainXml.h"

class ThermalOperateResultCodeXml : public IDomainXml {
  public:
    static const char* itemName() { return "ThermalOperateResultCode"; }

    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;
    bool createDomainXmlNode(const ThermalOperateResultCode& record, SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, ThermalOperateResultCode& record);
    bool createDomainXmlNode(const std::vector<ThermalOperateResultCode>& records,
                             SafePointer<DomainXmlNode>& node);
    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<ThermalOperateResultCode>& records);
};

template <>
struct CodecOf<ThermalOperateResultCode> {
    typedef ThermalOperateResultCodeXml type;
};
