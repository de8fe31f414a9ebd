"""The schema in memory: entries, their items and the catalogue, with the
naming rules that every emitter shares."""

import os
import re

# Ability shapes: C++ type and AbilityShapeKind of each shape word.
SHAPE_TYPES = {
    "region": ("AbilityRegion", "Region"),
    "flag": ("AbilityFlag", "Flag"),
    "unit flag": ("AbilityFlag", "UnitFlag"),
    "range": ("AbilityRange", "Range"),
    "plain range": ("AbilityRange", "PlainRange"),
    "float range": ("AbilityFloatRange", "FloatRange"),
}

PRESENCE = {"": "Reset", "?": "Optional", "~": "Logged", "!": "Mandatory"}

# Tags that would clash with the members of BaseDomain.
RESERVED_TAGS = {"DomainId", "ElementDomainId"}

# Containers whose key in the list table is not the element name plus "List".
LIST_KEYS = {
    242: "PTZNorthV2List",
    254: "PTZSpeedParamV2List",
    265: "PTZTraceCmdItemV1List",
    302: "ScanAbilityParamList",
}

# Item kinds that hold one record type (Item.type).
RECORD_KINDS = ("child", "list", "base_child")
# Item kinds whose items are fields of the record itself (Item.items).
INLINE_KINDS = ("inline", "repeated_inline")
# Item kinds that are a child element of their own.
NESTED_KINDS = RECORD_KINDS + INLINE_KINDS + ("scalar_list",)


class SchemaError(Exception):
    def __init__(self, path, line, message):
        Exception.__init__(self, "%s:%d: %s" % (path, line, message))
        self.path = path
        self.line = line


class Item(object):
    """One item of an entry.

    kind: attr | child | base_child | list | scalar_list | inline |
          repeated_inline | shape | opaque
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
        self.type = None  # record type of child / list
        self.item_tag = None  # element name of a scalar list item
        self.items = None  # inline items
        self.shape = None
        self.item_presence = "Reset"  # scalar list: presence of each item's attribute
        self.field = None  # C++ member name
        self.accessor = None  # get/set suffix
        self.struct = None  # class of one element of repeated_inline


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
        self.parse_line = line
        self.codec_hand = False
        self.record_hand = False
        self.abstract = False
        self.compare = False
        self.absent = {}  # tag -> (literal, line)
        self.tag_refs = []  # (tag, line) named by an annotation


class Catalogue(object):
    def __init__(self):
        self.entries = []
        self.areas = []
        self.by_name = {}
        self.by_id = {}
        self.rows = []  # (id, element name, line) of names.tbl, in lookup order
        self.row_ids = set()


def walk_tags(items):
    """The items and, depth first, the items of their inline children."""
    for it in items:
        yield it
        if it.kind == "inline":
            for sub in walk_tags(it.items):
                yield sub


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


def record_deps(items):
    """Record types that a class holds by value."""
    deps = []
    for it in items:
        if it.kind in ("child", "list"):
            deps.append(it.type)
        if it.items:
            deps.extend(record_deps(it.items))
    return deps


def uses_shapes(items):
    return any(it.kind == "shape" or (it.items and uses_shapes(it.items)) for it in items)


def node_name(tag):
    """The words of a tag in capitals joined by '_': AlarmOutActionList gives ALARM_OUT_ACTION_LIST."""
    words = re.findall(r"[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+|[A-Z]+|\d+", tag)
    return "_".join(w.upper() for w in words)


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


def field_type(it):
    if it.kind == "attr":
        return "char" if it.fixed else cxx_scalar(it.scalar, it.width)
    if it.kind == "child":
        return it.type
    if it.kind == "shape":
        return SHAPE_TYPES[it.shape][0]
    if it.kind == "list":
        return "std::vector<%s>" % it.type
    if it.kind == "scalar_list":
        return "std::vector<%s>" % cxx_scalar(it.scalar, it.width)
    if it.kind == "repeated_inline":
        return "std::vector<%s>" % it.struct
    raise AssertionError(it.kind)


def c_string(text):
    """The text of an annotation is already in C escape form; only guard quotes."""
    return '"' + text.replace('"', '\\"') + '"'


def c_plain(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def list_key(ident, name):
    return LIST_KEYS.get(ident, name + "List")


HEADER_NOTE = "// Generated by src/domain/gen/recordgen from %s. Do not edit.\n"
