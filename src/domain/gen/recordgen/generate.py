"""Writes every output of the generator under --out:

  domain/records/<Name>.h        record class (not for hand-written records)
  domain/codecs/<Name>Xml.h      codec class (not for hand-written codecs)
  domain/codecs/fields/<Name>.h  the record's field walk (visitFields)
  domain/area_<area>.cpp         records and codecs of one schema file
  domain/DomainFactoryTables.cpp the four factory tables
  domain/RecordList.inc, domain/AllRecords.h  the index for the tests

Files are rewritten only when their content changes, so a schema edit
recompiles only what it touches; files of records that left the schema go.
"""

import argparse
import os
import sys

from . import areas, checks, codecs, fields, index, records, tables
from .model import SchemaError


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


def generate(cat, out):
    written = set()
    domain = os.path.join(out, "domain")

    def write(name, text):
        write_if_changed(os.path.join(domain, name), text, written)

    for e in cat.entries:
        if not e.record_hand:
            write(os.path.join("records", e.name + ".h"), records.emit_record_header(e))
        if not e.codec_hand:
            write(os.path.join("codecs", e.name + "Xml.h"), codecs.emit_codec_header(e))
        write(os.path.join("codecs", "fields", e.name + ".h"), fields.emit_fields_header(e))
    for area in cat.areas:
        write("area_%s.cpp" % area, areas.emit_area_source(cat, area, [e for e in cat.entries if e.area == area]))
    write("DomainFactoryTables.cpp", tables.emit_tables(cat))
    write("RecordList.inc", index.emit_record_list(cat))
    write("AllRecords.h", index.emit_all_records(cat))
    for sub in ("records", "codecs", os.path.join("codecs", "fields")):
        folder = os.path.join(domain, sub)
        if os.path.isdir(folder):
            for f in os.listdir(folder):
                path = os.path.normpath(os.path.join(folder, f))
                if f.endswith(".h") and path not in written:
                    os.remove(path)


def main(argv=None):
    ap = argparse.ArgumentParser(prog="recordgen", description="Generates the domain records and codecs.")
    ap.add_argument("--schema", required=True, help="folder of the .rec files and names.tbl")
    ap.add_argument("--hand", required=True, help="folder that holds the hand-written records/ and codecs/")
    ap.add_argument("--out", required=True, help="output folder")
    ap.add_argument("--stamp", help="file written after a successful run")
    args = ap.parse_args(argv)
    try:
        cat = checks.load(args.schema, args.hand)
        generate(cat, args.out)
    except SchemaError as err:
        sys.stderr.write("recordgen: error: %s\n" % err)
        return 1
    if args.stamp:
        with open(args.stamp, "w") as f:
            f.write("%d records\n" % len(cat.entries))
    return 0
