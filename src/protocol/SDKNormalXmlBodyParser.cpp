#include "protocol/SDKNormalXmlBodyParser.h"

#include <climits>
#include <cstring>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainFactory.h"
#include "domain/xml/DomainXmlNode.h"
#include "domain/xml/IDomainXml.h"
#include "transport/WireBytes.h"
#include "protocol/MakeSafe.h"

namespace {

const char* const kFile = "SDKNormalXmlBodyParser.cpp";
const char* const kRootName = "Parameters";
const char* const kVersionAttribute = "Version";
const int kResultId = 801;

// Steps `i` behind the first occurrence of `end` at or after `from`; false when
// the text ends first.
bool skipPast(const std::string& text, size_t from, const char* end, size_t& i) {
    const size_t at = text.find(end, from);
    if (at == std::string::npos) {
        return false;
    }
    i = at + std::strlen(end);
    return true;
}

// True when no element of the text lies deeper than `maxDepth` levels and the
// text has at most `maxElements` elements. Tags are counted as they stand;
// comments, declarations and CDATA are stepped over. A malformed text may be
// over-counted, which only refuses it earlier.
bool shapeWithin(const std::string& text, unsigned maxDepth, unsigned maxElements) {
    unsigned depth = 0;
    unsigned elements = 0;
    const char* const data = text.data();
    const size_t n = text.size();
    // The first occurrence of c at or after from and before limit, or limit.
    const auto findBefore = [data](char c, size_t from, size_t limit) -> size_t {
        if (from >= limit) return limit;
        const void* at = std::memchr(data + from, c, limit - from);
        return at != nullptr ? static_cast<size_t>(static_cast<const char*>(at) - data) : limit;
    };
    const auto find = [&findBefore, n](char c, size_t from) { return findBefore(c, from, n); };
    size_t i = find('<', 0);
    while (i < n) {
        if (text.compare(i, 4, "<!--") == 0) {
            if (!skipPast(text, i + 4, "-->", i)) return true;
            i = find('<', i);
            continue;
        }
        if (text.compare(i, 9, "<![CDATA[") == 0) {
            if (!skipPast(text, i + 9, "]]>", i)) return true;
            i = find('<', i);
            continue;
        }
        const char next = i + 1 < n ? text[i + 1] : '\0';
        if (next == '?' || next == '!' || next == '/') {
            if (next == '/' && depth > 0) --depth;
            if (!skipPast(text, i + 1, ">", i)) return true;
            i = find('<', i);
            continue;
        }
        // An opening tag: find its end outside quoted values.
        size_t j = i + 1;
        size_t end = find('>', j);
        for (;;) {
            const size_t quote = findBefore('\'', j, findBefore('"', j, end));
            if (quote >= end) break;
            j = find(data[quote], quote + 1) + 1;  // behind the closing quote
            if (j > end) end = find('>', j);
        }
        if (end >= n) return true;
        if (++elements > maxElements) {
            return false;
        }
        if (text[end - 1] != '/' && ++depth > maxDepth) {
            return false;
        }
        i = find('<', end + 1);
    }
    return true;
}

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
        !wire::appendBytes(body, text.data(), text.size())) {
        return false;
    }
    out = std::move(body);
    return true;
}

bool SDKNormalXmlBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    // The body as a zero-terminated text: it ends at its first zero byte, and
    // never reaches past the bytes of the buffer.
    const char* bytes = reinterpret_cast<const char*>(in.getCursor());
    const unsigned length = wire::readableLength(in);
    if (bytes == nullptr) {
        return false;
    }
    std::string text(bytes, strnlen(bytes, length));

    if (!shapeWithin(text, kMaxNestingDepth, kMaxElements)) {
        return false;
    }
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
