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
    const Json::Value vlan1 = key({kVlanInterface});
    const Json::Value default_route =
        object({{"networkAddress", "0.0.0.0"}, {"networkPrefixSize", 0}, {"nextHop", kGateway}});
    const Json::Value connected_route =
        object({{"networkAddress", kNetwork}, {"networkPrefixSize", kPrefix}, {"nextHop", ""}});

    rows.push_back({"ip.capabilities", Json::Value(),
                    object({{"hasIpv4HostCapabilities", true},
                            {"hasIpv6HostCapabilities", true},
                            {"hasIpv4UnicastRoutingCapabilities", true},
                            {"hasIpv4UnicastHwRoutingCapabilities", true},
                            {"hasIpv6UnicastRoutingCapabilities", true},
                            {"hasIpv6UnicastHwRoutingCapabilities", true},
                            {"maxNumberOfIpInterfaces", 8},
                            {"maxNumberOfStaticRoutes", 32},
                            {"numberOfLpmHardwareEntries", 512}})});
    rows.push_back({"ip.config.interface", vlan1, Json::Value()});
    rows.push_back({"ip.config.interface.ipv4", vlan1,
                    object({{"active", true},
                            {"ipv4Address", kAddress},
                            {"prefixSize", kPrefix},
                            {"dhcpClientFallbackTimeout", 60}})});
    rows.push_back({"ip.config.interface.ipv6", vlan1, Json::Value()});
    rows.push_back({"ip.config.route.ipv4", key({default_route}), Json::Value()});
    rows.push_back({"ip.control.interface.dhcp-client", vlan1, Json::Value(false)});

    rows.push_back({"ip.status.interface.link", vlan1,
                    object({{"osInterfaceIndex", 2},
                            {"mtu", 1500},
                            {"macAddress", "00:1F:A2:0B:3C:D4"},
                            {"up", true},
                            {"broadcast", true},
                            {"running", true},
                            {"multicast", true}})});
    rows.push_back({"ip.status.interface.ipv4", key({kVlanInterface, kAddress}),
                    object({{"broadcast", kBroadcast}})});
    rows.push_back({"ip.status.interface.dhcp-client", vlan1, object({{"state", "stopped"}})});
    rows.push_back({"ip.status.route.ipv4", key({default_route}),
                    object({{"derivedNextHopInterface", kVlanInterface},
                            {"flagUp", true},
                            {"flagGateway", true},
                            {"ownerConf", true}})});
    rows.push_back({"ip.status.route.ipv4", key({connected_route}),
                    object({{"derivedNextHopInterface", kVlanInterface},
                            {"flagUp", true},
                            {"ownerDynamic", true}})});
    rows.push_back({"ip.status.neighbour.ipv4", key({kGateway}),
                    object({{"macAddress", "02:00:5E:00:00:FE"}, {"interface", kVlanInterface}})});
    rows.push_back({"ip.statistics.interface.link", vlan1, Json::Value()});
    rows.push_back({"ip.statistics.interface.ipv4", vlan1, object({{"RefreshRate", 1}})});
    rows.push_back({"ip.statistics.global.ipv4", Json::Value(), object({{"RefreshRate", 1}})});
    rows.push_back({"ip.statistics.global.ipv6", Json::Value(), object({{"RefreshRate", 1}})});

    rows.push_back(
        {"dhcpv6-client.capabilities", Json::Value(), object({{"MaxNumberOfInterfaces", 8}})});
}

void add_dhcp(std::vector<SeedRow>& rows) {
    rows.push_back({"dhcp-server.config.global", Json::Value(), object({{"Mode", true}})});
    rows.push_back({"dhcp-server.config.vlan", key({kVlanInterface}), object({{"Mode", true}})});
    rows.push_back({"dhcp-server.config.pool", key({"LAN"}),
                    object({{"PoolType", "network"},
                            {"Ipv4Address", kNetwork},
                            {"SubnetMask", kNetmask},
                            {"SubnetBroadcast", kBroadcast},
                            {"LeaseDay", 1},
                            {"DefaultRouter1", kGateway},
                            {"DnsServer1", kGateway},
                            {"NtpServer1", kGateway},
                            {"NetbiosNodeType", "nodeNone"}})});
    // The switch's own address and the gateway's neighbourhood are never handed out.
    rows.push_back(
        {"dhcp-server.config.excluded", key({"192.168.1.1", "192.168.1.10"}), Json::Value()});
    rows.push_back(
        {"dhcp-server.config.excluded", key({"192.168.1.250", "192.168.1.254"}), Json::Value()});

    rows.push_back({"dhcp-relay.config.global", Json::Value(),
                    object({{"Mode", false}, {"InformationPolicy", "keep"}})});
    rows.push_back({"dhcp-snooping.config.global", Json::Value(), object({{"Mode", false}})});
}

void add_host_services(std::vector<SeedRow>& rows) {
    rows.push_back({"dns.config.global.proxy", Json::Value(), object({{"AdminState", false}})});
    rows.push_back({"dns.config.global.domain-name", Json::Value(),
                    object({{"Setting", "static"}, {"StaticName", "example.net"}})});
    rows.push_back({"dns.status.global.default-domain-name", Json::Value(),
                    object({{"Suffix", "example.net"}})});
    // Four name server slots; the first holds the gateway.
    for (unsigned int slot = 0; slot < 4; ++slot) {
        const bool used = slot == 0;
        rows.push_back({"dns.config.server", key({slot}),
                        used ? object({{"Setting", "static"}, {"StaticIpAddress", kGateway}})
                             : object({{"Setting", "none"}})});
        rows.push_back({"dns.status.server", key({slot}),
                        used ? object({{"ConfiguredType", "static"}, {"IpAddress", kGateway}})
                             : object({{"ConfiguredType", "none"}})});
    }
    // NTP on, with the gateway in the first of five server slots.
    rows.push_back({"ntp.config.global", Json::Value(), Json::Value(true)});
    for (int slot = 1; slot <= 5; ++slot) {
        rows.push_back({"ntp.config.servers", key({slot}), Json::Value(slot == 1 ? kGateway : "")});
    }
    rows.push_back({"daylight-saving.config.global", Json::Value(),
                    object({{"TimeZoneAcronym", "UTC"}, {"SummerTimeMode", "disable"}})});
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
