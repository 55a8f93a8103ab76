// Sequential keyed gets (zolt_port_config_get) through the library against the in-process
// simulator, all on one kept-alive connection: how many calls a second one handle manages and
// how much CPU the calling thread spends per call (library, JSON and libcurl; the simulator's
// own threads are not counted).
//
// Counters: calls_per_second (real time), client_cpu_us_per_call (CLOCK_THREAD_CPUTIME_ID of
// the calling thread), connections (distinct client ports the simulator saw; 1 means every call
// reused the same connection).

#include <benchmark/benchmark.h>
#include <time.h>

#include <cstdio>
#include <mutex>
#include <set>
#include <string>

#include "client/zoltclient.h"
#include "sim/simulator.h"

namespace {

double thread_cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

rest_conn_t connection_to(const std::string& url) {
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.user, sizeof conn.user, "admin");
    std::snprintf(conn.password, sizeof conn.password, "admin");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 10;
    return conn;
}

void BM_KeyedGetOneConnection(benchmark::State& state) {
    // The log is on only to count the client ports; each line costs the simulator's threads a
    // little, never the calling thread.
    std::mutex peers_mutex;
    std::set<std::string> peers;
    zolt_sim::Options options;
    options.log = true;
    options.log_sink = [&](const std::string& line) {
        std::lock_guard<std::mutex> lock(peers_mutex);
        peers.insert(line.substr(0, line.find(' ')));
    };
    zolt_sim::Simulator simulator(options);
    simulator.start();
    const rest_conn_t conn = connection_to(simulator.url());
    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) {
        state.SkipWithError("zoltclient_init failed");
        return;
    }

    zolt_appl_port_mib_conf_t conf{};
    // The first call opens the connection; it is not measured.
    if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) state.SkipWithError("warm-up failed");

    const double cpu_before = thread_cpu_seconds();
    for (auto _ : state) {
        if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) {
            state.SkipWithError("the simulator refused the call");
            break;
        }
        benchmark::DoNotOptimize(conf);
    }
    const double cpu = thread_cpu_seconds() - cpu_before;

    zoltclient_deinit(handle);
    simulator.stop();

    const auto calls = static_cast<double>(state.iterations());
    state.counters["calls_per_second"] = benchmark::Counter(calls, benchmark::Counter::kIsRate);
    state.counters["client_cpu_us_per_call"] = calls > 0 ? cpu * 1e6 / calls : 0.0;
    state.counters["connections"] = static_cast<double>(peers.size());
}

BENCHMARK(BM_KeyedGetOneConnection)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
