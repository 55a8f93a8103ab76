#pragma once

// Writers for plain values: the one place that decides which JSON type each C++ type becomes.
// Record serializers and the call engine both go through zolt::to_json, so an argument and a
// record field of the same type always look alike on the wire. Enumerations and records have
// generated global `serialize` overloads; the template at the end routes them through the
// same name.

#include <json/value.h>

#include <cstdio>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec/errors.h"
#include "codec/scalar.h"

namespace zolt {

inline Json::Value to_json(bool v) { return Json::Value(v); }
inline Json::Value to_json(int v) { return Json::Value(v); }
inline Json::Value to_json(short v) { return Json::Value(static_cast<int>(v)); }
// The narrow unsigned types are written as signed JSON integers, unsigned int as unsigned.
inline Json::Value to_json(unsigned char v) { return Json::Value(static_cast<int>(v)); }
inline Json::Value to_json(unsigned short v) { return Json::Value(static_cast<int>(v)); }
inline Json::Value to_json(unsigned int v) { return Json::Value(static_cast<Json::UInt>(v)); }
inline Json::Value to_json(unsigned long long v) {
    return Json::Value(static_cast<Json::UInt64>(v));
}
inline Json::Value to_json(long long v) { return Json::Value(static_cast<Json::Int64>(v)); }
inline Json::Value to_json(const std::string& v) { return Json::Value(v); }
// Without this a string literal would convert to bool rather than to std::string.
inline Json::Value to_json(const char* v) { return Json::Value(v); }

// Six pairs of upper-case hex digits joined by ':'.
inline Json::Value to_json(const zolt_mac_t& v) {
    char text[32];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", v.addr[0], v.addr[1],
                  v.addr[2], v.addr[3], v.addr[4], v.addr[5]);
    return Json::Value(text);
}

// Lower-case hex, two digits a byte, no separator; the other letter case than a MAC's.
inline Json::Value to_json(const std::vector<unsigned char>& v) {
    std::ostringstream out;
    out << std::hex << std::setfill('0');
    for (unsigned char byte : v) out << std::setw(2) << static_cast<int>(byte);
    return Json::Value(out.str());
}

inline Json::Value to_json(const std::vector<std::string>& v) {
    Json::Value array(Json::arrayValue);
    for (const std::string& s : v) array.append(Json::Value(s));
    return array;
}

inline Json::Value to_json(const std::vector<unsigned short>& v) {
    Json::Value array(Json::arrayValue);
    for (unsigned short n : v) array.append(Json::Value(static_cast<int>(n)));
    return array;
}

inline Json::Value to_json(const std::vector<unsigned int>& v) {
    Json::Value array(Json::arrayValue);
    for (unsigned int n : v) array.append(Json::Value(static_cast<Json::UInt>(n)));
    return array;
}

// Enumerations and records: whatever `serialize` overload argument-dependent lookup finds.
template <class T>
auto to_json(const T& v) -> decltype(serialize(v)) {
    return serialize(v);
}

// The one time stamp field travels in two forms on purpose: written as the number of
// seconds, read as local-time text "YYYY-MM-DD HH:MM:SS".
inline Json::Value timestamp_to_json(zolt_time32_t v) {
    return Json::Value(static_cast<Json::Int64>(v));
}

// Text that does not match the format is not refused: the fields strptime could not fill stay
// cleared and mktime decides. tm_isdst = -1 lets mktime work out daylight saving, so a
// well-formed text always gives the process's local time.
inline void parse_timestamp(const Json::Value& value, zolt_time32_t& target) {
    if (!value.isString()) throw decode_error("Unexpected type");
    const std::string text = value.asString();
    struct tm fields = {};
    fields.tm_isdst = -1;
    strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
    target = static_cast<zolt_time32_t>(mktime(&fields));
}

}  // namespace zolt
