// One case of a codec table: a text parsed into a default record by the
// record's codec, and that record built again. What the parse printed and the
// built document are compared byte for byte.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainContainer.h"
#include "domain/codecs/CodecOf.h"
#include "domain/xml/DomainXmlNode.h"

namespace codec_case {

typedef SafePointer<DomainXmlNode> Node;

struct Outcome {
    bool ok;
    std::string log;    // standard output of the parse and the build
    std::string built;  // the record built into an element of the root's name; "refused" if the build failed
};

inline std::string print(const Node& node) {
    std::string text;
    EXPECT_TRUE(DomainXmlNode::toString(node, text));
    return text;
}

inline Node parse(const std::string& text) {
    Node node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node)) << text;
    return node;
}

// Parse and build through the codec of R; Entry selects the top-level
// (virtual) operations, else the element operations, or the list operations
// when R is a vector.
template <class R, bool Entry = false>
struct Run {
    typedef typename CodecOf<R>::type Codec;
    static bool parse(Codec& codec, Node& node, R& record) {
        return Entry ? codec.parseDomainXmlNode(node, static_cast<BaseDomain*>(&record))
                     : codec.parseDomainXmlNode(node, record);
    }
    static bool build(Codec& codec, const R& record, Node& node) {
        return Entry ? codec.createDomainXmlNode(static_cast<const BaseDomain*>(&record), node)
                     : codec.createDomainXmlNode(record, node);
    }
};
template <class T>
struct Run<std::vector<T>, false> {
    typedef typename CodecOf<T>::type Codec;
    static bool parse(Codec& codec, Node& node, std::vector<T>& records) {
        return codec.parseDomainXmlNode(node, records);
    }
    static bool build(Codec& codec, const std::vector<T>& records, Node& node) {
        return codec.createDomainXmlNode(records, node);
    }
};

template <class R, bool Entry = false>
Outcome run(const std::string& text) {
    Node node = parse(text);
    std::string name;
    node->getName(name);
    R record;
    typename Run<R, Entry>::Codec codec;
    Node out(new DomainXmlNode(name));
    testing::internal::CaptureStdout();
    bool ok = Run<R, Entry>::parse(codec, node, record);
    bool built = Run<R, Entry>::build(codec, record, out);
    return {ok, testing::internal::GetCapturedStdout(), built ? print(out) : "refused"};
}

// Lines that name their source file and line read "File.cpp#": the number moves with the code.
inline std::string maskLineNumbers(std::string text) {
    for (size_t at = text.find(".cpp"); at != std::string::npos; at = text.find(".cpp", at + 1)) {
        size_t end = at + 4;
        while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
        if (end > at + 4) text.replace(at + 4, end - at - 4, "#");
    }
    return text;
}

struct Case {
    const char* what;
    Outcome (*run)(const std::string&);
    std::string text;
    Outcome expected;
    int traceLevel = 0;  // the trace entry's level during the parse and the build
};

// Runs every case; the trace configuration comes back at the end of each.
inline void check(const std::vector<Case>& cases) {
    OLTraceConfig& trace = OLTraceConfig::getInstance();
    for (const Case& c : cases) {
        const bool enabled = trace.isEnabled();
        const int level = trace.getLevel();
        trace.setEnabled(true);
        trace.setLevel(c.traceLevel);
        Outcome got = c.run(c.text);
        trace.setEnabled(enabled);
        trace.setLevel(level);
        EXPECT_EQ(c.expected.ok, got.ok) << c.what;
        EXPECT_EQ(c.expected.log, maskLineNumbers(got.log)) << c.what;
        // An expected document that ends in "..." is compared up to there.
        std::string want = c.expected.built;
        const bool head = want.size() > 3 && want.compare(want.size() - 3, 3, "...") == 0;
        if (head) want.resize(want.size() - 3);
        EXPECT_EQ(want, head ? got.built.substr(0, want.size()) : got.built) << c.what;
    }
}

}  // namespace codec_case
