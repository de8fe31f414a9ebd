// One case of a codec table: a text parsed into a default record by the
// record's codec, and that record built again. What the parse and the build
// printed and the built document are compared byte for byte.
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

// Lines that name their source file and line read "File.cpp#": the number moves with the code.
inline std::string maskLineNumbers(std::string text) {
    for (size_t at = text.find(".cpp"); at != std::string::npos; at = text.find(".cpp", at + 1)) {
        size_t end = at + 4;
        while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
        if (end > at + 4) text.replace(at + 4, end - at - 4, "#");
    }
    return text;
}

// Standard output, with the trace entry open at a level, from construction to
// the log (or the outcome of a parse and a build); the trace configuration comes back then.
class Capture {
  public:
    explicit Capture(int traceLevel) : m_bEnabled(trace().isEnabled()), m_nLevel(trace().getLevel()) {
        trace().setEnabled(true);
        trace().setLevel(traceLevel);
        testing::internal::CaptureStdout();
    }
    std::string log() {
        const std::string text = maskLineNumbers(testing::internal::GetCapturedStdout());
        trace().setEnabled(m_bEnabled);
        trace().setLevel(m_nLevel);
        return text;
    }
    Outcome outcome(bool ok, bool built, const Node& out) {
        return {ok, log(), built ? print(out) : "refused"};  // the log first: braces keep the order
    }

  private:
    static OLTraceConfig& trace() { return OLTraceConfig::getInstance(); }
    bool m_bEnabled;
    int m_nLevel;
};

template <class R>
struct CodecFor : CodecOf<R> {};
template <class T>
struct CodecFor<std::vector<T>> : CodecOf<T> {};

// Parses a text into a default R through its codec and builds R again into an
// element of the root's name: the top-level (virtual) operations when Entry,
// else the element operations, or the list operations when R is a vector.
template <class R, bool Entry = false>
Outcome run(const std::string& text, int traceLevel = 0) {
    Node node = parse(text);
    std::string name;
    node->getName(name);
    R record;
    typename CodecFor<R>::type codec;
    Node out(new DomainXmlNode(name));
    Capture capture(traceLevel);
    if constexpr (Entry) {
        const bool ok = codec.parseDomainXmlNode(node, static_cast<BaseDomain*>(&record));
        return capture.outcome(ok, codec.createDomainXmlNode(static_cast<const BaseDomain*>(&record), out),
                               out);
    } else {
        const bool ok = codec.parseDomainXmlNode(node, record);
        return capture.outcome(ok, codec.createDomainXmlNode(static_cast<const R&>(record), out), out);
    }
}

struct Case {
    const char* what;
    Outcome got;
    Outcome expected;
};

// Compares every case. An expected document that ends in "..." is compared up
// to there; one that begins with it, from there to the end.
inline void check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(c.expected.ok, c.got.ok) << c.what;
        EXPECT_EQ(c.expected.log, c.got.log) << c.what;
        std::string want = c.expected.built;
        const bool head = want.size() > 3 && want.compare(want.size() - 3, 3, "...") == 0;
        const bool tail = !head && want.compare(0, 3, "...") == 0;
        want = want.substr(tail ? 3 : 0, want.size() - (head || tail ? 3 : 0));
        const size_t from = tail && c.got.built.size() > want.size() ? c.got.built.size() - want.size() : 0;
        EXPECT_EQ(want, head || tail ? c.got.built.substr(from, want.size()) : c.got.built) << c.what;
    }
}

}  // namespace codec_case
