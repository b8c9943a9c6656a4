#!/usr/bin/env bash
# Runs the fuzz campaign: builds the fuzz flavour (clang, libFuzzer, ASan+UBSan), runs every
# target one after another for a number of executions, merges what each grew into a minimal
# corpus that replaces fuzz/corpus/<Target>/, and prints a table of the runs.
#   scripts/fuzz.sh [RUNS] [SECONDS] [FILTER...]
# RUNS: executions per target (default 10M; a plain number, or with a k or M suffix).
# SECONDS: a time limit per target as well, with an s suffix (600s), for a campaign that must
# fit a window; the table then says how many executions fitted.
# FILTER: only the targets whose name holds one of these texts (PortList, Keyboard, ...).
# The work of each run (log, grown corpus, crash inputs) stays in build-fuzz/campaign/<Target>/.
# Inputs in fuzz/corpus/ with a name of their own (not a 40-digit hash) are never merged away.
# Runs under nice: the machine is shared. Entropic scheduling is off: on corpora that have
# stopped growing it cost a quarter of every execution and found nothing more.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=10000000
seconds=0
filters=()
for arg in "$@"; do
    case "$arg" in
        -h|--help) sed -n "2,12p" "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
        *[!0-9kKmMsS]*|[!0-9]*|'') filters+=("$arg") ;;
        *[sS]) seconds=${arg%[sS]} ;;
        *[kK]) runs=$(( ${arg%[kK]} * 1000 )) ;;
        *[mM]) runs=$(( ${arg%[mM]} * 1000000 )) ;;
        *) runs=$arg ;;
    esac
done

# Size caps: inputs beyond them only repeat what shorter ones reach, at a cost per byte. The
# targets that drive a whole device, processor or component, and the text parsers, run many
# times more inputs in the same time under a small cap: a few messages, list entries or
# elements already reach every branch that a longer input does.
# The four slowest (a whole component, device or processor per input) run under 64 bytes, a
# few settings records or chunks, at two to three times the executions per second of 256. The
# longer inputs of earlier campaigns stay whole in their corpus and in the replays; a run sees
# their first 64 bytes.
max_len_of() {
    case "$1" in
        DeviceOpenFuzz|HostMethodsFuzz|SerialProcessorFuzz|RawKeyInputFuzz) echo 64 ;;
        PEncodingFuzz|KeyboardPacketFuzz|PBufferFuzz) echo 256 ;;
        BluetoothListFuzz|PortListFuzz|PXmlNodesFuzz|BroadcastXmlFuzz|PINIReaderFuzz|PJniSignatureFuzz|SplitFuzz) echo 512 ;;
        *) echo 4096 ;;
    esac
}

nice -n 15 bash scripts/build.sh fuzz >/dev/null

targets=()
for source in fuzz/*Fuzz.cpp; do
    name=$(basename "$source" .cpp)
    if [ ${#filters[@]} -gt 0 ]; then
        keep=0
        for filter in "${filters[@]}"; do
            [[ "$name" == *"$filter"* ]] && keep=1
        done
        [ $keep -eq 1 ] || continue
    fi
    targets+=("$name")
done
[ ${#targets[@]} -gt 0 ] || { echo "no fuzz target matches: ${filters[*]}" >&2; exit 2; }

# A small quarantine: the default 256 MB costs a page fault per allocation once it cycles.
# Allocation stacks of two frames: unwinding deeper at every malloc and free cost a tenth of
# each execution of the component target. Not fewer: with one frame or none the leak checker
# reports nothing. A crash input saved in artifacts/ replays with full stacks.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:quarantine_size_mb=16:max_malloc_fill_size=0:malloc_context_size=2}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}

rows=()
failed=0
for name in "${targets[@]}"; do
    binary=build-fuzz/fuzz/fuzz_$name
    work=build-fuzz/campaign/$name
    kept=fuzz/corpus/$name
    rm -rf "$work"
    mkdir -p "$work/grown" "$work/artifacts" "$work/merged" "$kept"
    cp -r "$kept/." "$work/grown/" 2>/dev/null || true
    dict=()
    [ -f "fuzz/dict/$name.dict" ] && dict=(-dict="fuzz/dict/$name.dict")
    echo "== $name: $runs executions (max_len $(max_len_of "$name"))"
    status=0
    nice -n 15 "$binary" -runs="$runs" -max_total_time="$seconds" -max_len="$(max_len_of "$name")" -timeout=10 -entropic=0 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$work/artifacts/" "${dict[@]}" \
        "$work/grown" >"$work/log" 2>&1 || status=$?
    tail -n 3 "$work/log" | sed 's/^/   /'

    # The final stats; a crash ends the run early, so the count is what ran before it.
    executions=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$work/log" | tail -n 1 | grep -o '[0-9]*$' || true)
    speed=$(grep -o 'stat::average_exec_per_sec: *[0-9]*' "$work/log" | tail -n 1 | grep -o '[0-9]*$' || true)
    coverage=$(grep -E '^#[0-9]+.*cov: ' "$work/log" | tail -n 1 | grep -oE 'cov: [0-9]+ ft: [0-9]+' | tr -d ':' || true)
    crashes=$(find "$work/artifacts" -type f | wc -l)
    if [ $status -ne 0 ] || [ "$crashes" -ne 0 ] || grep -q 'runtime error:\|ERROR: AddressSanitizer' "$work/log"; then
        failed=1
        echo "   FAILED (exit $status): see $work/log and $work/artifacts/"
    fi

    # A fresh minimal set of what the old corpus and this run reached replaces the old one.
    # Inputs kept by name (seeds, the inputs of faults found) stay; the merge adds to them only
    # the hash-named inputs that reach something they do not.
    find "$kept" -type f ! -regex '.*/[0-9a-f]\{40\}' -exec cp {} "$work/merged/" \;
    # Merged without the run's cap, so that longer inputs of earlier campaigns stay whole.
    nice -n 15 "$binary" -merge=1 -max_len=4096 "$work/merged" "$work/grown" \
        >"$work/merge.log" 2>&1 || { echo "   merge failed: see $work/merge.log"; failed=1; continue; }
    if [ -n "$(ls -A "$work/merged")" ]; then
        rm -rf "$kept"
        mkdir -p "$kept"
        cp "$work/merged/"* "$kept/"
    fi
    files=$(find "$kept" -type f | wc -l)
    rows+=("$(printf '%-22s %12s %9s %-22s %6s %7s' "$name" "${executions:-?}" "${speed:-?}" "${coverage:-?}" "$files" "$crashes")")
done

echo
printf '%-22s %12s %9s %-22s %6s %7s\n' target executions exec/s coverage corpus crashes
for row in "${rows[@]}"; do
    echo "$row"
done
exit $failed
