"""The syntax tree the parser builds: modules, assignments, types and values.

Every node keeps its line and the offsets of its source text (start, end), so
the emitter can quote the definition a class comes from.
"""


class Node:
    def __init__(self, line, start=None, end=None):
        self.line = line
        self.start = start
        self.end = end


class Module(Node):
    def __init__(self, name, line, filename, text):
        super().__init__(line)
        self.name = name
        self.filename = filename
        self.text = text              # the whole source, for quoting
        self.oid = None               # OID components of the module identifier, or None
        self.tag_default = "EXPLICIT"  # EXPLICIT, IMPLICIT or AUTOMATIC
        self.extensibility_implied = False
        self.exports = None           # None: everything; else a list of (name, line)
        self.imports = []             # Import
        self.assignments = []         # TypeAssignment and ValueAssignment, in order

    def source(self, node):
        """The source text of node."""
        return self.text[node.start:node.end]


class Import(Node):
    def __init__(self, symbols, module, line):
        super().__init__(line)
        self.symbols = symbols  # list of (name, line)
        self.module = module


class TypeAssignment(Node):
    def __init__(self, name, type_, line, start, end):
        super().__init__(line, start, end)
        self.name = name
        self.type = type_


class ValueAssignment(Node):
    def __init__(self, name, type_, value, line, start, end):
        super().__init__(line, start, end)
        self.name = name
        self.type = type_
        self.value = value


# Types. Each may carry constraints, which the compiler records but does not enforce.

class Type(Node):
    def __init__(self, line, start=None, end=None):
        super().__init__(line, start, end)
        self.constraints = []


class BuiltinType(Type):
    """A simple built-in type: INTEGER, BIT STRING, a string or time type, ..."""

    def __init__(self, name, line, start=None, end=None):
        super().__init__(line, start, end)
        self.name = name
        self.named = []          # NamedNumber: INTEGER numbers, BIT STRING bits, ENUMERATED items
        self.extensible = False  # ENUMERATED with "..."


class NamedNumber(Node):
    def __init__(self, name, value, line):
        super().__init__(line)
        self.name = name
        self.value = value  # int, a value reference name (str), or None for automatic ENUMERATED items


class ReferenceType(Type):
    def __init__(self, name, line, start=None, end=None):
        super().__init__(line, start, end)
        self.name = name


class TaggedType(Type):
    def __init__(self, tag_class, number, mode, inner, line, start=None, end=None):
        super().__init__(line, start, end)
        self.tag_class = tag_class  # UNIVERSAL, APPLICATION, CONTEXT or PRIVATE
        self.number = number        # int, or a value reference name
        self.mode = mode            # IMPLICIT, EXPLICIT or None (the module default)
        self.inner = inner


class StructType(Type):
    """SEQUENCE { ... } or SET { ... }."""

    def __init__(self, kind, line, start=None, end=None):
        super().__init__(line, start, end)
        self.kind = kind
        self.components = []     # Component
        self.extensible = False


class ChoiceType(Type):
    def __init__(self, line, start=None, end=None):
        super().__init__(line, start, end)
        self.alternatives = []   # Component (never optional)
        self.extensible = False


class ListType(Type):
    """SEQUENCE OF or SET OF."""

    def __init__(self, kind, element, line, start=None, end=None):
        super().__init__(line, start, end)
        self.kind = kind
        self.element = element
        self.size = None         # the SIZE constraint written before OF, if any


class AnyType(Type):
    def __init__(self, defined_by, line, start=None, end=None):
        super().__init__(line, start, end)
        self.defined_by = defined_by  # the component name after DEFINED BY, or None


class Component(Node):
    def __init__(self, name, type_, line, start=None, end=None):
        super().__init__(line, start, end)
        self.name = name
        self.type = type_
        self.optional = False
        self.default = None       # a Value
        self.extension = False    # an extension addition (after "...")
        self.components_of = False  # COMPONENTS OF type: name is None


class Constraint(Node):
    """kind: size (inner), range (lower, upper), single (lower), union (parts), other."""

    def __init__(self, kind, line, lower=None, upper=None, inner=None, parts=None):
        super().__init__(line)
        self.kind = kind
        self.lower = lower
        self.upper = upper
        self.inner = inner
        self.parts = parts or []
        self.extensible = False


class Value(Node):
    """kind: number, bool, null, ref, braces, bstring, hstring, cstring, min, max.

    For braces the value is a list of BraceItem (an OID or a named bit list).
    """

    def __init__(self, kind, value, line, start=None, end=None):
        super().__init__(line, start, end)
        self.kind = kind
        self.value = value


class BraceItem(Node):
    """One item inside { }: a number, a name, or name(number)."""

    def __init__(self, name, number, line):
        super().__init__(line)
        self.name = name
        self.number = number
