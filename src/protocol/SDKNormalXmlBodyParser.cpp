#include "protocol/SDKNormalXmlBodyParser.h"

#include <climits>
#include <cstring>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainFactory.h"
#include "domain/xml/DomainXmlNode.h"
#include "domain/xml/IDomainXml.h"
#include "protocol/ByteAccess.h"
#include "protocol/MakeSafe.h"

namespace {

const char* const kFile = "SDKNormalXmlBodyParser.cpp";
const char* const kRootName = "Parameters";
const char* const kVersionAttribute = "Version";
const int kResultId = 801;

}  // namespace

const char SDKNormalXmlBodyParser::kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
static_assert(sizeof(SDKNormalXmlBodyParser::kDeclaration) == SDKNormalXmlBodyParser::kDeclarationLength + 1,
              "the declaration is 40 bytes");

SDKNormalXmlBodyParser::SDKNormalXmlBodyParser() : m_nodeNames{{kResultId, 0, "Result"}} {}

SDKNormalXmlBodyParser::~SDKNormalXmlBodyParser() = default;

bool SDKNormalXmlBodyParser::createSpecialDomain(const std::string& /*name*/,
                                                 SafePointer<BaseDomain>& /*domain*/) {
    return false;
}

bool SDKNormalXmlBodyParser::getNodeName(const SafePointer<BaseDomain>& domain, std::string& name) {
    const int id = domain->getDomainId();
    int elementId = 0;
    if (id == kDomainContainerId) {
        const auto* container = dynamic_cast<const DomainContainer*>(domain.get());
        if (container != nullptr) {
            elementId = container->getElementDomainId();
        }
    }
    for (const NodeNameEntry& entry : m_nodeNames) {
        if (entry.nDomainId == id && entry.nElementDomainId == elementId) {
            name = entry.strName;
            return true;
        }
    }
    return getDomainName(domain.get(), name);
}

bool SDKNormalXmlBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    SafePointer<DomainXmlNode> root = protocol_detail::makeSafe<DomainXmlNode>(std::string(kRootName));
    if (root.isNull()) {
        return false;
    }
    root->setProperty(kVersionAttribute, 1);
    for (const SafePointer<BaseDomain>& entry : domains) {
        SafePointer<BaseDomain> domain(entry);
        std::string name;
        if (!getNodeName(domain, name)) {
            continue;
        }
        SafePointer<DomainXmlNode> node;
        if (!domainToXmlNode(name, domain.get(), node)) {
            return false;
        }
        root->addConfigNode(node);
    }
    std::string text;
    if (!DomainXmlNode::toString(root, text)) {
        return false;
    }
    OLTrace(3, kFile, "%s \n", text.c_str());

    if (text.size() > static_cast<size_t>(INT_MAX) - kDeclarationLength - 1) {
        return false;
    }
    // One spare zero byte behind the text, outside the length.
    CommandBuffer body;
    if (!body.alloc(static_cast<int>(text.size() + kDeclarationLength + 1))) {
        return false;
    }
    if (!body.append(kDeclaration, kDeclarationLength) ||
        !protocol_bytes::appendBytes(body, text.data(), text.size())) {
        return false;
    }
    out = std::move(body);
    return true;
}

bool SDKNormalXmlBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    // The body as a zero-terminated text: it ends at its first zero byte, and
    // never reaches past the bytes of the buffer.
    const char* bytes = reinterpret_cast<const char*>(in.getCursor());
    const unsigned length = protocol_bytes::readableLength(in);
    if (bytes == nullptr) {
        return false;
    }
    const std::string text(bytes, strnlen(bytes, length));

    SafePointer<DomainXmlNode> root;
    if (!DomainXmlNode::fromString(text, root)) {
        return false;
    }
    std::vector<SafePointer<DomainXmlNode>> children;
    root->getAllConfigNodes(children);
    for (SafePointer<DomainXmlNode>& child : children) {
        std::string name;
        child->getName(name);
        SafePointer<BaseDomain> domain;
        if (!createSpecialDomain(name, domain)) {
            SafePointer<BaseDomain> made = protocol_detail::adoptSafe(createDomain(name));
            if (made.isNull()) {
                continue;  // no factory knows the element: skip it
            }
            domain = made;
        }
        std::string readName;
        if (!xmlNodeToDomain(child, readName, domain.get())) {
            return false;
        }
        domains.push_back(domain);
    }
    return true;
}
