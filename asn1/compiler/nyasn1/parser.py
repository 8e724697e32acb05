"""Recursive-descent parser from tokens to the syntax tree (the X.680 subset
the compiler supports: the 1988 style used by the PKIX modules plus extension
markers, ENUMERATED, AUTOMATIC TAGS and COMPONENTS OF)."""

from . import syntax as S
from .errors import Asn1Error
from .lexer import tokenize

STRING_TYPES = ("BMPString", "GeneralString", "GraphicString", "IA5String", "ISO646String",
                "NumericString", "PrintableString", "T61String", "TeletexString", "UTF8String",
                "UniversalString", "VideotexString", "VisibleString")
SIMPLE_TYPES = STRING_TYPES + ("BOOLEAN", "NULL", "UTCTime", "GeneralizedTime",
                               "ObjectDescriptor", "REAL", "EXTERNAL")
UNSUPPORTED = {
    "CLASS": "information object classes are not supported",
    "INSTANCE": "INSTANCE OF is not supported",
    "TYPE-IDENTIFIER": "information object classes are not supported",
    "EMBEDDED": "EMBEDDED PDV is not supported",
}


class Parser:
    def __init__(self, text, filename=None):
        self.text = text
        self.filename = filename
        self.tokens = tokenize(text, filename)
        self.pos = 0

    # Token access.

    def peek(self, ahead=0):
        return self.tokens[min(self.pos + ahead, len(self.tokens) - 1)]

    def next(self):
        tok = self.tokens[self.pos]
        if tok.kind != "EOF":
            self.pos += 1
        return tok

    def at(self, text):
        return self.peek().is_(text)

    def accept(self, text):
        if self.at(text):
            return self.next()
        return None

    def error(self, message, tok=None):
        tok = tok or self.peek()
        return Asn1Error(message, self.filename, tok.line)

    def expect(self, text):
        tok = self.peek()
        if not tok.is_(text):
            raise self.error("expected '%s' but found '%s'" % (text, tok.text))
        return self.next()

    def expect_kind(self, kind, what):
        tok = self.peek()
        if tok.kind != kind:
            raise self.error("expected %s but found '%s'" % (what, tok.text))
        return self.next()

    def last_end(self):
        return self.tokens[self.pos - 1].end

    # Modules.

    def parse_modules(self):
        modules = []
        while self.peek().kind != "EOF":
            modules.append(self.parse_module())
        if not modules:
            raise self.error("no module definition found")
        return modules

    def parse_module(self):
        name = self.expect_kind("TYPEREF", "a module name")
        module = S.Module(name.text, name.line, self.filename, self.text)
        if self.at("{"):
            module.oid = self.parse_value().value
        self.expect("DEFINITIONS")
        for mode in ("EXPLICIT", "IMPLICIT", "AUTOMATIC"):
            if self.accept(mode):
                module.tag_default = mode
                self.expect("TAGS")
                break
        if self.accept("EXTENSIBILITY"):
            self.expect("IMPLIED")
            module.extensibility_implied = True
        self.expect("::=")
        self.expect("BEGIN")
        if self.accept("EXPORTS"):
            module.exports = self.parse_exports()
        if self.accept("IMPORTS"):
            module.imports = self.parse_imports()
        while not self.at("END"):
            if self.peek().kind == "EOF":
                raise self.error("module %s has no END" % module.name)
            module.assignments.append(self.parse_assignment())
        self.expect("END")
        return module

    def parse_symbol(self):
        tok = self.peek()
        if tok.kind not in ("TYPEREF", "IDENT"):
            raise self.error("expected a symbol name but found '%s'" % tok.text)
        self.next()
        if self.at("{") and self.peek(1).is_("}"):  # parameterized reference: Name{}
            self.next()
            self.next()
        return tok.text, tok.line

    def parse_exports(self):
        if self.accept("ALL"):
            self.expect(";")
            return None
        symbols = []
        while not self.accept(";"):
            symbols.append(self.parse_symbol())
            if not self.at(";"):
                self.expect(",")
        return symbols

    def parse_imports(self):
        imports = []
        symbols = []
        while not self.accept(";"):
            symbols.append(self.parse_symbol())
            if self.accept(","):
                continue
            if self.at("FROM"):
                from_tok = self.next()
                module = self.expect_kind("TYPEREF", "a module name after FROM")
                if self.at("{"):
                    self.parse_value()
                imports.append(S.Import(symbols, module.text, from_tok.line))
                symbols = []
            elif not self.at(";"):
                raise self.error("expected ',' or FROM in IMPORTS but found '%s'" % self.peek().text)
        if symbols:
            raise Asn1Error("imported symbols without FROM", self.filename, symbols[0][1])
        return imports

    def parse_assignment(self):
        tok = self.peek()
        if tok.kind == "TYPEREF":
            after = self.peek(1)
            if after.is_("{"):
                raise self.error("parameterized type %s is not supported" % tok.text)
            if not after.is_("::="):
                raise self.error("information object assignments are not supported (%s)" % tok.text)
            self.next()
            self.next()
            type_ = self.parse_type()
            return S.TypeAssignment(tok.text, type_, tok.line, tok.start, self.last_end())
        if tok.kind == "IDENT":
            self.next()
            type_ = self.parse_type()
            self.expect("::=")
            value = self.parse_value()
            return S.ValueAssignment(tok.text, type_, value, tok.line, tok.start, self.last_end())
        raise self.error("expected a type or value assignment but found '%s'" % tok.text)

    # Types.

    def parse_type(self):
        start = self.peek()
        if self.at("["):
            tag_class, number = self.parse_tag()
            mode = None
            if self.at("IMPLICIT") or self.at("EXPLICIT"):
                mode = self.next().text
            inner = self.parse_type()
            type_ = S.TaggedType(tag_class, number, mode, inner, start.line, start.start)
        else:
            type_ = self.parse_untagged()
            while self.at("("):
                type_.constraints.append(self.parse_constraint())
        type_.start = start.start
        type_.end = self.last_end()
        return type_

    def parse_tag(self):
        self.expect("[")
        tag_class = "CONTEXT"
        for name in ("UNIVERSAL", "APPLICATION", "PRIVATE"):
            if self.accept(name):
                tag_class = name
        tok = self.next()
        if tok.kind == "NUMBER":
            number = tok.value
        elif tok.kind == "IDENT":
            number = tok.text
        else:
            raise self.error("expected a tag number but found '%s'" % tok.text, tok)
        self.expect("]")
        return tag_class, number

    def parse_untagged(self):
        tok = self.next()
        line = tok.line
        if tok.kind == "TYPEREF":
            if self.accept("."):
                raise self.error("external type references (%s.%s) are not supported; import the type"
                                 % (tok.text, self.peek().text), tok)
            return S.ReferenceType(tok.text, line)
        if tok.kind != "KEYWORD":
            raise self.error("expected a type but found '%s'" % tok.text, tok)
        word = tok.text
        if word in UNSUPPORTED:
            raise self.error(UNSUPPORTED[word], tok)
        if word in SIMPLE_TYPES:
            return S.BuiltinType(word, line)
        if word == "INTEGER":
            type_ = S.BuiltinType("INTEGER", line)
            if self.at("{"):
                type_.named = self.parse_named_numbers("INTEGER")
            return type_
        if word == "ENUMERATED":
            return self.parse_enumerated(line)
        if word == "BIT":
            self.expect("STRING")
            type_ = S.BuiltinType("BIT STRING", line)
            if self.at("{"):
                type_.named = self.parse_named_numbers("BIT STRING")
            return type_
        if word == "OCTET":
            self.expect("STRING")
            return S.BuiltinType("OCTET STRING", line)
        if word == "OBJECT":
            self.expect("IDENTIFIER")
            return S.BuiltinType("OBJECT IDENTIFIER", line)
        if word in ("SEQUENCE", "SET"):
            return self.parse_sequence_or_set(word, line)
        if word == "CHOICE":
            choice = S.ChoiceType(line)
            choice.alternatives, choice.extensible = self.parse_components("CHOICE")
            return choice
        if word == "ANY":
            defined_by = None
            if self.accept("DEFINED"):
                self.expect("BY")
                defined_by = self.expect_kind("IDENT", "a component name after DEFINED BY").text
            return S.AnyType(defined_by, line)
        raise self.error("expected a type but found '%s'" % word, tok)

    def parse_sequence_or_set(self, kind, line):
        if self.at("{"):
            struct = S.StructType(kind, line)
            struct.components, struct.extensible = self.parse_components(kind)
            return struct
        size = None
        if self.at("SIZE"):
            size = self.parse_constraint_element()
        elif self.at("("):
            size = self.parse_constraint()
        self.expect("OF")
        if self.peek().kind == "IDENT":
            self.next()  # SEQUENCE OF name Type: the element name is documentation only
        list_type = S.ListType(kind, self.parse_type(), line)
        list_type.size = size
        return list_type

    def parse_named_numbers(self, what):
        self.expect("{")
        items = []
        while True:
            name = self.expect_kind("IDENT", "a name in the %s list" % what)
            self.expect("(")
            items.append(S.NamedNumber(name.text, self.parse_signed_or_ref(), name.line))
            self.expect(")")
            if self.accept("}"):
                return items
            self.expect(",")

    def parse_signed_or_ref(self):
        negative = self.accept("-") is not None
        tok = self.next()
        if tok.kind == "NUMBER":
            return -tok.value if negative else tok.value
        if tok.kind == "IDENT" and not negative:
            return tok.text
        raise self.error("expected a number but found '%s'" % tok.text, tok)

    def parse_enumerated(self, line):
        type_ = S.BuiltinType("ENUMERATED", line)
        self.expect("{")
        while True:
            if self.accept("..."):
                type_.extensible = True
                if self.accept("!"):
                    self.parse_value()
            else:
                name = self.expect_kind("IDENT", "an ENUMERATED item")
                value = None
                if self.accept("("):
                    value = self.parse_signed_or_ref()
                    self.expect(")")
                type_.named.append(S.NamedNumber(name.text, value, name.line))
            if self.accept("}"):
                return type_
            self.expect(",")

    def parse_components(self, kind):
        """The { } list of a SEQUENCE, SET or CHOICE: (components, extensible)."""
        self.expect("{")
        components = []
        extensible = False
        markers = 0
        if self.accept("}"):
            return components, extensible
        while True:
            if self.at("..."):
                self.next()
                if self.accept("!"):
                    self.parse_value()
                markers += 1
                extensible = True
                if markers > 2:
                    raise self.error("more than two extension markers in %s" % kind)
            elif self.at("[["):
                self.next()
                if self.peek().kind == "NUMBER" and self.peek(1).is_(":"):
                    self.next()
                    self.next()
                while True:
                    components.append(self.parse_component(kind, markers == 1))
                    if not self.accept(","):
                        break
                self.expect("]]")
            else:
                components.append(self.parse_component(kind, markers == 1))
            if self.accept("}"):
                return components, extensible
            self.expect(",")

    def parse_component(self, kind, extension):
        tok = self.peek()
        if tok.is_("COMPONENTS"):
            if kind == "CHOICE":
                raise self.error("COMPONENTS OF is not allowed in a CHOICE")
            self.next()
            self.expect("OF")
            comp = S.Component(None, self.parse_type(), tok.line, tok.start)
            comp.components_of = True
            comp.end = self.last_end()
            return comp
        if tok.kind != "IDENT":
            raise self.error("expected a component name in %s but found '%s'" % (kind, tok.text))
        self.next()
        comp = S.Component(tok.text, self.parse_type(), tok.line, tok.start)
        comp.extension = extension
        if kind != "CHOICE":
            if self.accept("OPTIONAL"):
                comp.optional = True
            elif self.accept("DEFAULT"):
                comp.default = self.parse_value()
        comp.end = self.last_end()
        return comp

    # Constraints: recorded, not enforced.

    def parse_constraint(self):
        self.expect("(")
        constraint = self.parse_constraint_spec()
        self.expect(")")
        return constraint

    def parse_constraint_spec(self):
        line = self.peek().line
        parts = [self.parse_constraint_element()]
        while self.at("|") or self.at("UNION") or self.at("^") or self.at("INTERSECTION") \
                or self.at("EXCEPT"):
            op = self.next().text
            part = self.parse_constraint_element()
            parts.append(part if op in ("|", "UNION") else S.Constraint("other", line))
        extensible = False
        while self.accept(","):
            self.expect("...")
            extensible = True
            if self.accept(","):
                self.parse_constraint_element()
        if self.accept("!"):
            self.parse_value()
        constraint = parts[0] if len(parts) == 1 else S.Constraint("union", line, parts=parts)
        constraint.extensible = constraint.extensible or extensible
        return constraint

    def parse_constraint_element(self):
        tok = self.peek()
        if tok.is_("SIZE"):
            self.next()
            return S.Constraint("size", tok.line, inner=self.parse_constraint())
        if tok.is_("("):
            return self.parse_constraint()
        if tok.kind in ("NUMBER", "IDENT", "BSTRING", "HSTRING", "CSTRING") or tok.is_("-") \
                or tok.is_("MIN") or tok.is_("MAX") or tok.is_("TRUE") or tok.is_("FALSE"):
            lower = self.parse_value()
            self.accept("<")
            if not self.accept(".."):
                return S.Constraint("single", tok.line, lower=lower)
            self.accept("<")
            return S.Constraint("range", tok.line, lower=lower, upper=self.parse_value())
        self.skip_other_constraint()
        return S.Constraint("other", tok.line)

    def skip_other_constraint(self):
        """Skips a constraint form the compiler does not model (CONSTRAINED BY, WITH
        COMPONENTS, FROM, CONTAINING, ...) up to the end of its element."""
        depth = 0
        while True:
            tok = self.peek()
            if tok.kind == "EOF":
                raise self.error("unterminated constraint")
            if depth == 0 and tok.kind == "SYMBOL" and tok.text in (")", "|", "^", ",", "!"):
                return
            if tok.kind == "SYMBOL" and tok.text in ("(", "{", "["):
                depth += 1
            elif tok.kind == "SYMBOL" and tok.text in (")", "}", "]"):
                depth -= 1
            self.next()

    # Values.

    def parse_value(self):
        tok = self.next()
        line = tok.line
        if tok.kind == "NUMBER":
            return S.Value("number", tok.value, line, tok.start, tok.end)
        if tok.is_("-"):
            num = self.expect_kind("NUMBER", "a number after '-'")
            return S.Value("number", -num.value, line, tok.start, num.end)
        if tok.is_("TRUE") or tok.is_("FALSE"):
            return S.Value("bool", tok.text == "TRUE", line, tok.start, tok.end)
        if tok.is_("NULL"):
            return S.Value("null", None, line, tok.start, tok.end)
        if tok.is_("MIN") or tok.is_("MAX"):
            return S.Value(tok.text.lower(), None, line, tok.start, tok.end)
        if tok.kind in ("BSTRING", "HSTRING", "CSTRING"):
            return S.Value(tok.kind.lower(), tok.value, line, tok.start, tok.end)
        if tok.kind == "IDENT":
            if self.at(":"):
                raise self.error("CHOICE values are not supported")
            return S.Value("ref", tok.text, line, tok.start, tok.end)
        if tok.is_("{"):
            items = self.parse_brace_items()
            return S.Value("braces", items, line, tok.start, self.last_end())
        raise self.error("expected a value but found '%s'" % tok.text, tok)

    def parse_brace_items(self):
        """Items of an OBJECT IDENTIFIER value or a named bit list, up to the closing brace."""
        items = []
        while not self.accept("}"):
            tok = self.next()
            if tok.kind == "NUMBER":
                items.append(S.BraceItem(None, tok.value, tok.line))
            elif tok.kind == "IDENT":
                number = None
                if self.accept("("):
                    inner = self.next()
                    if inner.kind == "NUMBER":
                        number = inner.value
                    elif inner.kind == "IDENT":
                        number = inner.text
                    else:
                        raise self.error("expected a number but found '%s'" % inner.text, inner)
                    self.expect(")")
                items.append(S.BraceItem(tok.text, number, tok.line))
            else:
                raise self.error("unsupported value item '%s' (only OBJECT IDENTIFIER values and "
                                 "named bit lists can stand in braces)" % tok.text, tok)
            self.accept(",")
        return items


def parse_text(text, filename=None):
    """The modules defined in text."""
    return Parser(text, filename).parse_modules()


def parse_file(path):
    with open(path, encoding="utf-8") as f:
        return parse_text(f.read(), path)
