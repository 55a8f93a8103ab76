// Stress runs against the in-process simulator, driven by scripts/stress.sh. Each prints its
// figures and exits non-zero on a fault:
//
//   zolt_stress parallel HANDLES CALLS   HANDLES threads, each with its own handle, CALLS calls
//                                         each (gets, get-alls, sets, adds and deletes)
//   zolt_stress soak CALLS               CALLS keyed gets on one handle; the resident set is
//                                         printed every tenth and must not grow after the first
//   zolt_stress idle SLOW IDLE CALLS     CALLS keyed gets on a new handle while SLOW clients
//                                         trickle unfinished requests and IDLE ones say nothing;
//                                         every call must be answered within a second

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "bench/loopback.h"
#include "client/zoltclient.h"
#include "sim/simulator.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

rest_conn_t connection_to(const std::string& url, long timeout) {
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.user, sizeof conn.user, "admin");
    std::snprintf(conn.password, sizeof conn.password, "admin");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = timeout;
    return conn;
}

long resident_kb() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    }
    return -1;
}

std::string port_name(int n) { return "Gi 1/" + std::to_string(n); }

// One thread's share of the parallel run: every kind of call on its own handle, each checked.
// Sets and adds touch only this thread's port and VLAN, so every answer is predictable.
long mixed_calls(void* handle, int thread, long calls) {
    long faults = 0;
    const std::string port = port_name(thread % 8 + 1);
    const unsigned short vlan = static_cast<unsigned short>(100 + thread);
    for (long i = 0; i < calls; ++i) {
        try {
            switch (i % 5) {
                case 0: {
                    zolt_appl_port_mib_conf_t conf{};
                    if (zolt_port_config_get(handle, port, &conf) != 0) ++faults;
                    break;
                }
                case 1: {
                    std::map<std::string, zolt_appl_port_mib_status_t> table;
                    if (zolt_port_status_get(handle, &table) != 0 || table.empty()) ++faults;
                    break;
                }
                case 2: {
                    zolt_appl_port_mib_conf_t conf{};
                    if (zolt_port_config_get(handle, port, &conf) != 0) ++faults;
                    if (zolt_port_config_set(handle, port, conf) != 0) ++faults;
                    break;
                }
                case 3: {
                    zolt_mac_t mac = {{0x02, 0, 0, 0, static_cast<unsigned char>(thread),
                                       static_cast<unsigned char>(i)}};
                    zolt_appl_mac_stack_addr_entry_conf_t entry{};
                    entry.PortList = {port};
                    if (zolt_mac_config_fdb_static_add(handle, vlan, mac, entry) != 0) ++faults;
                    if (zolt_mac_config_fdb_static_del(handle, vlan, mac) != 0) ++faults;
                    break;
                }
                default: {
                    std::map<std::tuple<unsigned short, zolt_mac_t>,
                             zolt_appl_mac_stack_addr_entry_conf_t>
                        table;
                    if (zolt_mac_config_fdb_static_get(handle, &table) != 0) ++faults;
                    break;
                }
            }
        } catch (const std::exception& e) {
            std::fprintf(stderr, "thread %d call %ld: %s\n", thread, i, e.what());
            ++faults;
        }
    }
    return faults;
}

int parallel(int handles, long calls) {
    zolt_sim::Simulator simulator;
    simulator.start();
    const rest_conn_t conn = connection_to(simulator.url(), 30);

    // Opened and closed on this thread only: libcurl's global set-up and clean-up, which the
    // first open and every close perform, must not run beside other libcurl use.
    std::vector<void*> opened;
    for (int i = 0; i < handles; ++i) {
        opened.push_back(zoltclient_init(&conn));
        if (opened.back() == nullptr) {
            std::fprintf(stderr, "parallel: zoltclient_init failed\n");
            return 1;
        }
    }
    std::atomic<long> faults{0};
    const Clock::time_point start = Clock::now();
    std::vector<std::thread> threads;
    for (int i = 0; i < handles; ++i) {
        threads.emplace_back([&, i] { faults += mixed_calls(opened[i], i, calls); });
    }
    for (std::thread& thread : threads) thread.join();
    const double elapsed = seconds_since(start);
    for (void* handle : opened) zoltclient_deinit(handle);
    simulator.stop();

    const double total = static_cast<double>(handles) * static_cast<double>(calls);
    std::printf("parallel: %d handles x %ld calls in %.1f s (%.0f calls/s), %ld faults\n", handles,
                calls, elapsed, total / elapsed, faults.load());
    return faults == 0 ? 0 : 1;
}

int soak(long calls) {
    zolt_sim::Simulator simulator;
    simulator.start();
    const rest_conn_t conn = connection_to(simulator.url(), 30);
    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) {
        std::fprintf(stderr, "soak: zoltclient_init failed\n");
        return 1;
    }

    // The first tenth settles the allocator, the connection and the simulator; after that the
    // resident set must stay where it is, give or take what the allocator keeps in hand.
    const long step = std::max(1L, calls / 10);
    const long allowed_growth_kb = 4096;
    long settled_kb = -1;
    long highest_kb = 0;
    long faults = 0;
    const Clock::time_point start = Clock::now();
    zolt_appl_port_mib_conf_t conf{};
    for (long i = 1; i <= calls; ++i) {
        try {
            if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) ++faults;
        } catch (const std::exception& e) {
            if (++faults <= 5) std::fprintf(stderr, "soak: call %ld: %s\n", i, e.what());
        }
        if (i % step == 0) {
            const long kb = resident_kb();
            if (settled_kb < 0) settled_kb = kb;
            highest_kb = std::max(highest_kb, kb);
            std::printf("soak: %8ld calls  %6.1f s  RSS %ld kB\n", i, seconds_since(start), kb);
            std::fflush(stdout);
        }
    }
    const double elapsed = seconds_since(start);
    zoltclient_deinit(handle);
    simulator.stop();

    const long growth = highest_kb - settled_kb;
    std::printf(
        "soak: %ld calls in %.1f s (%.0f calls/s), %ld faults, RSS growth after the first "
        "tenth %ld kB (allowed %ld)\n",
        calls, elapsed, static_cast<double>(calls) / elapsed, faults, growth, allowed_growth_kb);
    return faults == 0 && growth <= allowed_growth_kb ? 0 : 1;
}

int idle(int slow_count, int idle_count, long calls) {
    // Both ends of every held connection live in this process.
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);

    zolt_sim::Simulator simulator;
    const int port = simulator.start();

    std::mutex mutex;
    std::vector<int> slow;
    std::atomic<bool> done{false};
    std::thread trickle([&] {
        while (!done) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                for (int fd : slow) send(fd, "a", 1, MSG_NOSIGNAL);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    });
    int failed_connects = 0;
    for (int i = 0; i < slow_count; ++i) {
        const int fd = zolt_bench::connect_loopback(port, zolt_bench::kUnfinishedRequest);
        if (fd < 0) {
            ++failed_connects;
            continue;
        }
        std::lock_guard<std::mutex> lock(mutex);
        slow.push_back(fd);
    }
    std::vector<int> idle_fds;
    for (int i = 0; i < idle_count; ++i) {
        const int fd = zolt_bench::connect_loopback(port);
        if (fd < 0) {
            ++failed_connects;
            continue;
        }
        idle_fds.push_back(fd);
    }

    const rest_conn_t conn = connection_to(simulator.url(), 1);
    void* handle = zoltclient_init(&conn);
    long faults = failed_connects;
    std::vector<double> latencies_ms;
    for (long i = 0; i < calls && handle != nullptr; ++i) {
        const Clock::time_point start = Clock::now();
        try {
            zolt_appl_port_mib_conf_t conf{};
            if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) ++faults;
        } catch (const std::exception& e) {
            if (++faults <= 5) std::fprintf(stderr, "idle: call %ld: %s\n", i, e.what());
        }
        latencies_ms.push_back(seconds_since(start) * 1000.0);
    }
    if (handle == nullptr) ++faults;
    zoltclient_deinit(handle);

    done = true;
    trickle.join();
    for (int fd : slow) close(fd);
    for (int fd : idle_fds) close(fd);
    simulator.stop();

    std::sort(latencies_ms.begin(), latencies_ms.end());
    const auto at = [&](double q) {
        return latencies_ms.empty()
                   ? 0.0
                   : latencies_ms[static_cast<std::size_t>(q * (latencies_ms.size() - 1))];
    };
    std::printf(
        "idle: %zu slow + %zu idle connections held; %ld calls: median %.2f ms, 99th %.2f "
        "ms, max %.2f ms; %ld faults\n",
        slow.size(), idle_fds.size(), calls, at(0.5), at(0.99), at(1.0), faults);
    return faults == 0 ? 0 : 1;
}

int usage() {
    std::fprintf(stderr,
                 "usage: zolt_stress parallel HANDLES CALLS | soak CALLS | idle SLOW IDLE CALLS\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    try {
        if (args.size() == 3 && args[0] == "parallel") {
            return parallel(std::stoi(args[1]), std::stol(args[2]));
        }
        if (args.size() == 2 && args[0] == "soak") return soak(std::stol(args[1]));
        if (args.size() == 4 && args[0] == "idle") {
            return idle(std::stoi(args[1]), std::stoi(args[2]), std::stol(args[3]));
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zolt_stress: %s\n", e.what());
        return 1;
    }
    return usage();
}
