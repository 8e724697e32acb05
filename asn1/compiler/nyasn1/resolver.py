"""From syntax trees to the classes and constants to emit.

The resolver looks up references (across IMPORTS), works out the tag of every
type and the tagging mode of every tag (the module default; an IMPLICIT tag on
a CHOICE or an open type becomes EXPLICIT; AUTOMATIC TAGS numbers untagged
components), computes object identifier and integer values, names the classes
of types written inline, checks that components can be told apart by their
tags, and orders the classes so that members held by value are defined first.
"""

from . import syntax as S
from .errors import Asn1Error
from .model import (ClassDef, CppType, Default, Field, ModuleOut, Tag, TagSet, ValueDef,
                    class_name, cpp_ident)

# Universal tag number, allowed forms, runtime class and its header, per built-in type.
BUILTINS = {
    "BOOLEAN": (1, "prim", "obAsnBool", "asn_bool.h"),
    "INTEGER": (2, "prim", "obAsnInt", "asn_int.h"),
    "BIT STRING": (3, "any", "obAsnBits", "asn_bits.h"),
    "OCTET STRING": (4, "any", "obAsnOcts", "asn_octs.h"),
    "NULL": (5, "prim", "obAsnNull", "asn_null.h"),
    "OBJECT IDENTIFIER": (6, "prim", "obAsnOid", "asn_oid.h"),
    "ObjectDescriptor": (7, "any", "obAsnObjectDescriptor", "asn_string.h"),
    "EXTERNAL": (8, "cons", None, None),
    "REAL": (9, "prim", None, None),
    "ENUMERATED": (10, "prim", "obAsnEnum", "asn_enum.h"),
    "UTF8String": (12, "any", "obAsnUTF8String", "asn_string.h"),
    "NumericString": (18, "any", "obAsnNumericString", "asn_string.h"),
    "PrintableString": (19, "any", "obAsnPrintableString", "asn_string.h"),
    "TeletexString": (20, "any", "obAsnTeletexString", "asn_string.h"),
    "T61String": (20, "any", "obAsnT61String", "asn_string.h"),
    "VideotexString": (21, "any", "obAsnVideotexString", "asn_string.h"),
    "IA5String": (22, "any", "obAsnIA5String", "asn_string.h"),
    "UTCTime": (23, "any", "obAsnUTCTime", "asn_time.h"),
    "GeneralizedTime": (24, "any", "obAsnGeneralizedTime", "asn_time.h"),
    "GraphicString": (25, "any", "obAsnGraphicString", "asn_string.h"),
    "VisibleString": (26, "any", "obAsnVisibleString", "asn_string.h"),
    "ISO646String": (26, "any", "obAsnISO646String", "asn_string.h"),
    "GeneralString": (27, "any", "obAsnGeneralString", "asn_string.h"),
    "UniversalString": (28, "any", "obAsnUniversalString", "asn_string.h"),
    "BMPString": (30, "any", "obAsnBMPString", "asn_string.h"),
}
STRING_KINDS = frozenset(name for name, info in BUILTINS.items() if info[3] == "asn_string.h")
# Built-in types whose DEFAULT values get an accessor.
SIMPLE_DEFAULTS = ("BOOLEAN", "INTEGER", "ENUMERATED", "NULL", "OBJECT IDENTIFIER", "BIT STRING",
                   "OCTET STRING")
SEQUENCE_NUMBER = 16
SET_NUMBER = 17
ANY_TYPE = CppType("obAsnAny", TagSet(wildcard=True), None, "asn_any.h")

# Object identifier arcs that may be written as bare names (X.660).
ROOT_ARCS = {"itu-t": 0, "ccitt": 0, "iso": 1, "joint-iso-itu-t": 2, "joint-iso-ccitt": 2}
SECOND_ARCS = {
    0: {"recommendation": 0, "question": 1, "administration": 2, "network-operator": 3,
        "identified-organization": 4},
    1: {"standard": 0, "registration-authority": 1, "member-body": 2,
        "identified-organization": 3},
}


class Effective:
    """A component after COMPONENTS OF expansion and automatic tagging; module is
    the module its type is written in."""

    def __init__(self, comp, type_, module):
        self.comp = comp
        self.type = type_
        self.module = module


class Resolver:
    def __init__(self, units):
        """units: (Module, basename, emit) for every module given, emitted or only imported."""
        self.units = units
        self.modules = {}
        self.types = {}
        self.values = {}
        self.imported = {}
        self.tag_memo = {}
        self.tag_active = set()
        self.oid_memo = {}
        self.oid_active = set()
        self.effective_memo = {}
        self.cpp_names = {}
        for module, _, _ in units:
            self.index(module)
        for module, _, _ in units:
            self.check_imports(module)
        self.current = None

    def error(self, message, module, line):
        return Asn1Error(message, module.filename, line)

    # Symbol tables.

    def index(self, module):
        if module.name in self.modules:
            raise self.error("module %s is defined twice" % module.name, module, module.line)
        self.modules[module.name] = module
        types, values = {}, {}
        for asg in module.assignments:
            if asg.name in types or asg.name in values:
                raise self.error("%s is defined twice" % asg.name, module, asg.line)
            (types if isinstance(asg, S.TypeAssignment) else values)[asg.name] = asg
        self.types[module.name] = types
        self.values[module.name] = values

    def check_imports(self, module):
        table = {}
        for imp in module.imports:
            source = self.modules.get(imp.module)
            if source is None:
                raise self.error("module %s imports from %s, which is not among the inputs"
                                 % (module.name, imp.module), module, imp.line)
            exported = None if source.exports is None else {name for name, _ in source.exports}
            for name, line in imp.symbols:
                if name not in self.types[source.name] and name not in self.values[source.name]:
                    raise self.error("%s is not defined in module %s" % (name, source.name), module, line)
                if exported is not None and name not in exported:
                    raise self.error("%s is not exported by module %s" % (name, source.name), module, line)
                if name in self.types[module.name] or name in self.values[module.name]:
                    raise self.error("%s is both imported and defined" % name, module, line)
                table[name] = source.name
        self.imported[module.name] = table

    def lookup_type(self, module, name, line):
        if name in self.types[module.name]:
            return module, self.types[module.name][name]
        source = self.imported[module.name].get(name)
        if source and name in self.types[source]:
            return self.lookup_type(self.modules[source], name, line)
        raise self.error("undefined type %s" % name, module, line)

    def lookup_value(self, module, name, line):
        if name in self.values[module.name]:
            return module, self.values[module.name][name]
        source = self.imported[module.name].get(name)
        if source and name in self.values[source]:
            return self.lookup_value(self.modules[source], name, line)
        raise self.error("undefined value %s" % name, module, line)

    def has_value(self, module, name):
        if name in self.values[module.name]:
            return True
        source = self.imported[module.name].get(name)
        return bool(source) and name in self.values[source]

    # Tags.

    def tag_number(self, tagged, module):
        if isinstance(tagged.number, int):
            return tagged.number
        return self.int_value(module, tagged.number, tagged.line)

    def tag_mode(self, tagged, module):
        """explicit or implicit: the written mode, else the module default; an implicit
        tag on an untagged CHOICE or an open type becomes explicit."""
        mode = tagged.mode or ("EXPLICIT" if module.tag_default == "EXPLICIT" else "IMPLICIT")
        if mode == "EXPLICIT":
            return "explicit"
        inner = self.tags_of(tagged.inner, module)
        return "explicit" if inner.choice or inner.wildcard else "implicit"

    def tags_of(self, type_, module):
        """The TagSet a value of type_ starts with."""
        if isinstance(type_, S.BuiltinType):
            number, forms, _, _ = BUILTINS[type_.name]
            return TagSet([Tag("UNIVERSAL", number, forms)])
        if isinstance(type_, S.AnyType):
            return TagSet(wildcard=True)
        if isinstance(type_, (S.StructType, S.ListType)):
            number = SEQUENCE_NUMBER if type_.kind == "SEQUENCE" else SET_NUMBER
            return TagSet([Tag("UNIVERSAL", number, "cons")])
        if isinstance(type_, S.ChoiceType):
            tags = []
            for eff in self.effective(type_, module):
                alt = self.tags_of(eff.type, eff.module)
                if alt.wildcard:
                    raise self.error("alternative %s is an untagged open type; tag it" % eff.comp.name,
                                     module, eff.comp.line)
                tags.extend(alt.tags)
            return TagSet(tags, choice=True)
        if isinstance(type_, S.TaggedType):
            number = self.tag_number(type_, module)
            if self.tag_mode(type_, module) == "explicit":
                return TagSet([Tag(type_.tag_class, number, "cons")])
            inner = self.tags_of(type_.inner, module).single()
            return TagSet([Tag(type_.tag_class, number, inner.forms)])
        return self.reference_tags(type_, module)

    def reference_tags(self, ref, module):
        target_module, asg = self.lookup_type(module, ref.name, ref.line)
        key = (target_module.name, asg.name)
        if key in self.tag_memo:
            return self.tag_memo[key]
        if key in self.tag_active:
            raise self.error("%s is defined through itself" % asg.name, target_module, asg.line)
        self.tag_active.add(key)
        try:
            tags = self.tags_of(asg.type, target_module)
        finally:
            self.tag_active.discard(key)
        self.tag_memo[key] = tags
        return tags

    def underlying(self, type_, module):
        """(the built-in type under references and tags, its module, named numbers)."""
        named = None
        seen = set()
        while True:
            if isinstance(type_, S.TaggedType):
                type_ = type_.inner
            elif isinstance(type_, S.ReferenceType):
                module, asg = self.lookup_type(module, type_.name, type_.line)
                if (module.name, asg.name) in seen:
                    raise self.error("%s is defined through itself" % asg.name, module, asg.line)
                seen.add((module.name, asg.name))
                type_ = asg.type
            else:
                if isinstance(type_, S.BuiltinType) and type_.named:
                    named = self.named_values(type_, module)
                return type_, module, named

    # Components.

    def effective(self, node, module):
        """The components of a SEQUENCE, SET or CHOICE as decoded: COMPONENTS OF
        expanded and AUTOMATIC TAGS applied (when no component has a tag written)."""
        key = id(node)
        if key not in self.effective_memo:
            comps = self.expand(node, module)
            if module.tag_default == "AUTOMATIC" and not any(isinstance(eff.type, S.TaggedType)
                                                              for eff in comps):
                for number, eff in enumerate(comps):
                    eff.type = S.TaggedType("CONTEXT", number, "IMPLICIT", eff.type, eff.comp.line)
            self.effective_memo[key] = comps
        return self.effective_memo[key]

    def expand(self, node, module):
        """The components as written, with COMPONENTS OF T replaced by the root
        components of the SEQUENCE or SET T."""
        comps = []
        items = node.alternatives if isinstance(node, S.ChoiceType) else node.components
        for comp in items:
            if not comp.components_of:
                comps.append(Effective(comp, comp.type, module))
                continue
            target, target_module, _ = self.underlying(comp.type, module)
            if not isinstance(target, S.StructType) or target.kind != node.kind:
                raise self.error("COMPONENTS OF needs a %s type" % node.kind, module, comp.line)
            comps.extend(eff for eff in self.expand(target, target_module) if not eff.comp.extension)
        return comps

    # Values.

    def int_value(self, module, name, line):
        value_module, asg = self.lookup_value(module, name, line)
        base, _, _ = self.underlying(asg.type, value_module)
        if not (isinstance(base, S.BuiltinType) and base.name == "INTEGER"):
            raise self.error("%s is not an INTEGER value" % name, module, line)
        value = asg.value
        if value.kind == "number":
            return value.value
        if value.kind == "ref":
            return self.int_value(value_module, value.value, value.line)
        raise self.error("%s needs a number" % name, value_module, asg.line)

    def named_values(self, builtin, module):
        """The named numbers, bits or ENUMERATED items of builtin as a dict."""
        named = {}
        used = set()
        for item in builtin.named:
            if item.value is not None:
                value = item.value
                if isinstance(value, str):
                    value = self.int_value(module, value, item.line)
                if item.name in named:
                    raise self.error("%s is named twice" % item.name, module, item.line)
                if value in used:
                    raise self.error("the value of %s is used twice" % item.name, module, item.line)
                if builtin.name == "BIT STRING" and value < 0:
                    raise self.error("bit %s has a negative number" % item.name, module, item.line)
                named[item.name] = value
                used.add(value)
        automatic = 0
        for item in builtin.named:
            if item.value is None:
                while automatic in used:
                    automatic += 1
                named[item.name] = automatic
                used.add(automatic)
        return {item.name: named[item.name] for item in builtin.named}

    def oid_arcs(self, module, asg):
        key = (module.name, asg.name)
        if key in self.oid_memo:
            return self.oid_memo[key]
        if key in self.oid_active:
            raise self.error("the value of %s depends on itself" % asg.name, module, asg.line)
        base, _, _ = self.underlying(asg.type, module)
        if not (isinstance(base, S.BuiltinType) and base.name == "OBJECT IDENTIFIER"):
            raise self.error("%s is not an OBJECT IDENTIFIER value" % asg.name, module, asg.line)
        self.oid_active.add(key)
        try:
            arcs = self.oid_from_value(asg.value, module)
        finally:
            self.oid_active.discard(key)
        self.oid_memo[key] = arcs
        return arcs

    def oid_from_value(self, value, module):
        if value.kind == "ref":
            value_module, asg = self.lookup_value(module, value.value, value.line)
            return self.oid_arcs(value_module, asg)
        if value.kind != "braces":
            raise self.error("an OBJECT IDENTIFIER value needs { }", module, value.line)
        arcs = []
        for index, item in enumerate(value.value):
            if item.number is not None:
                number = item.number
                if isinstance(number, str):
                    number = self.int_value(module, number, item.line)
                arcs.append(number)
            elif index == 0 and self.has_value(module, item.name):
                value_module, asg = self.lookup_value(module, item.name, item.line)
                arcs.extend(self.oid_arcs(value_module, asg))
            elif index == 0 and item.name in ROOT_ARCS:
                arcs.append(ROOT_ARCS[item.name])
            elif index == 1 and item.name in SECOND_ARCS.get(arcs[0], {}):
                arcs.append(SECOND_ARCS[arcs[0]][item.name])
            elif index == 0:
                raise self.error("undefined value %s" % item.name, module, item.line)
            else:
                raise self.error("object identifier component %s needs a number" % item.name,
                                 module, item.line)
        if len(arcs) < 2 or arcs[0] > 2 or (arcs[0] < 2 and arcs[1] >= 40) or min(arcs) < 0:
            raise self.error("invalid object identifier %s" % ".".join(map(str, arcs)),
                             module, value.line)
        return arcs

    # Emitted modules.

    def resolve(self):
        outs = []
        for module, _, _ in self.units:
            for asg in module.assignments:
                self.claim(class_name(asg.name), module, asg.line)
        for module, basename, emit in self.units:
            if emit:
                outs.append(self.build_module(module, basename))
        return outs

    def claim(self, name, module, line):
        if name in self.cpp_names:
            other_module, other_line = self.cpp_names[name]
            raise self.error("C++ name %s is already used by %s line %d"
                             % (name, other_module.filename or other_module.name, other_line),
                             module, line)
        self.cpp_names[name] = (module, line)

    def build_module(self, module, basename):
        out = ModuleOut(module, basename)
        self.current = out
        self.created = []
        self.includes = set()
        for asg in module.assignments:
            if isinstance(asg, S.TypeAssignment):
                self.build_class(class_name(asg.name), asg.type, module, asg, top_level=True)
            else:
                out.values.append(self.build_value(asg, module))
        out.classes = self.order(self.created, module)
        out.imported = sorted(self.includes)
        return out

    def build_value(self, asg, module):
        base, _, _ = self.underlying(asg.type, module)
        source = module.source(asg)
        if isinstance(base, S.BuiltinType) and base.name == "OBJECT IDENTIFIER":
            dotted = ".".join(str(arc) for arc in self.oid_arcs(module, asg))
            return ValueDef(asg.name, "oid", dotted, source, asg.line)
        if isinstance(base, S.BuiltinType) and base.name == "INTEGER":
            return ValueDef(asg.name, "int", self.int_value(module, asg.name, asg.line), source, asg.line)
        raise self.error("value %s: only OBJECT IDENTIFIER and INTEGER values are supported" % asg.name,
                         module, asg.line)

    def runtime_type(self, builtin, module):
        number, forms, cpp, header = BUILTINS[builtin.name]
        if cpp is None:
            raise self.error("%s is not supported" % builtin.name, module, builtin.line)
        return CppType(cpp, TagSet([Tag("UNIVERSAL", number, forms)]), None, header)

    def reference_type(self, ref, module):
        target_module, asg = self.lookup_type(module, ref.name, ref.line)
        if target_module is not module:
            self.includes.add(target_module.name)
        return CppType(class_name(asg.name), self.tags_of(ref, module), target_module.name)

    def member_type(self, type_, module, hint):
        """The class holding a value of type_ as a member or element; types written
        inline become classes named hint."""
        if isinstance(type_, S.BuiltinType) and not type_.named:
            return self.runtime_type(type_, module)
        if isinstance(type_, S.AnyType):
            return ANY_TYPE
        if isinstance(type_, S.ReferenceType):
            return self.reference_type(type_, module)
        return self.build_class(hint, type_, module, type_).cpp_type()

    def build_class(self, name, type_, module, node, top_level=False):
        if not top_level:
            self.claim(name, module, type_.line)
        cls = ClassDef(name, None, module.name, module.source(node), node.line)
        cls.tags = self.tags_of(type_, module)
        if isinstance(type_, S.TaggedType):
            self.fill_tagged(cls, type_, module)
        else:
            self.fill(cls, type_, module)
        self.created.append(cls)
        return cls

    def fill_tagged(self, cls, tagged, module):
        mode = self.tag_mode(tagged, module)
        number = self.tag_number(tagged, module)
        inner = tagged.inner
        forms = "cons" if mode == "explicit" else self.tags_of(inner, module).single().forms
        if mode == "implicit" and isinstance(inner, (S.StructType, S.ListType)):
            self.fill(cls, inner, module)
        elif isinstance(inner, (S.BuiltinType, S.ReferenceType, S.AnyType)):
            self.fill(cls, inner, module)
        else:
            cls.kind = "alias"
            cls.base = self.build_class(cls.name + "_body", inner, module, inner).cpp_type()
            cls.depends.append(cls.base.name)
        cls.own_tag = Tag(tagged.tag_class, number, forms)
        cls.own_mode = mode

    def fill(self, cls, type_, module):
        if isinstance(type_, S.BuiltinType):
            cls.kind = "alias"
            cls.base = self.runtime_type(type_, module)
            if type_.named:
                kinds = {"INTEGER": "number", "BIT STRING": "bit", "ENUMERATED": "enum"}
                cls.constant_kind = kinds[type_.name]
                cls.constants = [(cpp_ident(name), value)
                                 for name, value in self.named_values(type_, module).items()]
        elif isinstance(type_, S.AnyType):
            cls.kind = "alias"
            cls.base = ANY_TYPE
        elif isinstance(type_, S.ReferenceType):
            cls.kind = "alias"
            cls.base = self.reference_type(type_, module)
            self.depend(cls, cls.base)
        elif isinstance(type_, S.StructType):
            cls.kind = "struct"
            cls.struct_kind = type_.kind
            cls.extensible = type_.extensible or module.extensibility_implied
            self.fill_fields(cls, type_, module)
        elif isinstance(type_, S.ChoiceType):
            cls.kind = "choice"
            cls.extensible = type_.extensible or module.extensibility_implied
            self.fill_fields(cls, type_, module)
        elif isinstance(type_, S.ListType):
            cls.kind = "list"
            cls.list_kind = type_.kind
            cls.element = self.member_type(type_.element, module, cls.name + "_elem")
            self.depend(cls, cls.element)
        else:
            raise self.error("unsupported type", module, type_.line)

    def depend(self, cls, cpp_type):
        if cpp_type.module == self.current.name:
            cls.depends.append(cpp_type.name)

    def fill_fields(self, cls, node, module):
        names = set()
        for eff in self.effective(node, module):
            field = self.build_field(cls, node, eff)
            if field.name in names:
                raise self.error("component %s is named twice" % field.name, module, field.line)
            names.add(field.name)
            cls.fields.append(field)
            if not field.optional and cls.kind == "struct":
                self.depend(cls, field.type)
        for field in cls.fields:
            if field.defined_by and field.defined_by not in names:
                raise self.error("DEFINED BY %s names no component of %s" % (field.defined_by, cls.name),
                                 module, field.line)
        self.check_tags(cls, module)

    def build_field(self, cls, node, eff):
        comp, type_, module = eff.comp, eff.type, eff.module
        field = Field(comp.name, None, comp.line)
        hint = cls.name + "_" + comp.name.replace("-", "_")
        value_type = type_
        if isinstance(type_, S.TaggedType):
            field.mode = self.tag_mode(type_, module)
            value_type = type_.inner
            field.type = self.member_type(value_type, module, hint)
            forms = "cons" if field.mode == "explicit" else field.type.tags.single().forms
            field.tag = Tag(type_.tag_class, self.tag_number(type_, module), forms)
        else:
            field.type = self.member_type(type_, module, hint)
        field.match = self.tags_of(type_, module)
        field.extension = comp.extension
        field.optional = comp.optional or comp.default is not None or comp.extension
        if comp.default is not None:
            field.default = self.default_for(comp.default, value_type, module)
        if isinstance(value_type, S.AnyType) and value_type.defined_by:
            field.defined_by = value_type.defined_by
        return field

    def check_tags(self, cls, module):
        """Components must be told apart by their tags when decoding (X.680 25.5, 26.3, 29.2)."""
        fields = cls.fields
        for index, field in enumerate(fields):
            if cls.kind == "struct" and cls.struct_kind == "SEQUENCE":
                if not field.optional:
                    continue
                others = []
                for later in fields[index + 1:]:
                    others.append(later)
                    if not later.optional:
                        break
            else:
                others = fields[index + 1:]
            for other in others:
                if field.match.overlaps(other.match):
                    raise self.error("components %s and %s of %s cannot be told apart by their tags"
                                     % (field.name, other.name, cls.name), module, other.line)

    def default_for(self, value, type_, module):
        """How to build the default value (see Default)."""
        base, base_module, named = self.underlying(type_, module)
        text = module.source(value)
        kind = base.name if isinstance(base, S.BuiltinType) else None
        if kind == "BOOLEAN" and value.kind == "bool":
            return Default(text, args="true" if value.value else "false")
        if kind in ("INTEGER", "ENUMERATED"):
            if value.kind == "number":
                return Default(text, args=str(value.value))
            if value.kind == "ref":
                if named and value.value in named:
                    return Default(text, args=str(named[value.value]))
                return Default(text, args=str(self.int_value(module, value.value, value.line)))
        if kind == "BIT STRING":
            bits = self.bits_default(value, named, module)
            if bits is not None:
                return Default(text, octets=bits[0], bits=bits[1])
        if kind == "OCTET STRING" and value.kind in ("hstring", "bstring"):
            octets, _ = self.string_octets(value)
            return Default(text, octets=octets)
        if kind == "OBJECT IDENTIFIER" and value.kind in ("braces", "ref"):
            dotted = ".".join(str(arc) for arc in self.oid_from_value(value, module))
            return Default(text, args='"%s"' % dotted)
        if kind == "NULL" and value.kind == "null":
            return Default(text)
        if kind in STRING_KINDS and value.kind == "cstring" and value.value.isascii():
            escaped = value.value.replace("\\", "\\\\").replace('"', '\\"')
            return Default(text, args='"%s"' % escaped)
        if kind in SIMPLE_DEFAULTS or kind in STRING_KINDS:
            raise self.error("DEFAULT %s does not fit the type %s" % (text, kind), module, value.line)
        return Default(text, supported=False)

    @staticmethod
    def string_octets(value):
        """(octets, bit count) of a 'B or 'H string."""
        digits = value.value
        if value.kind == "hstring":
            bits = "".join(format(int(d, 16), "04b") for d in digits)
        else:
            bits = digits
        return Resolver.pack_bits(bits), len(bits)

    @staticmethod
    def pack_bits(bits):
        padded = bits + "0" * (-len(bits) % 8)
        return [int(padded[i:i + 8], 2) for i in range(0, len(padded), 8)]

    def bits_default(self, value, named, module):
        if value.kind in ("bstring", "hstring"):
            return self.string_octets(value)
        if value.kind != "braces":
            return None
        numbers = []
        for item in value.value:
            if item.number is not None or not named or item.name not in named:
                raise self.error("%s is not a named bit" % (item.name or item.number), module, item.line)
            numbers.append(named[item.name])
        length = max(numbers) + 1 if numbers else 0
        bits = ["0"] * length
        for number in numbers:
            bits[number] = "1"
        return self.pack_bits("".join(bits)), length

    def order(self, classes, module):
        """Classes in an order where whatever a class holds by value comes first."""
        by_name = {cls.name: cls for cls in classes}
        done, active, ordered = set(), set(), []

        def visit(cls):
            if cls.name in done:
                return
            if cls.name in active:
                raise self.error("%s contains itself; make the component OPTIONAL" % cls.name,
                                 module, cls.line)
            active.add(cls.name)
            for dep in cls.depends:
                if dep in by_name:
                    visit(by_name[dep])
            active.discard(cls.name)
            done.add(cls.name)
            ordered.append(cls)

        for cls in classes:
            visit(cls)
        return ordered
