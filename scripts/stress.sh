#!/usr/bin/env bash
# Stress runs of the library and the simulator; not part of the test suite. Prints its figures
# and exits non-zero at the first fault.
#
#   1. A ThreadSanitizer build (build-stress-tsan/): 16 handles in parallel against the
#      in-process simulator, each on its own thread, then the simulator under many idle and slow
#      connections; any data race reported ends the run.
#   2. An optimised build (build-stress/): a soak of SOAK_CALLS keyed gets on one handle
#      (default 1,000,000), printing the resident set every tenth and failing if it grows after
#      the first tenth; then the simulator under 256 idle and slow connections, every call
#      answered within its one-second limit.
#
# Environment: SOAK_CALLS, PARALLEL_CALLS (per handle, default 1000).
set -euo pipefail
cd "$(dirname "$0")/.."

soak_calls=${SOAK_CALLS:-1000000}
parallel_calls=${PARALLEL_CALLS:-1000}

./scripts/setup.sh

common=(-DZOLT_BUILD_TESTS=OFF -DZOLT_BUILD_EXAMPLES=OFF -DZOLT_BUILD_BENCHMARKS=ON)

echo "== build-stress-tsan/ (ThreadSanitizer)"
cmake -S . -B build-stress-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${common[@]}" \
    -DCMAKE_CXX_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" \
    -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread \
    -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread >/dev/null
cmake --build build-stress-tsan -j2 --target zolt_stress

# A race report ends the program with status 66. cpp-httplib comes as a compiled library without
# ThreadSanitizer's instrumentation: it cannot see the synchronisation inside it (the inline fast
# path of its function-local statics, for one) and would report the library's own reads and
# writes as races, so calls made from inside it are not checked. Everything of ours is.
printf 'called_from_lib:libcpp-httplib.so.0.11\n' >build-stress-tsan/tsan.supp
export TSAN_OPTIONS="halt_on_error=1 exitcode=66 second_deadlock_stack=1 \
suppressions=$PWD/build-stress-tsan/tsan.supp"
build-stress-tsan/bench/zolt_stress parallel 16 "$parallel_calls"
build-stress-tsan/bench/zolt_stress idle 64 64 100
unset TSAN_OPTIONS

echo "== build-stress/ (optimised)"
cmake -S . -B build-stress -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${common[@]}" >/dev/null
cmake --build build-stress -j2 --target zolt_stress
build-stress/bench/zolt_stress soak "$soak_calls"
build-stress/bench/zolt_stress idle 128 128 1000

echo "stress: all runs passed"
