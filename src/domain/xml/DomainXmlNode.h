#pragma once

#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"

class TiXmlDocument;
class TiXmlElement;

// The domain layer's door to the XML library: one element tree, always owned
// privately. Every step that hands an element in or out takes a deep copy, so
// a node can never dangle or be changed through another node.
class DomainXmlNode {
  public:
    typedef std::vector<SafePointer<DomainXmlNode>> NodeVector;

    // A new empty element of that name.
    explicit DomainXmlNode(const std::string& name);
    // A deep copy of element with its attributes and descendants.
    explicit DomainXmlNode(const TiXmlElement& element);
    DomainXmlNode(const DomainXmlNode& other);
    DomainXmlNode& operator=(const DomainXmlNode& other);
    ~DomainXmlNode();

    // Reading. False when the element or the attribute is missing.
    // int: a missing attribute also sets *value to 0; the text is read by atoi.
    bool getProperty(const std::string& name, int* value) const;
    // float/double: "%f"/"%lf"; true even if nothing converted (value untouched).
    bool getProperty(const std::string& name, float* value) const;
    bool getProperty(const std::string& name, double* value) const;
    // bool: "true"/"false" in any case; another text leaves *value untouched, still true.
    bool getProperty(const std::string& name, bool* value) const;
    bool getProperty(const std::string& name, std::string& value) const;
    bool getName(std::string& value) const;

    // Writing. False only when the node has no element. A name set again keeps
    // its position and takes the new value.
    bool setProperty(const std::string& name, int value);
    bool setProperty(const std::string& name, float value);
    bool setProperty(const std::string& name, double value);
    bool setProperty(const std::string& name, bool value);
    bool setProperty(const std::string& name, const std::string& value);
    // Without this a literal would pick the bool overload.
    bool setProperty(const std::string& name, const char* value) {
        return setProperty(name, std::string(value));
    }

    // Child elements, each handed out as a deep copy.
    bool getConfigNode(const std::string& name, SafePointer<DomainXmlNode>& node) const;
    // Appends (without clearing) one node per child named name; true if any was appended.
    bool getConfigNodes(const std::string& name, NodeVector& nodes) const;
    bool getAllConfigNodes(NodeVector& nodes) const;
    // Appends a deep copy of child's element: later changes to child stay there.
    bool addConfigNode(const SafePointer<DomainXmlNode>& child);

    // The printed form: one tab per depth, "\n" line ends, " />" for empty
    // elements, no declaration.
    static bool toString(const SafePointer<DomainXmlNode>& node, std::string& text);
    // The first element of the document; false on a parse error or when there is none.
    static bool fromString(const std::string& text, SafePointer<DomainXmlNode>& node);

    // The underlying element, for the document code of the discovery datagrams.
    const TiXmlElement* getElement() const { return m_pElement; }

  private:
    TiXmlElement* m_pElement;
};

// Parses text (up to its first zero byte) into document, with the encoding left
// to the XML library. Every text handed to the XML library goes through here:
// in UTF-8 the library steps over a multi-byte character by the length that its
// lead byte announces, so a lead byte at the very end would carry it past the
// terminator; the text is parsed from a copy with zero bytes behind it.
void parseXmlText(TiXmlDocument& document, const std::string& text);
