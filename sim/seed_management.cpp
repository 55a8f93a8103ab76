#include "sim/names.h"
#include "sim/seed.h"

namespace zolt_sim {

namespace {

void add_system_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back({table::system_utility_capabilities, Json::Value(),
                    object({{key::WarmRebootSupported, true}})});
    rows.push_back(
        {table::system_utility_status_cpu_load, Json::Value(),
         object({{key::Average100msec, 12}, {key::Average1sec, 9}, {key::Average10sec, 7}})});
    // Unit 1 has two supplies: one carries the load, the other stands by.
    rows.push_back({table::system_utility_status_power_supply, row_key({1, 1}),
                    object({{key::State, "active"}, {key::Description, "PSU 1, 150 W"}})});
    rows.push_back({table::system_utility_status_power_supply, row_key({1, 2}),
                    object({{key::State, "standby"}, {key::Description, "PSU 2, 150 W"}})});

    rows.push_back({table::firmware_status_image, row_key({0}),
                    object({{key::Type, "bootloader"},
                            {key::Name, "redboot"},
                            {key::Version, "1.0.4"},
                            {key::BuiltDate, "2023-02-14T09:12:44+01:00"},
                            {key::CodeRevision, "b4e1"}})});
    rows.push_back({table::firmware_status_image, row_key({1}),
                    object({{key::Type, "activeFirmware"},
                            {key::Name, "zolt-switch.mfi"},
                            {key::Version, "4.2.1"},
                            {key::BuiltDate, "2024-05-02T17:30:00+02:00"},
                            {key::CodeRevision, "9c0d12"}})});
    rows.push_back({table::firmware_status_image, row_key({2}),
                    object({{key::Type, "alternativeFirmware"},
                            {key::Name, "zolt-switch.mfi"},
                            {key::Version, "4.1.7"},
                            {key::BuiltDate, "2023-11-20T11:05:10+01:00"},
                            {key::CodeRevision, "77aa31"}})});
    rows.push_back({table::firmware_status_switch, row_key({1}),
                    object({{key::ChipId, "ZL7420"},
                            {key::BoardType, "zolt-ref-1"},
                            {key::PortCnt, static_cast<Json::UInt>(ports.size())},
                            {key::Product, "Zolt managed switch"},
                            {key::Version, "4.2.1"},
                            {key::BuiltDate, "2024-05-02T17:30:00+02:00"}})});
}

void add_configuration_file_rows(std::vector<SeedRow>& rows) {
    rows.push_back({table::icfg_status_file, row_key({1}),
                    object({{key::FileName, "default-config"},
                            {key::Bytes, 2048},
                            {key::ModifiedTime, "2024-05-02 17:30:00"},
                            {key::Attribute, "r-"}})});
    rows.push_back({table::icfg_status_file, row_key({2}),
                    object({{key::FileName, "startup-config"},
                            {key::Bytes, 3172},
                            {key::ModifiedTime, "2024-06-11 08:15:42"},
                            {key::Attribute, "rw"}})});
    rows.push_back({table::icfg_statistics_file, Json::Value(),
                    object({{key::NumberOfFiles, 2}, {key::TotalBytes, 2048 + 3172}})});
}

void add_monitoring_rows(std::vector<SeedRow>& rows) {
    rows.push_back({table::snmp_config_global, Json::Value(),
                    object({{key::Mode, true},
                            {key::Version, "snmpV2c"},
                            {key::ReadCommunity, "public"},
                            {key::WriteCommunity, "private"},
                            {key::EngineId, "800007e5017f000001"}})});
    // The communities table holds keys only.
    rows.push_back(
        {table::snmp_config_communities,
         row_key({object(
             {{key::Name, "public"}, {key::SourceIP, "0.0.0.0"}, {key::SourceIPPrefixSize, 0}})}),
         Json::Value()});
    rows.push_back({table::snmp_config_views,
                    row_key({object({{key::Name, "default_view"}, {key::Subtree, ".1"}})}),
                    object({{key::ViewType, "included"}})});

    rows.push_back(
        {table::syslog_config_server, Json::Value(),
         object({{key::Mode, false}, {key::Address, ""}, {key::Level, "informational"}})});
    // The switch writes its time stamps as local-time text.
    rows.push_back({table::syslog_status_history, row_key({1, 1}),
                    object({{key::MsgLevel, "notice"},
                            {key::MsgTimeStamp, "2024-06-11 08:15:40"},
                            {key::MsgText, "System cold started"}})});
    rows.push_back({table::syslog_status_history, row_key({1, 2}),
                    object({{key::MsgLevel, "informational"},
                            {key::MsgTimeStamp, "2024-06-11 08:15:52"},
                            {key::MsgText, "Link up on Gi 1/1"}})});
    rows.push_back({table::syslog_status_history, row_key({1, 3}),
                    object({{key::MsgLevel, "warning"},
                            {key::MsgTimeStamp, "2024-06-11 09:02:17"},
                            {key::MsgText, "Login failed for user guest"}})});

    // sFlow is off: no receiver, no sampling instance; the agent has no address yet.
    rows.push_back(
        {table::sflow_config_agent, Json::Value(), object({{key::AgentIpAddress, "0.0.0.0"}})});

    rows.push_back({table::upnp_config_global, Json::Value(),
                    object({{key::Mode, false}, {key::Ttl, 4}, {key::AdvertisingDuration, 100}})});

    rows.push_back({table::json_rpc_notification_config_destination, row_key({"collector"}),
                    object({{key::url, "http://192.0.2.10:8080/notify"},
                            {key::authType, "none"},
                            {key::username, ""},
                            {key::password, ""}})});
}

}  // namespace

// A fresh switch's management and monitoring: CPU load figures, two power supplies, its
// firmware images, the default and startup configuration files, an SNMP community and view,
// syslog with a few history entries, sFlow off and one notification destination.
void add_management_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    add_system_rows(rows, ports);
    add_configuration_file_rows(rows);
    add_monitoring_rows(rows);
}

}  // namespace zolt_sim
