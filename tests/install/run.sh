#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Installs the built project into a fresh prefix and checks the installed tree: its headers and
# libraries under the names of its Qt flavour, libraries that need only that Qt major version,
# programs that start without LD_LIBRARY_PATH (also after the tree was moved). Then builds and
# runs a small application against it twice: once through find_package, once through
# pkg-config.
# usage: run.sh QT_MAJOR_VERSION BUILD_DIR CONSUMER_SOURCE_DIR WORK_DIR
set -euo pipefail
qt=$1
build=$2
consumer=$3
work=$4

# The names that carry the Qt 6 build's suffix; the Qt 5 build's are the plain names.
suffix=""
package=QvHid
if [ "$qt" -eq 6 ]; then
    suffix=-qt6
    package=QvHidQt6
fi

rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/install.log"

fail() { echo "FAIL: $*"; exit 1; }

# The installed headers are exactly those docs/api.md lists: the API, and nothing of the
# library's machinery.
api_doc=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/docs/api.md
sed -n 's/^| `\([a-z_]*\)\/\([a-z_/]*\.h\)` |.*/\1 \2/p' "$api_doc" |
    while read -r dir header; do
        case "$dir" in qvhid | qvcommon) dir=$dir$suffix ;; esac
        echo "$dir/$header"
    done | sort >"$work/documented-headers"
[ -s "$work/documented-headers" ] || fail "$api_doc lists no header"
(cd "$prefix/include" && find . -name '*.h' | sed 's|^\./||' | sort) >"$work/installed-headers"
if ! cmp -s "$work/documented-headers" "$work/installed-headers"; then
    fail "the installed headers are not those docs/api.md lists (< documented, > installed):
$(diff "$work/documented-headers" "$work/installed-headers" | grep '^[<>]')"
fi

# For each installed header a source file that includes it alone, and one that includes them
# all, built with the consumer below: each header stands on its own, and together they build in
# an application.
mkdir -p "$work/every-header"
number=0
while read -r header; do
    number=$((number + 1))
    echo "#include <${header#*/}>" >"$work/every-header/header$number.cpp"
    echo "#include <${header#*/}>" >>"$work/every-header/all.cpp"
done <"$work/installed-headers"

libdir=$(dirname "$(find "$prefix" -name "libqvhid$suffix.so.1" | head -n 1)")
for lib in "libqvhid$suffix.so" "libqvhid$suffix.so.1" "libqvcommon$suffix.so" "libqvcommon$suffix.so.1" \
           libhidapi_parser.so.1 libqvhid_virtual.so.1 "pkgconfig/qvhid$suffix.pc" \
           "cmake/$package/${package}Config.cmake"; do
    [ -e "$libdir/$lib" ] || fail "$lib was not installed"
done
[ -x "$prefix/bin/qvhid-probe$suffix" ] || fail "qvhid-probe$suffix was not installed"
# The udev rules and the program they run, one pair per build; the rules name the program
# by its installed path.
udev_id=$prefix/lib/udev/qvhid-udev-id$suffix
[ -x "$udev_id" ] || fail "qvhid-udev-id$suffix was not installed"
for name in 70-qvhid-telephony 71-qvhid-phone-mute; do
    rules=$prefix/lib/udev/rules.d/$name$suffix.rules
    [ -f "$rules" ] || fail "the udev rules $name$suffix.rules were not installed"
    grep -q -F "IMPORT{program}=\"$udev_id %k\"" "$rules" || fail "$rules does not run $udev_id: $(cat "$rules")"
done

# Each library and program needs the Qt of its own flavour and no other.
for file in "$libdir"/lib*.so.1 "$prefix/bin/qvhid-probe$suffix" "$udev_id"; do
    other=$(readelf -d "$file" | sed -n 's/.*(NEEDED).*\[\(libQt[0-9]*\).*/\1/p' | grep -v -x "libQt$qt" || true)
    [ -z "$other" ] || fail "$file needs $other"
done

# Installed programs find their own libraries, here and after the whole tree has moved.
env -u LD_LIBRARY_PATH "$prefix/bin/qvhid-probe$suffix" list >"$work/probe.log" ||
    fail "the installed probe did not run: $(cat "$work/probe.log")"
identity=$(env -u LD_LIBRARY_PATH "$udev_id" hidraw999) || fail "the installed qvhid-udev-id$suffix did not run"
[ -z "$identity" ] || fail "the installed qvhid-udev-id$suffix named a missing node a headset: $identity"
mv "$prefix" "$work/moved"
env -u LD_LIBRARY_PATH "$work/moved/bin/qvhid-probe$suffix" list >"$work/probe-moved.log" ||
    fail "the probe of a moved tree did not run: $(cat "$work/probe-moved.log")"
mv "$work/moved" "$prefix"

# Whatever flags the project was built with (sanitizers, say) are passed on to the consumer.
cmake -S "$consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DQVHID_PACKAGE="$package" \
      -DQVHID_EVERY_HEADER_DIR="$work/every-header" -DCMAKE_CXX_FLAGS="${QVHID_CONSUMER_FLAGS:-}" \
      >"$work/configure.log"
cmake --build "$work/cmake-build" -j"$(nproc)" >"$work/build.log"
LD_LIBRARY_PATH="$libdir" "$work/cmake-build/qvhid-consumer"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 -fPIC ${QVHID_CONSUMER_FLAGS:-} "$consumer/main.cpp" -o "$work/pkgconfig-consumer" \
    $(pkg-config --cflags --libs qvhid_virtual "qvhid$suffix" hidapi_parser) $(pkg-config --cflags hidapi-hidraw)
LD_LIBRARY_PATH="$libdir" "$work/pkgconfig-consumer"

# An application's own test, against the installed package alone: virtual headsets plugged in
# late, unplugged and plugged in again reach the binding through the public API.
plugging=$(dirname "$consumer")/plugging
cmake -S "$plugging" -B "$work/plugging-build" -DCMAKE_PREFIX_PATH="$prefix" -DQVHID_PACKAGE="$package" \
      -DCMAKE_CXX_FLAGS="${QVHID_CONSUMER_FLAGS:-}" >"$work/plugging-configure.log"
cmake --build "$work/plugging-build" >"$work/plugging-build.log"
LD_LIBRARY_PATH="$libdir" "$work/plugging-build/qvhid-plugging-test" >"$work/plugging.log" 2>&1 ||
    fail "the application's plugging test failed: $(cat "$work/plugging.log")"

# The QML module, from the installed prefix, as Qt's own tool loads it; its plugin finds the
# installed library by its run path.
qmldir=$(dirname "$(find "$prefix" -path "*/qml/QvHid/qmldir" | head -n 1)")
[ -f "$qmldir/qmldir" ] || fail "the QML module QvHid was not installed"
qmldir=$(dirname "$qmldir")
cat >"$work/import.qml" <<'QML'
import QtQuick 2.15
import QvHid 1.0
Item {
    Component.onCompleted: {
        console.log("QvHid imported: present " + Headset.present + ", desktopMute " + Headset.desktopMute)
        Qt.callLater(Qt.quit)
    }
}
QML
if [ "$qt" -eq 6 ]; then
    qml_tool=/usr/lib/qt6/bin/qml
else
    qml_tool=/usr/lib/qt5/bin/qmlscene
fi
# A sanitizer build's plugin needs the sanitizer's runtime, which Qt's own tools do not load.
if [ -z "${QVHID_CONSUMER_FLAGS:-}" ]; then
    env -u LD_LIBRARY_PATH QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software QML2_IMPORT_PATH="$qmldir" \
        QML_IMPORT_PATH="$qmldir" timeout 60 "$qml_tool" "$work/import.qml" >"$work/qml.log" 2>&1 ||
        fail "$qml_tool could not import QvHid from $qmldir: $(cat "$work/qml.log")"
    grep -q "QvHid imported: present false, desktopMute 0" "$work/qml.log" ||
        fail "QvHid did not load: $(cat "$work/qml.log")"
fi
# And the example softphone is installed, its sources beside it.
[ -x "$prefix/bin/qvhid-softphone$suffix" ] || fail "qvhid-softphone$suffix was not installed"
[ -f "$prefix/share/qvhid$suffix/examples/softphone/Main.qml" ] || fail "the example's sources were not installed"

echo "install consumer (Qt $qt): OK"
