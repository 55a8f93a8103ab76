#pragma once

// One call of every typed function, generated from the schema (gen/tests/sweep.cpp), for the
// end-to-end sweep against the simulator. Each call goes through the generated invoker
// (tools/invoke.h); the order within a table is add, set, the gets, then del.

#include <cstddef>

namespace zolt_test {

struct SweepCall {
    const char* signature;  // the invoker's: "zolt_port_config_get string -> zolt_appl_..."
    const char* method;     // "port.config.get"
    const char* shape;      // "keyed_get", "get_all", "set", ...
    const char* table;      // "port.config"
    const char* args;       // the arguments, a JSON array: key samples, then a written value
    const char* key;        // the key members among them, a JSON array; [] for none
    bool has_add;           // the table's rows are created by add, so set does not create one
    bool undecodable;       // the library cannot decode a non-empty answer ("not implemented")
    // For a read of a table that the sweep writes (with values unlike a fresh switch's in
    // every field), the JSON it must find, made by the generator and not by the codecs under
    // test; null otherwise.
    const char* expected;
};

extern const SweepCall kSweep[];
extern const std::size_t kSweepCount;

}  // namespace zolt_test
