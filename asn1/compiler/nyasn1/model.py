"""What the resolver hands the emitter: the C++ classes and constants of one
module, with every reference, tag and default value worked out."""

CPP_KEYWORDS = frozenset("""
    alignas alignof and and_eq asm auto bitand bitor bool break case catch char char16_t
    char32_t class compl const constexpr const_cast continue decltype default delete do
    double dynamic_cast else enum explicit export extern false float for friend goto if
    inline int long mutable namespace new noexcept not not_eq nullptr operator or or_eq
    private protected public register reinterpret_cast return short signed sizeof static
    static_assert static_cast struct switch template this thread_local throw true try
    typedef typeid typename union unsigned using virtual void volatile wchar_t while xor
    xor_eq
""".split())


# Names the generated member functions use for their parameters and locals,
# and generated member names; a component or constant must not hide them.
GENERATED_NAMES = frozenset(["b", "s", "d", "e", "p", "len", "tag", "indent", "bytesDecoded",
                             "kDefault", "kOctets", "kNoChoice", "choiceId"])


def cpp_ident(name):
    """An ASN.1 name as a C++ identifier: hyphens become underscores; C++ keywords
    and the names of generated code get a trailing underscore."""
    ident = name.replace("-", "_")
    return ident + "_" if ident in CPP_KEYWORDS or ident in GENERATED_NAMES else ident


def class_name(asn_name):
    return "obASN_" + asn_name.replace("-", "_")


class Tag:
    """One tag: class (UNIVERSAL, APPLICATION, CONTEXT, PRIVATE), number, and the
    forms it may take: prim, cons, or any (strings: primitive or constructed BER)."""

    def __init__(self, tag_class, number, forms):
        self.tag_class = tag_class
        self.number = number
        self.forms = forms

    def overlaps(self, other):
        if self.tag_class != other.tag_class or self.number != other.number:
            return False
        return self.forms == other.forms or "any" in (self.forms, other.forms)

    def sort_key(self):
        order = ("UNIVERSAL", "APPLICATION", "CONTEXT", "PRIVATE")
        return order.index(self.tag_class), self.number

    def __repr__(self):
        return "[%s %d %s]" % (self.tag_class, self.number, self.forms)


class TagSet:
    """The tags a value can start with. An untagged CHOICE has the tags of its
    alternatives (choice is set even for one alternative); an open type (ANY) has
    every tag (wildcard)."""

    def __init__(self, tags=(), choice=False, wildcard=False):
        self.tags = list(tags)
        self.choice = choice
        self.wildcard = wildcard

    def single(self):
        """The one tag of a value that is neither a CHOICE nor open, else None."""
        if self.choice or self.wildcard or len(self.tags) != 1:
            return None
        return self.tags[0]

    def overlaps(self, other):
        if self.wildcard or other.wildcard:
            return True
        return any(a.overlaps(b) for a in self.tags for b in other.tags)

    def __repr__(self):
        if self.wildcard:
            return "TagSet(any)"
        return "TagSet(%s%s)" % (self.tags, ", choice" if self.choice else "")


class CppType:
    """A C++ class that holds a value: a runtime class (obAsnInt) or a generated one."""

    def __init__(self, name, tags, module=None, header=None):
        self.name = name
        self.tags = tags
        self.module = module   # the ASN.1 module of a generated class, None for the runtime
        self.header = header   # the runtime header of a runtime class

    @property
    def runtime(self):
        return self.module is None


class Default:
    """How to build the default value of a DEFAULT component.

    args: constructor arguments as C++ text (None: default-constructed), or
    octets: content octets for BIT STRING (with bits) and OCTET STRING defaults.
    supported is False for structured defaults, which get no accessor.
    """

    def __init__(self, text, args=None, octets=None, bits=None, supported=True):
        self.text = text
        self.args = args
        self.octets = octets
        self.bits = bits
        self.supported = supported


class Field:
    """A component of a SEQUENCE or SET, or an alternative of a CHOICE."""

    def __init__(self, name, type_, line):
        self.name = name              # ASN.1 name
        self.cname = cpp_ident(name)
        self.type = type_             # CppType of the value
        self.tag = None               # Tag of the component's own tag, or None
        self.mode = None              # "implicit" or "explicit" with a tag
        self.optional = False         # held in obAsnOpt: OPTIONAL, DEFAULT or an extension addition
        self.default = None           # Default
        self.extension = False
        self.defined_by = None        # for ANY DEFINED BY: the component it depends on
        self.match = None             # TagSet that announces the component when decoding
        self.line = line

    @property
    def kind(self):
        """How it is decoded and encoded: whole (the type's own tag), implicit or explicit."""
        return self.mode or "whole"


class ClassDef:
    """One generated class.

    kind alias: derives from base, adds named constants and possibly its own tag
    (own_tag with own_mode implicit or explicit).
    kind struct: a SEQUENCE or SET (struct_kind) of fields.
    kind list: SEQUENCE OF or SET OF element (list_kind).
    kind choice: fields are the alternatives.
    """

    def __init__(self, name, kind, module, source, line):
        self.name = name
        self.kind = kind
        self.module = module
        self.source = source          # the ASN.1 text it comes from, for the comment
        self.line = line
        self.tags = None              # TagSet of a value of this class
        self.base = None              # alias: CppType of the base class
        self.own_tag = None
        self.own_mode = None
        self.constants = []           # (cname, value) named numbers or bits
        self.constant_kind = None     # "number", "bit" or "enum"
        self.struct_kind = None
        self.list_kind = None
        self.element = None           # list: CppType of the element
        self.fields = []
        self.extensible = False
        self.depends = []             # names of classes of the same module held by value

    def cpp_type(self):
        return CppType(self.name, self.tags, self.module)


class ValueDef:
    """An exported constant: an OBJECT IDENTIFIER (dotted text) or an INTEGER."""

    def __init__(self, name, kind, value, source, line):
        self.name = name
        self.cname = "obASN_" + name.replace("-", "_")
        self.kind = kind
        self.value = value
        self.source = source
        self.line = line


class ModuleOut:
    """Everything emitted for one module."""

    def __init__(self, module, basename):
        self.module = module
        self.name = module.name
        self.basename = basename
        self.classes = []        # ClassDef in emission order
        self.values = []         # ValueDef in source order
        self.imported = []       # names of modules whose headers are included
