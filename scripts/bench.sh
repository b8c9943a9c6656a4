#!/usr/bin/env bash
# Builds the plain flavour's benchmarks and runs every one of them, the benchmarks of each
# program in random order and repeated, so that a figure does not depend on what ran before it.
#   scripts/bench.sh [--benchmark_filter=REGEX ...]   (extra arguments go to every program)
# KELMOR_BENCH_REPETITIONS (default 5) sets the repetitions; only the aggregates are printed.
set -euo pipefail
cd "$(dirname "$0")/.."

benches=()
for source in bench/*Bench.cpp; do
    benches+=("bench_$(basename "$source" .cpp)")
done
bash scripts/build.sh plain "${benches[@]}"

status=0
for name in "${benches[@]}"; do
    program=build/bench/$name
    [ -x "$program" ] || { echo "== $name: not built (no JVM?)"; continue; }
    echo "== $name"
    # The key packets' lines in the system log (stderr on a desktop) are left out.
    "$program" --benchmark_enable_random_interleaving=true \
        --benchmark_repetitions="${KELMOR_BENCH_REPETITIONS:-5}" \
        --benchmark_report_aggregates_only=true "$@" 2> >(grep -v '^Strake ' >&2) || status=1
done
exit $status
