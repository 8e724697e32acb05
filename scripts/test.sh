#!/usr/bin/env bash
# Builds and runs the whole suite: an optimised build, a build under
# AddressSanitizer and UndefinedBehaviorSanitizer, the multi-threaded tests
# under ThreadSanitizer, and (with clang) the fuzz targets under libFuzzer
# replaying their seed corpora.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup "${nycert_fuzz_packages[@]}"
cd "$nycert_root"
jobs=$(nproc)

echo "== release build"
nycert_build build/release -DCMAKE_BUILD_TYPE=Release -DNYCERT_WERROR=ON
ctest --test-dir build/release --output-on-failure -j "$jobs"

echo "== sanitizer build (ASan + UBSan)"
nycert_build build/asan -DCMAKE_BUILD_TYPE=Debug -DNYCERT_SANITIZE=ON -DNYCERT_WERROR=ON -DNYCERT_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/asan --output-on-failure -j "$jobs"

echo "== ThreadSanitizer build, thread stress tests"
nycert_build build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNYCERT_TSAN=ON -DNYCERT_WERROR=ON \
  -DNYCERT_BUILD_BENCH=OFF -DNYCERT_BUILD_FUZZ=OFF -DNYCERT_BUILD_EXAMPLES=OFF
TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build/tsan --output-on-failure -j "$jobs" -R ThreadStress --no-tests=error

if command -v clang++ >/dev/null; then
  echo "== libFuzzer build, seed corpora"
  nycert_build_fuzz
  ctest --test-dir build/fuzz --output-on-failure -R '^fuzz\.'
fi
