"""Consistency of the schema: every name resolves, every annotation names an
item, every entry has its row, every hand-written part exists. Each finding is
a SchemaError with the file and line to mend."""

import os

from . import notation
from .model import RECORD_KINDS, RESERVED_TAGS, Catalogue, SchemaError, hungarian, walk_tags


def index_entries(cat):
    for e in cat.entries:
        other = cat.by_name.get(e.name)
        if other is not None:
            raise SchemaError(e.path, e.line, "%s is already defined at %s:%d" % (e.name, other.path, other.line))
        cat.by_name[e.name] = e
        other = cat.by_id.get(e.id)
        if other is not None:
            raise SchemaError(e.path, e.line, "identifier %d is already used by %s" % (e.id, other.name))
        cat.by_id[e.id] = e


def resolve_items(cat, e, items):
    """Names every record type; a child of the entry's base type holds the base part."""
    for it in items:
        if it.kind in RECORD_KINDS and it.type not in cat.by_name:
            raise SchemaError(e.path, it.line, "%s.%s names %s, which no schema defines" % (e.name, it.tag, it.type))
        if it.kind == "child" and it.type == e.base:
            it.kind = "base_child"
        if it.kind == "opaque" and not e.record_hand:
            raise SchemaError(e.path, it.line, "%s.%s has no content form: %s needs @record hand" %
                              (e.name, it.tag, e.name))
        if it.tag in RESERVED_TAGS:
            raise SchemaError(e.path, it.line, "tag %s clashes with a BaseDomain member" % it.tag)
        if it.items:
            resolve_items(cat, e, it.items)


def assign_fields(e, items, prefix, taken):
    """Names the members. The record's own items keep their tags; an item of an
    inline child whose tag is taken gets the child's tag in front."""
    for it in items:
        if it.kind in ("inline", "base_child"):
            continue
        accessor = prefix + it.tag if (prefix and it.tag in taken) else it.tag
        if accessor in taken:
            raise SchemaError(e.path, it.line, "field %s appears twice in %s" % (it.tag, e.name))
        taken.add(accessor)
        it.accessor = accessor
        it.field = hungarian(it) + accessor
        if it.kind == "repeated_inline":
            it.struct = it.tag + "Item"
            assign_fields(e, it.items, "", set())
    for it in items:
        if it.kind == "inline":
            assign_fields(e, it.items, it.tag, taken)


def check_annotations(e):
    items = dict((it.tag, it) for it in walk_tags(e.items))
    for tag, line in e.tag_refs:
        if tag not in items:
            raise SchemaError(e.path, line, "annotation names %s, which %s does not have" % (tag, e.name))
    if e.parse_order is not None:
        top = [it.tag for it in e.items]
        for tag in e.parse_order:
            if tag not in top:
                raise SchemaError(e.path, e.parse_line, "@parse names %s, which %s does not have" % (tag, e.name))
        for tag in top:
            if tag not in e.parse_order:
                raise SchemaError(e.path, e.parse_line, "@parse leaves out %s of %s" % (tag, e.name))
    for tag, (value, line) in list(e.absent.items()):
        it = items[tag]
        if it.kind != "attr":
            raise SchemaError(e.path, line, "@absent applies to attributes: %s" % tag)
        e.absent[tag] = (notation.cxx_literal(value, it.scalar, e.path, line), line)


def check_rows(cat, path, rows, nested):
    """Rows and 'nested' lines against the entries: a record has a row, or a
    'nested' line if it is marked nested only, or neither if it is abstract."""
    seen = {}
    for ident, name, line in rows + nested:
        if ident in seen:
            raise SchemaError(path, line, "identifier %d already stands on line %d" % (ident, seen[ident]))
        seen[ident] = line
        e = cat.by_id.get(ident)
        if e is None:
            if ident != 0:  # BaseDomain, the root, has no schema entry
                raise SchemaError(path, line, "row %d %s has no schema entry" % (ident, name))
            continue
        if (ident, name, line) in nested:
            if e.name != name:
                raise SchemaError(path, line, "nested %d names %s, but %d is %s" % (ident, name, ident, e.name))
            if not e.nested_only:
                raise SchemaError(e.path, e.line, "%s has a 'nested' line in names.tbl but is not nested only" %
                                  e.name)
        elif e.nested_only:
            raise SchemaError(e.path, e.line, "%s is nested only but has a row (%s:%d)" % (e.name, path, line))
    for e in cat.entries:
        if e.abstract and e.id in seen:
            raise SchemaError(e.path, e.line, "%s is abstract but stands in names.tbl" % e.name)
        if not e.abstract and e.id not in seen:
            raise SchemaError(e.path, e.line, "%s has no %s in names.tbl" %
                              (e.name, "'nested' line" if e.nested_only else "row"))
    cat.rows = rows
    cat.row_ids = set(ident for ident, _, _ in rows)


def check_hand_files(cat, hand_dir):
    """@record hand and @codec hand stand exactly where records/<Name>.h and
    codecs/<Name>Xml.h are written by hand under hand_dir."""

    def names_in(sub, suffix):
        folder = os.path.join(hand_dir, sub)
        return set(f[:-len(suffix)] for f in os.listdir(folder) if f.endswith(suffix))

    records = names_in("records", ".h")
    codecs = names_in("codecs", "Xml.h")
    for e in cat.entries:
        for marked, present, what in ((e.record_hand, e.name in records, "records/%s.h" % e.name),
                                      (e.codec_hand, e.name in codecs, "codecs/%sXml.h" % e.name)):
            if marked and not present:
                raise SchemaError(e.path, e.line, "%s is marked hand-written, but %s does not exist" %
                                  (e.name, what))
            if present and not marked:
                raise SchemaError(e.path, e.line, "%s is written by hand, but %s is not marked so" % (what, e.name))


def check(cat):
    index_entries(cat)
    for e in cat.entries:
        if e.base is not None and e.base not in cat.by_name:
            raise SchemaError(e.path, e.line, "base %s of %s is not defined" % (e.base, e.name))
        resolve_items(cat, e, e.items)
        assign_fields(e, e.items, "", set())
        check_annotations(e)
    return cat


def load(schema_dir, hand_dir=None):
    """Reads and checks the schema; hand_dir is the root of records/ and codecs/."""
    cat = Catalogue()
    files = sorted(f for f in os.listdir(schema_dir) if f.endswith(".rec"))
    for f in files:
        cat.entries.extend(notation.parse_rec_file(os.path.join(schema_dir, f)))
    cat.areas = [os.path.splitext(f)[0] for f in files]
    check(cat)
    names = os.path.join(schema_dir, "names.tbl")
    rows, nested = notation.parse_names(names)
    check_rows(cat, names, rows, nested)
    if hand_dir is not None:
        check_hand_files(cat, hand_dir)
    return cat
