#!/usr/bin/env bash
# Soak test, not part of the suite: for SECONDS, several threads validate a
# good and a revoked chain of a fresh sample PKI while its CRLs are served
# over HTTP by python3's http.server on 127.0.0.1, fetched and prefetched
# through the CRL cache; the CRL database is garbage-collected and a thread
# signs on the key-task pool. Prints the verdicts, the wrong verdicts and
# errors (both must be 0) and the resident memory over time.
#
#   bash scripts/soak.sh SECONDS [release|asan|tsan]
#
# asan and tsan run it in test.sh's sanitizer builds (AddressSanitizer with
# UndefinedBehaviorSanitizer, or ThreadSanitizer), stopping at the first report.
set -euo pipefail
seconds=${1:?usage: soak.sh SECONDS [release|asan|tsan]}
build=${2:-release}
source "$(dirname "$0")/setup.sh"
nycert_setup
cd "$nycert_root"
case $build in
  release) flags=(-DCMAKE_BUILD_TYPE=Release) ;;
  asan) flags=(-DCMAKE_BUILD_TYPE=Debug -DNYCERT_SANITIZE=ON -DNYCERT_BUILD_BENCH=OFF) ;;
  tsan) flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DNYCERT_TSAN=ON -DNYCERT_BUILD_BENCH=OFF -DNYCERT_BUILD_FUZZ=OFF
               -DNYCERT_BUILD_EXAMPLES=OFF) ;;
  *) echo "usage: soak.sh SECONDS [release|asan|tsan]" >&2; exit 2 ;;
esac
cmake -S . -B "build/$build" -G Ninja "${flags[@]}" -DNYCERT_WERROR=ON >/dev/null
cmake --build "build/$build" --target nycert_cli nycert_soak >/dev/null
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1
nycert=build/$build/tools/nycert
work=$(mktemp -d)
server=
cleanup() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# A free port on the loopback interface for the CRL server.
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
pki=$work/pki
bash examples/make_demo_pki.sh "$nycert" "$pki" "http://127.0.0.1:$port" >/dev/null
# An expired CRL of the root, for the database's garbage collector.
"$nycert" crl-sign --ca-cert "$pki/root.pem" --ca-key "$pki/root.key" --days 1 --start 2025-01-01 \
  -o "$pki/expired.crl.pem"
mkdir "$pki/crldb" "$work/www"
cp "$pki/root.crl.pem" "$work/www/root.crl"
cp "$pki/intermediate.crl.pem" "$work/www/intermediate.crl"

python3 -m http.server --bind 127.0.0.1 --directory "$work/www" "$port" 2>"$work/http.log" >/dev/null &
server=$!
for _ in $(seq 50); do
  python3 -c "import urllib.request; urllib.request.urlopen('http://127.0.0.1:$port/root.crl')" 2>/dev/null && break
  sleep 0.1
done

echo "== soak for $seconds s: CRLs at http://127.0.0.1:$port"
status=0
KEYTASK_MT=${KEYTASK_MT:-2} "build/$build/tests/nycert_soak" "$pki" "$seconds" || status=$?
echo "HTTP requests served: $(grep -c '"GET ' "$work/http.log" || true)"
exit "$status"
