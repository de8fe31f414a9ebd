// Codec of ThermalOperateResultCode: its two number lists travel as texts of
// "(OperateId:n)" and "(ErrorCode:n)" pieces; every item is optional.

#include "domain/codecs/ThermalOperateResultCodeXml.h"

#include <cstdio>
#include <string>
#include <vector>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/TextPieces.h"

using namespace domain_codec;

namespace {

const char kOperateIdFormat[] = "(OperateId:%d)";
const char kErrorCodeFormat[] = "(ErrorCode:%d)";

std::string formatNumbers(const char* format, const std::vector<int>& values) {
    std::vector<std::string> pieces;
    char buffer[64];
    for (int value : values) {
        std::snprintf(buffer, sizeof(buffer), format, value);
        pieces.push_back(buffer);
    }
    return joinPieces(pieces);
}

// A piece that does not match the format is skipped: a peer sends only the form
// above.
std::vector<int> scanNumbers(const char* format, const std::string& text) {
    std::vector<int> values;
    for (const std::string& piece : splitPieces(text)) {
        int value = 0;
        if (std::sscanf(piece.c_str(), format, &value) == 1) values.push_back(value);
    }
    return values;
}

}  // namespace

bool ThermalOperateResultCodeXml::createDomainXmlNode(const BaseDomain* domain,
                                                      SafePointer<DomainXmlNode>& node) {
    return buildEntry<ThermalOperateResultCode>(*this, ThermalOperateResultCode::kDomainId, domain, node);
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<ThermalOperateResultCode>(*this, ThermalOperateResultCode::kDomainId, node, domain);
}

bool ThermalOperateResultCodeXml::createDomainXmlNode(const ThermalOperateResultCode& record,
                                                      SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    NodePtr operateItemId(new DomainXmlNode("OperateItemId"));
    operateItemId->setProperty("OperateItemIdList",
                               formatNumbers(kOperateIdFormat, record.getOperateItemIdList()));
    node->addConfigNode(operateItemId);
    NodePtr paramErrorCode(new DomainXmlNode("ParamErrorCode"));
    paramErrorCode->setProperty("ParamErrorCodeList",
                                formatNumbers(kErrorCodeFormat, record.getParamErrorCodeList()));
    node->addConfigNode(paramErrorCode);
    node->setProperty("OperateReturnCode", record.getOperateReturnCode());
    return true;
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                     ThermalOperateResultCode& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    NodePtr child;
    std::string text;
    if (node->getConfigNode("OperateItemId", child) && child->getProperty("OperateItemIdList", text)) {
        record.setOperateItemIdList(scanNumbers(kOperateIdFormat, text));
    }
    child.reset();
    if (node->getConfigNode("ParamErrorCode", child) && child->getProperty("ParamErrorCodeList", text)) {
        record.setParamErrorCodeList(scanNumbers(kErrorCodeFormat, text));
    }
    int code = 0;
    if (node->getProperty("OperateReturnCode", &code)) record.setOperateReturnCode(code);
    return true;
}

bool ThermalOperateResultCodeXml::createDomainXmlNode(const std::vector<ThermalOperateResultCode>& records,
                                                      SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool ThermalOperateResultCodeXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                     std::vector<ThermalOperateResultCode>& records) {
    return parseList(*this, node, records);
}
