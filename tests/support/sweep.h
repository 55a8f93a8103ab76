#pragma once

// One call of every typed function, generated from the schema (gen/tests/sweep.cpp), for the
// end-to-end sweep against the simulator. Arguments are samples that the simulator's seeded
// state knows; the order within a table is add, set, the gets, then del.

#include <json/json.h>

#include <cstddef>
#include <string>

#include "codec/scalar.h"

namespace zolt_test {

struct SweepCall {
    const char* function;  // "zolt_port_config_get"
    const char* method;    // "port.config.get"
    const char* shape;     // "keyed_get", "get_all", "set", ...
    int (*call)(void* handle);
};

extern const SweepCall kSweep[];
extern const std::size_t kSweepCount;

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
