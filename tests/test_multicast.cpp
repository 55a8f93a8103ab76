// The multicast families' own rules, end to end: the version-blind snooping methods whose IPv4
// and IPv6 overloads send identical requests, the source-list tables whose four-member keys
// cannot be decoded, MVR's querier states counted from -1, and the signedness of a few fields.
// Exchanges go to a local test server, or to the in-process simulator where both protocols'
// clients must work against the same method strings.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::runtime_error_of;

using Key4 = std::tuple<std::string, std::string, std::string, std::string>;

class Multicast : public ClientTest {
protected:
    Json::Value body(std::size_t index) { return json(server.requests().at(index).body); }
};

const char* kVlan4 = R"({"AdminState":true,"QuerierElection":true,"QuerierAddress":"10.0.0.1",
    "Compatibility":"igmpv2","Priority":3,"Rv":2,"Qi":125,"Qri":100,"Lmqi":10,"Uri":1})";
const char* kVlan6 = R"({"AdminState":true,"QuerierElection":true,"Compatibility":"mldv1",
    "Priority":4,"Rv":3,"Qi":126,"Qri":101,"Llqi":11,"Uri":2})";

zolt_appl_ipmc_snp_ipv4_interface_t vlan4() {
    zolt_appl_ipmc_snp_ipv4_interface_t conf{};
    parse(json(kVlan4), conf);
    return conf;
}

zolt_appl_ipmc_snp_ipv6_interface_t vlan6() {
    zolt_appl_ipmc_snp_ipv6_interface_t conf{};
    parse(json(kVlan6), conf);
    return conf;
}

// --- version-blind methods: one method string, an IPv4 and an IPv6 record --------------------

TEST_F(Multicast, BothVlanGetOverloadsSendTheIdenticalRequest) {
    server.respond_result(kVlan4);
    zolt_appl_ipmc_snp_ipv4_interface_t conf4{};
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf4), 0);
    server.respond_result(kVlan6);
    zolt_appl_ipmc_snp_ipv6_interface_t conf6{};
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf6), 0);

    ASSERT_EQ(server.count(), 2u);
    EXPECT_EQ(server.requests()[0].body, server.requests()[1].body)
        << "nothing in the request names the protocol";
    EXPECT_EQ(body(0)["method"], Json::Value("ipmc-snooping.config.interface.vlan.get"));
    EXPECT_EQ(body(0)["params"], json(R"(["VLAN 10"])"));
    EXPECT_EQ(conf4.QuerierAddress, "10.0.0.1");
    EXPECT_EQ(conf4.Compatibility, zolt_appl_ipmc_compati4_igmpv2);
    EXPECT_EQ(conf4.Lmqi, 10u);
    EXPECT_EQ(conf6.Compatibility, zolt_appl_ipmc_compati6_mldv1);
    EXPECT_EQ(conf6.Llqi, 11u);
}

TEST_F(Multicast, BothVlanSetOverloadsSendTheNameThenTheirOwnRecord) {
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_set(handle(), "VLAN 10", vlan4()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_set(handle(), "VLAN 10", vlan6()), 0);
    ASSERT_EQ(server.count(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(body(i)["method"], Json::Value("ipmc-snooping.config.interface.vlan.set"));
        ASSERT_EQ(body(i)["params"].size(), 2u);
        EXPECT_EQ(body(i)["params"][0u], Json::Value("VLAN 10"));
    }
    EXPECT_EQ(body(0)["params"][1u], json(kVlan4)) << "every member, and only the IPv4 ones";
    EXPECT_EQ(body(1)["params"][1u], json(kVlan6)) << "every member, and only the IPv6 ones";
}

TEST_F(Multicast, BothVlanAddOverloadsUseOneMethodString) {
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(handle(), "VLAN 7", vlan4()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(handle(), "VLAN 7", vlan6()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_del(handle(), "VLAN 7"), 0);
    EXPECT_EQ(body(0)["method"], Json::Value("ipmc-snooping.config.interface.vlan.add"));
    EXPECT_EQ(body(1)["method"], body(0)["method"]);
    EXPECT_EQ(body(2)["method"], Json::Value("ipmc-snooping.config.interface.vlan.del"));
    EXPECT_EQ(body(2)["params"], json(R"(["VLAN 7"])"));
}

TEST_F(Multicast, AnIpv6VlanAnswerReadAsIpv4FailsAtTheQuerierAddress) {
    server.respond_result(kVlan6);
    zolt_appl_ipmc_snp_ipv4_interface_t conf{};
    conf.Compatibility = zolt_appl_ipmc_compati4_igmpv3;
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf),
                       std::runtime_error, "Unexpected type");
    EXPECT_TRUE(conf.AdminState) << "members before the missing one are written";
    EXPECT_TRUE(conf.QuerierElection);
    EXPECT_EQ(conf.Compatibility, zolt_appl_ipmc_compati4_igmpv3) << "later ones are not";
}

TEST_F(Multicast, AnIpv4VlanAnswerReadAsIpv6FailsAtItsCompatibilityOrItsInterval) {
    server.respond_result(kVlan4);
    zolt_appl_ipmc_snp_ipv6_interface_t conf{};
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf),
                       std::runtime_error, "out-of-range-enum")
        << "\"igmpv2\" is no MLD compatibility";

    Json::Value answer = json(kVlan4);
    answer["Compatibility"] = "auto";
    server.respond_result(Json::FastWriter().write(answer));
    conf = {};
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf),
                       std::runtime_error, "Unexpected type")
        << "Lmqi is not Llqi";
    EXPECT_EQ(conf.Qri, 100u);
    EXPECT_EQ(conf.Llqi, 0u);
}

TEST_F(Multicast, BothPortGetAllOverloadsReadTheSameRows) {
    server.respond_result(R"([{"key":"Gi 1/2","val":{"AsRouterPort":true,"DoFastLeave":false,
        "ThrottlingNumber":-5,"FilteringProfile":"video"}}])");
    std::map<std::string, zolt_appl_ipmc_snp4_port_conf_t> ports4;
    std::map<std::string, zolt_appl_ipmc_snp6_port_conf_t> ports6;
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_port_get(handle(), &ports4), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_port_get(handle(), &ports6), 0);
    EXPECT_EQ(server.requests()[0].body, server.requests()[1].body);
    EXPECT_EQ(body(0)["params"], json("[]"));
    ASSERT_EQ(ports4.count("Gi 1/2"), 1u);
    ASSERT_EQ(ports6.count("Gi 1/2"), 1u);
    EXPECT_EQ(ports4["Gi 1/2"].ThrottlingNumber, -5);
    EXPECT_EQ(ports6["Gi 1/2"].FilteringProfile, "video");
}

// Two clients of the simulator, one speaking IGMP and one MLD, through the same method strings.
class MulticastSimulator : public ::testing::Test {
protected:
    void SetUp() override {
        simulator.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 5, "admin", "admin");
        igmp = zoltclient_init(&conn);
        mld = zoltclient_init(&conn);
        ASSERT_NE(igmp, nullptr);
        ASSERT_NE(mld, nullptr);
    }
    void TearDown() override {
        zoltclient_deinit(igmp);
        zoltclient_deinit(mld);
    }

    zolt_sim::Simulator simulator;
    void* igmp = nullptr;
    void* mld = nullptr;
};

TEST_F(MulticastSimulator, EachProtocolReadsBackTheVlanInterfaceItWrote) {
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(igmp, "VLAN 10", vlan4()), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(mld, "VLAN 20", vlan6()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(mld, "VLAN 10", vlan6()), 2)
        << "one table for both protocols";

    zolt_appl_ipmc_snp_ipv4_interface_t conf4{};
    zolt_appl_ipmc_snp_ipv6_interface_t conf6{};
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(igmp, "VLAN 10", &conf4), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(mld, "VLAN 20", &conf6), 0);
    // Compared as text: numbers the library writes and numbers read from text differ in
    // JsonCpp's signedness type, not in value.
    EXPECT_EQ(serialize(conf4).toStyledString(), json(kVlan4).toStyledString());
    EXPECT_EQ(serialize(conf6).toStyledString(), json(kVlan6).toStyledString());

    zolt_appl_ipmc_snp_ipv6_interface_t changed = vlan6();
    changed.Llqi = 99;
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_set(mld, "VLAN 20", changed), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(mld, "VLAN 20", &conf6), 0);
    EXPECT_EQ(conf6.Llqi, 99u);

    // The simulator answers with what was stored and translates nothing: the IGMP row's
    // compatibility means nothing to an MLD reader.
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_ipmc_snooping_config_interface_vlan_get(mld, "VLAN 10", &conf6); }),
              "out-of-range-enum");
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_del(mld, "VLAN 10"), 0);
}

TEST_F(MulticastSimulator, PortSettingsWrittenByOneProtocolAreReadByTheOther) {
    zolt_appl_ipmc_snp4_port_conf_t conf4{};
    conf4.AsRouterPort = true;
    conf4.ThrottlingNumber = -1;
    conf4.FilteringProfile = "video";
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_port_set(igmp, "Gi 1/2", conf4), 0);
    zolt_appl_ipmc_snp6_port_conf_t conf6{};
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_port_get(mld, "Gi 1/2", &conf6), 0);
    EXPECT_TRUE(conf6.AsRouterPort);
    EXPECT_EQ(conf6.ThrottlingNumber, -1);
    EXPECT_EQ(conf6.FilteringProfile, "video");

    std::map<std::string, zolt_appl_ipmc_snp6_port_conf_t> ports;
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_port_get(mld, &ports), 0);
    EXPECT_EQ(ports.size(), 8u) << "a row for every port of a fresh switch";
    EXPECT_EQ(ports["Gi 1/2"].FilteringProfile, "video");
}

TEST_F(MulticastSimulator, AFreshSwitchFloodsUnregisteredMulticastAndKnowsTheSsmRanges) {
    zolt_appl_ipmc_snp_ipv4_global_t igmp_global{};
    zolt_appl_ipmc_snp_ipv6_global_t mld_global{};
    ASSERT_EQ(zolt_ipmc_snooping_config_igmp_global_get(igmp, &igmp_global), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_mld_global_get(mld, &mld_global), 0);
    EXPECT_FALSE(igmp_global.AdminState);
    EXPECT_TRUE(igmp_global.UnregisteredFlooding);
    EXPECT_EQ(igmp_global.SsmRangeAddress, "232.0.0.0");
    EXPECT_EQ(igmp_global.SsmRangeMask, 8u);
    EXPECT_EQ(mld_global.SsmRangeAddress, "ff3e::");
    EXPECT_EQ(mld_global.SsmRangeMask, 96u);

    std::map<std::string, zolt_appl_ipmc_snp_ipv4_interface_t> vlans;
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(igmp, &vlans), 0);
    EXPECT_TRUE(vlans.empty()) << "VLAN interfaces are created by an add";
}

// --- source lists: four-member keys --------------------------------------------------------

TEST_F(Multicast, SourceListGetAllsSucceedOnlyWhileEmpty) {
    const Key4 kept{"a", "b", "c", "d"};
    const char* one_row = R"([{"key":["VLAN 1","239.1.1.1","Gi 1/1","10.0.0.9"],
        "val":{"GroupFilterMode":"include","FilterTimer":1,"SourceType":"permit",
        "SourceTimer":2,"HardwareFilter":true}}])";

    std::map<Key4, zolt_appl_ipmc_snp_grp4_srclist_t> igmp{{kept, {}}};
    std::map<Key4, zolt_appl_ipmc_snp_grp6_srclist_t> mld{{kept, {}}};
    std::map<Key4, zolt_appl_ipmc_mvr_grp_srclist_t> mvr_igmp{{kept, {}}};
    std::map<Key4, zolt_appl_ipmc_mvr_grp_srclist_t> mvr_mld{{kept, {}}};

    server.respond_result("[]");
    EXPECT_EQ(zolt_ipmc_snooping_status_igmp_group_src_list_get(handle(), &igmp), 0);
    EXPECT_EQ(zolt_ipmc_snooping_status_mld_group_src_list_get(handle(), &mld), 0);
    EXPECT_EQ(zolt_mvr_status_igmp_group_src_list_get(handle(), &mvr_igmp), 0);
    EXPECT_EQ(zolt_mvr_status_mld_group_src_list_get(handle(), &mvr_mld), 0);

    server.respond_result(one_row);
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_status_igmp_group_src_list_get(handle(), &igmp),
                       std::runtime_error, "not implemented");
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_status_mld_group_src_list_get(handle(), &mld),
                       std::runtime_error, "not implemented");
    EXPECT_THROW_EXACT(zolt_mvr_status_igmp_group_src_list_get(handle(), &mvr_igmp),
                       std::runtime_error, "not implemented");
    EXPECT_THROW_EXACT(zolt_mvr_status_mld_group_src_list_get(handle(), &mvr_mld),
                       std::runtime_error, "not implemented");

    // Neither the empty answer nor the failing row touched the caller's maps.
    EXPECT_EQ(igmp.size(), 1u);
    EXPECT_EQ(mld.size(), 1u);
    EXPECT_EQ(mvr_igmp.size(), 1u);
    EXPECT_EQ(mvr_mld.size(), 1u);
    EXPECT_EQ(mvr_mld.begin()->first, kept);

    const Json::Value methods = json(R"(["ipmc-snooping.status.igmp.group-src-list.get",
        "ipmc-snooping.status.mld.group-src-list.get", "mvr.status.igmp.group.src-list.get",
        "mvr.status.mld.group.src-list.get"])");
    ASSERT_EQ(server.count(), 8u);
    for (Json::ArrayIndex i = 0; i < 8; ++i) {
        EXPECT_EQ(body(i)["method"], methods[i % 4]);
        EXPECT_EQ(body(i)["params"], json("[]"));
    }
}

TEST_F(Multicast, ASourceEntryIsReadByItsFourStringsInOrder) {
    server.respond_result(R"({"GroupFilterMode":"none","FilterTimer":7,"SourceType":"deny",
        "SourceTimer":8,"HardwareFilter":false})");
    zolt_appl_ipmc_snp_grp6_srclist_t entry{};
    EXPECT_EQ(zolt_ipmc_snooping_status_mld_group_src_list_get(handle(), "VLAN 1", "ff3e::1",
                                                               "Gi 1/4", "fe80::2", &entry),
              0);
    EXPECT_EQ(body(0)["params"], json(R"(["VLAN 1","ff3e::1","Gi 1/4","fe80::2"])"));
    EXPECT_EQ(entry.GroupFilterMode, zolt_appl_ipmc_sfm6_mode_none);
    EXPECT_EQ(entry.SourceTimer, 8u);

    // MVR's filter mode has no "none".
    zolt_appl_ipmc_mvr_grp_srclist_t mvr{};
    EXPECT_THROW_EXACT(zolt_mvr_status_mld_group_src_list_get(handle(), "VLAN 1", "ff3e::1",
                                                              "Gi 1/4", "fe80::2", &mvr),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(body(1)["method"], Json::Value("mvr.status.mld.group.src-list.get"));
}

TEST_F(MulticastSimulator, SourceListsOfAFreshSwitchAreEmptyAndTheirEntriesAbsent) {
    std::map<Key4, zolt_appl_ipmc_snp_grp4_srclist_t> sources;
    EXPECT_EQ(zolt_ipmc_snooping_status_igmp_group_src_list_get(igmp, &sources), 0);
    EXPECT_TRUE(sources.empty());
    std::map<Key4, zolt_appl_ipmc_mvr_grp_srclist_t> mvr_sources;
    EXPECT_EQ(zolt_mvr_status_mld_group_src_list_get(mld, &mvr_sources), 0);
    zolt_appl_ipmc_snp_grp4_srclist_t entry{};
    EXPECT_EQ(zolt_ipmc_snooping_status_igmp_group_src_list_get(igmp, "VLAN 1", "239.1.1.1",
                                                                "Gi 1/1", "10.0.0.9", &entry),
              1)
        << "no such entry";
}

// --- enumerations: MVR's querier states start at -1 -----------------------------------------

TEST(MulticastEnumerations, MvrQuerierStatesCountFromMinusOneAndSnoopingsFromZero) {
    EXPECT_EQ(static_cast<int>(zolt_appl_ipmc_querier_states_disabled), -1);
    EXPECT_EQ(serialize(static_cast<zolt_appl_ipmc_querier_states_t>(-1)), Json::Value("disabled"));
    EXPECT_EQ(serialize(static_cast<zolt_appl_ipmc_querier_states_t>(0)), Json::Value("initial"));
    EXPECT_THROW_EXACT(serialize(static_cast<zolt_appl_ipmc_querier_states_t>(3)),
                       std::runtime_error, "out-of-range-enum");

    zolt_appl_ipmc_querier_states_t mvr = zolt_appl_ipmc_querier_states_active;
    parse(Json::Value("disabled"), mvr);
    EXPECT_EQ(static_cast<int>(mvr), -1);

    EXPECT_EQ(serialize(static_cast<zolt_appl_ipmc_qry4_states_t>(0)), Json::Value("disabled"));
    zolt_appl_ipmc_qry6_states_t snooping = zolt_appl_ipmc_qry6_states_active;
    parse(Json::Value("disabled"), snooping);
    EXPECT_EQ(static_cast<int>(snooping), 0);
}

TEST_F(Multicast, MvrQuerierStatusDisabledArrivesAsMinusOne) {
    server.respond_result(R"({"QuerierStatus":"disabled","ActiveQuerierAddress":"",
        "QuerierUptime":0,"QueryInterval":125,"StartupQueryCount":2,"QuerierExpiryTime":0,
        "CounterTxQuery":1,"CounterTxSpecificQuery":2,"CounterRxQuery":3,"CounterRxV1Join":4,
        "CounterRxV2Join":5,"CounterRxV2Leave":6,"CounterRxV3Join":7,"CounterRxErrors":8})");
    zolt_appl_ipmc_mvr_intf_ipv4_status_t status{};
    status.QuerierStatus = zolt_appl_ipmc_querier_states_active;
    EXPECT_EQ(zolt_mvr_status_igmp_vlan_get(handle(), "VLAN 100", &status), 0);
    EXPECT_EQ(static_cast<int>(status.QuerierStatus), -1);
    EXPECT_EQ(status.CounterRxErrors, 8u);
}

TEST_F(Multicast, AnMvrInterfaceWithATaggingWithoutTextIsNotSent) {
    zolt_appl_ipmc_mvr_interface_t conf{};
    conf.Tagging = static_cast<zolt_appl_ipmc_intf_vtag_t>(2);
    EXPECT_THROW_EXACT(zolt_mvr_config_interface_vlan_set(handle(), "VLAN 100", conf),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_THROW_EXACT(zolt_mvr_config_interface_vlan_add(handle(), "VLAN 100", conf),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);

    conf.Tagging = zolt_appl_ipmc_intf_vtag_tagging;
    EXPECT_EQ(zolt_mvr_config_interface_vlan_set(handle(), "VLAN 100", conf), 0);
    EXPECT_EQ(body(0)["params"][1u]["Tagging"], Json::Value("tagging"));
}

// --- widths and signedness ------------------------------------------------------------------

TEST_F(Multicast, ThrottlingIsSignedWhileTheSsmMaskIsNot) {
    zolt_appl_ipmc_snp6_port_conf_t port{};
    port.ThrottlingNumber = -1;
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_port_set(handle(), "Gi 1/1", port), 0);
    EXPECT_EQ(body(0)["params"][1u]["ThrottlingNumber"], Json::Value(-1));

    server.respond_result(R"({"AdminState":true,"UnregisteredFlooding":true,
        "SsmRangeAddress":"232.0.0.0","SsmRangeMask":-8,"Proxy":false,"LeaveProxy":false})");
    zolt_appl_ipmc_snp_ipv4_global_t global{};
    EXPECT_THROW_EXACT(zolt_ipmc_snooping_config_igmp_global_get(handle(), &global),
                       std::runtime_error, "Unexpected type");
    EXPECT_EQ(global.SsmRangeAddress, "232.0.0.0");
}

TEST_F(Multicast, APrecedenceKeyIsAProfileNameAndASignedPosition) {
    server.respond_result(R"([{"key":["video",-1],"val":{"RuleRange":"r1","NextRuleRange":"",
        "RuleAction":"permit","RuleLog":true}},
        {"key":["video","2"],"val":{"RuleRange":"r2","NextRuleRange":"",
        "RuleAction":"deny","RuleLog":false}}])");
    std::map<std::tuple<std::string, int>, zolt_appl_ipmc_profile_precedence_t> order;
    EXPECT_THROW_EXACT(zolt_ipmc_profile_config_precedence_get(handle(), &order),
                       std::runtime_error, "Unexpected type");
    ASSERT_EQ(order.size(), 1u);
    EXPECT_EQ(order.begin()->first, std::make_tuple(std::string("video"), -1));
    EXPECT_EQ(order.begin()->second.RuleAction, zolt_appl_ipmc_action_permit);
    EXPECT_TRUE(order.begin()->second.NextRuleRange.empty());
}

}  // namespace
