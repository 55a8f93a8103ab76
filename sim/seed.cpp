#include "sim/seed.h"

#include <cstdio>
#include <initializer_list>
#include <utility>

namespace zolt_sim {
Json::Value object(Members members) {
    Json::Value value(Json::objectValue);
    for (const auto& member : members) value[member.first] = member.second;
    return value;
}

Json::Value key(std::initializer_list<Json::Value> members) {
    Json::Value array(Json::arrayValue);
    for (const Json::Value& member : members) array.append(member);
    return array;
}

Json::Value names(const std::vector<std::string>& ports) {
    Json::Value array(Json::arrayValue);
    for (const std::string& port : ports) array.append(port);
    return array;
}

namespace {

// A locally administered address per learned station, distinct per port.
std::string station_mac(std::size_t port_index) {
    char text[32];
    std::snprintf(text, sizeof text, "02:00:5E:10:%02X:%02X",
                  static_cast<unsigned>((port_index >> 8) & 0xff),
                  static_cast<unsigned>(port_index & 0xff));
    return text;
}

}  // namespace

std::vector<SeedRow> realistic_rows(const std::vector<std::string>& ports, const Traffic& traffic) {
    const Json::Value vlan1(kDefaultVlan);
    std::vector<SeedRow> rows = {
        {"vlan.capabilities", Json::Value(),
         object({{"vlanIdMin", 1}, {"vlanIdMax", 4095}, {"fidCnt", 63}})},
        {"vlan.config.global.main", Json::Value(),
         object({{"CustomSPortEtherType", 0x88a8}, {"AccessVlans", key({vlan1})}})},
        {"vlan.config.global.name", key({vlan1}), object({{"Name", "default"}})},
        {"vlan.status.membership", key({vlan1, "combined"}), names(ports)},
        {"vlan.status.membership", key({vlan1, "admin"}), names(ports)},
        {"mac.capabilities", Json::Value(), object({{"NonVolatileMax", 64}})},
        {"mac.config.global", Json::Value(), object({{"AgeTime", 300}})},
        {"mac.config.vlan.learn", key({vlan1}), object({{"Mode", true}})},
        {"mstp.config.bridge", Json::Value(),
         object({{"BridgeMaxAge", 20},
                 {"BridgeHelloTime", 2},
                 {"BridgeForwardDelay", 15},
                 {"ForceVersion", "mstp"},
                 {"TxHoldCount", 6},
                 {"MaxHops", 20}})},
        {"mstp.config.msti.parameters", key({0}), object({{"Priority", 128}})},
        {"lldp.config.global", Json::Value(),
         object({{"ReInitDelay", 2}, {"msgTxHold", 4}, {"msgTxInterval", 30}, {"txDelay", 2}})},
        {"lacp.config.global", Json::Value(), object({{"dot3adAggrSystemPriority", 32768}})},
        {"loop-protect.config.global", Json::Value(),
         object({{"TransmitInterval", 5}, {"ShutdownPeriod", 180}})},
        {"private-vlan.capabilities", Json::Value(),
         object({{"HasVlanMembershipMgmt", true}, {"VlanIdMin", 1}, {"VlanIdMax", 4095}})},
        {"voice-vlan.capabilities", Json::Value(),
         object({{"SupportLldpDiscovery", true},
                 {"MinAgeTime", 10},
                 {"MaxAgeTime", 10000000},
                 {"MaxTrafficClass", 7},
                 {"MaxOuiEntryCount", 16}})},
        {"voice-vlan.config.global", Json::Value(),
         object({{"VlanId", 1000}, {"AgingTime", 86400}, {"TrafficClass", 7}})},
    };

    for (std::size_t i = 0; i < ports.size(); ++i) {
        const Json::Value port(ports[i]);
        const PortProfile profile = traffic.profile(ports[i]);
        rows.push_back({"port.config", key({port}),
                        object({{"Speed", "autoNegMode"}, {"MTU", 10240}, {"MediaType", "rj45"}})});
        if (profile.link) {
            rows.push_back({"port.status", key({port}),
                            object({{"Link", true}, {"Fdx", true}, {"Speed", profile.speed}})});
            // One station learned behind every port with a link.
            rows.push_back({"mac.status.fdb.full", key({vlan1, station_mac(i + 1)}),
                            object({{"PortList", key({port})}, {"Dynamic", 1}})});
        }
        for (int queue = 0; queue < 8; ++queue) {
            rows.push_back({"port.statistics.queues", key({port, queue}), Json::Value()});
        }
        rows.push_back({"vlan.config.interface", key({port}),
                        object({{"AccessVlan", vlan1},
                                {"TrunkNativeVlan", vlan1},
                                {"HybridNativeVlan", vlan1},
                                {"HybridPortType", "c"}})});
        for (const char* user : {"combined", "admin"}) {
            rows.push_back({"vlan.status.interface", key({port, user}),
                            object({{"Pvid", vlan1}, {"Uvid", vlan1}, {"PortType", "c"}})});
        }
        rows.push_back({"lldp.config.interface", key({port}), object({{"AdminState", "txAndRx"}})});
        rows.push_back({"mstp.config.cist.interface", key({port}),
                        object({{"Enable", true}, {"AdminAutoEdgePort", true}})});
    }

    add_ip_rows(rows, ports);
    add_multicast_rows(rows, ports);
    add_qos_rows(rows, ports);
    add_security_rows(rows, ports);
    add_management_rows(rows, ports);
    return rows;
}

}  // namespace zolt_sim
