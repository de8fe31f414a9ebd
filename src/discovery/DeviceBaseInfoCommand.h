#pragma once

#include <string>

#include <tinyxml.h>

#include "discovery/Command.h"
#include "domain/records/DeviceBaseInfo.h"
#include "domain/records/Version.h"

// Carries the Version child of a DeviceBaseInfo body between record and element.
class VersionDocument : public Version {
  public:
    VersionDocument();
    explicit VersionDocument(const Version& version);
    VersionDocument(const VersionDocument&) = delete;
    VersionDocument& operator=(const VersionDocument&) = delete;

    // The element Version with its two attributes.
    TiXmlElement buildElement() const;
    // Reads both attributes of `element`; an absent one gives empty text.
    void parseElement(const TiXmlElement& element);
};

// Carries a DeviceBaseInfo body between record and text through a TinyXML document.
class DeviceBaseInfoDocument : public DeviceBaseInfo {
  public:
    DeviceBaseInfoDocument();
    explicit DeviceBaseInfoDocument(const DeviceBaseInfo& record);
    DeviceBaseInfoDocument(const DeviceBaseInfoDocument&) = delete;
    DeviceBaseInfoDocument& operator=(const DeviceBaseInfoDocument&) = delete;

    // Builds the element with its attributes, the Version child and an empty
    // CameraDevcieList, and prints it with a tab as indent. False on failure.
    bool build();
    // Parses `text` (up to its first zero byte) into the fields. False on a
    // parse error or when no top-level element is named DeviceBaseInfo.
    bool parse(const std::string& text);

    const std::string& getText() const { return m_strText; }

  private:
    std::string m_strText;
    TiXmlElement* m_pCurrent;
    TiXmlDocument m_objDocument;
};

// Identifier 20: a device's fuller description as an XML DeviceBaseInfo body.
class DeviceBaseInfoCommand : public Command {
  public:
    static constexpr int kCommandId = 20;

    DeviceBaseInfoCommand();
    // A command that will encode this record (the sending side).
    explicit DeviceBaseInfoCommand(const DeviceBaseInfo& record);

    // 0, or -2 when the document or the buffer fails.
    int encode(CommandBuffer& out) override;
    // 0, the result of decodeHead, -401 for another identifier, -404 for a
    // wrong body length or a body that is no DeviceBaseInfo document.
    int decode(CommandBuffer& in) override;

    const DeviceBaseInfo& getDeviceBaseInfo() const { return m_objDeviceBaseInfo; }

  private:
    DeviceBaseInfo m_objDeviceBaseInfo;
};
