#!/usr/bin/env bash
# Configures and builds one tree with Ninja: build.sh DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

dir=$1
shift
# Warnings are errors in the project's own builds; a later -DZOLT_WERROR=OFF overrides it.
cmake -S . -B "$dir" -G Ninja -DZOLT_WERROR=ON "$@" >/dev/null
cmake --build "$dir" -j2
