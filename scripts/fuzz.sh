#!/usr/bin/env bash
# Runs a libFuzzer campaign on one fuzz target: scripts/fuzz.sh TARGET SECONDS.
# Starts from the committed seeds in fuzz/corpus/TARGET and keeps what it
# finds in build/fuzz/corpus/TARGET across runs. A crashing input is left in
# build/fuzz/findings/TARGET/; once fixed, commit it to fuzz/corpus/TARGET so
# test.sh replays it.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
if [ $# -ne 2 ]; then
  echo "usage: scripts/fuzz.sh TARGET SECONDS   (targets: $(cd "$nycert_root/fuzz" && ls fuzz_*.cc | sed 's/\.cc$//' | tr '\n' ' '))" >&2
  exit 2
fi
target=$1 seconds=$2
nycert_setup "${nycert_fuzz_packages[@]}"
cd "$nycert_root"
[ -f "fuzz/$target.cc" ] || { echo "no fuzz target $target" >&2; exit 2; }
nycert_build_fuzz >/dev/null

work=build/fuzz/corpus/$target findings=build/fuzz/findings/$target
mkdir -p "$work" "$findings"
log=build/fuzz/$target.log
status=0
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  "build/fuzz/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$findings/" "$work" "fuzz/corpus/$target" >"$log" 2>&1 || status=$?

stat() { sed -n "s/^stat::$1: *//p" "$log"; }
edges=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -1)
echo "$target: $(stat number_of_executed_units) runs in ${seconds} s, $(stat average_exec_per_sec) exec/s, ${edges:-cov: ?}," \
  "$(stat new_units_added) new inputs, corpus $(find "$work" -type f | wc -l) files, peak RSS $(stat peak_rss_mb) MB"
if [ "$status" -ne 0 ]; then
  echo "$target: finding (exit $status); input in $findings/, log in $log" >&2
  grep -m 5 -E "ERROR|SUMMARY|runtime error" "$log" >&2 || true
fi
exit "$status"
