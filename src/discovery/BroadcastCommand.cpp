#include "discovery/BroadcastCommand.h"

#include <algorithm>
#include <cstdint>

#include "discovery/WireFormat.h"
#include "transport/CommandBuffer.h"

using namespace discovery_wire;

namespace {

// Offsets and widths of the body.
constexpr unsigned kDeviceIdAt = 0, kTextId = 32;
constexpr unsigned kManufacturerIdAt = 32;
constexpr unsigned kDeviceTypeAt = 64;
constexpr unsigned kManufacturerNameAt = 68;
constexpr unsigned kHardwareAt = 112, kVersionWidth = 16;
constexpr unsigned kSoftwareAt = 128;
constexpr unsigned kControlPortAt = 156;
constexpr unsigned kRegisterPortAt = 158;
constexpr unsigned kHttpPortAt = 160;
constexpr unsigned kLocalIpAt = 162, kLocalIpWidth = 48;
constexpr unsigned kDeviceTimeAt = 210, kDeviceTimeWidth = 64;

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
    if (!out.alloc(CommandHead::kSize + m_nBodySize)) return -2;
    setBodyLength(m_nBodySize);
    CommandBuffer head;
    if (encodeHead(head) != 0 || !out.append(head)) return -2;
    if (out.getCapacity() < static_cast<unsigned>(m_nMinCapacity)) return -2;

    bool ok = appendFixedText(out, m_objSummary.getDeviceId(), kTextId) &&
              appendFixedText(out, m_objSummary.getManufacturerId(), kTextId) &&
              appendBig32(out, static_cast<uint32_t>(m_objSummary.getDeviceType())) &&
              appendFixedText(out, m_objSummary.getManufacturerName(), kTextId) && appendBig32(out, 1) &&
              appendBig32(out, 1) && appendBig32(out, 1) &&
              appendFixedText(out, m_objSummary.getHardWareInfo(), kVersionWidth) &&
              appendFixedText(out, m_objSummary.getSoftWareInfo(), kVersionWidth) && appendBig32(out, 1) &&
              appendBig32(out, 1) && appendBig32(out, 1) && appendBig16(out, kSentControlPort) &&
              appendBig16(out, kSentRegisterPort) && appendBig16(out, kSentHttpPort) &&
              appendFixedText(out, m_objNetwork.getLocalIp(), kLocalIpWidth) &&
              appendFixedText(out, m_objSummary.getDeviceTime(), kDeviceTimeWidth);
    return ok ? 0 : -2;
}

int BroadcastCommand::decode(CommandBuffer& in) {
    int result = decodeHead(in);
    if (result != 0) return result;
    result = checkFrame(in, kCommandId);
    if (result != 0) return result;
    if (getBodyLength() < kMinBodySize) return -404;
    const unsigned bodyLength = static_cast<unsigned>(getBodyLength());
    const unsigned char* body = span(in, CommandHead::kSize, bodyLength);
    if (body == nullptr) return -404;

    // A field reaches at most to the end of the body.
    auto text = [&](unsigned at, unsigned width) {
        if (at >= bodyLength) return std::string();
        return readFixedText(body + at, std::min(width, bodyLength - at));
    };

    DeviceSummaryInfo summary;
    DeviceNetwork network;
    summary.setDeviceId(text(kDeviceIdAt, kTextId));
    summary.setManufacturerId(text(kManufacturerIdAt, kTextId));
    summary.setDeviceType(static_cast<int>(readBig32(body + kDeviceTypeAt)));
    summary.setManufacturerName(text(kManufacturerNameAt, kTextId));
    summary.setHardWareInfo(text(kHardwareAt, kVersionWidth));
    summary.setSoftWareInfo(text(kSoftwareAt, kVersionWidth));
    const uint16_t controlPort = readBig16(body + kControlPortAt);
    summary.setDevicePort(controlPort);
    network.setControlPort(controlPort);
    network.setRegisterPort(readBig16(body + kRegisterPortAt));
    network.setHttpPort(readBig16(body + kHttpPortAt));
    const std::string localIp = text(kLocalIpAt, kLocalIpWidth);
    summary.setDeviceIP(localIp);
    network.setLocalIp(localIp.c_str());
    summary.setDeviceTime(text(kDeviceTimeAt, kDeviceTimeWidth));

    m_objSummary = summary;
    m_objNetwork = network;
    return 0;
}
