#pragma once

#include <cstdint>

#include "domain/DomainList.h"
#include "protocol/CommandHeadInfo.h"

// A command in memory: the protocol it belongs to, and for the SDK protocol
// its head and its body as a list of records.
class CommandParam {
  public:
    CommandParam() = default;
    CommandParam(const CommandParam&) = default;
    CommandParam& operator=(const CommandParam&) = default;
    virtual ~CommandParam();

    // 1 means the SDK protocol, the only one defined.
    int32_t m_nProtocolType = 0;
};

class SDKCommandParam : public CommandParam {
  public:
    static constexpr int32_t kProtocolType = 1;

    SDKCommandParam() { m_nProtocolType = kProtocolType; }
    SDKCommandParam(const SDKCommandParam&) = default;
    SDKCommandParam& operator=(const SDKCommandParam&) = default;
    ~SDKCommandParam() override;

    SDKCommandHeadInfo m_objHead;
    // The body; the records are shared with whoever else holds them.
    DomainList m_domains;
};
