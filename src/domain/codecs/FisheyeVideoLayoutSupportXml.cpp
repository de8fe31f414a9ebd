// Codec of FisheyeVideoLayoutSupport: the logged shape through the trace
// entry, and two lines on standard output with what was read.

#include "domain/codecs/FisheyeVideoLayoutSupportXml.h"

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/FisheyeVideoLayoutXml.h"
#include "domain/codecs/SourceLines.h"
#include "domain/codecs/fields/FisheyeVideoLayoutSupport.h"

using namespace domain_codec;

namespace {

const char kSourceFile[] = "FisheyeVideoLayoutSupportXml.cpp";

const CodecInfo kFisheyeVideoLayoutSupportXmlInfo = {"FisheyeVideoLayoutSupportXml", kSourceFile,
                                                     CodecInfo::kShortLines | CodecInfo::kTrace, 3};

}  // namespace

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const BaseDomain* domain,
                                                       SafePointer<DomainXmlNode>& node) {
    return buildEntry<FisheyeVideoLayoutSupport>(*this, FisheyeVideoLayoutSupport::kDomainId, domain, node);
}

bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<FisheyeVideoLayoutSupport>(*this, FisheyeVideoLayoutSupport::kDomainId, node, domain);
}

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const FisheyeVideoLayoutSupport& record,
                                                       SafePointer<DomainXmlNode>& node) {
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    return buildFields(kFisheyeVideoLayoutSupportXmlInfo, record, node);
}

// All items are logged, so the parse never fails; two lines with file and
// line report what was read, whatever the trace level.
bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                      FisheyeVideoLayoutSupport& record) {
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    ParseVisitor visitor(kFisheyeVideoLayoutSupportXmlInfo, node);
    int sensorSize = record.getSensorSize();
    int width = record.getwidth();
    int height = record.getheight();
    visitor.attr("SensorSize", Presence::Logged, sensorSize);
    visitor.attr("width", Presence::Logged, width, Item().line("getProperty get m_nwidth failed \n", 0));
    visitor.attr("height", Presence::Logged, height, Item().line("getProperty get m_nheight failed \n", 0));
    record.setSensorSize(sensorSize);
    record.setwidth(width);
    record.setheight(height);
    printSourceLine(kSourceFile, __LINE__, "%s%d nSensorSize = %d ,nwidth = %d  nheight = %d  \n", sensorSize,
                    width, height);

    std::vector<FisheyeVideoLayout> layouts = record.getFisheyeVideoLayoutList();
    visitor.list("FisheyeVideoLayoutList", Presence::Logged, layouts,
                 Item().node("NODE_FISHEYE_VIDEO_LAYOUT_LIST"));
    record.setFisheyeVideoLayoutList(layouts);
    printSourceLine(kSourceFile, __LINE__, "%s%d p_objFisheyeVideoLayoutSupportList.size() = %d  \n",
                    static_cast<int>(layouts.size()));
    return !visitor.failed();
}

bool FisheyeVideoLayoutSupportXml::createDomainXmlNode(const std::vector<FisheyeVideoLayoutSupport>& records,
                                                       SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool FisheyeVideoLayoutSupportXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                                      std::vector<FisheyeVideoLayoutSupport>& records) {
    return parseList(*this, node, records);
}
