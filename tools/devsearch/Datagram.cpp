#include "Datagram.h"

#include <cstdio>
#include <cstring>
#include <typeinfo>

#include "domain/xml/DomainXmlNode.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"

namespace {

std::string format(const char* fmt, unsigned a = 0, unsigned b = 0, unsigned c = 0) {
    char text[256];
    std::snprintf(text, sizeof(text), fmt, a, b, c);
    return text;
}

// Why the library refused a datagram whose head is sound.
std::string bodyReason(const std::vector<unsigned char>& bytes, const SDKCommandHeadInfo& head) {
    const std::string format_ = bodyFormatName(head.nCommandID);
    if (format_ != "XML") {
        return "the " + format_ + " body of command " + std::to_string(head.nCommandID) +
               " does not parse: a length field is 0, negative or points past the body";
    }
    const char* text = reinterpret_cast<const char*>(bytes.data() + SDKCommandHeadParser::kHeadLength);
    std::string document(text, strnlen(text, head.nPayloadLength));
    // Zero bytes behind the text, as the body parser adds them: the XML library
    // may step over a final zero after a UTF-8 lead byte.
    document.append(8, '\0');
    SafePointer<DomainXmlNode> root;
    if (!DomainXmlNode::fromString(document, root)) {
        return "the XML body of command " + std::to_string(head.nCommandID) +
               " is not a well-formed document with a root element";
    }
    return "a record in the XML body of command " + std::to_string(head.nCommandID) +
           " was refused by its codec (a mandatory attribute or child is missing; the codec's line is above)";
}

}  // namespace

std::string bodyFormatName(unsigned commandId) {
    ICommandBodyParser* parser = createBodyParser(commandId);
    if (parser == nullptr) {
        return "unknown";
    }
    std::string name = dynamic_cast<SDKNormalXmlBodyParser*>(parser) != nullptr
                           ? std::string("XML")
                           : demangleTypeName(typeid(*parser).name());
    delete parser;
    return name;
}

bool parseDatagram(const std::vector<unsigned char>& bytes, SafePointer<CommandParam>& param,
                   std::string& reason) {
    const unsigned size = static_cast<unsigned>(bytes.size());
    const unsigned char* data = bytes.data();
    switch (SDKCommandHeadParser::checkHead(data, size)) {
        case SDKCommandHeadParser::HeadCheck::Ok:
            break;
        case SDKCommandHeadParser::HeadCheck::TooShort:
            reason = format("too short for an SDK command: %u bytes, the head alone has 24", size);
            return false;
        case SDKCommandHeadParser::HeadCheck::BadMagic:
            reason =
                format("not an SDK command: it starts with 0x%02X 0x%02X, the head starts with 0xAF 0xAF",
                       data[0], data[1]);
            return false;
        case SDKCommandHeadParser::HeadCheck::BadEndMark:
            reason = format("damaged head: byte 23 is 0x%02X, the end mark is 0x23", data[23]);
            return false;
        case SDKCommandHeadParser::HeadCheck::BadCheckByte:
            reason = format("damaged head: check byte 0x%02X, but bytes 0 to 21 give 0x%02X", data[22],
                            SDKCommandHeadParser::checkByte(data));
            return false;
    }
    SDKCommandHeadInfo head;
    SDKCommandHeadParser::readHead(data, size, head);
    const unsigned behind = size - SDKCommandHeadParser::kHeadLength;
    if (head.nPayloadLength > behind) {
        reason = format("truncated: the head announces %u body bytes, only %u follow it", head.nPayloadLength,
                        behind);
        return false;
    }

    CommandBuffer buffer;
    if (!buffer.alloc(static_cast<int>(size)) || !buffer.append(data, size)) {
        reason = "out of memory";
        return false;
    }
    SDKCommandParser parser;
    if (!parser.parseCommand(buffer, param)) {
        reason = bodyReason(bytes, head);
        return false;
    }
    return true;
}
