// Helpers shared by the catalogue codec tests: text to node and back, element
// parses and builds through a codec with what they print captured, and a
// scoped trace setting.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainContainer.h"
#include "domain/xml/DomainXmlNode.h"

namespace catalogue_test {

using NodePtr = SafePointer<DomainXmlNode>;

// Parses XML text into a node; a text that does not parse fails the test.
inline NodePtr parseXml(const std::string& text) {
    NodePtr node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node)) << text;
    return node;
}

// Prints a node as XML text.
inline std::string printXml(const NodePtr& node) {
    std::string text;
    EXPECT_TRUE(DomainXmlNode::toString(node, text));
    return text;
}

// Element parse of text into record with the codec C; out gets what was printed.
template <class C, class R>
bool parseCaptured(const std::string& text, R& record, std::string& out) {
    NodePtr node = parseXml(text);
    testing::internal::CaptureStdout();
    bool ok = C().parseDomainXmlNode(node, record);
    out = testing::internal::GetCapturedStdout();
    return ok;
}

// The same parse, returning what was printed and storing the result in ok.
template <class C, class R>
std::string parseLogged(const std::string& text, R& record, bool& ok) {
    std::string out;
    ok = parseCaptured<C>(text, record, out);
    return out;
}

// Builds record with the codec C into a node called name and prints it.
template <class C, class R>
std::string buildXml(const R& record, const char* name) {
    NodePtr node(new DomainXmlNode(name));
    EXPECT_TRUE(C().createDomainXmlNode(record, node));
    return printXml(node);
}

// Builds a list of `count` fresh records R with the codec C under the element
// listTag and returns the names of the item elements it wrote.
template <class C, class R>
std::vector<std::string> builtItemNames(std::size_t count, const char* listTag) {
    DomainVectorContainer<R> list;
    list.getItems().resize(count);
    NodePtr node(new DomainXmlNode(listTag));
    EXPECT_TRUE(C().createDomainXmlNode(static_cast<const BaseDomain*>(&list), node));
    DomainXmlNode::NodeVector items;
    EXPECT_TRUE(node->getAllConfigNodes(items));
    std::vector<std::string> names;
    for (NodePtr& item : items) {
        std::string name;
        EXPECT_TRUE(item->getName(name));
        names.push_back(name);
    }
    return names;
}

// Sets the trace level (and, when asked, turns the trace entry on) for one
// scope; both settings come back at the end of it.
class ScopedTrace {
  public:
    explicit ScopedTrace(int level, bool enable = false)
        : m_bEnabled(config().isEnabled()), m_nLevel(config().getLevel()) {
        if (enable) config().setEnabled(true);
        config().setLevel(level);
    }
    ~ScopedTrace() {
        config().setEnabled(m_bEnabled);
        config().setLevel(m_nLevel);
    }
    ScopedTrace(const ScopedTrace&) = delete;
    ScopedTrace& operator=(const ScopedTrace&) = delete;

  private:
    static OLTraceConfig& config() { return OLTraceConfig::getInstance(); }
    bool m_bEnabled;
    int m_nLevel;
};

}  // namespace catalogue_test
