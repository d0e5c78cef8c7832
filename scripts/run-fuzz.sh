#!/usr/bin/env bash
# Runs every libFuzzer target in BUILD_DIR/fuzz for SECONDS each, on a working copy of its seed
# corpus (fuzz/corpus-work/<target>, not committed), and prints the executions per target. Fails
# when a target finds a crash, a leak or a time-out; the input that did it is left in the working
# copy as crash-*, leak-* or timeout-*.
#   scripts/run-fuzz.sh [BUILD_DIR] [SECONDS] [TARGET ...]
# With FUZZ_MERGE=1 the inputs of the run that reach code the committed corpus does not are added
# to fuzz/corpus/<target> (libFuzzer's merge keeps only those), ready to be committed.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build-fuzz}
seconds=${2:-60}
shift $(( $# < 2 ? $# : 2 ))

shopt -s nullglob
fuzzers=("$build_dir"/fuzz/fuzz_*)
if [ $# -gt 0 ]; then
  fuzzers=()
  for target in "$@"; do fuzzers+=("$build_dir/fuzz/$target"); done
fi
if [ ${#fuzzers[@]} -eq 0 ]; then
  echo "run-fuzz: no fuzz targets in $build_dir/fuzz (make fuzz builds them)" >&2
  exit 1
fi

failed=()
for fuzzer in "${fuzzers[@]}"; do
  [ -x "$fuzzer" ] || continue
  name=$(basename "$fuzzer")
  work=fuzz/corpus-work/$name
  mkdir -p "$work"
  if [ -d "fuzz/corpus/$name" ]; then
    cp -n "fuzz/corpus/$name"/* "$work"/ 2>/dev/null || true
  fi
  log=$work.log
  status=0
  "$fuzzer" -max_total_time="$seconds" -print_final_stats=1 -timeout=10 -rss_limit_mb=2048 \
    -artifact_prefix="$work/" "$work" >"$log" 2>&1 </dev/null || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  echo "$name: ${runs:-0} executions in $seconds s, corpus $(ls "$work" | grep -cv '^\(crash\|leak\|timeout\|oom\)-') entries"
  if [ "$status" -ne 0 ]; then
    echo "run-fuzz: $name failed (exit $status); last lines of $log:" >&2
    tail -n 30 "$log" >&2
    failed+=("$name")
  elif [ "${FUZZ_MERGE:-0}" = 1 ]; then
    mkdir -p "fuzz/corpus/$name"
    before=$(ls "fuzz/corpus/$name" | wc -l)
    "$fuzzer" -merge=1 -timeout=10 -rss_limit_mb=2048 "fuzz/corpus/$name" "$work" >"$work.merge.log" 2>&1 </dev/null
    echo "$name: $(( $(ls "fuzz/corpus/$name" | wc -l) - before )) corpus entries added that raise coverage"
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "run-fuzz: findings in ${failed[*]}" >&2
  exit 1
fi
