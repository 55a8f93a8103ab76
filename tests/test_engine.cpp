// The call engine against a real server: the exact request text for every kind of argument,
// the status window, and the checks on an answer in their order.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "client/engine.h"
#include "client/request.h"
#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/rpc_call.h"
#include "support/test_server.h"

using zolt_test::ClientTest;
using zolt_test::rpc_call;

namespace {

const zolt_mac_t kMac = {{0x00, 0x1F, 0xA2, 0x0B, 0x3C, 0xD4}};

// The request text for a method whose "params" print as `params`.
std::string request_text(const std::string& method, const std::string& params) {
    return "{\n   \"id\" : \"jsonrpc\",\n   \"method\" : \"" + method +
           "\",\n   \"params\" : " + params + "\n}\n";
}

class Engine : public ClientTest {
protected:
    zoltclient* client() { return static_cast<zoltclient*>(handle()); }

    // Calls the engine and returns the exact body that reached the server.
    template <class... Args>
    std::string posted(const std::string& method, const Args&... args) {
        rpc_call(client(), method, args...);
        return server.last().body;
    }
};

}  // namespace

// ---- Request text ------------------------------------------------------------------------

TEST_F(Engine, NoArgumentsSendAnEmptyParamsArray) {
    EXPECT_EQ(posted("port.config.get"), request_text("port.config.get", "[]"));
}

TEST_F(Engine, EachScalarKindAsTheOnlyArgument) {
    EXPECT_EQ(posted("m", std::string("Gi 1/1")), request_text("m", R"([ "Gi 1/1" ])"));
    EXPECT_EQ(posted("m", "Gi 1/1"), request_text("m", R"([ "Gi 1/1" ])"))
        << "a string literal must not turn into a boolean";
    EXPECT_EQ(posted("m", true), request_text("m", "[ true ]"));
    EXPECT_EQ(posted("m", false), request_text("m", "[ false ]"));
    EXPECT_EQ(posted("m", -2147483647 - 1), request_text("m", "[ -2147483648 ]"));
    EXPECT_EQ(posted("m", static_cast<unsigned short>(65535)), request_text("m", "[ 65535 ]"));
    EXPECT_EQ(posted("m", static_cast<unsigned char>(255)), request_text("m", "[ 255 ]"));
    EXPECT_EQ(posted("m", 4294967295u), request_text("m", "[ 4294967295 ]"));
    EXPECT_EQ(posted("m", kMac), request_text("m", R"([ "00:1F:A2:0B:3C:D4" ])"));
    EXPECT_EQ(posted("m", zolt_appl_vlan_port_mode_trunk), request_text("m", R"([ "trunk" ])"));
}

TEST_F(Engine, SeveralArgumentsKeepTheirPositions) {
    EXPECT_EQ(posted("mvr.status.igmp.group.src-list.get", std::string("Gi 1/1"),
                     static_cast<unsigned short>(10), kMac, true),
              request_text("mvr.status.igmp.group.src-list.get",
                           R"([ "Gi 1/1", 10, "00:1F:A2:0B:3C:D4", true ])"));
    EXPECT_EQ(posted("m", 7, 8u, static_cast<unsigned char>(9)), request_text("m", "[ 7, 8, 9 ]"));
}

TEST_F(Engine, RecordKeysGoAsObjectsInTheirPosition) {
    const zolt_ipv4_uc_t route = {"10.0.0.0", 8, "10.0.0.1"};
    const NAS_ifindex_index port = {"Gi 1/3"};
    EXPECT_EQ(posted("ip.config.route.ipv4.get", route, port),
              request_text("ip.config.route.ipv4.get", R"([
      {
         "networkAddress" : "10.0.0.0",
         "networkPrefixSize" : 8,
         "nextHop" : "10.0.0.1"
      },
      {
         "InterfaceNo" : "Gi 1/3"
      }
   ])"));
}

TEST_F(Engine, LongOrNonAsciiTextIsWrittenTheStyledWay) {
    // One element per line once the one-line form would reach 74 characters.
    const std::string port = "GigabitEthernet 1/1";
    EXPECT_EQ(posted("m", port, port, port, port), request_text("m", R"([
      "GigabitEthernet 1/1",
      "GigabitEthernet 1/1",
      "GigabitEthernet 1/1",
      "GigabitEthernet 1/1"
   ])"));
    // Quotes and control characters are escaped, and so is everything outside ASCII.
    EXPECT_EQ(posted("m", std::string("a\"b\\c\td\xC3\xBC")),
              request_text("m", R"([ "a\"b\\c\td\u00fc" ])"));
}

TEST_F(Engine, AnArgumentThatCannotBeEncodedStopsTheCallBeforeThePost) {
    EXPECT_THROW_EXACT(
        rpc_call(client(), "m", std::string("Gi 1/1"), static_cast<zolt_appl_vlan_port_mode_t>(7)),
        std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

// The request text is written without StyledWriter but must be its text byte for byte; every
// value it is not certain of goes to StyledWriter itself.

namespace {

std::string styled_request(const std::string& method, const Json::Value& params) {
    Json::Value request(Json::objectValue);
    request["method"] = method;
    request["id"] = "jsonrpc";
    request["params"] = params;
    return zolt::styled(request);
}

std::string written_request(const std::string& method, const Json::Value& params) {
    std::string text = "left over from the last call";
    zolt::write_request(method.c_str(), params, text);
    return text;
}

// Values of every kind, nested, near the one-line limit, with the characters whose escapes
// differ (quote, backslash, control, DEL, multi-byte) and with real numbers.
class ValueMaker {
public:
    explicit ValueMaker(unsigned seed) : random_(seed) {}

    Json::Value make(int depth) {
        switch (pick(depth > 0 ? 9 : 7)) {
            case 0:
                return Json::Value();
            case 1:
                return Json::Value(pick(5) == 0 ? INT64_MIN
                                                : static_cast<Json::Int64>(random_()) - 99);
            case 2:
                return Json::Value(pick(2) ? Json::UInt64(~0ULL) : Json::UInt64(pick(100)));
            case 3:
                return Json::Value(pick(2) == 0);
            case 4:
                return Json::Value(pick(8) == 0 ? 0.1 * pick(100) : 1.0 * pick(3));
            case 5:
            case 6:
                return Json::Value(text());
            case 7: {
                Json::Value array(Json::arrayValue);
                for (int i = pick(4) == 0 ? 26 : pick(6); i > 0; --i) array.append(make(depth - 1));
                return array;
            }
            default: {
                Json::Value object(Json::objectValue);
                for (int i = pick(4); i > 0; --i) object[text()] = make(depth - 1);
                return object;
            }
        }
    }

private:
    int pick(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

    std::string text() {
        static const char* const pieces[] = {
            "Gi 1/1",    "a", "\"", "\\", "\t", "\x7f", "\xc3\xbc", " ", "GigabitEthernet 1/1",
            "0123456789"};
        std::string text;
        for (int i = pick(5); i > 0; --i) {
            text += pieces[pick(pick(3) == 0 ? 10 : 4)];
        }
        return text;
    }

    std::mt19937 random_;
};

}  // namespace

TEST(RequestText, IsStyledWritersTextForEveryValue) {
    ValueMaker maker(20261123);
    for (int i = 0; i < 3000; ++i) {
        Json::Value params(Json::arrayValue);
        for (int n = i % 5; n > 0; --n) params.append(maker.make(3));
        ASSERT_EQ(written_request("port.config.get", params),
                  styled_request("port.config.get", params))
            << params.toStyledString();
    }
}

TEST(RequestText, BreaksArraysWhereStyledWriterDoes) {
    // "[ " + elements + ", " between + " ]" reaching 74 characters breaks the line, as do 25
    // elements whatever their length, and any non-empty container inside.
    for (std::size_t length = 60; length < 80; ++length) {
        Json::Value params(Json::arrayValue);
        params.append(std::string(length - 6, 'x'));
        ASSERT_EQ(written_request("m", params), styled_request("m", params)) << length;
    }
    for (int size : {24, 25}) {
        Json::Value params(Json::arrayValue);
        for (int i = 0; i < size; ++i) params.append(i % 2);
        ASSERT_EQ(written_request("m", params), styled_request("m", params)) << size;
    }
    Json::Value params(Json::arrayValue);
    params.append(Json::Value(Json::arrayValue));
    params.append(Json::Value(Json::objectValue));
    params.append(Json::Value(Json::arrayValue)).append(1);
    EXPECT_EQ(written_request("m", params), styled_request("m", params));
}

TEST(RequestText, LeavesCommentsAndOddMethodNamesToStyledWriter) {
    Json::Value params(Json::arrayValue);
    params.append(1).setComment(std::string("// one"), Json::commentAfterOnSameLine);
    EXPECT_EQ(written_request("m", params), styled_request("m", params));
    EXPECT_EQ(written_request("m\xc3\xbc\"", Json::Value(Json::arrayValue)),
              styled_request("m\xc3\xbc\"", Json::Value(Json::arrayValue)));
}

// ---- Status window -----------------------------------------------------------------------

TEST_F(Engine, StatusesInsideTheWindowAreReadAsAnswers) {
    for (int status : {200, 201, 299, 500, 503, 599}) {
        server.respond(status,
                       R"({"id":"jsonrpc","error":null,"result":)" + std::to_string(status) + "}");
        const Json::Value answer = rpc_call(client(), "m");
        EXPECT_EQ(answer["result"].asInt(), status);
    }
}

TEST_F(Engine, StatusesOutsideTheWindowAreNetworkErrorsWhateverTheBody) {
    for (int status : {300, 302, 404, 499, 600}) {
        server.respond(status, R"({"id":"jsonrpc","error":null,"result":null})");
        EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error,
                           "Network error, return code: " + std::to_string(status));
    }
}

TEST_F(Engine, AFinal199NeverReachesTheWindow) {
    // libcurl takes any 1xx for an interim answer and the body after it for a broken next
    // status line, so the transfer fails before the status could be judged.
    server.respond(199, R"({"id":"jsonrpc","error":null,"result":null})");
    EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, "Post error");
}

TEST_F(Engine, ServerStatusWithAJsonRpcErrorReturnsNormally) {
    server.respond(500, R"({"error":{"code":5},"result":null})");
    const Json::Value answer = rpc_call(client(), "m");
    EXPECT_EQ(answer["error"]["code"].asInt(), 5);
}

TEST_F(Engine, ServerStatusWithHtmlFailsToParse) {
    server.respond(500, "<html><body>Internal Server Error</body></html>", "text/html");
    EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, "Failed to parse!");
}

// ---- Checks on the answer, in their order --------------------------------------------------

TEST_F(Engine, AnswerMustBeAnObjectWithErrorThenResult) {
    struct Case {
        const char* body;
        const char* text;
    };
    const Case cases[] = {
        {"", "Failed to parse!"},  // no body bytes at all
        {"{", "Failed to parse!"},
        {"[1]", "Not a object"},
        {"null", "Not a object"},
        {"\"text\"", "Not a object"},
        {"{}", "No error member"},
        {R"({"result":1})", "No error member"},
        {R"({"error":null})", "No result member"},
        {R"({"error":1,"id":2})", "No result member"},
    };
    for (const Case& c : cases) {
        server.respond(200, c.body);
        EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, c.text)
            << "body: " << c.body;
    }
}

TEST_F(Engine, TheWholeAnswerComesBackWhateverItsId) {
    server.respond(200, R"({"id":42,"jsonrpc":"2.0","error":"bad","result":[1,2],"x":true})");
    const Json::Value answer = rpc_call(client(), "m");
    EXPECT_EQ(answer["error"], Json::Value("bad"));
    EXPECT_EQ(answer["result"][1].asInt(), 2);
    EXPECT_EQ(answer["id"].asInt(), 42);
    EXPECT_TRUE(answer["x"].asBool());
}

TEST_F(Engine, CommentsInTheAnswerAreAllowedAndDropped) {
    server.respond(200, "// leading comment\n{\"error\" : null, /* inner */ \"result\" : 3}\n");
    const Json::Value answer = rpc_call(client(), "m");
    EXPECT_EQ(answer["result"].asInt(), 3);
    EXPECT_FALSE(answer.hasComment(Json::commentBefore));
}

TEST_F(Engine, TextAfterANulByteIsNotPartOfTheAnswer) {
    static const char body[] = "{\"error\":null,\"result\":1}\0 trailing garbage";
    server.respond(200, std::string(body, sizeof body - 1));
    EXPECT_EQ(rpc_call(client(), "m")["result"].asInt(), 1);
}

// ---- Transport failures ------------------------------------------------------------------

TEST(EngineTransport, RefusedConnectionIsAPostError) {
    const rest_conn_t conn = zolt_test::make_conn(
        "http://127.0.0.1:" + std::to_string(zolt_test::closed_port()) + "/json_rpc");
    void* handle = zoltclient_init(&conn);
    ASSERT_NE(handle, nullptr);
    EXPECT_THROW_EXACT(rpc_call(static_cast<zoltclient*>(handle), "m"), std::runtime_error,
                       "Post error");
    zoltclient_deinit(handle);
}

TEST(EngineTransport, TimeOutIsAPostErrorAndTheHandleStaysUsable) {
    zolt_test::TestServer server;
    server.handle([](const httplib::Request& request, httplib::Response& response) {
        if (request.body.find("slow") != std::string::npos) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        }
        response.set_content(R"({"error":null,"result":"done"})", "application/json");
    });
    const rest_conn_t conn = zolt_test::make_conn(server.url(), 1);
    void* handle = zoltclient_init(&conn);
    ASSERT_NE(handle, nullptr);
    auto* client = static_cast<zoltclient*>(handle);

    EXPECT_THROW_EXACT(rpc_call(client, "slow"), std::runtime_error, "Post error");
    EXPECT_EQ(rpc_call(client, "fast")["result"].asString(), "done");
    zoltclient_deinit(handle);
}

TEST_F(Engine, AnswerCutShortIsAPostError) {
    server.handle([](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(200, "application/json",
                                      [](size_t offset, size_t, httplib::DataSink& sink) {
                                          if (offset == 0) sink.write(R"({"error":null,)", 14);
                                          return offset == 0;
                                      });
    });
    EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, "Post error");
}

TEST_F(Engine, FailuresPrintNothing) {
    server.respond(404, "not here");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_THROW(rpc_call(client(), "m"), std::runtime_error);
    server.respond(200, "<html>");
    EXPECT_THROW(rpc_call(client(), "m"), std::runtime_error);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// ---- The handle --------------------------------------------------------------------------

TEST(Handle, OpensAndClosesAndIgnoresNull) {
    EXPECT_EQ(zoltclient_init(nullptr), nullptr);
    zoltclient_deinit(nullptr);

    zolt_test::TestServer server;
    const rest_conn_t conn = zolt_test::make_conn(server.url());
    void* handle = zoltclient_init(&conn);
    ASSERT_NE(handle, nullptr);
    ASSERT_NE(static_cast<zoltclient*>(handle)->rest, nullptr);
    zoltclient_deinit(handle);
}

TEST(Handle, NullClientIsAPostError) {
    EXPECT_THROW_EXACT(rpc_call(static_cast<zoltclient*>(nullptr), "m"), std::runtime_error,
                       "Post error");
    try {
        rpc_call(static_cast<zoltclient*>(nullptr), "m");
    } catch (const zolt::transfer_error& e) {
        EXPECT_EQ(e.curl_code(), 0);
        EXPECT_EQ(zolt::describe(e), "no connection was opened");
    }
}
