#!/usr/bin/env bash
# Runs every benchmark executable in BUILD_DIR/bench and prints its figures. Benchmarks measure;
# they never fail the build on a figure.
set -euo pipefail
build_dir=${1:-build}
shopt -s nullglob
benches=("$build_dir"/bench/bench_*)
if [ ${#benches[@]} -eq 0 ]; then
  echo "run-bench: no benchmarks in $build_dir/bench (run make build first)" >&2
  exit 1
fi
for bench in "${benches[@]}"; do
  [ -x "$bench" ] || continue
  echo "== $(basename "$bench")"
  "$bench"
done
