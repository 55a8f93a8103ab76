#pragma once

// Keyed tables. A get-all answer is an array of rows {"key": K, "val": V}; it decodes into an
// ordered std::map<K, V>. The map is never cleared: rows are inserted as std::map::insert does,
// so the first row with a key wins and a key the caller's map already holds keeps its old value.
// A failing row ends the decode with the rows before it already inserted.
//
// Tuple keys come as one JSON array holding the members together. Two-member keys decode member
// by member, each by its own rule; the key of the MAC table (VLAN, address) has a hand-written
// reader of its own; three- and four-member keys, and the empty value of key-only tables, cannot
// be decoded at all: any row of such a table throws "not implemented".

#include <json/value.h>

#include <map>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "codec/export.h"
#include "codec/record.h"
#include "codec/scalar.h"

// The MAC table's key: element 0 is the VLAN, read as an unsigned number without a type test
// and cut to 16 bits (null reads as 0); element 1 is the address text, split at ':' with each
// piece read as base-16 and its low byte stored. Fewer than six pieces leave the later bytes as
// they were, a piece without hex digits gives 0, and pieces past the sixth are read but dropped:
// the decoder never writes beyond the address.
ZOLT_API void parse(const Json::Value& key, std::tuple<unsigned short, zolt_mac_t>& out);

// A two-member key: element 0 by A's rule, then element 1 by B's rule; a missing element reads
// as null and fails its type test. Elements past the second are ignored.
template <class A, class B>
void parse(const Json::Value& key, std::tuple<A, B>& out) {
    if (!key.isArray()) zolt::throw_unexpected_type();
    zolt::in_element(0, [&] { parse(key[0u], std::get<0>(out)); });
    zolt::in_element(1, [&] { parse(key[1u], std::get<1>(out)); });
}

// Keys of three or four members are never decoded.
template <class A, class B, class C, class... More>
[[noreturn]] void parse(const Json::Value&, std::tuple<A, B, C, More...>) {
    throw zolt::decode_error("not implemented");
}

// The value of a key-only table is never decoded, whatever "val" holds.
[[noreturn]] inline void parse(const Json::Value&, std::tuple<>) {
    throw zolt::decode_error("not implemented");
}

// Rows in array order; null and [] are no rows. The array test belongs to the typed method.
template <class K, class V>
void parse(const Json::Value& rows, std::map<K, V>& table) {
    unsigned index = 0;
    for (const Json::Value& row : rows) {
        zolt::in_element(index++, [&] {
            zolt::require_record(row);
            K key{};
            V value{};
            zolt::in_member("key", [&] { parse(row["key"], key); });
            zolt::in_member("val", [&] { parse(row["val"], value); });
            table.insert(std::make_pair(std::move(key), std::move(value)));
        });
    }
}
