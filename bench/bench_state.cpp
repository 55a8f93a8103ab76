// The configuration engine (state/state.h) against the in-process simulator on one kept-alive
// connection: a snapshot of every configuration table, and an apply of ten changes (with its
// reads, its backup file and its ten sets).
//
// Counters: calls (requests the simulator received per iteration) and ms (real time per
// iteration).
//
// The ten changes flip the first boolean field of the first port's row in the first ten per-port
// tables that have one: a value every such table takes, picked from the catalog, so the
// benchmark follows the schema. Iterations alternate between the flipped and the original
// document, so that every apply makes exactly ten changes.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "state/state.h"
#include "state/tables.h"

namespace {

rest_conn_t connection_to(const std::string& url) {
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.user, sizeof conn.user, "admin");
    std::snprintf(conn.password, sizeof conn.password, "admin");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 10;
    return conn;
}

// A simulator that counts the requests it receives, and a handle on it.
struct Bench {
    std::atomic<long> requests{0};
    zolt_sim::Simulator simulator;
    void* handle = nullptr;

    Bench() : simulator(options(this)) {
        simulator.start();
        const rest_conn_t conn = connection_to(simulator.url());
        handle = zoltclient_init(&conn);
    }
    ~Bench() { zoltclient_deinit(handle); }

    static zolt_sim::Options options(Bench* self) {
        zolt_sim::Options options;
        options.log = true;
        options.log_sink = [self](const std::string&) { ++self->requests; };
        return options;
    }
};

void report(benchmark::State& state, long requests, double seconds) {
    const double n = static_cast<double>(state.iterations());
    state.counters["calls"] = static_cast<double>(requests) / n;
    state.counters["ms"] = seconds * 1000.0 / n;
}

void BM_SnapshotEveryTable(benchmark::State& state) {
    Bench bench;
    zolt_state::snapshot(bench.handle);  // opens the connection
    bench.requests = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (auto _ : state) {
        benchmark::DoNotOptimize(zolt_state::snapshot(bench.handle));
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    report(state, bench.requests, elapsed.count());
}
BENCHMARK(BM_SnapshotEveryTable)->Unit(benchmark::kMillisecond);

// Two documents of ten partial rows each: the live values, and each of them flipped.
void ten_changes(void* handle, Json::Value& original, Json::Value& flipped) {
    const Json::Value live = zolt_state::snapshot(handle);
    original = Json::Value(Json::objectValue);
    original[zolt_state::kFormatMember] = zolt_state::kFormatVersion;
    flipped = original;
    int changes = 0;
    for (std::size_t i = 0; i < zolt_state::kConfigTableCount && changes < 10; ++i) {
        const zolt_state::ConfigTable& table = zolt_state::kConfigTables[i];
        if (!table.per_port || live[table.name].empty()) continue;
        const Json::Value& row = live[table.name][0];
        for (std::size_t f = 0; f < table.field_count; ++f) {
            const char* name = table.fields[f].name;
            if (!row["val"][name].isBool()) continue;
            Json::Value partial(Json::objectValue);
            partial["key"] = row["key"];
            partial["val"][name] = row["val"][name];
            original[table.name].append(partial);
            partial["val"][name] = !row["val"][name].asBool();
            flipped[table.name].append(partial);
            ++changes;
            break;
        }
    }
}

void BM_ApplyTenChanges(benchmark::State& state) {
    Bench bench;
    Json::Value original;
    Json::Value flipped;
    ten_changes(bench.handle, original, flipped);
    const std::string backup = "/tmp/zolt-bench-state-" + std::to_string(getpid()) + ".json";
    bench.requests = 0;
    bool flip = true;
    long changes = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (auto _ : state) {
        const zolt_state::ApplyResult result =
            zolt_state::apply(bench.handle, flip ? flipped : original, false, backup);
        if (result.failed || result.calls.size() != 10) {
            state.SkipWithError(result.failed ? result.failure.c_str() : "not ten changes");
            break;
        }
        changes += static_cast<long>(result.done);
        flip = !flip;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    report(state, bench.requests, elapsed.count());
    state.counters["changes"] =
        static_cast<double>(changes) / static_cast<double>(state.iterations());
    std::remove(backup.c_str());
}
BENCHMARK(BM_ApplyTenChanges)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
