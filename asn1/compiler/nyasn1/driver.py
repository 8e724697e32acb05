"""Reads module files, resolves them together and writes the C++ files."""

import os

from .cppemit import emit
from .errors import Asn1Error
from .parser import parse_file
from .resolver import Resolver


def basename_of(path):
    return os.path.splitext(os.path.basename(path))[0]


def load(paths, emit_them, prefix, units, prefixes, basenames):
    for path in paths:
        for module in parse_file(path):
            if module.name in prefixes:
                raise Asn1Error("module %s is defined twice" % module.name, path, module.line)
            units.append((module, basename_of(path), emit_them))
            prefixes[module.name] = prefix
            basenames[module.name] = basename_of(path)


def compile_modules(sources, out_dir, include_prefix, imports=(), import_prefix=None):
    """Generates <base>.h and <base>.cc in out_dir for every module in sources
    (files named <base>.asn1); imports are module files whose definitions may be
    imported but which are generated elsewhere. Returns the paths written."""
    stems = [basename_of(path) for path in sources]
    for stem in set(stems):
        if stems.count(stem) > 1:
            raise Asn1Error("two module files are named %s" % stem)
    units, prefixes, basenames = [], {}, {}
    load(imports, False, import_prefix or include_prefix, units, prefixes, basenames)
    load(sources, True, include_prefix, units, prefixes, basenames)
    outputs = []
    os.makedirs(out_dir, exist_ok=True)
    for out in Resolver(units).resolve():
        header, source = emit(out, prefixes, basenames, os.path.basename(out.module.filename))
        for suffix, text in ((".h", header), (".cc", source)):
            path = os.path.join(out_dir, out.basename + suffix)
            with open(path, "w", encoding="utf-8") as f:
                f.write(text)
            outputs.append(path)
    return outputs
