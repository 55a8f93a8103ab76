#pragma once

// A real HTTP server on 127.0.0.1 for the tests: cpp-httplib on an ephemeral port, serving
// from a background thread. Every request is recorded; the answer is either a fixed one
// (respond*) or a custom handler.

#include <gtest/gtest.h>
#include <httplib.h>

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/rest.h"

namespace zolt_test {

struct Request {
    std::string method, path, body, user_agent, content_type, authorization;
};

class TestServer {
public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    TestServer();
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    std::string url() const;  // "http://127.0.0.1:<port>/json_rpc"
    int port() const;

    // The answer to every later request. Until one is set: 200 with a null result.
    void respond(int status, std::string body, std::string content_type = "application/json");
    // 200, {"id":"jsonrpc","error":null,"result":<result_json>}
    void respond_result(const std::string& result_json);
    // 200, {"id":"jsonrpc","error":<error_json>,"result":null}
    void respond_error(const std::string& error_json);
    // Replaces the fixed answer; requests are still recorded before it runs.
    void handle(Handler fn);

    Request last() const;  // an empty Request when nothing arrived
    std::size_t count() const;

private:
    void serve(const httplib::Request& request, httplib::Response& response);

    httplib::Server server_;
    int port_ = -1;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    Handler handler_;
    int status_ = 200;
    std::string body_ = R"({"id":"jsonrpc","error":null,"result":null})";
    std::string content_type_ = "application/json";
};

rest_conn_t make_conn(const std::string& url, long timeout = 5, const char* user = "admin",
                      const char* password = "secret");

// Opens a zoltclient against a fresh TestServer; handle() is the void* the typed functions
// take. The client is closed before the server stops.
class ClientTest : public ::testing::Test {
protected:
    ClientTest();
    ~ClientTest() override;

    TestServer server;
    void* handle();

private:
    void* handle_ = nullptr;
};

// A port on 127.0.0.1 on which nothing listens: connecting to it is refused.
int closed_port();

}  // namespace zolt_test
