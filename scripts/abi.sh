#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Keeps the binary interface (ABI) of the shared libraries: with libabigail (Debian's
# abigail-tools), takes the ABI of each library of a build as its installed headers declare it,
# and compares it with the baseline kept in abi/.
#
#   scripts/abi.sh check BUILD_DIR    # fails on any incompatible change, naming it; reports additions
#   scripts/abi.sh update BUILD_DIR   # makes this build's ABI the baseline (see the README first)
#
# The build needs debug information (RelWithDebInfo or Debug, as scripts/test.sh builds). A
# Qt 5 build is compared with abi/qt5/, a Qt 6 build with abi/qt6/; the Qt-free libraries of
# either with abi/.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
usage() { sed -n '7,8p' "$0" >&2; exit 2; }
[ $# -eq 2 ] || usage
mode=$1
build=$(realpath "$2")
case "$mode" in check | update) ;; *) usage ;; esac
[ -f "$build/CMakeCache.txt" ] || { echo "$build is no CMake build directory" >&2; exit 2; }
bash "$root/scripts/install-packages.sh" abigail-tools binutils

qt=$(sed -n 's/^QVHID_QT_VERSION:[A-Z]*=//p' "$build/CMakeCache.txt")
suffix=""
[ "$qt" = 6 ] && suffix=-qt6

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
include=$work/prefix/include
libdir=$(dirname "$(find "$work/prefix" -name "libqvhid$suffix.so.1" | head -n 1)")

# What the installed headers name, comments and forward declarations left out: a class only
# declared there ("struct Foo;") is not API.
find "$include" -name '*.h' -exec cat {} + |
    sed -e 's|//.*||' -e '/^[[:space:]]*\(class\|struct\)[[:space:]]\+[A-Za-z_0-9]\+;/d' |
    grep -o '[A-Za-z_][A-Za-z_0-9]*' | sort -u >"$work/api-names"

# Every symbol a library exports whose class, or whose own name for a free function, the
# installed headers do not name is the library's machinery, exported for the tools and tests of
# this tree: it is no API and is left out of the ABI.
machinery_suppressions() {
    local lib=$1 symbol demangled owner functions="" variables=""
    while read -r kind symbol; do
        demangled=$(c++filt "$symbol")
        owner=$(sed -e 's/^\(typeinfo name for \|typeinfo for \|vtable for \|guard variable for \|non-virtual thunk to \)//' \
                    -e 's/\[abi:[a-z0-9]*\]//g' -e ':strip' -e 's/<[^<>]*>//g' -e 't strip' -e 's/(.*//' \
                    -e 's/^\(\(qv\|hid\|common\|logger\|virt\)::\)*//' -e 's/::.*//' <<<"$demangled")
        grep -q -x -F -e "$owner" "$work/api-names" && continue
        case "$kind" in
            T | W | i) functions+="${functions:+|}$symbol" ;;
            *) variables+="${variables:+|}$symbol" ;;
        esac
    done < <(nm -D --defined-only "$lib" | awk '{ print $2, $3 }')
    if [ -n "$functions" ]; then
        printf '[suppress_function]\n  label = machinery\n  symbol_name_regexp = ^(%s)$\n  drop = yes\n' "$functions"
    fi
    if [ -n "$variables" ]; then
        printf '[suppress_variable]\n  label = machinery\n  symbol_name_regexp = ^(%s)$\n  drop = yes\n' "$variables"
    fi
}

# abi_of LIBRARY OUTPUT: the library's ABI, from the installed headers, without locations (so
# that the baseline changes only when the ABI does).
abi_of() {
    local lib=$1 out=$2 headers=() dir
    for dir in "$include"/*/; do headers+=(--headers-dir "$dir"); done
    machinery_suppressions "$lib" >"$work/suppressions"
    abidw "${headers[@]}" --drop-private-types --exported-interfaces-only --no-show-locs --no-corpus-path \
        --no-comp-dir-path --suppressions "$work/suppressions" --out-file "$work/abidw.out" "$lib"
    # The translation units by their paths in the tree, wherever it was checked out.
    sed -e "s|path='$build/|path='build/|" -e "s|path='$root/|path='|" "$work/abidw.out" >"$out"
}

status=0
for lib in "libqvhid$suffix" "libqvcommon$suffix" libhidapi_parser libqvhid_virtual; do
    case "$lib" in
        libqvhid$suffix | libqvcommon$suffix) baseline=$root/abi/qt$qt/$lib.abi ;;
        *) baseline=$root/abi/$lib.abi ;;
    esac
    abi_of "$libdir/$lib.so.1" "$work/$lib.abi"
    if [ "$mode" = update ]; then
        mkdir -p "$(dirname "$baseline")"
        cp "$work/$lib.abi" "$baseline"
        echo "$lib: baseline written to ${baseline#"$root"/}"
        continue
    fi
    if [ ! -f "$baseline" ]; then
        echo "FAIL: $lib has no baseline ${baseline#"$root"/}"
        status=1
        continue
    fi
    # abidiff's exit code: bit 1 an error, bit 4 a change, bit 8 an incompatible change. A
    # change is compatible only when nothing was removed or changed (additions alone).
    set +e
    abidiff --no-show-locs "$baseline" "$work/$lib.abi" >"$work/$lib.diff" 2>&1
    result=$?
    set -e
    if [ $((result & 3)) -ne 0 ]; then
        echo "FAIL: abidiff could not compare $lib with its baseline:"
        cat "$work/$lib.diff"
        status=1
    elif [ $((result & 12)) -eq 0 ]; then
        echo "$lib: the ABI is the baseline's"
    elif [ $((result & 8)) -ne 0 ] ||
        grep -q -E '([1-9][0-9]* Removed|[1-9][0-9]* Changed|[1-9][0-9]* removed|[1-9][0-9]* changed)' "$work/$lib.diff" ||
        grep -q -E '^(ELF SONAME changed|SONAME changed|architecture changed)' "$work/$lib.diff"; then
        echo "FAIL: $lib changed its ABI incompatibly against ${baseline#"$root"/}:"
        cat "$work/$lib.diff"
        status=1
    else
        echo "$lib: compatible additions to the baseline's ABI (run scripts/abi.sh update to take them in):"
        cat "$work/$lib.diff"
    fi
done
exit $status
