// An application built against the installed library alone: the installed headers, the
// pkg-config flags or the CMake package, and the shared library. It opens and closes a handle,
// round-trips a record through the exported codec overloads, and reads a map of rows.

#include <client/zoltclient.h>

#include <cstdio>
#include <map>
#include <string>

int main() {
    rest_conn_t conn = {};
    std::snprintf(conn.url, sizeof conn.url, "http://127.0.0.1:9/");
    std::snprintf(conn.content_type, sizeof conn.content_type, "application/json");
    void* handle = zoltclient_init(&conn);
    if (handle == nullptr) return 1;
    zoltclient_deinit(handle);

    zolt_appl_port_mib_conf_t conf{};
    conf.Speed = zolt_appl_port_speed_force1GModeFdx;
    conf.MTU = 9000;
    zolt_appl_port_mib_conf_t back{};
    parse(serialize(conf), back);
    if (back < conf || conf < back) return 2;

    Json::Value rows(Json::arrayValue);
    rows.append(Json::Value(Json::objectValue));
    rows[0]["key"] = "Gi 1/1";
    rows[0]["val"] = serialize(conf);
    std::map<std::string, zolt_appl_port_mib_conf_t> table;
    parse(rows, table);
    if (table.size() != 1 || table["Gi 1/1"].MTU != 9000) return 3;

    std::puts("consumer: ok");
    return 0;
}
