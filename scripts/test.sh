#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Sets up a Debian bookworm machine, builds the project and runs the whole test suite.
#
#   scripts/test.sh                       # plain build in build/
#   scripts/test.sh --sanitize address,undefined   # sanitizer build in build-address-undefined/
#   scripts/test.sh --build-dir DIR --build-only   # another directory; build without testing
#
# Missing Debian packages are installed with apt-get (which needs root); nothing is
# installed when everything is present already.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
sanitize=""
build_dir=""
build_only=0
while [ $# -gt 0 ]; do
    case "$1" in
        --sanitize) sanitize=$2; shift 2 ;;
        --build-dir) build_dir=$2; shift 2 ;;
        --build-only) build_only=1; shift ;;
        -h|--help) sed -n '2,10p' "$0"; exit 0 ;;
        *) echo "unknown argument: $1" >&2; exit 2 ;;
    esac
done
if [ -z "$build_dir" ]; then
    build_dir=$root/build${sanitize:+-${sanitize//,/-}}
fi

bash "$root/scripts/install-packages.sh" cmake g++ make pkg-config binutils qtbase5-dev libhidapi-dev libudev-dev libbenchmark-dev libfuse3-dev valgrind doxygen

build_type=RelWithDebInfo
[ -n "$sanitize" ] && build_type=Debug

# Benchmarks and tests on, whatever an earlier demo.sh left in the same build directory.
cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE="$build_type" -DQVHID_SANITIZE="$sanitize" \
    -DQVHID_BUILD_TESTS=ON -DQVHID_BUILD_BENCHMARKS=ON
cmake --build "$build_dir" -j"$(nproc)"
# The API reference, once: any Doxygen warning fails it.
[ -z "$sanitize" ] && cmake --build "$build_dir" --target docs
[ "$build_only" -eq 1 ] && exit 0
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)"
# And the house style (.clang-format), once.
[ -z "$sanitize" ] && bash "$root/scripts/check-format.sh"
exit 0
