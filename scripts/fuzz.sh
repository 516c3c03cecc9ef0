#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Builds the fuzz targets with clang's libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer,
# and runs each for a while on its seeds.
#
#   scripts/fuzz.sh [--seconds N] [--runs N] [--jobs N] [TARGET...]
#
# --seconds N   run each target for N seconds (default 60)
# --runs N      stop each target after N executions instead
# --jobs N      run N targets at once (default: one per core)
# TARGET        descriptor_parser, report_parser, headset_decoder, dictionary, parent_name
#               (default: all)
#
# The corpus of each target grows in build-fuzz/corpus/TARGET. An input that fails is written
# to build-fuzz/findings/TARGET; once fixed, copy it to fuzz/regressions/TARGET, where the
# ordinary test suite runs it. A summary line per target goes to build-fuzz/summary.txt.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=60
runs=""
jobs=$(nproc)
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        --seconds) seconds=$2; shift 2 ;;
        --runs) runs=$2; shift 2 ;;
        --jobs) jobs=$2; shift 2 ;;
        -h|--help) sed -n '2,16p' "$0"; exit 0 ;;
        -*) echo "unknown option: $1" >&2; exit 2 ;;
        *) targets+=("$1"); shift ;;
    esac
done
[ ${#targets[@]} -gt 0 ] || targets=(descriptor_parser report_parser headset_decoder dictionary parent_name udev_id)

bash "$root/scripts/install-packages.sh" cmake clang libclang-rt-14-dev make pkg-config qtbase5-dev libhidapi-dev libudev-dev

build=$root/build-fuzz
cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DQVHID_FUZZ=ON -DQVHID_SANITIZE=address,undefined -DQVHID_BUILD_TESTS=OFF -DQVHID_BUILD_BENCHMARKS=OFF -DQVHID_BUILD_QML=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target fuzz-seed-files $(printf 'fuzz_%s ' "${targets[@]}")

export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
limit=(-max_total_time="$seconds")
[ -n "$runs" ] && limit=(-runs="$runs")

# Runs every input of a corpus once, in one process, with leak checks on full stacks; the
# leak report at exit covers all of them.
replay_for_leaks() {
    local target=$1 corpus=$2
    echo "leak check: replaying $(ls "$corpus" | wc -l) inputs of $corpus"
    find "$corpus" -type f -print0 \
        | ASAN_OPTIONS="$ASAN_OPTIONS:fast_unwind_on_malloc=0" LSAN_OPTIONS="suppressions=$root/tests/lsan.supp" \
          xargs -0 -r "$build/fuzz/fuzz_$target" -runs=1
}

run_target() {
    local target=$1
    local corpus=$build/corpus/$target findings=$build/findings/$target
    local dictionary=$root/fuzz/hid.dict options=() environment=()
    mkdir -p "$corpus" "$findings"
    case "$target" in
        # Qt 5.15's JSON parser leaks the earlier value of a key given twice (tests/lsan.supp).
        # Telling that leak from ours needs full stacks, which cut the fuzzer's speed sixfold,
        # so this target fuzzes without leak checks and its corpus is replayed with them after.
        # Without leak checks, what Qt leaks stays allocated: up to a few GB over ten million
        # executions, hence the higher memory limit.
        dictionary) dictionary=$root/fuzz/json.dict
                    environment=("ASAN_OPTIONS=${ASAN_OPTIONS/detect_leaks=1/detect_leaks=0}")
                    options=(-detect_leaks=0 -rss_limit_mb=8192) ;;
        parent_name) dictionary="" ;;
    esac
    local log=$build/fuzz-$target.log
    local status=0
    env "${environment[@]}" "$build/fuzz/fuzz_$target" "${limit[@]}" -max_len=4096 -timeout=10 -rss_limit_mb=2048 "${options[@]}" \
        -artifact_prefix="$findings/" ${dictionary:+-dict="$dictionary"} -print_final_stats=1 \
        "$corpus" "$build/fuzz/seeds/$target" "$root/fuzz/regressions/$target" >"$log" 2>&1 || status=$?
    if [ "$status" -eq 0 ] && [ "$target" = dictionary ]; then
        replay_for_leaks "$target" "$corpus" >>"$log" 2>&1 || status=$?
    fi
    local executions coverage features elapsed
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    coverage=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' "$log" | tail -1)
    features=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' "$log" | tail -1)
    elapsed=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -1)
    printf '%-18s executions %-10s edges %-6s features %-6s seconds %-6s crashes %s\n' "$target" \
        "${executions:-?}" "${coverage:-?}" "${features:-?}" "${elapsed:-?}" "$(ls "$findings" | wc -l)" \
        | tee -a "$build/summary.txt"
    if [ "$status" -ne 0 ]; then
        echo "fuzz_$target failed; its log: $log" >&2
        tail -40 "$log" >&2
        return 1
    fi
}

failed=0
pids=()
for target in "${targets[@]}"; do
    run_target "$target" & pids+=($!)
    if [ ${#pids[@]} -ge "$jobs" ]; then
        wait "${pids[0]}" || failed=1
        pids=("${pids[@]:1}")
    fi
done
for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
exit $failed
