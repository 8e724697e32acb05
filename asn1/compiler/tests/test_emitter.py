import contextlib
import glob
import io
import os
import tempfile
import unittest

import genasn1
from nyasn1.cppemit import quote
from nyasn1.driver import compile_modules
from tests.support import module_text, resolve

MODULES_DIR = os.path.join(os.path.dirname(__file__), "..", "..", "modules")

SAMPLE = module_text("""
    id-root OBJECT IDENTIFIER ::= { 1 2 3 }
    limit INTEGER ::= 10
    Rec ::= SEQUENCE {
        n       INTEGER,
        flag    [0] BOOLEAN DEFAULT FALSE,
        when    Time OPTIONAL,
        ... }
    Alg ::= SEQUENCE { id OBJECT IDENTIFIER, params ANY DEFINED BY id OPTIONAL }
    Time ::= CHOICE { utc UTCTime, gen [1] GeneralizedTime }
    Recs ::= SET OF Rec
    Level ::= INTEGER { low(1) }""", name="Sample", tags="IMPLICIT")


def generate(text, imports=()):
    """{file name: text} generated from module text."""
    with tempfile.TemporaryDirectory() as tmp:
        source = os.path.join(tmp, "sample.asn1")
        with open(source, "w") as f:
            f.write(text)
        out = os.path.join(tmp, "out")
        compile_modules([source], out, "gen/test", imports, "nycert/asn1/modules")
        result = {}
        for path in sorted(glob.glob(os.path.join(out, "*"))):
            with open(path) as f:
                result[os.path.basename(path)] = f.read()
        return result


class GeneratedTextTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        files = generate(SAMPLE)
        cls.files = files
        cls.header = files["sample.h"]
        cls.source = files["sample.cc"]

    def test_one_header_and_one_source_per_module(self):
        self.assertEqual(sorted(self.files), ["sample.cc", "sample.h"])
        self.assertIn("#ifndef GEN_TEST_SAMPLE_H_", self.header)
        self.assertIn('#include "gen/test/sample.h"', self.source)

    def test_header_declares_classes_members_and_constants(self):
        for text in ["class NYCERT_EXPORT obASN_Rec : public obAsnType {",
                     "  obASN_Time* Clone() const override;",
                     "  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);",
                     "  obAsnInt n;",
                     "  obAsnOpt<obAsnBool> flag;  // [0] IMPLICIT, DEFAULT FALSE",
                     "  obAsnOpt<obAsnAny> params;  // OPTIONAL, ANY DEFINED BY id",
                     "  const obAsnBool& flagOrDefault() const;",
                     "  enum ChoiceId { kNoChoice = -1, utcCid = 0, genCid = 1 };",
                     "  obAsnGeneralizedTime& Select_gen();",
                     "  obAsnOpt<obAsnGeneralizedTime> gen;  // [1] IMPLICIT",
                     "class NYCERT_EXPORT obASN_Recs : public obAsnListOf<obASN_Rec, kAsnSetNumber> {",
                     "class NYCERT_EXPORT obASN_Level : public obAsnInt {",
                     "  static constexpr long low = 1;",
                     "extern NYCERT_EXPORT const obAsnOid obASN_id_root;  // 1.2.3",
                     "constexpr long obASN_limit = 10;",
                     "// Time ::= CHOICE { utc UTCTime, gen [1] GeneralizedTime }"]:
            self.assertIn(text, self.header)
        self.assertLess(self.header.index("obASN_Rec :"), self.header.index("obASN_Recs :"))

    def test_source_decodes_encodes_and_prints_each_component(self):
        for text in ["constexpr obAsnTagDef kTagCtx0Prim{kAsnContext, 0, kAsnFormPrim};",
                     'const obAsnOid obASN_id_root("1.2.3");',
                     '  if (!d.At(kTagINTEGER)) return d.Missing("n");',
                     "  if (d.At(kTagCtx0Prim) && d.Implicit(flag.emplace(), kTagCtx0Prim) < 0) return -1;",
                     "  if (obASN_Time::HasTag(d.Next()) && d.Whole(when.emplace()) < 0) return -1;",
                     "  if (d.More() && d.Whole(params.emplace()) < 0) return -1;",
                     "  return d.Close(true);",
                     '  if (flag) e.Implicit(*flag, kTagCtx0Prim, "flag");',
                     "  static const obAsnBool kDefault(false);",
                     '  p.Field("when", when.get());',
                     "    return Select_gen().BDecContent(b, tag, len, bytesDecoded);",
                     "      return gen ? obAsnEncTLV(*gen, b, kTagCtx1Either) : obAsnNoAlternative(TypeName());"]:
            self.assertIn(text, self.source)
        # Components are written last first.
        self.assertLess(self.source.index('if (when) e.Whole(*when, "when");'), self.source.index('e.Whole(n, "n");'))

    def test_imported_modules_are_included_with_their_prefix(self):
        explicit = os.path.join(MODULES_DIR, "pkix1_explicit.asn1")
        files = generate(module_text("S ::= SEQUENCE { n Name }", name="S",
                                     imports="IMPORTS Name FROM PKIX1Explicit88;"), [explicit])
        self.assertIn('#include "nycert/asn1/modules/pkix1_explicit.h"', files["sample.h"])


class QuoteTest(unittest.TestCase):
    def test_continuation_lines_keep_their_layout(self):
        self.assertEqual(quote("SEQUENCE {\n            a INTEGER,\n              b NULL }"),
                         ["// SEQUENCE {", "//     a INTEGER,", "//       b NULL }"])


class CommandLineTest(unittest.TestCase):
    def run_main(self, *args):
        err = io.StringIO()
        with contextlib.redirect_stderr(err):
            code = genasn1.main(list(args))
        return code, err.getvalue()

    def test_errors_are_reported_with_file_and_line(self):
        with tempfile.TemporaryDirectory() as tmp:
            bad = os.path.join(tmp, "bad.asn1")
            with open(bad, "w") as f:
                f.write(module_text("S ::= SEQUENCE { a Nowhere }"))
            code, err = self.run_main("--out-dir", tmp, "--include-prefix", "x", bad)
            self.assertEqual(code, 1)
            self.assertEqual(err, "genasn1: error: %s:2: undefined type Nowhere\n" % bad)
            code, err = self.run_main("--out-dir", tmp, "--include-prefix", "x", os.path.join(tmp, "none.asn1"))
            self.assertEqual(code, 1)
            self.assertIn("No such file", err)

    def test_success_writes_the_files(self):
        with tempfile.TemporaryDirectory() as tmp:
            good = os.path.join(tmp, "good.asn1")
            with open(good, "w") as f:
                f.write(SAMPLE)
            self.assertEqual(self.run_main("--out-dir", os.path.join(tmp, "o"), "--include-prefix", "x", good),
                             (0, ""))
            self.assertEqual(sorted(os.listdir(os.path.join(tmp, "o"))), ["good.cc", "good.h"])


class LibraryModulesTest(unittest.TestCase):
    """The module sources of the library resolve, with the names other code relies on."""

    @classmethod
    def setUpClass(cls):
        texts = []
        for path in sorted(glob.glob(os.path.join(MODULES_DIR, "*.asn1"))):
            with open(path) as f:
                texts.append(f.read())
        cls.outs = resolve(*texts)
        cls.values = {v.cname: v.value for out in cls.outs.values() for v in out.values}
        cls.classes = {c.name: c for out in cls.outs.values() for c in out.classes}

    def test_object_identifiers(self):
        expected = {
            "obASN_id_at_commonName": "2.5.4.3", "obASN_id_at_countryName": "2.5.4.6",
            "obASN_id_at_stateOrProvinceName": "2.5.4.8", "obASN_id_at_organizationName": "2.5.4.10",
            "obASN_id_at_organizationalUnitName": "2.5.4.11", "obASN_id_at_localityName": "2.5.4.7",
            "obASN_id_at_title": "2.5.4.12", "obASN_id_at_serialNumber": "2.5.4.5",
            "obASN_id_at_streetAddress": "2.5.4.9", "obASN_id_dc": "0.9.2342.19200300.100.1.25",
            "obASN_emailAddress": "1.2.840.113549.1.9.1", "obASN_id_uid": "0.9.2342.19200300.100.1.1",
            "obASN_id_principalName": "1.3.6.1.4.1.311.20.2.3", "obASN_id_ce_keyUsage": "2.5.29.15",
            "obASN_id_ce_basicConstraints": "2.5.29.19", "obASN_id_ce_cRLDistributionPoints": "2.5.29.31",
            "obASN_id_pe_authorityInfoAccess": "1.3.6.1.5.5.7.1.1", "obASN_id_kp_serverAuth": "1.3.6.1.5.5.7.3.1",
            "obASN_id_ad_ocsp": "1.3.6.1.5.5.7.48.1", "obASN_rsaEncryption": "1.2.840.113549.1.1.1",
            "obASN_sha256WithRSAEncryption": "1.2.840.113549.1.1.11",
            "obASN_sha384WithRSAEncryption": "1.2.840.113549.1.1.12",
            "obASN_sha512WithRSAEncryption": "1.2.840.113549.1.1.13",
            "obASN_id_sha256": "2.16.840.1.101.3.4.2.1", "obASN_id_sha1": "1.3.14.3.2.26",
            "obASN_holdInstruction": "1.2.840.10040.2",
        }
        self.assertEqual({name: self.values.get(name) for name in expected}, expected)

    def test_attribute_values_are_the_fixed_string_choice(self):
        value = [f for f in self.classes["obASN_AttributeTypeAndValue"].fields if f.name == "value"][0]
        self.assertEqual(value.type.name, "obASN_DirectoryString")
        alternatives = [f.type.name for f in self.classes["obASN_DirectoryString"].fields]
        self.assertEqual(alternatives, ["obAsnTeletexString", "obAsnPrintableString", "obAsnUniversalString",
                                        "obAsnUTF8String", "obAsnBMPString", "obAsnIA5String"])

    def test_general_name_tags_follow_the_implicit_module(self):
        kinds = {f.name: f.kind for f in self.classes["obASN_GeneralName"].fields}
        self.assertEqual(kinds["directoryName"], "explicit")  # Name is a CHOICE
        self.assertEqual(kinds["x400Address"], "implicit")
        self.assertEqual(kinds["dNSName"], "implicit")


if __name__ == "__main__":
    unittest.main()
