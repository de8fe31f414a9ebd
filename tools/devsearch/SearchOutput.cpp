#include "SearchOutput.h"

namespace {

const char* const kRowFormat = "%-16s %-15s %-5s %-16s %-14s %-10s %-17s %s\n";

}  // namespace

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof(escaped), "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

std::string DevicePrinter::toJson(const NetVideoDeviceInfo& r) {
    std::string out = "{";
    auto text = [&](const char* key, const std::string& value) {
        if (out.size() > 1) out += ",";
        out += jsonString(key) + ":" + jsonString(value);
    };
    auto number = [&](const char* key, long value) {
        if (out.size() > 1) out += ",";
        out += jsonString(key) + ":" + std::to_string(value);
    };
    text("DeviceId", r.getDeviceId());
    number("DeviceType", r.getDeviceType());
    text("DeviceIP", r.getDeviceIP());
    number("DevicePort", r.getDevicePort());
    number("HttpPort", r.getHttpPort());
    text("HardwareVer", r.getHardwareVer());
    text("SoftwareVer", r.getSoftwareVer());
    text("ManufacturerId", r.getManufacturerId());
    text("ManufacturerName", r.getManufacturerName());
    text("ProductModel", r.getProductModel());
    text("DeviceTime", r.getDeviceTime());
    text("DeviceName", r.getDeviceName());
    text("SN", r.getSN());
    text("UpdatePort", r.getUpdatePort());
    text("MACAddr", r.getMACAddr());
    return out + "}";
}

void DevicePrinter::begin() {
    if (m_bJson) return;
    std::fprintf(m_pOut, kRowFormat, "MODEL", "IP", "PORT", "DEVICE ID", "SOFTWARE", "HARDWARE", "MAC",
                 "NAME");
    std::fflush(m_pOut);
}

void DevicePrinter::print(const NetVideoDeviceInfo& r) {
    if (m_bJson) {
        std::fprintf(m_pOut, "%s\n", toJson(r).c_str());
    } else {
        std::fprintf(m_pOut, kRowFormat, r.getProductModel().c_str(), r.getDeviceIP().c_str(),
                     std::to_string(r.getDevicePort()).c_str(), r.getDeviceId().c_str(),
                     r.getSoftwareVer().c_str(), r.getHardwareVer().c_str(), r.getMACAddr().c_str(),
                     r.getDeviceName().c_str());
    }
    std::fflush(m_pOut);
}
