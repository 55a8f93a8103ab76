// What a caller learns of a failed call beyond the fixed text: every exception keeps its standard
// kind and exact what(), and its documented subclass carries libcurl's result, the HTTP status,
// the first bytes of the answer or the JSON path where decoding stopped.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "client/errors.h"
#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;

// Runs `statement`, which must throw E; returns a copy of what it threw.
template <class E, class F>
E caught(F&& statement) {
    try {
        statement();
    } catch (const E& e) {
        return e;
    } catch (const std::exception& e) {
        ADD_FAILURE() << "threw " << zolt_test::type_name(typeid(e)) << " \"" << e.what() << "\"";
        throw;
    }
    ADD_FAILURE() << "threw nothing";
    throw std::logic_error("no exception");
}

// ---- The transfer ------------------------------------------------------------------------

// Which reason each failure of the transfer gives is the transport's part (test_rest.cpp).
TEST(TransferError, ARefusedConnectionCarriesLibcurlsResult) {
    const rest_conn_t conn =
        zolt_test::make_conn("http://127.0.0.1:" + std::to_string(zolt_test::closed_port()) + "/");
    void* handle = zoltclient_init(&conn);
    ASSERT_NE(handle, nullptr);
    zolt_appl_port_mib_conf_t conf{};
    const auto e =
        caught<zolt::transfer_error>([&] { zolt_port_config_get(handle, "Gi 1/1", &conf); });
    EXPECT_STREQ(e.what(), "Post error");
    EXPECT_EQ(e.curl_code(), CURLE_COULDNT_CONNECT);
    EXPECT_EQ(e.curl_text(), curl_easy_strerror(CURLE_COULDNT_CONNECT));
    EXPECT_EQ(zolt::describe(e), e.curl_text());
    zoltclient_deinit(handle);
}

// ---- The status and the answer -------------------------------------------------------------

using Errors = ClientTest;

TEST_F(Errors, AStatusErrorCarriesTheStatus) {
    server.respond(404, "<html>not here</html>", "text/html");
    zolt_appl_port_mib_conf_t conf{};
    const auto e =
        caught<zolt::status_error>([&] { zolt_port_config_get(handle(), "Gi 1/1", &conf); });
    EXPECT_STREQ(e.what(), "Network error, return code: 404");
    EXPECT_EQ(e.status(), 404);
    EXPECT_EQ(zolt::describe(e), "HTTP status 404");
}

// An HTML page is cut to its first bytes; a line break shows as a blank in the description.
TEST_F(Errors, ARefusedAnswerCarriesStatusAndFirstBytes) {
    const std::string page = "<html><body>" + std::string(400, 'x') + "</body></html>";
    const std::string first = page.substr(0, zolt::answer_error::kExcerptSize);
    const std::string partial = "{\"id\":\"jsonrpc\",\n\"error\":null}";
    const struct {
        int status;
        std::string body, what, excerpt, described;
    } cases[] = {
        {500, page, "Failed to parse!", first, "HTTP status 500, body: " + first},
        {200, partial, "No result member", partial,
         "HTTP status 200, body: {\"id\":\"jsonrpc\", \"error\":null}"},
        {200, "", "Failed to parse!", "", "HTTP status 200, no body"},
    };
    zolt_appl_port_mib_conf_t conf{};
    for (const auto& c : cases) {
        server.respond(c.status, c.body, "text/html");
        const auto e =
            caught<zolt::answer_error>([&] { zolt_port_config_get(handle(), "Gi 1/1", &conf); });
        EXPECT_STREQ(e.what(), c.what.c_str());
        EXPECT_EQ(e.status(), c.status);
        EXPECT_EQ(e.excerpt(), c.excerpt);
        EXPECT_EQ(zolt::describe(e), c.described);
    }
}

// The array test comes after the error test: a refusal with a non-array result is only a code.
TEST_F(Errors, AGetAllThatIsNoArrayCarriesTheAnswer) {
    std::map<std::string, zolt_appl_port_mib_conf_t> all;
    for (const std::string result : {"null", "{}", R"({"key":"Gi 1/1","val":{}})", "1"}) {
        const std::string body = R"({"error":null,"result":)" + result + "}";
        server.respond(203, body);
        const auto e = caught<zolt::answer_error>([&] { zolt_port_config_get(handle(), &all); });
        EXPECT_STREQ(e.what(), "Result is not an array");
        EXPECT_EQ(e.status(), 203);
        EXPECT_EQ(e.excerpt(), body);
    }
    server.respond_error(R"({"code":4})");
    EXPECT_EQ(zolt_port_config_get(handle(), &all), 4);
}

// ---- Decoding ------------------------------------------------------------------------------

// A row of port configuration in the form a switch sends it, with `mtu` as the MTU's JSON text.
std::string port_row(const std::string& name, const std::string& mtu) {
    return R"({"key":")" + name +
           R"(","val":{"Shutdown":false,"Speed":"autoNegMode",)"
           R"("AdvertiseDisabled":0,"MediaType":"rj45","FC":"off","MTU":)" +
           mtu + R"(,"ExcessiveRestart":false,"PFC":0,"FrameLengthCheck":false}})";
}

// Callers of the standard kinds see exactly what they always saw, and can ask for more.
TEST_F(Errors, AWrongTypeDeepInATableNamesItsPath) {
    server.respond_result("[" + port_row("Gi 1/1", "1500") + "," + port_row("Gi 1/2", "1500") +
                          "," + port_row("Gi 1/3", "1500") + "," + port_row("Gi 1/4", "\"9000\"") +
                          "]");
    std::map<std::string, zolt_appl_port_mib_conf_t> all;
    EXPECT_THROW_EXACT(zolt_port_config_get(handle(), &all), std::runtime_error, "Unexpected type");
    EXPECT_EQ(all.size(), 3u);  // the rows before it stay, as ever
    const auto e = caught<zolt::decode_error>([&] { zolt_port_config_get(handle(), &all); });
    EXPECT_EQ(e.path(), "result[3].val.MTU");
    const std::runtime_error& standard = e;
    EXPECT_EQ(zolt::describe(standard), "at result[3].val.MTU");
}

TEST_F(Errors, PathsOfKeysElementsAndRecords) {
    std::map<std::string, zolt_appl_port_mib_conf_t> all;
    server.respond_result("[" + port_row("Gi 1/1", "1500") + ",[]]");
    const auto row =
        caught<zolt::decode_logic_error>([&] { zolt_port_config_get(handle(), &all); });
    EXPECT_STREQ(row.what(),
                 "in Json::Value::find(key, end, found): requires objectValue or nullValue");
    EXPECT_EQ(row.path(), "result[1]");

    zolt_appl_port_mib_conf_t conf{};
    server.respond_result("7");
    EXPECT_EQ(caught<zolt::decode_logic_error>([&] {
                  zolt_port_config_get(handle(), "Gi 1/1", &conf);
              }).path(),
              "result");

    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t> fdb;
    server.respond_result(R"([{"key":["one","00:01:02:03:04:05"],"val":{}}])");
    const auto vlan =
        caught<zolt::decode_logic_error>([&] { zolt_mac_status_fdb_full_get(handle(), &fdb); });
    EXPECT_EQ(vlan.path(), "result[0].key[0]");
    server.respond_result(R"([{"key":[1,7],"val":{}}])");
    EXPECT_EQ(caught<zolt::decode_logic_error>([&] {
                  zolt_mac_status_fdb_full_get(handle(), &fdb);
              }).path(),
              "result[0].key[1]");

    std::vector<std::string> members;
    server.respond_result(R"(["Gi 1/1","Gi 1/2",3])");
    const auto element = caught<zolt::decode_error>([&] {
        zolt_vlan_status_membership_get(handle(), 1, zolt_appl_vlan_user_combined, &members);
    });
    EXPECT_EQ(element.path(), "result[2]");
    EXPECT_EQ(members.size(), 2u);

    server.respond_result(R"({"LearnMode":"sometimes","ChangeAllowed":true})");
    zolt_appl_mac_learn_mode_t learn{};
    const auto text = caught<zolt::decode_error>(
        [&] { zolt_mac_config_interface_learn_get(handle(), "Gi 1/1", &learn); });
    EXPECT_STREQ(text.what(), "out-of-range-enum");
    EXPECT_EQ(text.path(), "result.LearnMode");
}

}  // namespace
