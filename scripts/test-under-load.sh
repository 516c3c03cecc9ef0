#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Runs the whole test suite as two copies at once, ROUNDS times in a row, to show that it passes
# on a loaded machine: each copy has its own build directory (configured like scripts/test.sh's)
# and runs ctest with as many jobs as there are cores, so every core carries two suites.
#
#   scripts/test-under-load.sh [--rounds N] [--sanitize LIST] [--qt 5|6]
#
# Builds both directories first (build-load-a/, build-load-b/, with a suffix for sanitizers and
# for Qt 6; Qt 5 by default).
# Stops at the first round in which a copy fails and prints that copy's failures. Needs what
# scripts/test.sh needs.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
rounds=5
sanitize=""
qt=5
while [ $# -gt 0 ]; do
    case "$1" in
        --rounds) rounds=$2; shift 2 ;;
        --sanitize) sanitize=$2; shift 2 ;;
        --qt) qt=$2; shift 2 ;;
        -h|--help) sed -n '2,11p' "$0"; exit 0 ;;
        *) echo "unknown argument: $1" >&2; exit 2 ;;
    esac
done
suffix=${sanitize:+-${sanitize//,/-}}
[ "$qt" = 6 ] && suffix=$suffix-qt6

for copy in a b; do
    # test.sh installs what is missing, configures and builds; its own test run is skipped here.
    bash "$root/scripts/test.sh" --qt "$qt" ${sanitize:+--sanitize "$sanitize"} --build-dir "$root/build-load-$copy$suffix" --build-only
done

for round in $(seq 1 "$rounds"); do
    started=$(date +%s)
    pids=()
    for copy in a b; do
        ctest --test-dir "$root/build-load-$copy$suffix" --output-on-failure -j"$(nproc)" \
            > "$root/build-load-$copy$suffix/round-$round.log" 2>&1 &
        pids+=($!)
    done
    failed=0
    for i in 0 1; do
        wait "${pids[$i]}" || failed=1
    done
    for copy in a b; do
        echo "round $round, copy $copy: $(grep -E '^[0-9]+% tests passed' "$root/build-load-$copy$suffix/round-$round.log")"
    done
    echo "round $round took $(( $(date +%s) - started )) s"
    if [ $failed -ne 0 ]; then
        for copy in a b; do
            grep -E 'Failed|FAIL!' "$root/build-load-$copy$suffix/round-$round.log" || true
        done
        exit 1
    fi
done
echo "$rounds rounds of two copies at once: every test passed"
