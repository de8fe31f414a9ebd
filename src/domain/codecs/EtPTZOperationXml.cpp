#include "domain/codecs/EtPTZOperationXml.h"

#include <cstdio>
#include <string>

#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/SourceLines.h"

using namespace domain_codec;

namespace {

void traceEntry(int line) {
    printSourceLine("EtPTZOperationXml.cpp", line, "%s%d ###########   EtPTZOperationXml    ########### \n");
}

// A logged attribute: on a failed read the short line, and text attributes
// become empty; numbers keep what they held.
void readNumber(SafePointer<DomainXmlNode>& node, const char* tag, int& value) {
    int read = 0;
    if (node->getProperty(tag, &read)) {
        value = read;
    } else {
        std::printf("getProperty get %s failed \n", tag);
    }
}

std::string readText(SafePointer<DomainXmlNode>& node, const char* tag) {
    std::string value;
    if (!node->getProperty(tag, value)) std::printf("getProperty get %s failed \n", tag);
    return value;
}

}  // namespace

bool EtPTZOperationXml::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {
    return buildEntry<EtPTZOperation>(*this, EtPTZOperation::kDomainId, domain, node);
}

bool EtPTZOperationXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {
    return parseEntry<EtPTZOperation>(*this, EtPTZOperation::kDomainId, node, domain);
}

bool EtPTZOperationXml::createDomainXmlNode(const EtPTZOperation& record, SafePointer<DomainXmlNode>& node) {
    traceEntry(__LINE__);
    if (node.isNull()) return false;
    BaseDomainXml().createDomainXmlNode(static_cast<const BaseDomain&>(record), node);
    node->setProperty("CameraId", record.getCameraId());
    std::printf("setProperty get nCameraID =%d  \n", record.getCameraId());
    node->setProperty("PTZId", record.getPTZId());
    std::printf("setProperty get nPTZId =%d  \n", record.getPTZId());
    node->setProperty("PTZOperation", record.getPTZOperation());
    node->setProperty("Name", record.getName());
    return true;
}

bool EtPTZOperationXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, EtPTZOperation& record) {
    traceEntry(__LINE__);
    if (node.isNull()) return false;
    BaseDomainXml().parseDomainXmlNode(node, static_cast<BaseDomain&>(record));
    int cameraId = record.getCameraId();
    readNumber(node, "CameraId", cameraId);
    std::printf("getProperty get nCameraID =%d  \n", cameraId);
    record.setCameraId(cameraId);
    int ptzId = record.getPTZId();
    readNumber(node, "PTZId", ptzId);
    std::printf("getProperty get nPTZId =%d  \n", ptzId);
    record.setPTZId(ptzId);
    record.setPTZOperation(readText(node, "PTZOperation"));
    record.setName(readText(node, "Name"));
    return true;
}

bool EtPTZOperationXml::createDomainXmlNode(const std::vector<EtPTZOperation>& records,
                                            SafePointer<DomainXmlNode>& node) {
    return buildList(*this, itemName(), records, node);
}

bool EtPTZOperationXml::parseDomainXmlNode(SafePointer<DomainXmlNode>& node,
                                           std::vector<EtPTZOperation>& records) {
    return parseList(*this, node, records);
}
