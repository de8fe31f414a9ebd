#include "discovery/DeviceBaseInfoCommand.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "discovery/XmlBody.h"
#include "transport/CommandBuffer.h"

namespace {

const char* const kElement = "DeviceBaseInfo";
const char* const kVersionElement = "Version";
const char* const kCameraListElement = "CameraDevcieList";

std::string textOf(const TiXmlElement& element, const char* name) {
    const char* value = element.Attribute(name);
    return value != nullptr ? std::string(value) : std::string();
}

int intOf(const TiXmlElement& element, const char* name, int absent) {
    const char* value = element.Attribute(name);
    return value != nullptr ? discovery_xml::toInt(value) : absent;
}

// The 64-bit State: decimal text as "%lld" reads it; text without a number
// keeps the default, and out-of-range numbers saturate.
int64_t int64Of(const TiXmlElement& element, const char* name, int64_t absent) {
    const char* value = element.Attribute(name);
    if (value == nullptr) return absent;
    char* end = nullptr;
    errno = 0;
    long long parsed = std::strtoll(value, &end, 10);
    if (end == value) return absent;
    return static_cast<int64_t>(parsed);
}

}  // namespace

VersionDocument::VersionDocument() = default;

VersionDocument::VersionDocument(const Version& version) {
    Version::operator=(version);
}

TiXmlElement VersionDocument::buildElement() const {
    TiXmlElement element(kVersionElement);
    element.SetAttribute("HardwareVer", getHardwareVer().c_str());
    element.SetAttribute("SoftwareVer", getSoftwareVer().c_str());
    return element;
}

void VersionDocument::parseElement(const TiXmlElement& element) {
    setHardwareVer(textOf(element, "HardwareVer"));
    setSoftwareVer(textOf(element, "SoftwareVer"));
}

DeviceBaseInfoDocument::DeviceBaseInfoDocument() : m_pCurrent(nullptr) {}

DeviceBaseInfoDocument::DeviceBaseInfoDocument(const DeviceBaseInfo& record) : m_pCurrent(nullptr) {
    DeviceBaseInfo::operator=(record);
}

bool DeviceBaseInfoDocument::build() {
    m_objDocument.Clear();
    TiXmlElement element(kElement);
    element.SetAttribute("DeviceID", getDeviceID().c_str());
    element.SetAttribute("DeviceName", getDeviceName().c_str());
    element.SetAttribute("DeviceType", getDeviceType());
    element.SetAttribute("DeviceIP", getDeviceIP().c_str());
    element.SetAttribute("DevicePort", static_cast<int>(getDevicePort()));
    element.SetAttribute("IPProtoVer", getIPProtoVer());
    element.SetAttribute("UserID", getUserID().c_str());
    element.SetAttribute("Password", getPassword().c_str());
    element.SetAttribute("ManufacturerId", getManufacturerId().c_str());
    element.SetAttribute("ManufacturerName", getManufacturerName().c_str());
    element.SetAttribute("ProductModel", getProductModel().c_str());
    element.SetAttribute("ProductDescription", getProductDescription().c_str());
    element.SetAttribute("MACAddress", getMACAddress().c_str());
    element.SetAttribute("BarCode", getBarCode().c_str());
    element.SetAttribute("ProductionTime", getProductionTime().c_str());
    element.SetAttribute("HardwareModel", getHardwareModel().c_str());
    element.SetAttribute("HardwareDescription", getHardwareDescription().c_str());
    element.SetAttribute("CameraNum", getCameraNum());
    element.SetAttribute("AlarmInNum", getAlarmInNum());
    element.SetAttribute("AlarmOutNum", getAlarmOutNum());
    element.SetAttribute("RS485Num", getRS485Num());
    element.SetAttribute("DeviceTime", getDeviceTime().c_str());
    char state[32];
    std::snprintf(state, sizeof(state), "%lld", static_cast<long long>(getState()));
    element.SetAttribute("State", state);

    VersionDocument version(getVersion());
    if (element.InsertEndChild(version.buildElement()) == nullptr) return false;
    if (element.InsertEndChild(TiXmlElement(kCameraListElement)) == nullptr) return false;

    return discovery_xml::printDocument(m_objDocument, element, m_pCurrent, m_strText);
}

bool DeviceBaseInfoDocument::parse(const std::string& text) {
    m_strText = text;
    m_pCurrent = discovery_xml::parseDocument(m_objDocument, m_strText, kElement);
    if (m_pCurrent == nullptr) return false;
    const TiXmlElement& e = *m_pCurrent;

    setDeviceID(textOf(e, "DeviceID"));
    setDeviceName(textOf(e, "DeviceName"));
    setDeviceType(intOf(e, "DeviceType", 0));
    setDeviceIP(textOf(e, "DeviceIP"));
    setDevicePort(static_cast<unsigned short>(intOf(e, "DevicePort", 0)));
    setIPProtoVer(intOf(e, "IPProtoVer", 1));
    setUserID(textOf(e, "UserID"));
    setPassword(textOf(e, "Password"));
    setManufacturerId(textOf(e, "ManufacturerId"));
    setManufacturerName(textOf(e, "ManufacturerName"));
    setProductModel(textOf(e, "ProductModel"));
    setProductDescription(textOf(e, "ProductDescription"));
    setMACAddress(textOf(e, "MACAddress"));
    setBarCode(textOf(e, "BarCode"));
    setProductionTime(textOf(e, "ProductionTime"));
    setHardwareModel(textOf(e, "HardwareModel"));
    setHardwareDescription(textOf(e, "HardwareDescription"));
    setCameraNum(intOf(e, "CameraNum", 0));
    setAlarmInNum(intOf(e, "AlarmInNum", 0));
    setAlarmOutNum(intOf(e, "AlarmOutNum", 0));
    setRS485Num(intOf(e, "RS485Num", 0));
    setDeviceTime(textOf(e, "DeviceTime"));
    setState(int64Of(e, "State", 1));

    if (const TiXmlElement* child = e.FirstChildElement(kVersionElement)) {
        VersionDocument version;
        version.parseElement(*child);
        setVersion(version);
    }
    return true;
}

DeviceBaseInfoCommand::DeviceBaseInfoCommand() {
    setCommandId(kCommandId);
}

DeviceBaseInfoCommand::DeviceBaseInfoCommand(const DeviceBaseInfo& record) : m_objDeviceBaseInfo(record) {
    setCommandId(kCommandId);
}

int DeviceBaseInfoCommand::encode(CommandBuffer& out) {
    DeviceBaseInfoDocument document(m_objDeviceBaseInfo);
    if (!document.build()) return -2;
    return encodeTextFrame(out, document.getText());
}

int DeviceBaseInfoCommand::decode(CommandBuffer& in) {
    std::string text;
    int result = decodeTextFrame(in, kCommandId, text);
    if (result != 0) return result;

    DeviceBaseInfoDocument document;
    if (!document.parse(text)) return -404;
    m_objDeviceBaseInfo = document;
    return 0;
}
