#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Builds the benchmarks in release mode and runs them: Google Benchmark over the pure functions,
# then the live harness over a virtual headset (gesture and call-state latency, binding time,
# idle cost). Prints the tables and writes them to build-bench/performance.md.
#
#   scripts/bench.sh                # the full run, about five minutes
#   scripts/bench.sh --quick        # fewer samples and 5 idle seconds: under two minutes
#   scripts/bench.sh --json FILE    # also write the figures as one JSON object to FILE
#   scripts/bench.sh --qt 6         # on the Qt 6 build (build-bench-qt6/); Qt 5 by default
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
live=(--presses 1000 --calls 250 --bindings 50 --replugs 200 --idle-seconds 60)
repetitions=5
json=""
qt=5
while [ $# -gt 0 ]; do
    case "$1" in
        --quick) live=(--presses 100 --calls 20 --bindings 5 --replugs 10 --idle-seconds 5); repetitions=1; shift ;;
        --json) json=$(realpath -m "$2"); shift 2 ;;
        --qt) qt=$2; shift 2 ;;
        *) echo "unknown argument: $1" >&2; exit 2 ;;
    esac
done

source "$root/scripts/qt-packages.sh"
packages=$(qt_packages "$qt") || exit 2
read -r -a packages <<<"$packages"
build=$root/build-bench
[ "$qt" = 6 ] && build=$build-qt6
bash "$root/scripts/install-packages.sh" cmake g++ make pkg-config libhidapi-dev libudev-dev libbenchmark-dev "${packages[@]}"

cmake -S "$root" -B "$build" -DQVHID_QT_VERSION="$qt" -DCMAKE_BUILD_TYPE=Release -DQVHID_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target bench_functions bench_live >/dev/null

out=$build/performance.md
{
    echo "Machine: $(nproc) cores, $(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)," \
         "Linux $(uname -r), Debian $(cat /etc/debian_version), $(g++ --version | head -1)," \
         "Qt $(pkg-config --modversion Qt${qt}Core), release build of $(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo 'an unknown commit')."
    echo
    echo "| Function | CPU time per call (ns) | Throughput (MB/s) |"
    echo "|---|---|---|"
    # Medians of the repetitions (the only row when there is one), from the CSV report.
    "$build/bench/bench_functions" --benchmark_format=csv --benchmark_repetitions="$repetitions" \
        --benchmark_min_time=0.2 2>/dev/null | tee "$build/functions.csv" \
        | awk -F, -v reps="$repetitions" '
            NR == 1 { next }
            { name = $1; gsub(/"/, "", name) }
            reps > 1 && name !~ /_median$/ { next }
            {
                sub(/_median$/, "", name); sub(/^BM_/, "", name)
                rate = $6 == "" ? "-" : sprintf("%.1f", $6 / 1e6)
                printf "| %s | %.1f | %s |\n", name, $4, rate
            }'
    echo
    # The report-parser library's descriptor parsing, in MB/s (median), for the JSON object.
    parse=$(awk -F, -v reps="$repetitions" '{ name = $1; gsub(/"/, "", name) }
        name == (reps > 1 ? "BM_LibraryParseDescriptor_median" : "BM_LibraryParseDescriptor") { printf "%.1f", $6 / 1e6 }' \
        "$build/functions.csv")
    "$build/bench/bench_live" "${live[@]}" ${json:+--json "$json" --parse-mb-s "$parse"}
} | tee "$out"
echo "written to $out${json:+ and $json}" >&2
