#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Builds the Debian packages of each Qt build with CPack and checks them with lintian.
#
#   scripts/debian-packages.sh                # Qt 5 and Qt 6: packages in build-deb/ and build-deb-qt6/
#   scripts/debian-packages.sh --qt 6         # one Qt build only
#   scripts/debian-packages.sh --check        # also install each set with apt-get (root), run the
#                                             # installed probe's demo and example softphone, load
#                                             # the QML module, purge, and check that nothing is
#                                             # left behind
#
# Missing Debian packages are installed with apt-get (which needs root).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
qt_versions="5 6"
check=0
while [ $# -gt 0 ]; do
    case "$1" in
        --qt) qt_versions=$2; shift 2 ;;
        --check) check=1; shift ;;
        -h|--help) sed -n '2,13p' "$0"; exit 0 ;;
        *) echo "unknown argument: $1" >&2; exit 2 ;;
    esac
done

fail() { echo "FAIL: $*" >&2; exit 1; }

packages=(cmake g++ make pkg-config binutils file dpkg-dev lintian libhidapi-dev libudev-dev)
source "$root/scripts/qt-packages.sh"
for qt in $qt_versions; do
    more=$(qt_packages "$qt") || exit 2
    read -r -a more <<<"$more"
    packages+=("${more[@]}")
done
bash "$root/scripts/install-packages.sh" "${packages[@]}"

for qt in $qt_versions; do
    build=$root/build-deb
    probe=qvhid-probe
    if [ "$qt" = 6 ]; then
        build=$root/build-deb-qt6
        probe=qvhid-probe-qt6
    fi
    echo "== Debian packages of the Qt $qt build: $build"
    cmake -S "$root" -B "$build" -DQVHID_QT_VERSION="$qt" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
        -DQVHID_DEBIAN_PACKAGES=ON -DQVHID_BUILD_TESTS=OFF -DQVHID_BUILD_BENCHMARKS=OFF >/dev/null
    cmake --build "$build" -j"$(nproc)" >/dev/null
    rm -f "$build"/*.deb
    (cd "$build" && cpack -G DEB >"$build/cpack.log") || fail "cpack failed: $build/cpack.log"
    debs=("$build"/*.deb)
    [ ${#debs[@]} -eq 8 ] || fail "expected 8 packages, cpack made ${#debs[@]}: ${debs[*]}"
    ls -1 "${debs[@]}"

    # lintian must find no error; its warnings are printed for the reader.
    lintian --tag-display-limit 0 "${debs[@]}" 2>/dev/null | tee "$build/lintian.log" || true
    ! grep -q '^E: ' "$build/lintian.log" || fail "lintian found errors in the Qt $qt packages"

    [ "$check" -eq 1 ] || continue
    names=()
    for deb in "${debs[@]}"; do
        names+=("$(dpkg-deb -f "$deb" Package)")
    done
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${debs[@]}" >"$build/apt-install.log" ||
        fail "apt-get install failed: $build/apt-install.log"
    # Every file the packages put on the system, to look for after the purge.
    dpkg -L "${names[@]}" | sort -u >"$build/installed.files"
    env -u LD_LIBRARY_PATH "/usr/bin/$probe" demo >"$build/demo.log" 2>&1 ||
        fail "/usr/bin/$probe demo failed: $(tail -n 5 "$build/demo.log")"
    grep -q 'All 8 steps behaved as expected' "$build/demo.log" || fail "the demo did not finish: $build/demo.log"
    suffix=${probe#qvhid-probe}
    [ -x "/usr/lib/udev/qvhid-udev-id$suffix" ] || fail "the udev program is not installed"
    # The QML module where Qt looks by itself, and the example softphone on a virtual headset.
    qml_tool=/usr/lib/qt5/bin/qmlscene
    [ "$qt" = 6 ] && qml_tool=/usr/lib/qt6/bin/qml
    printf '%s\n' 'import QtQuick 2.15' 'import QvHid 1.0' \
        'Item { Component.onCompleted: { console.log("QvHid: " + Headset.present); Qt.callLater(Qt.quit) } }' \
        >"$build/import.qml"
    env -u LD_LIBRARY_PATH QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software timeout 60 "$qml_tool" \
        "$build/import.qml" >"$build/qml.log" 2>&1 || fail "$qml_tool cannot import QvHid: $(cat "$build/qml.log")"
    grep -q 'QvHid: false' "$build/qml.log" || fail "QvHid did not load: $(cat "$build/qml.log")"
    status=0
    env -u LD_LIBRARY_PATH QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software timeout 3 \
        "/usr/bin/qvhid-softphone${probe#qvhid-probe}" --virtual telephony-headset >"$build/softphone.log" 2>&1 || status=$?
    [ "$status" -eq 124 ] || fail "the example softphone ended ($status): $(cat "$build/softphone.log")"
    for rules in 70-qvhid-telephony 71-qvhid-phone-mute; do
        grep -q -F "IMPORT{program}=\"/usr/lib/udev/qvhid-udev-id$suffix %k\"" \
            "/usr/lib/udev/rules.d/$rules$suffix.rules" || fail "$rules$suffix.rules does not name the installed program"
    done

    DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "${names[@]}" >"$build/apt-purge.log" ||
        fail "apt-get purge failed: $build/apt-purge.log"
    left=()
    while read -r path; do
        # Directories the system owns stay (/usr/include, /usr/lib/udev, ...); the packages' own go.
        if [ -d "$path" ] && [ ! -L "$path" ]; then
            if [ -n "$(dpkg -S "$path" 2>/dev/null)" ] || [ -n "$(ls -A "$path")" ]; then
                continue
            fi
        fi
        [ -e "$path" ] || [ -L "$path" ] || continue
        left+=("$path")
    done <"$build/installed.files"
    [ ${#left[@]} -eq 0 ] || fail "the purged packages left behind: ${left[*]}"
    echo "Qt $qt packages: installed, demo from /usr/bin/$probe ran, purged without a trace"
done

# Both sets at once: the Qt 6 set's own packages beside the whole Qt 5 set.
if [ "$check" -eq 1 ] && [ "$qt_versions" = "5 6" ]; then
    both=("$root"/build-deb/*.deb)
    for deb in "$root"/build-deb-qt6/*.deb; do
        case "$(dpkg-deb -f "$deb" Package)" in
            *qt6* | qml6-*) both+=("$deb") ;;
        esac
    done
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${both[@]}" >"$root/build-deb/apt-both.log" ||
        fail "the two sets do not install side by side: $root/build-deb/apt-both.log"
    for probe in qvhid-probe qvhid-probe-qt6; do
        env -u LD_LIBRARY_PATH "/usr/bin/$probe" demo | grep -q 'All 8 steps behaved as expected' ||
            fail "/usr/bin/$probe demo failed beside the other set"
    done
    names=()
    for deb in "${both[@]}"; do
        names+=("$(dpkg-deb -f "$deb" Package)")
    done
    DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "${names[@]}" >>"$root/build-deb/apt-both.log"
    echo "Qt 5 and Qt 6 packages: installed side by side, both demos ran, purged"
fi
