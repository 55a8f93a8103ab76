#pragma once

// One `zolt call` of every typed function, generated from the schema (gen/cli/sweep.cpp): the
// method string, the overload's number as `zolt describe` lists it, and sample arguments as JSON
// texts (keys the simulator's fresh state knows, values unlike a fresh switch's), in the order
// of the library's own sweep: add, set, the gets, then del within each table.

#include <cstddef>

namespace zolt_test {

struct CliCall {
    const char* method;    // "port.config.get"
    const char* shape;     // "keyed_get", "get_all", "set", ...
    std::size_t overload;  // 1-based, among the overloads of `method`
    std::size_t arg_count;
    const char* args[4];
};

extern const CliCall kCliSweep[];
extern const std::size_t kCliSweepCount;

}  // namespace zolt_test
