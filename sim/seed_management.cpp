#include "sim/seed.h"

namespace zolt_sim {

namespace {

void add_system_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back(
        {"system-utility.capabilities", Json::Value(), object({{"WarmRebootSupported", true}})});
    rows.push_back({"system-utility.status.cpu-load", Json::Value(),
                    object({{"Average100msec", 12}, {"Average1sec", 9}, {"Average10sec", 7}})});
    // Unit 1 has two supplies: one carries the load, the other stands by.
    rows.push_back({"system-utility.status.power-supply", key({1, 1}),
                    object({{"State", "active"}, {"Description", "PSU 1, 150 W"}})});
    rows.push_back({"system-utility.status.power-supply", key({1, 2}),
                    object({{"State", "standby"}, {"Description", "PSU 2, 150 W"}})});

    rows.push_back({"firmware.status.image", key({0}),
                    object({{"Type", "bootloader"},
                            {"Name", "redboot"},
                            {"Version", "1.0.4"},
                            {"BuiltDate", "2023-02-14T09:12:44+01:00"},
                            {"CodeRevision", "b4e1"}})});
    rows.push_back({"firmware.status.image", key({1}),
                    object({{"Type", "activeFirmware"},
                            {"Name", "zolt-switch.mfi"},
                            {"Version", "4.2.1"},
                            {"BuiltDate", "2024-05-02T17:30:00+02:00"},
                            {"CodeRevision", "9c0d12"}})});
    rows.push_back({"firmware.status.image", key({2}),
                    object({{"Type", "alternativeFirmware"},
                            {"Name", "zolt-switch.mfi"},
                            {"Version", "4.1.7"},
                            {"BuiltDate", "2023-11-20T11:05:10+01:00"},
                            {"CodeRevision", "77aa31"}})});
    rows.push_back({"firmware.status.switch", key({1}),
                    object({{"ChipId", "ZL7420"},
                            {"BoardType", "zolt-ref-1"},
                            {"PortCnt", static_cast<Json::UInt>(ports.size())},
                            {"Product", "Zolt managed switch"},
                            {"Version", "4.2.1"},
                            {"BuiltDate", "2024-05-02T17:30:00+02:00"}})});
}

void add_configuration_file_rows(std::vector<SeedRow>& rows) {
    rows.push_back({"icfg.status.file", key({1}),
                    object({{"FileName", "default-config"},
                            {"Bytes", 2048},
                            {"ModifiedTime", "2024-05-02 17:30:00"},
                            {"Attribute", "r-"}})});
    rows.push_back({"icfg.status.file", key({2}),
                    object({{"FileName", "startup-config"},
                            {"Bytes", 3172},
                            {"ModifiedTime", "2024-06-11 08:15:42"},
                            {"Attribute", "rw"}})});
    rows.push_back({"icfg.statistics.file", Json::Value(),
                    object({{"NumberOfFiles", 2}, {"TotalBytes", 2048 + 3172}})});
}

void add_monitoring_rows(std::vector<SeedRow>& rows) {
    rows.push_back({"snmp.config.global", Json::Value(),
                    object({{"Mode", true},
                            {"Version", "snmpV2c"},
                            {"ReadCommunity", "public"},
                            {"WriteCommunity", "private"},
                            {"EngineId", "800007e5017f000001"}})});
    // The communities table holds keys only.
    rows.push_back(
        {"snmp.config.communities",
         key({object({{"Name", "public"}, {"SourceIP", "0.0.0.0"}, {"SourceIPPrefixSize", 0}})}),
         Json::Value()});
    rows.push_back({"snmp.config.views",
                    key({object({{"Name", "default_view"}, {"Subtree", ".1"}})}),
                    object({{"ViewType", "included"}})});

    rows.push_back({"syslog.config.server", Json::Value(),
                    object({{"Mode", false}, {"Address", ""}, {"Level", "informational"}})});
    // The switch writes its time stamps as local-time text.
    rows.push_back({"syslog.status.history", key({1, 1}),
                    object({{"MsgLevel", "notice"},
                            {"MsgTimeStamp", "2024-06-11 08:15:40"},
                            {"MsgText", "System cold started"}})});
    rows.push_back({"syslog.status.history", key({1, 2}),
                    object({{"MsgLevel", "informational"},
                            {"MsgTimeStamp", "2024-06-11 08:15:52"},
                            {"MsgText", "Link up on Gi 1/1"}})});
    rows.push_back({"syslog.status.history", key({1, 3}),
                    object({{"MsgLevel", "warning"},
                            {"MsgTimeStamp", "2024-06-11 09:02:17"},
                            {"MsgText", "Login failed for user guest"}})});

    // sFlow is off: no receiver, no sampling instance; the agent has no address yet.
    rows.push_back({"sflow.config.agent", Json::Value(), object({{"AgentIpAddress", "0.0.0.0"}})});

    rows.push_back({"upnp.config.global", Json::Value(),
                    object({{"Mode", false}, {"Ttl", 4}, {"AdvertisingDuration", 100}})});

    rows.push_back({"json-rpc-notification.config.destination", key({"collector"}),
                    object({{"url", "http://192.0.2.10:8080/notify"},
                            {"authType", "none"},
                            {"username", ""},
                            {"password", ""}})});
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
