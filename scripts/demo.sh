#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Sets up a Debian bookworm machine, builds the project and plays a whole call on a virtual
# headset: no hardware and (once the packages are there) no root needed.
#
#   scripts/demo.sh                 # the standard telephony headset
#   scripts/demo.sh MODEL           # another one; scripts/demo.sh --list-models names them
#
# Missing Debian packages are installed with apt-get (which needs root).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=$root/build

bash "$root/scripts/install-packages.sh" cmake g++ make pkg-config qtbase5-dev libhidapi-dev libudev-dev

cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVHID_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build_dir" -j"$(nproc)" --target qvhid-probe >/dev/null
exec "$build_dir/tools/qvhid-probe/qvhid-probe" demo "$@"
