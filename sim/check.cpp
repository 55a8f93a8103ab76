// The simulator's own check of a JSON value against a type of the schema. It shares nothing with
// the library's codecs: the rules are the switch's, written from the type descriptors alone.

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>

#include "sim/sim_schema.h"

namespace zolt_sim {
namespace {

const char* json_type(const Json::Value& json) {
    switch (json.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return "a boolean";
        case Json::intValue:
        case Json::uintValue:
            return "an integer";
        case Json::realValue:
            return "a number with a fraction";
        case Json::stringValue:
            return "a string";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
    }
    return "an unknown value";
}

bool wrong_type(const char* expected, const Json::Value& json, std::string& why) {
    why = std::string("expected ") + expected + ", got " + json_type(json);
    return false;
}

// A value the switch stores as it came, once it is of the JSON type expected.
bool as_it_came(bool fits, const char* expected, const Json::Value& json, Json::Value& stored,
                std::string& why) {
    if (!fits) return wrong_type(expected, json, why);
    stored = json;
    return true;
}

bool is_integer(const Json::Value& json) {
    return json.type() == Json::intValue || json.type() == Json::uintValue;
}

// An integer within the type's range, stored as a signed JSON integer wherever it fits one, so
// that equal numbers are equal keys whatever JSON type they came in.
bool check_integer(const Type& type, const Json::Value& json, Json::Value& stored,
                   std::string& why) {
    if (!is_integer(json)) return wrong_type("an integer", json, why);
    const bool negative = json.type() == Json::intValue && json.asInt64() < 0;
    const bool fits = negative ? json.asInt64() >= type.low
                               : json.asUInt64() <= type.high &&
                                     (type.low <= 0 ||
                                      json.asUInt64() >= static_cast<unsigned long long>(type.low));
    if (!fits) {
        why = (negative ? std::to_string(json.asInt64()) : std::to_string(json.asUInt64())) +
              " is out of range for " + type.name + " (" + std::to_string(type.low) + ".." +
              std::to_string(type.high) + ")";
        return false;
    }
    if (negative || json.asUInt64() <= static_cast<unsigned long long>(INT64_MAX)) {
        stored = Json::Value(static_cast<Json::Int64>(json.asInt64()));
    } else {
        stored = Json::Value(static_cast<Json::UInt64>(json.asUInt64()));
    }
    return true;
}

bool is_hex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

// Six groups of one or two hex digits joined by ':'.
bool check_mac(const Json::Value& json, Json::Value& stored, std::string& why) {
    if (!json.isString()) return wrong_type("a MAC address text", json, why);
    const std::string text = json.asString();
    unsigned bytes[6] = {};
    std::size_t pos = 0;
    for (int group = 0; group < 6; ++group) {
        const std::size_t start = pos;
        while (pos < text.size() && pos - start < 3 && is_hex(text[pos])) ++pos;
        const std::size_t digits = pos - start;
        const bool separator_ok =
            group == 5 ? pos == text.size() : pos < text.size() && text[pos] == ':';
        if (digits == 0 || digits > 2 || !separator_ok) {
            why = "\"" + text + "\" is not a MAC address";
            return false;
        }
        bytes[group] = static_cast<unsigned>(std::stoul(text.substr(start, digits), nullptr, 16));
        ++pos;
    }
    char canonical[32];
    std::snprintf(canonical, sizeof canonical, "%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1],
                  bytes[2], bytes[3], bytes[4], bytes[5]);
    stored = Json::Value(canonical);
    return true;
}

bool check_hex(const Json::Value& json, Json::Value& stored, std::string& why) {
    if (!json.isString()) return wrong_type("a hex text", json, why);
    std::string text = json.asString();
    bool ok = text.size() % 2 == 0;
    for (char& c : text) {
        ok = ok && is_hex(c);
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (!ok) {
        why = "\"" + json.asString() + "\" is not hex text of whole bytes";
        return false;
    }
    stored = Json::Value(text);
    return true;
}

// The switch sends a time stamp as local-time text; what comes in as a number of seconds must
// fit its 32-bit signed time_t (the type's range) and is stored as that text.
bool check_timestamp(const Type& type, const Json::Value& json, Json::Value& stored,
                     std::string& why) {
    if (is_integer(json)) {
        Json::Value number;
        if (!check_integer(type, json, number, why)) return false;
        // Any 32-bit number of seconds is a local time between 1901 and 2038, so the text
        // always has its four-digit year and fits.
        const time_t seconds = static_cast<time_t>(number.asInt64());
        struct tm fields = {};
        localtime_r(&seconds, &fields);
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
        stored = Json::Value(text);
        return true;
    }
    if (!json.isString()) return wrong_type("a time stamp", json, why);
    const std::string text = json.asString();
    static const char kPattern[] = "dddd-dd-dd dd:dd:dd";
    bool ok = text.size() == std::strlen(kPattern);
    for (std::size_t i = 0; ok && i < text.size(); ++i) {
        ok = kPattern[i] == 'd' ? std::isdigit(static_cast<unsigned char>(text[i])) != 0
                                : text[i] == kPattern[i];
    }
    if (!ok) {
        why = "\"" + text + "\" is not a time stamp \"YYYY-MM-DD HH:MM:SS\"";
        return false;
    }
    stored = json;
    return true;
}

bool check_record(const Type& type, const Json::Value& json, Json::Value& stored,
                  std::string& why) {
    if (!json.isObject()) return wrong_type("an object", json, why);
    stored = Json::Value(Json::objectValue);
    for (std::size_t i = 0; i < type.member_count; ++i) {
        const Member& member = type.members[i];
        const Json::Value* value = json.find(member.key, member.key + std::strlen(member.key));
        if (value == nullptr) {
            why = std::string("missing member \"") + member.key + "\"";
            return false;
        }
        Json::Value out;
        if (!check(*member.type, *value, out, why)) {
            why = std::string("member \"") + member.key + "\": " + why;
            return false;
        }
        stored[member.key] = out;
    }
    for (const std::string& name : json.getMemberNames()) {
        if (member_type(type, name) == nullptr) {
            why = "unknown member \"" + name + "\" in " + type.name;
            return false;
        }
    }
    return true;
}

}  // namespace

bool check(const Type& type, const Json::Value& json, Json::Value& stored, std::string& why) {
    switch (type.kind) {
        case Kind::boolean:
            return as_it_came(json.isBool(), "a boolean", json, stored, why);
        case Kind::integer:
            return check_integer(type, json, stored, why);
        case Kind::text:
            return as_it_came(json.isString(), "a string", json, stored, why);
        case Kind::mac:
            return check_mac(json, stored, why);
        case Kind::hex:
            return check_hex(json, stored, why);
        case Kind::timestamp:
            return check_timestamp(type, json, stored, why);
        case Kind::text_list:
        case Kind::integer_list: {
            if (!json.isArray()) return wrong_type("an array", json, why);
            stored = Json::Value(Json::arrayValue);
            for (Json::ArrayIndex i = 0; i < json.size(); ++i) {
                Json::Value element;
                const bool ok =
                    type.kind == Kind::integer_list
                        ? check_integer(type, json[i], element, why)
                        : as_it_came(json[i].isString(), "a string", json[i], element, why);
                if (!ok) {
                    why = "element " + std::to_string(i + 1) + ": " + why;
                    return false;
                }
                stored.append(element);
            }
            return true;
        }
        case Kind::enumeration:
            if (!json.isString()) return wrong_type("an enumeration text", json, why);
            for (std::size_t i = 0; i < type.text_count; ++i) {
                if (json.asString() == type.texts[i]) {
                    stored = json;
                    return true;
                }
            }
            why = "\"" + json.asString() + "\" is not a text of " + type.name;
            return false;
        case Kind::record:
            return check_record(type, json, stored, why);
        case Kind::opaque:
            return as_it_came(json.isObject(), "an object", json, stored, why);
    }
    why = "no check for this type";
    return false;
}

const TableInfo* find_table(const std::string& name) {
    for (std::size_t i = 0; i < kTableCount; ++i) {
        if (name == kTables[i].name) return &kTables[i];
    }
    return nullptr;
}

const Type* member_type(const Type& record, const std::string& key) {
    for (std::size_t i = 0; i < record.member_count; ++i) {
        if (key == record.members[i].key) return record.members[i].type;
    }
    return nullptr;
}

void require_member(const std::string& table, const std::string& key) {
    const TableInfo* info = find_table(table);
    if (info == nullptr) {
        throw std::logic_error("the simulator names table " + table +
                               ", which the schema does not have");
    }
    for (std::size_t v = 0; v < info->value_count; ++v) {
        if (member_type(*info->values[v], key) != nullptr) return;
    }
    throw std::logic_error("the simulator names member " + key + " of table " + table +
                           ", which the schema does not have");
}

}  // namespace zolt_sim
