// Hand-written records and codecs of the intelligent analysis area:
// IntelligenceLibInfo with its library entries, and PolygonArea.

#include <cstdio>

#include "Product/Technic/OLTrace.h"
#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/PolygonAreaXml.h"
#include "domain/codecs/fields/PolygonArea.h"
#include "domain/codecs/hand/IntelligenceLibInfoXml.h"

using namespace domain_codec;

namespace {

const char kSourceFile[] = "intelligence_codecs.cpp";

// Defaults that a library value takes when its read fails.
constexpr int kDefaultLibId = -1;
constexpr int kDefaultVideoWidth = 320;
constexpr int kDefaultVideoHeight = 240;

// Reads an int of an element that may be absent; on failure writes line and
// gives fallback.
int readLibValue(NodePtr &node, const char *tag, int fallback,
                 const char *line) {
  int value = 0;
  if (!node.isNull() && node->getProperty(tag, &value))
    return value;
  std::fputs(line, stdout);
  return fallback;
}

// One <LIB> element. A missing Resolution or Common child makes its values read
// as failed: each writes its line and keeps its default.
LibCommonAbility parseLib(NodePtr &lib) {
  LibCommonAbility entry;
  entry.setID(
      readLibValue(lib, "ID", kDefaultLibId,
                   "LibCommon get LibId Failed! Set Default Value -1 \n"));
  bool enable = false;
  if (!lib->getProperty("enable", &enable)) {
    std::fputs("LibCommon get Enable Failed! Set Default Value false \n",
               stdout);
    enable = false;
  }
  entry.setenable(enable);

  NodePtr resolution;
  lib->getConfigNode("Resolution", resolution);
  entry.setvideoWidth(readLibValue(
      resolution, "videoWidth", kDefaultVideoWidth,
      "LibCommon get VideoWidth Failed! Set Default Value 320 \n"));
  entry.setvideoHeight(readLibValue(
      resolution, "videoHeight", kDefaultVideoHeight,
      "LibCommon get VideoHeight Failed! Set Default Value 240 \n"));

  NodePtr common;
  lib->getConfigNode("Common", common);
  entry.settotalAnalyseRegionNum(readLibValue(
      common, "totalAnalyseRegionNum", 0,
      "LibCommon get TotalAnalyseRegionNum Failed! Set Default Value 0 \n"));
  entry.setMaxEnableFunsNum(readLibValue(
      common, "MaxEnableFunsNum", 0,
      "LibCommon get MaxEnableFunsNum Failed! Set Default Value 0 \n"));
  return entry;
}

const CodecInfo kPolygonAreaXmlInfo = {"PolygonAreaXml", kSourceFile, 0, 3};

} // namespace

// ---- LibCommonAbility

LibCommonAbility::LibCommonAbility()
    : m_nID(0), m_bEnable(false), m_nVideoWidth(0), m_nVideoHeight(0),
      m_nTotalAnalyseRegionNum(0), m_nMaxEnableFunsNum(0) {
  m_nDomainId = kDomainId;
}

LibCommonAbility::LibCommonAbility(const LibCommonAbility &other)
    : BaseDomain(other), m_nID(other.m_nID), m_bEnable(other.m_bEnable),
      m_nVideoWidth(other.m_nVideoWidth), m_nVideoHeight(other.m_nVideoHeight),
      m_nTotalAnalyseRegionNum(other.m_nTotalAnalyseRegionNum),
      m_nMaxEnableFunsNum(other.m_nMaxEnableFunsNum) {
  m_nDomainId = kDomainId;
}

LibCommonAbility &LibCommonAbility::operator=(const LibCommonAbility &other) {
  if (this == &other)
    return *this;
  BaseDomain::operator=(other);
  m_nID = other.m_nID;
  m_bEnable = other.m_bEnable;
  m_nVideoWidth = other.m_nVideoWidth;
  m_nVideoHeight = other.m_nVideoHeight;
  m_nTotalAnalyseRegionNum = other.m_nTotalAnalyseRegionNum;
  m_nMaxEnableFunsNum = other.m_nMaxEnableFunsNum;
  return *this;
}

LibCommonAbility::~LibCommonAbility() = default;

// ---- IntelligenceLibInfo

IntelligenceLibInfo::IntelligenceLibInfo() : m_nVersion(0), m_nStreamID(1) {
  m_nDomainId = kDomainId;
}

IntelligenceLibInfo::IntelligenceLibInfo(const IntelligenceLibInfo &other)
    : BaseDomain(other), m_nVersion(other.m_nVersion),
      m_nStreamID(other.m_nStreamID), m_vecLIB(other.m_vecLIB) {
  m_nDomainId = kDomainId;
}

IntelligenceLibInfo &
IntelligenceLibInfo::operator=(const IntelligenceLibInfo &other) {
  if (this == &other)
    return *this;
  BaseDomain::operator=(other);
  m_nVersion = other.m_nVersion;
  m_nStreamID = other.m_nStreamID;
  m_vecLIB = other.m_vecLIB;
  return *this;
}

IntelligenceLibInfo::~IntelligenceLibInfo() = default;

// ---- IntelligenceLibInfoXml

bool IntelligenceLibInfoXml::createDomainXmlNode(
    const BaseDomain *domain, SafePointer<DomainXmlNode> &node) {
  return buildEntry<IntelligenceLibInfo>(*this, IntelligenceLibInfo::kDomainId,
                                         domain, node);
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(
    SafePointer<DomainXmlNode> &node, BaseDomain *domain) {
  return parseEntry<IntelligenceLibInfo>(*this, IntelligenceLibInfo::kDomainId,
                                         node, domain);
}

bool IntelligenceLibInfoXml::createDomainXmlNode(
    const IntelligenceLibInfo &record, SafePointer<DomainXmlNode> &node) {
  if (node.isNull())
    return false;
  BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain &>(record),
                                      node);
  node->setProperty("Version", record.getVersion());
  node->setProperty("StreamID", record.getStreamID());
  for (const LibCommonAbility &entry : record.getLIB()) {
    NodePtr lib(new DomainXmlNode("LIB"));
    lib->setProperty("ID", entry.getID());
    lib->setProperty("enable", entry.getenable());
    NodePtr resolution(new DomainXmlNode("Resolution"));
    resolution->setProperty("videoWidth", entry.getvideoWidth());
    resolution->setProperty("videoHeight", entry.getvideoHeight());
    lib->addConfigNode(resolution);
    NodePtr common(new DomainXmlNode("Common"));
    common->setProperty("totalAnalyseRegionNum",
                        entry.gettotalAnalyseRegionNum());
    common->setProperty("MaxEnableFunsNum", entry.getMaxEnableFunsNum());
    lib->addConfigNode(common);
    node->addConfigNode(lib);
  }
  return true;
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(
    SafePointer<DomainXmlNode> &node, IntelligenceLibInfo &record) {
  if (node.isNull())
    return false;
  BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain &>(record));

  int version = 0;
  if (!node->getProperty("Version", &version)) {
    std::fputs(
        "IntelligenceLibInfoXml::parseDomainXmlNode get Version failed \n",
        stdout);
    return false;
  }
  record.setVersion(version);

  int streamId = 0;
  if (!node->getProperty("StreamID", &streamId)) {
    std::fputs(
        "IntelligenceLibInfoXml::parseDomainXmlNode get StreamID failed \n",
        stdout);
    streamId = 1; // an absent stream is the first one
  }
  OLTrace(3, kSourceFile, "%s%d nStreamID = %d \n", kSourceFile, __LINE__,
          streamId);
  record.setStreamID(streamId);

  DomainXmlNode::NodeVector libs;
  if (!node->getConfigNodes("LIB", libs)) {
    std::fputs("IntelligenceAnalyseAbilityXml::parseLibCommonNode get "
               "LibCommonAbilityList Failed! Node List isn't "
               "exist! \n",
               stdout);
  }
  std::vector<LibCommonAbility> entries;
  for (NodePtr &lib : libs)
    entries.push_back(parseLib(lib));
  record.setLIB(entries);
  return true;
}

bool IntelligenceLibInfoXml::createDomainXmlNode(
    const std::vector<IntelligenceLibInfo> &records,
    SafePointer<DomainXmlNode> &node) {
  return buildList(*this, itemName(), records, node);
}

bool IntelligenceLibInfoXml::parseDomainXmlNode(
    SafePointer<DomainXmlNode> &node,
    std::vector<IntelligenceLibInfo> &records) {
  return parseList(*this, node, records);
}

// ---- PolygonAreaXml

bool PolygonAreaXml::createDomainXmlNode(const BaseDomain *domain,
                                         SafePointer<DomainXmlNode> &node) {
  return buildEntry<PolygonArea>(*this, PolygonArea::kDomainId, domain, node);
}

bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode> &node,
                                        BaseDomain *domain) {
  return parseEntry<PolygonArea>(*this, PolygonArea::kDomainId, node, domain);
}

// One <OLPoint> element per corner.
bool PolygonAreaXml::createDomainXmlNode(const PolygonArea &record,
                                         SafePointer<DomainXmlNode> &node) {
  if (node.isNull())
    return false;
  BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain &>(record),
                                      node);
  return buildFields(kPolygonAreaXmlInfo, record, node);
}

// Every child element is a corner, whatever its name; a polygon without any
// fails.
bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode> &node,
                                        PolygonArea &record) {
  if (node.isNull())
    return false;
  BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain &>(record));
  DomainXmlNode::NodeVector corners;
  if (!node->getAllConfigNodes(corners))
    return false;
  std::vector<PolygonArea::OLPointItem> points;
  for (NodePtr &corner : corners) {
    PolygonArea::OLPointItem point;
    ParseVisitor visitor(kPolygonAreaXmlInfo, corner);
    PolygonArea::OLPointItem::visitFields(visitor, point);
    if (visitor.failed())
      return false;
    points.push_back(point);
  }
  record.setOLPoint(points);
  return true;
}

bool PolygonAreaXml::createDomainXmlNode(
    const std::vector<PolygonArea> &records, SafePointer<DomainXmlNode> &node) {
  return buildList(*this, itemName(), records, node);
}

bool PolygonAreaXml::parseDomainXmlNode(SafePointer<DomainXmlNode> &node,
                                        std::vector<PolygonArea> &records) {
  return parseList(*this, node, records);
}
