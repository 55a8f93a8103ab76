// Collecting large answers: through rest_post from a server on 127.0.0.1, and the chunk
// append alone with libcurl's largest write size. Run: build/bench/zolt_bench

#include <benchmark/benchmark.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "client/rest.h"
#include "client/rest_internal.h"

namespace {

// Serves `megabytes` of text to every POST without copying it per request.
class BulkServer {
public:
    BulkServer() : payload_(std::size_t{64} << 20, 'x') {
        server_.set_tcp_nodelay(true);
        server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            const std::size_t size = std::min(payload_.size(), std::stoul(request.body) << 20);
            response.set_content_provider(
                size, "text/plain",
                [this](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                    return sink.write(payload_.data() + offset,
                                      std::min<std::size_t>(length, 1 << 20));
                });
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~BulkServer() {
        server_.stop();
        thread_.join();
    }
    int port() const { return port_; }

private:
    std::string payload_;
    httplib::Server server_;
    int port_ = -1;
    std::thread thread_;
};

void BM_RestPostLargeAnswer(benchmark::State& state) {
    static BulkServer server;
    rest_conn_t conn;
    std::memset(&conn, 0, sizeof conn);
    std::snprintf(conn.url, sizeof conn.url, "http://127.0.0.1:%d/json_rpc", server.port());
    std::snprintf(conn.content_type, sizeof conn.content_type, "text/plain");
    conn.timeout = 60;
    rest_handle_t* handle = rest_init(&conn);

    const std::string request = std::to_string(state.range(0));
    for (auto _ : state) {
        rest_response_t* response =
            rest_post(handle, request.data(), static_cast<long>(request.size()));
        if (response == nullptr || response->body == nullptr) {
            state.SkipWithError("post failed");
            break;
        }
        benchmark::DoNotOptimize(response->body);
        rest_free_response(response);
    }
    state.SetBytesProcessed(state.iterations() * (state.range(0) << 20));
    rest_deinit(handle);
}
BENCHMARK(BM_RestPostLargeAnswer)->Arg(1)->Arg(50)->Unit(benchmark::kMillisecond)->UseRealTime();

// The append alone: 50 MB in chunks of CURL_MAX_WRITE_SIZE, as libcurl delivers a body.
void BM_AppendChunks(benchmark::State& state) {
    const std::string chunk(CURL_MAX_WRITE_SIZE, 'y');
    const std::size_t chunks = (static_cast<std::size_t>(state.range(0)) << 20) / chunk.size();
    for (auto _ : state) {
        rest_response_t* response = rest_response_alloc();
        for (std::size_t i = 0; i < chunks; ++i) {
            rest_write_cb(const_cast<char*>(chunk.data()), 1, chunk.size(), response);
        }
        benchmark::DoNotOptimize(response->body);
        rest_free_response(response);
    }
    state.SetBytesProcessed(state.iterations() * chunks * chunk.size());
}
BENCHMARK(BM_AppendChunks)->Arg(50)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
