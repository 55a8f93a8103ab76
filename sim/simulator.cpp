#include "sim/simulator.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <json/reader.h>
#include <json/writer.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <deque>
#include <fstream>
#include <iostream>
#include <limits>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "sim/effects.h"
#include "sim/names.h"
#include "sim/words.h"

namespace zolt_sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kRealm = "Basic realm=\"zolt-switch-sim\"";
constexpr const char* kHtml500 =
    "<!DOCTYPE html>\n<html><head><title>500 Internal Server Error</title></head>\n"
    "<body><h1>Internal Server Error</h1><p>The switch could not answer.</p></body></html>\n";

// An idle keep-alive connection holds a server thread, and stop() waits for it: keep the wait
// short. A client that stays idle longer simply connects again.
constexpr time_t kKeepAliveSeconds = 2;

// How long a connection may go without a byte while a request arrives, or while an answer is
// being taken, before the server gives up on it.
constexpr time_t kReadSeconds = 5;
constexpr time_t kWriteSeconds = 5;

// Threads that serve connections at the same time; beyond this, connections wait their turn.
constexpr std::size_t kMostConnectionThreads = 1024;

// A larger request body gets 413 before it is read.
constexpr std::size_t kLargestBody = 64u << 20;

// Text from the network, fit for one log line.
std::string printable(const std::string& text) {
    std::string out;
    for (char c : text.substr(0, 120)) {
        out += std::isprint(static_cast<unsigned char>(c)) ? c : '?';
    }
    return out;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// --- the login: HTTP Basic credentials against the switch's own users table --------------------

// Standard base64 with its padding; false for any other character or a length that is not whole.
bool decode_base64(const std::string& text, std::string& out) {
    static const std::string kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (text.size() % 4 != 0) return false;
    out.clear();
    unsigned bits = 0;
    int held = 0;
    std::size_t padding = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '=') {
            if (i + 2 < text.size()) return false;  // padding only in the last two places
            ++padding;
            continue;
        }
        const std::size_t value = kAlphabet.find(text[i]);
        if (value == std::string::npos || padding > 0) return false;
        bits = (bits << 6) | static_cast<unsigned>(value);
        held += 6;
        if (held >= 8) {
            held -= 8;
            out += static_cast<char>((bits >> held) & 0xff);
        }
    }
    return true;
}

// "Basic <base64 of user:password>", the scheme in any letter case. The user name ends at the
// first colon; the password may hold colons.
bool basic_credentials(const std::string& header, std::string& user, std::string& password) {
    const std::size_t space = header.find(' ');
    if (space == std::string::npos || lower(header.substr(0, space)) != "basic") return false;
    std::string decoded;
    if (!decode_base64(header.substr(space + 1), decoded)) return false;
    const std::size_t colon = decoded.find(':');
    if (colon == std::string::npos) return false;
    user = decoded.substr(0, colon);
    password = decoded.substr(colon + 1);
    return true;
}

std::string peer_of(int sock) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getpeername(sock, reinterpret_cast<sockaddr*>(&address), &length) != 0) return "?";
    char host[INET6_ADDRSTRLEN] = "?";
    int port = 0;
    if (address.ss_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(&address);
        inet_ntop(AF_INET, &v4->sin_addr, host, sizeof host);
        port = ntohs(v4->sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&address);
        inet_ntop(AF_INET6, &v6->sin6_addr, host, sizeof host);
        port = ntohs(v6->sin6_port);
    }
    return std::string(host) + ":" + std::to_string(port);
}

// The members of the users table that the login writes and reads, each checked against that
// table's record at start-up (the key constants alone tie them to some record of the schema).
void check_account_members() {
    for (const char* member : {key::Privilege, key::Encrypted, key::Password}) {
        require_member(table::users_config_global, member);
    }
}

// The server of the drop fault. cpp-httplib hands every accepted connection to this virtual
// function; here it never reaches the HTTP layer. The request is read and thrown away until the
// line goes quiet, so that closing sends an orderly end of stream rather than a reset, and the
// client sees the connection close with no answer at all.
class DroppingServer : public httplib::Server {
public:
    explicit DroppingServer(std::function<void(const std::string&)> report)
        : report_(std::move(report)) {}

private:
    bool process_and_close_socket(socket_t sock) override {
        char buffer[4096];
        int wait_ms = 1000;  // for the first bytes; then for the rest of the request
        for (int round = 0; round < 1024; ++round) {
            pollfd ready{sock, POLLIN, 0};
            if (poll(&ready, 1, wait_ms) <= 0) break;
            if (recv(sock, buffer, sizeof buffer, 0) <= 0) break;
            wait_ms = 50;
        }
        if (report_) report_(peer_of(sock));
        shutdown(sock, SHUT_RDWR);
        close(sock);
        return true;
    }

    std::function<void(const std::string&)> report_;
};

// cpp-httplib hands each accepted connection to one task of its task queue for the connection's
// whole life, idle keep-alive waits and slow requests included. With its fixed pool of a few
// threads, a handful of idle clients hold every thread and a new request waits for one of them
// to time out. Here a connection always finds a thread at once: an idle worker takes it, or a
// new worker starts when none is idle, up to a cap far above what the tests and benchmarks
// open. Workers stay for later connections until the server stops.
class ConnectionThreads : public httplib::TaskQueue {
public:
    explicit ConnectionThreads(std::size_t most) : most_(most) {}
    ~ConnectionThreads() override { shutdown(); }

    void enqueue(std::function<void()> fn) override {
        std::lock_guard<std::mutex> lock(mutex_);
        jobs_.push_back(std::move(fn));
        // Each waiting worker takes one job; start one more when the jobs outnumber them.
        if (jobs_.size() > idle_ && workers_.size() < most_) {
            workers_.emplace_back([this] { work(); });
        }
        wake_.notify_one();
    }

    // Connections already taken are served to their end; the server has stopped accepting.
    void shutdown() override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        for (std::thread& worker : workers_) {
            if (worker.joinable()) worker.join();
        }
    }

private:
    void work() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            ++idle_;
            wake_.wait(lock, [this] { return !jobs_.empty() || stopping_; });
            --idle_;
            if (jobs_.empty()) return;  // stopping, nothing left
            std::function<void()> job = std::move(jobs_.front());
            jobs_.pop_front();
            lock.unlock();
            job();
            lock.lock();
        }
    }

    const std::size_t most_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> workers_;  // only grows, under mutex_, until shutdown()
    std::size_t idle_ = 0;              // workers waiting for a job
    bool stopping_ = false;
};

}  // namespace

Fault parse_fault(const std::string& text) {
    auto number_after = [&text](std::size_t colon, int low, int high) {
        const std::string digits = text.substr(colon + 1);
        std::size_t used = 0;
        int value = -1;
        try {
            value = std::stoi(digits, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (digits.empty() || used != digits.size() || value < low || value > high) {
            throw std::invalid_argument("bad number in fault \"" + text + "\" (" +
                                        std::to_string(low) + " to " + std::to_string(high) + ")");
        }
        return value;
    };
    Fault fault;
    if (text == "none") return fault;
    if (text == "html500") {
        fault.kind = Fault::Kind::html500;
    } else if (text == "drop") {
        fault.kind = Fault::Kind::drop;
    } else if (text.rfind("latency:", 0) == 0) {
        fault.kind = Fault::Kind::latency;
        fault.value = number_after(7, 0, 600000);
    } else if (text.rfind("status:", 0) == 0) {
        fault.kind = Fault::Kind::status;
        fault.value = number_after(6, 200, 599);
    } else {
        throw std::invalid_argument("unknown fault \"" + text +
                                    "\"; expected none, latency:MS, html500, drop or status:N");
    }
    return fault;
}

std::string to_string(const Fault& fault) {
    switch (fault.kind) {
        case Fault::Kind::none:
            return "none";
        case Fault::Kind::latency:
            return "latency:" + std::to_string(fault.value);
        case Fault::Kind::html500:
            return "html500";
        case Fault::Kind::drop:
            return "drop";
        case Fault::Kind::status:
            return "status:" + std::to_string(fault.value);
    }
    return "none";
}

struct Simulator::Impl {
    explicit Impl(Options opts)
        : options(std::move(opts)),
          model(options.ports, options.clock ? options.clock : &Model::Clock::now),
          effects(
              model,
              [this] {
                  save_state();
                  return options.state_file;
              },
              [this] { add_starting_account(); }) {
        writer["indentation"] = "";
        check_account_members();
        add_starting_account();
    }

    void log(const std::string& line) {
        if (!options.log) return;
        std::lock_guard<std::mutex> lock(log_mutex);
        if (options.log_sink) {
            options.log_sink(line);
        } else {
            std::fprintf(stderr, "zolt-switch-sim: %s\n", line.c_str());
            std::fflush(stderr);
        }
    }

    // The account the simulator was started with, with a plain password and the top privilege.
    // A state file that holds a users table replaces it when it is loaded.
    void add_starting_account() {
        Json::Value account(Json::objectValue);
        account[key::Privilege] = 15;
        account[key::Encrypted] = false;
        account[key::Password] = options.password;
        Json::Value params(Json::arrayValue);
        params.append(options.user);
        params.append(account);
        model.call(method::users_config_global_add, params);
    }

    // The Basic credentials name a user of the users table whose password is the one given, so
    // an account added, changed or deleted through the switch counts from the next request on.
    // An encrypted password cannot be compared with what a client sends: such a user has no
    // login here.
    bool authorised(const httplib::Request& request) {
        std::string user, password;
        if (!basic_credentials(request.get_header_value("Authorization"), user, password)) {
            return false;
        }
        Json::Value params(Json::arrayValue);
        params.append(user);
        const Json::Value answer = model.call(method::users_config_global_get, params);
        const Json::Value& account = answer[word::result];
        return answer[word::error].isNull() && account.isObject() &&
               account[key::Encrypted] == false && account[key::Password] == Json::Value(password);
    }

    void serve(const httplib::Request& request, httplib::Response& response) {
        const Clock::time_point begin = Clock::now();
        std::string what;
        if (options.fault.kind == Fault::Kind::latency) {
            std::this_thread::sleep_for(std::chrono::milliseconds(options.fault.value));
        }
        if (!authorised(request)) {
            response.status = 401;
            response.set_header("WWW-Authenticate", kRealm);
            response.set_content("401 Unauthorized\n", "text/plain");
            what = "not authorised";
        } else if (options.fault.kind == Fault::Kind::html500) {
            response.status = 500;
            response.set_content(kHtml500, "text/html");
            what = "html500 fault";
        } else {
            CallSummary call;
            Json::Value answer = model.answer(request.body, &call);
            if (call.error == 0) effects.after(call.method, request.body, answer);
            response.status = options.fault.kind == Fault::Kind::status ? options.fault.value : 200;
            response.set_content(Json::writeString(writer, answer), "application/json");
            what = "\"" + printable(call.method) + "\" params=" + std::to_string(call.params) +
                   " error=" + std::to_string(call.error);
        }
        if (options.log) {
            const double ms =
                std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
            char elapsed[32];
            std::snprintf(elapsed, sizeof elapsed, "%.3f ms", ms);
            log(request.remote_addr + ":" + std::to_string(request.remote_port) + " POST " +
                printable(request.path) + " " + what + " -> " + std::to_string(response.status) +
                " " + elapsed);
        }
    }

    void refuse_method(const httplib::Request& request, httplib::Response& response) {
        response.status = 405;
        response.set_header("Allow", "POST");
        response.set_content("405 Method Not Allowed\n", "text/plain");
        log(request.remote_addr + ":" + std::to_string(request.remote_port) + " " +
            printable(request.method) + " " + printable(request.path) + " -> 405");
    }

    void load_state() {
        if (options.state_file.empty()) return;
        std::ifstream in(options.state_file);
        if (!in) return;  // no file yet: start from the seed
        Json::CharReaderBuilder builder;
        Json::Value document;
        std::string errors;
        if (!Json::parseFromStream(builder, in, &document, &errors)) {
            throw std::runtime_error("state file " + options.state_file + ": not JSON: " + errors);
        }
        try {
            model.restore(document, model.now());
        } catch (const std::exception& e) {
            throw std::runtime_error("state file " + options.state_file + ": " + e.what());
        }
    }

    // Written beside the target and renamed over it, so an interrupted save keeps the old file.
    void save_state() {
        if (options.state_file.empty()) return;
        const std::string temporary = options.state_file + ".tmp";
        {
            std::ofstream out(temporary, std::ios::trunc);
            out << state_text(model.snapshot(model.now()));
            out.close();
            if (!out) throw std::runtime_error("state file " + temporary + ": cannot write");
        }
        if (std::rename(temporary.c_str(), options.state_file.c_str()) != 0) {
            throw std::runtime_error("state file " + options.state_file + ": cannot replace");
        }
    }

    Options options;
    Model model;
    Effects effects;  // what the management commands do to the switch
    Json::StreamWriterBuilder writer;
    std::mutex log_mutex;

    std::unique_ptr<httplib::Server> server;
    std::thread thread;
    std::atomic<bool> listening_done{false};
    int port = -1;
};

Simulator::Simulator(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Simulator::~Simulator() {
    try {
        stop();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zolt-switch-sim: %s\n", e.what());
    }
}

int Simulator::start() {
    Impl& impl = *impl_;
    if (impl.server) throw std::runtime_error("the simulator is already running");
    impl.load_state();

    if (impl.options.fault.kind == Fault::Kind::drop) {
        impl.server = std::make_unique<DroppingServer>([&impl](const std::string& peer) {
            impl.log(peer + " connection dropped (drop fault)");
        });
    } else {
        impl.server = std::make_unique<httplib::Server>();
    }
    httplib::Server& server = *impl.server;
    // An answer goes out as two writes (head, then body); without this, Nagle's algorithm holds
    // the body back until the client's delayed acknowledgement of the head, some 40 ms later.
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(std::numeric_limits<int>::max());
    server.set_payload_max_length(kLargestBody);
    server.set_keep_alive_timeout(kKeepAliveSeconds);
    server.set_read_timeout(kReadSeconds);
    server.set_write_timeout(kWriteSeconds);
    // Idle and slow connections must not hold up anyone else's request.
    server.new_task_queue = [] { return new ConnectionThreads(kMostConnectionThreads); };
    server.Post(".*", [&impl](const httplib::Request& request, httplib::Response& response) {
        impl.serve(request, response);
    });
    auto refuse = [&impl](const httplib::Request& request, httplib::Response& response) {
        impl.refuse_method(request, response);
    };
    server.Get(".*", refuse);
    server.Put(".*", refuse);
    server.Patch(".*", refuse);
    server.Delete(".*", refuse);
    server.Options(".*", refuse);

    const std::string& host = impl.options.host;
    int port = impl.options.port;
    if (port == 0) {
        port = server.bind_to_any_port(host);
    } else if (!server.bind_to_port(host, port)) {
        port = -1;
    }
    if (port <= 0) {
        impl.server.reset();
        throw std::runtime_error("cannot listen on " + host + ":" +
                                 std::to_string(impl.options.port));
    }
    impl.port = port;
    impl.listening_done = false;
    impl.thread = std::thread([&impl] {
        impl.server->listen_after_bind();
        impl.listening_done = true;
    });
    // The socket already accepts connections; wait until the accept loop runs so that a stop()
    // right after start() cannot come before it and leave it running.
    while (!server.is_running() && !impl.listening_done) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return port;
}

void Simulator::stop() {
    Impl& impl = *impl_;
    if (!impl.server) return;
    impl.server->stop();
    if (impl.thread.joinable()) impl.thread.join();
    impl.server.reset();
    impl.save_state();
}

int Simulator::port() const { return impl_->port; }

std::string Simulator::url() const {
    const std::string& host = impl_->options.host;
    const bool ipv6 = host.find(':') != std::string::npos;
    return "http://" + (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(impl_->port) + "/";
}

Model& Simulator::model() { return impl_->model; }

}  // namespace zolt_sim
