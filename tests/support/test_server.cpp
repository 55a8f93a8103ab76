#include "support/test_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <stdexcept>

#include "client/zoltclient.h"

namespace zolt_test {

TestServer::TestServer() {
    // A client that keeps its connection open must not hold up the server's shutdown for
    // long.
    server_.set_keep_alive_timeout(1);
    // Headers and body go out in separate writes; without this, Nagle's algorithm holds the
    // body back until the client's delayed acknowledgement, some 40 ms per answer.
    server_.set_tcp_nodelay(true);
    server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
        serve(request, response);
    });

    port_ = server_.bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("test server: cannot bind 127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // stop() only works once the accept loop runs.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!server_.is_running() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TestServer::~TestServer() {
    server_.stop();
    if (thread_.joinable()) thread_.join();
}

std::string TestServer::url() const {
    return "http://127.0.0.1:" + std::to_string(port_) + "/json_rpc";
}

int TestServer::port() const { return port_; }

void TestServer::respond(int status, std::string body, std::string content_type) {
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = nullptr;
    status_ = status;
    body_ = std::move(body);
    content_type_ = std::move(content_type);
}

void TestServer::respond_result(const std::string& result_json) {
    respond(200, R"({"id":"jsonrpc","error":null,"result":)" + result_json + "}");
}

void TestServer::respond_error(const std::string& error_json) {
    respond(200, R"({"id":"jsonrpc","error":)" + error_json + R"(,"result":null})");
}

void TestServer::handle(Handler fn) {
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(fn);
}

Request TestServer::last() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.empty() ? Request{} : requests_.back();
}

std::size_t TestServer::count() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
}

void TestServer::serve(const httplib::Request& request, httplib::Response& response) {
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(Request{
            request.method, request.path, request.body, request.get_header_value("User-Agent"),
            request.get_header_value("Content-Type"), request.get_header_value("Authorization")});
        handler = handler_;
        if (!handler) {
            response.status = status_;
            if (!body_.empty()) response.set_content(body_, content_type_.c_str());
        }
    }
    // A custom handler may block (a stalling server), so it runs without the lock.
    if (handler) handler(request, response);
}

rest_conn_t make_conn(const std::string& url, long timeout, const char* user,
                      const char* password) {
    rest_conn_t conn;
    std::memset(&conn, 0, sizeof conn);
    std::snprintf(conn.user, sizeof conn.user, "%s", user);
    std::snprintf(conn.password, sizeof conn.password, "%s", password);
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.content_type, sizeof conn.content_type, "%s", "application/json");
    conn.timeout = timeout;
    return conn;
}

ClientTest::ClientTest() {
    const rest_conn_t conn = make_conn(server.url());
    handle_ = zoltclient_init(&conn);
}

ClientTest::~ClientTest() { zoltclient_deinit(handle_); }

void* ClientTest::handle() {
    EXPECT_NE(handle_, nullptr) << "zoltclient_init failed";
    return handle_;
}

int closed_port() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) throw std::runtime_error("closed_port: socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(fd);
        throw std::runtime_error("closed_port: bind");
    }
    // Bound but never listening: the kernel refuses connections to it while we hold it, and
    // nobody else can take the port in the meantime. The descriptor is kept for the process's
    // lifetime on purpose.
    return ntohs(address.sin_port);
}

}  // namespace zolt_test
