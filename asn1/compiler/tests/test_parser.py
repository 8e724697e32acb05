import unittest

from nyasn1 import syntax as S
from nyasn1.errors import Asn1Error
from nyasn1.parser import parse_text
from tests.support import module_text


def parse_one(body, **kwargs):
    (module,) = parse_text(module_text(body, **kwargs), "m.asn1")
    return module


def assigned(body):
    """{name: assignment} of a module with body."""
    return {a.name: a for a in parse_one(body).assignments}


class ModuleHeaderTest(unittest.TestCase):
    def test_identifier_tag_default_exports_and_imports(self):
        text = """
            Mod { iso(1) member-body(2) 3 } DEFINITIONS IMPLICIT TAGS EXTENSIBILITY IMPLIED ::=
            BEGIN
            EXPORTS A, b;
            IMPORTS X, y FROM Other { 1 2 3 }
                    Z{} FROM Third;
            A ::= INTEGER
            b INTEGER ::= 1
            END"""
        (module,) = parse_text(text)
        self.assertEqual(module.name, "Mod")
        self.assertEqual([(i.name, i.number) for i in module.oid], [("iso", 1), ("member-body", 2), (None, 3)])
        self.assertEqual(module.tag_default, "IMPLICIT")
        self.assertTrue(module.extensibility_implied)
        self.assertEqual([name for name, _ in module.exports], ["A", "b"])
        self.assertEqual([(i.module, [n for n, _ in i.symbols]) for i in module.imports],
                         [("Other", ["X", "y"]), ("Third", ["Z"])])

    def test_defaults(self):
        module = parse_one("A ::= NULL")
        self.assertEqual(module.tag_default, "EXPLICIT")
        self.assertIsNone(module.exports)
        self.assertEqual(parse_one("A ::= NULL", tags="AUTOMATIC").tag_default, "AUTOMATIC")

    def test_exports_all_and_several_modules(self):
        text = module_text("A ::= NULL") + "N DEFINITIONS ::= BEGIN EXPORTS ALL; B ::= NULL END"
        first, second = parse_text(text)
        self.assertEqual((first.name, second.name), ("M", "N"))
        self.assertIsNone(second.exports)


class TypeTest(unittest.TestCase):
    def test_sequence_components(self):
        seq = assigned("""
            S ::= SEQUENCE {
                a INTEGER,
                b [0] IMPLICIT BOOLEAN OPTIONAL,
                c [APPLICATION 2] EXPLICIT INTEGER DEFAULT 5,
                ...,
                d IA5String,
                [[ e NULL, f NULL ]],
                ...,
                g OCTET STRING }""")["S"].type
        self.assertIsInstance(seq, S.StructType)
        self.assertTrue(seq.extensible)
        names = [(c.name, c.optional, c.extension) for c in seq.components]
        self.assertEqual(names, [("a", False, False), ("b", True, False), ("c", False, False),
                                 ("d", False, True), ("e", False, True), ("f", False, True),
                                 ("g", False, False)])
        b, c = seq.components[1].type, seq.components[2].type
        self.assertEqual((b.tag_class, b.number, b.mode, b.inner.name), ("CONTEXT", 0, "IMPLICIT", "BOOLEAN"))
        self.assertEqual((c.tag_class, c.number, c.mode), ("APPLICATION", 2, "EXPLICIT"))
        self.assertEqual((seq.components[2].default.kind, seq.components[2].default.value), ("number", 5))

    def test_lists_with_size_constraints(self):
        types = assigned("""
            A ::= SEQUENCE SIZE (1..MAX) OF INTEGER
            B ::= SET (SIZE (2)) OF item UTF8String
            C ::= SEQUENCE OF SEQUENCE { x NULL }""")
        a, b, c = types["A"].type, types["B"].type, types["C"].type
        self.assertEqual((a.kind, a.size.kind, a.size.inner.kind), ("SEQUENCE", "size", "range"))
        self.assertEqual((a.size.inner.lower.value, a.size.inner.upper.kind), (1, "max"))
        self.assertEqual((b.kind, b.element.name, b.size.inner.kind), ("SET", "UTF8String", "single"))
        self.assertIsInstance(c.element, S.StructType)

    def test_choice_any_and_references(self):
        types = assigned("""
            C ::= CHOICE { a [0] INTEGER, b Other, ... }
            D ::= SEQUENCE { id OBJECT IDENTIFIER, v ANY DEFINED BY id OPTIONAL, w ANY }""")
        choice = types["C"].type
        self.assertTrue(choice.extensible)
        self.assertEqual([a.name for a in choice.alternatives], ["a", "b"])
        self.assertEqual(choice.alternatives[1].type.name, "Other")
        v, w = types["D"].type.components[1].type, types["D"].type.components[2].type
        self.assertEqual((v.defined_by, w.defined_by), ("id", None))

    def test_named_numbers_bits_and_enumerations(self):
        types = assigned("""
            I ::= INTEGER { low(-1), high(ub) } (0..10 | 20)
            B ::= BIT STRING { read(0), write(1) } (SIZE (1..MAX))
            E ::= ENUMERATED { red, green(5), ..., blue }""")
        integer = types["I"].type
        self.assertEqual([(n.name, n.value) for n in integer.named], [("low", -1), ("high", "ub")])
        self.assertEqual(integer.constraints[0].kind, "union")
        self.assertEqual([p.kind for p in integer.constraints[0].parts], ["range", "single"])
        self.assertEqual([(n.name, n.value) for n in types["B"].type.named], [("read", 0), ("write", 1)])
        enum = types["E"].type
        self.assertTrue(enum.extensible)
        self.assertEqual([(n.name, n.value) for n in enum.named], [("red", None), ("green", 5), ("blue", None)])

    def test_constraints_the_compiler_does_not_model_are_skipped(self):
        types = assigned("""
            A ::= OCTET STRING (CONSTRAINED BY { -- anything -- })
            B ::= INTEGER (1..5, ...)
            C ::= PrintableString (FROM ("A".."Z")) (SIZE (1..4))""")
        self.assertEqual(types["A"].type.constraints[0].kind, "other")
        self.assertTrue(types["B"].type.constraints[0].extensible)
        self.assertEqual([c.kind for c in types["C"].type.constraints], ["other", "size"])

    def test_components_of_and_nested_tags(self):
        types = assigned("S ::= SEQUENCE { COMPONENTS OF T, x [1] EXPLICIT [2] IMPLICIT INTEGER }")
        first, second = types["S"].type.components
        self.assertTrue(first.components_of)
        self.assertEqual(first.type.name, "T")
        self.assertEqual((second.type.number, second.type.inner.number), (1, 2))

    def test_source_spans(self):
        module = parse_one("Pair ::= SEQUENCE {\n  a INTEGER,\n  b BOOLEAN }")
        self.assertEqual(module.source(module.assignments[0]), "Pair ::= SEQUENCE {\n  a INTEGER,\n  b BOOLEAN }")
        inner = module.assignments[0].type.components[1]
        self.assertEqual(module.source(inner), "b BOOLEAN")


class ValueTest(unittest.TestCase):
    def test_value_forms(self):
        values = {a.name: a.value for a in parse_one("""
            a OBJECT IDENTIFIER ::= { iso(1) 2 id-x }
            b INTEGER ::= -7
            c BOOLEAN ::= TRUE
            d OBJECT IDENTIFIER ::= other
            e BIT STRING ::= { read, write }
            f OCTET STRING ::= '0A'H""").assignments}
        self.assertEqual([(i.name, i.number) for i in values["a"].value], [("iso", 1), (None, 2), ("id-x", None)])
        self.assertEqual((values["b"].kind, values["b"].value), ("number", -7))
        self.assertEqual((values["c"].kind, values["c"].value), ("bool", True))
        self.assertEqual((values["d"].kind, values["d"].value), ("ref", "other"))
        self.assertEqual([i.name for i in values["e"].value], ["read", "write"])
        self.assertEqual((values["f"].kind, values["f"].value), ("hstring", "0A"))


class ParseErrorTest(unittest.TestCase):
    def check(self, text, message):
        with self.assertRaises(Asn1Error) as caught:
            parse_text(text, "bad.asn1")
        self.assertEqual(str(caught.exception), message)

    def test_errors_name_the_file_and_line(self):
        self.check("M DEFINITIONS ::= BEGIN\nA ::= INTEGER\n", "bad.asn1:3: module M has no END")
        self.check("M DEFINITIONS ::= BEGIN\nA ::= SEQUENCE {\n a INTEGER\n b INTEGER }\nEND",
                   "bad.asn1:4: expected ',' but found 'b'")
        self.check("M DEFINITIONS ::= BEGIN\n\nA {T} ::= SEQUENCE { a T }\nEND",
                   "bad.asn1:3: parameterized type A is not supported")
        self.check("M DEFINITIONS ::= BEGIN\nC ::= CLASS { &id INTEGER }\nEND",
                   "bad.asn1:2: information object classes are not supported")
        self.check("M DEFINITIONS ::= BEGIN\nA ::= SEQUENCE { INTEGER }\nEND",
                   "bad.asn1:2: expected a component name in SEQUENCE but found 'INTEGER'")
        self.check("M DEFINITIONS ::= BEGIN\nA ::= [0 INTEGER\nEND", "bad.asn1:2: expected ']' but found 'INTEGER'")
        self.check("M DEFINITIONS ::= BEGIN\nv INTEGER ::= { a b c }\nA ::= {\nEND",
                   "bad.asn1:3: expected a type but found '{'")
        self.check("M DEFINITIONS ::= BEGIN\nIMPORTS A, B;\nEND", "bad.asn1:2: imported symbols without FROM")
        self.check("M DEFINITIONS ::= BEGIN\nA ::= Other.Type\nEND",
                   "bad.asn1:2: external type references (Other.Type) are not supported; import the type")
        self.check("", "bad.asn1:1: no module definition found")
        self.check("M DEFINITIONS ::= BEGIN A ::= SEQUENCE { ..., ..., ... } END",
                   "bad.asn1:1: more than two extension markers in SEQUENCE")


if __name__ == "__main__":
    unittest.main()
