// The IP and host-service families' own rules, end to end: existence gets that tell only by their
// code, routes that are their own keys (objects in "params" and in a row's "key", ordered field by
// field), tables without a value part that can only be read empty, prefix lengths that are
// unsigned in one record and signed in another, statistics clears that are numbers next to
// booleans, and the bare scalar answers. Against a local server for the exact bytes, and against
// the simulator for what a fresh switch holds and how it answers.

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

class Ip : public ClientTest {};

zolt_ipv4_uc_t route4(const char* network, int prefix, const char* next_hop) {
    zolt_ipv4_uc_t route{};
    route.networkAddress = network;
    route.networkPrefixSize = prefix;
    route.nextHop = next_hop;
    return route;
}

zolt_appl_ip_ipv6_route_conf_t route6(const char* network, int prefix, const char* next_hop,
                                      const char* interface) {
    zolt_appl_ip_ipv6_route_conf_t route{};
    route.networkAddress = network;
    route.networkPrefixSize = prefix;
    route.nextHop = next_hop;
    route.nextHopInterface = interface;
    return route;
}

// The "params" of the last request, parsed.
Json::Value params_of(const zolt_test::Request& request) { return json(request.body)["params"]; }

const char kStatus[] = R"({"derivedNextHopInterface":"VLAN 1","flagUp":true,"flagHost":false,
    "flagGateway":true,"ownerConf":true,"ownerDhcp":false,"ownerDynamic":false})";

// --- existence gets: only the code tells --------------------------------------------------------

TEST_F(Ip, ExistenceGetsSendTheirKeysAndNeverLookAtTheResult) {
    // Whatever "result" holds, even what no decoder would accept, a null "error" is 0.
    server.respond_result(R"({"garbage":[1,2,3]})");
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), "VLAN 1"), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"ip.config.interface.get\",\n"
              "   \"params\" : [ \"VLAN 1\" ]\n"
              "}\n");

    server.respond_result("\"no such thing\"");
    EXPECT_EQ(zolt_dhcp_server_config_excluded_get(handle(), "10.0.0.1", "10.0.0.9"), 0);
    EXPECT_EQ(params_of(server.last()), json(R"(["10.0.0.1","10.0.0.9"])"));

    server.respond_error(R"({"code":1,"message":"no such entry"})");
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), route4("10.0.0.0", 8, "10.0.0.254")), 1);
    server.respond_error(R"({"code":"1"})");
    EXPECT_EQ(
        zolt_ip_config_route_ipv6_get(handle(), route6("2001:db8::", 32, "fe80::1", "VLAN 2")), -1);
    EXPECT_EQ(server.count(), 4u);
}

// --- routes are their own keys
// --------------------------------------------------------------------

TEST_F(Ip, ARouteGoesAsAnObjectInItsPositionOfParams) {
    server.respond_result(kStatus);
    zolt_appl_ip_route_status_t status{};
    EXPECT_EQ(
        zolt_ip_status_route_ipv4_get(handle(), route4("0.0.0.0", 0, "192.168.1.254"), &status), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"ip.status.route.ipv4.get\",\n"
              "   \"params\" : [\n"
              "      {\n"
              "         \"networkAddress\" : \"0.0.0.0\",\n"
              "         \"networkPrefixSize\" : 0,\n"
              "         \"nextHop\" : \"192.168.1.254\"\n"
              "      }\n"
              "   ]\n"
              "}\n");
    EXPECT_TRUE(status.flagGateway);
    EXPECT_EQ(status.derivedNextHopInterface, "VLAN 1");

    // The route tables take the route alone in set, add and del: no value follows it.
    server.respond_result("null");
    const zolt_appl_ip_ipv6_route_conf_t route = route6("2001:db8::", 32, "fe80::1", "VLAN 2");
    EXPECT_EQ(zolt_ip_config_route_ipv6_add(handle(), route), 0);
    EXPECT_EQ(params_of(server.last()),
              json(R"([{"networkAddress":"2001:db8::","networkPrefixSize":32,
                        "nextHop":"fe80::1","nextHopInterface":"VLAN 2"}])"));
    EXPECT_EQ(zolt_ip_config_route_ipv4_set(handle(), route4("10.0.0.0", 8, "10.0.0.254")), 0);
    EXPECT_EQ(params_of(server.last()).size(), 1u);
    EXPECT_EQ(zolt_ip_config_interface_set(handle(), "VLAN 7"), 0);
    EXPECT_EQ(params_of(server.last()), json(R"(["VLAN 7"])"));
}

TEST_F(Ip, RouteRowsAreOrderedByTheRecordAndAddressesCompareAsText) {
    std::string rows = "[";
    for (const char* key :
         {R"({"networkAddress":"9.0.0.0","networkPrefixSize":8,"nextHop":"9.0.0.1"})",
          R"({"networkAddress":"10.0.0.0","networkPrefixSize":8,"nextHop":"10.0.0.2"})",
          R"({"networkAddress":"10.0.0.0","networkPrefixSize":8,"nextHop":"10.0.0.1"})",
          R"({"networkAddress":"10.0.0.0","networkPrefixSize":-1,"nextHop":"z"})"}) {
        rows += std::string(rows.size() > 1 ? "," : "") + R"({"key":)" + key + R"(,"val":)" +
                kStatus + "}";
    }
    server.respond_result(rows + "]");
    std::map<zolt_ipv4_uc_t, zolt_appl_ip_route_status_t> table;
    EXPECT_EQ(zolt_ip_status_route_ipv4_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 4u) << "rows that differ only in nextHop are two entries";
    auto it = table.begin();
    // "10..." before "9...", then by signed prefix length, then by next hop.
    EXPECT_EQ(it->first.networkPrefixSize, -1);
    ++it;
    EXPECT_EQ(it->first.nextHop, "10.0.0.1");
    ++it;
    EXPECT_EQ(it->first.nextHop, "10.0.0.2");
    ++it;
    EXPECT_EQ(it->first.networkAddress, "9.0.0.0");
}

TEST_F(Ip, TheIpv6RouteAndNeighbourKeysCompareEveryFieldAndTheFirstRowWins) {
    server.respond_result(R"([
        {"key":{"networkAddress":"2001:db8::","networkPrefixSize":64,"nextHop":"fe80::1",
                "nextHopInterface":"VLAN 3"},"val":)" +
                          std::string(kStatus) + R"(},
        {"key":{"networkAddress":"2001:db8::","networkPrefixSize":64,"nextHop":"fe80::1",
                "nextHopInterface":"VLAN 2"},"val":)" +
                          kStatus + R"(},
        {"key":{"networkAddress":"2001:db8::","networkPrefixSize":64,"nextHop":"fe80::1",
                "nextHopInterface":"VLAN 2"},"val":{"derivedNextHopInterface":"later",
                "flagUp":false,"flagHost":false,"flagGateway":false,"ownerConf":false,
                "ownerDhcp":false,"ownerDynamic":false}}])");
    std::map<zolt_appl_ip_ipv6_route_conf_t, zolt_appl_ip_route_status_t> routes;
    EXPECT_EQ(zolt_ip_status_route_ipv6_get(handle(), &routes), 0);
    ASSERT_EQ(routes.size(), 2u);
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

    zolt_appl_ip_ipv6_neighbour_status_key_t key{};
    key.ipAddress = "fe80::2";
    key.interfaceQuery = -5;
    server.respond_result(R"({"macAddress":"00:1F:A2:0B:3C:D4","interface":"VLAN 1"})");
    zolt_appl_ip_ipv6_neighbour_status_value_t value{};
    EXPECT_EQ(zolt_ip_status_neighbour_ipv6_get(handle(), key, &value), 0);
    EXPECT_EQ(params_of(server.last()), json(R"([{"ipAddress":"fe80::2","interfaceQuery":-5}])"));
}

// --- prefix lengths: unsigned in the interfaces, signed in the routes
// -----------------------------

TEST_F(Ip, APrefixLengthIsUnsignedInAnInterfaceAndSignedInARoute) {
    server.respond_result(R"({"active":true,"enableDhcpClient":false,"ipv4Address":"10.1.1.1",
                              "prefixSize":-1,"dhcpClientFallbackTimeout":4294967295})");
    zolt_appl_ip_ipv4_conf_t v4{};
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_interface_ipv4_get(handle(), "VLAN 1", &v4); }),
              "Unexpected type");
    EXPECT_EQ(v4.ipv4Address, "10.1.1.1") << "the fields before the failure stay written";

    server.respond_result(R"({"active":true,"ipv6Address":"2001:db8::1","prefixSize":-64})");
    zolt_appl_ip_ipv6_conf_t v6{};
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_interface_ipv6_get(handle(), "VLAN 1", &v6); }),
              "Unexpected type");

    server.respond_result(R"({"active":true,"enableDhcpClient":true,"ipv4Address":"",
                              "prefixSize":4294967295,"dhcpClientFallbackTimeout":4294967295})");
    EXPECT_EQ(zolt_ip_config_interface_ipv4_get(handle(), "VLAN 1", &v4), 0);
    EXPECT_EQ(v4.prefixSize, 4294967295u);
    EXPECT_EQ(v4.ipv4Address, "") << "an empty address is not checked";

    // In a route the same kind of number is signed: -1 reads, and a number past int fails.
    server.respond_result(R"([{"key":{"networkAddress":"2001:db8::","networkPrefixSize":-1,
                                      "nextHop":"","nextHopInterface":""},"val":null}])");
    std::map<zolt_appl_ip_ipv6_route_conf_t, std::tuple<>> routes;
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_route_ipv6_get(handle(), &routes); }),
              "not implemented")
        << "the key reads, then the empty value throws";
    server.respond_result(R"([{"key":{"networkAddress":"10.0.0.0","networkPrefixSize":2147483648,
                                      "nextHop":""},"val":)" +
                          std::string(kStatus) + "}]");
    std::map<zolt_ipv4_uc_t, zolt_appl_ip_route_status_t> status;
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_status_route_ipv4_get(handle(), &status); }),
              "Unexpected type");
    EXPECT_TRUE(status.empty());

    // Written, both go out as the numbers they hold.
    server.respond_result("null");
    EXPECT_EQ(zolt_ip_config_route_ipv4_del(handle(), route4("10.0.0.0", -1, "")), 0);
    EXPECT_EQ(params_of(server.last())[0]["networkPrefixSize"], Json::Value(-1));
    v4.prefixSize = 4294967295u;
    EXPECT_EQ(zolt_ip_config_interface_ipv4_set(handle(), "VLAN 1", v4), 0);
    EXPECT_NE(server.last().body.find("\"prefixSize\" : 4294967295"), std::string::npos);
}

// --- statistics clears are numbers next to booleans
// -----------------------------------------------

TEST_F(Ip, TheStatisticsClearsAreNumbersAndTheNeighbourClearsBooleans) {
    zolt_appl_ip_global_actions_t actions{};
    actions.ipv4NeighbourTableClear = true;
    actions.ipv4SystemStatisticsClear = 1;
    server.respond_result("null");
    EXPECT_EQ(zolt_ip_control_global_set(handle(), actions), 0);
    EXPECT_EQ(params_of(server.last()),
              json(R"([{"ipv4NeighbourTableClear":true,"ipv6NeighbourTableClear":false,
                        "ipv4SystemStatisticsClear":1,"ipv6SystemStatisticsClear":0}])"));
    EXPECT_NE(server.last().body.find("\"ipv4SystemStatisticsClear\" : 1,"), std::string::npos);

    zolt_appl_ip_global_actions_t read{};
    server.respond_result(R"({"ipv4NeighbourTableClear":false,"ipv6NeighbourTableClear":true,
                              "ipv4SystemStatisticsClear":300,"ipv6SystemStatisticsClear":1})");
    EXPECT_EQ(zolt_ip_control_global_get(handle(), &read), 0);
    EXPECT_EQ(read.ipv4SystemStatisticsClear, 44) << "narrowed to eight bits without a check";
    EXPECT_TRUE(read.ipv6NeighbourTableClear);

    // A boolean in a number fails, and so does a number in a boolean.
    server.respond_result(R"({"ipv4NeighbourTableClear":false,"ipv6NeighbourTableClear":false,
                              "ipv4SystemStatisticsClear":true,"ipv6SystemStatisticsClear":0})");
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_control_global_get(handle(), &read); }),
              "Unexpected type");
    server.respond_result(R"({"ipv4NeighbourTableClear":1,"ipv6NeighbourTableClear":false,
                              "ipv4SystemStatisticsClear":0,"ipv6SystemStatisticsClear":0})");
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_control_global_get(handle(), &read); }),
              "Unexpected type");
}

// --- tables without a value part
// ------------------------------------------------------------------

TEST_F(Ip, KeyOnlyTablesReadOnlyEmptyAndFailAtTheFirstRow) {
    std::map<std::string, std::tuple<>> interfaces{{"kept", {}}};
    server.respond_result("[]");
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), &interfaces), 0);
    EXPECT_EQ(interfaces.size(), 1u);

    for (const char* val : {"null", "{}", "[]", "true", "\"x\""}) {
        server.respond_result(std::string(R"([{"key":"VLAN 1","val":)") + val + "}]");
        EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_interface_get(handle(), &interfaces); }),
                  "not implemented")
            << val;
    }
    EXPECT_EQ(interfaces.size(), 1u);

    server.respond_result(R"({"key":"VLAN 1","val":null})");
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_interface_get(handle(), &interfaces); }),
              "Result is not an array");

    // A malformed key fails before the value is reached.
    std::map<zolt_ipv4_uc_t, std::tuple<>> routes;
    server.respond_result(R"([{"key":{"networkAddress":"10.0.0.0"},"val":null}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_ip_config_route_ipv4_get(handle(), &routes); }),
              "Unexpected type");
    server.respond_result(R"([{"key":"10.0.0.0/8","val":null}])");
    EXPECT_THROW_EXACT(zolt_ip_config_route_ipv4_get(handle(), &routes), std::logic_error,
                       "in Json::Value::find(key, end, found): requires objectValue or nullValue");

    std::map<std::tuple<std::string, std::string>, std::tuple<>> excluded;
    server.respond_result(R"([{"key":"10.0.0.1","val":null}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_dhcp_server_config_excluded_get(handle(), &excluded); }),
              "Unexpected type");
    server.respond_result(R"([{"key":["10.0.0.1",9],"val":null}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_dhcp_server_config_excluded_get(handle(), &excluded); }),
              "Unexpected type");
    server.respond_result(R"([{"key":["10.0.0.1","10.0.0.9"]}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_dhcp_server_config_excluded_get(handle(), &excluded); }),
              "not implemented");
    server.respond_result("[]");
    EXPECT_EQ(zolt_dhcp_server_config_excluded_get(handle(), &excluded), 0);
    EXPECT_TRUE(excluded.empty());
}

// --- bare scalar answers
// --------------------------------------------------------------------------

TEST_F(Ip, ScalarGetsTakeBareValuesOfTheirOwnJsonType) {
    bool on = false;
    server.respond_result("true");
    EXPECT_EQ(zolt_ip_control_interface_dhcp_client_get(handle(), "VLAN 1", &on), 0);
    EXPECT_TRUE(on);
    EXPECT_EQ(params_of(server.last()), json(R"(["VLAN 1"])"));
    server.respond_result(R"({"value":true})");
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_ip_control_interface_dhcp_client_get(handle(), "VLAN 1", &on); }),
              "Unexpected type");
    server.respond_result("1");
    EXPECT_EQ(runtime_error_of([&] { zolt_ntp_config_global_get(handle(), &on); }),
              "Unexpected type");

    std::map<std::string, bool> clients;
    server.respond_result(R"([{"key":"VLAN 1","val":false},{"key":"VLAN 2","val":"yes"}])");
    EXPECT_EQ(
        runtime_error_of([&] { zolt_ip_control_interface_dhcp_client_get(handle(), &clients); }),
        "Unexpected type");
    EXPECT_EQ(clients.size(), 1u);

    server.respond_result("null");
    EXPECT_EQ(zolt_ip_control_interface_dhcp_client_set(handle(), "VLAN 1", true), 0);
    EXPECT_EQ(params_of(server.last()), json(R"(["VLAN 1",true])"));
    EXPECT_EQ(zolt_ntp_config_global_set(handle(), false), 0);
    EXPECT_EQ(params_of(server.last()), json("[false]"));

    std::string name;
    server.respond_result("\"pool.ntp.org\"");
    EXPECT_EQ(zolt_ntp_config_servers_get(handle(), -1, &name), 0);
    EXPECT_EQ(name, "pool.ntp.org");
    EXPECT_EQ(params_of(server.last()), json("[-1]"));
    server.respond_result("5");
    EXPECT_EQ(runtime_error_of([&] { zolt_ntp_config_servers_get(handle(), 1, &name); }),
              "Unexpected type");
    EXPECT_EQ(name, "pool.ntp.org");
}

// --- nothing is posted when an argument cannot be written
// -----------------------------------------

TEST_F(Ip, AnEnumerationWithoutTextInAnArgumentPostsNothing) {
    zolt_appl_dhcp_server_config_pool_entry_t pool{};
    pool.NetbiosNodeType = static_cast<zolt_appl_dhcp_server_netbios_node_type_t>(5);
    EXPECT_EQ(runtime_error_of([&] { zolt_dhcp_server_config_pool_set(handle(), "LAN", pool); }),
              "out-of-range-enum");
    zolt_appl_dns_server_conf_t dns{};
    dns.Setting = static_cast<zolt_appl_dns_config_type_t>(6);
    EXPECT_EQ(runtime_error_of([&] { zolt_dns_config_server_set(handle(), 0u, dns); }),
              "out-of-range-enum");
    zolt_appl_clock_conf_t clock{};
    clock.SummerTimeMode = static_cast<zolt_appl_clock_summertime_mode_t>(-1);
    EXPECT_EQ(runtime_error_of([&] { zolt_daylight_saving_config_global_set(handle(), clock); }),
              "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

// --- a fresh simulated switch
// ---------------------------------------------------------------------

class FreshSwitch : public ::testing::Test {
protected:
    FreshSwitch() {
        simulator_.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator_.url(), 5, "admin", "admin");
        handle_ = zoltclient_init(&conn);
    }
    ~FreshSwitch() override {
        zoltclient_deinit(handle_);
        simulator_.stop();
    }
    void* handle() const { return handle_; }

private:
    zolt_sim::Simulator simulator_;
    void* handle_ = nullptr;
};

TEST_F(FreshSwitch, Vlan1IsAnIpv4InterfaceWithADefaultRouteDnsAndNtp) {
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), "VLAN 1"), 0);
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), "VLAN 2"), 1);
    zolt_appl_ip_ipv4_conf_t v4{};
    ASSERT_EQ(zolt_ip_config_interface_ipv4_get(handle(), "VLAN 1", &v4), 0);
    EXPECT_TRUE(v4.active);
    EXPECT_FALSE(v4.ipv4Address.empty());
    EXPECT_GT(v4.prefixSize, 0u);

    std::map<zolt_ipv4_uc_t, zolt_appl_ip_route_status_t> routes;
    ASSERT_EQ(zolt_ip_status_route_ipv4_get(handle(), &routes), 0);
    ASSERT_FALSE(routes.empty());
    const zolt_ipv4_uc_t& default_route = routes.begin()->first;  // "0.0.0.0" sorts first
    EXPECT_EQ(default_route.networkAddress, "0.0.0.0");
    EXPECT_EQ(default_route.networkPrefixSize, 0);
    EXPECT_TRUE(routes.begin()->second.flagGateway);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), default_route), 0);

    std::map<unsigned int, zolt_appl_dns_server_conf_t> dns;
    ASSERT_EQ(zolt_dns_config_server_get(handle(), &dns), 0);
    int static_servers = 0;
    for (const auto& slot : dns)
        static_servers += slot.second.Setting == zolt_appl_dns_config_type_static;
    EXPECT_EQ(static_servers, 1);

    bool ntp = false;
    EXPECT_EQ(zolt_ntp_config_global_get(handle(), &ntp), 0);
    EXPECT_TRUE(ntp);
    std::map<int, std::string> ntp_servers;
    ASSERT_EQ(zolt_ntp_config_servers_get(handle(), &ntp_servers), 0);
    int named = 0;
    for (const auto& slot : ntp_servers) named += !slot.second.empty();
    EXPECT_EQ(named, 1);
}

TEST_F(FreshSwitch, ThePoolHasAnExcludedRangeAndSnoopingIsOff) {
    std::map<std::string, zolt_appl_dhcp_server_config_pool_entry_t> pools;
    ASSERT_EQ(zolt_dhcp_server_config_pool_get(handle(), &pools), 0);
    ASSERT_EQ(pools.size(), 1u);
    EXPECT_EQ(pools.begin()->second.PoolType, zolt_appl_dhcp_server_pool_type_network);

    // The excluded ranges are there, but only the keyed form can see them.
    std::map<std::tuple<std::string, std::string>, std::tuple<>> excluded;
    EXPECT_EQ(runtime_error_of([&] { zolt_dhcp_server_config_excluded_get(handle(), &excluded); }),
              "not implemented");
    EXPECT_EQ(excluded.size(), 0u);
    EXPECT_EQ(zolt_dhcp_server_config_excluded_get(handle(), "192.168.1.1", "192.168.1.10"), 0);

    zolt_appl_dhcp_snooping_param_t snooping{};
    snooping.Mode = true;
    ASSERT_EQ(zolt_dhcp_snooping_config_global_get(handle(), &snooping), 0);
    EXPECT_FALSE(snooping.Mode);
    std::map<std::string, zolt_appl_dhcp_snooping_port_config_t> ports;
    ASSERT_EQ(zolt_dhcp_snooping_config_interface_get(handle(), &ports), 0);
    EXPECT_EQ(ports.size(), 8u) << "one row per port";
}

TEST_F(FreshSwitch, ExistenceGetsFollowAddAndDelete) {
    const zolt_ipv4_uc_t route = route4("10.0.0.0", 8, "192.168.1.254");
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), route), 1);
    EXPECT_EQ(zolt_ip_config_route_ipv4_add(handle(), route), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv4_add(handle(), route), 2);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), route), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), route4("10.0.0.0", 8, "192.168.1.253")), 1)
        << "the whole record is the key";
    EXPECT_EQ(zolt_ip_config_route_ipv4_del(handle(), route), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv4_get(handle(), route), 1);

    const zolt_appl_ip_ipv6_route_conf_t route6_ = route6("2001:db8::", 32, "fe80::1", "VLAN 1");
    EXPECT_EQ(zolt_ip_config_route_ipv6_add(handle(), route6_), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv6_get(handle(), route6_), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv6_del(handle(), route6_), 0);
    EXPECT_EQ(zolt_ip_config_route_ipv6_del(handle(), route6_), 1);
    // Emptied again, the key-only table reads.
    std::map<zolt_appl_ip_ipv6_route_conf_t, std::tuple<>> routes;
    EXPECT_EQ(zolt_ip_config_route_ipv6_get(handle(), &routes), 0);

    EXPECT_EQ(zolt_ip_config_interface_add(handle(), "VLAN 9"), 0);
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), "VLAN 9"), 0);
    EXPECT_EQ(zolt_ip_config_interface_del(handle(), "VLAN 9"), 0);
    EXPECT_EQ(zolt_ip_config_interface_get(handle(), "VLAN 9"), 1);

    EXPECT_EQ(zolt_dhcp_server_config_excluded_del(handle(), "192.168.1.1", "192.168.1.10"), 0);
    EXPECT_EQ(zolt_dhcp_server_config_excluded_get(handle(), "192.168.1.1", "192.168.1.10"), 1);
}

}  // namespace
