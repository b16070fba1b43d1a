#!/usr/bin/env bash
# Builds the benchmarks (Release) and checks the library's performance targets against a pelmor-emulator
# it starts on its own port. Prints one line per target: the measured value, the goal, met or not.
#
#   bench/run.sh                 measure and print the targets
#   bench/run.sh --json          the same as one JSON document on stdout
#   bench/run.sh --port N        emulator port (default: PELMOR_BENCH_PORT, else 18090); the build is
#                                configured for it, so parallel runs on other ports do not collide
#   bench/run.sh --smoke         every benchmark once with very few iterations: proves they still build
#                                and run; its figures mean nothing (CI)
#   bench/run.sh --no-build      use BUILD_DIR as it is (configured for the same port, benchmarks built)
set -euo pipefail
cd "$(dirname "$0")/.."

json=0
smoke=0
rebuild=1
port=${PELMOR_BENCH_PORT:-18090}
while [[ $# -gt 0 ]]; do
    case $1 in
        --json) json=1 ;;
        --smoke) smoke=1 ;;
        --no-build) rebuild=0 ;;
        --port) port=$2; shift ;;
        *) echo "usage: bench/run.sh [--json] [--smoke] [--no-build] [--port N]" >&2; exit 2 ;;
    esac
    shift
done

say() { echo "$@" >&2; }

build=${BUILD_DIR:-build-bench}
if [[ $rebuild -eq 1 ]]; then
    scripts/install-deps.sh >&2
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPELMOR_BUILD_BENCH=ON -DPELMOR_BUILD_TESTS=OFF \
        -DPELMOR_SERVICE_HOST="127.0.0.1:$port" >&2
    cmake --build "$build" --target bench_channel_codec bench_loopback bench_large_file cold_steps pelmor-emulator \
        -j "$(nproc)" >&2
elif ! grep -q "^PELMOR_SERVICE_HOST:STRING=127.0.0.1:$port\$" "$build/CMakeCache.txt" 2>/dev/null; then
    say "$build is not configured for port $port"
    exit 1
fi
command -v jq >/dev/null || { say "bench/run.sh needs jq (scripts/install-deps.sh installs it)"; exit 1; }

results=$(mktemp -d)
emulator=""
cleanup() {
    [[ -n $emulator ]] && kill "$emulator" 2>/dev/null && wait "$emulator" 2>/dev/null
    rm -rf "$results"
}
trap cleanup EXIT

port_open() { (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; }
if port_open; then
    say "port $port is taken: is another emulator running there? pass --port with a free port"
    exit 1
fi
# A short log: the emulator keeps every logged body, and these are large.
"$build/tools/emulator/pelmor-emulator" --port "$port" --coverage-port off --quiet --log-limit 4 >/dev/null &
emulator=$!
for _ in $(seq 100); do port_open && break; sleep 0.1; done
port_open || { say "pelmor-emulator did not start on port $port"; exit 1; }

if [[ $smoke -eq 1 ]]; then
    repetitions=1
    loop_repetitions=1
    codec_time=0.01
    loop_time=0.05
else
    repetitions=5
    # The loopback ratios compare two medians of rates that move 10-20% between seconds on a shared
    # machine: ten repetitions a side keep one bad second from moving either median, twenty keep the
    # ratio within about 0.005 from run to run, which the margins of these targets need.
    loop_repetitions=20
    codec_time=0.5
    loop_time=1
fi
run_bench() {  # name, output file, arguments...
    local program=$1 out=$2
    shift 2
    say "== $program $*"
    "$build/bench/$program" --benchmark_format=json --benchmark_out="$results/$out" \
        --benchmark_out_format=json "$@" >/dev/null
}

# The codec on its own: informative, not a target.
run_bench bench_channel_codec codec.json --benchmark_min_time="$codec_time"
# Peak memory first, in a process of its own that has made no large call yet.
run_bench bench_large_file peak.json --benchmark_filter=PeakMemory
run_bench bench_large_file large.json --benchmark_filter='File|Configuration' \
    --benchmark_repetitions="$repetitions"
# Interleaved repetitions, so that drift of a busy machine falls on both sides alike.
run_bench bench_loopback loopback.json --benchmark_min_time="$loop_time" \
    --benchmark_repetitions="$loop_repetitions" --benchmark_enable_random_interleaving=true
# The diagnostic of cold steps is no target: the smoke run only keeps it working.
if [[ $smoke -eq 1 ]]; then
    say "== cold_steps 5 1"
    "$build/bench/cold_steps" 5 1 >/dev/null
fi

# AES-256-CBC over one 8 MiB buffer, as the reference for the large-file CPU target.
seconds=2
[[ $smoke -eq 1 ]] && seconds=1
aes_kbps=$(openssl speed -seconds "$seconds" -bytes 8388608 -evp aes-256-cbc 2>/dev/null |
    awk '/^(aes-256-cbc|AES-256-CBC)/ {v=$NF; sub(/k$/, "", v); print v}')
[[ -n $aes_kbps ]] || { say "could not read openssl speed's figure"; exit 1; }

machine="$(nproc) cores, $(sed -n 's/^model name\s*:\s*//p' /proc/cpuinfo | head -n 1)"
load=$(cut -d' ' -f1-3 /proc/loadavg)

jq -n --arg machine "$machine" --arg date "$(date -u +%Y-%m-%dT%H:%MZ)" --arg load "$load" \
    --argjson aes_kbps "$aes_kbps" --argjson smoke "$smoke" \
    --slurpfile codec "$results/codec.json" --slurpfile peak "$results/peak.json" \
    --slurpfile large "$results/large.json" --slurpfile loop "$results/loopback.json" '
    def runs($doc; $name): [$doc[0].benchmarks[] | select(.run_type == "iteration" and .run_name == $name)];
    def median($values): ($values | sort) as $s | ($s | length) as $n |
        if $n == 0 then null elif $n % 2 == 1 then $s[($n - 1) / 2] else ($s[$n / 2 - 1] + $s[$n / 2]) / 2 end;
    def med($doc; $name; $field): median([runs($doc; $name)[] | .[$field]]);
    def round2: . * 100 | round / 100;
    def target($name; $value; $unit; $op; $goal; $detail):
        {name: $name, value: ($value | round2), unit: $unit, goal: "\($op) \($goal)",
         met: (if $value == null then false elif $op == "<=" then $value <= $goal else $value >= $goal end),
         detail: $detail};

    (8388608 / ($aes_kbps * 1000) * 1000) as $aes_ms
    | med($large; "BM_VerifyDevice_File/0/iterations:200/process_time"; "cpu_time") as $empty_ms
    | med($large; "BM_VerifyDevice_File/8388608/iterations:3/process_time"; "cpu_time") as $large_ms
    | (runs($peak; "BM_VerifyDevice_PeakMemory/iterations:1")[0].peak_added_per_file_byte) as $peak
    | med($large; "BM_ConfigurationFetch_8MiBText/iterations:3/process_time"; "bytes_per_second") as $reply
    | med($loop; "BM_Library_VerifyDevice/real_time/threads:1"; "items_per_second") as $lib_verify
    | med($loop; "BM_RawCurl_VerifyDevice/real_time"; "items_per_second") as $raw_verify
    | med($loop; "BM_Library_VerifyDevice/real_time/threads:2"; "items_per_second") as $lib_verify2
    | med($loop; "BM_Library_ConfigurationFetch/real_time"; "items_per_second") as $lib_config
    | med($loop; "BM_RawCurl_ConfigurationFetch/real_time"; "items_per_second") as $raw_config
    | {machine: $machine, date: $date, load: $load, smoke: ($smoke == 1),
       targets: [
        target("large file, CPU"; (($large_ms - $empty_ms) / $aes_ms); "x AES"; "<="; 3;
               "8 MiB VerifyDevice \($large_ms | round2) ms - empty \($empty_ms | round2) ms; AES-256-CBC of 8 MiB \($aes_ms | round2) ms"),
        target("large file, memory"; $peak; "x file"; "<="; 4;
               "peak resident memory one 8 MiB VerifyDevice adds, per file byte"),
        target("large reply"; ($reply / 1e6); "MB/s"; ">="; 250;
               "configuration reply with an 8 MiB text, reply body bytes per CPU second"),
        target("real-sized request"; ($lib_verify / $raw_verify); "x raw"; ">="; 0.9;
               "VerifyDevice \($lib_verify | round) /s, raw libcurl POST of the same body \($raw_verify | round) /s"),
        target("configuration fetch"; ($lib_config / $raw_config); "x raw"; ">="; 0.95;
               "library \($lib_config | round) /s, raw libcurl POST of the same body \($raw_config | round) /s"),
        target("two threads"; ($lib_verify2 / $lib_verify); "x one"; ">="; 1.5;
               "VerifyDevice from two threads \($lib_verify2 | round) /s, from one \($lib_verify | round) /s")
       ],
       codec: [$codec[0].benchmarks[] | {name, bytes_per_second}]}
    ' >"$results/targets.json"

if [[ $json -eq 1 ]]; then
    cat "$results/targets.json"
else
    jq -r '"machine: \(.machine); \(.date); load \(.load)\(if .smoke then "; SMOKE RUN, figures mean nothing" else "" end)",
        (.targets[] | "\(.name | . + " " * (22 - length)) \(.value) \(.unit)  goal \(.goal)  \(if .met then "met" else "NOT MET" end)  (\(.detail))")' \
        "$results/targets.json"
fi
