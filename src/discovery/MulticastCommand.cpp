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

    struct TextField {
        const char* name;
        char* field;
        size_t size;
    };
    const TextField texts[] = {
        {"DeviceID", m_szDeviceId, sizeof(m_szDeviceId)},
        {"ManufacturerName", m_szManufacturerName, sizeof(m_szManufacturerName)},
        {"ProductModel", m_szProductModel, sizeof(m_szProductModel)},
        {"MACAddress", m_szMACAddress, sizeof(m_szMACAddress)},
        {"BarCode", m_szBarCode, sizeof(m_szBarCode)},
        {"HardwareVer", m_szHardwareVer, sizeof(m_szHardwareVer)},
        {"SoftwareVer", m_szSoftwareVer, sizeof(m_szSoftwareVer)},
        {"DeviceIP", m_szDeviceIP, sizeof(m_szDeviceIP)},
        {"SubnetMask", m_szSubnetMask, sizeof(m_szSubnetMask)},
        {"Gateway", m_szGateway, sizeof(m_szGateway)},
        {"PreferredDNSIP", m_szPreferredDNSIP, sizeof(m_szPreferredDNSIP)},
        {"DeviceTime", m_szDeviceTime, sizeof(m_szDeviceTime)},
    };
    for (const TextField& entry : texts) {
        const char* value = m_pCurrent->Attribute(entry.name);
        if (value == nullptr) continue;
        // An over-long attribute is cut to the field's width.
        size_t length = strnlen(value, entry.size - 1);
        std::memset(entry.field, 0, entry.size);
        std::memcpy(entry.field, value, length);
    }
    if (const char* value = m_pCurrent->Attribute("DeviceType")) m_nDeviceType = discovery_xml::toInt(value);
    if (const char* value = m_pCurrent->Attribute("ControlPort")) {
        m_nControlPort = static_cast<uint16_t>(discovery_xml::toInt(value));
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
