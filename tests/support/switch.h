#pragma once

// A running simulator on a free port of 127.0.0.1 and one library handle on it, logged in with
// the simulator's starting account. The handle is closed before the simulator stops, as an
// application would.

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

}  // namespace zolt_test
