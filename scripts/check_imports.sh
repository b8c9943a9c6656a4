#!/usr/bin/env bash
# Checks that the aarch64 libkelmor.so asks Android at API 24 only for what it has: the library
# needs no shared library but libc, libm, libdl, liblog and the dynamic loader, and every symbol
# it imports is exported to apps by bionic's libc, libm or libdl (scripts/data/bionic-arm64-api24.txt)
# or by liblog (__android_log_*), or is on the short list below of what only a glibc build imports.
#   scripts/check_imports.sh [path/to/libkelmor.so]     (default: build-arm64/libkelmor.so)
# Names every offending library and symbol and exits 1 when the check fails.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
library=${1:-$(dirname "$here")/build-arm64/libkelmor.so}

# Imported by the glibc cross build only. The Android build links the NDK's libc++, libc++abi,
# libunwind and compiler-rt, which ask bionic for its own names instead; so none of these reach
# a handheld. Anything else missing from bionic at API 24 is a fault of ours.
glibc_only=$(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' <<'LIST'
# glibc's names for calls that bionic exports under its own: errno, C99 sscanf (tinyxml2's).
__errno_location
__isoc99_sscanf
# libstdc++'s locale model on glibc (extended locale calls, gettext for its messages, iconv for
# codecvt); libc++ on Android keeps to bionic's own locale calls.
__duplocale __freelocale __newlocale __uselocale __nl_langinfo_l
__iswctype_l __wctype_l __towlower_l __towupper_l
__strcoll_l __strxfrm_l __strftime_l __strtod_l __strtof_l __wcscoll_l __wcsxfrm_l __wcsftime_l
bindtextdomain bind_textdomain_codeset dgettext gettext
iconv iconv_open iconv_close
# libstdc++'s std::random_device; libc++ on Android reads /dev/urandom.
getentropy
# libstdc++'s shortcut for single-threaded processes and its weak test for pthreads.
__libc_single_threaded
__pthread_key_create
# libgcc: the unwinder's frame lookup and the CPU feature probe of the outline atomics.
_dl_find_object
__getauxval
# Weak references that glibc's start files and libstdc++ leave unresolved and never call
# unresolved: profiling, transactional memory, and the pure virtual handler.
__gmon_start__
_ITM_registerTMCloneTable _ITM_deregisterTMCloneTable _ITM_addUserCommitAction
_ITM_RU1 _ITM_RU8 _ITM_memcpyRnWt _ITM_memcpyRtWn _ZGTtnam _ZGTtdlPv
__cxa_pure_virtual
LIST
)

if [ ! -f "$library" ]; then
    echo "check_imports: no library at $library" >&2
    exit 1
fi
failed=0

needed=$(readelf -d -W "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
foreign=$(grep -vE '^(libc|libm|libdl|liblog)\.so(\.[0-9]+)*$|^ld-linux-aarch64\.so\.1$' <<<"$needed" || true)
if [ -n "$foreign" ]; then
    echo "check_imports: $library needs libraries a handheld does not have:"
    sed 's/^/    /' <<<"$foreign"
    failed=1
fi

# Undefined dynamic symbols, without their glibc version suffix.
imports=$(readelf --dyn-syms -W "$library" | awk '$7 == "UND" && $8 != "" { sub(/@.*/, "", $8); print $8 }' | sort -u)
known=$( { grep -v '^#' "$here/data/bionic-arm64-api24.txt"; tr ' ' '\n' <<<"$glibc_only"; } | sed '/^$/d' | sort -u)
missing=$(comm -23 <(echo "$imports") <(echo "$known") | grep -v '^__android_log_' || true)
if [ -n "$missing" ]; then
    echo "check_imports: $library imports symbols that bionic lacks at API 24 on arm64:"
    sed 's/^/    /' <<<"$missing"
    failed=1
fi

if [ "$failed" = 0 ]; then
    echo "check_imports: $(wc -l <<<"$imports") imports, all in bionic at API 24 or liblog" \
         "or glibc-only; needs $(echo $needed)"
fi
exit "$failed"
