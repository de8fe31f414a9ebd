#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"

class TiXmlDocument;
class TiXmlElement;
struct DomainXmlTree;

// The domain layer's door to the XML library: one element tree that behaves
// as the node's private value. Nodes handed out share the parsed tree instead
// of copying it; whichever node writes to an element that another node can
// see takes its own copy first, so no node ever sees a change made through
// another one.
class DomainXmlNode {
  public:
    typedef std::vector<SafePointer<DomainXmlNode>> NodeVector;

    // A tag or attribute name, from a literal or a std::string, without a copy.
    class Name {
      public:
        Name(const char* text) : m_pText(text) {}                 // NOLINT: implicit by design
        Name(const std::string& text) : m_pText(text.c_str()) {}  // NOLINT
        const char* c_str() const { return m_pText; }

      private:
        const char* m_pText;
    };

    // A new empty element of that name.
    explicit DomainXmlNode(const std::string& name);
    explicit DomainXmlNode(const char* name);
    // A deep copy of element with its attributes and descendants.
    explicit DomainXmlNode(const TiXmlElement& element);
    DomainXmlNode(const DomainXmlNode& other);
    DomainXmlNode& operator=(const DomainXmlNode& other);
    ~DomainXmlNode();

    // Reading. False when the element or the attribute is missing.
    // int: a missing attribute also sets *value to 0; the text is read by atoi.
    bool getProperty(Name name, int* value) const;
    // float/double: "%f"/"%lf"; true even if nothing converted (value untouched).
    bool getProperty(Name name, float* value) const;
    bool getProperty(Name name, double* value) const;
    // bool: "true"/"false" in any case; another text leaves *value untouched, still true.
    bool getProperty(Name name, bool* value) const;
    bool getProperty(Name name, std::string& value) const;
    bool getName(std::string& value) const;

    // Writing. False only when the node has no element. A name set again keeps
    // its position and takes the new value.
    bool setProperty(Name name, int value);
    bool setProperty(Name name, float value);
    bool setProperty(Name name, double value);
    bool setProperty(Name name, bool value);
    bool setProperty(Name name, const std::string& value);
    // Without this a literal would pick the bool overload.
    bool setProperty(Name name, const char* value);

    // Child elements, each handed out as a node of its own.
    bool getConfigNode(Name name, SafePointer<DomainXmlNode>& node) const;
    // Appends (without clearing) one node per child named name; true if any was appended.
    bool getConfigNodes(Name name, NodeVector& nodes) const;
    bool getAllConfigNodes(NodeVector& nodes) const;
    // Appends child's element as it is now: later changes to child stay there.
    bool addConfigNode(const SafePointer<DomainXmlNode>& child);

    // The printed form: one tab per depth, "\n" line ends, " />" for empty
    // elements, no declaration.
    static bool toString(const SafePointer<DomainXmlNode>& node, std::string& text);
    // The first element of the document; false on a parse error or when there is none.
    static bool fromString(const std::string& text, SafePointer<DomainXmlNode>& node);

    // The underlying element, for the document code of the discovery datagrams.
    const TiXmlElement* getElement() const { return m_pElement; }

  private:
    // A view of element, which lies in tree.
    DomainXmlNode(const std::shared_ptr<DomainXmlTree>& tree, TiXmlElement* element);
    // A node of its own for a child element of this node's tree.
    SafePointer<DomainXmlNode> viewOf(const TiXmlElement* child) const;
    // Makes the element safe to change: unless this node alone holds the top
    // of its tree, the element is copied into a tree of its own first.
    // False when there is no element (or the copy failed).
    bool prepareWrite();
    bool holdsTop() const;
    void take(const std::shared_ptr<DomainXmlTree>& tree, TiXmlElement* element);
    void drop();

    // Keeps the element alive; empty only if allocation failed.
    std::shared_ptr<DomainXmlTree> m_tree;
    TiXmlElement* m_pElement;
};

// Parses text (up to its first zero byte) into document, with the encoding left
// to the XML library. Every text handed to the XML library goes through here:
// in UTF-8 the library steps over a multi-byte character by the length that its
// lead byte announces, so a lead byte at the very end would carry it past the
// terminator; the text is parsed from a copy with zero bytes behind it.
void parseXmlText(TiXmlDocument& document, const std::string& text);
