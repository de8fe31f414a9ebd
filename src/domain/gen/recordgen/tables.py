"""Factory tables: domain/DomainFactoryTables.cpp, the rows of names.tbl in
lookup order with sorted indexes by identifier, element name and list key."""

from .model import HEADER_NOTE, list_key


def wrap(values, per_line=16):
    return ["    " + ", ".join(values[i:i + per_line]) + "," for i in range(0, len(values), per_line)]


def first_wins(rows, keyf):
    """Row numbers sorted by key (byte order); of two rows with one key the first is kept."""
    seen = {}
    for i, row in enumerate(rows):
        seen.setdefault(keyf(row), i)
    return [seen[k] for k in sorted(seen, key=lambda s: s.encode())]


def index(name, comment, rows, count=None):
    g = ["// %s" % comment, "const unsigned short %s[] = {" % name]
    g += wrap([str(i) for i in rows]) + ["};"]
    if count:
        g.append("const int %s = %d;" % (count, len(rows)))
    return g + [""]


def emit_tables(cat):
    rows = [(ident, name) for ident, name, _ in cat.rows]
    entries = [cat.by_id[ident] for ident, _ in rows if ident != 0]
    g = [HEADER_NOTE % "names.tbl and the .rec files", "#include <cstring>", "#include <new>", "",
         '#include "domain/DomainFactoryRows.h"', "", "namespace domain_tables {", ""]
    for e in entries:
        g += ["BaseDomain* create%s();" % e.name, "BaseDomain* createList%s();" % e.name,
              "IDomainXml* create%sXml();" % e.name]
    g += ["", "// Identifier, element name, list key, class name, record, container, codec.",
          "const FactoryRow kFactoryRows[] = {"]
    for ident, name in rows:
        if ident == 0:
            g.append('    {0, "BaseDomain", "BaseDomainList", "BaseDomain", &createBaseDomain, '
                     '&createListBaseDomain, &createBaseDomainXml},')
        else:
            c = cat.by_id[ident].name
            g.append('    {%d, "%s", "%s", "%s", &create%s, &createList%s, &create%sXml},' %
                     (ident, name, list_key(ident, name), c, c, c, c))
    g += ["};", "const int kFactoryRowCount = %d;" % len(rows), ""]
    g += index("kRowsById", "Rows by identifier.", sorted(range(len(rows)), key=lambda i: (rows[i][0], i)))
    g += index("kRowsByName", "Rows by element name (byte order); of two rows with one name the first is kept.",
               first_wins(rows, lambda row: row[1]), "kRowsByNameCount")
    g += index("kRowsByListKey", "Rows by list key, the same way.", first_wins(rows, lambda row: list_key(*row)),
               "kRowsByListKeyCount")
    g.append("}  // namespace domain_tables")
    return "\n".join(g) + "\n"
