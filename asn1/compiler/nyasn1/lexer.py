"""Tokens of ASN.1 module text (X.680 clause 12)."""

import re

from .errors import Asn1Error

# Reserved words the compiler knows; every other word is a reference name.
KEYWORDS = frozenset("""
    ABSENT ALL ANY APPLICATION AUTOMATIC BEGIN BIT BMPString BOOLEAN BY CHOICE
    CLASS COMPONENT COMPONENTS CONSTRAINED DEFAULT DEFINED DEFINITIONS EMBEDDED
    END ENUMERATED EXCEPT EXPLICIT EXPORTS EXTENSIBILITY EXTERNAL FALSE FROM
    GeneralString GeneralizedTime GraphicString IA5String IDENTIFIER IMPLICIT
    IMPLIED IMPORTS INCLUDES INSTANCE INTEGER INTERSECTION ISO646String MAX MIN
    MINUS-INFINITY NULL NumericString OBJECT ObjectDescriptor OCTET OF OPTIONAL
    PATTERN PDV PLUS-INFINITY PRESENT PRIVATE PrintableString REAL SEQUENCE SET
    SIZE STRING SYNTAX T61String TAGS TRUE TYPE-IDENTIFIER TeletexString UNION
    UNIQUE UNIVERSAL UTCTime UTF8String UniversalString VideotexString
    VisibleString WITH
""".split())

# Longest first, so "::=" wins over ":" and "..." over "..".
SYMBOLS = ("::=", "...", "..", "[[", "]]", "{", "}", "(", ")", "[", "]", ",",
           ";", ".", "|", "^", "!", "<", ">", "@", "-", ":", "=", "&")

_WORD = re.compile(r"[A-Za-z](?:[A-Za-z0-9]|-(?=[A-Za-z0-9]))*")
_NUMBER = re.compile(r"[0-9]+")
_QUOTED = re.compile(r"'([^']*)'([BH])")


class Token:
    """One token: kind, its text, its numeric or string value, and where it stands."""

    __slots__ = ("kind", "text", "value", "line", "start", "end")

    def __init__(self, kind, text, value, line, start, end):
        self.kind = kind    # TYPEREF IDENT KEYWORD NUMBER BSTRING HSTRING CSTRING SYMBOL EOF
        self.text = text
        self.value = value
        self.line = line
        self.start = start  # offsets into the source text
        self.end = end

    def is_(self, text):
        return self.kind in ("KEYWORD", "SYMBOL") and self.text == text

    def __repr__(self):
        return "Token(%s %r line %d)" % (self.kind, self.text, self.line)


def _skip_line_comment(text, i):
    """After "--": up to the next "--" or the end of the line."""
    while i < len(text) and text[i] not in "\r\n":
        if text.startswith("--", i):
            return i + 2
        i += 1
    return i


def _skip_block_comment(text, i, line, filename):
    """After "/*": up to the matching "*/"; block comments nest."""
    depth = 1
    start_line = line
    while i < len(text):
        if text.startswith("/*", i):
            depth += 1
            i += 2
        elif text.startswith("*/", i):
            depth -= 1
            i += 2
            if depth == 0:
                return i, line
        else:
            if text[i] == "\n":
                line += 1
            i += 1
    raise Asn1Error("unterminated comment", filename, start_line)


def _cstring(text, i, line, filename):
    """A "..." string starting at i; "" stands for one quote. Returns (value, end)."""
    j = i + 1
    parts = []
    while True:
        k = text.find('"', j)
        if k < 0:
            raise Asn1Error("unterminated character string", filename, line)
        parts.append(text[j:k])
        if text.startswith('""', k):
            parts.append('"')
            j = k + 2
            continue
        return "".join(parts), k + 1


def tokenize(text, filename=None):
    """The tokens of text, ending with one EOF token."""
    tokens = []
    i = 0
    line = 1
    n = len(text)
    while i < n:
        c = text[i]
        if c == "\n":
            line += 1
            i += 1
            continue
        if c.isspace():
            i += 1
            continue
        if text.startswith("--", i):
            i = _skip_line_comment(text, i + 2)
            continue
        if text.startswith("/*", i):
            i, line = _skip_block_comment(text, i + 2, line, filename)
            continue
        m = _WORD.match(text, i)
        if m:
            word = m.group(0)
            if word in KEYWORDS:
                kind = "KEYWORD"
            elif word[0].isupper():
                kind = "TYPEREF"
            else:
                kind = "IDENT"
            tokens.append(Token(kind, word, word, line, i, m.end()))
            i = m.end()
            continue
        m = _NUMBER.match(text, i)
        if m:
            tokens.append(Token("NUMBER", m.group(0), int(m.group(0)), line, i, m.end()))
            i = m.end()
            continue
        if c == "'":
            m = _QUOTED.match(text, i)
            if not m:
                raise Asn1Error("malformed binary or hexadecimal string", filename, line)
            digits = re.sub(r"\s", "", m.group(1))
            kind = "BSTRING" if m.group(2) == "B" else "HSTRING"
            allowed = "01" if kind == "BSTRING" else "0123456789ABCDEF"
            if any(d not in allowed for d in digits):
                raise Asn1Error("bad digit in %s '%s'" % (kind.lower(), m.group(1)), filename, line)
            tokens.append(Token(kind, m.group(0), digits, line, i, m.end()))
            line += m.group(0).count("\n")
            i = m.end()
            continue
        if c == '"':
            value, end = _cstring(text, i, line, filename)
            tokens.append(Token("CSTRING", text[i:end], value, line, i, end))
            line += text.count("\n", i, end)
            i = end
            continue
        for sym in SYMBOLS:
            if text.startswith(sym, i):
                tokens.append(Token("SYMBOL", sym, sym, line, i, i + len(sym)))
                i += len(sym)
                break
        else:
            raise Asn1Error("unexpected character %r" % c, filename, line)
    tokens.append(Token("EOF", "end of file", None, line, n, n))
    return tokens
