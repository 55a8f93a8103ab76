#pragma once

// The configuration tables of the schema, generated (gen/state/tables.cpp): the tables under a
// ".config." method string that one call reads whole and a set writes, in the order a whole
// configuration is written (subsystems in their order, each family's tables as its schema lists
// them). Every call goes through the generated invokers of tools/invoke.h, so the values travel
// as the library's own JSON forms and are checked by its own codecs.

#include <cstddef>

#include "tools/invoke.h"

namespace zolt_state {

struct ConfigTable {
    const char* name;    // the method string without its verb: "port.config"
    const char* family;  // "port"
    std::size_t key_count;  // 0 for a singleton
    bool per_port;          // a fresh switch holds a row per port, and rows are never added
    const zolt_tool::Invoker* read;  // the singleton get, or the get-all
    const zolt_tool::Invoker* set;
    const zolt_tool::Invoker* add;  // null where rows cannot be created
    const zolt_tool::Invoker* del;  // null where rows cannot be deleted
};

extern const ConfigTable kConfigTables[];
extern const std::size_t kConfigTableCount;

}  // namespace zolt_state
