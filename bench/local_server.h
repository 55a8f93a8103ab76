#pragma once

// The benchmarks' HTTP peer: a cpp-httplib server on a free port of 127.0.0.1 that listens on a
// thread of its own from construction to destruction. The caller's `routes` installs the
// handlers (and any setting) before the server starts.

#include <httplib.h>

#include <chrono>
#include <string>
#include <thread>

class LocalServer {
public:
    template <class Routes>
    explicit LocalServer(Routes routes) {
        server_.set_tcp_nodelay(true);
        routes(server_);
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~LocalServer() {
        server_.stop();
        thread_.join();
    }
    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

    int port() const { return port_; }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/json_rpc"; }

private:
    httplib::Server server_;
    int port_ = -1;
    std::thread thread_;
};
