"""Tests of the record generator: notation parsing, item kinds, errors, output."""

import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.environ.get("RECORDGEN_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "..",
                                                                "src", "domain", "gen")))
import recordgen  # noqa: E402

SCHEMA = os.environ.get("RECORDGEN_SCHEMA", os.path.join(os.path.dirname(__file__), "..", "..", "..", "src",
                                                          "domain", "schema"))


def read(path):
    with open(path, encoding="utf-8") as f:
        return f.read()


def parse(text, path="t.rec"):
    return recordgen.parse_rec_file(path, text)


def one_item(text):
    entries = parse("R (1):\n    " + text + "\n")
    return entries[0].items[0]


class ItemKinds(unittest.TestCase):
    def test_attributes(self):
        it = one_item("Port int (16-bit) = 161")
        self.assertEqual(("attr", "Port", "int", 16, "161", "Reset"),
                         (it.kind, it.tag, it.scalar, it.width, it.default, it.presence))
        it = one_item("Time int! (64-bit)")
        self.assertEqual((64, "Mandatory"), (it.width, it.presence))
        it = one_item("Name string? (at most 32 characters)")
        self.assertEqual((32, "Optional"), (it.fixed, it.presence))
        self.assertTrue(one_item("D int? (read as float)").read_as_float)
        self.assertTrue(one_item("X float (as int)").float_as_int)
        self.assertEqual("Logged", one_item("C int~ = 1").presence)
        self.assertEqual('"eth0"', one_item('N string = "eth0"').default)
        self.assertEqual("0.95f", one_item("E float? = 0.95").default)

    def test_children_and_lists(self):
        it = one_item("Addr? child InetAddr")
        self.assertEqual(("child", "InetAddr", "Optional"), (it.kind, it.type, it.presence))
        it = one_item("Items! list of Thing")
        self.assertEqual(("list", "Thing", "Mandatory"), (it.kind, it.type, it.presence))
        it = one_item("Ids? list of Id int")
        self.assertEqual(("scalar_list", "Id", "int", "Optional", "Reset"),
                         (it.kind, it.item_tag, it.scalar, it.presence, it.item_presence))
        self.assertEqual("Mandatory", one_item("M! list of Major int!").item_presence)
        it = one_item("Pos! child { X float; Y float }")
        self.assertEqual(("inline", 2), (it.kind, len(it.items)))
        it = one_item("P! repeated child { X float; Y float }")
        self.assertEqual("repeated_inline", it.kind)
        self.assertEqual("repeated", one_item("R repeated child Thing").kind)
        it = one_item("L list of Item { A int; B string }")
        self.assertEqual(("inline_list", "Item"), (it.kind, it.item_tag))
        self.assertEqual("opaque", one_item("A child (no content)").kind)

    def test_shapes(self):
        for text, shape in (("R region", "region"), ("F flag", "flag"), ("U unit flag", "unit flag"),
                            ("G range", "range"), ("P plain range", "plain range"),
                            ("A float range", "float range")):
            it = one_item(text)
            self.assertEqual(("shape", shape), (it.kind, it.shape))

    def test_nested_inline_child(self):
        it = one_item("LIB~ repeated child { ID int~; Res? child { W int~; H int~ }; C? child { N int~ } }")
        self.assertEqual(["ID", "Res", "C"], [i.tag for i in it.items])
        self.assertEqual(["W", "H"], [i.tag for i in it.items[1].items])


class Entries(unittest.TestCase):
    def test_heads_and_annotations(self):
        entries = parse(
            "# area\n"
            "A (5, base B) nested only:\n"
            "    X int;\n"
            "    Y string\n"
            "    @item Other\n"
            "    @short\n"
            '    @line X "text %d\\n"\n'
            "    @node Y NODE_Y\n"
            "    @strict Y\n"
            "    @trace children=1\n"
            "    @parse Y; X; X\n"
            "    @absent X 1\n"
            "    @codec hand\n"
            "B (6): no attributes\n"
            "C (no identifier):\n"
            "    no attributes\n"
            "    @abstract\n")
        a, b, c = entries
        self.assertEqual((5, "B", True), (a.id, a.base, a.nested_only))
        self.assertEqual(["X", "Y"], [i.tag for i in a.items])
        self.assertEqual("Other", a.item_name)
        self.assertTrue(a.short and a.trace and a.codec_hand)
        self.assertEqual(1, a.trace_children)
        self.assertEqual("text %d\\n", a.lines["X"])
        self.assertEqual(["Y", "X", "X"], a.parse_order)
        self.assertEqual({"Y"}, a.strict)
        self.assertEqual([], b.items)
        self.assertTrue(c.nested_only and c.abstract and c.id is None)

    def test_items_split_on_semicolons_and_lines(self):
        entries = parse("R (1):\n    A int; B int\n    C child { D int;\n E int }\n")
        self.assertEqual(["A", "B", "C"], [i.tag for i in entries[0].items])


class Errors(unittest.TestCase):
    def assertError(self, text, line, fragment):
        with self.assertRaises(recordgen.SchemaError) as ctx:
            parse(text, "bad.rec")
        self.assertEqual(line, ctx.exception.line)
        self.assertIn("bad.rec:%d:" % line, str(ctx.exception))
        self.assertIn(fragment, str(ctx.exception))

    def test_malformed_entries(self):
        self.assertError("R 1:\n    A int\n", 1, "entry head")
        self.assertError("R (1):\n    A int;\n    B integer\n", 3, "cannot read item")
        self.assertError("R (1):\n    A int\n    @bogus\n", 3, "unknown annotation")
        self.assertError("R (1):\n    A bool (16-bit)\n", 2, "width")
        self.assertError("R (1):\n    A int = x\n", 2, "bad int default")
        self.assertError("R (1):\n    A child { B int\n", 2, "unbalanced")
        self.assertError("    A int\n", 1, "outside an entry")
        self.assertError("R (1):\n    A int\n    @short\n    B int\n", 4, "after the annotations")

    def test_catalogue_checks(self):
        cat = recordgen.Catalogue()
        cat.entries = parse("R (1):\n    A int\nS (1):\n    B int\n", "dup.rec")
        with self.assertRaises(recordgen.SchemaError) as ctx:
            recordgen.check(cat)
        self.assertIn("identifier 1", str(ctx.exception))
        cat = recordgen.Catalogue()
        cat.entries = parse("R (1):\n    A int\n    @line Z \"x\"\n", "ann.rec")
        with self.assertRaises(recordgen.SchemaError):
            recordgen.check(cat)

    def test_unknown_types_are_left_out_with_a_note(self):
        cat = recordgen.Catalogue()
        cat.entries = parse("R (1):\n    A int;\n    B? child Missing;\n    C list of Missing\n", "u.rec")
        recordgen.check(cat)
        self.assertEqual(["A"], [i.tag for i in cat.entries[0].items])
        self.assertEqual(2, len(cat.notes))
        self.assertIn("u.rec:3:", cat.notes[0])


class Naming(unittest.TestCase):
    def test_node_names(self):
        self.assertEqual("ALARM_OUT_ACTION_LIST", recordgen.node_name("AlarmOutActionList"))
        self.assertEqual("PTZ_ACTION_PARAM_LIST", recordgen.node_name("PTZActionParamList"))
        self.assertEqual("MONITOR_ABILITY_LIST", recordgen.node_name("MonitorAbilityList"))

    def test_fields(self):
        cat = recordgen.Catalogue()
        cat.entries = parse("T (2):\n    Z int\n"
                            "R (1):\n    N int; B bool; S string; F float; D double; P int (16-bit);\n"
                            "    X string (at most 4 characters); O child T; L list of T; V list of I int;\n"
                            "    C child { enable bool }; enable int\n")
        recordgen.check(cat)
        r = cat.entries[1]
        fields = [i.field for i in recordgen.member_fields(r.items)]
        self.assertEqual(["m_nN", "m_bB", "m_strS", "m_fF", "m_dD", "m_nP", "m_szX", "m_objO", "m_vecL", "m_vecV",
                          "m_bCenable", "m_nenable"], fields)


class WholeSchema(unittest.TestCase):
    def test_every_schema_file_generates(self):
        with tempfile.TemporaryDirectory() as out:
            cat = recordgen.load(SCHEMA)
            recordgen.generate(cat, out)
            self.assertGreater(len(cat.entries), 690)
            self.assertEqual(649, len(cat.rows))
            header = read(os.path.join(out, "domain", "records", "InetAddr.h"))
            self.assertIn("unsigned short getPORT() const", header)
            fields = read(os.path.join(out, "domain", "codecs", "fields", "InetAddr.h"))
            self.assertIn('v.attr("PORT", P::Reset, r.m_nPORT);', fields)
            tables = read(os.path.join(out, "domain", "DomainFactoryTables.cpp"))
            self.assertIn('{242, "PTZNorth", "PTZNorthV2List"', tables)


if __name__ == "__main__":
    unittest.main()
