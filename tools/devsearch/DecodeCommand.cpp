// devsearch decode: prints the head and the body of one raw SDK datagram.
#include <cstring>
#include <string>

#include "Datagram.h"
#include "Subcommand.h"
#include "ToolSupport.h"
#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKNormalXmlBodyParser.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/records/EtResult.h"

namespace {

const char* const kUsage =
    "Usage: devsearch decode [FILE]\n"
    "\n"
    "Reads one raw SDK datagram (24-byte head and body) from FILE, or from standard\n"
    "input when FILE is '-' or missing, and prints its head fields and its body:\n"
    "the XML document with the records read from it, or the fields of a binary body.\n"
    "\n"
    "Exit status: 0 printed; 1 bad arguments or unreadable input; 2 the datagram does\n"
    "not parse (the reason is one line on standard error).\n";

void printHex(FILE* out, const unsigned char* data, int length) {
    if (data == nullptr || length <= 0) {
        std::fputs("    (no bytes)\n", out);
        return;
    }
    for (int row = 0; row < length; row += 16) {
        std::fprintf(out, "    %08x ", row);
        for (int i = row; i < row + 16; ++i) {
            if (i < length) {
                std::fprintf(out, " %02x", data[i]);
            } else {
                std::fputs("   ", out);
            }
        }
        std::fputs("  |", out);
        for (int i = row; i < row + 16 && i < length; ++i) {
            std::fputc(data[i] >= 0x20 && data[i] < 0x7F ? data[i] : '.', out);
        }
        std::fputs("|\n", out);
    }
}

void printHead(FILE* out, const SDKCommandHeadInfo& head) {
    std::fprintf(out,
                 "head:\n"
                 "  version        %u\n"
                 "  sequence       %u\n"
                 "  flagA          %s\n"
                 "  flagB          %s\n"
                 "  commandID      %u (0x%X)\n"
                 "  context        %u\n"
                 "  payloadLength  %u\n",
                 head.nVersion, head.nSequence, head.bFlagA ? "true" : "false",
                 head.bFlagB ? "true" : "false", head.nCommandID, head.nCommandID, head.nContext,
                 head.nPayloadLength);
}

// Fields of the records that the binary bodies carry.
void printBinaryRecord(FILE* out, const BaseDomain& record) {
    if (const auto* result = dynamic_cast<const EtResult*>(&record)) {
        std::fprintf(out, "  EtResult: Code %d\n", result->getCode());
    } else if (const auto* data = dynamic_cast<const DataBuffer*>(&record)) {
        std::fprintf(out, "  DataBuffer: %d bytes\n", data->getLength());
        printHex(out, data->getData(), data->getLength());
    } else if (const auto* pack = dynamic_cast<const EtFileDataPack*>(&record)) {
        std::fprintf(out, "  EtFileDataPack: flag %u, %d bytes\n", static_cast<unsigned>(pack->getFlag()),
                     pack->getData().getLength());
        printHex(out, pack->getData().getData(), pack->getData().getLength());
    } else if (const auto* write = dynamic_cast<const EtCOMWriteData*>(&record)) {
        std::fprintf(out, "  EtCOMWriteData: value1 %d, value2 %d, %d bytes of serial data\n",
                     write->getValue1(), write->getValue2(), write->getComData().getLength());
        printHex(out, write->getComData().getData(), write->getComData().getLength());
    } else if (const auto* ptz = dynamic_cast<const EtPTZOperation*>(&record)) {
        std::fprintf(out, "  EtPTZOperation: CameraId %d, PTZId %d\n", ptz->getCameraId(), ptz->getPTZId());
        std::fprintf(out, "    PTZOperation \"%s\"\n", ptz->getPTZOperation().c_str());
        std::fprintf(out, "    Name \"%s\"\n", ptz->getName().c_str());
    } else {
        std::fprintf(out, "  record %d\n", record.getDomainId());
    }
}

void printXmlBody(FILE* out, const std::vector<unsigned char>& bytes, const SDKCommandParam& command) {
    const char* text = reinterpret_cast<const char*>(bytes.data() + SDKCommandHeadParser::kHeadLength);
    const size_t length = strnlen(text, command.m_objHead.nPayloadLength);
    std::fprintf(out, "body: XML, %zu bytes of text\n", length);
    std::fwrite(text, 1, length, out);
    if (length > 0 && text[length - 1] != '\n') {
        std::fputc('\n', out);
    }
    SDKNormalXmlBodyParser names;
    std::fprintf(out, "records: %zu\n", command.m_domains.size());
    for (size_t i = 0; i < command.m_domains.size(); ++i) {
        const SafePointer<BaseDomain>& record = command.m_domains[i];
        std::string name;
        if (!names.getNodeName(record, name)) {
            name = "(no element name)";
        }
        const auto* container = dynamic_cast<const DomainContainer*>(record.get());
        if (container != nullptr) {
            std::fprintf(out, "  [%zu] %s: list of record %d\n", i, name.c_str(),
                         container->getElementDomainId());
        } else {
            std::fprintf(out, "  [%zu] %s: record %d\n", i, name.c_str(), record->getDomainId());
        }
    }
}

}  // namespace

int runDecode(const std::vector<std::string>& args, ToolStreams& io) {
    std::string path;
    const int early = parseSingleInputArgs(args, "decode", kUsage, io, path);
    if (early >= 0) {
        return early;
    }
    std::vector<unsigned char> bytes;
    std::string error;
    if (!readInput(path, bytes, error)) {
        std::fprintf(io.err, "devsearch decode: %s\n", error.c_str());
        return kExitUsage;
    }
    SafePointer<CommandParam> param;
    std::string reason;
    if (!parseDatagram(bytes, param, reason)) {
        std::fprintf(io.err, "devsearch decode: %s: %s\n", inputName(path).c_str(), reason.c_str());
        return kExitRefused;
    }
    const auto& command = dynamic_cast<const SDKCommandParam&>(*param);
    const SDKCommandHeadInfo& head = command.m_objHead;
    printHead(io.out, head);
    const std::string format = bodyFormatName(head.nCommandID);
    if (format == "XML") {
        printXmlBody(io.out, bytes, command);
    } else {
        std::fprintf(io.out, "body: %s, %u bytes\n", format.c_str(), head.nPayloadLength);
        for (const SafePointer<BaseDomain>& record : command.m_domains) {
            printBinaryRecord(io.out, *record);
        }
    }
    const size_t used = SDKCommandHeadParser::kHeadLength + head.nPayloadLength;
    if (bytes.size() > used) {
        std::fprintf(io.out, "trailing: %zu bytes behind the body, ignored\n", bytes.size() - used);
    }
    return kExitOk;
}
