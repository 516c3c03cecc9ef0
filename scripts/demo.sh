#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Sets up a Debian bookworm machine, builds the project and plays a whole call on a virtual
# headset: no hardware and (once the packages are there) no root needed.
#
#   scripts/demo.sh                 # the standard telephony headset
#   scripts/demo.sh MODEL           # another one; scripts/demo.sh --list-models names them
#   scripts/demo.sh --qt6 [MODEL]   # the same on the Qt 6 build (build-qt6/)
#
# Missing Debian packages are installed with apt-get (which needs root).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
qt=5
build_dir=$root/build
probe=qvhid-probe
if [ "${1:-}" = "--qt6" ]; then
    shift
    qt=6
    build_dir=$root/build-qt6
    probe=qvhid-probe-qt6
fi

source "$root/scripts/qt-packages.sh"
read -r -a packages <<<"$(qt_packages "$qt")"
bash "$root/scripts/install-packages.sh" cmake g++ make pkg-config libhidapi-dev libudev-dev "${packages[@]}"

cmake -S "$root" -B "$build_dir" -DQVHID_QT_VERSION="$qt" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQVHID_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build_dir" -j"$(nproc)" --target qvhid-probe >/dev/null
exec "$build_dir/tools/qvhid-probe/$probe" demo "$@"
