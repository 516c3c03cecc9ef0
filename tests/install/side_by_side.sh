#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Installs a Qt 5 and a Qt 6 build of the project into one prefix and checks that they live
# side by side: the only files both install are the Qt-free ones (the report-parser and
# virtual-headset libraries with their headers and pkg-config files), the text ones identical; each probe runs without LD_LIBRARY_PATH; an application builds and
# binds a virtual headset against each CMake package.
# usage: side_by_side.sh QT5_BUILD_DIR QT6_BUILD_DIR CONSUMER_SOURCE_DIR WORK_DIR
set -euo pipefail
build5=$1
build6=$2
consumer=$3
work=$4

fail() { echo "FAIL: $*"; exit 1; }

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build5" --prefix "$work/qt5" >"$work/install-qt5.log"
cmake --install "$build6" --prefix "$work/qt6" >"$work/install-qt6.log"
(cd "$work/qt5" && find . -type f -o -type l | sort) >"$work/qt5.files"
(cd "$work/qt6" && find . -type f -o -type l | sort) >"$work/qt6.files"

shared_expected='^\./(include/(hidapi_parser|qvhid_virtual)/[^/]+|lib[^/]*/lib(hidapi_parser|qvhid_virtual)\.so(\.[0-9.]+)?|lib[^/]*/pkgconfig/(hidapi_parser|qvhid_virtual)\.pc)$'
comm -12 "$work/qt5.files" "$work/qt6.files" >"$work/shared.files"
[ -s "$work/shared.files" ] || fail "the two builds share no file; the Qt-free libraries should be shared"
unexpected=$(grep -v -E "$shared_expected" "$work/shared.files" || true)
[ -z "$unexpected" ] || fail "both builds install these files: $unexpected"
while read -r file; do
    case "$file" in
        *.so*) continue ;;
    esac
    cmp -s "$work/qt5/$file" "$work/qt6/$file" || fail "$file differs between the two builds"
done <"$work/shared.files"

prefix=$work/both
cmake --install "$build5" --prefix "$prefix" >"$work/install-both.log"
cmake --install "$build6" --prefix "$prefix" >>"$work/install-both.log"
env -u LD_LIBRARY_PATH "$prefix/bin/qvhid-probe" list >"$work/probe-qt5.log" ||
    fail "qvhid-probe did not run: $(cat "$work/probe-qt5.log")"
env -u LD_LIBRARY_PATH "$prefix/bin/qvhid-probe-qt6" list >"$work/probe-qt6.log" ||
    fail "qvhid-probe-qt6 did not run: $(cat "$work/probe-qt6.log")"

for rules in 70-qvhid-telephony.rules 70-qvhid-telephony-qt6.rules 71-qvhid-phone-mute.rules 71-qvhid-phone-mute-qt6.rules; do
    [ -f "$prefix/lib/udev/rules.d/$rules" ] || fail "$rules is missing from the shared prefix"
done

libdir=$(dirname "$(find "$prefix" -name libqvhid.so.1 | head -n 1)")
for package in QvHid QvHidQt6; do
    cmake -S "$consumer" -B "$work/consumer-$package" -DCMAKE_PREFIX_PATH="$prefix" \
          -DQVHID_PACKAGE="$package" >"$work/configure-$package.log"
    cmake --build "$work/consumer-$package" >"$work/build-$package.log"
    LD_LIBRARY_PATH="$libdir" "$work/consumer-$package/qvhid-consumer" >"$work/run-$package.log" ||
        fail "the consumer of $package failed: $(tail -n 5 "$work/run-$package.log")"
done
echo "side by side (Qt 5 and Qt 6 in one prefix): OK"
