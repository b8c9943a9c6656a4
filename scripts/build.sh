#!/usr/bin/env bash
# Configures and builds one flavour of the project.
#   scripts/build.sh plain|asan|tsan|arm64|fuzz [targets...]
# Build folders: build/, build-asan/, build-tsan/, build-arm64/, build-fuzz/.
set -euo pipefail
cd "$(dirname "$0")/.."

flavour=${1:-plain}
shift || true
jobs=${KELMOR_JOBS:-$(nproc)}
case "$flavour" in
    plain) dir=build; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
    asan)  dir=build-asan; options=(-DCMAKE_BUILD_TYPE=Debug -DKELMOR_SANITIZE=address -DKELMOR_BENCH=OFF) ;;
    tsan)  dir=build-tsan; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMOR_SANITIZE=thread
                                    -DKELMOR_BENCH=OFF -DKELMOR_JVM=OFF
                                    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
    arm64) dir=build-arm64; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMOR_BENCH=OFF -DKELMOR_JVM=OFF
                                     -DCMAKE_TOOLCHAIN_FILE=scripts/aarch64-linux-gnu.cmake) ;;
    fuzz)  dir=build-fuzz; options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMOR_FUZZ=ON -DKELMOR_SANITIZE=address
                                    -DKELMOR_TESTS=OFF -DKELMOR_BENCH=OFF -DKELMOR_JVM=OFF
                                    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
    *) echo "unknown flavour $flavour (plain, asan, tsan, arm64, fuzz)" >&2; exit 2 ;;
esac

cmake -S . -B "$dir" "${options[@]}" >/dev/null
if [ $# -gt 0 ]; then
    cmake --build "$dir" -j "$jobs" --target "$@"
else
    cmake --build "$dir" -j "$jobs"
fi
