#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors, and runs the whole test suite (unit tests and
# end-to-end tests against a pelmor-emulator that the run starts and stops itself).
#   scripts/test.sh                 normal build in ./build
#   SANITIZE=1 scripts/test.sh      AddressSanitizer + UndefinedBehaviorSanitizer build in ./build-asan
#   SANITIZE=thread scripts/test.sh ThreadSanitizer build in ./build-tsan: only the threads test and the
#                                   library, against the emulator
# Sanitizer runs use the emulator of ./build (PLAIN_BUILD_DIR) when that build exists; its own tests then
# run in the plain build only.
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

# Line tables are all a failing test's backtrace needs, and full debug information doubles the compile
# time of this template-heavy code; the sanitizers' usual -O1 halves it again for their builds.
flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG")
[[ $sanitize != 0 ]] && flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG")

# Sanitizer builds are there to check the library: where a plain build exists they run against its
# emulator (brought up to date first) instead of compiling the emulator, half of all the code, again.
emulator_options=(-DPELMOR_BUILD_EMULATOR=ON -DPELMOR_TEST_EMULATOR=)
plain=${PLAIN_BUILD_DIR:-build}
if [[ $sanitize != 0 && -f $plain/CMakeCache.txt ]]; then
    cmake --build "$plain" -j "$jobs" --target pelmor-emulator
    emulator_options=(-DPELMOR_BUILD_EMULATOR=OFF -DPELMOR_TEST_EMULATOR="$(pwd)/$plain/tools/emulator/pelmor-emulator")
fi

if [[ $sanitize == thread ]]; then
    cmake -S . -B "$build" -G Ninja "${flags[@]}" -DPELMOR_WERROR=ON -DPELMOR_TEST_TIMEOUTS=ON \
        -DPELMOR_SANITIZE_THREAD=ON "${emulator_options[@]}"
    targets=(threads_test)
    [[ ${emulator_options[0]} == -DPELMOR_BUILD_EMULATOR=ON ]] && targets+=(pelmor-emulator)
    cmake --build "$build" -j "$jobs" --target "${targets[@]}"
    export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
    ctest --test-dir "$build" --output-on-failure -R '^(emulator_start|emulator_stop|Threads\.)'
    exit
fi

cmake -S . -B "$build" -G Ninja "${flags[@]}" -DPELMOR_WERROR=ON -DPELMOR_TEST_TIMEOUTS=ON \
    -DPELMOR_SANITIZE=$([[ $sanitize == 1 ]] && echo ON || echo OFF) "${emulator_options[@]}"
cmake --build "$build" -j "$jobs"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$build" --output-on-failure -j "$jobs"
