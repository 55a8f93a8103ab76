// The multicast families' own rules beyond their worked exchanges: the version-blind snooping
// methods whose IPv4 and IPv6 overloads send identical requests and share one table in the
// simulator, and MVR's querier states counted from -1.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <string>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/family.h"
#include "support/switch.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::runtime_error_of;

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

class Multicast : public ClientTest {
protected:
    Json::Value body(std::size_t index) { return json(server.requests().at(index).body); }
};

TEST_F(Multicast, BothOverloadsOfAVersionBlindMethodSendTheIdenticalRequest) {
    server.respond_result(kVlan4);
    zolt_appl_ipmc_snp_ipv4_interface_t conf4{};
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf4), 0);
    server.respond_result(kVlan6);
    zolt_appl_ipmc_snp_ipv6_interface_t conf6{};
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(handle(), "VLAN 10", &conf6), 0);
    EXPECT_EQ(server.requests()[0].body, server.requests()[1].body)
        << "nothing in the request names the protocol";
    EXPECT_EQ(body(0)["method"], Json::Value("ipmc-snooping.config.interface.vlan.get"));
    EXPECT_EQ(conf4.Lmqi, 10u);
    EXPECT_EQ(conf6.Compatibility, zolt_appl_ipmc_compati6_mldv1);
    EXPECT_EQ(conf6.Llqi, 11u);

    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(handle(), "VLAN 7", vlan4()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(handle(), "VLAN 7", vlan6()), 0);
    for (std::size_t i : {2, 3}) {
        EXPECT_EQ(body(i)["method"], Json::Value("ipmc-snooping.config.interface.vlan.add"));
        EXPECT_EQ(body(i)["params"][0u], Json::Value("VLAN 7"));
    }
    EXPECT_EQ(body(2)["params"][1u], json(kVlan4)) << "every member, and only the IPv4 ones";
    EXPECT_EQ(body(3)["params"][1u], json(kVlan6)) << "every member, and only the IPv6 ones";

    server.respond_result(R"([{"key":"Gi 1/2","val":{"AsRouterPort":true,"DoFastLeave":false,
        "ThrottlingNumber":-5,"FilteringProfile":"video"}}])");
    std::map<std::string, zolt_appl_ipmc_snp4_port_conf_t> ports4;
    std::map<std::string, zolt_appl_ipmc_snp6_port_conf_t> ports6;
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_port_get(handle(), &ports4), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_port_get(handle(), &ports6), 0);
    EXPECT_EQ(server.requests()[4].body, server.requests()[5].body);
    EXPECT_EQ(ports4["Gi 1/2"].ThrottlingNumber, -5);
    EXPECT_EQ(ports6["Gi 1/2"].FilteringProfile, "video");
}

// IGMP and MLD clients of one simulated switch, through the same method strings.
TEST(MulticastSwitch, BothProtocolsShareOneTableWhichTranslatesNothing) {
    zolt_test::Switch sw;
    void* h = sw.handle();
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(h, "VLAN 10", vlan4()), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(h, "VLAN 20", vlan6()), 0);
    EXPECT_EQ(zolt_ipmc_snooping_config_interface_vlan_add(h, "VLAN 10", vlan6()), 2)
        << "one table for both protocols";

    zolt_appl_ipmc_snp_ipv4_interface_t conf4{};
    zolt_appl_ipmc_snp_ipv6_interface_t conf6{};
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(h, "VLAN 10", &conf4), 0);
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_vlan_get(h, "VLAN 20", &conf6), 0);
    // Compared as text: numbers the library writes and numbers read from text differ in
    // JsonCpp's signedness type, not in value.
    EXPECT_EQ(serialize(conf4).toStyledString(), json(kVlan4).toStyledString());
    EXPECT_EQ(serialize(conf6).toStyledString(), json(kVlan6).toStyledString());
    // The IGMP row's compatibility means nothing to an MLD reader.
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_ipmc_snooping_config_interface_vlan_get(h, "VLAN 10", &conf6); }),
              "out-of-range-enum");

    // A port's settings written as IGMP's are MLD's too.
    zolt_appl_ipmc_snp4_port_conf_t port4{};
    port4.AsRouterPort = true;
    port4.ThrottlingNumber = -1;
    port4.FilteringProfile = "video";
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_port_set(h, "Gi 1/2", port4), 0);
    zolt_appl_ipmc_snp6_port_conf_t port6{};
    ASSERT_EQ(zolt_ipmc_snooping_config_interface_port_get(h, "Gi 1/2", &port6), 0);
    EXPECT_TRUE(port6.AsRouterPort);
    EXPECT_EQ(port6.ThrottlingNumber, -1);
    EXPECT_EQ(port6.FilteringProfile, "video");
}

TEST(MulticastEnumerations, MvrQuerierStatesCountFromMinusOneAndSnoopingsFromZero) {
    zolt_test::expect_texts<zolt_appl_ipmc_querier_states_t>(
        {{-1, "disabled"}, {0, "initial"}, {2, "active"}, {3, nullptr}, {-2, nullptr}});
    zolt_test::expect_texts<zolt_appl_ipmc_qry4_states_t>({{0, "disabled"}, {3, "active"}});
    zolt_test::expect_texts<zolt_appl_ipmc_qry6_states_t>({{0, "disabled"}});
    zolt_test::expect_texts<zolt_appl_ipmc_intf_vtag_t>({{1, "tagging"}, {2, nullptr}});
}

}  // namespace
