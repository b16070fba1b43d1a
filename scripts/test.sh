#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors, and runs the whole test suite (unit tests and
# end-to-end tests against a pelmor-emulator that the run starts and stops itself).
#   scripts/test.sh                 normal build in ./build
#   SANITIZE=1 scripts/test.sh      AddressSanitizer + UndefinedBehaviorSanitizer build in ./build-asan
#   SANITIZE=thread scripts/test.sh ThreadSanitizer build in ./build-tsan: only the threads test and what
#                                   it needs (library, emulator), against the emulator
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

sanitize=${SANITIZE:-0}
build=${BUILD_DIR:-build}
[[ $sanitize == 1 ]] && build=${BUILD_DIR:-build-asan}
[[ $sanitize == thread ]] && build=${BUILD_DIR:-build-tsan}
jobs=$(nproc 2>/dev/null || echo 2)
# A compiler cache, where one is installed, makes the second and later builds of a machine quick.
if command -v ccache >/dev/null; then export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}; fi

if [[ $sanitize == thread ]]; then
    # The emulator is only the other end: reuse the plain build's when there is one.
    emulator=$(pwd)/${PLAIN_BUILD_DIR:-build}/tools/emulator/pelmor-emulator
    targets=(threads_test)
    [[ -x $emulator ]] || { emulator=""; targets+=(pelmor-emulator); }
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPELMOR_WERROR=ON -DPELMOR_TEST_TIMEOUTS=ON \
        -DPELMOR_SANITIZE_THREAD=ON -DPELMOR_TEST_EMULATOR="$emulator"
    cmake --build "$build" -j "$jobs" --target "${targets[@]}"
    export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
    ctest --test-dir "$build" --output-on-failure -R '^(emulator_start|emulator_stop|Threads\.)'
    exit
fi

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPELMOR_WERROR=ON -DPELMOR_TEST_TIMEOUTS=ON \
    -DPELMOR_SANITIZE=$([[ $sanitize == 1 ]] && echo ON || echo OFF)
cmake --build "$build" -j "$jobs"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$build" --output-on-failure -j "$jobs"
