"""Reading the schema notation: the entries of a .rec file and the rows of
names.tbl. Every mistake is a SchemaError with file and line."""

import re

from .model import PRESENCE, Entry, Item, SchemaError

HEAD_RE = re.compile(
    r"^([A-Za-z_]\w*)\s*\(\s*(-?\d+)\s*(?:,\s*base\s+([A-Za-z_]\w*)\s*)?\)(\s+nested only)?\s*:\s*(.*)$")
TAG = r"([A-Za-z_]\w*)"
PRES = r"([?~!]?)"
ATTR_RE = re.compile(r"^" + TAG + r"\s+(int|bool|string|float|double)" + PRES +
                     r"\s*(?:\((?:(8|16|64)-bit|at most (\d+) characters|(read as float)|(as int))\))?" + PRES +
                     r"\s*(?:=\s*(.+?))?\s*$")
SHAPE_RE = re.compile(r"^" + TAG + PRES + r"\s+(region|unit flag|flag|plain range|float range|range)\s*$")
OPAQUE_RE = re.compile(r"^" + TAG + PRES + r"\s+child\s*\(no content\)\s*$")
SCALAR_LIST_RE = re.compile(r"^" + TAG + PRES + r"\s+list of\s+([A-Za-z_]\w*)\s+(int|bool|string|float|double)" +
                            PRES + r"\s*(?:\((8|16|64)-bit\))?\s*$")
LIST_RE = re.compile(r"^" + TAG + PRES + r"\s+list of\s+([A-Za-z_]\w*)\s*$")

# The child forms, in the order they are tried: the third group names a record
# type ("type") or holds the items of an inline element ("items").
NESTED_FORMS = (
    (re.compile(r"^" + TAG + PRES + r"\s+child\s+([A-Za-z_]\w*)\s*$"), "child", "type"),
    (re.compile(r"^" + TAG + PRES + r"\s+child\s*\{(.*)\}\s*$", re.S), "inline", "items"),
    (re.compile(r"^" + TAG + PRES + r"\s+repeated child\s*\{(.*)\}\s*$", re.S), "repeated_inline", "items"),
)

ANNOT_RE = re.compile(r"^@(\w+)\s*(.*)$")
NAME = r"[A-Za-z_]\w*"


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
    """The C++ literal of a value written as in '= v'."""
    value = value.strip()
    if scalar == "string":
        if not (len(value) >= 2 and value[0] == '"' and value[-1] == '"'):
            raise SchemaError(path, line, "text default must be quoted: %s" % value)
        return value
    if scalar == "bool":
        if value not in ("true", "false"):
            raise SchemaError(path, line, "bool default must be true or false: %s" % value)
        return value
    if scalar in ("float", "double"):
        if not re.match(r"^-?\d+(\.\d+)?$", value):
            raise SchemaError(path, line, "bad %s default: %s" % (scalar, value))
        if scalar == "float":
            return value + ("f" if "." in value else ".0f")
        return value if "." in value else value + ".0"
    if not re.match(r"^-?\d+$", value):
        raise SchemaError(path, line, "bad int default: %s" % value)
    return value


def parse_attr(m, path, line):
    tag, scalar, p1, width, fixed, as_float, as_int, p2, default = m.groups()
    if p1 and p2:
        raise SchemaError(path, line, "two presence marks on %s" % tag)
    it = Item("attr", tag, PRESENCE[p1 or p2 or ""], line)
    it.scalar = scalar
    rules = ((width, "int", "a width"), (fixed, "string", "a length bound"), (as_float, "int", "(read as float)"),
             (as_int, "float", "(as int)"))
    for given, needed, what in rules:
        if given and scalar != needed:
            raise SchemaError(path, line, "%s applies to %s only: %s" % (what, needed, tag))
    it.width = int(width) if width else None
    it.fixed = int(fixed) if fixed else None
    it.read_as_float = bool(as_float)
    it.float_as_int = bool(as_int)
    if default is not None:
        if it.fixed:
            raise SchemaError(path, line, "a fixed text field takes no default: %s" % tag)
        it.default = cxx_literal(default, scalar, path, line)
    return it


def parse_item(text, path, line):
    if text == "no attributes":
        return None
    m = ATTR_RE.match(text)
    if m:
        return parse_attr(m, path, line)
    m = SHAPE_RE.match(text)
    if m:
        it = Item("shape", m.group(1), PRESENCE[m.group(2)], line)
        it.shape = m.group(3)
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
        it.width = int(m.group(6)) if m.group(6) else None
        return it
    m = LIST_RE.match(text)
    if m:
        it = Item("list", m.group(1), PRESENCE[m.group(2)], line)
        it.type = m.group(3)
        return it
    raise SchemaError(path, line, "cannot read item: %s" % text)


def parse_items(text, path, line):
    items = (parse_item(t, path, n) for t, n in split_items(text, path, line))
    return [it for it in items if it is not None]


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

    def refer(*tags):
        entry.tag_refs.extend((tag, line) for tag in tags)

    if name == "item":
        entry.item_name = arg_match("^%s$" % NAME, "@item needs a name").group(0)
    elif name == "short":
        entry.short = True
    elif name == "line":
        found = arg_match(r'^(%s)\s+"(.*)"$' % NAME, "@line needs a tag and a quoted text")
        entry.lines[found.group(1)] = found.group(2)
        refer(found.group(1))
    elif name == "node":
        found = arg_match(r"^(%s)\s+(%s)$" % (NAME, NAME), "@node needs a tag and a node name")
        entry.nodes[found.group(1)] = found.group(2)
        refer(found.group(1))
    elif name == "strict":
        entry.strict.update(arg.split())
        entry.strict_all = entry.strict_all or not arg
        refer(*arg.split())
    elif name == "trace":
        entry.trace = True
        if arg:
            entry.trace_children = int(arg_match(r"^children=(\d)$", "@trace takes children=L").group(1))
    elif name == "parse":
        tags = [t.strip() for t in arg.split(";") if t.strip()]
        if not tags:
            raise SchemaError(path, line, "@parse needs tags")
        entry.parse_order = tags
        entry.parse_line = line
    elif name in ("codec", "record"):
        if arg != "hand":
            raise SchemaError(path, line, "@%s takes hand" % name)
        setattr(entry, name + "_hand", True)
    elif name == "abstract":
        entry.abstract = True
    elif name == "compare":
        entry.compare = True
    elif name == "absent":
        found = arg_match(r"^(%s)\s+(.+)$" % NAME, "@absent needs a tag and a value")
        entry.absent[found.group(1)] = (found.group(2), line)
        refer(found.group(1))
    else:
        raise SchemaError(path, line, "unknown annotation @%s" % name)


def parse_rec_file(path, text=None):
    """The entries of one .rec file, in file order."""
    if text is None:
        with open(path, encoding="utf-8") as f:
            text = f.read()
    entries = []
    cur = None
    body = []  # (text, line) of the item lines of the current entry
    annotations = []

    def finish():
        if cur is None:
            return
        if body:
            # Blank lines keep their place, so that items keep their line numbers.
            first = body[0][1]
            lines = [""] * (body[-1][1] - first + 1)
            for t, ln in body:
                lines[ln - first] = t
            cur.items = parse_items("\n".join(lines), path, first)
        for t, ln in annotations:
            parse_annotation(cur, t, path, ln)
        entries.append(cur)

    for number, raw in enumerate(text.split("\n"), 1):
        line = raw.rstrip()
        if not line.strip() or line.startswith("#"):
            continue
        if not line[0].isspace():
            finish()
            body = []
            annotations = []
            m = HEAD_RE.match(line)
            if not m:
                raise SchemaError(path, number, "expected an entry head 'Name (id[, base B])[ nested only]:'")
            name, ident, base, nested, rest = m.groups()
            cur = Entry(name, int(ident), base, bool(nested), path, number)
            if rest.strip():
                body.append((rest.strip(), number))
            continue
        if cur is None:
            raise SchemaError(path, number, "item outside an entry")
        stripped = line.strip()
        if stripped.startswith("@"):
            annotations.append((stripped, number))
        elif annotations:
            raise SchemaError(path, number, "item after the annotations of %s" % cur.name)
        else:
            body.append((stripped, number))
    finish()
    return entries


def parse_names(path):
    """The rows of names.tbl: (id, name, line) of the factory rows in lookup
    order, and of the 'nested' lines of records that have no row."""
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
                nested.append((int(parts[1]), parts[2], number))
            else:
                if len(parts) != 2 or not parts[0].isdigit():
                    raise SchemaError(path, number, "expected '<id> <ElementName>'")
                rows.append((int(parts[0]), parts[1], number))
    return rows, nested
