#pragma once

// What a fresh simulated switch holds beyond the schema's zero defaults.
//
// The generated table gives every value a default (zeros, empty texts and lists, enumerations at
// their first text). The seed is built from it by two rules and one hand-written overlay:
//   1. every singleton table starts with its default value;
//   2. every table the schema marks `per-port` starts with one default row per port
//      ("Gi 1/1" .. "Gi 1/N");
//   3. the rows below are merged over that, field by field: VLAN 1 named "default" with every
//      port in it, link and speed on most ports, auto-negotiation and a 10240-byte MTU, the usual
//      protocol timers, a few learned MAC addresses, eight queues per port, and so on.
// Every other keyed table starts empty.

#include <json/value.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "sim/traffic.h"

namespace zolt_sim {

// One hand-written row: `value` holds some members of the table's record and is merged over the
// row's default; null keeps the default as it is, and any other value replaces it whole. `key` is
// the key array, null for a singleton.
struct SeedRow {
    std::string table;
    Json::Value key;
    Json::Value value;
};

// Helpers for writing rows by hand: an object from members, a key array from its members, and
// the array of the given interface names.
using Members = std::initializer_list<std::pair<const char*, Json::Value>>;
Json::Value object(Members members);
Json::Value row_key(std::initializer_list<Json::Value> members);
Json::Value names(const std::vector<std::string>& ports);

// Each subsystem's overlay lives in sim/seed_<subsystem>.cpp and appends its rows.
void add_ip_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports);
void add_multicast_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports);
void add_qos_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports);
void add_security_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports);
void add_management_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports);

std::vector<SeedRow> realistic_rows(const std::vector<std::string>& ports, const Traffic& traffic);

// The VLAN every port belongs to on a fresh switch.
constexpr int kDefaultVlan = 1;

}  // namespace zolt_sim
