#!/usr/bin/env bash
# Builds nycert and runs the demonstration on the bundled sample data.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup
cd "$nycert_root"
nycert_build build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
for sample in examples/data/*.der; do
  build/release/examples/der_roundtrip "$sample"
done
