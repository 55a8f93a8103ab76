#pragma once

// What the simulator knows of the schema, generated from it (the tables live in the generated
// sim/methods.cpp): a descriptor of every type a key member or value can have, every table as
// the schema states it, and every method. Values are checked against these descriptors by the
// simulator's own checker (check() below), never by the library's codecs, so a fault that the
// library's writer and reader share cannot hide behind the simulator.

#include <json/value.h>

#include <cstddef>
#include <string>

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

// How a JSON value of a type is checked, and the form it is stored in.
enum class Kind {
    boolean,       // true or false
    integer,       // an integer number within [low, high]
    text,          // a string
    mac,           // "00:1F:A2:0B:3C:D4"; stored with upper-case digits
    hex,           // lower-case hex text, two digits a byte; stored in lower case
    timestamp,     // "YYYY-MM-DD HH:MM:SS", or a number of seconds stored as that local-time text
    text_list,     // an array of strings
    integer_list,  // an array of integers within [low, high]
    enumeration,   // one of `texts`
    record,        // an object with exactly `members`, each of its own type
    opaque,        // any object: a record the library declares but never reads
};

struct Type;

struct Member {
    const char* key;
    const Type* type;
};

struct Type {
    const char* name;  // as C++ spells it: "unsigned short", "zolt_appl_port_mib_conf_t"
    Kind kind;
    long long low;            // integer, integer_list
    unsigned long long high;  // integer, integer_list
    const char* const* texts;
    std::size_t text_count;
    const Member* members;
    std::size_t member_count;
};

struct TableInfo {
    const char* name;           // "port.config": the method strings without their verb
    const char* family;         // "port"
    int key_count;              // 0 for a singleton
    const Type* key[4];         // each key member's type
    const Type* const* values;  // the value types; none for a key-only table
    std::size_t value_count;
    bool per_port;      // a fresh switch holds one default row per port
    bool has_add;       // rows are created by `add`, so `set` does not create them
    const char* fresh;  // a fresh row's value as JSON text; null for a key-only table
};

struct MethodInfo {
    const char* method;  // "port.config.get"
    const char* family;  // "port"
    Shape shape;
    const TableInfo* table;  // null for bare calls
    const Type* value;       // the value this overload reads or writes; null if none
};

extern const TableInfo kTables[];
extern const std::size_t kTableCount;
extern const MethodInfo kMethods[];
extern const std::size_t kMethodCount;

// Checks `json` against `type`. On success writes the value as the switch stores and sends it
// to `stored` and returns true; otherwise writes the reason to `why` (naming the member, for a
// value inside a record) and returns false.
bool check(const Type& type, const Json::Value& json, Json::Value& stored, std::string& why);

// The table the schema names so, or null.
const TableInfo* find_table(const std::string& name);

// The type of a record's member, or null when the record has no such member.
const Type* member_type(const Type& record, const std::string& key);

// Throws std::logic_error unless one of the value types of `table` has the member `key`. The
// generated key constants tie a name to some record of the schema, not to a particular table's:
// code that reads or writes the members of one table states them here, and a member that moves
// to another record stops the simulator at start-up instead of leaving that code without effect.
void require_member(const std::string& table, const std::string& key);

}  // namespace zolt_sim
