import unittest

from nyasn1.errors import Asn1Error
from tests.support import classes, module_text, resolve


def fields(cls):
    return {f.name: f for f in cls.fields}


def tag_text(tag):
    return "%s %d %s" % (tag.tag_class, tag.number, tag.forms)


class TaggingTest(unittest.TestCase):
    BODY = """
        S ::= SEQUENCE {
            plain   [0] INTEGER,
            imp     [1] IMPLICIT OCTET STRING,
            exp     [2] EXPLICIT INTEGER,
            choice  [3] C,
            open    [4] ANY,
            seq     [5] SEQUENCE OF INTEGER,
            tagged  [6] T }
        C ::= CHOICE { a INTEGER, b BOOLEAN }
        T ::= [APPLICATION 1] C"""

    def modes(self, tags):
        cls = classes(module_text(self.BODY, tags=tags))["obASN_S"]
        return {name: (f.kind, tag_text(f.tag)) for name, f in fields(cls).items()}

    def test_explicit_module(self):
        self.assertEqual(self.modes("EXPLICIT"), {
            "plain": ("explicit", "CONTEXT 0 cons"), "imp": ("implicit", "CONTEXT 1 any"),
            "exp": ("explicit", "CONTEXT 2 cons"), "choice": ("explicit", "CONTEXT 3 cons"),
            "open": ("explicit", "CONTEXT 4 cons"), "seq": ("explicit", "CONTEXT 5 cons"),
            "tagged": ("explicit", "CONTEXT 6 cons")})

    def test_implicit_module_makes_choice_and_open_types_explicit(self):
        self.assertEqual(self.modes("IMPLICIT"), {
            "plain": ("implicit", "CONTEXT 0 prim"), "imp": ("implicit", "CONTEXT 1 any"),
            "exp": ("explicit", "CONTEXT 2 cons"), "choice": ("explicit", "CONTEXT 3 cons"),
            "open": ("explicit", "CONTEXT 4 cons"), "seq": ("implicit", "CONTEXT 5 cons"),
            # T is a tagged CHOICE: its own tag [APPLICATION 1] is replaced.
            "tagged": ("implicit", "CONTEXT 6 cons")})

    def test_automatic_tags_number_untagged_components(self):
        cls = classes(module_text("S ::= SEQUENCE { a INTEGER, b C OPTIONAL, c NULL }\n"
                                  "C ::= CHOICE { x INTEGER, y NULL }", tags="AUTOMATIC"))
        got = {name: (f.kind, tag_text(f.tag)) for name, f in fields(cls["obASN_S"]).items()}
        self.assertEqual(got, {"a": ("implicit", "CONTEXT 0 prim"), "b": ("explicit", "CONTEXT 1 cons"),
                               "c": ("implicit", "CONTEXT 2 prim")})
        alternatives = fields(cls["obASN_C"])
        self.assertEqual(tag_text(alternatives["y"].tag), "CONTEXT 1 prim")

    def test_automatic_tags_leave_tagged_components_alone(self):
        cls = classes(module_text("S ::= SEQUENCE { a [5] INTEGER, b NULL }", tags="AUTOMATIC"))
        got = {name: f.tag and tag_text(f.tag) for name, f in fields(cls["obASN_S"]).items()}
        self.assertEqual(got, {"a": "CONTEXT 5 prim", "b": None})

    def test_choice_tags_are_the_union_of_its_alternatives(self):
        cls = classes(module_text("C ::= CHOICE { a INTEGER, b [0] IA5String, c D }\n"
                                  "D ::= CHOICE { x OBJECT IDENTIFIER }", tags="IMPLICIT"))["obASN_C"]
        self.assertTrue(cls.tags.choice)
        self.assertEqual(sorted(tag_text(t) for t in cls.tags.tags),
                         ["CONTEXT 0 any", "UNIVERSAL 2 prim", "UNIVERSAL 6 prim"])


class ClassShapeTest(unittest.TestCase):
    def test_inline_types_become_named_classes(self):
        cls = classes(module_text("""
            L ::= SEQUENCE { entries SEQUENCE OF SEQUENCE { n INTEGER } OPTIONAL,
                             level INTEGER { low(1) },
                             pair [0] EXPLICIT [1] EXPLICIT INTEGER }
            T ::= [2] EXPLICIT SEQUENCE { x NULL }
            U ::= [3] IMPLICIT SET OF NULL"""))
        self.assertEqual(sorted(cls), ["obASN_L", "obASN_L_entries", "obASN_L_entries_elem", "obASN_L_level",
                                       "obASN_L_pair", "obASN_T", "obASN_T_body", "obASN_U"])
        self.assertEqual(cls["obASN_L_entries"].element.name, "obASN_L_entries_elem")
        self.assertEqual(cls["obASN_L_level"].constants, [("low", 1)])
        self.assertEqual((cls["obASN_L_pair"].own_mode, cls["obASN_L_pair"].base.name), ("explicit", "obAsnInt"))
        self.assertEqual((cls["obASN_T"].kind, cls["obASN_T"].base.name), ("alias", "obASN_T_body"))
        self.assertEqual((cls["obASN_U"].kind, tag_text(cls["obASN_U"].own_tag)), ("list", "CONTEXT 3 cons"))

    def test_aliases_derive_from_their_base(self):
        cls = classes(module_text("A ::= INTEGER\nB ::= A\nC ::= ANY\nD ::= UTF8String (SIZE (1..8))"))
        self.assertEqual({name: c.base.name for name, c in cls.items()},
                         {"obASN_A": "obAsnInt", "obASN_B": "obASN_A", "obASN_C": "obAsnAny",
                          "obASN_D": "obAsnUTF8String"})

    def test_members_held_by_value_come_first(self):
        cls = resolve(module_text("""
            Outer ::= SEQUENCE { inner Inner, later Later OPTIONAL }
            Later ::= SEQUENCE { x INTEGER }
            Inner ::= SEQUENCE { list Items }
            Items ::= SEQUENCE OF INTEGER"""))["M"].classes
        order = [c.name for c in cls]
        self.assertLess(order.index("obASN_Items"), order.index("obASN_Inner"))
        self.assertLess(order.index("obASN_Inner"), order.index("obASN_Outer"))

    def test_names_that_clash_with_cpp_get_an_underscore(self):
        cls = classes(module_text("S ::= SEQUENCE { class INTEGER, b NULL, new-item NULL }"))["obASN_S"]
        self.assertEqual([f.cname for f in cls.fields], ["class_", "b_", "new_item"])

    def test_enumerated_items_without_numbers_take_the_free_ones(self):
        cls = classes(module_text("E ::= ENUMERATED { red, green(0), blue, cyan(3), pink }"))["obASN_E"]
        self.assertEqual(cls.constants, [("red", 1), ("green", 0), ("blue", 2), ("cyan", 3), ("pink", 4)])

    def test_defaults(self):
        cls = classes(module_text("""
            S ::= SEQUENCE {
                v  [0] Version DEFAULT v2,
                f  BOOLEAN DEFAULT TRUE,
                n  INTEGER DEFAULT limit,
                r  [1] Rights DEFAULT { write },
                o  OCTET STRING DEFAULT '0102'H,
                id OBJECT IDENTIFIER DEFAULT { 1 2 3 },
                s  IA5String DEFAULT "a""b",
                q  Pair DEFAULT { a 1 } }
            Version ::= INTEGER { v1(0), v2(1) }
            Rights ::= BIT STRING { read(0), write(1) }
            Pair ::= SEQUENCE { a INTEGER }
            limit INTEGER ::= 7""".replace("{ a 1 }", "b")))["obASN_S"]
        got = {name: (f.default.args, f.default.octets, f.default.bits, f.default.supported)
               for name, f in fields(cls).items()}
        self.assertEqual(got, {"v": ("1", None, None, True), "f": ("true", None, None, True),
                               "n": ("7", None, None, True), "r": (None, [0x40], 2, True),
                               "o": (None, [1, 2], None, True), "id": ('"1.2.3"', None, None, True),
                               "s": ('"a\\"b"', None, None, True), "q": (None, None, None, False)})
        self.assertTrue(all(f.optional for f in cls.fields))


class ValueTest(unittest.TestCase):
    def test_object_identifiers_and_integers(self):
        outs = resolve(
            module_text("""
                base OBJECT IDENTIFIER ::= { iso member-body us(840) 113549 }
                id-x Alias ::= { base 1 2 }
                id-y OBJECT IDENTIFIER ::= id-x
                count INTEGER ::= 42
                twice INTEGER ::= count
                Alias ::= OBJECT IDENTIFIER""", name="A"),
            module_text("leaf OBJECT IDENTIFIER ::= { id-y 9 }", name="B",
                        imports="IMPORTS id-y FROM A;"))
        got = {v.cname: v.value for out in outs.values() for v in out.values}
        self.assertEqual(got, {"obASN_base": "1.2.840.113549", "obASN_id_x": "1.2.840.113549.1.2",
                               "obASN_id_y": "1.2.840.113549.1.2", "obASN_count": 42, "obASN_twice": 42,
                               "obASN_leaf": "1.2.840.113549.1.2.9"})


class ResolveErrorTest(unittest.TestCase):
    def check(self, message, *texts):
        with self.assertRaises(Asn1Error) as caught:
            resolve(*texts)
        self.assertEqual(str(caught.exception), message)

    def test_undefined_and_duplicate_names(self):
        self.check("m0.asn1:3: undefined type Missing", module_text("\nS ::= SEQUENCE { a Missing }"))
        self.check("m0.asn1:3: A is defined twice", module_text("A ::= NULL\nA ::= INTEGER"))
        self.check("m0.asn1:2: undefined value nothing", module_text("x OBJECT IDENTIFIER ::= { nothing 1 }"))

    def test_imports(self):
        self.check("m0.asn1:2: module M imports from Gone, which is not among the inputs",
                   module_text("A ::= NULL", imports="IMPORTS B FROM Gone;"))
        self.check("m1.asn1:2: B is not defined in module M",
                   module_text("A ::= NULL"), module_text("X ::= NULL", name="N", imports="IMPORTS B FROM M;"))
        self.check("m1.asn1:2: B is not exported by module M",
                   "M DEFINITIONS ::= BEGIN EXPORTS A; A ::= NULL B ::= NULL END",
                   module_text("X ::= NULL", name="N", imports="IMPORTS B FROM M;"))
        self.check("m1.asn1:2: A is both imported and defined",
                   module_text("A ::= NULL"), module_text("A ::= NULL", name="N", imports="IMPORTS A FROM M;"))

    def test_cpp_names_must_be_unique(self):
        self.check("m0.asn1:3: C++ name obASN_A_b is already used by m0.asn1 line 2",
                   module_text("A-b ::= NULL\nA ::= SEQUENCE { b SEQUENCE { c NULL } }"))
        self.check("m1.asn1:2: C++ name obASN_A is already used by m0.asn1 line 2",
                   module_text("A ::= NULL"), module_text("A ::= INTEGER", name="N"))

    def test_ambiguous_tags(self):
        self.check("m0.asn1:2: components a and b of obASN_S cannot be told apart by their tags",
                   module_text("S ::= SEQUENCE { a INTEGER OPTIONAL, b INTEGER }"))
        self.check("m0.asn1:2: components a and c of obASN_S cannot be told apart by their tags",
                   module_text("S ::= SET { a [0] INTEGER, b NULL, c [0] BOOLEAN }"))
        self.check("m0.asn1:2: components x and y of obASN_C cannot be told apart by their tags",
                   module_text("C ::= CHOICE { x D, y BOOLEAN }\nD ::= CHOICE { p BOOLEAN }"))
        self.check("m0.asn1:2: alternative x is an untagged open type; tag it",
                   module_text("C ::= CHOICE { x ANY, y BOOLEAN }"))

    def test_values_and_types_that_do_not_fit(self):
        self.check("m0.asn1:2: invalid object identifier 3.1", module_text("x OBJECT IDENTIFIER ::= { 3 1 }"))
        self.check("m0.asn1:2: object identifier component foo needs a number",
                   module_text("x OBJECT IDENTIFIER ::= { 1 foo }"))
        self.check("m0.asn1:2: value x: only OBJECT IDENTIFIER and INTEGER values are supported",
                   module_text("x BOOLEAN ::= TRUE"))
        self.check("m0.asn1:2: the value of x depends on itself",
                   module_text("x OBJECT IDENTIFIER ::= { y 1 }\ny OBJECT IDENTIFIER ::= { x 2 }"))
        self.check("m0.asn1:2: DEFAULT 1 does not fit the type BOOLEAN",
                   module_text("S ::= SEQUENCE { a BOOLEAN DEFAULT 1 }"))
        self.check("m0.asn1:2: DEFINED BY z names no component of obASN_S",
                   module_text("S ::= SEQUENCE { a INTEGER, b ANY DEFINED BY z }"))
        self.check("m0.asn1:2: REAL is not supported", module_text("R ::= REAL"))
        self.check("m0.asn1:2: obASN_S contains itself; make the component OPTIONAL",
                   module_text("S ::= SEQUENCE { a INTEGER, again S }"))
        self.check("m0.asn1:3: B is defined through itself", module_text("A ::= B\nB ::= A"))
        self.check("m0.asn1:2: C is defined through itself",
                   module_text("C ::= CHOICE { x [0] C, y NULL }", tags="IMPLICIT"))


if __name__ == "__main__":
    unittest.main()
