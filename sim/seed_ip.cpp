#include "sim/names.h"
#include "sim/seed.h"

namespace zolt_sim {
namespace {

// The management network of a fresh switch: VLAN 1's interface at .1, the gateway at .254,
// which also answers DNS and NTP.
constexpr const char* kVlanInterface = "VLAN 1";
constexpr const char* kAddress = "192.168.1.1";
constexpr const char* kNetwork = "192.168.1.0";
constexpr const char* kNetmask = "255.255.255.0";
constexpr const char* kBroadcast = "192.168.1.255";
constexpr const char* kGateway = "192.168.1.254";
constexpr int kPrefix = 24;

void add_ip_layer(std::vector<SeedRow>& rows) {
    const Json::Value vlan1 = row_key({kVlanInterface});
    const Json::Value default_route = object(
        {{key::networkAddress, "0.0.0.0"}, {key::networkPrefixSize, 0}, {key::nextHop, kGateway}});
    const Json::Value connected_route = object(
        {{key::networkAddress, kNetwork}, {key::networkPrefixSize, kPrefix}, {key::nextHop, ""}});

    rows.push_back({table::ip_capabilities, Json::Value(),
                    object({{key::hasIpv4HostCapabilities, true},
                            {key::hasIpv6HostCapabilities, true},
                            {key::hasIpv4UnicastRoutingCapabilities, true},
                            {key::hasIpv4UnicastHwRoutingCapabilities, true},
                            {key::hasIpv6UnicastRoutingCapabilities, true},
                            {key::hasIpv6UnicastHwRoutingCapabilities, true},
                            {key::maxNumberOfIpInterfaces, 8},
                            {key::maxNumberOfStaticRoutes, 32},
                            {key::numberOfLpmHardwareEntries, 512}})});
    rows.push_back({table::ip_config_interface, vlan1, Json::Value()});
    rows.push_back({table::ip_config_interface_ipv4, vlan1,
                    object({{key::active, true},
                            {key::ipv4Address, kAddress},
                            {key::prefixSize, kPrefix},
                            {key::dhcpClientFallbackTimeout, 60}})});
    rows.push_back({table::ip_config_interface_ipv6, vlan1, Json::Value()});
    rows.push_back({table::ip_config_route_ipv4, row_key({default_route}), Json::Value()});
    rows.push_back({table::ip_control_interface_dhcp_client, vlan1, Json::Value(false)});

    rows.push_back({table::ip_status_interface_link, vlan1,
                    object({{key::osInterfaceIndex, 2},
                            {key::mtu, 1500},
                            {key::macAddress, "00:1F:A2:0B:3C:D4"},
                            {key::up, true},
                            {key::broadcast, true},
                            {key::running, true},
                            {key::multicast, true}})});
    rows.push_back({table::ip_status_interface_ipv4, row_key({kVlanInterface, kAddress}),
                    object({{key::broadcast, kBroadcast}})});
    rows.push_back(
        {table::ip_status_interface_dhcp_client, vlan1, object({{key::state, "stopped"}})});
    rows.push_back({table::ip_status_route_ipv4, row_key({default_route}),
                    object({{key::derivedNextHopInterface, kVlanInterface},
                            {key::flagUp, true},
                            {key::flagGateway, true},
                            {key::ownerConf, true}})});
    rows.push_back({table::ip_status_route_ipv4, row_key({connected_route}),
                    object({{key::derivedNextHopInterface, kVlanInterface},
                            {key::flagUp, true},
                            {key::ownerDynamic, true}})});
    rows.push_back(
        {table::ip_status_neighbour_ipv4, row_key({kGateway}),
         object({{key::macAddress, "02:00:5E:00:00:FE"}, {key::interface, kVlanInterface}})});
    rows.push_back({table::ip_statistics_interface_link, vlan1, Json::Value()});
    rows.push_back({table::ip_statistics_interface_ipv4, vlan1, object({{key::RefreshRate, 1}})});
    rows.push_back(
        {table::ip_statistics_global_ipv4, Json::Value(), object({{key::RefreshRate, 1}})});
    rows.push_back(
        {table::ip_statistics_global_ipv6, Json::Value(), object({{key::RefreshRate, 1}})});

    rows.push_back({table::dhcpv6_client_capabilities, Json::Value(),
                    object({{key::MaxNumberOfInterfaces, 8}})});
}

void add_dhcp(std::vector<SeedRow>& rows) {
    rows.push_back({table::dhcp_server_config_global, Json::Value(), object({{key::Mode, true}})});
    rows.push_back(
        {table::dhcp_server_config_vlan, row_key({kVlanInterface}), object({{key::Mode, true}})});
    rows.push_back({table::dhcp_server_config_pool, row_key({"LAN"}),
                    object({{key::PoolType, "network"},
                            {key::Ipv4Address, kNetwork},
                            {key::SubnetMask, kNetmask},
                            {key::SubnetBroadcast, kBroadcast},
                            {key::LeaseDay, 1},
                            {key::DefaultRouter1, kGateway},
                            {key::DnsServer1, kGateway},
                            {key::NtpServer1, kGateway},
                            {key::NetbiosNodeType, "nodeNone"}})});
    // The switch's own address and the gateway's neighbourhood are never handed out.
    rows.push_back({table::dhcp_server_config_excluded, row_key({"192.168.1.1", "192.168.1.10"}),
                    Json::Value()});
    rows.push_back({table::dhcp_server_config_excluded, row_key({"192.168.1.250", "192.168.1.254"}),
                    Json::Value()});

    rows.push_back({table::dhcp_relay_config_global, Json::Value(),
                    object({{key::Mode, false}, {key::InformationPolicy, "keep"}})});
    rows.push_back(
        {table::dhcp_snooping_config_global, Json::Value(), object({{key::Mode, false}})});
}

void add_host_services(std::vector<SeedRow>& rows) {
    rows.push_back(
        {table::dns_config_global_proxy, Json::Value(), object({{key::AdminState, false}})});
    rows.push_back({table::dns_config_global_domain_name, Json::Value(),
                    object({{key::Setting, "static"}, {key::StaticName, "example.net"}})});
    rows.push_back({table::dns_status_global_default_domain_name, Json::Value(),
                    object({{key::Suffix, "example.net"}})});
    // Four name server slots; the first holds the gateway.
    for (unsigned int slot = 0; slot < 4; ++slot) {
        const bool used = slot == 0;
        rows.push_back({table::dns_config_server, row_key({slot}),
                        used ? object({{key::Setting, "static"}, {key::StaticIpAddress, kGateway}})
                             : object({{key::Setting, "none"}})});
        rows.push_back({table::dns_status_server, row_key({slot}),
                        used ? object({{key::ConfiguredType, "static"}, {key::IpAddress, kGateway}})
                             : object({{key::ConfiguredType, "none"}})});
    }
    // NTP on, with the gateway in the first of five server slots.
    rows.push_back({table::ntp_config_global, Json::Value(), Json::Value(true)});
    for (int slot = 1; slot <= 5; ++slot) {
        rows.push_back(
            {table::ntp_config_servers, row_key({slot}), Json::Value(slot == 1 ? kGateway : "")});
    }
    rows.push_back({table::daylight_saving_config_global, Json::Value(),
                    object({{key::TimeZoneAcronym, "UTC"}, {key::SummerTimeMode, "disable"}})});
}

}  // namespace

// A fresh switch's IP and host services: VLAN 1 is an IPv4 interface with an address and a
// default route, one DNS and one NTP server, a DHCP server pool with excluded ranges, and DHCP
// snooping and relay off. Per-port snooping rows come from the schema's per-port tables.
void add_ip_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    (void)ports;
    add_ip_layer(rows);
    add_dhcp(rows);
    add_host_services(rows);
}

}  // namespace zolt_sim
