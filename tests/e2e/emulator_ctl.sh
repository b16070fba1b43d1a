#!/usr/bin/env bash
# Starts or stops the pelmor-emulator that the end-to-end tests share (a CTest fixture).
#   emulator_ctl.sh start|stop <pelmor-emulator> <port> <state dir>
set -euo pipefail
action=$1 emulator=$2 port=$3 dir=$4
pidfile=$dir/emulator.pid
logfile=$dir/emulator.log

healthy() {
    # Plain bash: no HTTP client needs to be installed for the tests.
    { exec 3<>"/dev/tcp/127.0.0.1/$port"; } 2>/dev/null || return 1
    printf 'GET /_emulator/health HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n' >&3
    local status
    read -r -t 2 status <&3 || status=""
    exec 3<&- 3>&-
    [[ $status == *" 200"* ]]
}

case $action in
start)
    mkdir -p "$dir"
    if healthy; then
        echo "something already answers on port $port; stop it before running the end-to-end tests" >&2
        exit 1
    fi
    "$emulator" --port "$port" >"$logfile" 2>&1 &
    echo $! >"$pidfile"
    for _ in $(seq 1 100); do
        if healthy; then
            echo "pelmor-emulator is up on port $port (pid $(cat "$pidfile"), log $logfile)"
            exit 0
        fi
        if ! kill -0 "$(cat "$pidfile")" 2>/dev/null; then
            echo "pelmor-emulator exited during start-up:" >&2
            cat "$logfile" >&2
            exit 1
        fi
        sleep 0.1
    done
    echo "pelmor-emulator did not answer on port $port within 10 s" >&2
    kill "$(cat "$pidfile")" 2>/dev/null || true
    exit 1
    ;;
stop)
    [[ -f $pidfile ]] || exit 0
    pid=$(cat "$pidfile")
    rm -f "$pidfile"
    kill -TERM "$pid" 2>/dev/null || exit 0
    for _ in $(seq 1 50); do
        kill -0 "$pid" 2>/dev/null || exit 0
        sleep 0.1
    done
    kill -KILL "$pid" 2>/dev/null || true
    ;;
*)
    echo "usage: $0 start|stop <pelmor-emulator> <port> <state dir>" >&2
    exit 2
    ;;
esac
