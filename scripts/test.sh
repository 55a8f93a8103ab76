#!/usr/bin/env bash
# The whole suite: a normal build and an AddressSanitizer + UndefinedBehaviorSanitizer build,
# each with every test, and the check of the shared library's exported symbols.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh

echo "== build/ (RelWithDebInfo)"
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
(cd build && ctest --output-on-failure -j2)

echo "== build-asan/ (Debug, address and undefined-behaviour sanitizers)"
# The Python binding is left out here: an extension cannot load the sanitizer runtimes into an
# interpreter that was not started with them.
./scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DZOLT_SANITIZE=ON \
    -DZOLT_BUILD_BENCHMARKS=OFF -DZOLT_PYTHON=OFF
(cd build-asan && ctest --output-on-failure -j2)
