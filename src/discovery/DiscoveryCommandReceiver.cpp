#include "discovery/DiscoveryCommandReceiver.h"

#include "discovery/BroadcastCommand.h"
#include "discovery/CommandHead.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "discovery/DiscoveryEnvelope.h"
#include "discovery/MulticastCommand.h"
#include "domain/records/DeviceAccessParam.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/HostNetwork.h"
#include "domain/records/InetAddr.h"
#include "transport/CommandBuffer.h"
#include "transport/ITransfer.h"

DiscoveryCommandReceiver::DiscoveryCommandReceiver() : m_nTimeoutMs(kDefaultTimeoutMs) {}

int DiscoveryCommandReceiver::receive(const SafePointer<ITransfer>& transfer, DeviceAccessParam& access,
                                      DeviceSummaryInfo& summary, HostNetwork& network) {
    if (transfer.isNull()) return -4;
    InetAddr from;
    int result = transfer->recv(&m_objDatagram, m_nTimeoutMs, &from);
    if (result != 0) return result;
    return handle(m_objDatagram, access, summary, network);
}

int DiscoveryCommandReceiver::handle(CommandBuffer& datagram, DeviceAccessParam& access,
                                     DeviceSummaryInfo& summary, HostNetwork& network) {
    DiscoveryEnvelope envelope;
    if (envelope.decode(datagram) != 0) return -231;
    if (!datagram.consume(DiscoveryEnvelope::kSize)) return -233;

    // The head alone tells the identifier, which picks the body.
    CommandHead probe;
    int result = probe.decode(datagram);
    if (result != 0) return result;
    switch (probe.m_nCommandId) {
        case BroadcastCommand::kCommandId:
            return fillFromBroadcast(datagram, access, summary);
        case DeviceBaseInfoCommand::kCommandId:
            return fillFromDeviceBaseInfo(datagram, access, summary);
        case MulticastCommand::kCommandId:
            return fillFromMulticast(datagram, access, summary, network);
        default:
            return -401;
    }
}

int DiscoveryCommandReceiver::fillFromBroadcast(CommandBuffer& payload, DeviceAccessParam& access,
                                                DeviceSummaryInfo& summary) {
    BroadcastCommand command;
    int result = command.decode(payload);
    if (result != 0) return result;
    const DeviceNetwork& net = command.getDeviceNetwork();
    access.setLocalIp(net.getLocalIp());
    access.setControlPort(net.getControlPort());
    access.setHttpPort(net.getHttpPort());
    summary = command.getDeviceSummaryInfo();
    return 0;
}

int DiscoveryCommandReceiver::fillFromDeviceBaseInfo(CommandBuffer& payload, DeviceAccessParam& access,
                                                     DeviceSummaryInfo& summary) {
    DeviceBaseInfoCommand command;
    int result = command.decode(payload);
    if (result != 0) return result;
    const DeviceBaseInfo& info = command.getDeviceBaseInfo();
    access.setLocalIp(info.getDeviceIP());
    access.setControlPort(info.getDevicePort());
    summary.setDeviceIP(info.getDeviceIP());
    summary.setDevicePort(info.getDevicePort());
    summary.setDeviceId(info.getDeviceID());
    summary.setDeviceType(info.getDeviceType());
    summary.setManufacturerId(info.getManufacturerId());
    summary.setHardWareInfo(info.getVersion().getHardwareVer());
    summary.setSoftWareInfo(info.getVersion().getSoftwareVer());
    summary.setProductModel(info.getProductModel());
    summary.setDeviceTime(info.getDeviceTime());
    return 0;
}

int DiscoveryCommandReceiver::fillFromMulticast(CommandBuffer& payload, DeviceAccessParam& access,
                                                DeviceSummaryInfo& summary, HostNetwork& network) {
    MulticastCommand command;
    int result = command.decode(payload);
    if (result != 0) return result;
    access.setLocalIp(command.getDeviceIP());
    access.setControlPort(command.getControlPort());
    summary.setDeviceIP(command.getDeviceIP());
    summary.setDevicePort(command.getControlPort());
    summary.setDeviceId(command.getDeviceId());
    summary.setDeviceType(command.getDeviceType());
    summary.setProductModel(command.getProductModel());
    summary.setHardWareInfo(command.getHardwareVer());
    summary.setSoftWareInfo(command.getSoftwareVer());
    summary.setDeviceTime(command.getDeviceTime());
    network.setLocalIp(command.getDeviceIP());
    network.setLocalSubnetMask(command.getSubnetMask());
    network.setGateway(command.getGateway());
    network.setPrimaryDNSIp(command.getPreferredDNSIP());
    return 0;
}
