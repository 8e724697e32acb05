#!/usr/bin/env bash
# Builds the optimised tree and runs the benchmarks, nycert beside OpenSSL
# (and mbedTLS for certificate and CRL decoding):
# three repetitions of each with their aggregates as they come, then the
# machine and the summary table in markdown. Extra arguments go to the
# benchmark program, e.g. --benchmark_filter=cert/.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
nycert_setup "${nycert_bench_packages[@]}"
cd "$nycert_root"

nycert_build build/release -DCMAKE_BUILD_TYPE=Release -DNYCERT_WERROR=ON
build/release/bench/nycert_bench --benchmark_repetitions=3 --benchmark_report_aggregates_only=true "$@"
