#include "protocol/SDKCommandParser.h"

#include <climits>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include "Product/Technic/OLTrace.h"
#include "protocol/BinaryBodyParsers.h"
#include "transport/WireBytes.h"
#include "protocol/CommandParam.h"
#include "protocol/MakeSafe.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"

namespace {

const char* const kFile = "SDKCommandParser.cpp";

bool traceDetailPasses() {
    const OLTraceConfig& config = OLTraceConfig::getInstance();
    return config.isEnabled() && config.getLevel() >= 3;
}

}  // namespace

ICommandProtocolParser::~ICommandProtocolParser() = default;
ICommandBodyParser::~ICommandBodyParser() = default;
CommandParam::~CommandParam() = default;
SDKCommandParam::~SDKCommandParam() = default;
SDKCommandParser::~SDKCommandParser() = default;

ICommandBodyParser* createBodyParser(unsigned commandId) {
    switch (commandId) {
        case 14006:
            return new (std::nothrow) PTZOperationBodyParser();
        case 15020:
        case 47005:
            return new (std::nothrow) FileReadDataCommandBodyParser();
        case 31026:
        case 32743:
        case 32821:
        case 33028:
            return new (std::nothrow) RemoteSnapshotRespBodyParser();
        case 33019:
            return new (std::nothrow) COMWriteDataCommandBodyParser();
        case 33026:
            return new (std::nothrow) ParamImportReqBodyParser();
        default:
            return new (std::nothrow) SDKNormalXmlBodyParser();
    }
}

bool SDKCommandParser::createCommand(const SafePointer<CommandParam>& param, CommandBuffer& out) {
    if (param.isNull() || param->m_nProtocolType != SDKCommandParam::kProtocolType) {
        return false;
    }
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr) {
        return false;
    }
    SDKCommandHeadInfo head = command->m_objHead;

    // Made and dropped within the call: a plain owner, no registry entry.
    const std::unique_ptr<ICommandBodyParser> bodyParser(createBodyParser(head.nCommandID));
    if (bodyParser == nullptr) {
        OLTrace(1, kFile, "SDKCommandParser::createCommand nCommandId = %d createBodyParser failed \n",
                head.nCommandID);
        return false;
    }
    CommandBuffer body;
    if (!bodyParser->createCommandBody(command->m_domains, body)) {
        OLTrace(1, kFile, "SDKCommandParser::createCommand  nCommandId = %d createCommandBody failed \n",
                head.nCommandID);
        return false;
    }

    head.m_nProtocolType = command->m_nProtocolType;
    head.nPayloadLength = body.getLength();
    head.nVersion = 1;
    CommandBuffer headBytes;
    if (!SDKCommandHeadParser::writeHead(head, headBytes)) {
        return false;
    }

    const unsigned total = SDKCommandHeadParser::kHeadLength + body.getLength();
    if (body.getLength() > static_cast<unsigned>(INT_MAX) - SDKCommandHeadParser::kHeadLength) {
        return false;
    }
    if (!out.alloc(static_cast<int>(total))) {
        return false;
    }
    return out.append(headBytes) && (body.getLength() == 0 || out.append(body));
}

bool SDKCommandParser::parseCommand(const CommandBuffer& in, SafePointer<CommandParam>& param) {
    const unsigned char* data = in.getCursor();
    const unsigned length = wire::readableLength(in);
    SDKCommandHeadInfo head;
    if (!SDKCommandHeadParser::readHead(data, length, head)) {
        return false;
    }
    OLTrace(3, kFile, "recv:nPayloadLength =%d\n\n", head.nPayloadLength);

    // The declared body must stand entirely behind the head.
    const unsigned available = length - SDKCommandHeadParser::kHeadLength;
    if (head.nPayloadLength > available || head.nPayloadLength >= static_cast<unsigned>(INT_MAX)) {
        return false;
    }
    // One zeroed byte more than the body, so that the body can be read as text.
    CommandBuffer body;
    if (!body.alloc(static_cast<int>(head.nPayloadLength) + 1)) {
        return false;
    }
    if (!wire::appendBytes(body, data + SDKCommandHeadParser::kHeadLength, head.nPayloadLength)) {
        return false;
    }
    OLTrace(3, kFile, "recv:nCommandID =%d\n %s\n", head.nCommandID,
            reinterpret_cast<const char*>(body.getCursor()));

    // Made and dropped within the call: a plain owner, no registry entry.
    const std::unique_ptr<ICommandBodyParser> bodyParser(createBodyParser(head.nCommandID));
    if (bodyParser == nullptr) {
        OLTrace(1, kFile, "SDKCommandParser::parseCommand nCommandId = %d createBodyParser failed \n",
                head.nCommandID);
        return false;
    }
    if (traceDetailPasses()) {
        // The readable type name costs an allocation; only make it when the line prints.
        const ICommandBodyParser& bodyParserRef = *bodyParser;
        OLTrace(3, kFile, "SDKCommandParser::parseCommand  CommandBodyParser name is %s\n",
                demangleTypeName(typeid(bodyParserRef).name()).c_str());
    }

    DomainList domains;
    if (!bodyParser->parseCommandBody(body, domains)) {
        OLTrace(1, kFile, "SDKCommandParser::parseCommand  nCommandId = %d parseCommandBody failed \n",
                head.nCommandID);
        return false;
    }

    SafePointer<SDKCommandParam> command = protocol_detail::makeSafe<SDKCommandParam>();
    if (command.isNull()) {
        return false;
    }
    command->m_objHead = head;
    command->m_domains = std::move(domains);
    param = command;
    return true;
}
