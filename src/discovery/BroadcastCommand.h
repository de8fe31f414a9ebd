#pragma once

#include "devsearch/DeviceNetwork.h"
#include "discovery/Command.h"
#include "domain/records/DeviceSummaryInfo.h"

// Identifier 16: a device's announcement with a fixed binary body of 274
// bytes (big-endian integers, zero-filled text fields).
class BroadcastCommand : public Command {
  public:
    static constexpr int kCommandId = 16;
    static constexpr int kBodySize = 274;
    // A body that stops before the last field (the 64-byte device time) is
    // still accepted.
    static constexpr int kMinBodySize = 210;

    BroadcastCommand();
    // A command that will encode this record and network (the sending side).
    BroadcastCommand(const DeviceSummaryInfo& summary, const DeviceNetwork& network);

    // 0, or -2 when the buffer cannot be allocated or written.
    int encode(CommandBuffer& out) override;
    // 0, the result of decodeHead, -401 for another identifier, -404 for a
    // wrong or too short body.
    int decode(CommandBuffer& in) override;

    const DeviceNetwork& getDeviceNetwork() const { return m_objNetwork; }
    const DeviceSummaryInfo& getDeviceSummaryInfo() const { return m_objSummary; }

  private:
    int m_nBodySize;
    DeviceNetwork m_objNetwork;
    DeviceSummaryInfo m_objSummary;
    int m_nMinCapacity;
};
