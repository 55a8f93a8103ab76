// The typed functions end to end against a local HTTP server: the return convention, and how
// get-alls decode into the caller's map.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;

// --- the return convention ---------------------------------------------------------------------

class ReturnConvention : public ClientTest {
protected:
    // A keyed get whose output must stay untouched unless "error" is null.
    int get_with_error(const std::string& error) {
        server.respond(200,
                       R"({"id":"x","error":)" + error + R"(,"result":{"RxBridgeDiscard":9}})");
        counters.RxBridgeDiscard = 1;
        return zolt_port_statistics_bridge_get(handle(), "Gi 1/1", &counters);
    }
    zolt_port_bridge_counters_t counters{};
};

TEST_F(ReturnConvention, OnlyANullErrorDecodesAnIntegerCodeIsReturnedAnyOtherErrorIsMinusOne) {
    EXPECT_EQ(get_with_error("null"), 0);
    EXPECT_EQ(counters.RxBridgeDiscard, 9u);

    const struct {
        const char* error;
        int code;
    } codes[] = {{R"({"code":7,"message":"no such entry"})", 7},
                 {R"({"code":-32601})", -32601},
                 {R"({"code":7.0})", 7},  // a real of whole value is an integer
                 {R"({"code":0})", 0}};   // zero, and still nothing decoded
    for (const auto& c : codes) {
        EXPECT_EQ(get_with_error(c.error), c.code) << c.error;
        EXPECT_EQ(counters.RxBridgeDiscard, 1u) << c.error;
    }
    for (const char* error : {"false", "true", "{}", R"({"code":"7"})", R"({"code":4294967296})",
                              R"({"code":7.5})", R"({"code":null})", R"("failed")", "[7]", "0"}) {
        EXPECT_EQ(get_with_error(error), -1) << error;
        EXPECT_EQ(counters.RxBridgeDiscard, 1u) << error;
    }
}

TEST_F(ReturnConvention, MethodsWithoutOutputNeverLookAtTheResult) {
    for (const char* result : {"null", "1", R"("x")", "[1]", R"({"a":1})"}) {
        server.respond_result(result);
        EXPECT_EQ(zolt_port_control_statistics_clear_set(handle(), "Gi 1/1", true), 0) << result;
    }
    server.respond_error(R"({"code":0})");
    EXPECT_EQ(zolt_port_control_kabtest_start_set(handle(), "Gi 1/1", true), 0);
    server.respond_error(R"({"code":3})");
    EXPECT_EQ(zolt_phy10g_prbs_mon_conf(handle()), 3);
}

// --- decoding into the caller's output -----------------------------------------------------------

class Decoding : public ClientTest {};

TEST_F(Decoding, GetAllMergesIntoThePrefilledMap) {
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t> table;
    const zolt_mac_t known{{0, 0, 0, 0, 0, 1}};
    table[{1, known}].Dynamic = 42;
    server.respond_result(
        R"([{"key":[1,"00:00:00:00:00:01"],"val":{"PortList":["Gi 1/1"],"Dynamic":1,"CopyToCpu":0}},
            {"key":[2,"00:1f:a2:0b:3c:d4"],"val":{"PortList":[],"Dynamic":2,"CopyToCpu":1}}])");
    EXPECT_EQ(zolt_mac_status_fdb_full_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table.begin()->second.Dynamic, 42) << "the caller's row is not replaced";
    EXPECT_EQ(table.rbegin()->second.Dynamic, 2) << "a byte that looks like a flag stays 2";
}

}  // namespace
