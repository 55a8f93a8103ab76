#!/usr/bin/env bash
# Configures and builds one tree with Ninja: build.sh DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

dir=$1
shift
# ccache keys on paths relative to the checkout, so a copy of the tree inside it (the family
# lifecycle test builds one) and a second clone share the cache.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
# Warnings are errors in the project's own builds; a later -DZOLT_WERROR=OFF overrides it.
cmake -S . -B "$dir" -G Ninja -DZOLT_WERROR=ON "$@" >/dev/null
cmake --build "$dir" -j2
