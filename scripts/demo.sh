#!/usr/bin/env bash
# Builds nycert and runs the nycert program on the bundled sample data: a
# three-certificate chain in PEM with openssl's text around each block, and a
# root certificate in DER.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup
cd "$nycert_root"
nycert_build build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
build/release/tools/nycert show -d 2 examples/data/demo_chain.pem examples/data/demo_root.der
