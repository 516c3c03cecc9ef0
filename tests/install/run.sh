#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Installs the built project into a fresh prefix, then builds and runs a small application
# against it twice: once through find_package(QvHid), once through pkg-config.
# usage: run.sh BUILD_DIR CONSUMER_SOURCE_DIR WORK_DIR
set -euo pipefail
build=$1
consumer=$2
work=$3

rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/install.log"

for header in qvhid/hiddevicemanager.h qvhid/hiddeviceinfo.h qvhid/qvhid_export.h \
              qvhid/hiddecoderbase.h qvhid/platform/hiddecoder.h qvhid/platform/reportdescriptor.h \
              hidapi_parser/hidapi_parser.h hidapi_parser/hidapi_parser_export.h \
              qvhid_virtual/virtualhid.h qvhid_virtual/virtualmodels.h qvhid_virtual/qvhid_virtual_export.h \
              qvcommon/logger.h qvcommon/singleton.h qvcommon/qvcommon_export.h; do
    [ -f "$prefix/include/$header" ] || { echo "FAIL: $header was not installed"; exit 1; }
done
if [ -e "$prefix/include/qvhid/hidlog.h" ]; then
    echo "FAIL: the internal logging header was installed"
    exit 1
fi

libdir=$(dirname "$(find "$prefix" -name 'libqvhid.so.1' | head -n 1)")
for lib in libqvhid.so libqvhid.so.1 libqvcommon.so libqvcommon.so.1 \
           libhidapi_parser.so.1 libqvhid_virtual.so.1; do
    [ -e "$libdir/$lib" ] || { echo "FAIL: $lib was not installed"; exit 1; }
done

# Whatever flags the project was built with (sanitizers, say) are passed on to the consumer.
cmake -S "$consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_FLAGS="${QVHID_CONSUMER_FLAGS:-}" >"$work/configure.log"
cmake --build "$work/cmake-build" >"$work/build.log"
LD_LIBRARY_PATH="$libdir" "$work/cmake-build/qvhid-consumer"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 -fPIC ${QVHID_CONSUMER_FLAGS:-} "$consumer/main.cpp" -o "$work/pkgconfig-consumer" \
    $(pkg-config --cflags --libs qvhid_virtual qvhid hidapi_parser) $(pkg-config --cflags hidapi-hidraw)
LD_LIBRARY_PATH="$libdir" "$work/pkgconfig-consumer"
echo "install consumer: OK"
