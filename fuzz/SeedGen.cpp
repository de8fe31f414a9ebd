// Writes the seed corpora of the fuzz targets, one directory per target under
// DIR, and DIR/xml.dict, a dictionary of the element and attribute names that
// the seeds' documents use. Every datagram is made by the library's encoders:
// one per factory row (the row's default record, and its container holding
// one), the search answers and the three announcements; the binary bodies
// are written out by hand behind an encoded head.
#include <sys/stat.h>
#include <tinyxml.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "devsim/SimDevice.h"
#include "domain/DomainFactoryRows.h"
#include "domain/codecs/Base64.h"
#include "domain/xml/DomainXmlNode.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandHeadParser.h"
#include "protocol/SDKCommandParser.h"

namespace {

typedef std::vector<unsigned char> Bytes;
typedef SafePointer<BaseDomain> Record;

// Command identifiers of the search: multicast answer, range answer.
constexpr unsigned kMulticastAnswer = 30540;
constexpr unsigned kRangeAnswer = 30542;

std::string g_dir;
std::set<std::string> g_names;  // for the dictionary
int g_count = 0;
bool g_ok = true;

void write(const std::string& path, const std::string& bytes) {
    if (!(std::ofstream(path, std::ios::binary) << bytes)) {
        std::fprintf(stderr, "fuzz_seedgen: cannot write '%s'\n", path.c_str());
        g_ok = false;
    }
}

// A seed; an empty one (an encoder refused) is left out.
void put(const std::string& target, const std::string& name, const Bytes& bytes) {
    if (bytes.empty()) return;
    mkdir((g_dir + "/" + target).c_str(), 0755);
    write(g_dir + "/" + target + "/" + name, std::string(bytes.begin(), bytes.end()));
    ++g_count;
}

void collect(const TiXmlElement* element) {
    for (; element != nullptr; element = element->NextSiblingElement()) {
        g_names.insert(element->Value());
        for (const TiXmlAttribute* a = element->FirstAttribute(); a != nullptr; a = a->Next())
            g_names.insert(std::string(" ") + a->Name() + "=\"");
        collect(element->FirstChildElement());
    }
}

// Element and attribute names of an XML body: the datagram from `offset`.
void collectNames(const Bytes& datagram, size_t offset) {
    if (datagram.size() <= offset) return;
    TiXmlDocument document;
    parseXmlText(document, std::string(datagram.begin() + offset, datagram.end()));
    collect(document.FirstChildElement());
}

void writeDictionary() {
    g_names.insert({"<", ">", "</", "/>", "=\"", "\"", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                    "<Parameters Version=\"1\">", "</Parameters>", "&amp;", "&#x", "<!--", "-->", "<![CDATA[",
                    "]]>"});
    std::string text = "# Element and attribute names of the seed documents.\n";
    for (const std::string& token : g_names) {
        text += '"';
        for (char c : token) text += (c == '"' || c == '\\') ? std::string("\\") + c : std::string(1, c);
        text += "\"\n";
    }
    write(g_dir + "/xml.dict", text);
}

// The datagram of a command with these records, or empty when an encoder refuses.
Bytes datagram(unsigned commandId, const DomainList& domains) {
    SafePointer<SDKCommandParam> command(new SDKCommandParam());
    command->m_objHead.nCommandID = commandId;
    command->m_domains = domains;
    CommandBuffer out;
    if (!SDKCommandParser().createCommand(SafePointer<CommandParam>(command), out)) return Bytes();
    return Bytes(out.getCursor(), out.getCursor() + out.getLength());
}

// One record of a factory row, and its container holding one such record.
void rowSeeds(int index) {
    const domain_tables::FactoryRow& row = domain_tables::kFactoryRows[index];
    if (row.create == nullptr || row.createXml == nullptr) return;
    const std::string tag = std::to_string(index) + "_" + row.name;
    BaseDomain* made = row.create();
    if (made == nullptr) return;
    Record record(made);
    SafePointer<DomainXmlNode> node;
    if (!domainToXmlNode(row.name, made, node)) return;  // a record its codec will not write
    const Bytes single = datagram(kRangeAnswer, {record});
    put("parse_command", "row_" + tag, single);
    collectNames(single, 24);

    if (single.empty() || row.createList == nullptr || row.listKey == nullptr) return;
    Record container(row.createList());
    SafePointer<DomainXmlNode> list(new DomainXmlNode(std::string(row.listKey)));
    list->addConfigNode(node);
    std::string name;
    if (xmlNodeToDomain(list, name, container.get()))
        put("parse_command", "list_" + tag, datagram(kRangeAnswer, {container}));
}

// The bodies that are no XML documents, behind a head of their command; the
// data bytes are 00 7F 80 FF < > & LF, the result code 5.
void binarySeeds() {
    const char data[] = "00 00 00 08 00 7F 80 FF 3C 3E 26 0A";
    const struct {
        const char* name;
        unsigned commandId;
        std::string hex;
    } rows[] = {
        {"snapshot", 31026, "00 00 00 08 00 00 00 05 00 7F 80 FF 3C 3E 26 0A"},
        {"import", 33026, data},
        {"file", 15020, "00 00 00 08 01 00 00 00 05 00 7F 80 FF 3C 3E 26 0A"},
        {"com", 33019, data + std::string(" 00 00 25 80 00 00 00 08")},
        {"ptz", 14006,
         "00 00 00 05 00 00 00 02 00 00 00 04 4C 65 66 74 00 00 00 06 70 72 65 73 65 74 00 00 00 03"}};
    for (const auto& row : rows) {
        std::istringstream in(row.hex);
        Bytes bytes(SDKCommandHeadParser::kHeadLength);
        for (unsigned value; in >> std::hex >> value;) bytes.push_back(static_cast<unsigned char>(value));
        SDKCommandHeadInfo head;
        head.nVersion = 1;
        head.nCommandID = row.commandId;
        head.nPayloadLength = static_cast<uint32_t>(bytes.size()) - SDKCommandHeadParser::kHeadLength;
        SDKCommandHeadParser::encodeHead(head, bytes.data());
        put("parse_command", row.name, bytes);
    }
    put("parse_command", "query", datagram(30539, DomainList()));
}

// Answers and announcements of simulated devices.
void searchSeeds() {
    for (int form : {16, 20, 23}) {
        SimDeviceConfig config;
        config.address = "10.77.0." + std::to_string(10 + form);
        config.index = form;
        config.form = form;
        config.deviceTime = "2024-05-06 07:08:09";
        const DeviceSummaryInfo summary = makeSummary(config);
        const std::string tag = std::to_string(form);
        Bytes out;
        if (buildAnnouncement(config, summary, out)) {
            put("discovery_datagram", "form_" + tag, out);
            if (form != 16) collectNames(out, 24 + 76);
        }
        if (buildSummaryAnswer(summary, kMulticastAnswer, 0, out))
            put("multicast_answer", "answer_" + tag, out);
        if (buildSummaryAnswer(summary, kRangeAnswer, static_cast<uint16_t>(form), out))
            put("range_answer", "answer_" + tag, out);
    }
}

void textSeeds() {
    std::string all;
    for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
    std::vector<char> encoded(all.size() * 2);
    int length = static_cast<int>(encoded.size());
    Base64Encode(reinterpret_cast<const unsigned char*>(all.data()), static_cast<int>(all.size()),
                 encoded.data(), length);
    const struct {
        const char* target;
        const char* name;
        std::string text;
    } rows[] = {{"address_text", "text_0", "192.168.1.1\n192.168.1.20"},
                {"address_text", "text_1", "192.168.001.010\n192.168.001.020"},
                {"address_text", "text_2", " 10.0.0.1 \n\t10.0.0.9\t"},
                {"address_text", "text_3", "1.2.3.4:80"},
                {"address_text", "text_4", "fe80::1/64\nABCD:EF01::"},
                {"address_text", "text_5", "255.255.255.254\n255.255.255.255"},
                {"address_text", "text_6", "10.0.0.9\n10.0.0.1"},
                {"base64", "bytes", std::string(encoded.data(), static_cast<size_t>(length))},
                {"base64", "lines", "QUJD\r\nREVG\nR0g="},
                {"base64", "pad", "QQ=="}};
    for (const auto& row : rows) put(row.target, row.name, Bytes(row.text.begin(), row.text.end()));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seedgen DIR\n");
        return 2;
    }
    std::freopen("/dev/null", "w", stdout);  // the codecs' lines
    g_dir = argv[1];
    mkdir(g_dir.c_str(), 0755);
    for (int i = 0; i < domain_tables::kFactoryRowCount; ++i) rowSeeds(i);
    binarySeeds();
    searchSeeds();
    textSeeds();
    writeDictionary();
    if (!g_ok) return 1;
    std::fprintf(stderr, "fuzz_seedgen: %d seeds in %s\n", g_count, argv[1]);
    return 0;
}
