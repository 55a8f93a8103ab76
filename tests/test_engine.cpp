// The call engine against a real server: the exact request text for every kind of argument,
// the status window, and the checks on an answer in their order.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "client/engine.h"
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

TEST_F(Engine, AnArgumentThatCannotBeEncodedStopsTheCallBeforeThePost) {
    EXPECT_THROW_EXACT(
        rpc_call(client(), "m", std::string("Gi 1/1"), static_cast<zolt_appl_vlan_port_mode_t>(7)),
        std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

// ---- The status window, then the checks on an answer in their order ----------------------

TEST_F(Engine, StatusAndAnswerAreJudgedInTheirOrder) {
    const std::string ok = R"({"id":"jsonrpc","error":null,"result":null})";
    const struct {
        int status;
        std::string body;
        std::string thrown;  // empty: the answer comes back
    } cases[] = {
        {200, ok, ""},
        {201, ok, ""},
        {299, ok, ""},
        {500, R"({"error":{"code":5},"result":null})", ""},
        {599, ok, ""},
        // The whole answer comes back, whatever its id and other members.
        {200, R"({"id":42,"jsonrpc":"2.0","error":"bad","result":[1,2],"x":true})", ""},
        // Outside the window the body is not looked at.
        {300, ok, "Network error, return code: 300"},
        {302, ok, "Network error, return code: 302"},
        {404, ok, "Network error, return code: 404"},
        {499, ok, "Network error, return code: 499"},
        {600, ok, "Network error, return code: 600"},
        // libcurl takes any 1xx for an interim answer and the body after it for a broken next
        // status line, so the transfer fails before the status could be judged.
        {199, ok, "Post error"},
        {500, "<html><body>Internal Server Error</body></html>", "Failed to parse!"},
        {200, "", "Failed to parse!"},  // no body bytes at all
        {200, "{", "Failed to parse!"},
        {200, "[1]", "Not a object"},
        {200, "null", "Not a object"},
        {200, "\"text\"", "Not a object"},
        {200, "{}", "No error member"},
        {200, R"({"result":1})", "No error member"},
        {200, R"({"error":null})", "No result member"},
        {200, R"({"error":1,"id":2})", "No result member"},
    };
    for (const auto& c : cases) {
        server.respond(c.status, c.body);
        if (c.thrown.empty()) {
            EXPECT_EQ(rpc_call(client(), "m"), zolt_test::json(c.body)) << c.body;
        } else {
            EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, c.thrown)
                << c.status << " " << c.body;
        }
    }
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

TEST(Handle, NullIsIgnoredAndANullClientIsAPostError) {
    EXPECT_EQ(zoltclient_init(nullptr), nullptr);
    zoltclient_deinit(nullptr);
    try {
        rpc_call(static_cast<zoltclient*>(nullptr), "m");
        ADD_FAILURE() << "no exception";
    } catch (const zolt::transfer_error& e) {
        EXPECT_STREQ(e.what(), "Post error");
        EXPECT_EQ(e.curl_code(), 0);
        EXPECT_EQ(zolt::describe(e), "no connection was opened");
    }
}
