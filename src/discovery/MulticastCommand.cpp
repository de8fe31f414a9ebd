#include "discovery/MulticastCommand.h"

#include <cstring>
#include <utility>

#include "discovery/XmlBody.h"
#include "transport/CommandBuffer.h"

namespace {
const char* const kElement = "DeviceInfo";
}

DeviceInfoFields::DeviceInfoFields() {
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

DeviceInfoDocument::DeviceInfoDocument() : m_pCurrent(nullptr) {}

bool DeviceInfoDocument::build() {
    m_objDocument.Clear();
    TiXmlElement element(kElement);
    element.SetAttribute("DeviceID", m_szDeviceId);
    element.SetAttribute("DeviceType", m_nDeviceType);
    element.SetAttribute("ManufacturerName", m_szManufacturerName);
    element.SetAttribute("ProductModel", m_szProductModel);
    element.SetAttribute("MACAddress", m_szMACAddress);
    element.SetAttribute("BarCode", m_szBarCode);
    element.SetAttribute("HardwareVer", m_szHardwareVer);
    element.SetAttribute("SoftwareVer", m_szSoftwareVer);
    element.SetAttribute("DeviceIP", m_szDeviceIP);
    element.SetAttribute("SubnetMask", m_szSubnetMask);
    element.SetAttribute("Gateway", m_szGateway);
    element.SetAttribute("PreferredDNSIP", m_szPreferredDNSIP);
    element.SetAttribute("ControlPort", static_cast<int>(m_nControlPort));
    element.SetAttribute("DeviceTime", m_szDeviceTime);
    return discovery_xml::printDocument(m_objDocument, element, m_pCurrent, m_strText);
}

bool DeviceInfoDocument::parse(std::string text) {
    m_strText = std::move(text);
    m_pCurrent = discovery_xml::parseDocument(m_objDocument, m_strText, kElement);
    if (m_pCurrent == nullptr) return false;

    // The table in wire order: the attributes are read in one walk, each
    // name sought from the entry behind the last one found, which is the
    // next one for a sender that writes them in this order.
    enum Kind { kText, kNumber, kPort };
    struct Field {
        const char* name;
        Kind kind;
        char* text;
        size_t size;
    };
    const Field fields[] = {
        {"DeviceID", kText, m_szDeviceId, sizeof(m_szDeviceId)},
        {"DeviceType", kNumber, nullptr, 0},
        {"ManufacturerName", kText, m_szManufacturerName, sizeof(m_szManufacturerName)},
        {"ProductModel", kText, m_szProductModel, sizeof(m_szProductModel)},
        {"MACAddress", kText, m_szMACAddress, sizeof(m_szMACAddress)},
        {"BarCode", kText, m_szBarCode, sizeof(m_szBarCode)},
        {"HardwareVer", kText, m_szHardwareVer, sizeof(m_szHardwareVer)},
        {"SoftwareVer", kText, m_szSoftwareVer, sizeof(m_szSoftwareVer)},
        {"DeviceIP", kText, m_szDeviceIP, sizeof(m_szDeviceIP)},
        {"SubnetMask", kText, m_szSubnetMask, sizeof(m_szSubnetMask)},
        {"Gateway", kText, m_szGateway, sizeof(m_szGateway)},
        {"PreferredDNSIP", kText, m_szPreferredDNSIP, sizeof(m_szPreferredDNSIP)},
        {"ControlPort", kPort, nullptr, 0},
        {"DeviceTime", kText, m_szDeviceTime, sizeof(m_szDeviceTime)},
    };
    constexpr size_t kFields = sizeof(fields) / sizeof(fields[0]);
    size_t next = 0;
    for (const TiXmlAttribute* a = m_pCurrent->FirstAttribute(); a != nullptr; a = a->Next()) {
        size_t i = next;
        for (size_t tried = 0; tried < kFields && std::strcmp(fields[i].name, a->Name()) != 0; ++tried) {
            i = (i + 1) % kFields;
        }
        const Field& f = fields[i];
        // An attribute outside the table is skipped.
        if (std::strcmp(f.name, a->Name()) != 0) continue;
        next = (i + 1) % kFields;
        if (f.kind == kNumber) {
            m_nDeviceType = discovery_xml::toInt(a->Value());
        } else if (f.kind == kPort) {
            m_nControlPort = static_cast<uint16_t>(discovery_xml::toInt(a->Value()));
        } else {
            // An over-long attribute is cut to the field's width.
            discovery_xml::copyCut(f.text, f.size, a->Value());
        }
    }
    return true;
}

MulticastCommand::MulticastCommand() {
    setCommandId(kCommandId);
}

MulticastCommand::MulticastCommand(const DeviceInfoFields& fields) : m_objFields(fields) {
    setCommandId(kCommandId);
}

int MulticastCommand::encode(CommandBuffer& out) {
    DeviceInfoDocument document;
    static_cast<DeviceInfoFields&>(document) = m_objFields;
    if (!document.build()) return -2;
    return encodeTextFrame(out, document.getText());
}

int MulticastCommand::decode(CommandBuffer& in) {
    std::string text;
    int result = decodeTextFrame(in, kCommandId, text);
    if (result != 0) return result;

    DeviceInfoDocument document;
    if (!document.parse(std::move(text))) return -404;
    m_objFields = document;
    return 0;
}
