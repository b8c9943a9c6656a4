#!/usr/bin/env bash
# Builds and runs every test: the plain build (with the JVM suite), the ASan+UBSan build, the
# TSan build (with the JVM suite too, see scripts/tsan.supp) and the aarch64 build under qemu,
# whose library must need and import from the system only what Android has at API 24.
# Stops at the first flavour that fails; prints the time of each build, and ctest its own.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
jobs=${KELMOR_JOBS:-$(nproc)}

run_flavour() {
    local flavour=$1 dir=$2 start=$SECONDS
    echo "=== $flavour: build"
    bash scripts/build.sh "$flavour" >"$dir.build.log" 2>&1 || { tail -n 60 "$dir.build.log"; exit 1; }
    echo "=== $flavour: built in $((SECONDS - start)) s; test"
    ctest --test-dir "$dir" -j "$jobs" --output-on-failure --timeout 600
}

run_flavour plain build
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    run_flavour asan build-asan
# The VM is not built with TSan: what its own code does is not reported, and the suppressions
# name only the VM's libraries.
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:ignore_noninstrumented_modules=1:suppressions=$PWD/scripts/tsan.supp" \
    run_flavour tsan build-tsan
if [ "${KELMOR_NO_CROSS:-}" != 1 ]; then
    # Its ctest library_imports runs scripts/check_imports.sh on the library.
    run_flavour arm64 build-arm64
fi
