// The IP and host-service families' own rules beyond their worked exchanges: where their
// enumerations end, prefix lengths that are unsigned in the interfaces and signed in the routes,
// IPv6 routes and neighbours that are row keys of their own, and routes the simulator keys by
// every member of the record.

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
using zolt_test::expect_texts;
using zolt_test::last_params;
using zolt_test::runtime_error_of;

TEST(IpEnumerations, TheLastValuesAndTheGapsPastThem) {
    expect_texts<zolt_appl_dhcp_server_netbios_node_type_t>(
        {{0, "nodeNone"}, {4, "nodeH"}, {5, nullptr}});
    expect_texts<zolt_appl_dns_config_type_t>({{5, "dhcpv6Vlan"}, {6, nullptr}});
    expect_texts<zolt_appl_clock_summertime_mode_t>(
        {{-1, nullptr}, {2, "nonRecurring"}, {3, nullptr}});
}

class Ip : public ClientTest {};

zolt_appl_ip_ipv6_route_conf_t route6(const char* network, int prefix, const char* interface) {
    zolt_appl_ip_ipv6_route_conf_t route{};
    route.networkAddress = network;
    route.networkPrefixSize = prefix;
    route.nextHop = "fe80::1";
    route.nextHopInterface = interface;
    return route;
}

const std::string kStatus = R"({"derivedNextHopInterface":"VLAN 1","flagUp":true,
    "flagHost":false,"flagGateway":true,"ownerConf":true,"ownerDhcp":false,"ownerDynamic":false})";

TEST_F(Ip, APrefixLengthIsUnsignedInAnInterfaceAndSignedInARoute) {
    zolt_appl_ip_ipv4_conf_t v4{};
    server.respond_result(R"({"active":true,"enableDhcpClient":true,"ipv4Address":"",
                              "prefixSize":4294967295,"dhcpClientFallbackTimeout":4294967295})");
    EXPECT_EQ(zolt_ip_config_interface_ipv4_get(handle(), "VLAN 1", &v4), 0);
    EXPECT_EQ(v4.prefixSize, 4294967295u);
    EXPECT_EQ(zolt_ip_config_interface_ipv4_set(handle(), "VLAN 1", v4), 0);
    EXPECT_NE(server.last().body.find("\"prefixSize\" : 4294967295"), std::string::npos);
    zolt_appl_ip_ipv6_conf_t v6{};
    server.respond_result(R"({"active":true,"ipv6Address":"2001:db8::1","prefixSize":-64})");
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_interface_ipv6_get(handle(), "VLAN 1", &v6); }),
              "Unexpected type");

    // In a route -1 is written as it is, and a number past int is refused in a row's key.
    server.respond_result("null");
    EXPECT_EQ(zolt_ip_config_route_ipv4_del(handle(), zolt_ipv4_uc_t{"10.0.0.0", -1, ""}), 0);
    EXPECT_EQ(last_params(server)[0]["networkPrefixSize"], Json::Value(-1));
    server.respond_result(R"([{"key":{"networkAddress":"10.0.0.0","networkPrefixSize":2147483648,
                                      "nextHop":""},"val":)" +
                          kStatus + "}]");
    std::map<zolt_ipv4_uc_t, zolt_appl_ip_route_status_t> status;
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_status_route_ipv4_get(handle(), &status); }),
              "Unexpected type");
    EXPECT_TRUE(status.empty());
}

TEST_F(Ip, Ipv6RouteAndNeighbourRowsAreKeyedByEveryMemberAndTheFirstRowWins) {
    const std::string later = R"({"derivedNextHopInterface":"later","flagUp":false,
        "flagHost":false,"flagGateway":false,"ownerConf":false,"ownerDhcp":false,
        "ownerDynamic":false})";
    std::string rows = "[";
    for (const auto& row : {std::make_pair("VLAN 3", kStatus), std::make_pair("VLAN 2", kStatus),
                            std::make_pair("VLAN 2", later)}) {
        rows += std::string(rows.size() > 1 ? "," : "") +
                R"({"key":{"networkAddress":"2001:db8::","networkPrefixSize":64,)" +
                R"("nextHop":"fe80::1","nextHopInterface":")" + row.first + R"("},"val":)" +
                row.second + "}";
    }
    server.respond_result(rows + "]");
    std::map<zolt_appl_ip_ipv6_route_conf_t, zolt_appl_ip_route_status_t> routes;
    EXPECT_EQ(zolt_ip_status_route_ipv6_get(handle(), &routes), 0);
    ASSERT_EQ(routes.size(), 2u) << "routes that differ only in the interface are two rows";
    EXPECT_EQ(routes.begin()->first.nextHopInterface, "VLAN 2");
    EXPECT_EQ(routes.begin()->second.derivedNextHopInterface, "VLAN 1") << "first row wins";

    server.respond_result(R"([
        {"key":{"ipAddress":"fe80::2","interfaceQuery":-5},"val":{"macAddress":"00:1f:a2:0b:3c:d4","interface":"VLAN 1"}},
        {"key":{"ipAddress":"fe80::2","interfaceQuery":-7},"val":{"macAddress":"00:1F:A2:0B:3C:D5","interface":"VLAN 1"}}])");
    std::map<zolt_appl_ip_ipv6_neighbour_status_key_t, zolt_appl_ip_ipv6_neighbour_status_value_t>
        neighbours;
    EXPECT_EQ(zolt_ip_status_neighbour_ipv6_get(handle(), &neighbours), 0);
    ASSERT_EQ(neighbours.size(), 2u);
    EXPECT_EQ(neighbours.begin()->first.interfaceQuery, -7) << "the query number is signed";
    EXPECT_EQ(neighbours.rbegin()->second.macAddress.addr[5], 0xd4);
}

TEST(IpSwitch, ARouteIsKeyedByEveryMemberOfItsRecord) {
    zolt_test::Switch sw;
    void* h = sw.handle();
    const zolt_ipv4_uc_t route{"10.0.0.0", 8, "192.168.1.254"};
    ASSERT_EQ(zolt_ip_config_route_ipv4_add(h, route), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(h, route), 0);
    for (const zolt_ipv4_uc_t& other : {zolt_ipv4_uc_t{"10.0.0.1", 8, "192.168.1.254"},
                                        zolt_ipv4_uc_t{"10.0.0.0", 16, "192.168.1.254"},
                                        zolt_ipv4_uc_t{"10.0.0.0", 8, "192.168.1.253"}}) {
        EXPECT_EQ(zolt_ip_config_route_ipv4_get(h, other), 1) << other.networkAddress;
    }
    EXPECT_EQ(zolt_ip_config_route_ipv4_del(h, route), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(h, route), 1);

    ASSERT_EQ(zolt_ip_config_route_ipv6_add(h, route6("2001:db8::", 32, "VLAN 1")), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv6_get(h, route6("2001:db8::", 32, "VLAN 1")), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv6_get(h, route6("2001:db8::", 32, "VLAN 2")), 1);
    EXPECT_EQ(zolt_ip_config_route_ipv6_del(h, route6("2001:db8::", 32, "VLAN 1")), 0);
}

}  // namespace
