#!/usr/bin/env bash
# Builds nycert and validates the bundled sample PKI (examples/data/pki) with
# `nycert verify`: the good chain, the revoked one, a bag in the wrong order
# without its root, and the good chain after its end entity expired.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup
cd "$nycert_root"
nycert_build build/release -DCMAKE_BUILD_TYPE=Release >/dev/null

nycert=build/release/tools/nycert
pki=examples/data/pki

# One validation: the title, the command as a user types it, and what it prints.
verify() {
  local title="$1"
  shift
  printf '== %s\n$ nycert verify %s\n' "$title" "$*"
  local status=0
  "$nycert" verify "$@" || status=$?
  printf '(exit status %d)\n\n' "$status"
}

trust=(--root "$pki/root.pem" --crl "$pki/crls.pem")
verify "The good chain" "${trust[@]}" --at 2026-06-01 "$pki/good_chain.pem"
verify "A revoked end entity" "${trust[@]}" --at 2026-06-01 "$pki/revoked_chain.pem"
verify "A bag in the wrong order, without its root" "${trust[@]}" --at 2026-06-01 "$pki/unordered_bag.pem"
verify "The good chain after its end entity expired" "${trust[@]}" --at 2031-06-01 "$pki/good_chain.pem"
