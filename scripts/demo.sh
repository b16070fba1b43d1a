#!/usr/bin/env bash
# Installs what is missing, builds the library, the emulator and the pelmor command-line host, and runs
# `pelmor demo`: a whole session against the bundled emulator, which the demo starts and stops itself.
#   scripts/demo.sh              build in ./build and run the demo
#   scripts/demo.sh --json       any arguments are passed on to `pelmor demo`
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target pelmor pelmor-emulator PelmorSocket -j "$(nproc 2>/dev/null || echo 2)"

exec "$build/tools/pelmor/pelmor" demo "$@"
