#pragma once

// A running simulator on a free port of 127.0.0.1 and one library handle on it, logged in with
// the simulator's starting account. The handle is closed before the simulator stops, as an
// application would. And a clock for the switch that the test steps by hand.

#include <atomic>
#include <utility>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/test_server.h"

namespace zolt_test {

class Switch {
public:
    explicit Switch(zolt_sim::Options options = zolt_sim::Options())
        : simulator_(std::move(options)) {
        simulator_.start();
        const rest_conn_t conn = make_conn(simulator_.url(), 5, "admin", "admin");
        handle_ = zoltclient_init(&conn);
    }
    ~Switch() {
        zoltclient_deinit(handle_);
        simulator_.stop();
    }
    Switch(const Switch&) = delete;
    Switch& operator=(const Switch&) = delete;

    void* handle() const { return handle_; }
    zolt_sim::Simulator& simulator() { return simulator_; }

private:
    zolt_sim::Simulator simulator_;
    void* handle_ = nullptr;
};

// The switch's time when Options::clock is source(): it stands still until advanced.
class ManualClock {
public:
    using Clock = zolt_sim::Model::Clock;
    zolt_sim::Model::TimeSource source() {
        return [this] { return now_.load(); };
    }
    void advance(Clock::duration by) { now_ = now_.load() + by; }

private:
    std::atomic<Clock::time_point> now_{Clock::now()};
};

}  // namespace zolt_test
