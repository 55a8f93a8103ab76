// Collecting large answers: through rest_post from a server on 127.0.0.1, the chunk append alone
// with libcurl's largest write size, and the peak memory of one large answer through the call
// engine. Run: build/bench/zolt_bench

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include "bench/local_server.h"
#include "client/engine.h"
#include "client/rest.h"
#include "client/rest_internal.h"
#include "client/zoltclient.h"

namespace {

// Serves `megabytes` of text to every POST without copying it per request.
class BulkServer {
public:
    int port() const { return server_.port(); }

private:
    const std::string payload_ = std::string(std::size_t{64} << 20, 'x');
    LocalServer server_{[this](httplib::Server& server) {
        server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            const std::size_t size = std::min(payload_.size(), std::stoul(request.body) << 20);
            response.set_content_provider(
                size, "text/plain",
                [this](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                    return sink.write(payload_.data() + offset,
                                      std::min<std::size_t>(length, 1 << 20));
                });
        });
    }};
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

// A JSON-RPC answer of any size, produced piece by piece so that the server holds none of it:
// either one long string as "result" (the tree is then about as large as the text, so every
// extra copy of the text shows) or an array of table rows (a tree much larger than its text).
class JsonServer {
public:
    static constexpr const char* kRow =
        R"(,{"key":"Gi 1/1","val":{"Link":true,"Speed":"1G","Mtu":10240,"Name":"uplink"}})";

    int port() const { return server_.port(); }

private:
    // {"error":null,"result":"xxx...x"}
    static char string_text_at(std::size_t offset, std::size_t size) {
        static const std::string head = R"({"error":null,"result":")";
        static const std::string tail = R"("})";
        if (offset < head.size()) return head[offset];
        if (offset >= size - tail.size()) return tail[offset - (size - tail.size())];
        return 'x';
    }

    // {"error":null,"result":[0,{row},{row},...,{row}      ]} with blanks to fill the size.
    static char row_text_at(std::size_t offset, std::size_t size) {
        static const std::string head = R"({"error":null,"result":[0)";
        static const std::string row = kRow;
        static const std::string tail = "]}";
        if (offset < head.size()) return head[offset];
        if (offset >= size - tail.size()) return tail[offset - (size - tail.size())];
        const std::size_t in_rows = offset - head.size();
        const std::size_t whole_rows = (size - head.size() - tail.size()) / row.size();
        return in_rows < whole_rows * row.size() ? row[in_rows % row.size()] : ' ';
    }

    LocalServer server_{[](httplib::Server& server) {
        server.Post(".*", [](const httplib::Request& request, httplib::Response& response) {
            // The method string names the answer: "s<MB>" or "r<MB>".
            const std::string marker = "\"method\" : \"";
            const std::size_t at = request.body.find(marker) + marker.size();
            const bool rows = request.body[at] == 'r';
            const std::size_t size = std::stoul(request.body.substr(at + 1)) << 20;
            response.set_content_provider(
                size, "application/json",
                [rows, size](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                    std::string piece(std::min<std::size_t>(length, 1 << 16), '\0');
                    for (std::size_t i = 0; i < piece.size(); ++i) {
                        piece[i] =
                            rows ? row_text_at(offset + i, size) : string_text_at(offset + i, size);
                    }
                    return sink.write(piece.data(), piece.size());
                });
        });
    }};
};

// A line of /proc/self/status in kilobytes, such as "VmRSS" or "VmHWM".
long status_kb(const char* name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(name) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0) return std::stol(line.substr(prefix.size()));
    }
    return -1;
}

// One call through the engine with an answer of range(0) MB, a string (range(1) == 0) or rows
// (range(1) == 1). Reported: how far the resident set rose above where it stood before the call
// (peak_MB), as a multiple of the answer's size (peak_per_answer), and what the parsed answer
// still holds when the call has returned (after_MB).
void BM_LargeAnswerPeakMemory(benchmark::State& state) {
    static JsonServer server;
    const std::size_t megabytes = static_cast<std::size_t>(state.range(0));
    const bool rows = state.range(1) == 1;
    rest_conn_t conn;
    std::memset(&conn, 0, sizeof conn);
    std::snprintf(conn.url, sizeof conn.url, "http://127.0.0.1:%d/json_rpc", server.port());
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 120;
    void* handle = zoltclient_init(&conn);
    const std::string request = (rows ? "r" : "s") + std::to_string(megabytes);

    double peak_mb = 0;
    double after_mb = 0;
    for (auto _ : state) {
        // Start from a trimmed heap and a peak reset to the present resident set.
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = status_kb("VmRSS");
        Json::Value answer;
        try {
            answer = zolt::exchange(static_cast<zoltclient*>(handle), request.c_str(),
                                    Json::Value(Json::arrayValue));
        } catch (const std::exception& e) {
            state.SkipWithError(e.what());
            break;
        }
        peak_mb = static_cast<double>(status_kb("VmHWM") - before) / 1024.0;
        after_mb = static_cast<double>(status_kb("VmRSS") - before) / 1024.0;
        benchmark::DoNotOptimize(answer);
    }
    state.counters["peak_MB"] = peak_mb;
    state.counters["peak_per_answer"] = peak_mb / static_cast<double>(megabytes);
    state.counters["after_MB"] = after_mb;
    zoltclient_deinit(handle);
}
BENCHMARK(BM_LargeAnswerPeakMemory)
    ->Args({100, 0})
    ->Args({100, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
