// A short tour of a managed switch through the library's public interface:
//
//   switch_tour URL [USER [PASSWORD]]
//
// It shows the ports' link state and traffic counters, changes one port's configuration and
// reads it back, adds static MAC addresses and lists them, and lets the switch refuse a request
// to show how a refusal comes back: as the typed function's return code. Failures of the
// transport or of decoding come back as exceptions instead.

#include <cstdio>
#include <exception>
#include <initializer_list>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"

namespace {

const char* speed_text(zolt_port_speed_t speed) {
    switch (speed) {
        case zolt_port_speed_s10M:
            return "10M";
        case zolt_port_speed_s100M:
            return "100M";
        case zolt_port_speed_s1G:
            return "1G";
        case zolt_port_speed_s2500M:
            return "2.5G";
        case zolt_port_speed_s5G:
            return "5G";
        case zolt_port_speed_s10G:
            return "10G";
        case zolt_port_speed_s12G:
            return "12G";
        default:
            return "-";
    }
}

std::string mac_text(const zolt_mac_t& mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", mac.addr[0], mac.addr[1],
                  mac.addr[2], mac.addr[3], mac.addr[4], mac.addr[5]);
    return text;
}

std::string join(const std::vector<std::string>& items) {
    std::string out;
    for (const std::string& item : items) out += (out.empty() ? "" : ", ") + item;
    return out;
}

// The enumeration's wire text, through the library's own writer.
template <class E>
std::string text_of(E value) {
    return serialize(value).asString();
}

bool check(const char* what, int rc) {
    if (rc != 0) std::printf("  %s: the switch answered with error code %d\n", what, rc);
    return rc == 0;
}

bool show_ports(void* handle) {
    std::map<std::string, zolt_appl_port_mib_status_t> status;
    std::map<std::string, zolt_port_rmon_counters_t> counters;
    if (!check("port.status.get", zolt_port_status_get(handle, &status)) ||
        !check("port.statistics.rmon.get", zolt_port_statistics_rmon_get(handle, &counters))) {
        return false;
    }
    std::printf("%-8s %-4s %-5s %-6s %14s %16s %14s %16s\n", "Port", "Link", "Speed", "Duplex",
                "Rx packets", "Rx octets", "Tx packets", "Tx octets");
    for (const auto& entry : status) {
        const zolt_appl_port_mib_status_t& port = entry.second;
        const zolt_port_rmon_counters_t& count = counters[entry.first];
        std::printf("%-8s %-4s %-5s %-6s %14llu %16llu %14llu %16llu\n", entry.first.c_str(),
                    port.Link ? "up" : "down", port.Link ? speed_text(port.Speed) : "-",
                    port.Link ? (port.Fdx ? "full" : "half") : "-", count.RxPkts, count.RxOctets,
                    count.TxPkts, count.TxOctets);
    }
    return true;
}

void print_config(const char* label, const zolt_appl_port_mib_conf_t& conf) {
    std::printf("  %-7s speed %-15s MTU %-6u flow control %-3s %s\n", label,
                text_of(conf.Speed).c_str(), conf.MTU, text_of(conf.FC).c_str(),
                conf.Shutdown ? "shut down" : "enabled");
}

bool reconfigure_port(void* handle, const std::string& port) {
    zolt_appl_port_mib_conf_t conf{};
    if (!check("port.config.get", zolt_port_config_get(handle, port, &conf))) return false;
    std::printf("\nConfiguration of %s\n", port.c_str());
    print_config("before", conf);

    conf.Speed = zolt_appl_port_speed_force1GModeFdx;
    conf.MTU = 9000;
    conf.FC = zolt_appl_port_fc_on;
    if (!check("port.config.set", zolt_port_config_set(handle, port, conf))) return false;

    zolt_appl_port_mib_conf_t again{};
    if (!check("port.config.get", zolt_port_config_get(handle, port, &again))) return false;
    print_config("after", again);
    return true;
}

bool static_macs(void* handle) {
    const unsigned short vlan = 1;
    const zolt_mac_t printer = {{0x00, 0x1F, 0xA2, 0x0B, 0x3C, 0xD4}};
    const zolt_mac_t camera = {{0x00, 0x1F, 0xA2, 0x0B, 0x3C, 0xD5}};
    zolt_appl_mac_stack_addr_entry_conf_t on_port5{};
    on_port5.PortList = {"Gi 1/5"};
    zolt_appl_mac_stack_addr_entry_conf_t on_port6{};
    on_port6.PortList = {"Gi 1/6"};

    std::printf("\nStatic MAC addresses\n");
    // A switch that kept its state from an earlier tour may hold these already. Deleting an
    // entry that is not there is refused too, and that is fine here.
    for (const zolt_mac_t& mac : {printer, camera}) {
        const int rc = zolt_mac_config_fdb_static_del(handle, vlan, mac);
        if (rc == 0) std::printf("  removed %s left from an earlier run\n", mac_text(mac).c_str());
    }
    if (!check("mac.config.fdb.static.add",
               zolt_mac_config_fdb_static_add(handle, vlan, printer, on_port5)) ||
        !check("mac.config.fdb.static.add",
               zolt_mac_config_fdb_static_add(handle, vlan, camera, on_port6))) {
        return false;
    }
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_conf_t> table;
    if (!check("mac.config.fdb.static.get", zolt_mac_config_fdb_static_get(handle, &table))) {
        return false;
    }
    std::printf("  %-6s %-17s %s\n", "VLAN", "MAC address", "Ports");
    for (const auto& entry : table) {
        std::printf("  %-6u %-17s %s\n", static_cast<unsigned>(std::get<0>(entry.first)),
                    mac_text(std::get<1>(entry.first)).c_str(),
                    join(entry.second.PortList).c_str());
    }

    // The switch refuses a second entry with the same key. That is no exception: the typed
    // function returns the switch's error code and leaves everything else as it was.
    std::printf("\nAdding %s on VLAN %u a second time\n", mac_text(printer).c_str(),
                static_cast<unsigned>(vlan));
    const int rc = zolt_mac_config_fdb_static_add(handle, vlan, printer, on_port5);
    if (rc == 0) {
        std::printf("  unexpectedly accepted\n");
        return false;
    }
    std::printf("  refused by the switch with error code %d\n", rc);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: %s URL [USER [PASSWORD]]\n", argv[0]);
        return 2;
    }
    rest_conn_t conn{};
    std::snprintf(conn.url, sizeof conn.url, "%s", argv[1]);
    std::snprintf(conn.user, sizeof conn.user, "%s", argc > 2 ? argv[2] : "admin");
    std::snprintf(conn.password, sizeof conn.password, "%s", argc > 3 ? argv[3] : "admin");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    conn.timeout = 10;

    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) {
        std::fprintf(stderr, "cannot set up a connection to %s\n", conn.url);
        return 1;
    }
    bool ok = false;
    try {
        std::printf("Switch at %s\n\n", conn.url);
        ok = show_ports(handle) && reconfigure_port(handle, "Gi 1/3") && static_macs(handle);
    } catch (const std::exception& e) {
        // Transport and decoding failures: "Post error", "Network error, return code: 401", ...
        std::fprintf(stderr, "request failed: %s\n", e.what());
    }
    zoltclient_deinit(handle);
    return ok ? 0 : 1;
}
