#!/usr/bin/env bash
# A family comes and goes with its schema file alone. In a copy of the tree inside the build
# directory: add a synthetic family (a time stamp field, a key-only table, a per-port table and a
# table keyed by a record), build, and check that the library exports it, the simulator serves
# it, the command line's sweep reaches it and its reference page exists; then delete the schema
# file, build again incrementally, and check that nothing of the family is left.
# Usage: check_family_lifecycle.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
src=$1
scratch="$2/lifecycle"
rm -rf "$scratch"
mkdir -p "$scratch"
(cd "$src" && git ls-files -z --cached --others --exclude-standard | grep -zv '^build' |
    xargs -0 cp --parents -t "$scratch" 2>/dev/null || true)
# The copy stands to its build directory as the tree to its own, and ccache keys on paths
# relative to the checkout: the copy's build takes the tree's objects from the cache.
export CCACHE_BASEDIR="$src" CCACHE_NOHASHDIR=1

family="$scratch/schema/ports/synthetic.schema"
cat >"$family" <<'SCHEMA'
family synthetic

use shared

enum zolt_synthetic_mode_t
    0  "off"
    1  "on"

record zolt_synthetic_conf_t
    "Mode"    zolt_synthetic_mode_t
    "Stamp"   timestamp
    "Weight"  u16

tables
    "synthetic.config.port"     string                     -> zolt_synthetic_conf_t  per-port
    "synthetic.config.member"   string, int                -> tuple<>
    "synthetic.config.route"    zolt_ipv4_uc_t             -> zolt_synthetic_conf_t

methods
    "synthetic.config.port.get"     string                              -> zolt_synthetic_conf_t
    "synthetic.config.port.get"     -                                   -> map<string, zolt_synthetic_conf_t>
    "synthetic.config.port.set"     string, zolt_synthetic_conf_t       -> -
    "synthetic.config.member.add"   string, int                         -> -
    "synthetic.config.member.del"   string, int                         -> -
    "synthetic.config.member.get"   -                                   -> map<tuple<string, int>, tuple<>>
    "synthetic.config.route.set"    zolt_ipv4_uc_t, zolt_synthetic_conf_t  -> -
    "synthetic.config.route.get"    zolt_ipv4_uc_t                      -> zolt_synthetic_conf_t
SCHEMA

build() {
    cmake -S "$scratch" -B "$scratch/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DZOLT_WERROR=ON -DZOLT_BUILD_BENCHMARKS=OFF -DZOLT_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$scratch/build" -j2 --target zolt-client zolt-switch-sim zolt zolt_tests \
        >"$scratch/build.log" 2>&1 || { tail -40 "$scratch/build.log"; exit 1; }
}

fail() { echo "family lifecycle: $*" >&2; exit 1; }

build
gen="$scratch/build/gen"
# The symbol list is read whole first: grep -q stops at its match, and under pipefail the writer
# cut off by that would fail the check.
grep -q zolt_synthetic_config_port_set <<<"$(nm -D --defined-only "$scratch/build/libzolt-client.so")" ||
    fail "the library does not export the new family"
[ -f "$gen/docs/synthetic.md" ] || fail "no reference page"
grep -q '"synthetic.config.member.add"' "$gen/tests/sweep.cpp" || fail "the sweep misses it"

# Served: the simulator answers a get of the per-port table, and the sweep passes with it.
"$scratch/build/sim/zolt-switch-sim" --port 0 >"$scratch/sim.out" &
sim=$!
trap 'kill $sim 2>/dev/null || true' EXIT
for _ in $(seq 100); do
    address=$(sed -n 's/^listening on //p' "$scratch/sim.out")
    [ -n "$address" ] && break
    sleep 0.1
done
[ -n "$address" ] || fail "the simulator did not start"
answer=$(ZOLT_URL="http://$address/" ZOLT_USER=admin ZOLT_PASSWORD=admin \
    "$scratch/build/cli/zolt" call synthetic.config.port.get "Gi 1/1") || answer=
grep -q '"Mode" : "off"' <<<"$answer" ||
    fail "the simulator does not serve the new family"
kill $sim
"$scratch/build/tests/zolt_tests" --gtest_filter='Sweep.*:Cli.EveryTypedFunctionIsReachableThroughCall' >"$scratch/sweep.log" 2>&1 ||
    { tail -30 "$scratch/sweep.log"; fail "the sweep fails with the new family"; }

# Gone: delete the schema file and build incrementally.
rm "$family"
build
left=$(grep -rl synthetic "$gen" || true)
[ -z "$left" ] || fail "outputs of the removed family remain: $left"
if grep -q synthetic <<<"$(nm -D --defined-only "$scratch/build/libzolt-client.so")"; then
    fail "the library still exports the removed family"
fi
rm -rf "$scratch"
echo "family lifecycle: added, built, served, swept, documented, removed"
