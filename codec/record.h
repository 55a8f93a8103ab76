#pragma once

// The rules that every generated enumeration and record codec shares. A generated `serialize`
// or `parse` is one line per field or one call into these helpers, so the behaviour on bad
// input lives here once.
//
// Enumerations travel as their text, never as a number. Records travel as JSON objects; on
// reading, every member is mandatory (a missing one reads as null and fails its type test),
// unknown members are ignored, and fields read before a failure stay written.

#include <json/value.h>

#include <cstddef>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <tuple>

#include "codec/errors.h"
#include "codec/scalar.h"
#include "codec/value.h"

namespace zolt {

// One value/text pair of an enumeration, in declared order.
template <class E>
struct enum_text {
    E value;
    const char* text;
};

// These helpers are inline on purpose: the table and tuple templates of the public headers call
// them from the application's own code, where the library's hidden symbols cannot be reached.

[[noreturn]] inline void throw_out_of_range_enum() { throw decode_error("out-of-range-enum"); }

[[noreturn]] inline void throw_unexpected_type() { throw decode_error("Unexpected type"); }

// True when the JSON string equals `text` exactly: same length, same bytes, no folding.
inline bool text_equals(const Json::Value& json, const char* text) {
    const char* begin = nullptr;
    const char* end = nullptr;
    if (!json.getString(&begin, &end)) return false;
    const std::size_t length = static_cast<std::size_t>(end - begin);
    return length == std::strlen(text) && std::memcmp(begin, text, length) == 0;
}

template <class E, std::size_t N>
Json::Value enum_to_json(const enum_text<E> (&table)[N], E value) {
    for (const enum_text<E>& entry : table) {
        if (entry.value == value) return Json::Value(entry.text);
    }
    throw_out_of_range_enum();
}

// The first matching text in declared order assigns its value; an unknown text leaves the
// target unchanged and throws "out-of-range-enum".
template <class E, std::size_t N>
void enum_from_json(const enum_text<E> (&table)[N], const Json::Value& json, E& value) {
    if (!json.isString()) throw_unexpected_type();
    for (const enum_text<E>& entry : table) {
        if (text_equals(json, entry.text)) {
            value = entry.value;
            return;
        }
    }
    throw_out_of_range_enum();
}

// A record's members are looked up on a const value, which is fine for an object and for null
// (every member then reads as null), but an array, number, string or boolean in a record's place
// is a logic error of the caller's data. JsonCpp's own exception for this neither derives from
// std::logic_error nor names the lookup the way callers match on, so it is raised here instead.
inline void require_record(const Json::Value& json) {
    if (!json.isObject() && !json.isNull()) {
        throw decode_logic_error(
            "in Json::Value::find(key, end, found): requires objectValue or nullValue");
    }
}

// One member of a record, read by its type's own rule; a failure names the member in its path.
template <class T>
void read_member(const Json::Value& json, const char* key, T& field) {
    in_member(key, [&] { parse(json[key], field); });
}

}  // namespace zolt
