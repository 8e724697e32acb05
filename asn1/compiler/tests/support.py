"""Helpers shared by the compiler tests."""

from nyasn1.parser import parse_text
from nyasn1.resolver import Resolver


def module_text(body, name="M", tags="", imports=""):
    """A module named name around body."""
    header = "%s DEFINITIONS %s ::= BEGIN\n" % (name, tags + " TAGS" if tags else "")
    return header + (imports + "\n" if imports else "") + body + "\nEND\n"


def resolve(*texts):
    """Resolves module texts together; every module is emitted. Returns
    {module name: ModuleOut}."""
    units = []
    for index, text in enumerate(texts):
        for module in parse_text(text, "m%d.asn1" % index):
            units.append((module, "m%d" % index, True))
    return {out.name: out for out in Resolver(units).resolve()}


def classes(text):
    """{class name: ClassDef} of the one module in text."""
    (out,) = resolve(text).values()
    return {cls.name: cls for cls in out.classes}
