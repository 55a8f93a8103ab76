// The HTTP transport against a real server on 127.0.0.1: what goes out, what is collected,
// and how each failure leaves the connection.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "client/rest.h"
#include "client/rest_internal.h"
#include "support/test_server.h"

using zolt_test::make_conn;
using zolt_test::TestServer;

namespace {

std::string base64(const std::string& text) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        unsigned n = 0;
        for (std::size_t j = i; j < i + 3; ++j) {
            n = n << 8 | (j < text.size() ? static_cast<unsigned char>(text[j]) : 0u);
        }
        const std::size_t kept = std::min<std::size_t>(text.size() - i, 3) + 1;
        for (std::size_t k = 0; k < 4; ++k) {
            out += k < kept ? digits[(n >> (18 - 6 * k)) & 63] : '=';
        }
    }
    return out;
}

struct HandleDeleter {
    void operator()(rest_handle_t* handle) const { rest_deinit(handle); }
};
struct ResponseDeleter {
    void operator()(rest_response_t* response) const { rest_free_response(response); }
};
using Handle = std::unique_ptr<rest_handle_t, HandleDeleter>;
using Response = std::unique_ptr<rest_response_t, ResponseDeleter>;

Handle open(const rest_conn_t& conn) { return Handle(rest_init(&conn)); }

Response post(const Handle& handle, const std::string& body) {
    return Response(rest_post(handle.get(), body.data(), static_cast<long>(body.size())));
}

}  // namespace

// ---- What goes out -----------------------------------------------------------------------

TEST(RestRequest, PostsTheGivenBytesToTheUrlWithTheFixedHeaders) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    Response response = post(handle, "{\"a\" : 1}\n");
    ASSERT_NE(response, nullptr);

    const zolt_test::Request request = server.last();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/json_rpc");
    EXPECT_EQ(request.body, "{\"a\" : 1}\n");
    EXPECT_EQ(request.user_agent, "restclient");
    EXPECT_EQ(request.content_type, "application/json");
    EXPECT_EQ(request.authorization, "Basic " + base64("admin:secret"));
}

TEST(RestRequest, SendsExactlySizeBytesWithoutMeasuringTheBody) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    // A prefix of a longer text, and a body holding a NUL byte: both go by the given size.
    Response first(rest_post(handle.get(), "hello world", 5));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(server.last().body, "hello");

    const std::string binary("ab\0cd", 5);
    Response second = post(handle, binary);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(server.last().body, binary);
}

TEST(RestRequest, CredentialsAndContentTypeComeFromTheConnection) {
    TestServer server;
    rest_conn_t empty = make_conn(server.url(), 5, "", "");
    std::snprintf(empty.content_type, sizeof empty.content_type, "%s", "text/plain; charset=utf-8");
    rest_conn_t brim = make_conn(server.url());
    std::memset(brim.user, 'u', sizeof brim.user);          // no terminating NUL: not read past
    std::memset(brim.password, 'p', sizeof brim.password);  // no terminating NUL: not read past
    const struct {
        rest_conn_t conn;
        std::string credentials, content_type;
    } cases[] = {{empty, ":", "text/plain; charset=utf-8"},
                 {brim, std::string(256, 'u') + ":" + std::string(256, 'p'), "application/json"}};
    for (const auto& c : cases) {
        Handle handle = open(c.conn);
        ASSERT_NE(handle, nullptr);
        ASSERT_NE(post(handle, "{}"), nullptr);
        EXPECT_EQ(server.last().authorization, "Basic " + base64(c.credentials));
        EXPECT_EQ(server.last().content_type, c.content_type);
    }
}

TEST(RestRequest, NullBodyPostsNothingAndNeverReadsStandardInput) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    Response empty(rest_post(handle.get(), nullptr, 0));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(server.last().body, "");

    EXPECT_EQ(rest_post(handle.get(), nullptr, 5), nullptr);
    EXPECT_EQ(server.count(), 1u);
}

// ---- What comes back ---------------------------------------------------------------------

TEST(RestResponse, CollectsBodyHeadersAndStatusWithoutJudgingTheStatus) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    for (int status : {200, 404, 500}) {
        server.respond(status, "answer " + std::to_string(status), "text/plain");
        Response response = post(handle, "{}");
        ASSERT_NE(response, nullptr) << status;
        EXPECT_EQ(response->status, status);
        ASSERT_NE(response->body, nullptr);
        EXPECT_STREQ(response->body, ("answer " + std::to_string(status)).c_str());
        ASSERT_NE(response->header, nullptr);
        const std::string header = response->header;
        EXPECT_EQ(header.rfind("HTTP/1.1 " + std::to_string(status), 0), 0u) << header;
        EXPECT_NE(header.find("Content-Type: text/plain\r\n"), std::string::npos) << header;
        EXPECT_EQ(header.substr(header.size() - 4), "\r\n\r\n");
    }
}

TEST(RestResponse, NoBodyBytesLeaveTheBodyNull) {
    TestServer server;
    server.respond(200, "");
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);
    Response response = post(handle, "{}");
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(response->body, nullptr);
    EXPECT_NE(response->header, nullptr);
    EXPECT_EQ(response->status, 200);
}

TEST(RestResponse, ANulByteEndsWhatItsChunkContributes) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    server.respond(200, std::string("{\"a\":1}\0tail", 12));
    Response single = post(handle, "{}");
    ASSERT_NE(single, nullptr);
    EXPECT_STREQ(single->body, "{\"a\":1}");

    // Chunked transfer hands each chunk to the callback on its own: the text after the NUL is
    // dropped for that chunk only, and the next chunk goes on right behind.
    server.handle([](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider("text/plain", [](size_t, httplib::DataSink& sink) {
            sink.write("ab\0cd", 5);
            sink.write("ef", 2);
            sink.write("\0gh", 3);
            sink.write("ij", 2);
            sink.done();
            return true;
        });
    });
    Response chunked = post(handle, "{}");
    ASSERT_NE(chunked, nullptr);
    EXPECT_STREQ(chunked->body, "abefij");
}

TEST(RestResponse, TwoPostsShareTheConnectionButNotTheirText) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    server.respond(200, "first answer, the longer one", "text/plain");
    Response first = post(handle, "one");
    server.respond(201, "second", "text/plain");
    Response second = post(handle, "two");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);

    EXPECT_STREQ(first->body, "first answer, the longer one");
    EXPECT_STREQ(second->body, "second");
    EXPECT_EQ(second->status, 201);
    EXPECT_EQ(std::string(second->header).find("200"), std::string::npos);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].remote_port, requests[1].remote_port) << "connection not kept alive";
}

TEST(RestResponse, AnAnnouncedBodyIsCollectedInOneBlockWithRoomAfterIt) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);
    // Many of libcurl's chunks, announced by Content-Length: no growth, whatever the chunks.
    const std::string body(3 << 20, 'x');
    server.respond(200, body, "text/plain");
    Response response = post(handle, "{}");
    ASSERT_NE(response, nullptr);
    const auto& record = *reinterpret_cast<const rest_response_record*>(response.get());
    EXPECT_EQ(record.body.length, body.size());
    EXPECT_EQ(record.body.capacity, body.size() + 1 + kRestPadding);
    EXPECT_EQ(response->body, body);
    EXPECT_EQ(record.curl, nullptr) << "the record keeps no way to the handle";
}

// ---- Failures ----------------------------------------------------------------------------

TEST(RestFailure, AnAnswerStalledOrCutShortGivesNullAndTheNextPostWorks) {
    TestServer server;
    server.handle([](const httplib::Request& request, httplib::Response& response) {
        if (request.body != "slow" && request.body != "cut") {
            response.set_content("reply to " + request.body, "text/plain");
            return;
        }
        // Announces 100 bytes and sends 10; then either silence past the client's limit or a
        // dropped connection. The text collected so far must go with the failed post (the
        // sanitizer build checks for the leak).
        const bool stall = request.body == "slow";
        response.set_content_provider(
            100, "text/plain", [stall](size_t offset, size_t, httplib::DataSink& sink) {
                if (offset != 0) return false;
                sink.write("0123456789", 10);
                if (stall) std::this_thread::sleep_for(std::chrono::milliseconds(1500));
                return stall;
            });
    });
    Handle handle = open(make_conn(server.url(), 1));
    ASSERT_NE(handle, nullptr);
    for (const std::string failing : {"slow", "cut"}) {
        EXPECT_EQ(post(handle, failing), nullptr) << failing;
        Response next = post(handle, "after " + failing);
        ASSERT_NE(next, nullptr) << failing;
        EXPECT_EQ(std::string(next->body), "reply to after " + failing);
    }
}

TEST(RestFailure, ZeroTimeOutMeansNoLimit) {
    TestServer server;
    server.handle([](const httplib::Request&, httplib::Response& response) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1200));
        response.set_content("late", "text/plain");
    });
    Handle handle = open(make_conn(server.url(), 0));
    ASSERT_NE(handle, nullptr);
    Response response = post(handle, "{}");
    ASSERT_NE(response, nullptr);
    EXPECT_STREQ(response->body, "late");
}

TEST(RestFailure, NullArgumentsAreHarmless) {
    rest_deinit(nullptr);
    rest_free_response(nullptr);
    EXPECT_EQ(rest_init(nullptr), nullptr);
    EXPECT_EQ(rest_post(nullptr, "{}", 2), nullptr);
}

// ---- Set-up failures -----------------------------------------------------------------------
//
// libcurl's own allocation hooks make each of its allocations fail in turn; rest_init must
// come back null from every one of them and release what it had taken (the sanitizer build
// checks for leaks), until enough allocations succeed for a working connection.

namespace {

int allocations_left = 0;

bool take_allocation() { return allocations_left-- > 0; }

void* failing_malloc(size_t size) { return take_allocation() ? std::malloc(size) : nullptr; }
void* failing_calloc(size_t count, size_t size) {
    return take_allocation() ? std::calloc(count, size) : nullptr;
}
void* failing_realloc(void* block, size_t size) {
    return take_allocation() ? std::realloc(block, size) : nullptr;
}
char* failing_strdup(const char* text) { return take_allocation() ? strdup(text) : nullptr; }

}  // namespace

TEST(RestSetup, EveryFailedAllocationInsideLibcurlGivesNull) {
    TestServer server;
    const rest_conn_t conn = make_conn(server.url());

    // Installs the hooks; this only works while no other libcurl user is initialised.
    allocations_left = 1 << 30;
    ASSERT_EQ(curl_global_init_mem(CURL_GLOBAL_DEFAULT, failing_malloc, std::free, failing_realloc,
                                   failing_strdup, failing_calloc),
              CURLE_OK);

    int failures = 0;
    for (int budget = 0; budget < 1000; ++budget) {
        allocations_left = budget;
        rest_handle_t* handle = rest_init(&conn);
        if (handle == nullptr) {
            ++failures;
            continue;
        }
        // Enough allocations for a working connection. rest_deinit's global clean-up removes
        // the hooks again.
        rest_deinit(handle);
        break;
    }
    EXPECT_GE(failures, 3) << "easy handle, credentials and header line all allocate";

    allocations_left = 1 << 30;
    Handle handle = open(conn);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(post(handle, "{}"), nullptr);
}

// ---- The chunk append itself -------------------------------------------------------------

struct ChunkAppend : ::testing::Test {
    rest_response_t* response = rest_response_alloc();
    ~ChunkAppend() override { rest_free_response(response); }

    const rest_response_record& record() const {
        return *reinterpret_cast<const rest_response_record*>(response);
    }
};

TEST_F(ChunkAppend, ReadsNoFurtherThanTheChunk) {
    // An exact-size block without a terminator: the sanitizer build traps any read past it.
    std::unique_ptr<char[]> chunk(new char[3]{'a', 'b', 'c'});
    EXPECT_EQ(rest_write_cb(chunk.get(), 1, 3, response), 3u);
    EXPECT_EQ(rest_write_cb(chunk.get(), 1, 3, response), 3u);
    EXPECT_STREQ(response->body, "abcabc");
    EXPECT_EQ(response->header, nullptr);
}

TEST_F(ChunkAppend, ReportsEveryByteTakenEvenPastANulAndMeasuresTheBodyAsStrlenWould) {
    EXPECT_EQ(rest_body_length(response), 0u) << "no body bytes yet";
    EXPECT_EQ(rest_append_chunk("ab\0cd", 1, 5, response, false), 5u);
    EXPECT_EQ(rest_append_chunk("\0xyz", 1, 4, response, false), 4u);
    EXPECT_EQ(rest_append_chunk("ef", 2, 1, response, false), 2u);
    EXPECT_EQ(rest_append_chunk("HTTP/1.1 200 OK\r\n", 1, 17, response, true), 17u);
    EXPECT_STREQ(response->body, "abef");
    EXPECT_EQ(record().body.length, 4u);
    EXPECT_EQ(rest_body_length(response), 4u);
}

TEST_F(ChunkAppend, AnEmptyFirstChunkStillGivesText) {
    EXPECT_EQ(rest_append_chunk("", 1, 0, response, false), 0u);
    ASSERT_NE(response->body, nullptr);
    EXPECT_STREQ(response->body, "");
}

TEST_F(ChunkAppend, GrowsGeometricallyAndKeepsRoomAfterTheText) {
    std::string chunk(1000, 'z');
    std::size_t reallocations = 0;
    std::size_t capacity = 0;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(rest_write_cb(chunk.data(), 1, chunk.size(), response), chunk.size());
        ASSERT_GE(record().body.capacity, record().body.length + 1 + kRestPadding);
        if (record().body.capacity != capacity) {
            ++reallocations;
            capacity = record().body.capacity;
        }
    }
    EXPECT_EQ(record().body.length, 1000u * 1000u);
    EXPECT_EQ(std::strlen(response->body), 1000u * 1000u);
    EXPECT_LE(reallocations, 12u);
}

TEST_F(ChunkAppend, AnAnnouncedLengthSizesTheFirstBlockUnlessItIsImplausible) {
    reinterpret_cast<rest_response_record*>(response)->body.expected = 100000;
    ASSERT_EQ(rest_append_chunk("ab", 1, 2, response, false), 2u);
    EXPECT_EQ(record().body.capacity, 100000u + 1 + kRestPadding);

    rest_response_t* other = rest_response_alloc();
    reinterpret_cast<rest_response_record*>(other)->body.expected = kRestLargestExpected + 1;
    ASSERT_EQ(rest_append_chunk("ab", 1, 2, other, false), 2u);
    EXPECT_LT(reinterpret_cast<rest_response_record*>(other)->body.capacity, 100000u);
    EXPECT_STREQ(other->body, "ab");
    rest_free_response(other);
}

TEST_F(ChunkAppend, ByteCountOverflowRefusesTheChunk) {
    EXPECT_EQ(rest_append_chunk("x", SIZE_MAX / 2, 3, response, false), 0u);
    EXPECT_EQ(response->body, nullptr);
}
