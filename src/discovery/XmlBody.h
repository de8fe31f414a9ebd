#pragma once

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include <tinyxml.h>

#include "domain/xml/DomainXmlNode.h"

// The document steps shared by the discovery commands whose body is one XML
// element (DeviceInfo, DeviceBaseInfo).
namespace discovery_xml {

// Appends a copy of `root` to `document`, points `current` at that copy and
// prints the document with a tab as indent into `text`. False when the copy
// cannot be linked or the document cannot be printed.
inline bool printDocument(TiXmlDocument& document, const TiXmlElement& root, TiXmlElement*& current,
                          std::string& text) {
    TiXmlNode* linked = document.InsertEndChild(root);
    if (linked == nullptr) return false;
    current = linked->ToElement();

    TiXmlPrinter printer;
    printer.SetIndent("\t");
    if (!document.Accept(&printer)) return false;
    text = printer.Str();
    return true;
}

// Parses `text` (up to its first zero byte) into the emptied `document` and
// returns its top-level element named `rootName`; null on a parse error or
// when there is none. `text` must outlive the call only.
inline TiXmlElement* parseDocument(TiXmlDocument& document, const std::string& text, const char* rootName) {
    document.Clear();
    parseXmlText(document, text);
    if (document.Error()) return nullptr;
    return document.FirstChildElement(rootName);
}

// Decimal conversion with atoi's leniency (unconvertible text gives 0) but
// without its undefined overflow: out-of-range values saturate.
inline int toInt(const char* text) {
    if (text == nullptr) return 0;
    const long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

// Copies `text` into a fixed character array, cut to its width so that the
// terminator always fits.
inline void copyCut(char* field, size_t size, const char* text) {
    std::memset(field, 0, size);
    if (text == nullptr) return;
    std::memcpy(field, text, strnlen(text, size - 1));
}
template <size_t N>
inline void copyCut(char (&field)[N], const char* text) {
    copyCut(field, N, text);
}

}  // namespace discovery_xml
