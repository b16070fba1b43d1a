#!/usr/bin/env bash
# Builds the fuzz targets (clang, AddressSanitizer + UndefinedBehaviorSanitizer, in build-fuzz/), replays
# the kept regression inputs, then fuzzes each target for SECONDS (default 60) from its seed corpus with
# its dictionary. Fails on the first finding; the input is left in build-fuzz/findings/.
#   fuzz/run.sh [SECONDS]          FUZZ_TARGETS="xjson_fuzzer ..." to run only some
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=${FUZZ_BUILD_DIR:-build-fuzz}
targets=${FUZZ_TARGETS:-"xjson_fuzzer reply_fuzzer coverage_site_fuzzer device_file_fuzzer"}
jobs=$(nproc 2>/dev/null || echo 2)

CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DPELMOR_BUILD_FUZZ=ON -DPELMOR_SANITIZE=ON -DPELMOR_BUILD_TESTS=OFF -DPELMOR_BUILD_TOOLS=OFF >/dev/null
# shellcheck disable=SC2086
cmake --build "$build" -j "$jobs" --target $targets

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
mkdir -p "$build/findings"
summary=""
for target in $targets; do
    binary="$build/fuzz/$target"
    work="$build/corpus/$target"
    mkdir -p "$work"
    regressions=(fuzz/regressions/"$target"/*)
    if [[ -e ${regressions[0]} ]]; then
        "$binary" -rss_limit_mb=4096 "${regressions[@]}" >"$build/$target.regressions.log" 2>&1 ||
            { tail -60 "$build/$target.regressions.log"; echo "$target: a kept input fails"; exit 1; }
    fi
    log="$build/$target.log"
    # New inputs go to the work corpus; the seeds in the tree stay as they are.
    "$binary" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=4096 -print_final_stats=1 \
        -dict="fuzz/dict/$target.dict" -artifact_prefix="$build/findings/$target-" \
        "$work" "fuzz/corpus/$target" >"$log" 2>&1 || { tail -60 "$log"; echo "$target: finding"; exit 1; }
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    summary+="$target: ${runs:-?} executions in ${seconds} s"$'\n'
done
printf '%s' "$summary"
