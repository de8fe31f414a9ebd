#pragma once

// Vocabulary of the generated field walks (domain/codecs/fields/*.h).

// What the element parse does when an attribute or a child is missing.
enum class Presence {
    Reset,      // the field becomes 0, false, empty or default
    Optional,   // the field keeps its value
    Logged,     // as Reset, with the log lines
    Mandatory,  // a log line and the element parse fails
};

// Options of one item beyond its presence word.
class Item {
  public:
    constexpr Item() : m_pLine(nullptr), m_nLine(0), m_pNode(nullptr), m_bStrict(false), m_bKeep(false) {}

    // Own log line (C format: a leading "%s%d" takes file and line, another %d the value read).
    constexpr Item line(const char* text, int number) const {
        Item copy(*this);
        copy.m_pLine = text;
        copy.m_nLine = number;
        return copy;
    }
    // Node name of the lines of a logged child.
    constexpr Item node(const char* name) const {
        Item copy(*this);
        copy.m_pNode = name;
        return copy;
    }
    // A found child whose nested parse fails ends the element parse with false.
    constexpr Item strict() const {
        Item copy(*this);
        copy.m_bStrict = true;
        return copy;
    }
    // A missing attribute leaves the field as it was (the local starts from the field).
    constexpr Item keep() const {
        Item copy(*this);
        copy.m_bKeep = true;
        return copy;
    }

    const char* getLine() const { return m_pLine; }
    int getLineNumber() const { return m_nLine; }
    const char* getNode() const { return m_pNode; }
    bool isStrict() const { return m_bStrict; }
    bool isKeep() const { return m_bKeep; }

  private:
    const char* m_pLine;
    int m_nLine;
    const char* m_pNode;
    bool m_bStrict;
    bool m_bKeep;
};

// What a codec's lines need to know about the codec.
struct CodecInfo {
    static constexpr unsigned kShortLines = 1;  // "getProperty get Tag failed \n"
    static constexpr unsigned kTrace = 2;       // lines through OLTrace instead of printf

    const char* codec;  // "InetAddrXml"
    const char* file;   // source file named in traced and "%s%d" lines
    unsigned flags;
    int childTraceLevel;  // trace level of the child-node lines
};
