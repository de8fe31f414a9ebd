#pragma once

#include <cstdint>
#include <string>

#include <tinyxml.h>

#include "discovery/Command.h"

// The fields of a DeviceInfo body, in the order of its attributes. Text fields
// hold the stated number of characters and a terminator.
struct DeviceInfoFields {
    DeviceInfoFields();

    char m_szDeviceId[33];
    int m_nDeviceType;
    char m_szManufacturerName[33];
    char m_szProductModel[33];
    char m_szMACAddress[21];
    char m_szBarCode[17];
    char m_szHardwareVer[49];
    char m_szSoftwareVer[49];
    char m_szDeviceIP[49];
    char m_szSubnetMask[49];
    char m_szGateway[49];
    char m_szPreferredDNSIP[49];
    uint16_t m_nControlPort;
    char m_szDeviceTime[65];
};

// Carries a DeviceInfo body between text and fields through a TinyXML document.
class DeviceInfoDocument : public DeviceInfoFields {
  public:
    DeviceInfoDocument();
    DeviceInfoDocument(const DeviceInfoDocument&) = delete;
    DeviceInfoDocument& operator=(const DeviceInfoDocument&) = delete;

    // Builds the one element DeviceInfo from the fields and prints it with a
    // tab as indent. False when the document cannot be built or printed.
    bool build();
    // Parses `text` (up to its first zero byte) and copies every attribute
    // present into the fields, cut to the field's width. False on a parse
    // error or when no top-level element is named DeviceInfo.
    bool parse(std::string text);

    const std::string& getText() const { return m_strText; }

  private:
    std::string m_strText;
    TiXmlElement* m_pCurrent;
    TiXmlDocument m_objDocument;
};

// Identifier 23: a device's announcement with an XML DeviceInfo body.
class MulticastCommand : public Command {
  public:
    static constexpr int kCommandId = 23;

    MulticastCommand();
    // A command that will encode these fields (the sending side).
    explicit MulticastCommand(const DeviceInfoFields& fields);

    // 0, or -2 when the document or the buffer fails.
    int encode(CommandBuffer& out) override;
    // 0, the result of decodeHead, -401 for another identifier, -404 for a
    // wrong body length or a body that is no DeviceInfo document.
    int decode(CommandBuffer& in) override;

    const DeviceInfoFields& getFields() const { return m_objFields; }
    const char* getDeviceId() const { return m_objFields.m_szDeviceId; }
    int getDeviceType() const { return m_objFields.m_nDeviceType; }
    const char* getManufacturerName() const { return m_objFields.m_szManufacturerName; }
    const char* getProductModel() const { return m_objFields.m_szProductModel; }
    const char* getMACAddress() const { return m_objFields.m_szMACAddress; }
    const char* getBarCode() const { return m_objFields.m_szBarCode; }
    const char* getHardwareVer() const { return m_objFields.m_szHardwareVer; }
    const char* getSoftwareVer() const { return m_objFields.m_szSoftwareVer; }
    const char* getDeviceIP() const { return m_objFields.m_szDeviceIP; }
    const char* getSubnetMask() const { return m_objFields.m_szSubnetMask; }
    const char* getGateway() const { return m_objFields.m_szGateway; }
    const char* getPreferredDNSIP() const { return m_objFields.m_szPreferredDNSIP; }
    uint16_t getControlPort() const { return m_objFields.m_nControlPort; }
    const char* getDeviceTime() const { return m_objFields.m_szDeviceTime; }

  private:
    DeviceInfoFields m_objFields;
};
