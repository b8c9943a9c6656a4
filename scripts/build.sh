#!/usr/bin/env bash
# Configures and builds one flavour of the project.
#   scripts/build.sh plain|asan|tsan|arm64|fuzz|coverage [targets...]
# Build folders: build/, build-asan/, build-tsan/, build-arm64/, build-fuzz/, build-coverage/.
set -euo pipefail
cd "$(dirname "$0")/.."

flavour=${1:-plain}
shift || true
jobs=${KELMOR_JOBS:-$(nproc)}
# Line tables only (-g1): stack traces and sanitizer reports keep file and line, and the
# build costs about a third less than with full debug information. For a debugger, configure
# a build of your own with -DCMAKE_BUILD_TYPE=Debug.
release=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG"
         "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG")
case "$flavour" in
    plain) dir=build; options=("${release[@]}") ;;
    # Unoptimised with the asserts on: -O1 runs the stress tests faster, but costs the build
    # more than it saves there.
    asan)  dir=build-asan; options=(-DCMAKE_BUILD_TYPE=Debug "-DCMAKE_C_FLAGS_DEBUG=-g1"
                                    "-DCMAKE_CXX_FLAGS_DEBUG=-g1"
                                    -DKELMOR_SANITIZE=address -DKELMOR_BENCH=OFF) ;;
    tsan)  dir=build-tsan; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG"
                                    "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG"
                                    -DKELMOR_SANITIZE=thread -DKELMOR_BENCH=OFF
                                    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
    # As a handheld gets it: tinyxml2 (fetched by scripts/setup.sh) and the C++ runtime inside.
    arm64) dir=build-arm64; options=("${release[@]}" -DKELMOR_BENCH=OFF -DKELMOR_JVM=OFF
                                     -DCMAKE_TOOLCHAIN_FILE=scripts/aarch64-linux-gnu.cmake
                                     -DKELMOR_TINYXML2_SOURCE="$PWD/third_party/tinyxml2"
                                     -DKELMOR_STATIC_RUNTIME=ON) ;;
    fuzz)  dir=build-fuzz; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMOR_FUZZ=ON -DKELMOR_SANITIZE=address
                                    -DKELMOR_TESTS=OFF -DKELMOR_BENCH=OFF -DKELMOR_JVM=OFF
                                    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
    # gcc's line counters, unoptimised so every line maps to code; the JVM suites stay in so
    # that what only Java reaches is counted too.
    coverage) dir=build-coverage; options=(-DCMAKE_BUILD_TYPE=Debug -DKELMOR_BENCH=OFF
                                           -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++
                                           "-DCMAKE_C_FLAGS=--coverage -O0" "-DCMAKE_CXX_FLAGS=--coverage -O0"
                                           -DCMAKE_EXE_LINKER_FLAGS=--coverage
                                           -DCMAKE_SHARED_LINKER_FLAGS=--coverage) ;;
    *) echo "unknown flavour $flavour (plain, asan, tsan, arm64, fuzz, coverage)" >&2; exit 2 ;;
esac

cmake -S . -B "$dir" "${options[@]}" >/dev/null
if [ $# -gt 0 ]; then
    cmake --build "$dir" -j "$jobs" --target "$@"
else
    cmake --build "$dir" -j "$jobs"
fi
