"""Area sources: domain/area_<area>.cpp, the out-of-line members of the
records and codecs of one schema file and their factory functions."""

from .model import HEADER_NOTE, member_fields
from .records import init_list


def fixed(f):
    return f.kind == "attr" and f.fixed


def emit_record_defs(e):
    """Constructors, assignment, destructor, fixed-text setters and comparison."""
    fields = member_fields(e.items)
    base = e.base or "BaseDomain"
    n = e.name
    out = ["%s::%s()%s {" % (n, n, init_list(fields))]
    out.extend("    std::memset(%s, 0, sizeof(%s));" % (f.field, f.field) for f in fields if fixed(f))
    out += ["    m_nDomainId = kDomainId;", "}", ""]
    copies = ["%s(other)" % base] + ["%s(other.%s)" % (f.field, f.field) for f in fields if not fixed(f)]
    out.append("%s::%s(const %s& other) : %s {" % (n, n, n, ", ".join(copies)))
    out.extend("    std::memcpy(%s, other.%s, sizeof(%s));" % (f.field, f.field, f.field) for f in fields if fixed(f))
    out += ["    m_nDomainId = kDomainId;", "}", ""]
    out += ["%s& %s::operator=(const %s& other) {" % (n, n, n), "    if (this == &other) return *this;",
            "    %s::operator=(other);" % base]
    for f in fields:
        if fixed(f):
            out.append("    std::memcpy(%s, other.%s, sizeof(%s));" % (f.field, f.field, f.field))
        else:
            out.append("    %s = other.%s;" % (f.field, f.field))
    out += ["    return *this;", "}", "", "%s::~%s() = default;" % (n, n)]
    setter = "bool %s::set%s(const char* value) { return setFixedText(%s, %d, value); }"
    for f in fields:
        if fixed(f):
            out += ["", setter % (n, f.accessor, f.field, f.fixed)]
    for it in fields:
        if it.kind == "repeated_inline":
            for f in member_fields(it.items):
                if fixed(f):
                    out += ["", setter % (n + "::" + it.struct, f.accessor, f.field, f.fixed)]
    if e.compare:
        conds = ["%s::operator==(other)" % base]
        for f in fields:
            if fixed(f):
                conds.append("std::strcmp(%s, other.%s) == 0" % (f.field, f.field))
            else:
                conds.append("%s == other.%s" % (f.field, f.field))
        out += ["", "bool %s::operator==(const %s& other) const {" % (n, n),
                "    return " + " &&\n           ".join(conds) + ";", "}"]
    out.append("")
    return out


def emit_codec_defs(e, source_name):
    """The six operations of a generated codec, on the codec engine."""
    n = e.name
    x = n + "Xml"
    own_base = e.base and not any(it.kind == "base_child" for it in e.items)
    base_codec = e.base + "Xml" if own_base else "BaseDomainXml"
    base_type = e.base if own_base else "BaseDomain"
    flags = (["CodecInfo::kShortLines"] if e.short else []) + (["CodecInfo::kTrace"] if e.trace else [])
    out = ["static const CodecInfo k%sInfo = {\"%s\", \"%s\", %s, %d};" %
           (x, x, source_name, " | ".join(flags) or "0", e.trace_children), ""]
    if not e.abstract:
        out += ["bool %s::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {" % x,
                "    return buildEntry<%s>(*this, %s::kDomainId, domain, node);" % (n, n), "}", "",
                "bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {" % x,
                "    return parseEntry<%s>(*this, %s::kDomainId, node, domain);" % (n, n), "}", ""]
    parse_fields = "parseFieldsInParseOrder" if e.parse_order is not None else "parseFields"
    out += ["bool %s::createDomainXmlNode(const %s& record, SafePointer<DomainXmlNode>& node) {" % (x, n),
            "    if (node.isNull()) return false;",
            "    %s().createDomainXmlNode(static_cast<const %s&>(record), node);" % (base_codec, base_type),
            "    return buildFields(k%sInfo, record, node);" % x, "}", "",
            "bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, %s& record) {" % (x, n),
            "    if (node.isNull()) return false;",
            "    %s().parseDomainXmlNode(node, static_cast<%s&>(record));" % (base_codec, base_type),
            "    return %s(k%sInfo, node, record);" % (parse_fields, x), "}", "",
            "bool %s::createDomainXmlNode(const std::vector<%s>& records, SafePointer<DomainXmlNode>& node) {" %
            (x, n), "    return buildList(*this, itemName(), records, node);", "}", "",
            "bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<%s>& records) {" % (x, n),
            "    return parseList(*this, node, records);", "}", ""]
    return out


def emit_area_source(cat, area, entries):
    source_name = "area_%s.cpp" % area
    g = [HEADER_NOTE % (area + ".rec"), "#include <cstring>", "#include <new>", "",
         '#include "domain/DomainContainer.h"', '#include "domain/codecs/CodecEngine.h"']
    for e in entries:
        g.append('#include "domain/codecs/%sXml.h"' % e.name)
        if not e.codec_hand:
            g.append('#include "domain/codecs/fields/%s.h"' % e.name)
    g += ["", "using namespace domain_codec;", ""]
    for e in entries:
        if not e.record_hand:
            g += ["// ---- %s" % e.name, ""] + emit_record_defs(e)
    for e in entries:
        if not e.codec_hand:
            g += ["// ---- %sXml" % e.name, ""] + emit_codec_defs(e, source_name)
    rowed = [e for e in entries if e.id in cat.row_ids]
    if rowed:
        g += ["// ---- factory rows", "", "namespace domain_tables {", ""]
        for e in rowed:
            g.append("BaseDomain* create%s() { return new (std::nothrow) %s; }" % (e.name, e.name))
            g.append("BaseDomain* createList%s() { return new (std::nothrow) DomainVectorContainer<%s>; }" %
                     (e.name, e.name))
            g.append("IDomainXml* create%sXml() { return new (std::nothrow) %sXml; }" % (e.name, e.name))
        g += ["", "}  // namespace domain_tables"]
    return "\n".join(g) + "\n"
