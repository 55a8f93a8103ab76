// The C++ side of python/bench/bench.py: the same calls through the library itself, on one
// kept-alive connection, in a process of its own so that its CPU time is the client's alone.
// Usage: zolt_py_bench_cpp URL USER PASSWORD keyed|getall CALLS
// Prints the client CPU per call in microseconds (user + system, getrusage).

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "client/zoltclient.h"

namespace {

double cpu_seconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: zolt_py_bench_cpp URL USER PASSWORD keyed|getall CALLS\n");
        return 2;
    }
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", argv[1]);
    std::snprintf(conn.user, sizeof conn.user, "%s", argv[2]);
    std::snprintf(conn.password, sizeof conn.password, "%s", argv[3]);
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 10;
    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) return 1;
    const bool keyed = std::strcmp(argv[4], "keyed") == 0;
    const int calls = std::atoi(argv[5]);
    int failures = 0;
    auto call = [&] {
        if (keyed) {
            zolt_appl_port_mib_conf_t conf{};
            failures += zolt_port_config_get(handle, "Gi 1/1", &conf) != 0;
        } else {
            std::map<std::string, zolt_port_rmon_counters_t> table;
            failures += zolt_port_statistics_rmon_get(handle, &table) != 0;
        }
    };
    call();  // the connection is open before the clock starts
    const double start = cpu_seconds();
    for (int i = 0; i < calls; ++i) call();
    const double per_call = (cpu_seconds() - start) / calls;
    zoltclient_deinit(handle);
    if (failures != 0) return 1;
    std::printf("%.2f\n", per_call * 1e6);
    return 0;
}
