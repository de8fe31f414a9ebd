#include "domain/xml/DomainXmlNode.h"

#include <strings.h>
#include <tinyxml.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

// Text buffers of the number conversions: 99 characters for a float or a
// double, 63 for an integer, each with its terminator.
constexpr size_t kRealBufferSize = 100;
constexpr size_t kIntBufferSize = 64;

// Zero bytes behind a text for the XML library: more than the longest step
// of a UTF-8 lead byte (4).
constexpr size_t kTextPadding = 8;

TiXmlElement* cloneElement(const TiXmlElement& element) {
    TiXmlNode* copy = element.Clone();
    if (copy == nullptr) return nullptr;
    TiXmlElement* result = copy->ToElement();
    if (result == nullptr) delete copy;
    return result;
}

}  // namespace

DomainXmlNode::DomainXmlNode(const std::string& name)
    : m_pElement(new (std::nothrow) TiXmlElement(name.c_str())) {}

DomainXmlNode::DomainXmlNode(const TiXmlElement& element) : m_pElement(cloneElement(element)) {}

DomainXmlNode::DomainXmlNode(const DomainXmlNode& other)
    : m_pElement(other.m_pElement != nullptr ? cloneElement(*other.m_pElement) : nullptr) {}

DomainXmlNode& DomainXmlNode::operator=(const DomainXmlNode& other) {
    if (this == &other) return *this;
    TiXmlElement* copy = other.m_pElement != nullptr ? cloneElement(*other.m_pElement) : nullptr;
    delete m_pElement;
    m_pElement = copy;
    return *this;
}

DomainXmlNode::~DomainXmlNode() {
    delete m_pElement;
}

bool DomainXmlNode::getProperty(const std::string& name, int* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = m_pElement->Attribute(name.c_str());
    if (text == nullptr) {
        *value = 0;
        return false;
    }
    *value = std::atoi(text);
    return true;
}

bool DomainXmlNode::getProperty(const std::string& name, float* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = m_pElement->Attribute(name.c_str());
    if (text == nullptr) return false;
    std::sscanf(text, "%f", value);
    return true;
}

bool DomainXmlNode::getProperty(const std::string& name, double* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = m_pElement->Attribute(name.c_str());
    if (text == nullptr) return false;
    std::sscanf(text, "%lf", value);
    return true;
}

bool DomainXmlNode::getProperty(const std::string& name, bool* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = m_pElement->Attribute(name.c_str());
    if (text == nullptr) return false;
    if (strcasecmp(text, "true") == 0) {
        *value = true;
    } else if (strcasecmp(text, "false") == 0) {
        *value = false;
    }
    return true;
}

bool DomainXmlNode::getProperty(const std::string& name, std::string& value) const {
    if (m_pElement == nullptr) return false;
    const char* text = m_pElement->Attribute(name.c_str());
    if (text == nullptr) return false;
    value = text;
    return true;
}

bool DomainXmlNode::getName(std::string& value) const {
    if (m_pElement == nullptr) return false;
    value = m_pElement->Value();
    return true;
}

bool DomainXmlNode::setProperty(const std::string& name, int value) {
    if (m_pElement == nullptr) return false;
    char text[kIntBufferSize];
    std::snprintf(text, sizeof(text), "%d", value);
    m_pElement->SetAttribute(name.c_str(), text);
    return true;
}

bool DomainXmlNode::setProperty(const std::string& name, float value) {
    if (m_pElement == nullptr) return false;
    char text[kRealBufferSize];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    m_pElement->SetAttribute(name.c_str(), text);
    return true;
}

bool DomainXmlNode::setProperty(const std::string& name, double value) {
    if (m_pElement == nullptr) return false;
    char text[kRealBufferSize];
    std::snprintf(text, sizeof(text), "%lf", value);
    m_pElement->SetAttribute(name.c_str(), text);
    return true;
}

bool DomainXmlNode::setProperty(const std::string& name, bool value) {
    if (m_pElement == nullptr) return false;
    m_pElement->SetAttribute(name.c_str(), value ? "true" : "false");
    return true;
}

bool DomainXmlNode::setProperty(const std::string& name, const std::string& value) {
    if (m_pElement == nullptr) return false;
    m_pElement->SetAttribute(name.c_str(), value.c_str());
    return true;
}

bool DomainXmlNode::getConfigNode(const std::string& name, SafePointer<DomainXmlNode>& node) const {
    if (m_pElement == nullptr) return false;
    const TiXmlElement* child = m_pElement->FirstChildElement(name.c_str());
    if (child == nullptr) return false;
    node = SafePointer<DomainXmlNode>(new DomainXmlNode(*child));
    return true;
}

bool DomainXmlNode::getConfigNodes(const std::string& name, NodeVector& nodes) const {
    if (m_pElement == nullptr) return false;
    bool appended = false;
    for (const TiXmlElement* child = m_pElement->FirstChildElement(name.c_str()); child != nullptr;
         child = child->NextSiblingElement(name.c_str())) {
        nodes.push_back(SafePointer<DomainXmlNode>(new DomainXmlNode(*child)));
        appended = true;
    }
    return appended;
}

bool DomainXmlNode::getAllConfigNodes(NodeVector& nodes) const {
    if (m_pElement == nullptr) return false;
    bool appended = false;
    for (const TiXmlElement* child = m_pElement->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        nodes.push_back(SafePointer<DomainXmlNode>(new DomainXmlNode(*child)));
        appended = true;
    }
    return appended;
}

bool DomainXmlNode::addConfigNode(const SafePointer<DomainXmlNode>& child) {
    const DomainXmlNode* source = child.operator->();
    if (m_pElement == nullptr || source->m_pElement == nullptr) return false;
    return m_pElement->InsertEndChild(*source->m_pElement) != nullptr;
}

bool DomainXmlNode::toString(const SafePointer<DomainXmlNode>& node, std::string& text) {
    const DomainXmlNode& source = *node;
    if (source.m_pElement == nullptr) return false;
    TiXmlPrinter printer;
    printer.SetIndent("\t");
    TiXmlDocument document;
    if (document.InsertEndChild(*source.m_pElement) == nullptr) return false;
    if (!document.Accept(&printer)) return false;
    text = printer.CStr();
    return true;
}

bool DomainXmlNode::fromString(const std::string& text, SafePointer<DomainXmlNode>& node) {
    TiXmlDocument document;
    parseXmlText(document, text);
    if (document.Error()) return false;
    for (const TiXmlNode* child = document.FirstChild(); child != nullptr; child = child->NextSibling()) {
        const TiXmlElement* element = child->ToElement();
        if (element != nullptr) {
            node = SafePointer<DomainXmlNode>(new DomainXmlNode(*element));
            return true;
        }
    }
    return false;
}

void parseXmlText(TiXmlDocument& document, const std::string& text) {
    std::string padded;
    padded.reserve(text.size() + kTextPadding);
    padded.assign(text).append(kTextPadding, '\0');
    document.Parse(padded.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
}
