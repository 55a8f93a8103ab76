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

template <class Out, class Decode>
Outcome run(const Out& start, Decode decode) {
    Out out = start;
    Outcome outcome;
    try {
        outcome.result = "code " + std::to_string(decode(out));
    } catch (const std::exception& e) {
        outcome.result = std::string(typeid(e).name()) + ": " + e.what();
    }
    outcome.output = dump(out);
    return outcome;
}

// Empty when both ways agree, else both outcomes.
template <class Out, class Library, class Tree>
std::string differ(const Out& start, Library library, Tree tree) {
    const Outcome a = run(start, library);
    const Outcome b = run(start, tree);
    if (a.result == b.result && a.output == b.output) return "";
    return "direct: " + a.result + " " + a.output.toStyledString() + "tree: " + b.result + " " +
           b.output.toStyledString();
}

template <class Out>
std::string compare_get(const std::string& text, const Out& start) {
    return differ(
        start,
        [&](Out& out) {
            return zolt::read_result(response_of(text), &zolt::decode_into<Out>,
                                     &zolt::direct_into<Out>, &out);
        },
        [&](Out& out) {
            return zolt::read_result(response_of(text), &zolt::decode_into<Out>, nullptr,
                                     &out);
        });
}

template <class K, class V>
std::string compare_get_all(const std::string& text, const std::map<K, V>& start) {
    return differ(
        start,
        [&](std::map<K, V>& out) {
            return zolt::read_result(response_of(text), &zolt::decode_rows<K, V>,
                                     &zolt::direct_rows<K, V>, &out);
        },
        [&](std::map<K, V>& out) {
            return zolt::read_result(response_of(text), &zolt::decode_rows<K, V>, nullptr,
                                     &out);
        });
}

inline std::string compare_call(const std::string& text) {
    return differ(
        0,
        [&](int&) {
            return zolt::read_result(response_of(text), nullptr, &zolt::direct_none,
                                     nullptr);
        },
        [&](int&) {
            return zolt::read_result(response_of(text), nullptr, nullptr, nullptr);
        });
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
Out filled(std::string text) {
    for (char& c : text) {
        if (c == '1') c = '2';
    }
    Out out{};
    try {
        if constexpr (std::is_same_v<Out, int>) {
            (void)text;
        } else {
            zolt::read_result(response_of(text), &zolt::decode_into<Out>, nullptr, &out);
        }
    } catch (const std::exception&) {
    }
    return out;
}

template <class K, class V>
std::map<K, V> filled_table(std::string text) {
    for (char& c : text) {
        if (c == '1') c = '2';
    }
    std::map<K, V> out;
    try {
        zolt::read_result(response_of(text), &zolt::decode_rows<K, V>, nullptr, &out);
    } catch (const std::exception&) {
    }
    return out;
}

struct Case {
    const char* name;
    std::string (*seed)();                            // a valid answer
    std::string (*compare)(const std::string& text);  // empty when both ways agree
    bool (*direct)(const std::string& text);          // the direct decoder alone is certain
};

template <class Out>
std::string get_case(const std::string& text) {
    return compare_get(text, filled<Out>(text));
}

template <class K, class V>
std::string get_all_case(const std::string& text) {
    return compare_get_all(text, filled_table<K, V>(text));
}

// The text and the room after it that the direct decoder may read, filled with closing brackets,
// which a parser that ran past the text would take for the end of what it reads.
inline std::string padded(const std::string& text) {
    std::string out = text;
    out.resize(text.size() + zolt::fast::kPadding, ']');
    return out;
}

template <class Out>
bool get_direct(const std::string& text) {
    Out out{};
    std::string buffer = padded(text);
    return zolt::fast::get(buffer.data(), text.size(), out);
}

template <class K, class V>
bool get_all_direct(const std::string& text) {
    std::map<K, V> out;
    std::string buffer = padded(text);
    return zolt::fast::get_all(buffer.data(), text.size(), out);
}

inline bool call_direct(const std::string& text) {
    std::string buffer = padded(text);
    return zolt::fast::call(buffer.data(), text.size());
}

inline const Case* cases(std::size_t* count) {
    static const Case table[] = {
        {"call", [] { return answer("[1,{\"a\":null}]"); },
         [](const std::string& t) { return compare_call(t); }, &call_direct},
        {"record of u64", [] { return answer(value_of("port.statistics.rmon.get")); },
         &get_case<zolt_port_rmon_counters_t>, &get_direct<zolt_port_rmon_counters_t>},
        {"record of bool, enumerations, u8, u32",
         [] { return answer(value_of("port.config.get")); }, &get_case<zolt_appl_port_mib_conf_t>,
         &get_direct<zolt_appl_port_mib_conf_t>},
        {"record with MAC and list of string",
         [] { return answer(value_of("lacp.status.system.get")); },
         &get_case<zolt_lacp_aggregator_status_t>, &get_direct<zolt_lacp_aggregator_status_t>},
        {"record with byte lists", [] { return answer(value_of("mstp.status.bridge.get")); },
         &get_case<zolt_appl_mstp_bridge_status_t>, &get_direct<zolt_appl_mstp_bridge_status_t>},
        {"record with list of u32",
         [] { return answer(value_of("lldp.status.neighbors-mgmt.get")); },
         &get_case<zolt_appl_lldp_mgmt_addr_tlv_t>, &get_direct<zolt_appl_lldp_mgmt_addr_tlv_t>},
        {"route record",
         [] {
             return answer(
                 "{\"networkAddress\":\"10.0.0.0\",\"networkPrefixSize\":8,\"nextHop\":\"10.0.0."
                 "1\"}");
         },
         &get_case<zolt_ipv4_uc_t>, &get_direct<zolt_ipv4_uc_t>},
        {"enumeration", [] { return answer("\"force100ModeFdx\""); },
         &get_case<zolt_appl_port_speed_t>, &get_direct<zolt_appl_port_speed_t>},
        {"bool", [] { return answer("true"); }, &get_case<bool>, &get_direct<bool>},
        {"unsigned int", [] { return answer("4294967295"); }, &get_case<unsigned int>,
         &get_direct<unsigned int>},
        {"unsigned short", [] { return answer("70000"); }, &get_case<unsigned short>,
         &get_direct<unsigned short>},
        {"unsigned char", [] { return answer("255"); }, &get_case<unsigned char>,
         &get_direct<unsigned char>},
        {"int", [] { return answer("-2147483648"); }, &get_case<int>, &get_direct<int>},
        {"short", [] { return answer("-40000"); }, &get_case<short>, &get_direct<short>},
        {"long long", [] { return answer("-9223372036854775808"); }, &get_case<long long>,
         &get_direct<long long>},
        {"unsigned long long", [] { return answer("18446744073709551615"); },
         &get_case<unsigned long long>, &get_direct<unsigned long long>},
        {"list of string", [] { return answer("[\"Gi 1/1\",\"Gi 1/2\"]"); },
         &get_case<std::vector<std::string>>, &get_direct<std::vector<std::string>>},
        {"table of counters",
         [] {
             return answer(rows({"\"Gi 1/1\"", "\"Gi 1/2\"", "\"Gi 1/1\""},
                                value_of("port.statistics.rmon.get")));
         },
         &get_all_case<std::string, zolt_port_rmon_counters_t>,
         &get_all_direct<std::string, zolt_port_rmon_counters_t>},
        {"MAC table",
         [] {
             return answer(
                 rows({"[1,\"00:1f:a2:0b:3c:d4\"]", "[2,\"00:1F\"]", "[1,\"0:1f:a2:b:3c:d4\"]"},
                      value_of("mac.status.fdb.full.get")));
         },
         &get_all_case<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t>,
         &get_all_direct<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t>},
        {"MAC table, address pieces strtol reads in its own way",
         [] {
             return answer(rows({"[1,\" 0x1f:-1:+a:: 2g:zz:7\"]", "[2,\"1:2:3:4:5:6:7:8:\"]",
                                 "[3,\"a\\u0000:b\"]", "[4,\"\"]", "[5,\"::\"]"},
                                value_of("mac.status.fdb.full.get")));
         },
         &get_all_case<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t>,
         &get_all_direct<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t>},
        {"string and int key, bool value",
         [] {
             return answer(rows({"[\"Gi 1/1\",1]", "[\"Gi 1/1\",2,3]"}, "true"));
         },
         &get_all_case<std::tuple<std::string, int>, bool>,
         &get_all_direct<std::tuple<std::string, int>, bool>},
        {"u16 and enumeration key, list value",
         [] {
             return answer(rows({"[1,\"combined\"]", "[2,\"admin\"]"}, "[\"Gi 1/1\"]"));
         },
         &get_all_case<std::tuple<unsigned short, zolt_appl_vlan_user_t>, std::vector<std::string>>,
         &get_all_direct<std::tuple<unsigned short, zolt_appl_vlan_user_t>,
                         std::vector<std::string>>},
        {"u16 key and value",
         [] {
             return answer(rows({"1", "65535", "1"}, "7"));
         },
         &get_all_case<unsigned short, unsigned short>,
         &get_all_direct<unsigned short, unsigned short>},
        {"MAC key",
         [] { return answer(rows({"\"00:00:00:00:00:01\""}, value_of("vcl.config.mac.get"))); },
         &get_all_case<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t>,
         &get_all_direct<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t>},
        {"key-only table", [] { return answer(rows({"\"a\""}, "null")); },
         &get_all_case<std::string, std::tuple<>>, &get_all_direct<std::string, std::tuple<>>},
        {"three-member key",
         [] { return answer(rows({"[\"a\",1,2]"}, value_of("port.statistics.rmon.get"))); },
         &get_all_case<std::tuple<std::string, int, int>, zolt_port_rmon_counters_t>,
         &get_all_direct<std::tuple<std::string, int, int>, zolt_port_rmon_counters_t>},
    };
    *count = sizeof table / sizeof table[0];
    return table;
}

}  // namespace zolt_fast_cases
