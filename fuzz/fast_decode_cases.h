#pragma once

// Both ways of decoding an answer side by side: the library's (the direct decoder, with the tree
// whenever it is not certain) and the tree alone. For any answer text they must agree on the
// return code or on the exception's type and text, and on what stays in the caller's output,
// which starts filled so that appending and first-row-wins show.
//
// Each case is one output type of a call shape; together they cover every form a value takes:
// records of every field kind, enumerations, plain values, lists, tuple keys (the MAC table's
// own one too), keys of three members and key-only tables, and calls without output.

#include <json/json.h>

#include <cstring>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "client/methods.h"
#include "client/rest_internal.h"
#include "client/zoltclient.h"
#include "fast/families.h"
#include "sim/sim_schema.h"

namespace zolt_fast_cases {

// --- what a caller can observe of an output ------------------------------------------------------

template <class T>
Json::Value dump(const T& value);

template <class... T, std::size_t... I>
Json::Value dump_tuple(const std::tuple<T...>& value, std::index_sequence<I...>) {
    Json::Value out(Json::arrayValue);
    (out.append(dump(std::get<I>(value))), ...);
    return out;
}

template <class... T>
Json::Value dump(const std::tuple<T...>& value) {
    return dump_tuple(value, std::index_sequence_for<T...>());
}

template <class K, class V>
Json::Value dump(const std::map<K, V>& table) {
    Json::Value out(Json::arrayValue);
    for (const auto& row : table) {
        Json::Value pair(Json::arrayValue);
        pair.append(dump(row.first));
        pair.append(dump(row.second));
        out.append(pair);
    }
    return out;
}

// Records and plain values through the library's writers; an enumeration as its number, since a
// value without text cannot be written.
template <class T>
Json::Value dump(const T& value) {
    if constexpr (std::is_enum_v<T>) {
        return Json::Value(static_cast<int>(value));
    } else {
        try {
            return zolt::to_json(value);
        } catch (const std::exception& e) {
            return Json::Value(std::string("unwritable: ") + e.what());
        }
    }
}

// An answer with status 200 and `text` as its body, collected the way the transport collects it.
inline rest_response_t* response_of(const std::string& text) {
    rest_response_t* response = rest_response_alloc();
    rest_append_chunk(text.data(), 1, text.size(), response, false);
    response->status = 200;
    return response;
}

// --- one decode ----------------------------------------------------------------------------------

struct Outcome {
    std::string result;  // "code N" or "<exception type>: <text>"
    Json::Value output;
};

// `text` read into a copy of `start`, by the tree alone or (with `direct`) the library's way.
template <class Out>
Outcome run(const std::string& text, const Out& start, zolt::Decoder decode,
            zolt::DirectDecoder direct) {
    Out out = start;
    Outcome outcome;
    try {
        outcome.result =
            "code " + std::to_string(zolt::read_result(response_of(text), decode, direct, &out));
    } catch (const std::exception& e) {
        outcome.result = std::string(typeid(e).name()) + ": " + e.what();
    }
    outcome.output = dump(out);
    return outcome;
}

// Empty when both ways agree, else both outcomes.
template <class Out>
std::string differ(const std::string& text, const Out& start, zolt::Decoder decode,
                   zolt::DirectDecoder direct) {
    const Outcome a = run(text, start, decode, direct);
    const Outcome b = run(text, start, decode, nullptr);
    if (a.result == b.result && a.output == b.output) return "";
    return "direct: " + a.result + " " + a.output.toStyledString() + "tree: " + b.result + " " +
           b.output.toStyledString();
}

// --- the cases -----------------------------------------------------------------------------------

// The value a fresh switch holds in the table of `method`, as JSON text.
inline std::string value_of(const std::string& method) {
    const zolt_sim::TableInfo* table = zolt_sim::find_table(method.substr(0, method.rfind('.')));
    return table != nullptr && table->fresh != nullptr ? table->fresh : "null";
}

inline std::string answer(const std::string& result) {
    return "{\"id\":\"jsonrpc\",\"error\":null,\"result\":" + result + "}";
}

// Rows with the given keys, every one with the same value text; a key may come twice.
inline std::string rows(const std::vector<std::string>& keys, const std::string& value) {
    std::string out = "[";
    for (const std::string& key : keys) {
        if (out.size() > 1) out += ",";
        out += "{\"key\":" + key + ",\"val\":" + value + "}";
    }
    return out + "]";
}

// The caller's output before the call: what the tree makes of `text` with every digit 1 turned
// to 2, so that a caller's row or list differs from the answer's.
template <class Out>
Out filled(std::string text, zolt::Decoder decode) {
    for (char& c : text) {
        if (c == '1') c = '2';
    }
    Out out{};
    try {
        zolt::read_result(response_of(text), decode, nullptr, &out);
    } catch (const std::exception&) {
    }
    return out;
}

// The text and the room after it that the direct decoder may read, filled with closing brackets,
// which a parser that ran past the text would take for the end of what it reads.
inline std::string padded(const std::string& text) {
    std::string out = text;
    out.resize(text.size() + zolt::fast::kPadding, ']');
    return out;
}

struct Case {
    const char* name;
    std::string (*seed)();                            // a valid answer
    std::string (*compare)(const std::string& text);  // empty when both ways agree
    bool (*direct)(const std::string& text);          // the direct decoder alone is certain
};

// Singleton, keyed, scalar and list gets into `Out`.
template <class Out>
Case get(const char* name, std::string (*seed)()) {
    return {name, seed,
            [](const std::string& text) {
                return differ(text, filled<Out>(text, &zolt::decode_into<Out>),
                              &zolt::decode_into<Out>, &zolt::direct_into<Out>);
            },
            [](const std::string& text) {
                Out out{};
                std::string buffer = padded(text);
                return zolt::fast::get(buffer.data(), text.size(), out);
            }};
}

// Get-alls into a map of K to V.
template <class K, class V>
Case get_all(const char* name, std::string (*seed)()) {
    using Map = std::map<K, V>;
    return {name, seed,
            [](const std::string& text) {
                return differ(text, filled<Map>(text, &zolt::decode_rows<K, V>),
                              &zolt::decode_rows<K, V>, &zolt::direct_rows<K, V>);
            },
            [](const std::string& text) {
                Map out;
                std::string buffer = padded(text);
                return zolt::fast::get_all(buffer.data(), text.size(), out);
            }};
}

inline const Case* cases(std::size_t* count) {
    using MacKey = std::tuple<unsigned short, zolt_mac_t>;
    static const Case table[] = {
        {"call", [] { return answer("[1,{\"a\":null}]"); },
         [](const std::string& text) { return differ(text, 0, nullptr, &zolt::direct_none); },
         [](const std::string& text) {
             std::string buffer = padded(text);
             return zolt::fast::call(buffer.data(), text.size());
         }},
        get<zolt_port_rmon_counters_t>("record of u64",
                                       [] { return answer(value_of("port.statistics.rmon.get")); }),
        get<zolt_appl_port_mib_conf_t>("record of bool, enumerations, u8, u32",
                                       [] { return answer(value_of("port.config.get")); }),
        get<zolt_lacp_aggregator_status_t>(
            "record with MAC and list of string",
            [] { return answer(value_of("lacp.status.system.get")); }),
        get<zolt_appl_mstp_bridge_status_t>(
            "record with byte lists", [] { return answer(value_of("mstp.status.bridge.get")); }),
        get<zolt_appl_lldp_mgmt_addr_tlv_t>(
            "record with list of u32",
            [] { return answer(value_of("lldp.status.neighbors-mgmt.get")); }),
        get<zolt_ipv4_uc_t>("route record",
                            [] {
                                return answer(
                                    R"({"networkAddress":"10.0.0.0","networkPrefixSize":8,)"
                                    R"("nextHop":"10.0.0.1"})");
                            }),
        get<zolt_appl_port_speed_t>("enumeration", [] { return answer("\"force100ModeFdx\""); }),
        get<bool>("bool", [] { return answer("true"); }),
        get<unsigned int>("unsigned int", [] { return answer("4294967295"); }),
        get<unsigned short>("unsigned short", [] { return answer("70000"); }),
        get<unsigned char>("unsigned char", [] { return answer("255"); }),
        get<int>("int", [] { return answer("-2147483648"); }),
        get<short>("short", [] { return answer("-40000"); }),
        get<long long>("long long", [] { return answer("-9223372036854775808"); }),
        get<unsigned long long>("unsigned long long",
                                [] { return answer("18446744073709551615"); }),
        get<std::vector<std::string>>("list of string",
                                      [] { return answer("[\"Gi 1/1\",\"Gi 1/2\"]"); }),
        get_all<std::string, zolt_port_rmon_counters_t>(
            "table of counters",
            [] {
                return answer(rows({"\"Gi 1/1\"", "\"Gi 1/2\"", "\"Gi 1/1\""},
                                   value_of("port.statistics.rmon.get")));
            }),
        get_all<MacKey, zolt_appl_mac_stack_addr_entry_t>(
            "MAC table",
            [] {
                return answer(
                    rows({"[1,\"00:1f:a2:0b:3c:d4\"]", "[2,\"00:1F\"]", "[1,\"0:1f:a2:b:3c:d4\"]"},
                         value_of("mac.status.fdb.full.get")));
            }),
        get_all<MacKey, zolt_appl_mac_stack_addr_entry_t>(
            "MAC table, address pieces strtol reads in its own way",
            [] {
                return answer(rows({"[1,\" 0x1f:-1:+a:: 2g:zz:7\"]", "[2,\"1:2:3:4:5:6:7:8:\"]",
                                    "[3,\"a\\u0000:b\"]", "[4,\"\"]", "[5,\"::\"]"},
                                   value_of("mac.status.fdb.full.get")));
            }),
        get_all<std::tuple<std::string, int>, bool>(
            "string and int key, bool value",
            [] {
                return answer(rows({"[\"Gi 1/1\",1]", "[\"Gi 1/1\",2,3]"}, "true"));
            }),
        get_all<std::tuple<unsigned short, zolt_appl_vlan_user_t>, std::vector<std::string>>(
            "u16 and enumeration key, list value",
            [] {
                return answer(rows({"[1,\"combined\"]", "[2,\"admin\"]"}, "[\"Gi 1/1\"]"));
            }),
        get_all<unsigned short, unsigned short>("u16 key and value",
                                                [] {
                                                    return answer(rows({"1", "65535", "1"}, "7"));
                                                }),
        get_all<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t>(
            "MAC key",
            [] { return answer(rows({"\"00:00:00:00:00:01\""}, value_of("vcl.config.mac.get"))); }),
        get_all<std::string, std::tuple<>>("key-only table",
                                           [] { return answer(rows({"\"a\""}, "null")); }),
        get_all<std::tuple<std::string, int, int>, zolt_port_rmon_counters_t>(
            "three-member key",
            [] { return answer(rows({"[\"a\",1,2]"}, value_of("port.statistics.rmon.get"))); }),
    };
    *count = sizeof table / sizeof table[0];
    return table;
}

}  // namespace zolt_fast_cases
