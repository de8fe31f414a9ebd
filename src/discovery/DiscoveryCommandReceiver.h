#pragma once

#include "Product/Technic/SafePointer.h"
#include "transport/CommandBuffer.h"

class DeviceAccessParam;
class DeviceSummaryInfo;
class HostNetwork;
class ITransfer;

// Reads one datagram of the multicast receive port and fills the records of
// the device it announces. One receiver may read several datagrams in turn:
// it keeps its receive buffer between them.
class DiscoveryCommandReceiver {
  public:
    static constexpr int kDefaultTimeoutMs = 2000;

    DiscoveryCommandReceiver();

    // 0; -4 for a null transfer; a result of ITransfer::recv (-213 when no
    // datagram came in time); otherwise the result of handle().
    int receive(const SafePointer<ITransfer>& transfer, DeviceAccessParam& access, DeviceSummaryInfo& summary,
                HostNetwork& network);

    // Decodes a received datagram (the buffer's length is the datagram's) and
    // fills the records. 0; -231 for a bad envelope; -233 when the payload
    // cannot be advanced over; -402 for a short head; -401 for an unknown
    // identifier; the decode result of the command. The records are
    // untouched on failure.
    int handle(CommandBuffer& datagram, DeviceAccessParam& access, DeviceSummaryInfo& summary,
               HostNetwork& network);

    int getTimeout() const { return m_nTimeoutMs; }
    // 0 takes only a datagram that is queued already.
    void setTimeout(int ms) { m_nTimeoutMs = ms; }

  private:
    // One fill step per command identifier: 16, 20, 23.
    int fillFromBroadcast(CommandBuffer& payload, DeviceAccessParam& access, DeviceSummaryInfo& summary);
    int fillFromDeviceBaseInfo(CommandBuffer& payload, DeviceAccessParam& access, DeviceSummaryInfo& summary);
    int fillFromMulticast(CommandBuffer& payload, DeviceAccessParam& access, DeviceSummaryInfo& summary,
                          HostNetwork& network);

    int m_nTimeoutMs;
    CommandBuffer m_objDatagram;
};
