// Writes the seed corpora of the fuzz targets, one directory per target under
// DIR, and DIR/xml.dict, a dictionary of the element and attribute names that
// the seeds' documents use. Every datagram is made by the library's encoders:
// one per factory row (the row's default record, and its container holding
// one), the binary bodies, the search answers and the three announcements.
#include <sys/stat.h>
#include <tinyxml.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "devsim/SimDevice.h"
#include "domain/DomainFactoryRows.h"
#include "domain/codecs/Base64.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/records/EtResult.h"
#include "domain/xml/DomainXmlNode.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

namespace {

typedef std::vector<unsigned char> Bytes;

// Command identifiers of the search: multicast answer, range answer.
constexpr unsigned kMulticastAnswer = 30540;
constexpr unsigned kRangeAnswer = 30542;

class Writer {
  public:
    explicit Writer(std::string dir) : m_strDir(std::move(dir)) { mkdir(m_strDir.c_str(), 0755); }

    bool ok() const { return m_bOk; }
    int count() const { return m_nCount; }

    void put(const std::string& target, const std::string& name, const Bytes& bytes) {
        const std::string dir = m_strDir + "/" + target;
        mkdir(dir.c_str(), 0755);
        write(dir + "/" + name, bytes);
        ++m_nCount;
    }
    void put(const std::string& target, const std::string& name, const std::string& text) {
        put(target, name, Bytes(text.begin(), text.end()));
    }

    // Element and attribute names of an XML body: the datagram from `offset`.
    void collectNames(const Bytes& datagram, size_t offset) {
        if (datagram.size() <= offset) return;
        TiXmlDocument document;
        parseXmlText(document, std::string(datagram.begin() + offset, datagram.end()));
        for (const TiXmlElement* e = document.FirstChildElement(); e != nullptr;
             e = e->NextSiblingElement()) {
            collect(*e);
        }
    }

    void writeDictionary() {
        std::string text = "# Element and attribute names of the seed documents.\n";
        for (const char* token : {"<", ">", "</", "/>", "=\"", "\"",
                                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>", "<Parameters Version=\"1\">",
                                  "</Parameters>", "&amp;", "&#x", "<!--", "-->", "<![CDATA[", "]]>"}) {
            text += quoted(token);
        }
        for (const std::string& name : m_setNames) text += quoted(name);
        write(m_strDir + "/xml.dict", Bytes(text.begin(), text.end()));
    }

  private:
    void collect(const TiXmlElement& element) {
        m_setNames.insert(element.Value());
        for (const TiXmlAttribute* a = element.FirstAttribute(); a != nullptr; a = a->Next()) {
            m_setNames.insert(std::string(" ") + a->Name() + "=\"");
        }
        for (const TiXmlElement* c = element.FirstChildElement(); c != nullptr; c = c->NextSiblingElement()) {
            collect(*c);
        }
    }

    static std::string quoted(const std::string& token) {
        std::string line = "\"";
        for (char c : token) {
            if (c == '"' || c == '\\') line += '\\';
            line += c;
        }
        return line + "\"\n";
    }

    void write(const std::string& path, const Bytes& bytes) {
        FILE* file = std::fopen(path.c_str(), "wb");
        if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
            m_bOk = false;
        if (file != nullptr && std::fclose(file) != 0) m_bOk = false;
        if (!m_bOk) std::fprintf(stderr, "fuzz_seedgen: cannot write '%s'\n", path.c_str());
    }

    std::string m_strDir;
    std::set<std::string> m_setNames;
    bool m_bOk = true;
    int m_nCount = 0;
};

// The datagram of a command with these records, or empty when an encoder refuses.
Bytes datagram(unsigned commandId, const DomainList& domains) {
    SafePointer<SDKCommandParam> command(new SDKCommandParam());
    command->m_objHead.nCommandID = commandId;
    command->m_domains = domains;
    CommandBuffer out;
    if (!SDKCommandParser().createCommand(SafePointer<CommandParam>(command), out)) return Bytes();
    return Bytes(out.getCursor(), out.getCursor() + out.getLength());
}

template <class T>
SafePointer<BaseDomain> share(T* record) {
    return SafePointer<BaseDomain>(record);
}

// One record of a factory row, and its container holding one such record.
void rowSeeds(Writer& writer, int index) {
    using namespace domain_tables;
    const FactoryRow& row = kFactoryRows[index];
    if (row.create == nullptr || row.createXml == nullptr) return;
    const std::string tag = std::to_string(index) + "_" + row.name;
    std::unique_ptr<BaseDomain> probe(row.create());
    if (!probe) return;
    SafePointer<DomainXmlNode> node;
    if (!domainToXmlNode(row.name, probe.get(), node)) return;  // a record its codec will not write

    Bytes single = datagram(kRangeAnswer, DomainList{share(probe.release())});
    if (single.empty()) return;
    writer.put("parse_command", "row_" + tag, single);
    writer.collectNames(single, 24);

    if (row.createList == nullptr || row.listKey == nullptr) return;
    SafePointer<BaseDomain> container(row.createList());
    SafePointer<DomainXmlNode> list(new DomainXmlNode(std::string(row.listKey)));
    list->addConfigNode(node);
    std::string name;
    if (!xmlNodeToDomain(list, name, container.get())) return;
    Bytes listed = datagram(kRangeAnswer, DomainList{container});
    if (!listed.empty()) writer.put("parse_command", "list_" + tag, listed);
}

// The bodies that are no XML documents.
void binarySeeds(Writer& writer) {
    const unsigned char bytes[] = {0x00, 0x7F, 0x80, 0xFF, '<', '>', '&', 0x0A};
    DataBuffer data;
    data.setData(bytes, sizeof(bytes));
    EtResult result;
    result.setCode(5);
    writer.put("parse_command", "snapshot",
               datagram(31026, {share(new DataBuffer(data)), share(new EtResult(result))}));
    writer.put("parse_command", "import", datagram(33026, {share(new DataBuffer(data))}));
    EtFileDataPack pack;
    pack.setData(data);
    pack.setFlag(1);
    writer.put("parse_command", "file",
               datagram(15020, {share(new EtFileDataPack(pack)), share(new EtResult(result))}));
    EtCOMWriteData com;
    ComData serial;
    serial.setData(bytes, sizeof(bytes));
    com.setComData(serial);
    com.setValue1(9600);
    com.setValue2(8);
    writer.put("parse_command", "com", datagram(33019, {share(new EtCOMWriteData(com))}));
    EtPTZOperation ptz;
    ptz.setCameraId(2);
    ptz.setPTZId(3);
    ptz.setPTZOperation("Left");
    ptz.setName("preset");
    writer.put("parse_command", "ptz",
               datagram(14006, {share(new EtPTZOperation(ptz)), share(new EtResult(result))}));
    writer.put("parse_command", "query", datagram(30539, DomainList()));
}

// Answers and announcements of simulated devices.
void searchSeeds(Writer& writer) {
    for (int form : {16, 20, 23}) {
        SimDeviceConfig config;
        config.address = "10.77.0." + std::to_string(10 + form);
        config.index = form;
        config.form = form;
        config.deviceTime = "2024-05-06 07:08:09";
        const DeviceSummaryInfo summary = makeSummary(config);
        Bytes out;
        if (buildAnnouncement(config, summary, out)) {
            writer.put("discovery_datagram", "form_" + std::to_string(form), out);
            if (form != 16) writer.collectNames(out, 24 + 76);
        }
        if (buildSummaryAnswer(summary, kMulticastAnswer, 0, out)) {
            writer.put("multicast_answer", "answer_" + std::to_string(form), out);
        }
        if (buildSummaryAnswer(summary, kRangeAnswer, static_cast<uint16_t>(form), out)) {
            writer.put("range_answer", "answer_" + std::to_string(form), out);
        }
    }
}

void textSeeds(Writer& writer) {
    const char* const ranges[] = {"192.168.1.1\n192.168.1.20", "192.168.001.010\n192.168.001.020",
                                  " 10.0.0.1 \n\t10.0.0.9\t",  "1.2.3.4:80",
                                  "fe80::1/64\nABCD:EF01::",   "255.255.255.254\n255.255.255.255",
                                  "10.0.0.9\n10.0.0.1"};
    int i = 0;
    for (const char* text : ranges)
        writer.put("address_text", "text_" + std::to_string(i++), std::string(text));

    std::string all;
    for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
    std::vector<char> encoded(all.size() * 2);
    int length = static_cast<int>(encoded.size());
    Base64Encode(reinterpret_cast<const unsigned char*>(all.data()), static_cast<int>(all.size()),
                 encoded.data(), length);
    writer.put("base64", "bytes", std::string(encoded.data(), static_cast<size_t>(length)));
    writer.put("base64", "lines", std::string("QUJD\r\nREVG\nR0g="));
    writer.put("base64", "pad", std::string("QQ=="));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seedgen DIR\n");
        return 2;
    }
    std::freopen("/dev/null", "w", stdout);  // the codecs' lines
    Writer writer(argv[1]);
    for (int i = 0; i < domain_tables::kFactoryRowCount; ++i) rowSeeds(writer, i);
    binarySeeds(writer);
    searchSeeds(writer);
    textSeeds(writer);
    writer.writeDictionary();
    if (!writer.ok()) return 1;
    std::fprintf(stderr, "fuzz_seedgen: %d seeds in %s\n", writer.count(), argv[1]);
    return 0;
}
