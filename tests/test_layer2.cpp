// The layer-2 families' own rules, end to end against a local server: identifiers as hex text,
// the MAC table's pair key in a call, record and enumeration keys, numbers that look like flags,
// and fields whose widths differ between records that share a key.

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

using Bytes = std::vector<unsigned char>;
using zolt_test::ClientTest;
using zolt_test::runtime_error_of;

class Layer2 : public ClientTest {};

// --- spanning tree: identifiers are byte lists ------------------------------------------------

const char* kBridgeStatus = R"({"BridgeId":"8000001FA20B3CD4","TimeSinceTopologyChange":1,
    "TopologyChangeCount":2,"TopologyChange":false,"DesignatedRoot":"","RootPathCost":0,
    "RootPort":0,"MaxAge":20,"ForwardDelay":15,"BridgeMaxAge":20,"BridgeHelloTime":2,
    "BridgeForwardDelay":15,"TxHoldCount":6,"ForceVersion":"mstp","CistRegionalRoot":"80000a",
    "CistInternalPathCost":0,"MaxHops":256})";

TEST_F(Layer2, BridgeIdentifiersDecodeFromHexTextInEitherCase) {
    server.respond_result(kBridgeStatus);
    zolt_appl_mstp_bridge_status_t status{};
    status.CistRegionalRoot = {0x01};
    EXPECT_EQ(zolt_mstp_status_bridge_get(handle(), 0, &status), 0);
    EXPECT_EQ(status.BridgeId, (Bytes{0x80, 0x00, 0x00, 0x1f, 0xa2, 0x0b, 0x3c, 0xd4}));
    EXPECT_TRUE(status.DesignatedRoot.empty());
    EXPECT_EQ(status.CistRegionalRoot, (Bytes{0x01, 0x80, 0x00, 0x0a})) << "bytes are appended";
    EXPECT_EQ(status.MaxHops, 0) << "eight bits: 256 is cut to 0";
    // Written back, identifiers are lower-case hex.
    EXPECT_EQ(serialize(status)["CistRegionalRoot"], Json::Value("0180000a"));
}

TEST_F(Layer2, AnOddLengthIdentifierFailsThatFieldOnly) {
    Json::Value answer;
    Json::Reader().parse(kBridgeStatus, answer, false);
    answer["DesignatedRoot"] = "800";
    server.respond_result(Json::FastWriter().write(answer));
    zolt_appl_mstp_bridge_status_t status{};
    EXPECT_EQ(runtime_error_of([&] { zolt_mstp_status_bridge_get(handle(), 0, &status); }),
              "Unexpected HEX string");
    EXPECT_EQ(status.TopologyChangeCount, 2u) << "fields before the failure are written";
    EXPECT_EQ(status.RootPathCost, 0u);
}

TEST_F(Layer2, AForceVersionWithoutTextIsNotSent) {
    zolt_appl_mstp_bridge_param_t param{};
    param.ForceVersion = static_cast<zolt_appl_mstp_forceversion_t>(1);
    EXPECT_EQ(runtime_error_of([&] { zolt_mstp_config_bridge_set(handle(), param); }),
              "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

// --- the MAC table ----------------------------------------------------------------------------

TEST_F(Layer2, StaticEntriesAreAddressedByVlanAndUpperCaseMacText) {
    server.respond_result(R"({"PortList":["Gi 1/3"],"Dynamic":0,"CopyToCpu":2})");
    const zolt_mac_t address{{0xaa, 0xbb, 0xcc, 0x0d, 0x0e, 0x0f}};
    zolt_appl_mac_stack_addr_entry_t entry{};
    EXPECT_EQ(zolt_mac_status_fdb_static_get(handle(), 4094, address, &entry), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 4094, \"AA:BB:CC:0D:0E:0F\" ]"),
              std::string::npos)
        << server.last().body;
    EXPECT_EQ(entry.CopyToCpu, 2);

    server.respond_result("null");
    EXPECT_EQ(zolt_mac_config_fdb_static_del(handle(), 4094, address), 0);
    EXPECT_NE(server.last().body.find("\"method\" : \"mac.config.fdb.static.del\""),
              std::string::npos);
}

TEST_F(Layer2, AStaticEntryWithoutPortsSendsAnEmptyList) {
    server.respond_result("null");
    EXPECT_EQ(zolt_mac_config_fdb_static_set(handle(), 1, zolt_mac_t{},
                                             zolt_appl_mac_stack_addr_entry_conf_t{}),
              0);
    EXPECT_NE(server.last().body.find("\"PortList\" : []"), std::string::npos);
}

// --- classification tables keyed by records and addresses
// ------------------------------------------

TEST_F(Layer2, VclMacKeysGoThroughTheStrictAddressCheck) {
    // Unlike the MAC table's pair key, a MAC used alone as a key must satisfy ether_aton.
    std::map<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t> table;
    server.respond_result(R"([{"key":"0:1:2:3:4:5","val":{"VlanId":-1,"PortList":[]}},
                              {"key":"00-01-02-03-04-06","val":{"VlanId":2,"PortList":[]}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_vcl_config_mac_get(handle(), &table); }),
              "Mac address is invalid");
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table.begin()->first.addr[5], 5);
    EXPECT_EQ(table.begin()->second.VlanId, -1) << "VlanId is signed in this record";
}

TEST_F(Layer2, VoiceVlanOuiPrefixesAreHexKeysThatCompareByBytes) {
    zolt_appl_voice_vlan_oui_index_t index{};
    index.Prefix = {0x00, 0x01, 0xe3};
    server.respond_result(R"({"Description":"phones"})");
    zolt_appl_voice_vlan_telephony_oui_conf_t conf{};
    EXPECT_EQ(zolt_voice_vlan_config_oui_get(handle(), index, &conf), 0);
    EXPECT_NE(server.last().body.find("\"Prefix\" : \"0001e3\""), std::string::npos);

    std::map<zolt_appl_voice_vlan_oui_index_t, zolt_appl_voice_vlan_telephony_oui_conf_t> table;
    server.respond_result(R"([{"key":{"Prefix":"0001E3"},"val":{"Description":"upper"}},
                              {"key":{"Prefix":""},"val":{"Description":"empty"}}])");
    EXPECT_EQ(zolt_voice_vlan_config_oui_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table.begin()->second.Description, "empty") << "an empty prefix sorts first";
    EXPECT_EQ(table.at(index).Description, "upper");
}

TEST_F(Layer2, TheVoiceVlanIdIsUnsignedWhereVclsIsSigned) {
    server.respond_result(R"({"AdminState":true,"VlanId":-1,"AgingTime":0,"TrafficClass":0})");
    zolt_appl_voice_vlan_global_conf_t conf{};
    EXPECT_EQ(runtime_error_of([&] { zolt_voice_vlan_config_global_get(handle(), &conf); }),
              "Unexpected type");
}

// --- LLDP
// -------------------------------------------------------------------------------------------

TEST_F(Layer2, TheLocationTableOrdersByElementValue) {
    server.respond_result(R"([{"key":"name","val":{"civicAddress":"rack 4"}},
                              {"key":"additionalInfo","val":{"civicAddress":"row 2"}}])");
    std::map<zolt_appl_lldp_med_catype_t, zolt_lldpmed_ca_type_t> location;
    EXPECT_EQ(zolt_lldp_config_med_location_get(handle(), &location), 0);
    ASSERT_EQ(location.size(), 2u);
    EXPECT_EQ(location.begin()->first, 22);
    EXPECT_EQ(location.rbegin()->first, 23);
    EXPECT_EQ(location.rbegin()->second.civicAddress, "rack 4");

    zolt_lldpmed_ca_type_t element{};
    EXPECT_EQ(runtime_error_of([&] {
                  zolt_lldp_config_med_location_set(
                      handle(), static_cast<zolt_appl_lldp_med_catype_t>(7), element);
              }),
              "out-of-range-enum");
}

TEST_F(Layer2, ThreeMemberKeysWorkOnlyInTheKeyedCall) {
    server.respond_result(R"([{"key":["Gi 1/1",1,2],"val":null}])");
    std::map<std::tuple<std::string, int, int>, zolt_appl_lldp_mgmt_addr_tlv_t> table;
    EXPECT_EQ(runtime_error_of([&] { zolt_lldp_status_neighbors_mgmt_get(handle(), &table); }),
              "not implemented");
    EXPECT_TRUE(table.empty());

    Json::Value tlv = serialize(zolt_appl_lldp_mgmt_addr_tlv_t{});
    server.respond_result(Json::FastWriter().write(tlv));
    zolt_appl_lldp_mgmt_addr_tlv_t one{};
    EXPECT_EQ(zolt_lldp_status_neighbors_mgmt_get(handle(), "Gi 1/1", 1, 2, &one), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ \"Gi 1/1\", 1, 2 ]"), std::string::npos);
}

TEST_F(Layer2, ClearIsANumberNotABoolean) {
    zolt_appl_lldp_global_cnt_t clear{};
    EXPECT_EQ(runtime_error_of([&] { parse(Json::Value(Json::objectValue), clear); }),
              "Unexpected type");
    Json::Value answer(Json::objectValue);
    answer["Clear"] = true;
    EXPECT_EQ(runtime_error_of([&] { parse(answer, clear); }), "Unexpected type");
    answer["Clear"] = 1;
    parse(answer, clear);
    EXPECT_EQ(clear.Clear, 1);
}

// --- aggregation and LACP: one key, two widths
// ---------------------------------------------------------

TEST_F(Layer2, TheAdminKeyKeepsThirtyTwoBitsInConfigurationAndSixteenInStatus) {
    server.respond_result(R"({"dot3adAggrActorAdminMode":true,"dot3adAggrActorAdminKey":70000,
        "dot3adAggrRole":false,"dot3adAggrTimeout":true,"dot3adAggrPortPriority":1})");
    zolt_lacp_port_conf_t conf{};
    EXPECT_EQ(zolt_lacp_config_interface_get(handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.dot3adAggrActorAdminKey, 70000u);

    server.respond_result(R"({"dot3adAggrActorAdminMode":true,"dot3adAggrActorAdminKey":70000,
        "dot3adAggrPartnerOperPortIndex":300,"dot3adAggrPartnerOperPortPriority":1})");
    zolt_lacp_port_status_t status{};
    EXPECT_EQ(zolt_lacp_status_interface_get(handle(), "Gi 1/1", &status), 0);
    EXPECT_EQ(status.dot3adAggrActorAdminKey, 4464);
    EXPECT_EQ(status.dot3adAggrPartnerOperPortIndex, 44);
}

TEST_F(Layer2, ThirtyTwoBitFieldsRefuseLargerNumbersWhere64BitOnesTakeThem) {
    server.respond_result(R"({"Disabled":false,"LoopDetected":true,"LoopCount":1,
                              "LastLoop":8589934592})");
    zolt_appl_loop_protect_port_info_t info{};
    EXPECT_EQ(zolt_loop_protect_status_interface_get(handle(), "Gi 1/1", &info), 0);
    EXPECT_EQ(info.LastLoop, 8589934592ull);

    server.respond_result(R"({"Disabled":false,"LoopDetected":true,"LoopCount":8589934592,
                              "LastLoop":0})");
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_loop_protect_status_interface_get(handle(), "Gi 1/1", &info); }),
              "Unexpected type");
}

TEST_F(Layer2, UdldTextsAreMatchedExactly) {
    zolt_udld_detection_state_t state{};
    parse(Json::Value("inDeterminant"), state);
    EXPECT_EQ(runtime_error_of([&] { parse(Json::Value("indeterminant"), state); }),
              "out-of-range-enum");
    zolt_appl_udld_mode_t mode{};
    EXPECT_EQ(runtime_error_of([&] { parse(Json::Value("disabled"), mode); }), "out-of-range-enum");
    parse(Json::Value("disable"), mode);
    EXPECT_EQ(mode, zolt_appl_udld_mode_disable);
}

TEST_F(Layer2, AnEmptyAggregationGroupStillSendsItsList) {
    server.respond_result("null");
    EXPECT_EQ(zolt_aggregation_config_group_set(handle(), "LLAG1", zolt_aggr_group_member_t{}), 0);
    EXPECT_NE(server.last().body.find("\"PortMembers\" : []"), std::string::npos)
        << server.last().body;
}

}  // namespace
