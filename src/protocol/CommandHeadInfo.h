#pragma once

#include <cstdint>

// Head of a command in memory. The base carries what every protocol's head
// has; SDKCommandHeadInfo adds the fields of the 24-byte SDK head.
class CommandHeadInfo {
  public:
    CommandHeadInfo() = default;
    CommandHeadInfo(const CommandHeadInfo&) = default;
    CommandHeadInfo& operator=(const CommandHeadInfo&) = default;
    virtual ~CommandHeadInfo();

    // 1 is the SDK protocol. Only createCommandHead tests it.
    int32_t m_nProtocolType = 0;
    // Number of body bytes behind the head.
    uint32_t nPayloadLength = 0;
};

class SDKCommandHeadInfo : public CommandHeadInfo {
  public:
    SDKCommandHeadInfo() = default;
    SDKCommandHeadInfo(const SDKCommandHeadInfo&) = default;
    SDKCommandHeadInfo& operator=(const SDKCommandHeadInfo&) = default;
    ~SDKCommandHeadInfo() override;

    // Written as 1 by createCommand; a reader stores what it finds.
    uint16_t nVersion = 0;
    // Set by the sender; nothing in the library compares it.
    uint16_t nSequence = 0;
    // Bit 7 of head bytes 6 and 7; carried, never interpreted.
    bool bFlagA = false;
    bool bFlagB = false;
    uint32_t nCommandID = 0;
    // Carried for the sender, never interpreted.
    uint32_t nContext = 0;
};
