import unittest

from nyasn1.errors import Asn1Error
from nyasn1.lexer import tokenize


def kinds(text):
    return [(t.kind, t.value) for t in tokenize(text)[:-1]]


class LexerTest(unittest.TestCase):
    def test_words_numbers_and_symbols(self):
        self.assertEqual(kinds("id-ce OBJECT IDENTIFIER ::= { joint-iso-ccitt(2) 29 }"), [
            ("IDENT", "id-ce"), ("KEYWORD", "OBJECT"), ("KEYWORD", "IDENTIFIER"), ("SYMBOL", "::="),
            ("SYMBOL", "{"), ("IDENT", "joint-iso-ccitt"), ("SYMBOL", "("), ("NUMBER", 2),
            ("SYMBOL", ")"), ("NUMBER", 29), ("SYMBOL", "}")])

    def test_type_references_and_string_types(self):
        self.assertEqual(kinds("Foo-Bar UTF8String BMPString"), [
            ("TYPEREF", "Foo-Bar"), ("KEYWORD", "UTF8String"), ("KEYWORD", "BMPString")])

    def test_longest_symbols_win(self):
        self.assertEqual([v for _, v in kinds("... .. . ::= : [[ ]] [ ]")],
                         ["...", "..", ".", "::=", ":", "[[", "]]", "[", "]"])
        self.assertEqual(kinds("1..MAX"), [("NUMBER", 1), ("SYMBOL", ".."), ("KEYWORD", "MAX")])

    def test_comments(self):
        text = "a -- to the end of the line\nb -- closed -- c /* block /* nested */ still */ d"
        self.assertEqual([v for _, v in kinds(text)], ["a", "b", "c", "d"])

    def test_a_word_stops_before_a_double_hyphen(self):
        self.assertEqual(kinds("abc--comment"), [("IDENT", "abc")])
        self.assertEqual(kinds("a-"), [("IDENT", "a"), ("SYMBOL", "-")])

    def test_strings(self):
        self.assertEqual(kinds("'0101'B 'A0 FF'H \"say \"\"hi\"\"\""), [
            ("BSTRING", "0101"), ("HSTRING", "A0FF"), ("CSTRING", 'say "hi"')])

    def test_lines_are_counted(self):
        tokens = tokenize("a\n/* one\n two */\nb -- x\nc")
        self.assertEqual([(t.text, t.line) for t in tokens], [("a", 1), ("b", 4), ("c", 5), ("end of file", 5)])

    def test_errors_name_the_line(self):
        cases = [("a\n/* open", "m.asn1:2: unterminated comment"),
                 ("a\n\n#", "m.asn1:3: unexpected character '#'"),
                 ("'12'B", "m.asn1:1: bad digit in bstring '12'"),
                 ("'ab'H", "m.asn1:1: bad digit in hstring 'ab'"),
                 ("x \"open", "m.asn1:1: unterminated character string")]
        for text, message in cases:
            with self.subTest(text=text):
                with self.assertRaises(Asn1Error) as caught:
                    tokenize(text, "m.asn1")
                self.assertEqual(str(caught.exception), message)


if __name__ == "__main__":
    unittest.main()
