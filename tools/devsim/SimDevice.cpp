#include "devsim/SimDevice.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "devsearch/DeviceNetwork.h"
#include "discovery/BroadcastCommand.h"
#include "discovery/CommandHead.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "discovery/MulticastCommand.h"
#include "discovery/XmlBody.h"
#include "transport/WireBytes.h"
#include "domain/records/DeviceBaseInfo.h"
#include "domain/records/Version.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

namespace {

const char* const kModels[] = {"IPC-2131", "IPC-5240", "NVR-3608", "PTZ-6225", "DVR-1104", "TC-0310"};
// Device types by model: cameras 1, recorders 2, speed domes 3, thermal 4.
const int kTypes[] = {1, 1, 2, 3, 2, 4};
constexpr int kModelCount = sizeof(kModels) / sizeof(kModels[0]);

std::string format(const char* pattern, int value) {
    char text[64];
    std::snprintf(text, sizeof(text), pattern, value);
    return text;
}

void copyOut(const CommandBuffer& buffer, Bytes& out) {
    out.assign(buffer.getCursor(), buffer.getCursor() + buffer.getLength());
}

}  // namespace

DeviceSummaryInfo makeSummary(const SimDeviceConfig& config) {
    const int i = config.index;
    DeviceSummaryInfo summary;
    summary.setDeviceId(config.idPrefix + format("%06d", i + 1));
    summary.setDeviceType(kTypes[i % kModelCount]);
    summary.setDeviceName(format("Simulated device %d", i + 1));
    summary.setDeviceIP(config.address);
    summary.setDevicePort(config.controlPort);
    char mac[32];
    std::snprintf(mac, sizeof(mac), "02:5e:00:%02x:%02x:%02x", (i >> 16) & 0xFF, (i >> 8) & 0xFF, i & 0xFF);
    summary.setMACAddr(mac);
    summary.setManufacturerName(config.manufacturer);
    summary.setManufacturerId("SIM");
    summary.setProductModel(config.model.empty() ? kModels[i % kModelCount] : config.model);
    summary.setSN(format("SN%08d", i + 1));
    summary.setSoftWareInfo(format("V3.%d.0", 10 + i % 7));
    summary.setHardWareInfo(format("HW1.%d", i % 4));
    summary.setUpdatePort("30009");
    summary.setHttpPort(format("%d", config.httpPort));
    summary.setDeviceTime(config.deviceTime);
    return summary;
}

bool buildSummaryAnswer(const DeviceSummaryInfo* summary, uint32_t commandId, uint16_t sequence, Bytes& out) {
    try {
        SafePointer<SDKCommandParam> answer = makeSafePointer<SDKCommandParam>();
        answer->m_objHead.nVersion = 1;
        answer->m_objHead.nSequence = sequence;
        answer->m_objHead.nCommandID = commandId;
        if (summary != nullptr) {
            answer->m_domains.push_back(
                SafePointer<BaseDomain>(makeSafePointer<DeviceSummaryInfo>(*summary)));
        }
        SDKCommandParser parser;
        CommandBuffer buffer;
        if (!parser.createCommand(SafePointer<CommandParam>(answer), buffer)) return false;
        copyOut(buffer, out);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void appendEnvelope(Bytes& out, uint32_t payloadLength, uint8_t marker) {
    // Marker, then the constructor defaults of the receiving side's envelope
    // (byte A 1, words A and B 1, the rest 0), then the payload length.
    unsigned char envelope[24] = {marker, 1, 0, 0, 0, 1, 0, 0, 0, 1};
    wire::storeU32(envelope + 20, payloadLength);
    out.insert(out.end(), envelope, envelope + sizeof(envelope));
}

bool buildAnnouncement(const SimDeviceConfig& config, const DeviceSummaryInfo& summary, Bytes& out) {
    CommandBuffer payload;
    int result = -1;
    if (config.form == BroadcastCommand::kCommandId) {
        DeviceNetwork network;
        network.setDeviceId(summary.getDeviceId().c_str());
        network.setLocalIp(config.address.c_str());
        BroadcastCommand command(summary, network);
        result = command.encode(payload);
    } else if (config.form == DeviceBaseInfoCommand::kCommandId) {
        DeviceBaseInfo record;
        record.setDeviceID(summary.getDeviceId());
        record.setDeviceName(summary.getDeviceName());
        record.setDeviceType(summary.getDeviceType());
        record.setDeviceIP(config.address);
        record.setDevicePort(config.controlPort);
        record.setManufacturerId(summary.getManufacturerId());
        record.setManufacturerName(summary.getManufacturerName());
        record.setProductModel(summary.getProductModel());
        record.setMACAddress(summary.getMACAddr());
        record.setBarCode(summary.getSN());
        record.setCameraNum(1);
        record.setDeviceTime(summary.getDeviceTime());
        Version version;
        version.setHardwareVer(summary.getHardWareInfo());
        version.setSoftwareVer(summary.getSoftWareInfo());
        record.setVersion(version);
        DeviceBaseInfoCommand command(record);
        result = command.encode(payload);
    } else {
        DeviceInfoFields fields;
        using discovery_xml::copyCut;
        copyCut(fields.m_szDeviceId, summary.getDeviceId().c_str());
        fields.m_nDeviceType = summary.getDeviceType();
        copyCut(fields.m_szManufacturerName, summary.getManufacturerName().c_str());
        copyCut(fields.m_szProductModel, summary.getProductModel().c_str());
        copyCut(fields.m_szMACAddress, summary.getMACAddr().c_str());
        copyCut(fields.m_szBarCode, summary.getSN().c_str());
        copyCut(fields.m_szHardwareVer, summary.getHardWareInfo().c_str());
        copyCut(fields.m_szSoftwareVer, summary.getSoftWareInfo().c_str());
        copyCut(fields.m_szDeviceIP, config.address.c_str());
        copyCut(fields.m_szSubnetMask, "255.255.255.0");
        copyCut(fields.m_szGateway, "");
        copyCut(fields.m_szPreferredDNSIP, "");
        fields.m_nControlPort = config.controlPort;
        copyCut(fields.m_szDeviceTime, summary.getDeviceTime().c_str());
        MulticastCommand command(fields);
        result = command.encode(payload);
    }
    if (result != 0) return false;
    out.clear();
    appendEnvelope(out, payload.getLength());
    out.insert(out.end(), payload.getCursor(), payload.getCursor() + payload.getLength());
    return true;
}

Bytes announcementCommand(int32_t commandId, int32_t bodyLength, const Bytes& body) {
    Bytes out(CommandHead::kSize + body.size(), 0);
    wire::storeU32(out.data(), static_cast<uint32_t>(commandId));
    out[4] = 1;   // lead byte
    out[69] = 1;  // trail byte
    wire::storeU32(out.data() + 72, static_cast<uint32_t>(bodyLength));
    std::copy(body.begin(), body.end(), out.begin() + CommandHead::kSize);
    return out;
}

Bytes sdkHead(uint32_t commandId, uint16_t sequence, uint32_t payloadLength) {
    Bytes head(24, 0);
    head[0] = 0xAF;
    head[1] = 0xAF;
    head[3] = 1;  // version
    head[4] = static_cast<uint8_t>(sequence >> 8);
    head[5] = static_cast<uint8_t>(sequence);
    wire::storeU32(head.data() + 8, commandId);
    wire::storeU32(head.data() + 16, payloadLength);
    uint8_t check = 0;
    for (int i = 0; i < 22; ++i) check ^= head[i];
    head[22] = check;
    head[23] = 0x23;
    return head;
}

bool readSdkHead(const Bytes& datagram, uint32_t& commandId, uint16_t& sequence) {
    if (datagram.size() < 24) return false;
    sequence = wire::loadU16(datagram.data() + 4);
    commandId = wire::loadU32(datagram.data() + 8);
    return true;
}

std::vector<MalformedDatagram> malformedAnswers(uint32_t answerCommand) {
    SimDeviceConfig config;
    config.address = "192.0.2.200";
    const DeviceSummaryInfo summary = makeSummary(config);
    Bytes good;
    buildSummaryAnswer(summary, answerCommand, 0, good);
    auto withBody = [&](const std::string& body) {
        Bytes d = sdkHead(answerCommand, 0, static_cast<uint32_t>(body.size()));
        d.insert(d.end(), body.begin(), body.end());
        return d;
    };
    auto headThen = [&](uint32_t length) {
        Bytes d = sdkHead(answerCommand, 0, length);
        d.insert(d.end(), good.begin() + 24, good.end());
        return d;
    };
    std::string deep = "<Parameters Version=\"1\">";
    for (int i = 0; i < 600; ++i) deep += "<a>";
    deep += "<DeviceSummaryInfo DeviceId=\"deep\" ProductModel=\"x\" />";
    for (int i = 0; i < 600; ++i) deep += "</a>";
    deep += "</Parameters>";
    std::string huge = "<Parameters Version=\"1\">";
    while (huge.size() < 5400) huge += "<UnknownElement Attr=\"0123456789\" />";
    huge += "</Parameters>";
    Bytes wrongCheck = good;
    wrongCheck[22] ^= 0x01;
    Bytes tooLong = good;
    tooLong.resize(6000, ' ');
    Bytes noSummary;
    buildSummaryAnswer(nullptr, answerCommand, 0, noSummary);
    return {
        {"TruncatedHead", Bytes(good.begin(), good.begin() + 10)},
        {"HeadOnly", Bytes(good.begin(), good.begin() + 24)},
        {"WrongCheckByte", wrongCheck},
        {"LengthPastTheEnd", headThen(static_cast<uint32_t>(good.size() - 24 + 100))},
        {"HugeDeclaredLength", headThen(0xFFFFFFF0u)},
        {"BodyNotXml", withBody("this is no document \x01\x02\x03")},
        {"BinaryBody", withBody(std::string("\0\0\0\xff\xfe<", 6))},
        {"UnclosedElement",
         withBody("<?xml version=\"1.0\"?>\n<Parameters Version=\"1\"><DeviceSummaryInfo ")},
        {"DeepDocument", withBody(deep)},
        {"HugeDocument", withBody(huge)},
        {"NoSummaryInBody", noSummary},
        {"Empty", Bytes()},
        {"LongerThanTheTransportTakes", tooLong},
    };
}

Bytes enveloped(const Bytes& payload, uint8_t marker) {
    Bytes out;
    appendEnvelope(out, static_cast<uint32_t>(payload.size()), marker);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

Bytes textBytes(const std::string& text, bool withZero) {
    Bytes out(text.begin(), text.end());
    if (withZero) out.push_back(0);
    return out;
}

Bytes bytesOf(const CommandBuffer& buffer) {
    return Bytes(buffer.getCursor(), buffer.getCursor() + buffer.getLength());
}

CommandBuffer bufferOf(const Bytes& bytes, unsigned capacity) {
    CommandBuffer buffer;
    const unsigned size = capacity != 0 ? capacity : static_cast<unsigned>(bytes.size());
    buffer.alloc(static_cast<int>(size == 0 ? 1 : size));
    if (!bytes.empty()) buffer.assign(bytes.data(), static_cast<unsigned>(bytes.size()));
    return buffer;
}
