// The typed functions end to end against a local HTTP server: the request each call shape sends,
// the return convention, and how answers are decoded into the caller's outputs.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;
using zolt_test::runtime_error_of;

// --- the request of each call shape ---------------------------------------------------------

class CallShapes : public ClientTest {};

TEST_F(CallShapes, BareCallSendsNoParamsAndIgnoresTheResult) {
    server.respond_result(R"({"anything":[1,2,3]})");
    EXPECT_EQ(zolt_phy10g_ib_conf_get(handle()), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"phy10g.ib_conf_get\",\n"
              "   \"params\" : []\n"
              "}\n");
    EXPECT_EQ(server.last().method, "POST");
}

TEST_F(CallShapes, KeyedGetSendsItsKeyOnOneLine) {
    server.respond_result(R"({"RxBridgeDiscard":5})");
    zolt_port_bridge_counters_t counters{};
    EXPECT_EQ(zolt_port_statistics_bridge_get(handle(), "Gi 1/1", &counters), 0);
    EXPECT_EQ(counters.RxBridgeDiscard, 5u);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"port.statistics.bridge.get\",\n"
              "   \"params\" : [ \"Gi 1/1\" ]\n"
              "}\n");
}

TEST_F(CallShapes, KeysOfSeveralKindsGoInPositionalOrder) {
    server.respond_result(R"({"RxPrio":1,"TxPrio":2})");
    zolt_appl_port_prio_counter_t queue{};
    EXPECT_EQ(zolt_port_statistics_queues_get(handle(), "Gi 1/2", 7, &queue), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ \"Gi 1/2\", 7 ]\n"), std::string::npos)
        << server.last().body;

    server.respond_result(R"(["Gi 1/1"])");
    std::vector<std::string> members;
    EXPECT_EQ(
        zolt_vlan_status_membership_get(handle(), 10, zolt_appl_vlan_user_voiceVlan, &members), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 10, \"voiceVlan\" ]\n"), std::string::npos)
        << server.last().body;
    EXPECT_EQ(members, (std::vector<std::string>{"Gi 1/1"}));
}

TEST_F(CallShapes, DelSendsOnlyTheKeyAndARecordKeyGoesAsAnObject) {
    server.respond_result("null");
    zolt_appl_vcl_proto_group_conf_proto_t group{};
    group.ProtocolGroupName = "ipx";
    EXPECT_EQ(zolt_vcl_config_protocol_group_del(handle(), group), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"vcl.config.protocol.group.del\",\n"
              "   \"params\" : [\n"
              "      {\n"
              "         \"ProtocolGroupName\" : \"ipx\"\n"
              "      }\n"
              "   ]\n"
              "}\n");
}

TEST_F(CallShapes, GetAllSendsTheSameStringWithEmptyParams) {
    server.respond_result(R"([{"key":"Gi 1/1","val":{"RxBridgeDiscard":1}},
                              {"key":"Gi 1/2","val":{"RxBridgeDiscard":2}}])");
    std::map<std::string, zolt_port_bridge_counters_t> table;
    EXPECT_EQ(zolt_port_statistics_bridge_get(handle(), &table), 0);
    EXPECT_NE(server.last().body.find("\"method\" : \"port.statistics.bridge.get\",\n"
                                      "   \"params\" : []\n"),
              std::string::npos);
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table["Gi 1/2"].RxBridgeDiscard, 2u);
}

TEST_F(CallShapes, ScalarGetsTestTheResultsTypeAndCutToWidth) {
    unsigned short fid = 1;
    server.respond_result("70000");
    EXPECT_EQ(zolt_vlan_config_interface_svl_get(handle(), 5, &fid), 0);
    EXPECT_EQ(fid, 4464);

    server.respond_result("-1");
    EXPECT_EQ(runtime_error_of([&] { zolt_vlan_config_interface_svl_get(handle(), 5, &fid); }),
              "Unexpected type");
    EXPECT_EQ(fid, 4464);

    bool enabled = false;
    server.respond_result("1");
    EXPECT_EQ(runtime_error_of([&] { zolt_gvrp_config_interface_get(handle(), 3, &enabled); }),
              "Unexpected type");
    server.respond_result("true");
    EXPECT_EQ(zolt_gvrp_config_interface_get(handle(), 3, &enabled), 0);
    EXPECT_TRUE(enabled);
    EXPECT_NE(server.last().body.find("\"params\" : [ 3 ]"), std::string::npos)
        << "gvrp names interfaces by number";
}

TEST_F(CallShapes, AnEnumerationArgumentWithoutTextIsRefusedBeforePosting) {
    std::vector<std::string> members;
    EXPECT_EQ(runtime_error_of([&] {
                  zolt_vlan_status_membership_get(handle(), 1,
                                                  static_cast<zolt_appl_vlan_user_t>(2), &members);
              }),
              "out-of-range-enum");

    zolt_appl_port_mib_conf_t conf{};
    conf.FC = static_cast<zolt_appl_port_fc_t>(7);
    EXPECT_EQ(runtime_error_of([&] { zolt_port_config_set(handle(), "Gi 1/1", conf); }),
              "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

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

TEST_F(ReturnConvention, NullErrorDecodesAndReturnsZero) {
    EXPECT_EQ(get_with_error("null"), 0);
    EXPECT_EQ(counters.RxBridgeDiscard, 9u);
}

TEST_F(ReturnConvention, AnIntegerCodeIsReturnedAndNothingDecoded) {
    EXPECT_EQ(get_with_error(R"({"code":7,"message":"no such entry"})"), 7);
    EXPECT_EQ(get_with_error(R"({"code":-32601})"), -32601);
    EXPECT_EQ(get_with_error(R"({"code":7.0})"), 7) << "a real of whole value is an integer";
    EXPECT_EQ(counters.RxBridgeDiscard, 1u);
}

TEST_F(ReturnConvention, CodeZeroReturnsZeroWithoutDecoding) {
    EXPECT_EQ(get_with_error(R"({"code":0})"), 0);
    EXPECT_EQ(counters.RxBridgeDiscard, 1u);
}

TEST_F(ReturnConvention, AnyOtherErrorIsMinusOne) {
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

TEST_F(ReturnConvention, TheServerStatusDoesNotDecideTheCode) {
    server.respond(500, R"({"error":{"code":5},"result":null})");
    EXPECT_EQ(zolt_phy10g_kr_conf_set(handle()), 5);
}

// --- decoding into the caller's output -----------------------------------------------------------

class Decoding : public ClientTest {};

TEST_F(Decoding, AKeyedGetWithANonObjectResultThrowsTheRecordDecodersError) {
    zolt_appl_port_mib_conf_t conf{};
    server.respond_result("[]");
    EXPECT_THROW(zolt_port_config_get(handle(), "Gi 1/1", &conf), std::logic_error);
    server.respond_result("null");
    EXPECT_EQ(runtime_error_of([&] { zolt_port_config_get(handle(), "Gi 1/1", &conf); }),
              "Unexpected type");
}

TEST_F(Decoding, APartialDecodeKeepsWhatWasWritten) {
    server.respond_result(R"({"Shutdown":true,"Speed":"autoNegMode","AdvertiseDisabled":3,
                              "MediaType":"fibre"})");
    zolt_appl_port_mib_conf_t conf{};
    conf.MTU = 1518;
    EXPECT_EQ(runtime_error_of([&] { zolt_port_config_get(handle(), "Gi 1/1", &conf); }),
              "out-of-range-enum");
    EXPECT_TRUE(conf.Shutdown);
    EXPECT_EQ(conf.Speed, zolt_appl_port_speed_autoNegMode);
    EXPECT_EQ(conf.AdvertiseDisabled, 3);
    EXPECT_EQ(conf.MTU, 1518u);
}

TEST_F(Decoding, AGetAllResultMustBeAnArray) {
    std::map<std::string, zolt_appl_port_mib_conf_t> table;
    for (const char* result : {"null", "{}", R"({"key":"Gi 1/1","val":{}})", "1"}) {
        server.respond_result(result);
        EXPECT_EQ(runtime_error_of([&] { zolt_port_config_get(handle(), &table); }),
                  "Result is not an array")
            << result;
    }
    // The error test comes first: a refusal with a non-array result is only a code.
    server.respond_error(R"({"code":4})");
    EXPECT_EQ(zolt_port_config_get(handle(), &table), 4);
}

TEST_F(Decoding, AnEmptyGetAllLeavesThePrefilledMapAlone) {
    std::map<std::string, zolt_appl_port_power_saving_conf_t> table;
    table["Gi 9/9"].LinkPartner = true;
    server.respond_result("[]");
    EXPECT_EQ(zolt_port_power_saving_config_interface_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_TRUE(table["Gi 9/9"].LinkPartner);
}

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

TEST_F(Decoding, FlagLikeNumbersRefuseBooleans) {
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t> table;
    server.respond_result(
        R"([{"key":[1,"00:00:00:00:00:01"],"val":{"PortList":[],"Dynamic":true,"CopyToCpu":0}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_mac_status_fdb_full_get(handle(), &table); }),
              "Unexpected type");
    EXPECT_TRUE(table.empty());
}

TEST_F(Decoding, TablesThatCannotBeDecodedSucceedOnlyWhenEmpty) {
    std::map<std::tuple<std::string, int, int>, zolt_appl_lldp_mgmt_addr_tlv_t> table;
    server.respond_result("[]");
    EXPECT_EQ(zolt_lldp_status_neighbors_mgmt_get(handle(), &table), 0);
    server.respond_result(R"([{"key":["Gi 1/1",1,2],"val":{}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_lldp_status_neighbors_mgmt_get(handle(), &table); }),
              "not implemented");
}

}  // namespace
