// Codec of IntelligenceLibInfo: the <LIB> elements of its library entries,
// each value with the line and the default of a failed read.

#include <cstdio>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/IntelligenceLibInfoXml.h"
#include "domain/codecs/SourceLines.h"

using namespace domain_codec;

namespace {

const char kSourceFile[] = "IntelligenceLibInfoXml.cpp";

// Defaults that a library value takes when its read fails.
constexpr int kDefaultLibId = -1;
constexpr int kDefaultVideoWidth = 320;
constexpr int kDefaultVideoHeight = 240;

// Reads an int of an element that may be absent; on failure writes line and
// gives fallback.
int readLibValue(NodePtr& node, const char* tag, int fallback, const char* line) {
    int value = 0;
    if (!node.isNull() && node->getProperty(tag, &value)) return value;
    std::fputs(line, stdout);
    return fallback;
}

// One <LIB> element. A missing Resolution or Common child makes its values read
// as failed: each writes its line and keeps its default.
LibCommonAbility parseLib(NodePtr& lib) {
    LibCommonAbility entry;
    entry.setID(
        readLibValue(lib, "ID", kDefaultLibId, "LibCommon get LibId Failed! Set Default Value -1 \n"));
    bool enable = false;
    if (!lib->getProperty("enable", &enable)) {
        std::fputs("LibCommon get Enable Failed! Set Default Value false \n", stdout);
        enable = false;
    }
    entry.setenable(enable);

    NodePtr resolution;
    lib->getConfigNode("Resolution", resolution);
    entry.setvideoWidth(readLibValue(resolution, "videoWidth", kDefaultVideoWidth,
                                     "LibCommon get VideoWidth Failed! Set Default Value 320 \n"));
    entry.setvideoHeight(readLibValue(resolution, "videoHeight", kDefaultVideoHeight,
                                      "LibCommon get VideoHeight Failed! Set Default Value 240 \n"));

    NodePtr common;
    lib->getConfigNode("Common", common);
    entry.settotalAnalyseRegionNum(
        readLibValue(common, "totalAnalyseRegionNum", 0,
                     "LibCommon get TotalAnalyseRegionNum Failed! Set Default Value 0 \n"));
    entry.setMaxEnableFunsNum(readLibValue(common, "MaxEnableFunsNum", 0,
                                           "LibCommon get MaxEnableFunsNum Failed! Set Default Value 0 \n"));
    return entry;
}

}  // namespace

bool IntelligenceLibInfoXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<IntelligenceLibInfo>(*this, IntelligenceLibInfo::kDomainId, domain, node);
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<IntelligenceLibInfo>(*this, IntelligenceLibInfo::kDomainId, node, domain);
}

bool IntelligenceLibInfoXml::createDomainXmlNode(const IntelligenceLibInfo& record,
                                                 SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    node->setProperty("Version", record.getVersion());
    node->setProperty("StreamID", record.getStreamID());
    for (const LibCommonAbility& entry : record.getLIB()) {
        NodePtr lib(new DomainXmlNode("LIB"));
        lib->setProperty("ID", entry.getID());
        lib->setProperty("enable", entry.getenable());
        NodePtr resolution(new DomainXmlNode("Resolution"));
        resolution->setProperty("videoWidth", entry.getvideoWidth());
        resolution->setProperty("videoHeight", entry.getvideoHeight());
        lib->addConfigNode(resolution);
        NodePtr common(new DomainXmlNode("Common"));
        common->setProperty("totalAnalyseRegionNum", entry.gettotalAnalyseRegionNum());
        common->setProperty("MaxEnableFunsNum", entry.getMaxEnableFunsNum());
        lib->addConfigNode(common);
        node->addConfigNode(lib);
    }
    return true;
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                IntelligenceLibInfo& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));

    int version = 0;
    if (!node->getProperty("Version", &version)) {
        std::fputs("IntelligenceLibInfoXml::parseDomainXmlNode get Version failed \n", stdout);
        return false;
    }
    record.setVersion(version);

    int streamId = 0;
    if (!node->getProperty("StreamID", &streamId)) {
        std::fputs("IntelligenceLibInfoXml::parseDomainXmlNode get StreamID failed \n", stdout);
        streamId = 1;  // an absent stream is the first one
    }
    printSourceLine(kSourceFile, __LINE__, "%s%d nStreamID = %d \n", streamId);
    record.setStreamID(streamId);

    DomainXmlNode::NodeVector libs;
    if (!node->getConfigNodes("LIB", libs)) {
        std::fputs(
            "IntelligenceAnalyseAbilityXml::parseLibCommonNode get "
            "LibCommonAbilityList Failed! Node List isn't "
            "exist! \n",
            stdout);
    }
    std::vector<LibCommonAbility> entries;
    for (NodePtr& lib : libs) entries.push_back(parseLib(lib));
    record.setLIB(entries);
    return true;
}

bool IntelligenceLibInfoXml::createDomainXmlNode(const std::vector<IntelligenceLibInfo>& records,
                                                 SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                std::vector<IntelligenceLibInfo>& records) {
    return parseList(*this, node, records);
}
