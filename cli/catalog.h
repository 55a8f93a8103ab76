#pragma once

// What the command line knows of the schema: every type that an argument, an output or a record
// field can have, and every typed function, both as tables that the generator writes
// (gen/cli/catalog.cpp). Nothing here names a method, a record or a field: all of it comes from
// the schema, so a new family is reachable from the command line the day its schema file lands.

#include <json/value.h>

#include <cstddef>

#include "tools/invoke.h"

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
    const char* function;  // "zolt_port_config_get"
    const char* shape;     // "keyed get", "get-all", "set", ...
    const Type* const* params;
    std::size_t param_count;
    std::size_t key_count;  // how many leading parameters (or map key members) form the key
    const Type* output;     // null for a method without output
    // Calls the typed function with JSON arguments and writes its output back as JSON; its
    // `method` is the overload's method string ("port.config.get").
    const zolt_tool::Invoker* invoker;
};

extern const Overload kOverloads[];
extern const std::size_t kOverloadCount;

}  // namespace zolt_cli
