#pragma once

// One call of every typed function, generated from the schema (gen/tests/sweep.cpp), for the
// end-to-end sweep against the simulator. Keys are samples that the simulator's seeded state
// knows; the order within a table is add, set, the gets, then del.

#include <json/json.h>

#include <cstddef>
#include <string>

#include "codec/scalar.h"

namespace zolt_test {

struct SweepCall {
    const char* function;  // "zolt_port_config_get"
    const char* method;    // "port.config.get"
    const char* shape;     // "keyed_get", "get_all", "set", ...
    // Returns the typed function's code. A function with a record, enumeration or scalar output
    // writes what it read, as the library writes it, to *got; a read of a table that the sweep
    // writes (with values unlike a fresh switch's in every field) also writes the JSON it must
    // find to *expected, made by the generator and not by the codecs under test.
    int (*call)(void* handle, Json::Value* got, Json::Value* expected);
};

extern const SweepCall kSweep[];
extern const std::size_t kSweepCount;

// JSON text as a value, untouched by the library's codecs.
inline Json::Value json_of(const char* json) {
    Json::Value value;
    Json::Reader().parse(json, value, false);
    return value;
}

// A value of T read from JSON text by T's own parser; T's `parse` must be declared before the
// call is instantiated (the generated sweep includes the chief header first).
template <class T>
T sample(const char* json) {
    Json::Value value;
    Json::Reader().parse(json, value, false);
    T out{};
    parse(value, out);
    return out;
}

}  // namespace zolt_test
