#include "sim/seed.h"

#include <cstdio>
#include <initializer_list>
#include <utility>

#include "sim/names.h"

namespace zolt_sim {
Json::Value object(Members members) {
    Json::Value value(Json::objectValue);
    for (const auto& member : members) value[member.first] = member.second;
    return value;
}

Json::Value row_key(std::initializer_list<Json::Value> members) {
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
        {table::vlan_capabilities, Json::Value(),
         object({{key::vlanIdMin, 1}, {key::vlanIdMax, 4095}, {key::fidCnt, 63}})},
        {table::vlan_config_global_main, Json::Value(),
         object({{key::CustomSPortEtherType, 0x88a8}, {key::AccessVlans, row_key({vlan1})}})},
        {table::vlan_config_global_name, row_key({vlan1}), object({{key::Name, "default"}})},
        {table::vlan_status_membership, row_key({vlan1, "combined"}), names(ports)},
        {table::vlan_status_membership, row_key({vlan1, "admin"}), names(ports)},
        {table::mac_capabilities, Json::Value(), object({{key::NonVolatileMax, 64}})},
        {table::mac_config_global, Json::Value(), object({{key::AgeTime, 300}})},
        {table::mac_config_vlan_learn, row_key({vlan1}), object({{key::Mode, true}})},
        {table::mstp_config_bridge, Json::Value(),
         object({{key::BridgeMaxAge, 20},
                 {key::BridgeHelloTime, 2},
                 {key::BridgeForwardDelay, 15},
                 {key::ForceVersion, "mstp"},
                 {key::TxHoldCount, 6},
                 {key::MaxHops, 20}})},
        {table::mstp_config_msti_parameters, row_key({0}), object({{key::Priority, 128}})},
        {table::lldp_config_global, Json::Value(),
         object({{key::ReInitDelay, 2},
                 {key::msgTxHold, 4},
                 {key::msgTxInterval, 30},
                 {key::txDelay, 2}})},
        {table::lacp_config_global, Json::Value(),
         object({{key::dot3adAggrSystemPriority, 32768}})},
        {table::loop_protect_config_global, Json::Value(),
         object({{key::TransmitInterval, 5}, {key::ShutdownPeriod, 180}})},
        {table::private_vlan_capabilities, Json::Value(),
         object({{key::HasVlanMembershipMgmt, true}, {key::VlanIdMin, 1}, {key::VlanIdMax, 4095}})},
        {table::voice_vlan_capabilities, Json::Value(),
         object({{key::SupportLldpDiscovery, true},
                 {key::MinAgeTime, 10},
                 {key::MaxAgeTime, 10000000},
                 {key::MaxTrafficClass, 7},
                 {key::MaxOuiEntryCount, 16}})},
        {table::voice_vlan_config_global, Json::Value(),
         object({{key::VlanId, 1000}, {key::AgingTime, 86400}, {key::TrafficClass, 7}})},
    };

    for (std::size_t i = 0; i < ports.size(); ++i) {
        const Json::Value port(ports[i]);
        const PortProfile profile = traffic.profile(ports[i]);
        rows.push_back(
            {table::port_config, row_key({port}),
             object({{key::Speed, "autoNegMode"}, {key::MTU, 10240}, {key::MediaType, "rj45"}})});
        if (profile.link) {
            rows.push_back(
                {table::port_status, row_key({port}),
                 object({{key::Link, true}, {key::Fdx, true}, {key::Speed, profile.speed}})});
            // One station learned behind every port with a link.
            rows.push_back({table::mac_status_fdb_full, row_key({vlan1, station_mac(i + 1)}),
                            object({{key::PortList, row_key({port})}, {key::Dynamic, 1}})});
        }
        for (int queue = 0; queue < 8; ++queue) {
            rows.push_back({table::port_statistics_queues, row_key({port, queue}), Json::Value()});
        }
        rows.push_back({table::vlan_config_interface, row_key({port}),
                        object({{key::AccessVlan, vlan1},
                                {key::TrunkNativeVlan, vlan1},
                                {key::HybridNativeVlan, vlan1},
                                {key::HybridPortType, "c"}})});
        for (const char* user : {"combined", "admin"}) {
            rows.push_back(
                {table::vlan_status_interface, row_key({port, user}),
                 object({{key::Pvid, vlan1}, {key::Uvid, vlan1}, {key::PortType, "c"}})});
        }
        rows.push_back({table::lldp_config_interface, row_key({port}),
                        object({{key::AdminState, "txAndRx"}})});
        rows.push_back({table::mstp_config_cist_interface, row_key({port}),
                        object({{key::Enable, true}, {key::AdminAutoEdgePort, true}})});
    }

    add_ip_rows(rows, ports);
    add_multicast_rows(rows, ports);
    add_qos_rows(rows, ports);
    add_security_rows(rows, ports);
    add_management_rows(rows, ports);
    return rows;
}

}  // namespace zolt_sim
