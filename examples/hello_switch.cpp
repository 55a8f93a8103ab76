// hello_switch: opens a client handle and shows one JSON-RPC exchange over the library's
// REST transport.
//
//   hello_switch                       answers itself from a small server on 127.0.0.1
//   hello_switch URL [USER PASSWORD]   talks to a real switch (or simulator) at URL

#include <httplib.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "client/zoltclient.h"

namespace {

rest_conn_t connection(const std::string& url, const char* user, const char* password) {
    rest_conn_t conn;
    std::memset(&conn, 0, sizeof conn);
    std::snprintf(conn.user, sizeof conn.user, "%s", user);
    std::snprintf(conn.password, sizeof conn.password, "%s", password);
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 5;
    return conn;
}

int run(const rest_conn_t& conn) {
    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) {
        std::fprintf(stderr, "hello_switch: cannot open a connection to %s\n", conn.url);
        return 1;
    }
    std::printf("opened a client handle for %s\n", conn.url);
    zoltclient_deinit(handle);

    // The request as the typed methods send it: the styled JSON-RPC envelope.
    const std::string request =
        "{\n   \"id\" : \"jsonrpc\",\n   \"method\" : \"port.status.get\",\n"
        "   \"params\" : [ \"Gi 1/1\" ]\n}\n";
    rest_handle_t* rest = rest_init(&conn);
    rest_response_t* response =
        rest == nullptr ? nullptr
                        : rest_post(rest, request.data(), static_cast<long>(request.size()));
    if (response == nullptr) {
        std::fprintf(stderr, "hello_switch: the post to %s failed\n", conn.url);
        rest_deinit(rest);
        return 1;
    }
    std::printf("request:\n%s", request.c_str());
    std::printf("answer (HTTP %ld):\n%s\n", response->status,
                response->body != nullptr ? response->body : "(no body)");
    const bool ok = response->status >= 200 && response->status <= 299;
    rest_free_response(response);
    rest_deinit(rest);
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        return run(connection(argv[1], argc > 2 ? argv[2] : "admin", argc > 3 ? argv[3] : "admin"));
    }

    httplib::Server server;
    server.Post("/json_rpc", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(
            R"({"id":"jsonrpc","error":null,"result":{"Link":true,"Speed":"speed1G","Fdx":true}})",
            "application/json");
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    if (port <= 0) {
        std::fprintf(stderr, "hello_switch: cannot listen on 127.0.0.1\n");
        return 1;
    }
    std::thread thread([&server] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));

    const int status =
        run(connection("http://127.0.0.1:" + std::to_string(port) + "/json_rpc", "admin", "admin"));
    server.stop();
    thread.join();
    return status;
}
