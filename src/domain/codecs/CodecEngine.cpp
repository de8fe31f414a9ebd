#include "domain/codecs/CodecEngine.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Product/Technic/OLTrace.h"

namespace domain_codec {

namespace {

constexpr int kLineBufferSize = 512;

void emit(const CodecInfo& info, int level, const char* text) {
    if ((info.flags & CodecInfo::kTrace) != 0) {
        OLTrace(level, info.file, "%s", text);
    } else {
        std::fputs(text, stdout);
    }
}

// An own line: "%s%d" in front takes file and line number, another
// conversion takes the value read.
void emitOwn(const CodecInfo& info, int level, const Item& item, int value) {
    const char* format = item.getLine();
    char text[kLineBufferSize];
    if (std::strncmp(format, "%s%d", 4) == 0) {
        std::snprintf(text, sizeof(text), format, info.file, item.getLineNumber());
    } else if (std::strchr(format, '%') != nullptr) {
        std::snprintf(text, sizeof(text), format, value);
    } else {
        std::snprintf(text, sizeof(text), "%s", format);
    }
    emit(info, level, text);
}

}  // namespace

void writeText(const CodecInfo& info, int level, const char* text) {
    emit(info, level, text);
}

void writeAttributeLine(const CodecInfo& info, const char* tag, const Item& item, int value) {
    if (item.getLine() != nullptr) {
        emitOwn(info, 3, item, value);
        return;
    }
    char text[kLineBufferSize];
    if ((info.flags & CodecInfo::kShortLines) != 0) {
        std::snprintf(text, sizeof(text), "getProperty get %s failed \n", tag);
    } else {
        std::snprintf(text, sizeof(text), "%s::parseDomainXmlNode get %s failed \n", info.codec, tag);
    }
    emit(info, 3, text);
}

void writeOwnLine(const CodecInfo& info, const Item& item) {
    if (item.getLine() != nullptr) emitOwn(info, info.childTraceLevel, item, 0);
}

void writeLookupLine(const CodecInfo& info, const char* tag, const Item& item) {
    if (item.getLine() != nullptr) {
        emitOwn(info, info.childTraceLevel, item, 0);
        return;
    }
    char text[kLineBufferSize];
    std::snprintf(text, sizeof(text), "getConfigNode %s failed\n",
                  item.getNode() != nullptr ? item.getNode() : tag);
    emit(info, info.childTraceLevel, text);
}

void writeNestedParseLine(const CodecInfo& info, const char* tag) {
    char text[kLineBufferSize];
    std::snprintf(text, sizeof(text), "parseDomainXmlNode obj%s failed\n", tag);
    emit(info, info.childTraceLevel, text);
}

void writeListBuildLine(const CodecInfo& info, const char* tag) {
    char text[kLineBufferSize];
    std::snprintf(text, sizeof(text), "createDomainXmlNode %s failed \n", tag);
    emit(info, info.childTraceLevel, text);
}

int floatToInt(float value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483648.0f) return INT_MAX;
    if (value <= -2147483648.0f) return INT_MIN;
    return static_cast<int>(value);
}

void addChildNode(NodePtr& node, const char* tag, BuildStep build, const void* value) {
    NodePtr childNode(new DomainXmlNode(tag));
    build(nullptr, value, childNode);
    node->addConfigNode(childNode);
}

void addListNode(const CodecInfo& info, NodePtr& node, const char* tag, Presence presence, BuildStep build,
                 const void* value) {
    NodePtr listNode(new DomainXmlNode(tag));
    if (build(nullptr, value, listNode)) {
        node->addConfigNode(listNode);
    } else if (presence == Presence::Logged) {
        node->addConfigNode(listNode);
        writeListBuildLine(info, tag);
    }
}

bool addItemNodes(NodePtr& node, const char* itemName, const void* first, size_t count, size_t size,
                  BuildStep build, void* codec) {
    if (node.isNull()) return false;
    const char* item = static_cast<const char*>(first);
    for (size_t i = 0; i < count; ++i, item += size) {
        NodePtr itemNode(new DomainXmlNode(itemName));
        if (!build(codec, item, itemNode)) return false;
        node->addConfigNode(itemNode);
    }
    return true;
}

bool parseChildNodes(NodePtr& node, ParseStep parse, void* codec, void* records) {
    if (node.isNull()) return false;
    DomainXmlNode::NodeVector children;
    node->getAllConfigNodes(children);
    for (NodePtr& child : children) {
        if (!parse(codec, child, records)) return false;
    }
    return true;
}

bool setFixedText(char* field, int max, const char* text) {
    if (text == nullptr) return false;
    size_t length = std::strlen(text);
    if (length > static_cast<size_t>(max)) return false;
    std::memcpy(field, text, length + 1);
    return true;
}

}  // namespace domain_codec
