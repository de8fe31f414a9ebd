#include "domain/xml/DomainXmlNode.h"

#include <strings.h>
#include <tinyxml.h>

#include <cstdio>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <cstdlib>
#include <memory>
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

// One element tree, shared by the nodes that view parts of it. The holder is
// the parsed document or a free-standing top element.
struct DomainXmlTree {
    DomainXmlTree(TiXmlNode* owned, TiXmlElement* element) : holder(owned), top(element) {
        static std::atomic<uint64_t> s_nNextId{1};
        id = s_nNextId.fetch_add(1, std::memory_order_relaxed);
    }

    std::unique_ptr<TiXmlNode> holder;
    TiXmlElement* top;
    // Nodes whose element is top. A node that writes to top while it is the
    // only one changes nothing that another node sees: the others view
    // elements below top, and a write only touches the attributes of its own
    // element or appends a child to it.
    std::atomic<int> topHolders{0};
    // Never reused, so that a remembered attribute is known to belong to a live tree.
    uint64_t id = 0;
};

namespace {

// A tree around owned (deleted here when the tree cannot be made); empty on failure.
std::shared_ptr<DomainXmlTree> makeTree(TiXmlNode* owned, TiXmlElement* top) {
    std::unique_ptr<TiXmlNode> keep(owned);
    if (keep == nullptr || top == nullptr) return nullptr;
    try {
        auto tree = std::make_shared<DomainXmlTree>(keep.get(), top);
        keep.release();
        return tree;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The attribute that the last lookup of this thread found. Codecs read the
// attributes of an element mostly in the order in which they were written, so
// a lookup starts behind the last one found. Elements and attributes leave a
// tree only with the tree, whose id is never reused.
struct AttributeHint {
    uint64_t treeId = 0;
    const TiXmlElement* element = nullptr;
    const TiXmlAttribute* attribute = nullptr;
};
thread_local AttributeHint t_objHint;

const char* findAttribute(const DomainXmlTree& tree, const TiXmlElement& element, const char* name) {
    const TiXmlAttribute* first = element.FirstAttribute();
    const TiXmlAttribute* start = first;
    if (t_objHint.treeId == tree.id && t_objHint.element == &element && t_objHint.attribute != nullptr) {
        start = t_objHint.attribute->Next();
    }
    // From start to the end, then from the first up to start: names are unique.
    for (const TiXmlAttribute* attribute = start; attribute != nullptr; attribute = attribute->Next()) {
        if (std::strcmp(attribute->Name(), name) == 0) {
            t_objHint = {tree.id, &element, attribute};
            return attribute->Value();
        }
    }
    for (const TiXmlAttribute* attribute = first; attribute != start; attribute = attribute->Next()) {
        if (std::strcmp(attribute->Name(), name) == 0) {
            t_objHint = {tree.id, &element, attribute};
            return attribute->Value();
        }
    }
    return nullptr;
}

TiXmlElement* topOf(const std::shared_ptr<DomainXmlTree>& tree) {
    return tree != nullptr ? tree->top : nullptr;
}

}  // namespace

DomainXmlNode::DomainXmlNode(const std::shared_ptr<DomainXmlTree>& tree, TiXmlElement* element)
    : m_tree(), m_pElement(nullptr) {
    take(tree, element);
}

DomainXmlNode::DomainXmlNode(const std::string& name) : DomainXmlNode(name.c_str()) {}

DomainXmlNode::DomainXmlNode(const char* name) : m_tree(), m_pElement(nullptr) {
    TiXmlElement* element = new (std::nothrow) TiXmlElement(name);
    take(makeTree(element, element), element);
}

DomainXmlNode::DomainXmlNode(const TiXmlElement& element) : m_tree(), m_pElement(nullptr) {
    TiXmlElement* copy = cloneElement(element);
    take(makeTree(copy, copy), copy);
}

DomainXmlNode::DomainXmlNode(const DomainXmlNode& other) : m_tree(), m_pElement(nullptr) {
    take(other.m_tree, other.m_pElement);
}

DomainXmlNode& DomainXmlNode::operator=(const DomainXmlNode& other) {
    if (this == &other) return *this;
    std::shared_ptr<DomainXmlTree> tree = other.m_tree;
    TiXmlElement* element = other.m_pElement;
    drop();
    take(tree, element);
    return *this;
}

DomainXmlNode::~DomainXmlNode() {
    drop();
}

void DomainXmlNode::take(const std::shared_ptr<DomainXmlTree>& tree, TiXmlElement* element) {
    if (tree == nullptr || element == nullptr) return;
    m_tree = tree;
    m_pElement = element;
    if (element == tree->top) ++tree->topHolders;
}

void DomainXmlNode::drop() {
    if (m_pElement != nullptr && m_pElement == topOf(m_tree)) --m_tree->topHolders;
    m_tree.reset();
    m_pElement = nullptr;
}

bool DomainXmlNode::holdsTop() const {
    return m_pElement != nullptr && m_pElement == m_tree->top && m_tree->topHolders == 1;
}

bool DomainXmlNode::prepareWrite() {
    if (m_pElement == nullptr) return false;
    if (holdsTop()) return true;
    TiXmlElement* copy = cloneElement(*m_pElement);
    std::shared_ptr<DomainXmlTree> tree = makeTree(copy, copy);
    if (tree == nullptr) return false;
    drop();
    take(tree, copy);
    return true;
}

SafePointer<DomainXmlNode> DomainXmlNode::viewOf(const TiXmlElement* child) const {
    return SafePointer<DomainXmlNode>(new DomainXmlNode(m_tree, const_cast<TiXmlElement*>(child)));
}

bool DomainXmlNode::getProperty(Name name, int* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = findAttribute(*m_tree, *m_pElement, name.c_str());
    if (text == nullptr) {
        *value = 0;
        return false;
    }
    *value = std::atoi(text);
    return true;
}

bool DomainXmlNode::getProperty(Name name, float* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = findAttribute(*m_tree, *m_pElement, name.c_str());
    if (text == nullptr) return false;
    std::sscanf(text, "%f", value);
    return true;
}

bool DomainXmlNode::getProperty(Name name, double* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = findAttribute(*m_tree, *m_pElement, name.c_str());
    if (text == nullptr) return false;
    std::sscanf(text, "%lf", value);
    return true;
}

bool DomainXmlNode::getProperty(Name name, bool* value) const {
    if (m_pElement == nullptr) return false;
    const char* text = findAttribute(*m_tree, *m_pElement, name.c_str());
    if (text == nullptr) return false;
    if (strcasecmp(text, "true") == 0) {
        *value = true;
    } else if (strcasecmp(text, "false") == 0) {
        *value = false;
    }
    return true;
}

bool DomainXmlNode::getProperty(Name name, std::string& value) const {
    if (m_pElement == nullptr) return false;
    const char* text = findAttribute(*m_tree, *m_pElement, name.c_str());
    if (text == nullptr) return false;
    value = text;
    return true;
}

bool DomainXmlNode::getName(std::string& value) const {
    if (m_pElement == nullptr) return false;
    value = m_pElement->Value();
    return true;
}

bool DomainXmlNode::setProperty(Name name, int value) {
    char text[kIntBufferSize];
    std::snprintf(text, sizeof(text), "%d", value);
    return setProperty(name, static_cast<const char*>(text));
}

bool DomainXmlNode::setProperty(Name name, float value) {
    char text[kRealBufferSize];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    return setProperty(name, static_cast<const char*>(text));
}

bool DomainXmlNode::setProperty(Name name, double value) {
    char text[kRealBufferSize];
    std::snprintf(text, sizeof(text), "%lf", value);
    return setProperty(name, static_cast<const char*>(text));
}

bool DomainXmlNode::setProperty(Name name, bool value) {
    return setProperty(name, value ? "true" : "false");
}

bool DomainXmlNode::setProperty(Name name, const std::string& value) {
    return setProperty(name, value.c_str());
}

bool DomainXmlNode::setProperty(Name name, const char* value) {
    if (!prepareWrite()) return false;
    m_pElement->SetAttribute(name.c_str(), value);
    return true;
}

bool DomainXmlNode::getConfigNode(Name name, SafePointer<DomainXmlNode>& node) const {
    if (m_pElement == nullptr) return false;
    const TiXmlElement* child = m_pElement->FirstChildElement(name.c_str());
    if (child == nullptr) return false;
    node = viewOf(child);
    return true;
}

bool DomainXmlNode::getConfigNodes(Name name, NodeVector& nodes) const {
    if (m_pElement == nullptr) return false;
    bool appended = false;
    for (const TiXmlElement* child = m_pElement->FirstChildElement(name.c_str()); child != nullptr;
         child = child->NextSiblingElement(name.c_str())) {
        nodes.push_back(viewOf(child));
        appended = true;
    }
    return appended;
}

bool DomainXmlNode::getAllConfigNodes(NodeVector& nodes) const {
    if (m_pElement == nullptr) return false;
    bool appended = false;
    for (const TiXmlElement* child = m_pElement->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        nodes.push_back(viewOf(child));
        appended = true;
    }
    return appended;
}

bool DomainXmlNode::addConfigNode(const SafePointer<DomainXmlNode>& child) {
    DomainXmlNode* source = child.operator->();
    if (m_pElement == nullptr || source->m_pElement == nullptr) return false;
    if (!prepareWrite()) return false;
    // A child that is the only node of a tree of its own gives its element
    // away instead of having it copied; it then views the element in its new
    // place, and writes to it go to a copy as usual.
    std::shared_ptr<DomainXmlTree>& from = source->m_tree;
    if (source != this && from.use_count() == 1 && source->m_pElement == from->top &&
        from->holder.get() == from->top) {
        TiXmlElement* moved = source->m_pElement;
        from->holder.release();
        m_pElement->LinkEndChild(moved);  // refuses documents only
        source->drop();
        source->take(m_tree, moved);
        return true;
    }
    return m_pElement->InsertEndChild(*source->m_pElement) != nullptr;
}

bool DomainXmlNode::toString(const SafePointer<DomainXmlNode>& node, std::string& text) {
    const DomainXmlNode& source = *node;
    if (source.m_pElement == nullptr) return false;
    // The element prints as it would as the only child of a document.
    TiXmlPrinter printer;
    printer.SetIndent("\t");
    if (!source.m_pElement->Accept(&printer)) return false;
    text = printer.Str();
    return true;
}

bool DomainXmlNode::fromString(const std::string& text, SafePointer<DomainXmlNode>& node) {
    std::unique_ptr<TiXmlDocument> document(new (std::nothrow) TiXmlDocument());
    if (document == nullptr) return false;
    parseXmlText(*document, text);
    if (document->Error()) return false;
    TiXmlElement* top = document->FirstChildElement();
    if (top == nullptr) return false;
    std::shared_ptr<DomainXmlTree> tree = makeTree(document.release(), top);
    if (tree == nullptr) return false;
    node = SafePointer<DomainXmlNode>(new DomainXmlNode(tree, top));
    return true;
}

void parseXmlText(TiXmlDocument& document, const std::string& text) {
    std::string padded;
    padded.reserve(text.size() + kTextPadding);
    padded.assign(text).append(kTextPadding, '\0');
    // No row and column bookkeeping: nothing reads node positions, and it
    // costs a quarter of the parse.
    document.SetTabSize(0);
    document.Parse(padded.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
}
