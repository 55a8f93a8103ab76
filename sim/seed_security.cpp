#include "sim/seed.h"

namespace zolt_sim {

namespace {

// Management users authenticate locally on the console and over SSH, with one RADIUS server
// configured behind them; TACACS+ has its timers but no server.
void add_authentication_rows(std::vector<SeedRow>& rows) {
    rows.push_back({"authentication.config.agent.console.authen", key({0}), "local"});
    rows.push_back({"authentication.config.agent.ssh.authen", key({0}), "local"});
    rows.push_back({"authentication.config.radius.global", Json::Value(),
                    object({{"Timeout", 5}, {"Retransmit", 3}, {"Deadtime", 0}})});
    rows.push_back({"authentication.config.radius.host", key({1}),
                    object({{"Address", "192.0.2.10"},
                            {"AuthPort", 1812},
                            {"AcctPort", 1813},
                            {"Timeout", 5},
                            {"Retransmit", 3},
                            {"Key", "radius-shared-secret"}})});
    rows.push_back({"authentication.config.tacacs.global", Json::Value(),
                    object({{"Timeout", 5}, {"Deadtime", 0}})});
}

// Network access control is off, so every port is forced authorized and has seen no supplicant;
// its tables are keyed by the interface record, one row per port.
void add_nas_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back({"nas.config.global", Json::Value(),
                    object({{"reauthenticationPeriod", 3600},
                            {"eapolTimeout", 30},
                            {"agingPeriod", 300},
                            {"authFailureHoldTime", 10},
                            {"maxReauthrequestsCount", 2}})});
    for (const std::string& port : ports) {
        const Json::Value interface = key({object({{"InterfaceNo", port}})});
        rows.push_back(
            {"nas.config.interface", interface, object({{"adminState", "forceAuthorized"}})});
        rows.push_back({"nas.status.interface", interface,
                        object({{"status", "authorized"}, {"qosClass", "none"}})});
        rows.push_back({"nas.statistics.eapol", interface, Json::Value()});
        rows.push_back({"nas.statistics.radius", interface, Json::Value()});
    }
}

// Port security, ARP inspection and access management are all off, with the usual timers.
void add_access_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    rows.push_back({"port-security.config.global", Json::Value(),
                    object({{"enabled", false}, {"agingPeriodSecs", 3600}})});
    for (const std::string& port : ports) {
        rows.push_back({"port-security.config.interface", key({port}),
                        object({{"limit", 4}, {"Action", "none"}})});
    }
    rows.push_back(
        {"arp-inspection.config.global", Json::Value(), object({{"AdminState", false}})});
    rows.push_back(
        {"access-management.config.global", Json::Value(), object({{"AdminState", false}})});
}

// The web interface's privilege levels per module, the SSH server on and HTTPS off.
void add_server_rows(std::vector<SeedRow>& rows) {
    for (const char* module : {"Maintenance", "Security", "System"}) {
        rows.push_back({"privilege.config.web", key({module}),
                        object({{"ConfigRoPriv", 5},
                                {"ConfigRwPriv", 10},
                                {"StatusRoPriv", 1},
                                {"StatusRwPriv", 10}})});
    }
    rows.push_back({"ssh.config.global", Json::Value(), object({{"AdminState", true}})});
    rows.push_back({"https.config.global", Json::Value(),
                    object({{"Mode", false}, {"RedirectToHttps", false}})});
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
