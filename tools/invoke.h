#pragma once

// Generated tables (gen/tools/invoke.cpp) that drive the library from JSON: one invoker per
// typed function, and one round trip per type of the schema (arguments, outputs and every
// record field's type). The tests' corpus replay, the fuzz targets and the command line use
// them.

#include <json/value.h>

#include <cstddef>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "codec/value.h"

namespace zolt_tool {

// Decodes JSON with the type's own `parse` and writes the value back as the library writes it;
// throws what `parse` throws.
template <class T>
Json::Value round_trip(const Json::Value& json) {
    T value{};
    parse(json, value);
    return zolt::to_json(value);
}

// The one time stamp type is read from local-time text and written as a number of seconds. It is
// the same C++ type as int, so it has a function of its own rather than a specialisation.
inline Json::Value round_trip_timestamp(const Json::Value& json) {
    zolt_time32_t value{};
    zolt::parse_timestamp(json, value);
    return zolt::timestamp_to_json(value);
}

// A type's codec of the library, by its C++ name.
struct Codec {
    const char* type;  // "zolt_appl_port_mib_conf_t"
    Json::Value (*round_trip)(const Json::Value& json);
};

extern const Codec kCodecs[];
extern const std::size_t kCodecCount;

// One typed function driven from JSON.
struct Invoker {
    // The function as its method line reads, without const&:
    // "zolt_port_config_get string -> zolt_appl_port_mib_conf_t"
    const char* signature;
    const char* method;  // "port.config.get"
    const char* shape;   // "keyed_get", "get_all", "set", ...
    // Decodes each element of the JSON array `args` with its argument type's `parse`, calls the
    // typed function, and when it returns 0 writes its output (if it has one) to *output as
    // JSON: a record as an object, a table as its array of {"key", "val"} rows in key order.
    // Returns the function's code; throws what the function or a `parse` throws.
    int (*invoke)(void* handle, const Json::Value& args, Json::Value* output);
};

extern const Invoker kInvokers[];
extern const std::size_t kInvokerCount;

// The invoker whose signature is `signature`, compared with runs of blanks as one; null if none.
// The generated signatures already use single blanks, so only `signature` is squeezed.
inline const Invoker* find_invoker(const std::string& signature) {
    std::string wanted;
    for (char c : signature) {
        if (c == ' ' || c == '\t') {
            if (!wanted.empty() && wanted.back() != ' ') wanted += ' ';
        } else {
            wanted += c;
        }
    }
    while (!wanted.empty() && wanted.back() == ' ') wanted.pop_back();
    for (std::size_t i = 0; i < kInvokerCount; ++i) {
        if (wanted == kInvokers[i].signature) return &kInvokers[i];
    }
    return nullptr;
}

// The helpers of the generated invokers.

template <class T>
T argument(const Json::Value& args, Json::ArrayIndex index) {
    T value{};
    parse(args[index], value);
    return value;
}

template <class T>
Json::Value output_json(const T& value) {
    return zolt::to_json(value);
}

inline Json::Value output_json(const std::tuple<>&) { return Json::Value(); }

template <class... M>
Json::Value output_json(const std::tuple<M...>& key) {
    Json::Value array(Json::arrayValue);
    std::apply([&array](const M&... member) { (array.append(output_json(member)), ...); }, key);
    return array;
}

template <class K, class V>
Json::Value output_json(const std::map<K, V>& table) {
    Json::Value rows(Json::arrayValue);
    for (const auto& entry : table) {
        Json::Value row(Json::objectValue);
        row["key"] = output_json(entry.first);
        row["val"] = output_json(entry.second);
        rows.append(row);
    }
    return rows;
}

}  // namespace zolt_tool
