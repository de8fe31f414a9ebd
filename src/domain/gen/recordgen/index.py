"""The index of the schema for the tests: domain/RecordList.inc and
domain/AllRecords.h."""

from .model import HEADER_NOTE


def emit_record_list(cat):
    """domain/RecordList.inc: X(Class) for every record, for the tests' walks."""
    g = [HEADER_NOTE % "the .rec files"]
    g.extend("X(%s)" % e.name for e in cat.entries)
    return "\n".join(g) + "\n"


def emit_all_records(cat):
    """domain/AllRecords.h: every record with its codec and field walk, and their count."""
    g = ["#pragma once", "", HEADER_NOTE % "the .rec files"]
    for e in cat.entries:
        g += ['#include "domain/codecs/%sXml.h"' % e.name, '#include "domain/codecs/fields/%s.h"' % e.name]
    g += ["", "// Records of the schema: the lines of domain/RecordList.inc.",
          "constexpr int kRecordCount = %d;" % len(cat.entries)]
    return "\n".join(g) + "\n"
