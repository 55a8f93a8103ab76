#pragma once

// What the simulator knows of every method, generated from the same schema as the library
// (the table kMethods lives in the generated sim/methods.cpp). Values are checked with the
// library's own codecs: `canon<T>` decodes a JSON value into T with T's `parse`, then writes it
// back with T's writer, so a value that does not fit the schema throws, and a value that fits
// comes back in the form the library itself would send (for instance a MAC in upper case).

#include <json/value.h>

#include <cstddef>

#include "codec/record.h"
#include "codec/table.h"

namespace zolt_sim {

enum class Shape {
    bare,           // no params, result not read
    singleton_get,  // no params, returns the one value
    keyed_get,      // params are the key members, returns the value
    scalar_get,     // like keyed_get, the value is a bool or a number
    list_get,       // like keyed_get, the value is an array of strings
    exists,         // params are the key members; only the error tells
    get_all,        // no params, returns [{"key": K, "val": V}, ...]
    set,            // params are the key members, then the value
    add,            // like set, but the key must be new
    del,            // params are the key members
};

using Canon = Json::Value (*)(const Json::Value&);

struct MethodInfo {
    const char* method;         // "port.config.get"
    const char* family;         // "port"
    Shape shape;
    const char* table;          // the state it works on: the method string without its verb
    int key_count;              // key members: leading params, or members of a get-all's key
    Canon key[4];               // each key member's codec
    Canon value;                // the value's codec; null for key-only tables and bare calls
    const char* value_default;  // the value a fresh switch holds, as JSON text; null if none
    bool per_port;              // a fresh switch holds one default row per port in the table
};

extern const MethodInfo kMethods[];
extern const std::size_t kMethodCount;

template <class T>
Json::Value canon(const Json::Value& json) {
    T value{};
    parse(json, value);
    return zolt::to_json(value);
}

}  // namespace zolt_sim
