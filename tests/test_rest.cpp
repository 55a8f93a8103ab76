// The HTTP transport against a real server on 127.0.0.1: what goes out, what is collected,
// and how each failure leaves the connection.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "client/rest.h"
#include "client/rest_internal.h"
#include "support/test_server.h"

using zolt_test::make_conn;
using zolt_test::TestServer;

namespace {

// The Authorization header that HTTP Basic authentication with these credentials sends.
std::string basic(const std::string& user, const std::string& password) {
    return httplib::make_basic_authentication_header(user, password).second;
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

// The size decides, not a NUL: a prefix of a longer text, a body holding a NUL byte, and no body
// at all (for a null body libcurl would read standard input instead).
TEST(RestRequest, PostsExactlySizeBytesToTheUrlWithTheFixedHeaders) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    const std::string binary("ab\0cd", 5);
    const struct {
        const char* body;
        long size;
        std::string sent;
    } cases[] = {{"{\"a\" : 1}\n", 10, "{\"a\" : 1}\n"},
                 {"hello world", 5, "hello"},
                 {binary.data(), 5, binary},
                 {nullptr, 0, ""}};
    for (const auto& c : cases) {
        ASSERT_NE(Response(rest_post(handle.get(), c.body, c.size)), nullptr) << c.sent;
        const zolt_test::Request request = server.last();
        EXPECT_EQ(request.body, c.sent);
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.path, "/json_rpc");
        EXPECT_EQ(request.user_agent, "restclient");
        EXPECT_EQ(request.content_type, "application/json");
        EXPECT_EQ(request.authorization, basic("admin", "secret"));
    }
    EXPECT_EQ(rest_post(handle.get(), nullptr, 5), nullptr);
    EXPECT_EQ(server.count(), 4u);
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
        std::string user, password, content_type;
    } cases[] = {{empty, "", "", "text/plain; charset=utf-8"},
                 {brim, std::string(256, 'u'), std::string(256, 'p'), "application/json"}};
    for (const auto& c : cases) {
        Handle handle = open(c.conn);
        ASSERT_NE(handle, nullptr);
        ASSERT_NE(post(handle, "{}"), nullptr);
        EXPECT_EQ(server.last().authorization, basic(c.user, c.password));
        EXPECT_EQ(server.last().content_type, c.content_type);
    }
}

// ---- What comes back ---------------------------------------------------------------------

// Posts on one connection, each answer with its own text only.
TEST(RestResponse, CollectsBodyHeadersAndStatusWithoutJudgingTheStatus) {
    TestServer server;
    Handle handle = open(make_conn(server.url()));
    ASSERT_NE(handle, nullptr);

    for (const std::string body : {"answer 200", "answer 404", "answer 500", ""}) {
        const int status = body.empty() ? 200 : std::stoi(body.substr(7));
        server.respond(status, body, "text/plain");
        Response response = post(handle, "{}");
        ASSERT_NE(response, nullptr) << body;
        EXPECT_EQ(response->status, status);
        if (body.empty()) {
            EXPECT_EQ(response->body, nullptr) << "no body bytes, no text";
        } else {
            EXPECT_STREQ(response->body, body.c_str());
        }
        ASSERT_NE(response->header, nullptr);
        const std::string header = response->header;
        EXPECT_EQ(header.rfind("HTTP/1.1 " + std::to_string(status), 0), 0u) << header;
        EXPECT_EQ(header.substr(header.size() - 4), "\r\n\r\n");
    }
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

// Each answer announces 100 bytes and sends 10; then it stalls past the client's limit (the
// server holds it until the post has given up), is cut off, or, with no limit set, finishes
// after more than the shortest limit there is, one second. A failed post returns null with
// libcurl's reason kept for the engine; the text collected so far goes with it (the sanitizer
// build checks for the leak), and the next post on the connection works.
TEST(RestFailure, AnAnswerStalledOrCutShortGivesNullAndTheNextPostWorks) {
    enum class Then { stall, cut, finish_late };
    const struct {
        Then then;
        long limit;
        CURLcode result;
    } cases[] = {{Then::stall, 1, CURLE_OPERATION_TIMEDOUT},
                 {Then::cut, 1, CURLE_PARTIAL_FILE},
                 {Then::finish_late, 0, CURLE_OK}};
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.then));
        std::promise<void> release;
        std::shared_future<void> released = release.get_future().share();
        TestServer server;
        server.handle([&c, released](const httplib::Request& request, httplib::Response& response) {
            if (request.body == "next") {
                response.set_content("reply", "text/plain");
                return;
            }
            response.set_content_provider(
                100, "text/plain", [&c, released](size_t offset, size_t, httplib::DataSink& sink) {
                    if (offset == 0) sink.write("0123456789", 10);
                    if (c.then == Then::stall) released.wait_for(std::chrono::seconds(30));
                    if (c.then != Then::finish_late) return false;
                    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
                    sink.write(std::string(90, 'x').data(), 90);
                    return true;
                });
        });
        Handle handle = open(make_conn(server.url(), c.limit));
        ASSERT_NE(handle, nullptr);
        Response first = post(handle, "first");
        release.set_value();
        EXPECT_EQ(rest_last_result(handle.get()), c.result);
        if (c.then == Then::finish_late) {
            ASSERT_NE(first, nullptr);
            EXPECT_EQ(std::string(first->body), "0123456789" + std::string(90, 'x'));
        } else {
            EXPECT_EQ(first, nullptr);
        }
        Response next = post(handle, "next");
        ASSERT_NE(next, nullptr);
        EXPECT_STREQ(next->body, "reply");
    }
}

// Closing a connection cleans up libcurl for the whole process; another connection that is
// still open must go on working.
TEST(RestFailure, ClosingOneConnectionLeavesAnotherWorking) {
    TestServer server;
    Handle first = open(make_conn(server.url()));
    Handle second = open(make_conn(server.url()));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ASSERT_NE(post(first, "{}"), nullptr);
    first.reset();
    for (int i = 0; i < 2; ++i) EXPECT_NE(post(second, "{}"), nullptr);
    EXPECT_EQ(server.count(), 3u);
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

// An exact-size block without a terminator (the sanitizer build traps any read past it), a NUL
// that ends its chunk's contribution while every byte is still reported taken and the next chunk
// goes on right behind, and a body length kept without measuring that agrees with strlen. (A NUL
// in a whole answer: test_engine.cpp.)
TEST(ChunkAppend, TakesEveryByteButKeepsTextUpToEachChunksNul) {
    rest_response_t* response = rest_response_alloc();
    EXPECT_EQ(rest_append_chunk("", 1, 0, response, false), 0u);
    EXPECT_STREQ(response->body, "") << "an empty first chunk still gives text";
    std::unique_ptr<char[]> chunk(new char[3]{'a', 'b', 'c'});
    EXPECT_EQ(rest_write_cb(chunk.get(), 1, 3, response), 3u);
    EXPECT_EQ(rest_append_chunk("d\0ef", 1, 4, response, false), 4u);
    EXPECT_EQ(rest_append_chunk("gh", 2, 1, response, false), 2u);
    EXPECT_EQ(rest_append_chunk("HTTP/1.1 200 OK\r\n", 1, 17, response, true), 17u);
    EXPECT_STREQ(response->body, "abcdgh");
    EXPECT_EQ(rest_body_length(response), 6u);
    EXPECT_EQ(rest_append_chunk("x", SIZE_MAX / 2, 3, response, false), 0u) << "size overflow";
    EXPECT_STREQ(response->body, "abcdgh");
    rest_free_response(response);
}

static const rest_response_record& record(const rest_response_t* response) {
    return *reinterpret_cast<const rest_response_record*>(response);
}

TEST(ChunkAppend, GrowsGeometricallyAndKeepsRoomAfterTheText) {
    rest_response_t* response = rest_response_alloc();
    std::string chunk(1000, 'z');
    std::size_t reallocations = 0;
    std::size_t capacity = 0;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(rest_write_cb(chunk.data(), 1, chunk.size(), response), chunk.size());
        ASSERT_GE(record(response).body.capacity, record(response).body.length + 1 + kRestPadding);
        if (record(response).body.capacity != capacity) {
            ++reallocations;
            capacity = record(response).body.capacity;
        }
    }
    EXPECT_EQ(record(response).body.length, 1000u * 1000u);
    EXPECT_EQ(std::strlen(response->body), 1000u * 1000u);
    EXPECT_LE(reallocations, 12u);
    rest_free_response(response);
}

// A Content-Length sizes the first block, unless it is beyond any answer a switch gives.
TEST(ChunkAppend, AnAnnouncedLengthSizesTheFirstBlockUnlessItIsImplausible) {
    rest_response_t* response = rest_response_alloc();
    reinterpret_cast<rest_response_record*>(response)->body.expected = 100000;
    ASSERT_EQ(rest_append_chunk("ab", 1, 2, response, false), 2u);
    EXPECT_EQ(record(response).body.capacity, 100000u + 1 + kRestPadding);
    rest_free_response(response);

    rest_response_t* other = rest_response_alloc();
    reinterpret_cast<rest_response_record*>(other)->body.expected = kRestLargestExpected + 1;
    ASSERT_EQ(rest_append_chunk("ab", 1, 2, other, false), 2u);
    EXPECT_LT(record(other).body.capacity, 100000u);
    EXPECT_STREQ(other->body, "ab");
    rest_free_response(other);
}
