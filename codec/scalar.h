#pragma once

// Readers for the plain values that travel in JSON. Reading is strict about the JSON type and lax about range: a value of the right
// type is taken and cut to the target's width without a check. Every reader writes straight
// into the caller's object; list readers append and never clear.

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

#include "codec/export.h"

// The syslog history's time stamp: seconds since the epoch, as the switch's 32-bit signed
// time_t. Written as a JSON integer (widened with its sign), read from local-time text.
using zolt_time32_t = std::int32_t;

// Six bytes in transmission order. On the wire: "00:1F:A2:0B:3C:D4".
struct zolt_mac_t {
    unsigned char addr[6];
};

// Byte 0 to byte 5 as unsigned values; the first difference decides.
ZOLT_API bool operator<(const zolt_mac_t& lhs, const zolt_mac_t& rhs);

// Each throws std::runtime_error("Unexpected type") when the JSON type does not fit, and then
// leaves the target as it was.
ZOLT_API void parse(const Json::Value& value, bool& target);
ZOLT_API void parse(const Json::Value& value, int& target);
ZOLT_API void parse(const Json::Value& value, short& target);           // low 16 bits
ZOLT_API void parse(const Json::Value& value, unsigned char& target);   // low 8 bits
ZOLT_API void parse(const Json::Value& value, unsigned short& target);  // low 16 bits
ZOLT_API void parse(const Json::Value& value, unsigned int& target);
ZOLT_API void parse(const Json::Value& value, unsigned long long& target);
ZOLT_API void parse(const Json::Value& value, long long& target);
ZOLT_API void parse(const Json::Value& value, std::string& target);

// Accepts exactly what the C library's ether_aton accepts (one-digit groups, either letter
// case, ':' only); anything else throws std::runtime_error("Mac address is invalid").
ZOLT_API void parse(const Json::Value& value, zolt_mac_t& target);

// Hex text, two digits a byte, appended to the target. Odd length throws
// std::runtime_error("Unexpected HEX string"); each two-character piece is converted the way
// std::stoi(piece, nullptr, 16) does, so "1g" gives 1, "-1" gives 255 and "zz" throws
// std::invalid_argument("stoi").
ZOLT_API void parse(const Json::Value& value, std::vector<unsigned char>& target);

// Arrays, read in order and appended; elements read before a bad one stay appended.
ZOLT_API void parse(const Json::Value& value, std::vector<std::string>& target);
ZOLT_API void parse(const Json::Value& value, std::vector<unsigned short>& target);
ZOLT_API void parse(const Json::Value& value, std::vector<unsigned int>& target);
