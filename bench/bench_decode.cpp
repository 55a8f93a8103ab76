// Answer decoding, side by side in one run:
//   1. client CPU per call (CLOCK_THREAD_CPUTIME_ID of the calling thread; the server's threads
//      are not counted) of a small keyed get ("port.config.get") and of a 1,000-row get-all of
//      port counters ("port.statistics.rmon.get"), through the library and through a bare
//      libcurl + JsonCpp client that sends the same request and decodes the same way, each on
//      its one kept-alive connection to a server on 127.0.0.1 that answers with fixed text; the
//      keyed get also against the transport's floor, libcurl with the library's own option list
//      posting the same request text and keeping the answer's bytes; each pair runs in
//      alternating rounds and each figure is the fastest round; client and server threads share
//      one CPU;
//   2. decode time of 1k/10k/100k-row answers, the direct decoder and the JSON tree;
//   3. peak memory of the 100k-row decode, each way in a child process of its own: the growth
//      of the resident set's high-water mark from the collected answer to the decoded table
//      (the answer text made beforehand is not counted; its collected copy is, in both ways).
// Decode times start from the answer text and include collecting it as the transport does.
// Run: build/bench/zolt_bench_decode [repetitions]

#include <curl/curl.h>
#include <httplib.h>
#include <json/json.h>
#include <malloc.h>
#include <sched.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/local_server.h"
#include "client/methods.h"
#include "client/request.h"
#include "client/rest_internal.h"
#include "client/zoltclient.h"
#include "fast/families.h"

namespace {

double thread_cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double wall_seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// --- answers -------------------------------------------------------------------------------------

const char* const kCounterKeys[] = {
    "RxDropEvents",    "RxOctets",          "RxPkts",          "RxBroadcastPkts",
    "RxMulticastPkts", "RxCrcAlignErrPkts", "RxUndersizePkts", "RxOversizePkts",
    "RxFragmentsPkts", "RxJabbersPkts",     "Rx64Pkts",        "Rx65to127Pkts",
    "Rx128to255Pkts",  "Rx256to511Pkts",    "Rx512to1023Pkts", "Rx1024to1518Pkts",
    "Rx1519PktsToMax", "TxDropEvents",      "TxOctets",        "TxPkts",
    "TxBroadcastPkts", "TxMulticastPkts",   "Tx64Pkts",        "Tx65to127Pkts",
    "Tx128to255Pkts",  "Tx256to511Pkts",    "Tx512to1023Pkts", "Tx1024to1518Pkts",
    "Tx1519PktsToMax"};

// Rows of port counters as a server writes them: members in key order, numbers of an hour's
// traffic, no blanks.
std::string counter_table(int rows) {
    std::vector<std::string> keys(std::begin(kCounterKeys), std::end(kCounterKeys));
    std::sort(keys.begin(), keys.end());
    std::string text = "{\"error\":null,\"id\":\"jsonrpc\",\"result\":[";
    unsigned long long state = 88172645463325252ULL;
    char number[32];
    for (int row = 0; row < rows; ++row) {
        if (row > 0) text += ',';
        text += "{\"key\":\"Gi " + std::to_string(1 + row / 1000) + "/" +
                std::to_string(1 + row % 1000) + "\",\"val\":{";
        for (std::size_t k = 0; k < keys.size(); ++k) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            std::snprintf(number, sizeof number, "%llu", state % 10000000000ULL);
            text += (k > 0 ? ",\"" : "\"") + keys[k] + "\":" + number;
        }
        text += "}}";
    }
    return text + "]}";
}

const char kPortConfig[] =
    "{\"error\":null,\"id\":\"jsonrpc\",\"result\":{\"AdvertiseDisabled\":0,"
    "\"ExcessiveRestart\":false,\"FC\":\"off\",\"FrameLengthCheck\":false,\"MTU\":10240,"
    "\"MediaType\":\"rj45\",\"PFC\":0,\"Shutdown\":false,\"Speed\":\"force1GModeFdx\"}}";

using Counters = std::map<std::string, zolt_port_rmon_counters_t>;

// --- a server that answers every POST with fixed text --------------------------------------------

class FixedServer {
public:
    std::string url() const { return server_.url(); }

private:
    const std::string table_ = counter_table(1000);
    LocalServer server_{[this](httplib::Server& server) {
        server.set_keep_alive_max_count(1 << 30);  // one connection for the whole run
        server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            const bool all = request.body.find("\"params\" : []") != std::string::npos;
            response.set_content(all ? table_ : std::string(kPortConfig), "application/json");
        });
    }};
};

// --- the bare client: libcurl and JsonCpp, nothing of the library but its tree decoders ----------

std::size_t collect(char* data, std::size_t size, std::size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

class BareClient {
public:
    explicit BareClient(const std::string& url) : curl_(curl_easy_init()) {
        headers_ = curl_slist_append(nullptr, "Content-Type: application/json");
        curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
        curl_easy_setopt(curl_, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        curl_easy_setopt(curl_, CURLOPT_USERPWD, "admin:admin");
        curl_easy_setopt(curl_, CURLOPT_USERAGENT, "restclient");
        curl_easy_setopt(curl_, CURLOPT_POST, 1L);
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &collect);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &body_);
    }
    ~BareClient() {
        curl_slist_free_all(headers_);
        curl_easy_cleanup(curl_);
    }

    // The request built and written as the library writes it; the answer parsed by the tree.
    Json::Value call(const std::string& method, const Json::Value& params) {
        Json::Value request(Json::objectValue);
        request["method"] = method;
        request["id"] = "jsonrpc";
        request["params"] = params;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        const std::string text = Json::StyledWriter().write(request);
#pragma GCC diagnostic pop
        body_.clear();
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, text.c_str());
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE, static_cast<long>(text.size()));
        Json::Value answer;
        if (curl_easy_perform(curl_) != CURLE_OK || !Json::Reader().parse(body_, answer, false) ||
            !answer.isObject() || !answer.isMember("error") || !answer.isMember("result")) {
            std::fprintf(stderr, "bare client: bad answer\n");
            std::exit(1);
        }
        return answer;
    }

private:
    CURL* curl_;
    curl_slist* headers_;
    std::string body_;
};

// --- the transport floor: libcurl with the library's own option list, nothing else ---------------

std::size_t keep_body(char* data, std::size_t size, std::size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

std::size_t skip_header(char*, std::size_t size, std::size_t count, void*) { return size * count; }

// Posts one fixed request text and keeps the answer's bytes in a reused buffer: what any client
// of this transport pays per call, with the options client/rest.cpp sets and no others.
class FloorClient {
public:
    FloorClient(const std::string& url, std::string request) : request_(std::move(request)) {
        curl_ = curl_easy_init();
        headers_ = curl_slist_append(nullptr, "Content-Type: application/json");
        curl_easy_setopt(curl_, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        curl_easy_setopt(curl_, CURLOPT_USERPWD, "admin:admin");
        curl_easy_setopt(curl_, CURLOPT_TIMEOUT, 0L);
        curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
        curl_easy_setopt(curl_, CURLOPT_USERAGENT, "restclient");
        curl_easy_setopt(curl_, CURLOPT_POST, 1L);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &keep_body);
        curl_easy_setopt(curl_, CURLOPT_HEADERFUNCTION, &skip_header);
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &body_);
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, request_.data());
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE, static_cast<long>(request_.size()));
    }
    ~FloorClient() {
        curl_slist_free_all(headers_);
        curl_easy_cleanup(curl_);
    }

    void call() {
        body_.clear();
        if (curl_easy_perform(curl_) != CURLE_OK || body_.empty()) {
            std::fprintf(stderr, "floor client: no answer\n");
            std::exit(1);
        }
    }

private:
    const std::string request_;
    CURL* curl_;
    curl_slist* headers_;
    std::string body_;
};

// An answer with status 200 and `text` as its body, as the transport collects it.
rest_response_t* response_of(const std::string& text) {
    rest_response_t* response = rest_response_alloc();
    rest_append_chunk(text.data(), 1, text.size(), response, false);
    response->status = 200;
    return response;
}

template <class Call>
double cpu_us_per_call(int calls, Call call) {
    const double before = thread_cpu_seconds();
    for (int i = 0; i < calls; ++i) call();
    return (thread_cpu_seconds() - before) * 1e6 / calls;
}

// Client CPU per call of `library` and `bare`, in alternating rounds so that a busy moment of
// the machine falls on both; the fastest round of each. What else runs on the machine only adds
// to a round's time, so the fastest round is the one nearest the calls' own cost.
template <class Library, class Bare>
std::pair<double, double> side_by_side(int rounds, int calls, Library library, Bare bare) {
    library();  // each opens its connection outside the count
    bare();
    double library_us = 1e300;
    double bare_us = 1e300;
    for (int round = 0; round < rounds; ++round) {
        library_us = std::min(library_us, cpu_us_per_call(calls, library));
        bare_us = std::min(bare_us, cpu_us_per_call(calls, bare));
    }
    return {library_us, bare_us};
}

// --- peak memory ---------------------------------------------------------------------------------

long status_kb(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + std::strlen(field));
    }
    return 0;
}

// Megabytes by which the resident high-water mark grows while `decode` runs, in a child that
// makes its own answer text and hands the heap's free pages back first, so that nothing freed
// earlier hides the decode's own growth.
template <class Decode>
double peak_mb(int rows, Decode decode) {
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = counter_table(rows);
        malloc_trim(0);
        const long before = status_kb("VmRSS:");
        { std::ofstream("/proc/self/clear_refs") << "5"; }  // the high-water mark starts again
        decode(text);
        const double grown = static_cast<double>(status_kb("VmHWM:") - before) / 1024.0;
        if (write(pipe_ends[1], &grown, sizeof grown) != sizeof grown) _exit(1);
        _exit(0);
    }
    double grown = -1;
    if (read(pipe_ends[0], &grown, sizeof grown) != sizeof grown) grown = -1;
    waitpid(child, nullptr, 0);
    close(pipe_ends[0]);
    close(pipe_ends[1]);
    return grown;
}

}  // namespace

int main(int argc, char** argv) {
    const int reps = argc > 1 ? std::atoi(argv[1]) : 1;

    // First, before this process's heap holds anything freed.
    const double direct_mb = peak_mb(100000, [](const std::string& text) {
        Counters all;
        zolt::read_result(response_of(text),
                          &zolt::decode_rows<std::string, zolt_port_rmon_counters_t>,
                          &zolt::direct_rows<std::string, zolt_port_rmon_counters_t>, &all);
    });
    const double tree_mb = peak_mb(100000, [](const std::string& text) {
        Counters all;
        zolt::read_result(response_of(text),
                          &zolt::decode_rows<std::string, zolt_port_rmon_counters_t>, nullptr,
                          &all);
    });
    std::printf("peak memory of the 100,000-row decode\n");
    std::printf("  direct %8.1f MB   tree %8.1f MB   ratio %.3f\n", direct_mb, tree_mb,
                direct_mb / tree_mb);

    // Client and server share one CPU, as a management station's poller and a local peer would
    // on a busy host; their threads inherit this. Left to the scheduler, the two sides land on
    // one core or on two from one round to the next, which moves client CPU per call by half.
    cpu_set_t one{};
    CPU_SET(sched_getcpu() >= 0 ? sched_getcpu() : 0, &one);
    sched_setaffinity(0, sizeof one, &one);

    FixedServer server;
    const std::string url = server.url();
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", url.c_str());
    std::snprintf(conn.user, sizeof conn.user, "admin");
    std::snprintf(conn.password, sizeof conn.password, "admin");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    void* handle = zoltclient_init(&conn);
    BareClient bare(url);
    Json::Value keyed_params(Json::arrayValue);
    keyed_params.append("Gi 1/1");
    std::string keyed_request;
    zolt::write_request("port.config.get", keyed_params, keyed_request);
    FloorClient floor(url, keyed_request);

    std::printf("client CPU per call, one kept-alive connection to 127.0.0.1\n");
    for (int rep = 0; rep < reps; ++rep) {
        zolt_appl_port_mib_conf_t conf{};
        const auto [lib_small, bare_small] = side_by_side(
            25, 400,
            [&] {
                if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) std::exit(1);
            },
            [&] {
                Json::Value params(Json::arrayValue);
                params.append("Gi 1/1");
                const Json::Value answer = bare.call("port.config.get", params);
                zolt_appl_port_mib_conf_t out{};
                parse(answer["result"], out);
            });
        const auto [lib_floor, floor_small] = side_by_side(
            25, 400,
            [&] {
                if (zolt_port_config_get(handle, "Gi 1/1", &conf) != 0) std::exit(1);
            },
            [&] { floor.call(); });
        const auto [lib_all, bare_all] = side_by_side(
            9, 20,
            [&] {
                Counters all;
                if (zolt_port_statistics_rmon_get(handle, &all) != 0 || all.size() != 1000) {
                    std::exit(1);
                }
            },
            [&] {
                const Json::Value answer =
                    bare.call("port.statistics.rmon.get", Json::Value(Json::arrayValue));
                Counters all;
                parse(answer["result"], all);
            });
        std::printf("  keyed get          library %8.1f us   bare %8.1f us   ratio %.2f\n",
                    lib_small, bare_small, lib_small / bare_small);
        std::printf("  keyed get          library %8.1f us   floor %7.1f us   ratio %.2f\n",
                    lib_floor, floor_small, lib_floor / floor_small);
        std::printf("  1,000-row get-all  library %8.1f us   bare %8.1f us   ratio %.2f\n", lib_all,
                    bare_all, lib_all / bare_all);
    }
    zoltclient_deinit(handle);

    std::printf("decode time of a get-all answer of port counters\n");
    for (int rows : {1000, 10000, 100000}) {
        const std::string text = counter_table(rows);
        const int runs = rows >= 100000 ? 3 : rows >= 10000 ? 10 : 50;
        auto best = [&](auto decode) {
            double fastest = 1e9;
            for (int i = 0; i < runs; ++i) {
                Counters all;
                const double start = wall_seconds();
                decode(all);
                fastest = std::min(fastest, wall_seconds() - start);
                if (all.size() != static_cast<std::size_t>(rows)) std::exit(1);
            }
            return fastest * 1e3;
        };
        const double direct = best([&](Counters& all) {
            zolt::read_result(response_of(text),
                              &zolt::decode_rows<std::string, zolt_port_rmon_counters_t>,
                              &zolt::direct_rows<std::string, zolt_port_rmon_counters_t>, &all);
        });
        const double tree = best([&](Counters& all) {
            zolt::read_result(response_of(text),
                              &zolt::decode_rows<std::string, zolt_port_rmon_counters_t>, nullptr,
                              &all);
        });
        std::printf("  %6d rows (%5.1f MB)  direct %8.2f ms   tree %8.2f ms   ratio %.3f\n", rows,
                    static_cast<double>(text.size()) / 1e6, direct, tree, direct / tree);
    }
    return 0;
}
