#!/usr/bin/env bash
# Builds the benchmarks (Release) and runs them: the channel codec beside `openssl speed`, and the loopback
# comparison against a pelmor-emulator started here on the compiled service port (or one already running).
#   bench/run.sh            build in ./build-bench and run everything
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

build=${BUILD_DIR:-build-bench}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPELMOR_BUILD_BENCH=ON -DPELMOR_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target bench_channel_codec bench_loopback pelmor-emulator -j "$(nproc)"

echo "== channel codec (document text bytes per second) =="
"$build/bench/bench_channel_codec" --benchmark_min_time=1
echo "== openssl speed -evp aes-256-cbc (for comparison) =="
openssl speed -seconds 2 -evp aes-256-cbc 2>/dev/null | tail -n 2

host=$(sed -n 's/^PELMOR_SERVICE_HOST:STRING=//p' "$build/CMakeCache.txt")
port=${host##*:}
started=""
if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
    "$build/tools/emulator/pelmor-emulator" --port "$port" --quiet >/dev/null &
    started=$!
    trap '[[ -n $started ]] && kill "$started" 2>/dev/null; wait 2>/dev/null || true' EXIT
    for _ in $(seq 50); do
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
        sleep 0.1
    done
fi
echo "== loopback against pelmor-emulator on $host =="
# Interleaved repetitions, so that drift of a busy machine falls on both sides alike.
"$build/bench/bench_loopback" --benchmark_min_time=2 --benchmark_repetitions=6 --benchmark_enable_random_interleaving=true \
    --benchmark_report_aggregates_only=true
