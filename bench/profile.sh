#!/usr/bin/env bash
# Client instructions per request, counted by callgrind: steady for comparing a change before and after on
# a busy machine, where timings are not. Starts its own pelmor-emulator.
#
#   BUILD_DIR=build-bench bench/profile.sh [--port N] [KIND...]   KIND: verify verify-read config raw-verify raw-config
#
# BUILD_DIR must hold request_profile and pelmor-emulator, configured for the port (default 18090).
# Each profile is kept as /tmp/request-profile.PORT.KIND.out for callgrind_annotate (the port keeps
# parallel runs from different trees apart).
set -euo pipefail
cd "$(dirname "$0")/.."

port=${PELMOR_BENCH_PORT:-18090}
kinds=()
while [[ $# -gt 0 ]]; do
    case $1 in
        --port) port=$2; shift ;;
        *) kinds+=("$1") ;;
    esac
    shift
done
[[ ${#kinds[@]} -gt 0 ]] || kinds=(verify config raw-verify raw-config)
build=${BUILD_DIR:-build-bench}
command -v valgrind >/dev/null || { echo "bench/profile.sh needs valgrind" >&2; exit 1; }
grep -q "^PELMOR_SERVICE_HOST:STRING=127.0.0.1:$port\$" "$build/CMakeCache.txt" 2>/dev/null ||
    { echo "$build is not configured for port $port" >&2; exit 1; }

port_open() { (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; }
port_open && { echo "port $port is taken; pass --port with a free one" >&2; exit 1; }
"$build/tools/emulator/pelmor-emulator" --port "$port" --coverage-port off --quiet --log-limit 4 >/dev/null &
emulator=$!
trap 'kill $emulator 2>/dev/null; wait $emulator 2>/dev/null' EXIT
for _ in $(seq 100); do port_open && break; sleep 0.1; done

count=100
for kind in "${kinds[@]}"; do
    out=/tmp/request-profile.$port.$kind.out
    rm -f "$out"
    total=$(valgrind --tool=callgrind --toggle-collect='*Measured*' --callgrind-out-file="$out" \
        "$build/bench/request_profile" "$kind" "$count" 2>&1 >/dev/null | awk '/Collected/ {print $4}')
    [[ -n $total ]] || { echo "$kind: no figure (did request_profile fail?)" >&2; exit 1; }
    printf '%-11s %8d instructions per request\n' "$kind" $((total / count))
done
