#!/usr/bin/env bash
# Installs what is missing, builds the companion jar, the library and the host emulator, and
# runs the emulator with the given arguments (none: its demo).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh plain kelmor kelmor-host >build.log 2>&1 || { tail -n 60 build.log; exit 1; }
exec build/host/kelmor-host "$@"
