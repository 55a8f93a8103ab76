#!/usr/bin/env bash
# Sets everything up, builds, and runs the main job: the switch simulator on a free port of
# 127.0.0.1 in the background, the example tour of the library against it, a few steps of the
# zolt command line and of the Python package against the same switch, then the simulator's
# clean stop. Arguments go to the
# simulator (for instance --fault latency:50 or --log).
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo

out=$(mktemp)
./build/sim/zolt-switch-sim --port 0 "$@" >"$out" &
sim=$!
trap 'kill "$sim" 2>/dev/null || true; rm -f "$out"' EXIT

# The simulator prints "listening on HOST:PORT" once it serves.
address=
for _ in $(seq 100); do
    address=$(sed -n 's/^listening on //p' "$out")
    [ -n "$address" ] && break
    kill -0 "$sim" 2>/dev/null || break
    sleep 0.1
done
if [ -z "$address" ]; then
    echo "run.sh: the simulator did not start" >&2
    exit 1
fi

status=0
./build/examples/switch_tour "http://$address/" admin admin || status=$?

# The same switch from the shell with the zolt command line: the ports' configuration as a
# table, one field of one port changed by a read-modify-write, and that port read back as JSON.
if [ "$status" -eq 0 ]; then
    export ZOLT_URL="http://$address/" ZOLT_USER=admin ZOLT_PASSWORD=admin
    echo
    echo "== zolt --output table call port.config.get"
    ./build/cli/zolt --output table call port.config.get || status=$?
    echo "== zolt edit port.config \"Gi 1/4\" MTU=9000 FC=on"
    ./build/cli/zolt edit port.config "Gi 1/4" MTU=9000 FC=on || status=$?
    echo "== zolt call port.config.get \"Gi 1/4\""
    ./build/cli/zolt call port.config.get "Gi 1/4" || status=$?
fi

# And from Python, through the zolt package of the same build.
if [ "$status" -eq 0 ] && [ -d build/python/zolt ]; then
    echo
    echo "== python/examples/tour.py"
    PYTHONPATH=build/python /usr/bin/python3 python/examples/tour.py "http://$address/" admin admin ||
        status=$?
fi
kill -TERM "$sim"
wait "$sim"
exit "$status"
