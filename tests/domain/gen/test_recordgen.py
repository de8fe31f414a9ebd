"""The record generator: each item kind read and emitted, and every mistake in
the schema reported with its file and line."""

import functools
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.environ.get("RECORDGEN_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "..",
                                                                "src", "domain", "gen")))
from recordgen import checks, fields, generate, model, notation, records  # noqa: E402


def catalogue(text, path="t.rec"):
    cat = model.Catalogue()
    cat.entries = notation.parse_rec_file(path, "T (2):\n    Z int\nU (3): no attributes\n" + text)
    return checks.check(cat)


class ItemKinds(unittest.TestCase):
    def test_each_kind_reads_and_emits_its_step(self):
        cases = [
            ("Port int (16-bit) = 161", "unsigned short m_nPort;", 'v.attr("Port", P::Reset, r.m_nPort);'),
            ("S int (8-bit)", "unsigned char m_nS;", 'v.attr("S", P::Reset, r.m_nS);'),
            ("Time int! (64-bit)", "int64_t m_nTime;", 'v.attr("Time", P::Mandatory, r.m_nTime);'),
            ("N string? (at most 32 characters)", "char m_szN[32 + 1];", 'v.text("N", P::Optional, r.m_szN, 32);'),
            ("D int (read as float)", "int m_nD;", 'v.intReadAsFloat("D", P::Reset, r.m_nD);'),
            ("X float~ (as int)", "float m_fX;", 'v.floatAsInt("X", P::Logged, r.m_fX);'),
            ("E double = 2", "double m_dE;", 'v.attr("E", P::Reset, r.m_dE);'),
            ("A? child T", "T m_objA;", 'v.child("A", P::Optional, r.m_objA);'),
            ("L~ list of T", "std::vector<T> m_vecL;",
             'v.list("L", P::Logged, r.m_vecL, Item().node("NODE_L"));'),
            ("M! list of Major int!", "std::vector<int> m_vecM;",
             'v.scalarList("M", "Major", P::Mandatory, P::Mandatory, r.m_vecM);'),
            ("P! repeated child { X float }", "std::vector<PItem> m_vecP;",
             'v.repeatedInline("P", P::Mandatory, r.m_vecP);'),
            ("R region", "AbilityRegion m_objR;", 'v.shape("R", AbilityShapeKind::Region, r.m_objR);'),
            ("U unit flag", "AbilityFlag m_objU;", 'v.shape("U", AbilityShapeKind::UnitFlag, r.m_objU);'),
        ]
        for text, decl, step in cases:
            e = catalogue("R (1):\n    " + text + "\n").entries[2]
            it = e.items[0]
            self.assertEqual(decl, records.decl(it), text)
            self.assertEqual(step, fields.visit_line(e, it, ""), text)
        e = catalogue("R (1):\n    C! child { V int; Z bool }\n").entries[2]
        self.assertEqual('v.inlineChild("C", P::Mandatory, [&](auto& v) {\n    v.attr("V", P::Reset, r.m_nV);\n'
                         '    v.attr("Z", P::Reset, r.m_bZ);\n});', fields.visit_line(e, e.items[0], ""))
        self.assertEqual("opaque", catalogue("R (1):\n    A child (no content)\n    @record hand\n")
                         .entries[2].items[0].kind)

    def test_annotations_reach_the_steps(self):
        e = catalogue("R (1, base T):\n    A int~; B? list of T; C! child U; Base! child T\n"
                      '    @line A "own %d\\n"\n    @node B NODE_X\n    @strict C\n    @absent A 7\n'
                      "    @parse Base; C; B; A\n").entries[2]
        steps = [fields.visit_line(e, it, "") for it in e.items]
        self.assertEqual(['v.attrOr("A", P::Logged, r.m_nA, static_cast<int>(7), Item().line("own %d\\n", 5));',
                          'v.list("B", P::Optional, r.m_vecB, Item().node("NODE_X"));',
                          'v.child("C", P::Mandatory, r.m_objC, Item().strict());',
                          'v.baseChild("Base", P::Mandatory, static_cast<T&>(r));'], steps)
        self.assertIn("visitParseFields", fields.emit_fields_header(e))


class Errors(unittest.TestCase):
    def assertError(self, where, fragment, fn):
        with self.assertRaises(model.SchemaError) as ctx:
            fn()
        self.assertTrue(str(ctx.exception).startswith(where + ": "), str(ctx.exception))
        self.assertIn(fragment, str(ctx.exception))

    def test_notation_and_schema_checks(self):
        parse, check = functools.partial(notation.parse_rec_file, "bad.rec"), functools.partial(catalogue, path="bad.rec")
        r0 = "R0 (9):\n    no attributes\n"
        cases = [
            (parse, "R 1:\n    A int\n", 1, "entry head"),
            (parse, "R (1):\n    A int;\n    B integer\n", 3, "cannot read item"),
            (parse, "R (1):\n    A int\n    @bogus\n", 3, "unknown annotation"),
            (parse, "R (1):\n    A bool (16-bit)\n", 2, "applies to int only"),
            (parse, "R (1):\n    A int = x\n", 2, "bad int default"),
            (parse, "R (1):\n    A child { B int\n", 2, "unbalanced"),
            (parse, "    A int\n", 1, "outside an entry"),
            (parse, "R (1):\n    A int\n    @short\n    B int\n", 4, "after the annotations"),
            (check, r0 + "R (1):\n    A? child Missing\n", 7, "no schema defines"),
            (check, r0 + "R (1):\n    A child (no content)\n", 7, "needs @record hand"),
            (check, r0 + "R (2):\n    A int\n", 6, "identifier 2 is already used"),
            (check, r0 + "R (1):\n    A int\n    @line Z \"x\"\n", 8, "names Z"),
            (check, r0 + "R (1):\n    A int; B int\n    @parse B\n", 8, "leaves out A"),
        ]
        for fn, text, line, fragment in cases:
            self.assertError("bad.rec:%d" % line, fragment, lambda: fn(text))

    def test_rows_and_hand_files(self):
        with tempfile.TemporaryDirectory() as root:
            schema, hand = os.path.join(root, "schema"), os.path.join(root, "hand")
            for sub in ("schema", "hand/records", "hand/codecs"):
                os.makedirs(os.path.join(root, sub))

            def load(rec, names, hand_files=()):
                for name, text in (("a.rec", rec), ("names.tbl", names)):
                    with open(os.path.join(schema, name), "w") as f:
                        f.write(text)
                for sub in ("records", "codecs"):
                    for f in os.listdir(os.path.join(hand, sub)):
                        os.remove(os.path.join(hand, sub, f))
                for f in hand_files:
                    open(os.path.join(hand, f), "w").close()
                return checks.load(schema, hand)

            rec = "R (1):\n    A int\nN (2) nested only:\n    B int\nX (3) nested only: no attributes\n    @abstract\n"
            names, rec_path = os.path.join(schema, "names.tbl"), os.path.join(schema, "a.rec")
            cat = load(rec, "0 BaseDomain\n1 Res\nnested 2 N\n")
            self.assertEqual([(0, "BaseDomain", 1), (1, "Res", 2)], cat.rows)
            cases = [
                (rec, "0 BaseDomain\n1 Res\nnested 2 N\n7 Gone\n", (), names + ":4", "row 7 Gone has no schema entry"),
                (rec, "1 Res\n", (), rec_path + ":3", "N has no 'nested' line"),
                (rec, "nested 2 N\n", (), rec_path + ":1", "R has no row"),
                (rec, "1 Res\n2 N\n", (), rec_path + ":3", "N is nested only but has a row"),
                (rec, "1 Res\nnested 2 N\n1 Again\n", (), names + ":3", "already stands on line 1"),
                (rec, "1 Res\nnested 2 N\nnested 3 X\n", (), rec_path + ":5", "X is abstract"),
                (rec + "    @codec hand\n", "1 Res\nnested 2 N\n", (), rec_path + ":5", "codecs/XXml.h does not exist"),
                (rec, "1 Res\nnested 2 N\n", ("codecs/RXml.h",), rec_path + ":1", "R is not marked so"),
            ]
            for rec_text, names_text, hand_files, where, fragment in cases:
                self.assertError(where, fragment, lambda: load(rec_text, names_text, hand_files))

            # A whole run: outputs of generated records only, none of hand-written ones.
            cat = load(rec.replace("@abstract", "@abstract\n    @record hand\n    @codec hand"),
                       "1 Res\nnested 2 N\n", ("records/X.h", "codecs/XXml.h"))
            out = os.path.join(root, "out")
            generate.generate(cat, out)
            self.assertEqual(["NXml.h", "RXml.h", "fields"], sorted(os.listdir(os.path.join(out, "domain", "codecs"))))
            self.assertEqual(["N.h", "R.h"], sorted(os.listdir(os.path.join(out, "domain", "records"))))
            with open(os.path.join(out, "domain", "AllRecords.h")) as f:
                self.assertIn("constexpr int kRecordCount = 3;", f.read())


if __name__ == "__main__":
    unittest.main()
