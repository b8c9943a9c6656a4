#!/usr/bin/env bash
# Installs with apt-get whatever the build, the tests and the aarch64 cross build still lack,
# and fetches Debian's tinyxml2 source into third_party/tinyxml2 for the aarch64 build, which
# compiles it into the library. Safe to run again: installed packages and a fetched source are
# left alone, and apt-get runs only when needed.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
    echo "setup.sh installs packages with apt-get: run it as root" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive

native=(cmake make g++ python3 pkg-config gcovr
        libgtest-dev libgmock-dev libbenchmark-dev libtinyxml2-dev libboost-dev
        android-liblog-dev openjdk-17-jdk-headless junit4
        clang libclang-rt-14-dev)
cross=(g++-aarch64-linux-gnu qemu-user dpkg-dev
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

# The aarch64 library carries its own XML parser, built from the distribution's source package;
# apt-get finds it once a deb-src line for this release is there.
if [ "${KELMOR_NO_CROSS:-}" != 1 ] && [ ! -f third_party/tinyxml2/tinyxml2.cpp ]; then
    if ! apt-cache showsrc tinyxml2 2>/dev/null | grep -q '^Package:'; then
        . /etc/os-release
        cat >/etc/apt/sources.list.d/kelmor-src.sources <<SOURCES
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: $VERSION_CODENAME $VERSION_CODENAME-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SOURCES
        apt-get update -qq
    fi
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    (cd "$work" && apt-get source -qq -o APT::Sandbox::User=root tinyxml2 >/dev/null)
    mkdir -p third_party
    rm -rf third_party/tinyxml2
    mv "$work"/tinyxml2-*/ third_party/tinyxml2
fi
