#include "discovery/BroadcastCommand.h"

#include <cstdint>

#include "discovery/DiscoveryNames.h"
#include "transport/CommandBuffer.h"
#include "transport/WireBytes.h"

using namespace wire;

namespace {

// The body, in order (offset, width): device id (0, 32), manufacturer id
// (32, 32), device type (64, 4), manufacturer name (68, 32), three words
// of 1 (100, 12), hardware version (112, 16), software version (128, 16),
// three words of 1 (144, 12), control port (156, 2), register port (158,
// 2), HTTP port (160, 2), local address (162, 48), device time (210, 64).
constexpr unsigned kTextId = 32, kVersionWidth = 16, kLocalIpWidth = 48, kDeviceTimeWidth = 64;

// The ports a sender always writes.
constexpr uint16_t kSentControlPort = 30001;
constexpr uint16_t kSentRegisterPort = 0;
constexpr uint16_t kSentHttpPort = 80;

}  // namespace

BroadcastCommand::BroadcastCommand() : m_nBodySize(kBodySize), m_nMinCapacity(kBodySize) {
    setCommandId(kCommandId);
}

BroadcastCommand::BroadcastCommand(const DeviceSummaryInfo& summary, const DeviceNetwork& network)
    : BroadcastCommand() {
    m_objSummary = summary;
    m_objNetwork = network;
}

int BroadcastCommand::encode(CommandBuffer& out) {
    if (!out.alloc(CommandHead::kSize + m_nBodySize)) return kDiscoveryNoMemory;
    setBodyLength(m_nBodySize);
    CommandBuffer head;
    if (encodeHead(head) != 0 || !out.append(head)) return kDiscoveryNoMemory;
    if (out.getCapacity() < static_cast<unsigned>(m_nMinCapacity)) return kDiscoveryNoMemory;

    bool ok = appendText(out, m_objSummary.getDeviceId(), kTextId) &&
              appendText(out, m_objSummary.getManufacturerId(), kTextId) &&
              appendU32(out, static_cast<uint32_t>(m_objSummary.getDeviceType())) &&
              appendText(out, m_objSummary.getManufacturerName(), kTextId) && appendU32(out, 1) &&
              appendU32(out, 1) && appendU32(out, 1) &&
              appendText(out, m_objSummary.getHardWareInfo(), kVersionWidth) &&
              appendText(out, m_objSummary.getSoftWareInfo(), kVersionWidth) && appendU32(out, 1) &&
              appendU32(out, 1) && appendU32(out, 1) && appendU16(out, kSentControlPort) &&
              appendU16(out, kSentRegisterPort) && appendU16(out, kSentHttpPort) &&
              appendText(out, m_objNetwork.getLocalIp(), kLocalIpWidth) &&
              appendText(out, m_objSummary.getDeviceTime(), kDeviceTimeWidth);
    return ok ? 0 : kDiscoveryNoMemory;
}

int BroadcastCommand::decode(CommandBuffer& in) {
    int result = decodeHead(in);
    if (result != 0) return result;
    result = checkFrame(in, kCommandId);
    if (result != 0) return result;
    if (getBodyLength() < kMinBodySize) return kBodyNotDecoded;
    // The body alone; a field reaches at most to its end.
    Reader frame = Reader::of(in);
    const unsigned char* bytes = nullptr;
    if (!frame.skip(CommandHead::kSize) || !frame.readBytes(static_cast<unsigned>(getBodyLength()), bytes)) {
        return kBodyNotDecoded;
    }
    Reader body(bytes, static_cast<unsigned>(getBodyLength()));

    DeviceSummaryInfo summary;
    DeviceNetwork network;
    uint32_t deviceType = 0;
    uint16_t controlPort = 0, registerPort = 0, httpPort = 0;
    summary.setDeviceId(body.readText(kTextId));
    summary.setManufacturerId(body.readText(kTextId));
    body.readU32(deviceType);
    summary.setDeviceType(static_cast<int>(deviceType));
    summary.setManufacturerName(body.readText(kTextId));
    body.skip(12);
    summary.setHardWareInfo(body.readText(kVersionWidth));
    summary.setSoftWareInfo(body.readText(kVersionWidth));
    body.skip(12);
    body.readU16(controlPort);
    body.readU16(registerPort);
    body.readU16(httpPort);
    summary.setDevicePort(controlPort);
    network.setControlPort(controlPort);
    network.setRegisterPort(registerPort);
    network.setHttpPort(httpPort);
    const std::string localIp = body.readText(kLocalIpWidth);
    summary.setDeviceIP(localIp);
    network.setLocalIp(localIp.c_str());
    summary.setDeviceTime(body.readText(kDeviceTimeWidth));

    m_objSummary = summary;
    m_objNetwork = network;
    return 0;
}
