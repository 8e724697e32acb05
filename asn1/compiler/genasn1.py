#!/usr/bin/env python3
"""nycert ASN.1 compiler: writes a C++ header and source per ASN.1 module.

  genasn1.py --out-dir DIR --include-prefix nycert/asn1/modules \
             [--import FILE ... --import-prefix PREFIX] MODULE.asn1 ...

Each MODULE.asn1 gives DIR/MODULE.h (included as "PREFIX/MODULE.h") and
DIR/MODULE.cc. Modules given with --import are read for their definitions
only (their code is generated elsewhere, under --import-prefix).
"""

import argparse
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from nyasn1.driver import compile_modules  # noqa: E402
from nyasn1.errors import Asn1Error  # noqa: E402


def main(argv=None):
    parser = argparse.ArgumentParser(description="Generate C++ codec classes from ASN.1 modules.")
    parser.add_argument("modules", nargs="+", help="ASN.1 module files to generate code for")
    parser.add_argument("--out-dir", required=True, help="directory for the generated files")
    parser.add_argument("--include-prefix", required=True, help="include path of the generated headers")
    parser.add_argument("--import", dest="imports", action="append", default=[],
                        help="a module file whose definitions may be imported")
    parser.add_argument("--import-prefix", help="include path of the headers of --import modules")
    args = parser.parse_args(argv)
    try:
        compile_modules(args.modules, args.out_dir, args.include_prefix, args.imports, args.import_prefix)
    except Asn1Error as err:
        print("genasn1: error: %s" % err, file=sys.stderr)
        return 1
    except OSError as err:
        print("genasn1: error: %s" % err, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
