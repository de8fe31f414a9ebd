"""Record headers: domain/records/<Name>.h, the class of each record that is
not written by hand."""

import os

from .model import HEADER_NOTE, field_type, member_fields, record_deps, uses_shapes


def accessors(it, indent):
    t = field_type(it)
    a = it.accessor
    f = it.field
    if it.kind == "attr" and it.fixed:
        lines = [
            "const char* get%s() const { return %s; }" % (a, f),
            "// False for a null text or one of more than %d characters; the field then stays." % it.fixed,
            "bool set%s(const char* value);" % a,
        ]
    elif it.kind == "attr" and it.scalar != "string":
        lines = ["%s get%s() const { return %s; }" % (t, a, f), "void set%s(%s value) { %s = value; }" % (a, t, f)]
    else:
        lines = [
            "const %s& get%s() const { return %s; }" % (t, a, f),
            "void set%s(const %s& value) { %s = value; }" % (a, t, f),
        ]
    return [indent + line for line in lines]


def decl(it):
    if it.kind == "attr" and it.fixed:
        return "char %s[%d + 1];" % (it.field, it.fixed)
    return "%s %s;" % (field_type(it), it.field)


def init_value(it):
    """The constructor's value of a field, None where the type's own default serves."""
    if it.kind != "attr" or it.fixed:
        return None
    if it.default is not None:
        return it.default
    return {"int": "0", "bool": "false", "float": "0.0f", "double": "0.0"}.get(it.scalar)


def init_list(fields):
    inits = ["%s(%s)" % (f.field, init_value(f)) for f in fields if init_value(f) is not None]
    return (" : " + ", ".join(inits)) if inits else ""


def emit_struct(e, it, indent):
    """The class of one repeated inline element (not a domain)."""
    s = it.struct
    fields = member_fields(it.items)
    body = "".join(" std::memset(%s, 0, sizeof(%s));" % (f.field, f.field) for f in fields
                   if f.kind == "attr" and f.fixed)
    out = [
        indent + "// One <%s> element of %s." % (it.tag, e.name),
        indent + "class %s {" % s,
        indent + "public:",
        indent + "    %s()%s {%s}" % (s, init_list(fields), body + (" " if body else "")),
    ]
    for f in fields:
        out.extend(accessors(f, indent + "    "))
    out += ["", indent + "    template <class V>", indent + "    static void visitFields(V& v, %s& r);" % s, ""]
    out.append(indent + "protected:")
    out.extend(indent + "    " + decl(f) for f in fields)
    out.append(indent + "};")
    return out


def emit_record_header(e):
    g = ["#pragma once", "", HEADER_NOTE % os.path.basename(e.path)]
    g += ["#include <cstdint>", "#include <string>", "#include <vector>", ""]
    g.append('#include "domain/records/%s.h"' % e.base if e.base else '#include "domain/BaseDomain.h"')
    for dep in sorted(set(record_deps(e.items)) - {e.name}):
        g.append('#include "domain/records/%s.h"' % dep)
    if uses_shapes(e.items):
        g.append('#include "domain/codecs/IntelligenceAbilityShapes.h"')
    g.append("")
    fields = member_fields(e.items)
    g.append("// %s, identifier %d (%s)." % (e.name, e.id, os.path.basename(e.path)))
    g.append("class %s : public %s {" % (e.name, e.base or "BaseDomain"))
    g.append("public:")
    g.append("    static constexpr int kDomainId = %d;" % e.id)
    g.append("")
    for it in fields:
        if it.kind == "repeated_inline":
            g.extend(emit_struct(e, it, "    "))
            g.append("")
    n = e.name
    g += ["    %s();" % n, "    %s(const %s& other);" % (n, n), "    %s& operator=(const %s& other);" % (n, n),
          "    ~%s() override;" % n]
    if e.compare:
        g += ["", "    // Equal identifiers and equal fields, texts byte by byte.",
              "    bool operator==(const %s& other) const;" % n,
              "    bool operator!=(const %s& other) const { return !(*this == other); }" % n]
    if fields:
        g.append("")
    for f in fields:
        g.extend(accessors(f, "    "))
    g += ["", "    // The codec's walk over the fields (domain/codecs/fields/%s.h)." % n, "    template <class V>",
          "    static void visitFields(V& v, %s& r);" % n]
    if e.parse_order is not None:
        g += ["    template <class V>", "    static void visitParseFields(V& v, %s& r);" % n]
    if fields:
        g += ["", "protected:"]
        g.extend("    " + decl(f) for f in fields)
    g.append("};")
    return "\n".join(g) + "\n"
