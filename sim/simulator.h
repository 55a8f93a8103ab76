#pragma once

// The simulated switch on the network: an HTTP server (cpp-httplib, keep-alive on) that takes a
// JSON-RPC request in the body of a POST to any path and answers it from a Model.
//
// Every POST is judged in this order: the fault's added latency; HTTP Basic authentication
// against the switch's own users table ("users.config.global"), which starts with the account of
// Options and changes as users are added, changed or deleted through the switch (unknown users,
// wrong passwords and missing credentials get 401 with a WWW-Authenticate challenge); the fault
// that replaces the answer (html500); then the model's answer, a JSON object with "id", "error" and
// "result", sent with status 200 (or the fixed status of the status fault). Other HTTP methods
// get 405. The drop fault acts before all of this: every connection is closed as soon as the
// request has arrived, without a byte of answer.
//
// The request log (off by default) has one line per request: peer, path, method string, number
// of params, status and error code. It never shows credentials, headers or parameter values.
//
// Usable in-process: a test constructs a Simulator, calls start() (port 0 picks a free port)
// and talks to url(); stop() or the destructor shuts the server down and joins its threads.

#include <functional>
#include <memory>
#include <string>

#include "sim/model.h"

namespace zolt_sim {

struct Fault {
    enum class Kind {
        none,
        latency,  // every answer waits `value` milliseconds first
        html500,  // every authorised POST gets status 500 with an HTML body
        drop,     // every connection is closed without an answer
        status,   // every answer carries status `value` (200 to 599); its body is unchanged
    };
    Kind kind = Kind::none;
    int value = 0;
};

// "none", "latency:MS", "html500", "drop" or "status:N"; anything else throws
// std::invalid_argument with a message that says what is accepted.
Fault parse_fault(const std::string& text);
std::string to_string(const Fault& fault);

struct Options {
    std::string host = "127.0.0.1";
    int port = 0;  // 0: pick a free one
    std::string user = "admin";
    std::string password = "admin";
    int ports = 8;           // switch ports "Gi 1/1" .. "Gi 1/<ports>"
    std::string state_file;  // loaded by start() if it exists, written by stop(); empty: none
    Fault fault;
    bool log = false;  // one line per request
    // Where log lines go (without a newline); unset: standard error.
    std::function<void(const std::string&)> log_sink;
    // Where the switch reads the time (its counters, an upload's progress); unset: the steady
    // clock. A test sets its own to step time by hand.
    Model::TimeSource clock;
};

class Simulator {
public:
    explicit Simulator(Options options = Options());
    ~Simulator();  // stops; a failure to save the state is reported on standard error
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Loads the state file, binds and starts serving; returns the bound port. Throws
    // std::runtime_error when the state file cannot be read or the address cannot be bound.
    int start();

    // Stops serving, joins every server thread and saves the state file. Idempotent; throws
    // std::runtime_error when the state file cannot be written.
    void stop();

    int port() const;
    std::string url() const;  // "http://<host>:<port>/"
    Model& model();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zolt_sim
