#!/usr/bin/env python3
"""Checks that the library's own includes point only down its layers.

Reads every #include "nycert/..." in the library's sources and headers and
reports, as file:line, each one that points up the layer order or closes a
circle between two folders. Exits with 1 when it found any.
Usage: check_layering.py SOURCE_ROOT
"""
import os
import re
import sys

# Bottom up. A folder may include its own headers and those of folders before it.
LAYERS = [
    "platform",
    "buffers",
    "asn1/runtime",
    "asn1/modules",
    "names",
    "keys",
    "certs",
    "crl",
    "keystore",
    "validate",
    "enroll",
]
RANK = {folder: rank for rank, folder in enumerate(LAYERS)}
INCLUDE = re.compile(r'^\s*#\s*include\s*"nycert/([^"]+)"')


def folder_of(path):
    """The library folder a path inside the tree (or after "nycert/") is in, or None."""
    for folder in sorted(LAYERS, key=len, reverse=True):
        if path.startswith(folder + "/"):
            return folder
    return None


def includes(root):
    """(file, line number, including folder, included path) of every library include."""
    for folder in LAYERS:
        directory = os.path.join(root, folder)
        if not os.path.isdir(directory):
            continue
        for name in sorted(os.listdir(directory)):
            if not name.endswith((".h", ".cc")):
                continue
            relative = folder + "/" + name
            with open(os.path.join(directory, name), encoding="utf-8", errors="replace") as source:
                for number, text in enumerate(source, 1):
                    match = INCLUDE.match(text)
                    if match:
                        yield relative, number, folder, match.group(1)


def violations(root):
    found = []
    edges = {}
    for relative, number, folder, target in includes(root):
        target_folder = folder_of(target)
        if target_folder is None:
            found.append(f"{relative}:{number}: includes nycert/{target}, which is outside the library's layers")
            continue
        if target_folder == folder:
            continue
        edges.setdefault((folder, target_folder), (relative, number, target))
        if RANK[target_folder] > RANK[folder]:
            found.append(f"{relative}:{number}: includes nycert/{target}: {folder}/ sits below {target_folder}/")
    for (lower, upper), (relative, number, target) in sorted(edges.items()):
        back = edges.get((upper, lower))
        if back and RANK[lower] < RANK[upper]:
            found.append(f"{relative}:{number}: includes nycert/{target}, and {back[0]}:{back[1]} includes "
                         f"nycert/{back[2]}: a circle between {lower}/ and {upper}/")
    return found


def main():
    if len(sys.argv) != 2:
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    found = violations(sys.argv[1])
    for line in found:
        print(line)
    if found:
        print(f"{len(found)} include(s) against the layer order: {' < '.join(LAYERS)}")
        return 1
    print("every library include points down the layer order")
    return 0


if __name__ == "__main__":
    sys.exit(main())
