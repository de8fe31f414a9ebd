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

template <class R>
struct CodecFor : CodecOf<R> {};
template <class T>
struct CodecFor<std::vector<T>> : CodecOf<T> {};

// Parse and build through the codec of R: the top-level (virtual) operations
// when Entry, else the element operations, or the list operations when R is a vector.
template <class R, bool Entry = false>
Outcome run(const std::string& text) {
    Node node = parse(text);
    std::string name;
    node->getName(name);
    R record;
    typename CodecFor<R>::type codec;
    Node out(new DomainXmlNode(name));
    testing::internal::CaptureStdout();
    bool ok, built;
    if constexpr (Entry) {
        ok = codec.parseDomainXmlNode(node, static_cast<BaseDomain*>(&record));
        built = codec.createDomainXmlNode(static_cast<const BaseDomain*>(&record), out);
    } else {
        ok = codec.parseDomainXmlNode(node, record);
        built = codec.createDomainXmlNode(static_cast<const R&>(record), out);
    }
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
        // An expected document that ends in "..." is compared up to there; one
        // that begins with it, from there to the end.
        std::string want = c.expected.built;
        const bool head = want.size() > 3 && want.compare(want.size() - 3, 3, "...") == 0;
        const bool tail = !head && want.compare(0, 3, "...") == 0;
        want = want.substr(tail ? 3 : 0, want.size() - (head || tail ? 3 : 0));
        const size_t from = tail && got.built.size() > want.size() ? got.built.size() - want.size() : 0;
        EXPECT_EQ(want, head || tail ? got.built.substr(from, want.size()) : got.built) << c.what;
    }
}

}  // namespace codec_case
