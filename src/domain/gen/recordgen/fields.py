"""Field walks: domain/codecs/fields/<Name>.h, the visitFields of each record
in the order of the element build, which the codec engine runs with its build
and parse visitors."""

import os

from .model import HEADER_NOTE, NESTED_KINDS, SHAPE_TYPES, c_plain, c_string, cxx_scalar, member_fields, node_name
from .model import record_deps


def item_options(e, it):
    """The Item() options of an item: own line, node name, strictness."""
    opts = []
    if it.tag in e.lines:
        opts.append(".line(%s, %d)" % (c_string(e.lines[it.tag]), it.line))
    if it.kind in NESTED_KINDS:
        if it.presence == "Logged" or it.tag in e.nodes:
            opts.append(".node(%s)" % c_plain(e.nodes.get(it.tag, "NODE_" + node_name(it.tag))))
        if e.strict_all or it.tag in e.strict:
            opts.append(".strict()")
    return (", Item()" + "".join(opts)) if opts else ""


def visit_line(e, it, indent):
    """One step of a visitFields body."""
    P = "P::" + it.presence
    opt = item_options(e, it)
    tag = c_plain(it.tag)
    field = "r." + (it.field or "")
    k = it.kind
    if k == "attr":
        if it.fixed:
            return indent + "v.text(%s, %s, %s, %d%s);" % (tag, P, field, it.fixed, opt)
        if it.read_as_float:
            return indent + "v.intReadAsFloat(%s, %s, %s%s);" % (tag, P, field, opt)
        if it.float_as_int:
            return indent + "v.floatAsInt(%s, %s, %s%s);" % (tag, P, field, opt)
        if it.tag in e.absent:
            lit = e.absent[it.tag][0]
            if it.scalar == "string":
                val = "std::string(%s)" % lit
            else:
                val = "static_cast<%s>(%s)" % (cxx_scalar(it.scalar, it.width), lit)
            return indent + "v.attrOr(%s, %s, %s, %s%s);" % (tag, P, field, val, opt)
        return indent + "v.attr(%s, %s, %s%s);" % (tag, P, field, opt)
    if k == "base_child":
        return indent + "v.baseChild(%s, %s, static_cast<%s&>(r)%s);" % (tag, P, it.type, opt)
    if k in ("child", "list"):
        return indent + "v.%s(%s, %s, %s%s);" % (k, tag, P, field, opt)
    if k == "repeated_inline":
        return indent + "v.repeatedInline(%s, %s, %s%s);" % (tag, P, field, opt)
    if k == "scalar_list":
        return indent + "v.scalarList(%s, %s, %s, P::%s, %s%s);" % (tag, c_plain(it.item_tag), P, it.item_presence,
                                                                   field, opt)
    if k == "shape":
        return indent + "v.shape(%s, AbilityShapeKind::%s, %s%s);" % (tag, SHAPE_TYPES[it.shape][1], field, opt)
    if k == "inline":
        inner = [visit_line(e, sub, indent + "    ") for sub in it.items]
        return (indent + "v.inlineChild(%s, %s, [&](auto& v) {\n" % (tag, P) + "\n".join(inner) + "\n" + indent +
                "}%s);" % opt)
    raise AssertionError(k)


def walk(e, signature, items):
    g = ["template <class V>", signature + " {", "    using P = Presence;"]
    g.extend(visit_line(e, it, "    ") for it in items)
    g.append("}")
    return g


def emit_fields_header(e):
    g = ["#pragma once", "", HEADER_NOTE % os.path.basename(e.path), '#include "domain/records/%s.h"' % e.name]
    if e.record_hand:
        g += ["", "// %s is written by hand: nothing to walk." % e.name, "template <class V>",
              "void visitAll(V&, %s&) {}" % e.name]
        return "\n".join(g) + "\n"
    g.append('#include "domain/codecs/CodecItems.h"')
    # The codecs of the base and of nested records: the engine calls them.
    deps = set(record_deps(e.items)) | ({e.base} if e.base else set())
    g.extend('#include "domain/codecs/%sXml.h"' % dep for dep in sorted(deps - {e.name}))
    g.append("")
    for it in member_fields(e.items):
        if it.kind == "repeated_inline":
            g += walk(e, "void %s::%s::visitFields(V& v, %s& r)" % (e.name, it.struct, it.struct), it.items)
            g.append("")
    g.append("// The items of %s in the order of the element build." % e.name)
    if e.items:
        g += walk(e, "void %s::visitFields(V& v, %s& r)" % (e.name, e.name), e.items)
    else:
        g += ["template <class V>", "void %s::visitFields(V& v, %s& r) {" % (e.name, e.name), "    (void)v;",
              "    (void)r;", "}"]
    if e.parse_order is not None:
        by_tag = dict((it.tag, it) for it in e.items)
        g += ["", "// The element parse reads the items in this order."]
        g += walk(e, "void %s::visitParseFields(V& v, %s& r)" % (e.name, e.name), [by_tag[t] for t in e.parse_order])
    g += ["", "// Base part first, then the record's own items.", "template <class V>",
          "void visitAll(V& v, %s& r) {" % e.name]
    if e.base:
        g.append("    visitAll(v, static_cast<%s&>(r));" % e.base)
    g += ["    %s::visitFields(v, r);" % e.name, "}"]
    return "\n".join(g) + "\n"
