#!/usr/bin/env bash
# Builds nycert and runs its main job: makes a sample PKI with the nycert
# program (a root, an intermediate, a good and a revoked end entity, and the
# CRLs), then validates four chains against the root and the CRLs, at a fixed
# moment so the verdicts do not change as the samples age. Then it prints a
# sample chain with the show command.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup
cd "$nycert_root"
nycert_build build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
nycert=build/release/tools/nycert
pki=$(mktemp -d)
trap 'rm -rf "$pki"' EXIT

echo "== making the sample PKI with nycert in $pki"
bash examples/make_demo_pki.sh "$nycert" "$pki"
ls "$pki"
echo

verify() {
  local title=$1 at=$2 chain=$3
  echo "== $title"
  # Exit status 1 means "not valid", which is a verdict here, not a failure.
  "$nycert" verify --root "$pki/root.pem" --crl "$pki/crls.pem" --at "$at" "$pki/$chain" || [ $? -eq 1 ]
  echo
}

verify "the good chain" 2026-06-01 good_chain.pem
verify "the chain of a revoked certificate" 2026-06-01 revoked_chain.pem
verify "a bag in the wrong order without its root (sorted and repaired)" 2026-06-01 unordered_bag.pem
verify "the good chain after its end entity expired" 2031-06-01T12:00:00 good_chain.pem

echo "== a chain in PEM with text around each block, and a root in DER"
"$nycert" show -d 1 examples/data/demo_chain.pem examples/data/demo_root.der
