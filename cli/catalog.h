#pragma once

// What the command line knows of the schema: every type that an argument, an output or a record
// field can have, and every typed function, both as tables that tools/zoltgen_cli.py generates
// (gen/cli/catalog.cpp). Nothing here names a method, a record or a field: all of it comes from
// the schema, so a new family is reachable from the command line the day its schema file lands.

#include <json/value.h>

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "codec/value.h"

namespace zolt_cli {

enum class Kind {
    boolean,
    integer,
    text,
    mac,
    hex,  // a byte list: lower-case hex text
    timestamp,
    enumeration,
    record,
    opaque,  // only answers carry it, and the library never decodes one
    list,
    map,    // a get-all's output: parts are the key and the value
    tuple,  // a key of several members, or the empty value of a key-only table
};

struct Type;

struct Member {
    const char* key;  // the JSON key, which is also the field's name
    const Type* type;
};

struct Type {
    const char* name;  // C++ spelling without std::: "unsigned int", "zolt_appl_port_mib_conf_t"
    const char* word;  // a record field's type as the schema writes it: "u32", "byte list"
    Kind kind;
    const char* const* texts;  // an enumeration's texts in declared order
    std::size_t text_count;
    const Member* members;  // a record's fields in declared order
    std::size_t member_count;
    const Type* const* parts;  // a list's element, a map's key and value, a tuple's members
    std::size_t part_count;
    // Decodes JSON with the type's own `parse` and writes the value back as the library writes
    // it; throws what `parse` throws. Null for opaque types, maps and tuples.
    Json::Value (*round_trip)(const Json::Value& json);
};

struct Overload {
    const char* method;    // "port.config.get"
    const char* function;  // "zolt_port_config_get"
    const char* shape;     // "keyed get", "get-all", "set", ...
    const Type* const* params;
    std::size_t param_count;
    std::size_t key_count;  // how many leading parameters (or map key members) form the key
    const Type* output;     // null for a method without output
    // Decodes every argument with its parameter type's `parse` (throws ArgumentRefused before
    // anything is posted), calls the typed function and, when it returns 0, writes its output
    // with the library's writers to *out. Returns the typed function's code; whatever the
    // library throws passes through.
    int (*invoke)(void* handle, const Json::Value* args, Json::Value* out);
};

extern const Overload kOverloads[];
extern const std::size_t kOverloadCount;

// An argument that its parameter type's codec does not accept.
class ArgumentRefused : public std::runtime_error {
public:
    ArgumentRefused(std::size_t position, const std::string& why)
        : std::runtime_error(why), position_(position) {}
    std::size_t position() const { return position_; }  // 0-based

private:
    std::size_t position_;
};

// --- used by the generated invokers ----------------------------------------------------------

template <class T>
T argument(const Json::Value* args, std::size_t position) {
    T value{};
    try {
        parse(args[position], value);
    } catch (const std::exception& e) {
        throw ArgumentRefused(position, e.what());
    }
    return value;
}

template <class T>
Json::Value output_json(const T& value) {
    return zolt::to_json(value);
}

// The empty value of a key-only table; never reached, since such a row does not decode.
inline Json::Value output_json(const std::tuple<>&) { return Json::Value(); }

// A key of several members travels as one array holding them in order.
template <class... Ts>
Json::Value output_json(const std::tuple<Ts...>& key) {
    Json::Value array(Json::arrayValue);
    std::apply([&array](const Ts&... member) { (array.append(output_json(member)), ...); }, key);
    return array;
}

// A get-all: rows of "key" and "val" in the map's order, as the switch sends them.
template <class K, class V>
Json::Value output_json(const std::map<K, V>& table) {
    Json::Value rows(Json::arrayValue);
    for (const auto& [key, value] : table) {
        Json::Value row(Json::objectValue);
        row["key"] = output_json(key);
        row["val"] = output_json(value);
        rows.append(row);
    }
    return rows;
}

template <class T>
Json::Value round_trip(const Json::Value& json) {
    T value{};
    parse(json, value);
    return output_json(value);
}

// The one time stamp type is read from local-time text and written as a number of seconds.
template <>
inline Json::Value round_trip<time_t>(const Json::Value& json) {
    time_t value{};
    zolt::parse_timestamp(json, value);
    return zolt::timestamp_to_json(value);
}

}  // namespace zolt_cli
