#include "protocol/SDKCommandHeadParser.h"

#include "transport/WireBytes.h"
#include "protocol/MakeSafe.h"

using namespace wire;

CommandHeadInfo::~CommandHeadInfo() = default;
SDKCommandHeadInfo::~SDKCommandHeadInfo() = default;
ICommandHeadParser::~ICommandHeadParser() = default;
SDKCommandHeadParser::~SDKCommandHeadParser() = default;

unsigned char SDKCommandHeadParser::checkByte(const unsigned char* bytes) {
    unsigned char x = 0;
    for (unsigned i = 0; i < 22; ++i) {
        x ^= bytes[i];
    }
    return x;
}

void SDKCommandHeadParser::encodeHead(const SDKCommandHeadInfo& head, unsigned char bytes[kHeadLength]) {
    bytes[0] = kMagic;
    bytes[1] = kMagic;
    storeU16(bytes + 2, head.nVersion);
    storeU16(bytes + 4, head.nSequence);
    bytes[6] = head.bFlagA ? kFlagBit : 0;
    bytes[7] = head.bFlagB ? kFlagBit : 0;
    storeU32(bytes + 8, head.nCommandID);
    storeU32(bytes + 12, head.nContext);
    storeU32(bytes + 16, head.nPayloadLength);
    bytes[20] = 0;
    bytes[21] = 0;
    bytes[22] = checkByte(bytes);
    bytes[23] = kEndMark;
}

bool SDKCommandHeadParser::writeHead(const SDKCommandHeadInfo& head, CommandBuffer& out) {
    if (!out.alloc(kHeadLength)) {
        return false;
    }
    unsigned char bytes[kHeadLength];
    encodeHead(head, bytes);
    return out.append(bytes, kHeadLength);
}

SDKCommandHeadParser::HeadCheck SDKCommandHeadParser::checkHead(const unsigned char* data, unsigned length) {
    if (data == nullptr || length < kHeadLength) {
        return HeadCheck::TooShort;
    }
    if (data[0] != kMagic || data[1] != kMagic) {
        return HeadCheck::BadMagic;
    }
    if (data[23] != kEndMark) {
        return HeadCheck::BadEndMark;
    }
    if (data[22] != checkByte(data)) {
        return HeadCheck::BadCheckByte;
    }
    return HeadCheck::Ok;
}

bool SDKCommandHeadParser::readHead(const unsigned char* data, unsigned length, SDKCommandHeadInfo& head) {
    if (checkHead(data, length) != HeadCheck::Ok) {
        return false;
    }
    head.nVersion = loadU16(data + 2);
    head.nSequence = loadU16(data + 4);
    head.bFlagA = (data[6] & kFlagBit) != 0;
    head.bFlagB = (data[7] & kFlagBit) != 0;
    head.nCommandID = loadU32(data + 8);
    head.nContext = loadU32(data + 12);
    head.nPayloadLength = loadU32(data + 16);
    return true;
}

bool SDKCommandHeadParser::createCommandHead(const SafePointer<CommandHeadInfo>& head, CommandBuffer& out) {
    if (head.isNull() || head->m_nProtocolType != 1) {
        return false;
    }
    const auto* sdkHead = dynamic_cast<const SDKCommandHeadInfo*>(head.get());
    if (sdkHead == nullptr) {
        return false;
    }
    return writeHead(*sdkHead, out);
}

bool SDKCommandHeadParser::parseCommandHead(const char* data, unsigned length,
                                            SafePointer<CommandHeadInfo>& head) {
    SDKCommandHeadInfo read;
    if (!readHead(reinterpret_cast<const unsigned char*>(data), length, read)) {
        return false;
    }
    SafePointer<SDKCommandHeadInfo> made = protocol_detail::makeSafe<SDKCommandHeadInfo>(read);
    if (made.isNull()) {
        return false;
    }
    head = made;
    return true;
}

bool SDKCommandHeadParser::parseCommandHead(const CommandBuffer& in, SafePointer<CommandHeadInfo>& head) {
    return parseCommandHead(reinterpret_cast<const char*>(in.getCursor()), readableLength(in), head);
}
