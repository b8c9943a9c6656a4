#!/usr/bin/env bash
# Installs with apt-get whatever the build, the tests and the aarch64 cross build still lack.
# Safe to run again: installed packages are left alone, and apt-get runs only when needed.
set -euo pipefail

if [ "$(id -u)" -ne 0 ]; then
    echo "setup.sh installs packages with apt-get: run it as root" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive

native=(cmake make g++ python3 pkg-config gcovr
        libgtest-dev libgmock-dev libbenchmark-dev libtinyxml2-dev libboost-dev
        android-liblog-dev openjdk-17-jdk-headless junit4
        clang libclang-rt-14-dev)
cross=(g++-aarch64-linux-gnu qemu-user
       libc6:arm64 libstdc++6:arm64
       libtinyxml2-dev:arm64 libgtest-dev:arm64 android-liblog-dev:arm64)

installed() {
    dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"
}

updated=no
if [ "${KELMOR_NO_CROSS:-}" != 1 ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
    dpkg --add-architecture arm64
    apt-get update -qq
    updated=yes
fi

missing=()
wanted=("${native[@]}")
[ "${KELMOR_NO_CROSS:-}" = 1 ] || wanted+=("${cross[@]}")
for package in "${wanted[@]}"; do
    installed "$package" || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    [ "$updated" = yes ] || apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
