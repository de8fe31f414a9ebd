#include <climits>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "domain/codecs/Base64.h"
#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/DetectionAreaV2Xml.h"

using namespace domain_codec;

bool DetectionAreaV2Xml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<DetectionAreaV2>(*this, DetectionAreaV2::kDomainId, domain, node);
}

bool DetectionAreaV2Xml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<DetectionAreaV2>(*this, DetectionAreaV2::kDomainId, node, domain);
}

bool DetectionAreaV2Xml::createDomainXmlNode(const DetectionAreaV2& record,
                                             SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    if (!node->setProperty("WidthCellNumber", record.getWidthCellNumber())) return false;
    if (!node->setProperty("HighCellNumber", record.getHighCellNumber())) return false;
    if (!node->setProperty("DataLength", record.getDataLength())) return false;
    if (record.getData() == nullptr) return true;
    // The encoder's exact need, in 64 bits: four characters per three bytes and a terminator.
    const long long need = (static_cast<long long>(record.getDataLength()) + 2) / 3 * 4 + 1;
    if (need > INT_MAX) return false;
    int room = static_cast<int>(need);
    std::vector<char> text(static_cast<size_t>(room));
    if (Base64Encode(record.getData(), record.getDataLength(), text.data(), room) != 0) return false;
    return node->setProperty("Data", std::string(text.data(), static_cast<size_t>(room)));
}

bool DetectionAreaV2Xml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, DetectionAreaV2& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    int value = 0;
    if (node->getProperty("WidthCellNumber", &value)) record.setWidthCellNumber(value);
    if (node->getProperty("HighCellNumber", &value)) record.setHighCellNumber(value);
    int length = 0;
    node->getProperty("DataLength", &length);
    std::string text;
    node->getProperty("Data", text);
    if (text.empty()) return true;
    if (length == 0) {
        record.clearData();
        return true;
    }
    if (text.size() > static_cast<size_t>(INT_MAX)) return false;
    // The decoder is offered DataLength + 1024 bytes (a small negative
    // DataLength still leaves room), but the block is never larger than the
    // text can decode to: DataLength comes from the peer and must not choose
    // an allocation.
    const long long offered = static_cast<long long>(length) + 1024;
    if (offered <= 0) return false;
    const int bound = Base64DecodedRoom(static_cast<int>(text.size()));
    int room = offered < bound ? static_cast<int>(offered) : bound;
    std::vector<unsigned char> bytes(static_cast<size_t>(room), 0);
    if (Base64Decode(text.data(), static_cast<int>(text.size()), bytes.data(), room) != 0) return false;
    record.setData(bytes.data(), room);
    return true;
}

bool DetectionAreaV2Xml::createDomainXmlNode(const std::vector<DetectionAreaV2>& records,
                                             SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool DetectionAreaV2Xml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                            std::vector<DetectionAreaV2>& records) {
    return parseList(*this, node, records);
}
