#pragma once

// The codec engine: the one implementation of the codec pattern. A codec's six
// operations call the entry, element and list helpers below; the element
// helpers walk the record's items (visitFields, generated from the schema) with
// a build or a parse visitor, which apply the presence words and write the log
// lines.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Product/Technic/SafePointer.h"
#include "domain/DomainContainer.h"
#include "domain/codecs/CodecItems.h"
#include "domain/codecs/CodecOf.h"
#include "domain/codecs/IntelligenceAbilityShapes.h"
#include "domain/xml/DomainXmlNode.h"
#include "domain/xml/IDomainXml.h"

namespace domain_codec {

// Visitor steps stay out of line: the field walks are long, and inlining every
// step into them costs build time for no gain.
#define DOMAIN_CODEC_STEP __attribute__((noinline))

typedef SafePointer<DomainXmlNode> NodePtr;

// ---- log lines

// Writes text as it is: printf, or OLTrace(level, info.file, ...) for a traced codec.
void writeText(const CodecInfo& info, int level, const char* text);
// The line of a missing mandatory or logged attribute; value is the local as
// the read left it (for an own line with %d).
void writeAttributeLine(const CodecInfo& info, const char* tag, const Item& item, int value);
// The own line of an item (if any), for a missing mandatory child.
void writeOwnLine(const CodecInfo& info, const Item& item);
// "getConfigNode NODE failed\n" (or the item's own line).
void writeLookupLine(const CodecInfo& info, const char* tag, const Item& item);
// "parseDomainXmlNode objTag failed\n".
void writeNestedParseLine(const CodecInfo& info, const char* tag);
// "createDomainXmlNode Tag failed \n".
void writeListBuildLine(const CodecInfo& info, const char* tag);

// ---- the record-independent halves of the steps and list helpers
//
// Node handling and loops are compiled once, here; each record type adds only
// the small functions below that run its codec on one value.

// Runs a codec on a value: a T or a std::vector<T>, as the codec takes it.
// codec is the codec object, or null for a new one.
typedef bool (*BuildStep)(void* codec, const void* value, NodePtr& node);
typedef bool (*ParseStep)(void* codec, NodePtr& node, void* value);

template <class Codec, class V>
bool buildWith(void* codec, const void* value, NodePtr& node) {
    const V& typed = *static_cast<const V*>(value);
    if (codec != nullptr) return static_cast<Codec*>(codec)->createDomainXmlNode(typed, node);
    Codec fresh;
    return fresh.createDomainXmlNode(typed, node);
}

// A new element tag, built by build from value, appended to node.
void addChildNode(NodePtr& node, const char* tag, BuildStep build, const void* value);
// As addChildNode, but an element whose build fails is appended only for a
// logged item, with its line.
void addListNode(const CodecInfo& info, NodePtr& node, const char* tag, Presence presence, BuildStep build,
                 const void* value);
// One element itemName per item of count items of size bytes from first,
// appended to node; stops at the first failure.
bool addItemNodes(NodePtr& node, const char* itemName, const void* first, size_t count, size_t size,
                  BuildStep build, void* codec);
// Parses every child element of node in turn; stops at the first failure.
bool parseChildNodes(NodePtr& node, ParseStep parse, void* codec, void* records);

// A float read from text as an int: truncated toward zero, saturated at the
// ends of int; NaN gives 0. ("1e30" or "nan" must not reach a plain cast.)
int floatToInt(float value);

// The setter of a fixed text field of max characters: refuses null and longer
// texts (the field stays), else copies text and terminator.
bool setFixedText(char* field, int max, const char* text);

// ---- how fields travel: every integer as an int attribute

template <class F>
struct Wire {
    typedef F type;
    static const type& out(const F& value) { return value; }
    static F in(const type& value) { return value; }
    static F in(type&& value) { return std::move(value); }
    static int lineValue(const type&) { return 0; }
};
// An integer no wider than int travels as int; a read keeps its low bits.
template <class F>
struct IntWire {
    typedef int type;
    static int out(F value) { return value; }
    static F in(int value) { return static_cast<F>(value); }
    static int lineValue(int value) { return value; }
};
template <>
struct Wire<int> : IntWire<int> {};
template <>
struct Wire<unsigned short> : IntWire<unsigned short> {};  // low 16 bits
template <>
struct Wire<unsigned char> : IntWire<unsigned char> {};  // low 8 bits
template <>
struct Wire<int64_t> {
    typedef int type;
    static int out(int64_t value) { return static_cast<int>(static_cast<uint32_t>(value)); }  // low 32 bits
    static int64_t in(int value) { return value; }                                            // sign-extended
    static int lineValue(int value) { return value; }
};
template <>
struct Wire<bool> {
    typedef bool type;
    static bool out(bool value) { return value; }
    static bool in(bool value) { return value; }
    static int lineValue(bool value) { return value ? 1 : 0; }
};

// ---- build

class BuildVisitor {
  public:
    BuildVisitor(const CodecInfo& info, NodePtr& node) : m_info(info), m_node(node) {}

    template <class F>
    DOMAIN_CODEC_STEP void attr(const char* tag, Presence, F& field, const Item& = Item()) {
        m_node->setProperty(tag, Wire<F>::out(field));
    }
    template <class F>
    DOMAIN_CODEC_STEP void attrOr(const char* tag, Presence presence, F& field, const F&,
                                  const Item& item = Item()) {
        attr(tag, presence, field, item);
    }
    DOMAIN_CODEC_STEP void text(const char* tag, Presence, char* field, int, const Item& = Item()) {
        m_node->setProperty(tag, static_cast<const char*>(field));
    }
    DOMAIN_CODEC_STEP void intReadAsFloat(const char* tag, Presence, int& field, const Item& = Item()) {
        m_node->setProperty(tag, field);
    }
    DOMAIN_CODEC_STEP void floatAsInt(const char* tag, Presence, float& field, const Item& = Item()) {
        m_node->setProperty(tag, floatToInt(field));
    }

    template <class T>
    DOMAIN_CODEC_STEP void child(const char* tag, Presence, T& field, const Item& = Item()) {
        addChildNode(m_node, tag, &buildWith<typename CodecOf<T>::type, T>, &field);
    }
    // The base part of the record in a child element of its own.
    template <class T>
    DOMAIN_CODEC_STEP void baseChild(const char* tag, Presence presence, T& base, const Item& item = Item()) {
        child(tag, presence, base, item);
    }
    template <class T>
    DOMAIN_CODEC_STEP void list(const char* tag, Presence presence, std::vector<T>& field,
                                const Item& = Item()) {
        addListNode(m_info, m_node, tag, presence, &buildWith<typename CodecOf<T>::type, std::vector<T>>,
                    &field);
    }
    template <class S>
    DOMAIN_CODEC_STEP void scalarList(const char* tag, const char* itemTag, Presence, Presence,
                                      std::vector<S>& field, const Item& = Item()) {
        NodePtr listNode(new DomainXmlNode(tag));
        for (const S& value : field) {
            NodePtr itemNode(new DomainXmlNode(itemTag));
            itemNode->setProperty(itemTag, Wire<S>::out(value));
            listNode->addConfigNode(itemNode);
        }
        m_node->addConfigNode(listNode);
    }
    template <class Fn>
    DOMAIN_CODEC_STEP void inlineChild(const char* tag, Presence, Fn walk, const Item& = Item()) {
        NodePtr childNode(new DomainXmlNode(tag));
        BuildVisitor sub(m_info, childNode);
        walk(sub);
        m_node->addConfigNode(childNode);
    }
    template <class S>
    DOMAIN_CODEC_STEP void repeatedInline(const char* tag, Presence, std::vector<S>& field,
                                          const Item& = Item()) {
        for (S& entry : field) {
            NodePtr itemNode(new DomainXmlNode(tag));
            BuildVisitor sub(m_info, itemNode);
            S::visitFields(sub, entry);
            m_node->addConfigNode(itemNode);
        }
    }
    template <class Shape>
    DOMAIN_CODEC_STEP void shape(const char* tag, AbilityShapeKind, Shape& field, const Item& = Item()) {
        buildAbilityShape(m_node, tag, static_cast<const Shape&>(field));
    }

  private:
    const CodecInfo& m_info;
    NodePtr& m_node;
};

// ---- parse

class ParseVisitor {
  public:
    ParseVisitor(const CodecInfo& info, NodePtr& node) : m_info(info), m_node(node), m_bFailed(false) {}

    bool failed() const { return m_bFailed; }

    template <class F>
    DOMAIN_CODEC_STEP void attr(const char* tag, Presence presence, F& field, const Item& item = Item()) {
        if (m_bFailed) return;
        typename Wire<F>::type local = item.isKeep() ? Wire<F>::out(field) : typename Wire<F>::type();
        if (read(tag, local)) {
            field = Wire<F>::in(std::move(local));
            return;
        }
        missing(tag, presence, item, field, Wire<F>::in(local), Wire<F>::lineValue(local));
    }
    // As attr, but a missing attribute gives absent instead of 0, false or empty.
    template <class F>
    DOMAIN_CODEC_STEP void attrOr(const char* tag, Presence presence, F& field, const F& absent,
                                  const Item& item = Item()) {
        if (m_bFailed) return;
        typename Wire<F>::type local = typename Wire<F>::type();
        if (read(tag, local)) {
            field = Wire<F>::in(std::move(local));
            return;
        }
        if (presence == Presence::Optional) {
            field = absent;
            return;
        }
        missing(tag, presence, item, field, absent, Wire<F>::lineValue(local));
    }
    DOMAIN_CODEC_STEP void text(const char* tag, Presence presence, char* field, int max,
                                const Item& item = Item()) {
        if (m_bFailed) return;
        std::string local = item.isKeep() ? std::string(field) : std::string();
        if (read(tag, local)) {
            setFixedText(field, max, local.c_str());  // an overlong text leaves the field, the parse goes on
            return;
        }
        if (presence == Presence::Optional) return;
        if (presence != Presence::Reset) writeAttributeLine(m_info, tag, item, 0);
        if (presence == Presence::Mandatory) {
            m_bFailed = true;
            return;
        }
        setFixedText(field, max, local.c_str());
    }
    DOMAIN_CODEC_STEP void intReadAsFloat(const char* tag, Presence presence, int& field,
                                          const Item& item = Item()) {
        if (m_bFailed) return;
        float local = item.isKeep() ? static_cast<float>(field) : 0.0f;
        if (read(tag, local)) {
            field = floatToInt(local);
            return;
        }
        missing(tag, presence, item, field, floatToInt(local), floatToInt(local));
    }
    DOMAIN_CODEC_STEP void floatAsInt(const char* tag, Presence presence, float& field,
                                      const Item& item = Item()) {
        if (m_bFailed) return;
        int local = item.isKeep() ? floatToInt(field) : 0;
        if (read(tag, local)) {
            field = static_cast<float>(local);
            return;
        }
        missing(tag, presence, item, field, static_cast<float>(local), local);
    }

    template <class T>
    DOMAIN_CODEC_STEP void child(const char* tag, Presence presence, T& field, const Item& item = Item()) {
        if (m_bFailed) return;
        NodePtr childNode;
        bool found = lookup(tag, childNode);
        nested(tag, presence, item, found, field, [&](T& local) {
            typename CodecOf<T>::type codec;
            return codec.parseDomainXmlNode(childNode, local);
        });
    }
    template <class T>
    DOMAIN_CODEC_STEP void baseChild(const char* tag, Presence presence, T& base, const Item& item = Item()) {
        child(tag, presence, base, item);
    }
    template <class T>
    DOMAIN_CODEC_STEP void list(const char* tag, Presence presence, std::vector<T>& field,
                                const Item& item = Item()) {
        if (m_bFailed) return;
        NodePtr listNode;
        bool found = lookup(tag, listNode);
        nested(tag, presence, item, found, field, [&](std::vector<T>& local) {
            typename CodecOf<T>::type codec;
            return codec.parseDomainXmlNode(listNode, local);
        });
    }
    template <class S>
    DOMAIN_CODEC_STEP void scalarList(const char* tag, const char* itemTag, Presence presence,
                                      Presence itemPresence, std::vector<S>& field,
                                      const Item& item = Item()) {
        if (m_bFailed) return;
        NodePtr listNode;
        bool found = lookup(tag, listNode);
        nested(tag, presence, item, found, field, [&](std::vector<S>& local) {
            DomainXmlNode::NodeVector nodes;
            listNode->getConfigNodes(itemTag, nodes);
            for (NodePtr& itemNode : nodes) {
                typename Wire<S>::type value = typename Wire<S>::type();
                if (!readFrom(itemNode, itemTag, value)) {
                    if (itemPresence == Presence::Optional) continue;
                    if (itemPresence != Presence::Reset) {
                        writeAttributeLine(m_info, itemTag, Item(), Wire<S>::lineValue(value));
                    }
                    if (itemPresence == Presence::Mandatory) return false;
                }
                local.push_back(Wire<S>::in(value));
            }
            return true;
        });
    }
    template <class Fn>
    DOMAIN_CODEC_STEP void inlineChild(const char* tag, Presence presence, Fn walk,
                                       const Item& item = Item()) {
        if (m_bFailed) return;
        NodePtr childNode;
        bool found = lookup(tag, childNode);
        if (!found) {
            if (presence == Presence::Optional) return;
            if (presence == Presence::Mandatory) {
                writeOwnLine(m_info, item);
                m_bFailed = true;
                return;
            }
            if (presence == Presence::Logged) writeLookupLine(m_info, tag, item);
        }
        // Without the child every item of it reads as missing.
        ParseVisitor sub(m_info, childNode);
        walk(sub);
        if (sub.failed()) m_bFailed = true;
    }
    template <class S>
    DOMAIN_CODEC_STEP void repeatedInline(const char* tag, Presence presence, std::vector<S>& field,
                                          const Item& item = Item()) {
        if (m_bFailed) return;
        DomainXmlNode::NodeVector nodes;
        bool found = !m_node.isNull() && m_node->getConfigNodes(tag, nodes);
        nested(tag, presence, item, found, field,
               [&](std::vector<S>& local) { return parseStructs(nodes, local); });
    }
    template <class Shape>
    DOMAIN_CODEC_STEP void shape(const char* tag, AbilityShapeKind kind, Shape& field, const Item& = Item()) {
        if (m_bFailed) return;
        parseAbilityShape(m_node, tag, kind, field);
    }

  private:
    template <class W>
    bool read(const char* tag, W& value) {
        return readFrom(m_node, tag, value);
    }
    // A failed read leaves value as it was.
    template <class W>
    static bool readFrom(NodePtr& node, const char* tag, W& value) {
        if (node.isNull()) return false;
        W got = value;
        if (!node->getProperty(tag, &got)) return false;
        value = got;
        return true;
    }
    static bool readFrom(NodePtr& node, const char* tag, std::string& value) {
        return !node.isNull() && node->getProperty(tag, value);
    }

    bool lookup(const char* tag, NodePtr& child) {
        return !m_node.isNull() && m_node->getConfigNode(tag, child);
    }

    template <class F>
    void missing(const char* tag, Presence presence, const Item& item, F& field, const F& value,
                 int lineValue) {
        switch (presence) {
            case Presence::Optional:
                return;
            case Presence::Reset:
                field = value;
                return;
            case Presence::Logged:
                writeAttributeLine(m_info, tag, item, lineValue);
                field = value;
                return;
            case Presence::Mandatory:
                writeAttributeLine(m_info, tag, item, lineValue);
                m_bFailed = true;
                return;
        }
    }

    // The presence rule of a child, a list or repeated elements; parse reads
    // the found content into a default local.
    template <class L, class Parse>
    void nested(const char* tag, Presence presence, const Item& item, bool found, L& field, Parse parse) {
        if (!found) {
            switch (presence) {
                case Presence::Optional:
                    return;
                case Presence::Mandatory:
                    writeOwnLine(m_info, item);
                    m_bFailed = true;
                    return;
                case Presence::Logged:
                    writeLookupLine(m_info, tag, item);
                    writeNestedParseLine(m_info, tag);
                    field = L();
                    return;
                case Presence::Reset:
                    field = L();
                    return;
            }
        }
        L local = L();
        bool ok = parse(local);
        if (!ok) {
            if (presence == Presence::Logged) writeNestedParseLine(m_info, tag);
            if (item.isStrict()) {
                m_bFailed = true;
                return;
            }
            if (presence == Presence::Optional || presence == Presence::Mandatory) return;
        }
        field = std::move(local);
    }

    template <class S>
    bool parseStructs(DomainXmlNode::NodeVector& nodes, std::vector<S>& local) {
        for (NodePtr& itemNode : nodes) {
            S entry;
            ParseVisitor sub(m_info, itemNode);
            S::visitFields(sub, entry);
            if (sub.failed()) return false;
            local.push_back(entry);
        }
        return true;
    }

    const CodecInfo& m_info;
    NodePtr& m_node;
    bool m_bFailed;
};

// ---- the operations of a codec

// Element build of the record's own items (the caller ran the base codec).
template <class T>
bool buildFields(const CodecInfo& info, const T& record, NodePtr& node) {
    BuildVisitor visitor(info, node);
    T::visitFields(visitor, const_cast<T&>(record));
    return true;
}

// Element parse of the record's own items; false when a mandatory item failed.
template <class T>
bool parseFields(const CodecInfo& info, NodePtr& node, T& record) {
    ParseVisitor visitor(info, node);
    T::visitFields(visitor, record);
    return !visitor.failed();
}

template <class T>
bool parseFieldsInParseOrder(const CodecInfo& info, NodePtr& node, T& record) {
    ParseVisitor visitor(info, node);
    T::visitParseFields(visitor, record);
    return !visitor.failed();
}

// Virtual build: a record of the codec's type, or a container of them. An
// identifier says what a domain claims to be; the container is checked for
// the vector type as well (see containerOf).
template <class T, class Codec>
bool buildEntry(Codec& codec, int id, const BaseDomain* domain, NodePtr& node) {
    bool isContainer = false;
    if (domain == nullptr || !checkDomainId(domain, id, isContainer)) return false;
    if (!isContainer) return codec.createDomainXmlNode(*static_cast<const T*>(domain), node);
    const DomainVectorContainer<T>* container = containerOf<T>(domain);
    return container != nullptr && codec.createDomainXmlNode(container->getItems(), node);
}

// Virtual parse: a failed list parse leaves the container as it was.
template <class T, class Codec>
bool parseEntry(Codec& codec, int id, NodePtr& node, BaseDomain* domain) {
    bool isContainer = false;
    if (domain == nullptr || !checkDomainId(domain, id, isContainer)) return false;
    if (!isContainer) return codec.parseDomainXmlNode(node, *static_cast<T*>(domain));
    DomainVectorContainer<T>* container = containerOf<T>(domain);
    if (container == nullptr) return false;
    std::vector<T> items;
    if (!codec.parseDomainXmlNode(node, items)) return false;
    container->getItems().swap(items);
    return true;
}

// List build: one element named itemName per record; stops at the first failure.
template <class T, class Codec>
bool buildList(Codec& codec, const char* itemName, const std::vector<T>& records, NodePtr& node) {
    return addItemNodes(node, itemName, records.data(), records.size(), sizeof(T), &buildWith<Codec, T>,
                        &codec);
}

// One item of a list parse, appended to records when its parse succeeds.
template <class T, class Codec>
bool parseItem(void* codec, NodePtr& node, void* records) {
    T record;
    if (!static_cast<Codec*>(codec)->parseDomainXmlNode(node, record)) return false;
    static_cast<std::vector<T>*>(records)->push_back(record);
    return true;
}
// List parse: every child element is an item, whatever its name.
template <class T, class Codec>
bool parseList(Codec& codec, NodePtr& node, std::vector<T>& records) {
    return parseChildNodes(node, &parseItem<T, Codec>, &codec, &records);
}

}  // namespace domain_codec
