#!/usr/bin/env bash
# Sets everything up, builds, and runs the main job: a client handle against a local server
# and one JSON-RPC exchange.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
./build/examples/hello_switch "$@"
