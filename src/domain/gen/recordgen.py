#!/usr/bin/env python3
"""Record generator: turns the record schema (src/domain/schema/*.rec and
names.tbl) into the record classes, their XML codecs and the factory tables.

Outputs (all under --out):
  domain/records/<Name>.h          record class (or a forward to a hand-written one)
  domain/codecs/<Name>Xml.h        codec class (or a forward to a hand-written one)
  domain/codecs/fields/<Name>.h    the record's field walk (visitFields), used by
                                   the codec engine and by the tests' fill walk
  domain/area_<area>.cpp           records and codecs of one schema file
  domain/DomainFactory.cpp         the four factory tables
  domain/RecordList.inc            X(Name, Id, HasRow, Generated) for the tests

Files are rewritten only when their content changes, so a schema edit
recompiles only what it touches.
"""

import argparse
import os
import re
import sys

SCALARS = ("int", "bool", "string", "float", "double")
SHAPES = ("region", "flag", "unit flag", "range", "plain range", "float range")
SHAPE_TYPES = {
    "region": ("AbilityRegion", "Region"),
    "flag": ("AbilityFlag", "Flag"),
    "unit flag": ("AbilityFlag", "UnitFlag"),
    "range": ("AbilityRange", "Range"),
    "plain range": ("AbilityRange", "PlainRange"),
    "float range": ("AbilityFloatRange", "FloatRange"),
}
PRESENCE = {"": "Reset", "?": "Optional", "~": "Logged", "!": "Mandatory"}
RESERVED_TAGS = {"DomainId", "ElementDomainId"}


class SchemaError(Exception):
    def __init__(self, path, line, message):
        Exception.__init__(self, "%s:%d: %s" % (path, line, message))
        self.path = path
        self.line = line


# ---------------------------------------------------------------------------
# Model


class Item(object):
    """One item of an entry.

    kind: attr | child | inline | list | scalar_list | inline_list | repeated |
          repeated_inline | shape | opaque | base_child
    """

    def __init__(self, kind, tag, presence, line):
        self.kind = kind
        self.tag = tag
        self.presence = presence  # Reset | Optional | Logged | Mandatory
        self.line = line
        self.scalar = None  # attr / scalar_list: int bool string float double
        self.width = None  # 8 / 16 / 64
        self.fixed = None  # N of a fixed text field
        self.read_as_float = False
        self.float_as_int = False
        self.default = None  # C++ literal of "= v"
        self.type = None  # record type of child / list / repeated
        self.item_tag = None  # element name of a scalar list / inline list item
        self.items = None  # inline items
        self.shape = None
        self.item_presence = "Reset"  # scalar list: presence of each item's attribute
        self.field = None  # C++ member name
        self.accessor = None  # get/set suffix
        self.struct = None  # inline struct name for repeated_inline / inline_list


class Entry(object):
    def __init__(self, name, ident, base, nested_only, path, line):
        self.name = name
        self.id = ident
        self.base = base
        self.nested_only = nested_only
        self.path = path
        self.line = line
        self.area = os.path.splitext(os.path.basename(path))[0]
        self.items = []
        self.item_name = name
        self.short = False
        self.lines = {}  # tag -> text (C source form, escapes kept)
        self.nodes = {}  # tag -> node name
        self.strict_all = False
        self.strict = set()
        self.trace = False
        self.trace_children = 3
        self.parse_order = None  # list of tags
        self.codec_hand = False
        self.record_hand = False
        self.abstract = False
        self.compare = False
        self.absent = {}  # tag -> literal
        self.no_codec = False  # a hand codec that is not written yet
        self.keep = set()


# ---------------------------------------------------------------------------
# Parsing

HEAD_RE = re.compile(
    r"^([A-Za-z_]\w*)\s*\(\s*(?:(-?\d+)|no identifier)\s*(?:,\s*base\s+([A-Za-z_]\w*)\s*)?\)"
    r"(\s+nested only)?\s*:\s*(.*)$"
)
TAG = r"([A-Za-z_]\w*)"
PRES = r"([?~!]?)"
ATTR_RE = re.compile(
    r"^" + TAG + r"\s+(int|bool|string|float|double)" + PRES +
    r"\s*(?:\((?:(8|16|64)-bit|at most (\d+) characters|(read as float)|(as int))\))?" + PRES +
    r"\s*(?:=\s*(.+?))?\s*$"
)
SHAPE_RE = re.compile(r"^" + TAG + PRES + r"\s+(region|unit flag|flag|plain range|float range|range)\s*$")
CHILD_RE = re.compile(r"^" + TAG + PRES + r"\s+child\s+([A-Za-z_]\w*)\s*$")
OPAQUE_RE = re.compile(r"^" + TAG + PRES + r"\s+child\s*\(no content\)\s*$")
INLINE_RE = re.compile(r"^" + TAG + PRES + r"\s+child\s*\{(.*)\}\s*$", re.S)
REPEATED_RE = re.compile(r"^" + TAG + PRES + r"\s+repeated child\s+([A-Za-z_]\w*)\s*$")
REPEATED_INLINE_RE = re.compile(r"^" + TAG + PRES + r"\s+repeated child\s*\{(.*)\}\s*$", re.S)
SCALAR_LIST_RE = re.compile(
    r"^" + TAG + PRES + r"\s+list of\s+([A-Za-z_]\w*)\s+(int|bool|string|float|double)" + PRES +
    r"\s*(?:\((8|16|64)-bit\))?\s*$"
)
INLINE_LIST_RE = re.compile(r"^" + TAG + PRES + r"\s+list of\s+([A-Za-z_]\w*)\s*\{(.*)\}\s*$", re.S)
LIST_RE = re.compile(r"^" + TAG + PRES + r"\s+list of\s+([A-Za-z_]\w*)\s*$")

# The child forms, in the order they are tried: the third group names a record
# type ("type") or holds the items of an inline element ("items").
NESTED_FORMS = (
    (CHILD_RE, "child", "type"),
    (INLINE_RE, "inline", "items"),
    (REPEATED_RE, "repeated", "type"),
    (REPEATED_INLINE_RE, "repeated_inline", "items"),
)


def split_items(text, path, line):
    """Splits at ';' and line ends outside braces; returns (text, line) pairs."""
    items = []
    depth = 0
    cur = ""
    cur_line = line
    ln = line
    for ch in text:
        if ch == "{":
            depth += 1
        elif ch == "}":
            depth -= 1
            if depth < 0:
                raise SchemaError(path, ln, "unbalanced '}'")
        if depth == 0 and ch in ";\n":
            if cur.strip():
                items.append((cur.strip(), cur_line))
            cur = ""
            if ch == "\n":
                ln += 1
            cur_line = ln
            continue
        if ch == "\n":
            ln += 1
            ch = " "
        if not cur.strip():
            cur_line = ln
        cur += ch
    if depth != 0:
        raise SchemaError(path, line, "unbalanced '{'")
    if cur.strip():
        items.append((cur.strip(), cur_line))
    return items


def cxx_literal(value, scalar, path, line):
    value = value.strip()
    if scalar == "string":
        if not (len(value) >= 2 and value[0] == '"' and value[-1] == '"'):
            raise SchemaError(path, line, "text default must be quoted: %s" % value)
        return value
    if scalar == "bool":
        if value not in ("true", "false"):
            raise SchemaError(path, line, "bool default must be true or false: %s" % value)
        return value
    if scalar == "float":
        if not re.match(r"^-?\d+(\.\d+)?$", value):
            raise SchemaError(path, line, "bad float default: %s" % value)
        return value + ("f" if "." in value else ".0f")
    if scalar == "double":
        if not re.match(r"^-?\d+(\.\d+)?$", value):
            raise SchemaError(path, line, "bad double default: %s" % value)
        return value if "." in value else value + ".0"
    if not re.match(r"^-?\d+$", value):
        raise SchemaError(path, line, "bad int default: %s" % value)
    return value


def parse_item(text, path, line):
    if text == "no attributes":
        return None
    m = ATTR_RE.match(text)
    if m:
        tag, scalar, p1, width, fixed, as_float, as_int, p2, default = m.groups()
        if p1 and p2:
            raise SchemaError(path, line, "two presence marks on %s" % tag)
        it = Item("attr", tag, PRESENCE[p1 or p2 or ""], line)
        it.scalar = scalar
        if width:
            if scalar != "int":
                raise SchemaError(path, line, "a width applies to int only: %s" % tag)
            it.width = int(width)
        if fixed:
            if scalar != "string":
                raise SchemaError(path, line, "a length bound applies to string only: %s" % tag)
            it.fixed = int(fixed)
        if as_float:
            if scalar != "int":
                raise SchemaError(path, line, "(read as float) applies to int only: %s" % tag)
            it.read_as_float = True
        if as_int:
            if scalar != "float":
                raise SchemaError(path, line, "(as int) applies to float only: %s" % tag)
            it.float_as_int = True
        if default is not None:
            if it.fixed:
                raise SchemaError(path, line, "a fixed text field takes no default: %s" % tag)
            it.default = cxx_literal(default, scalar, path, line)
        return it
    m = SHAPE_RE.match(text)
    if m:
        tag, pres, shape = m.groups()
        it = Item("shape", tag, PRESENCE[pres], line)
        it.shape = shape
        return it
    m = OPAQUE_RE.match(text)
    if m:
        return Item("opaque", m.group(1), PRESENCE[m.group(2)], line)
    for regex, kind, content in NESTED_FORMS:
        m = regex.match(text)
        if m:
            it = Item(kind, m.group(1), PRESENCE[m.group(2)], line)
            if content == "type":
                it.type = m.group(3)
            else:
                it.items = parse_items(m.group(3), path, line)
            return it
    m = SCALAR_LIST_RE.match(text)
    if m:
        it = Item("scalar_list", m.group(1), PRESENCE[m.group(2)], line)
        it.item_tag = m.group(3)
        it.scalar = m.group(4)
        it.item_presence = PRESENCE[m.group(5)]
        if m.group(6):
            it.width = int(m.group(6))
        return it
    m = INLINE_LIST_RE.match(text)
    if m:
        it = Item("inline_list", m.group(1), PRESENCE[m.group(2)], line)
        it.item_tag = m.group(3)
        it.items = parse_items(m.group(4), path, line)
        return it
    m = LIST_RE.match(text)
    if m:
        it = Item("list", m.group(1), PRESENCE[m.group(2)], line)
        it.type = m.group(3)
        return it
    raise SchemaError(path, line, "cannot read item: %s" % text)


def parse_items(text, path, line):
    result = []
    for item_text, item_line in split_items(text, path, line):
        it = parse_item(item_text, path, item_line)
        if it is not None:
            result.append(it)
    return result


ANNOT_RE = re.compile(r"^@(\w+)\s*(.*)$")


def parse_annotation(entry, text, path, line):
    m = ANNOT_RE.match(text)
    if not m:
        raise SchemaError(path, line, "bad annotation: %s" % text)
    name, arg = m.group(1), m.group(2).strip()

    def arg_match(pattern, message):
        found = re.match(pattern, arg)
        if not found:
            raise SchemaError(path, line, message)
        return found

    if name == "item":
        arg_match(r"^[A-Za-z_]\w*$", "@item needs a name")
        entry.item_name = arg
    elif name == "short":
        entry.short = True
    elif name == "line":
        m2 = arg_match(r'^([A-Za-z_]\w*)\s+"(.*)"$', '@line needs a tag and a quoted text')
        entry.lines[m2.group(1)] = m2.group(2)
    elif name == "node":
        m2 = arg_match(r"^([A-Za-z_]\w*)\s+([A-Za-z_]\w*)$", "@node needs a tag and a node name")
        entry.nodes[m2.group(1)] = m2.group(2)
    elif name == "strict":
        if arg:
            entry.strict.update(arg.split())
        else:
            entry.strict_all = True
    elif name == "trace":
        entry.trace = True
        if arg:
            m2 = arg_match(r"^children=(\d)$", "@trace takes children=L")
            entry.trace_children = int(m2.group(1))
    elif name == "parse":
        tags = [t.strip() for t in arg.split(";") if t.strip()]
        if not tags:
            raise SchemaError(path, line, "@parse needs tags")
        entry.parse_order = tags
    elif name == "codec":
        if arg != "hand":
            raise SchemaError(path, line, "@codec takes hand")
        entry.codec_hand = True
    elif name == "record":
        if arg != "hand":
            raise SchemaError(path, line, "@record takes hand")
        entry.record_hand = True
    elif name == "abstract":
        entry.abstract = True
    elif name == "compare":
        entry.compare = True
    elif name == "absent":
        m2 = arg_match(r"^([A-Za-z_]\w*)\s+(.+)$", "@absent needs a tag and a value")
        entry.absent[m2.group(1)] = (m2.group(2), line)
    elif name == "keep":
        if not arg:
            raise SchemaError(path, line, "@keep needs tags")
        entry.keep.update(arg.split())
    else:
        raise SchemaError(path, line, "unknown annotation @%s" % name)


def parse_rec_file(path, text=None):
    if text is None:
        with open(path, encoding="utf-8") as f:
            text = f.read()
    entries = []
    cur = None
    body = []  # (text, line) of item lines of the current entry
    annotations = []

    def finish():
        if cur is None:
            return
        joined = ""
        start = None
        for t, ln in body:
            if start is None:
                start = ln
            # keep line structure for line numbers
            joined += "\n" * (ln - (start + joined.count("\n"))) if joined else ""
            joined += t + "\n"
        if body:
            cur.items = parse_items(joined, path, body[0][1])
        for t, ln in annotations:
            parse_annotation(cur, t, path, ln)
        entries.append(cur)

    for number, raw in enumerate(text.split("\n"), 1):
        line = raw.rstrip()
        if not line.strip():
            continue
        if line.startswith("#"):
            continue
        if not line[0].isspace():
            finish()
            body = []
            annotations = []
            m = HEAD_RE.match(line)
            if not m:
                raise SchemaError(path, number, "expected an entry head 'Name (id[, base B])[ nested only]:'")
            name, ident, base, nested, rest = m.groups()
            cur = Entry(name, int(ident) if ident is not None else None, base, bool(nested), path, number)
            if ident is None:
                cur.nested_only = True
            if rest.strip():
                body.append((rest.strip(), number))
            continue
        if cur is None:
            raise SchemaError(path, number, "item outside an entry")
        stripped = line.strip()
        if stripped.startswith("@"):
            annotations.append((stripped, number))
        else:
            if annotations:
                raise SchemaError(path, number, "item after the annotations of %s" % cur.name)
            body.append((stripped, number))
    finish()
    return entries


def parse_names(path):
    rows = []
    nested = []
    with open(path, encoding="utf-8") as f:
        for number, raw in enumerate(f, 1):
            line = raw.strip()
            if not line or line.startswith("#"):
                continue
            parts = line.split()
            if parts[0] == "nested":
                if len(parts) != 3 or not parts[1].isdigit():
                    raise SchemaError(path, number, "expected 'nested <id> <Name>'")
                nested.append((int(parts[1]), parts[2]))
            else:
                if len(parts) != 2 or not parts[0].isdigit():
                    raise SchemaError(path, number, "expected '<id> <ElementName>'")
                rows.append((int(parts[0]), parts[1]))
    return rows, nested


# ---------------------------------------------------------------------------
# Checking and naming


def node_name(tag):
    words = re.findall(r"[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+|[A-Z]+|\d+", tag)
    return "_".join(w.upper() for w in words)


def c_string(text):
    """The text of an annotation is already in C escape form; only guard quotes."""
    return '"' + text.replace('"', '\\"') + '"'


def c_plain(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


class Catalogue(object):
    def __init__(self):
        self.entries = []
        self.by_name = {}
        self.notes = []
        self.rows = []
        self.nested_rows = []

    def note(self, text):
        self.notes.append(text)


def hungarian(it):
    if it.kind == "attr":
        if it.fixed:
            return "m_sz"
        return {"int": "m_n", "bool": "m_b", "string": "m_str", "float": "m_f", "double": "m_d"}[it.scalar]
    if it.kind in ("child", "shape", "base_child"):
        return "m_obj"
    return "m_vec"


def cxx_scalar(scalar, width=None):
    if scalar == "int":
        return {None: "int", 8: "unsigned char", 16: "unsigned short", 64: "int64_t"}[width]
    return {"bool": "bool", "string": "std::string", "float": "float", "double": "double"}[scalar]


def check(cat):
    """Resolves types, names fields, drops items of unknown types (with a note)."""
    for e in cat.entries:
        if e.name in cat.by_name:
            other = cat.by_name[e.name]
            raise SchemaError(e.path, e.line, "%s is already defined at %s:%d" % (e.name, other.path, other.line))
        cat.by_name[e.name] = e
    ids = {}
    for e in cat.entries:
        if e.id is not None:
            if e.id in ids:
                o = ids[e.id]
                raise SchemaError(e.path, e.line, "identifier %d is already used by %s" % (e.id, o.name))
            ids[e.id] = e
    cat.by_id = ids
    for e in cat.entries:
        if e.base is not None and e.base not in cat.by_name:
            raise SchemaError(e.path, e.line, "base %s of %s is not defined" % (e.base, e.name))
        if e.id is None:
            raise SchemaError(e.path, e.line, "%s has no identifier" % e.name)
    for e in cat.entries:
        e.items = resolve_items(cat, e, e.items, prefix="")
        names = {}
        taken = set()
        for it in flatten(e.items):
            if it.tag in RESERVED_TAGS:
                raise SchemaError(e.path, it.line, "tag %s clashes with a BaseDomain member" % it.tag)
        assign_fields(e, e.items, "", taken, names)
        all_tags = set(t.tag for t in walk_tags(e.items))
        for tag in list(e.lines) + list(e.nodes) + list(e.strict) + list(e.absent) + list(e.keep):
            if tag not in all_tags:
                raise SchemaError(e.path, e.line, "annotation names %s, which %s does not have" % (tag, e.name))
        if e.parse_order is not None:
            top = [it.tag for it in e.items]
            for tag in e.parse_order:
                if tag not in top:
                    raise SchemaError(e.path, e.line, "@parse names %s, which %s does not have" % (tag, e.name))
        for tag, (value, line) in list(e.absent.items()):
            it = next(x for x in walk_tags(e.items) if x.tag == tag)
            if it.kind != "attr":
                raise SchemaError(e.path, line, "@absent applies to attributes: %s" % tag)
            e.absent[tag] = (cxx_literal(value, it.scalar, e.path, line), line)
    # base records must be declared before use: order by dependency later
    return cat


def walk_tags(items):
    for it in items:
        yield it
        if it.kind == "inline":
            for sub in walk_tags(it.items):
                yield sub


def flatten(items):
    for it in items:
        yield it
        if it.items and it.kind == "inline":
            for sub in flatten(it.items):
                yield sub


def resolve_items(cat, e, items, prefix):
    kept = []
    for it in items:
        if it.kind in ("child", "list", "repeated"):
            if it.type not in cat.by_name:
                cat.note("%s:%d: %s.%s names %s, which no schema defines; item left out" %
                         (e.path, it.line, e.name, it.tag, it.type))
                continue
            if cat.by_name[it.type].no_codec and not e.no_codec:
                cat.note("%s:%d: %s.%s names %s, which has no codec yet; item left out" %
                         (e.path, it.line, e.name, it.tag, it.type))
                continue
            if it.kind == "child" and e.base is not None and it.type == e.base:
                it.kind = "base_child"
        if it.kind == "opaque" and not e.record_hand:
            cat.note("%s:%d: %s.%s has no content form; item left to a hand-written codec" %
                     (e.path, it.line, e.name, it.tag))
            continue
        if it.kind in ("inline", "repeated_inline", "inline_list"):
            it.items = resolve_items(cat, e, it.items, prefix)
        kept.append(it)
    return kept


def assign_fields(e, items, prefix, taken, names):
    """Names the members. The record's own items keep their tags; an item of an
    inline child whose tag is taken gets the child's tag in front."""
    own = [it for it in items if it.kind not in ("inline", "base_child")]
    for it in own:
        accessor = prefix + it.tag if (prefix and it.tag in taken) else it.tag
        if accessor in taken:
            raise SchemaError(e.path, it.line, "field %s appears twice in %s" % (it.tag, e.name))
        taken.add(accessor)
        it.accessor = accessor
        it.field = hungarian(it) + accessor
        if it.kind in ("repeated_inline", "inline_list"):
            it.struct = it.tag + "Item"
            assign_fields(e, it.items, "", set(), {})
    for it in items:
        if it.kind == "inline":
            assign_fields(e, it.items, it.tag, taken, names)

def drop_missing_hand(cat, hand_dir):
    """Hand-written records and codecs land one after another: until its header
    exists, a hand record is left out, and a hand codec's record has no codec."""
    if hand_dir is None:
        return
    kept = []
    for e in cat.entries:
        if e.record_hand and not os.path.exists(os.path.join(hand_dir, e.name + ".h")):
            cat.note("%s:%d: %s is written by hand, but codecs/hand/%s.h does not exist yet; record left out" %
                     (e.path, e.line, e.name, e.name))
            continue
        if e.codec_hand and not os.path.exists(os.path.join(hand_dir, e.name + "Xml.h")):
            cat.note("%s:%d: %sXml is written by hand, but codecs/hand/%sXml.h does not exist yet; no codec" %
                     (e.path, e.line, e.name, e.name))
            e.no_codec = True
        kept.append(e)
    cat.entries = kept


def load(schema_dir, hand_dir=None):
    cat = Catalogue()
    files = sorted(f for f in os.listdir(schema_dir) if f.endswith(".rec"))
    for f in files:
        cat.entries.extend(parse_rec_file(os.path.join(schema_dir, f)))
    cat.areas = [os.path.splitext(f)[0] for f in files]
    drop_missing_hand(cat, hand_dir)
    check(cat)
    rows, nested = parse_names(os.path.join(schema_dir, "names.tbl"))
    cat.rows = rows
    cat.nested_rows = nested
    row_ids = set()
    for ident, name in rows:
        if ident in row_ids:
            raise SchemaError(os.path.join(schema_dir, "names.tbl"), 0, "identifier %d stands twice" % ident)
        row_ids.add(ident)
    cat.row_ids = row_ids
    for e in cat.entries:
        if e.id in row_ids and e.nested_only:
            cat.note("%s:%d: %s is marked nested only but has a row" % (e.path, e.line, e.name))
    return cat


# ---------------------------------------------------------------------------
# Emitting C++

HEADER_NOTE = "// Generated by src/domain/gen/recordgen.py from %s. Do not edit.\n"


def field_type(it):
    if it.kind == "attr":
        if it.fixed:
            return "char"
        return cxx_scalar(it.scalar, it.width)
    if it.kind == "child":
        return it.type
    if it.kind == "shape":
        return SHAPE_TYPES[it.shape][0]
    if it.kind in ("list", "repeated"):
        return "std::vector<%s>" % it.type
    if it.kind == "scalar_list":
        return "std::vector<%s>" % cxx_scalar(it.scalar, it.width)
    if it.kind in ("repeated_inline", "inline_list"):
        return "std::vector<%s>" % it.struct
    raise AssertionError(it.kind)


def record_deps(items):
    """Record types that a class holds by value."""
    deps = []
    for it in items:
        if it.kind in ("child", "list", "repeated"):
            deps.append(it.type)
        if it.items:
            deps.extend(record_deps(it.items))
    return deps


def uses_shapes(items):
    for it in items:
        if it.kind == "shape":
            return True
        if it.items and uses_shapes(it.items):
            return True
    return False


def member_fields(items):
    """Fields of a class in declaration order (inline children flattened)."""
    out = []
    for it in items:
        if it.kind == "base_child":
            continue
        if it.kind == "inline":
            out.extend(member_fields(it.items))
        else:
            out.append(it)
    return out


def accessors(it, indent):
    t = field_type(it)
    a = it.accessor
    f = it.field
    lines = []
    if it.kind == "attr" and it.fixed:
        lines.append("const char* get%s() const { return %s; }" % (a, f))
        lines.append("// False for a null text or one of more than %d characters; the field then stays." % it.fixed)
        lines.append("bool set%s(const char* value);" % a)
    elif it.kind == "attr" and it.scalar != "string":
        lines.append("%s get%s() const { return %s; }" % (t, a, f))
        lines.append("void set%s(%s value) { %s = value; }" % (a, t, f))
    else:
        lines.append("const %s& get%s() const { return %s; }" % (t, a, f))
        lines.append("void set%s(const %s& value) { %s = value; }" % (a, t, f))
    return [indent + l for l in lines]


def decl(it):
    if it.kind == "attr" and it.fixed:
        return "char %s[%d + 1];" % (it.field, it.fixed)
    return "%s %s;" % (field_type(it), it.field)


def init_value(it):
    if it.kind == "attr":
        if it.fixed:
            return None
        if it.default is not None:
            return it.default
        if it.scalar == "string":
            return None
        return {"int": "0", "bool": "false", "float": "0.0f", "double": "0.0"}[it.scalar]
    return None


def emit_struct(e, it, indent):
    """The class of one repeated inline element (not a domain)."""
    s = it.struct
    fields = member_fields(it.items)
    out = []
    out.append(indent + "// One <%s> element of %s." % (it.item_tag or it.tag, e.name))
    out.append(indent + "class %s {" % s)
    out.append(indent + "public:")
    inits = ["%s(%s)" % (f.field, init_value(f)) for f in fields if init_value(f) is not None]
    body = "".join(" std::memset(%s, 0, sizeof(%s));" % (f.field, f.field) for f in fields
                   if f.kind == "attr" and f.fixed)
    out.append(indent + "    %s()%s {%s}" % (s, (" : " + ", ".join(inits)) if inits else "", body + (" " if body else "")))
    for f in fields:
        out.extend(accessors(f, indent + "    "))
    for f in fields:
        if f.kind == "attr" and f.fixed:
            pass
    out.append("")
    out.append(indent + "    template <class V>")
    out.append(indent + "    static void visitFields(V& v, %s& r);" % s)
    out.append("")
    out.append(indent + "protected:")
    for f in fields:
        out.append(indent + "    " + decl(f))
    out.append(indent + "};")
    return out


def emit_record_header(cat, e):
    g = []
    g.append("#pragma once")
    g.append("")
    g.append(HEADER_NOTE % os.path.basename(e.path))
    if e.record_hand:
        g.append("// %s is written by hand." % e.name)
        g.append('#include "domain/codecs/hand/%s.h"' % e.name)
        return "\n".join(g) + "\n"
    incs = set()
    incs.add("<string>")
    incs.add("<vector>")
    fields = member_fields(e.items)
    if any(f.kind == "attr" and f.width == 64 for f in fields) or any(
            f.kind == "scalar_list" and f.width == 64 for f in fields):
        incs.add("<cstdint>")
    g.append("#include <cstdint>")
    g.append("#include <string>")
    g.append("#include <vector>")
    g.append("")
    if e.base:
        g.append('#include "domain/records/%s.h"' % e.base)
    else:
        g.append('#include "domain/BaseDomain.h"')
    for dep in sorted(set(record_deps(e.items))):
        if dep != e.name:
            g.append('#include "domain/records/%s.h"' % dep)
    if uses_shapes(e.items):
        g.append('#include "domain/codecs/hand/IntelligenceAbilityShapes.h"')
    g.append("")
    base = e.base or "BaseDomain"
    g.append("// %s, identifier %d (%s)." % (e.name, e.id, os.path.basename(e.path)))
    g.append("class %s : public %s {" % (e.name, base))
    g.append("public:")
    g.append("    static constexpr int kDomainId = %d;" % e.id)
    g.append("")
    structs = [it for it in fields if it.kind in ("repeated_inline", "inline_list")]
    for it in structs:
        g.extend(emit_struct(e, it, "    "))
        g.append("")
    g.append("    %s();" % e.name)
    g.append("    %s(const %s& other);" % (e.name, e.name))
    g.append("    %s& operator=(const %s& other);" % (e.name, e.name))
    g.append("    ~%s() override;" % e.name)
    if e.compare:
        g.append("")
        g.append("    // Equal identifiers and equal fields, texts byte by byte.")
        g.append("    bool operator==(const %s& other) const;" % e.name)
        g.append("    bool operator!=(const %s& other) const { return !(*this == other); }" % e.name)
    if fields:
        g.append("")
    for f in fields:
        g.extend(accessors(f, "    "))
    g.append("")
    g.append("    // The codec's walk over the fields (domain/codecs/fields/%s.h)." % e.name)
    g.append("    template <class V>")
    g.append("    static void visitFields(V& v, %s& r);" % e.name)
    if e.parse_order is not None:
        g.append("    template <class V>")
        g.append("    static void visitParseFields(V& v, %s& r);" % e.name)
    if fields:
        g.append("")
        g.append("protected:")
        for f in fields:
            g.append("    " + decl(f))
    g.append("};")
    return "\n".join(g) + "\n"


def emit_record_defs(cat, e):
    """Constructors, assignment, destructor and fixed-text setters."""
    if e.record_hand:
        return []
    fields = member_fields(e.items)
    base = e.base or "BaseDomain"
    n = e.name
    out = []
    inits = ["%s(%s)" % (f.field, init_value(f)) for f in fields if init_value(f) is not None]
    out.append("%s::%s()%s {" % (n, n, (" : " + ", ".join(inits)) if inits else ""))
    for f in fields:
        if f.kind == "attr" and f.fixed:
            out.append("    std::memset(%s, 0, sizeof(%s));" % (f.field, f.field))
    out.append("    m_nDomainId = kDomainId;")
    out.append("}")
    out.append("")
    copies = ["%s(other)" % base] + ["%s(other.%s)" % (f.field, f.field) for f in fields
                                     if not (f.kind == "attr" and f.fixed)]
    out.append("%s::%s(const %s& other) : %s {" % (n, n, n, ", ".join(copies)))
    for f in fields:
        if f.kind == "attr" and f.fixed:
            out.append("    std::memcpy(%s, other.%s, sizeof(%s));" % (f.field, f.field, f.field))
    out.append("    m_nDomainId = kDomainId;")
    out.append("}")
    out.append("")
    out.append("%s& %s::operator=(const %s& other) {" % (n, n, n))
    out.append("    if (this == &other) return *this;")
    out.append("    %s::operator=(other);" % base)
    for f in fields:
        if f.kind == "attr" and f.fixed:
            out.append("    std::memcpy(%s, other.%s, sizeof(%s));" % (f.field, f.field, f.field))
        else:
            out.append("    %s = other.%s;" % (f.field, f.field))
    out.append("    return *this;")
    out.append("}")
    out.append("")
    out.append("%s::~%s() = default;" % (n, n))
    for f in fields:
        if f.kind == "attr" and f.fixed:
            out.append("")
            out.append("bool %s::set%s(const char* value) { return setFixedText(%s, %d, value); }" %
                       (n, f.accessor, f.field, f.fixed))
    for it in fields:
        if it.kind in ("repeated_inline", "inline_list"):
            for f in member_fields(it.items):
                if f.kind == "attr" and f.fixed:
                    out.append("")
                    out.append("bool %s::%s::set%s(const char* value) { return setFixedText(%s, %d, value); }" %
                               (n, it.struct, f.accessor, f.field, f.fixed))
    if e.compare:
        out.append("")
        out.append("bool %s::operator==(const %s& other) const {" % (n, n))
        conds = ["%s::operator==(other)" % base]
        for f in fields:
            if f.kind == "attr" and f.fixed:
                conds.append("std::strcmp(%s, other.%s) == 0" % (f.field, f.field))
            else:
                conds.append("%s == other.%s" % (f.field, f.field))
        out.append("    return " + " &&\n           ".join(conds) + ";")
        out.append("}")
    out.append("")
    return out


def presence(it):
    return "P::" + it.presence


def item_options(e, it, in_child=False):
    opts = []
    if it.tag in e.lines:
        opts.append(".line(%s, %d)" % (c_string(e.lines[it.tag]), it.line))
    if it.kind in ("child", "list", "scalar_list", "repeated", "repeated_inline", "inline_list", "inline",
                   "base_child"):
        if it.presence == "Logged" or it.tag in e.nodes:
            opts.append(".node(%s)" % c_plain(e.nodes.get(it.tag, node_name(it.tag))))
        if e.strict_all or it.tag in e.strict:
            opts.append(".strict()")
    if it.tag in e.keep:
        opts.append(".keep()")
    if not opts:
        return ""
    return ", Item()" + "".join(opts)


def visit_line(e, it, rec, indent):
    """One line of a visitFields body."""
    P = presence(it)
    opt = item_options(e, it)
    tag = c_plain(it.tag)
    k = it.kind
    if k == "attr":
        if it.fixed:
            return indent + "v.text(%s, %s, %s.%s, %d%s);" % (tag, P, rec, it.field, it.fixed, opt)
        if it.read_as_float:
            return indent + "v.intReadAsFloat(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
        if it.float_as_int:
            return indent + "v.floatAsInt(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
        if it.tag in e.absent:
            lit = e.absent[it.tag][0]
            cast = cxx_scalar(it.scalar, it.width)
            if it.scalar == "string":
                val = "std::string(%s)" % lit
            else:
                val = "static_cast<%s>(%s)" % (cast, lit)
            return indent + "v.attrOr(%s, %s, %s.%s, %s%s);" % (tag, P, rec, it.field, val, opt)
        return indent + "v.attr(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
    if k == "child":
        return indent + "v.child(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
    if k == "base_child":
        return indent + "v.baseChild(%s, %s, static_cast<%s&>(%s)%s);" % (tag, P, it.type, rec, opt)
    if k == "list":
        return indent + "v.list(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
    if k == "repeated":
        return indent + "v.repeated(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
    if k == "scalar_list":
        return indent + "v.scalarList(%s, %s, %s, P::%s, %s.%s%s);" % (tag, c_plain(it.item_tag), P, it.item_presence,
                                                                      rec, it.field, opt)
    if k == "repeated_inline":
        return indent + "v.repeatedInline(%s, %s, %s.%s%s);" % (tag, P, rec, it.field, opt)
    if k == "inline_list":
        return indent + "v.inlineList(%s, %s, %s, %s.%s%s);" % (tag, c_plain(it.item_tag), P, rec, it.field, opt)
    if k == "shape":
        return indent + "v.shape(%s, AbilityShapeKind::%s, %s.%s%s);" % (
            tag, SHAPE_TYPES[it.shape][1], rec, it.field, opt)
    if k == "inline":
        inner = [visit_line(e, sub, rec, indent + "    ") for sub in it.items]
        return (indent + "v.inlineChild(%s, %s, [&](auto& v) {\n" % (tag, P) + "\n".join(inner) + "\n" + indent +
                "}%s);" % opt)
    raise AssertionError(k)


def ordered_items(e, items, order):
    if order is None:
        return list(items)
    by_tag = dict((it.tag, it) for it in items)
    return [by_tag[t] for t in order]


def emit_fields_header(cat, e):
    g = ["#pragma once", "", HEADER_NOTE % os.path.basename(e.path)]
    g.append('#include "domain/records/%s.h"' % e.name)
    if e.record_hand:
        g.append("")
        g.append("// %s is written by hand: nothing to walk." % e.name)
        g.append("template <class V>")
        g.append("void visitAll(V&, %s&) {}" % e.name)
        return "\n".join(g) + "\n"
    g.append('#include "domain/codecs/CodecItems.h"')
    # The codecs of the base and of nested records: the engine calls them.
    deps = set(record_deps(e.items))
    if e.base:
        deps.add(e.base)
    for dep in sorted(deps):
        if dep != e.name:
            g.append('#include "domain/codecs/%sXml.h"' % dep)
    g.append("")
    structs = [it for it in member_fields(e.items) if it.kind in ("repeated_inline", "inline_list")]
    for it in structs:
        g.append("template <class V>")
        g.append("void %s::%s::visitFields(V& v, %s& r) {" % (e.name, it.struct, it.struct))
        g.append("    using P = Presence;")
        for sub in it.items:
            g.append(visit_line(e, sub, "r", "    "))
        g.append("}")
        g.append("")
    g.append("// The items of %s in the order of the element build." % e.name)
    g.append("template <class V>")
    g.append("void %s::visitFields(V& v, %s& r) {" % (e.name, e.name))
    if e.items:
        g.append("    using P = Presence;")
    else:
        g.append("    (void)v;")
        g.append("    (void)r;")
    for it in e.items:
        g.append(visit_line(e, it, "r", "    "))
    g.append("}")
    if e.parse_order is not None:
        g.append("")
        g.append("// The element parse reads the items in this order.")
        g.append("template <class V>")
        g.append("void %s::visitParseFields(V& v, %s& r) {" % (e.name, e.name))
        g.append("    using P = Presence;")
        for it in ordered_items(e, e.items, e.parse_order):
            g.append(visit_line(e, it, "r", "    "))
        g.append("}")
    g.append("")
    g.append("// Base part first, then the record's own items.")
    g.append("template <class V>")
    g.append("void visitAll(V& v, %s& r) {" % e.name)
    if e.base:
        g.append("    visitAll(v, static_cast<%s&>(r));" % e.base)
    g.append("    %s::visitFields(v, r);" % e.name)
    g.append("}")
    return "\n".join(g) + "\n"


def codec_of_lines(name):
    """The CodecOf specialization that names the codec of record `name`."""
    return ["template <>", "struct CodecOf<%s> {" % name, "    typedef %sXml type;" % name, "};"]


def emit_codec_header(cat, e):
    g = ["#pragma once", "", HEADER_NOTE % os.path.basename(e.path)]
    if e.no_codec:
        g.append("// %sXml is to be written by hand (codecs/hand/%sXml.h); until then it has no codec." %
                 (e.name, e.name))
        g.append('#include "domain/records/%s.h"' % e.name)
        return "\n".join(g) + "\n"
    if e.codec_hand:
        g.append("// %sXml is written by hand." % e.name)
        g.append('#include "domain/codecs/hand/%sXml.h"' % e.name)
        g.append('#include "domain/codecs/CodecOf.h"')
        g.append("")
        g.extend(codec_of_lines(e.name))
        return "\n".join(g) + "\n"
    g.append("#include <vector>")
    g.append("")
    g.append('#include "domain/codecs/CodecOf.h"')
    g.append('#include "domain/records/%s.h"' % e.name)
    g.append('#include "domain/xml/IDomainXml.h"')
    g.append("")
    g.append("// Codec of %s (identifier %d); list items are named \"%s\"." % (e.name, e.id, e.item_name))
    g.append("class %sXml : public IDomainXml {" % e.name)
    g.append("public:")
    g.append("    static const char* itemName() { return \"%s\"; }" % e.item_name)
    g.append("")
    if not e.abstract:
        g.append("    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;")
        g.append("    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;")
    else:
        g.append("    // Only ever a base part: the top-level entry points refuse to work.")
        g.append("    using IDomainXml::createDomainXmlNode;")
        g.append("    using IDomainXml::parseDomainXmlNode;")
    g.append("    bool createDomainXmlNode(const %s& record, SafePointer<DomainXmlNode>& node);" % e.name)
    g.append("    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, %s& record);" % e.name)
    g.append("    bool createDomainXmlNode(const std::vector<%s>& records, SafePointer<DomainXmlNode>& node);" % e.name)
    g.append("    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<%s>& records);" % e.name)
    g.append("};")
    g.append("")
    g.extend(codec_of_lines(e.name))
    return "\n".join(g) + "\n"


def emit_codec_defs(cat, e, source_name):
    if e.codec_hand or e.no_codec:
        return []
    n = e.name
    x = n + "Xml"
    base_codec = (e.base + "Xml") if e.base and not any(it.kind == "base_child" for it in e.items) else "BaseDomainXml"
    base_type = e.base if base_codec != "BaseDomainXml" else "BaseDomain"
    flags = []
    if e.short:
        flags.append("CodecInfo::kShortLines")
    if e.trace:
        flags.append("CodecInfo::kTrace")
    out = []
    out.append("static const CodecInfo k%sInfo = {\"%s\", \"%s\", %s, %d};" %
               (x, x, source_name, " | ".join(flags) if flags else "0", e.trace_children))
    out.append("")
    if not e.abstract:
        out.append("bool %s::createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) {" % x)
        out.append("    return buildEntry<%s>(*this, %s::kDomainId, domain, node);" % (n, n))
        out.append("}")
        out.append("")
        out.append("bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) {" % x)
        out.append("    return parseEntry<%s>(*this, %s::kDomainId, node, domain);" % (n, n))
        out.append("}")
        out.append("")
    out.append("bool %s::createDomainXmlNode(const %s& record, SafePointer<DomainXmlNode>& node) {" % (x, n))
    out.append("    if (node.isNull()) return false;")
    out.append("    %s().createDomainXmlNode(static_cast<const %s&>(record), node);" % (base_codec, base_type))
    out.append("    return buildFields(k%sInfo, record, node);" % x)
    out.append("}")
    out.append("")
    out.append("bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, %s& record) {" % (x, n))
    out.append("    if (node.isNull()) return false;")
    out.append("    %s().parseDomainXmlNode(node, static_cast<%s&>(record));" % (base_codec, base_type))
    if e.parse_order is not None:
        out.append("    return parseFieldsInParseOrder(k%sInfo, node, record);" % x)
    else:
        out.append("    return parseFields(k%sInfo, node, record);" % x)
    out.append("}")
    out.append("")
    out.append("bool %s::createDomainXmlNode(const std::vector<%s>& records, SafePointer<DomainXmlNode>& node) {" %
               (x, n))
    out.append("    return buildList(*this, itemName(), records, node);")
    out.append("}")
    out.append("")
    out.append("bool %s::parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<%s>& records) {" % (x, n))
    out.append("    return parseList(*this, node, records);")
    out.append("}")
    out.append("")
    return out


def emit_area_cpp(cat, area, entries):
    source_name = "area_%s.cpp" % area
    g = [HEADER_NOTE % (area + ".rec")]
    g.append("#include <cstring>")
    g.append("#include <new>")
    g.append("")
    g.append('#include "domain/DomainContainer.h"')
    g.append('#include "domain/codecs/CodecEngine.h"')
    for e in entries:
        g.append('#include "domain/codecs/%sXml.h"' % e.name)
        if not e.codec_hand and not e.no_codec:
            g.append('#include "domain/codecs/fields/%s.h"' % e.name)
    g.append("")
    g.append("using namespace domain_codec;")
    g.append("")
    for e in entries:
        defs = emit_record_defs(cat, e)
        if defs:
            g.append("// ---- %s" % e.name)
            g.append("")
            g.extend(defs)
    for e in entries:
        defs = emit_codec_defs(cat, e, source_name)
        if defs:
            g.append("// ---- %sXml" % e.name)
            g.append("")
            g.extend(defs)
    rowed = [e for e in entries if e.id in cat.row_ids]
    if rowed:
        g.append("// ---- factory rows")
        g.append("")
        g.append("namespace domain_tables {")
        g.append("")
        for e in rowed:
            g.append("BaseDomain* create%s() { return new (std::nothrow) %s; }" % (e.name, e.name))
            g.append("BaseDomain* createList%s() { return new (std::nothrow) DomainVectorContainer<%s>; }" %
                     (e.name, e.name))
            if e.no_codec:
                g.append("IDomainXml* create%sXml() { return nullptr; }" % e.name)
            else:
                g.append("IDomainXml* create%sXml() { return new (std::nothrow) %sXml; }" % (e.name, e.name))
        g.append("")
        g.append("}  // namespace domain_tables")
    return "\n".join(g) + "\n"


def emit_tables(cat):
    """The four factory tables: rows in lookup order, plus sorted indexes that
    keep the first row of a doubled name."""
    g = [HEADER_NOTE % "names.tbl and the .rec files"]
    g.append("#include <cstring>")
    g.append("#include <new>")
    g.append("")
    g.append('#include "domain/DomainFactoryRows.h"')
    g.append("")
    g.append("namespace domain_tables {")
    g.append("")
    have = []
    for ident, name in cat.rows:
        e = cat.by_id.get(ident)
        if ident == 0 or e is None:
            continue
        have.append(e)
    for e in have:
        g.append("BaseDomain* create%s();" % e.name)
        g.append("BaseDomain* createList%s();" % e.name)
        g.append("IDomainXml* create%sXml();" % e.name)
    g.append("")
    g.append("// Identifier, element name, list key, class name, record, container, codec.")
    g.append("const FactoryRow kFactoryRows[] = {")
    for ident, name in cat.rows:
        key = LIST_KEYS.get(ident, name + "List")
        if ident == 0:
            g.append('    {0, "BaseDomain", "BaseDomainList", "BaseDomain", &createBaseDomain, '
                     '&createListBaseDomain, &createBaseDomainXml},')
            continue
        e = cat.by_id.get(ident)
        if e is None:
            g.append('    {%d, "%s", "%s", nullptr, nullptr, nullptr, nullptr},' % (ident, name, key))
            cat.note("names.tbl: row %d %s has no schema entry yet; the factories answer null" % (ident, name))
        else:
            g.append('    {%d, "%s", "%s", "%s", &create%s, &createList%s, &create%sXml},' %
                     (ident, name, key, e.name, e.name, e.name, e.name))
    g.append("};")
    g.append("const int kFactoryRowCount = %d;" % len(cat.rows))
    g.append("")
    order_by_id = sorted(range(len(cat.rows)), key=lambda i: (cat.rows[i][0], i))
    g.append("// Rows by identifier.")
    g.append("const unsigned short kRowsById[] = {")
    g.extend(wrap([str(i) for i in order_by_id]))
    g.append("};")
    g.append("")

    def first_wins(keyf):
        seen = {}
        for i, row in enumerate(cat.rows):
            k = keyf(i, row)
            if k not in seen:
                seen[k] = i
        return [seen[k] for k in sorted(seen, key=lambda s: s.encode())]

    by_name = first_wins(lambda i, row: row[1])
    by_key = first_wins(lambda i, row: LIST_KEYS.get(row[0], row[1] + "List"))
    g.append("// Rows by element name (byte order); of two rows with one name the first is kept.")
    g.append("const unsigned short kRowsByName[] = {")
    g.extend(wrap([str(i) for i in by_name]))
    g.append("};")
    g.append("const int kRowsByNameCount = %d;" % len(by_name))
    g.append("")
    g.append("// Rows by list key, the same way.")
    g.append("const unsigned short kRowsByListKey[] = {")
    g.extend(wrap([str(i) for i in by_key]))
    g.append("};")
    g.append("const int kRowsByListKeyCount = %d;" % len(by_key))
    g.append("")
    g.append("}  // namespace domain_tables")
    return "\n".join(g) + "\n"


# Containers whose key in the list table is not the element name plus "List".
LIST_KEYS = {
    242: "PTZNorthV2List",
    254: "PTZSpeedParamV2List",
    265: "PTZTraceCmdItemV1List",
    302: "ScanAbilityParamList",
}


def wrap(values, per_line=16):
    lines = []
    for i in range(0, len(values), per_line):
        lines.append("    " + ", ".join(values[i:i + per_line]) + ",")
    return lines


def emit_record_list(cat):
    g = [HEADER_NOTE % "the .rec files"]
    g.append("// X(Class, Identifier, HasRow, RecordGenerated, HasCodec, Abstract)")
    for e in cat.entries:
        g.append("X(%s, %d, %d, %d, %d, %d)" % (e.name, e.id, 1 if e.id in cat.row_ids else 0,
                                                0 if e.record_hand else 1,
                                                0 if e.no_codec else 1,
                                                1 if e.abstract else 0))
    return "\n".join(g) + "\n"


def emit_all_records(cat):
    """Every record with its codec and field walk: for the table-driven tests."""
    g = ["#pragma once", "", HEADER_NOTE % "the .rec files"]
    for e in cat.entries:
        if not e.no_codec:
            g.append('#include "domain/codecs/%sXml.h"' % e.name)
        g.append('#include "domain/codecs/fields/%s.h"' % e.name)
    return "\n".join(g) + "\n"


def write_if_changed(path, text, written):
    written.add(os.path.normpath(path))
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                return
    except OSError:
        pass
    os.makedirs(os.path.dirname(path), exist_ok=True)
    tmp = path + ".tmp"
    with open(tmp, "w", encoding="utf-8") as f:
        f.write(text)
    os.replace(tmp, path)


def topo_entries(cat, entries):
    """Entries of one area, bases first (definitions in one file need no order,
    but readers like it)."""
    return entries


def generate(cat, out):
    written = set()
    for e in cat.entries:
        write_if_changed(os.path.join(out, "domain", "records", e.name + ".h"), emit_record_header(cat, e), written)
        write_if_changed(os.path.join(out, "domain", "codecs", e.name + "Xml.h"), emit_codec_header(cat, e), written)
        write_if_changed(os.path.join(out, "domain", "codecs", "fields", e.name + ".h"),
                         emit_fields_header(cat, e), written)
    for area in cat.areas:
        entries = [e for e in cat.entries if e.area == area]
        write_if_changed(os.path.join(out, "domain", "area_%s.cpp" % area), emit_area_cpp(cat, area, entries),
                         written)
    write_if_changed(os.path.join(out, "domain", "DomainFactoryTables.cpp"), emit_tables(cat), written)
    write_if_changed(os.path.join(out, "domain", "RecordList.inc"), emit_record_list(cat), written)
    write_if_changed(os.path.join(out, "domain", "AllRecords.h"), emit_all_records(cat), written)
    # Drop generated files of records that left the schema.
    for sub in ("records", "codecs", os.path.join("codecs", "fields")):
        d = os.path.join(out, "domain", sub)
        if not os.path.isdir(d):
            continue
        for f in os.listdir(d):
            p = os.path.normpath(os.path.join(d, f))
            if f.endswith(".h") and p not in written:
                os.remove(p)


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--schema", required=True, help="folder of the .rec files and names.tbl")
    ap.add_argument("--out", help="output folder")
    ap.add_argument("--hand", help="folder of the hand-written records and codecs")
    ap.add_argument("--stamp", help="file touched after a successful run")
    ap.add_argument("--quiet", action="store_true", help="no build-time notes")
    args = ap.parse_args(argv)
    try:
        cat = load(args.schema, args.hand)
        if args.out:
            generate(cat, args.out)
    except SchemaError as err:
        sys.stderr.write("recordgen: error: %s\n" % err)
        return 1
    if not args.quiet:
        for n in cat.notes:
            sys.stdout.write("recordgen: note: %s\n" % n)
    if args.stamp:
        with open(args.stamp, "w") as f:
            f.write("%d records\n" % len(cat.entries))
    return 0


if __name__ == "__main__":
    sys.exit(main())
