#include "sim/names.h"
#include "sim/seed.h"

namespace zolt_sim {

namespace {

// Management users authenticate locally on the console and over SSH, with one RADIUS server
// configured behind them; TACACS+ has its timers but no server.
void add_authentication_rows(std::vector<SeedRow>& rows) {
    rows.push_back({table::authentication_config_agent_console_authen, row_key({0}), "local"});
    rows.push_back({table::authentication_config_agent_ssh_authen, row_key({0}), "local"});
    rows.push_back({table::authentication_config_radius_global, Json::Value(),
                    object({{key::Timeout, 5}, {key::Retransmit, 3}, {key::Deadtime, 0}})});
    rows.push_back({table::authentication_config_radius_host, row_key({1}),
                    object({{key::Address, "192.0.2.10"},
                            {key::AuthPort, 1812},
                            {key::AcctPort, 1813},
                            {key::Timeout, 5},
                            {key::Retransmit, 3},
                            {key::Key, "radius-shared-secret"}})});
    rows.push_back({table::authentication_config_tacacs_global, Json::Value(),
                    object({{key::Timeout, 5}, {key::Deadtime, 0}})});
}

// Network access control is off, so every port is forced authorized and has seen no supplicant;
// its tables are keyed by the interface record, one row per port.
void add_nas_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back({table::nas_config_global, Json::Value(),
                    object({{key::reauthenticationPeriod, 3600},
                            {key::eapolTimeout, 30},
                            {key::agingPeriod, 300},
                            {key::authFailureHoldTime, 10},
                            {key::maxReauthrequestsCount, 2}})});
    for (const std::string& port : ports) {
        const Json::Value interface = row_key({object({{key::InterfaceNo, port}})});
        rows.push_back({table::nas_config_interface, interface,
                        object({{key::adminState, "forceAuthorized"}})});
        rows.push_back({table::nas_status_interface, interface,
                        object({{key::status, "authorized"}, {key::qosClass, "none"}})});
        rows.push_back({table::nas_statistics_eapol, interface, Json::Value()});
        rows.push_back({table::nas_statistics_radius, interface, Json::Value()});
    }
}

// Port security, ARP inspection and access management are all off, with the usual timers.
void add_access_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back({table::port_security_config_global, Json::Value(),
                    object({{key::enabled, false}, {key::agingPeriodSecs, 3600}})});
    for (const std::string& port : ports) {
        rows.push_back({table::port_security_config_interface, row_key({port}),
                        object({{key::limit, 4}, {key::Action, "none"}})});
    }
    rows.push_back(
        {table::arp_inspection_config_global, Json::Value(), object({{key::AdminState, false}})});
    rows.push_back({table::access_management_config_global, Json::Value(),
                    object({{key::AdminState, false}})});
}

// The web interface's privilege levels per module, the SSH server on and HTTPS off.
void add_server_rows(std::vector<SeedRow>& rows) {
    for (const char* module : {"Maintenance", "Security", "System"}) {
        rows.push_back({table::privilege_config_web, row_key({module}),
                        object({{key::ConfigRoPriv, 5},
                                {key::ConfigRwPriv, 10},
                                {key::StatusRoPriv, 1},
                                {key::StatusRwPriv, 10}})});
    }
    rows.push_back({table::ssh_config_global, Json::Value(), object({{key::AdminState, true}})});
    rows.push_back({table::https_config_global, Json::Value(),
                    object({{key::Mode, false}, {key::RedirectToHttps, false}})});
}

}  // namespace

// A fresh switch's security and access. The users table is not seeded here: the simulator puts
// the account it was started with into it (see Simulator).
void add_security_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    add_authentication_rows(rows);
    add_nas_rows(rows, ports);
    add_access_rows(rows, ports);
    add_server_rows(rows);
}

}  // namespace zolt_sim
