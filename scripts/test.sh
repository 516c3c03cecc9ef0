#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Sets up a Debian bookworm machine, builds the project and runs the whole test suite.
#
#   scripts/test.sh                       # plain builds: Qt 5 in build/, Qt 6 in build-qt6/
#   scripts/test.sh --qt 6                # one Qt major version only (5 or 6)
#   scripts/test.sh --sanitize address,undefined   # sanitizer build (Qt 5 unless --qt says)
#   scripts/test.sh --build-dir DIR --build-only   # another directory; build without testing
#
# Missing Debian packages are installed with apt-get (which needs root); nothing is
# installed when everything is present already.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
sanitize=""
build_dir=""
build_only=0
qt_versions=""
while [ $# -gt 0 ]; do
    case "$1" in
        --qt) qt_versions=$2; shift 2 ;;
        --sanitize) sanitize=$2; shift 2 ;;
        --build-dir) build_dir=$2; shift 2 ;;
        --build-only) build_only=1; shift ;;
        -h|--help) sed -n '2,11p' "$0"; exit 0 ;;
        *) echo "unknown argument: $1" >&2; exit 2 ;;
    esac
done
case "$qt_versions" in
    5|6) ;;
    # The sanitizer builds run on Qt 5 alone, to keep the CI run within its time.
    "") if [ -n "$sanitize" ]; then qt_versions=5; else qt_versions="5 6"; fi ;;
    *) echo "--qt takes 5 or 6, not '$qt_versions'" >&2; exit 2 ;;
esac
if [ -n "$build_dir" ] && [ "$qt_versions" = "5 6" ]; then
    echo "--build-dir names one build: give --qt 5 or --qt 6 with it" >&2
    exit 2
fi

packages=(cmake g++ make pkg-config binutils libhidapi-dev libudev-dev libbenchmark-dev libfuse3-dev valgrind doxygen udev
          abigail-tools)
source "$root/scripts/qt-packages.sh"
for qt in $qt_versions; do
    read -r -a more <<<"$(qt_packages "$qt")"
    packages+=("${more[@]}")
done
bash "$root/scripts/install-packages.sh" "${packages[@]}"

build_type=RelWithDebInfo
[ -n "$sanitize" ] && build_type=Debug

qt5_build=""
for qt in $qt_versions; do
    dir=$build_dir
    if [ -z "$dir" ]; then
        dir=$root/build${sanitize:+-${sanitize//,/-}}
        [ "$qt" = 6 ] && dir=$dir-qt6
    fi
    echo "== Qt $qt${sanitize:+, $sanitize}: $dir"
    # Benchmarks and tests on, whatever an earlier demo.sh left in the same build directory.
    # The Qt 6 build checks that it installs side by side with the Qt 5 one built just before.
    cmake -S "$root" -B "$dir" -DQVHID_QT_VERSION="$qt" -DCMAKE_BUILD_TYPE="$build_type" \
        -DQVHID_SANITIZE="$sanitize" -DQVHID_BUILD_TESTS=ON -DQVHID_BUILD_BENCHMARKS=ON \
        -DQVHID_QT5_BUILD_DIR="$qt5_build"
    cmake --build "$dir" -j"$(nproc)"
    # The API reference, once per Qt version: any Doxygen warning fails it.
    [ -z "$sanitize" ] && cmake --build "$dir" --target docs
    [ "$build_only" -eq 1 ] && continue
    ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
    if [ "$qt" = 5 ] && [ -z "$sanitize" ]; then
        qt5_build=$dir
    fi
done
# And the house style (.clang-format), once.
[ -z "$sanitize" ] && [ "$build_only" -eq 0 ] && bash "$root/scripts/check-format.sh"
exit 0
