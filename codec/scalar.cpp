#include "codec/scalar.h"

#include <net/ethernet.h>
#include <netinet/ether.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "codec/record.h"
#include "codec/value.h"

namespace {

[[noreturn]] void unexpected_type() { throw zolt::decode_error("Unexpected type"); }

// Reads any JSON array element by element, appending what each element gives.
template <class T, class Read>
void append_array(const Json::Value& value, std::vector<T>& target, Read read) {
    if (!value.isArray()) unexpected_type();
    for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
        zolt::in_element(i, [&] { target.push_back(read(value[i])); });
    }
}

unsigned int read_uint(const Json::Value& element) {
    if (!element.isUInt()) unexpected_type();
    return element.asUInt();
}

}  // namespace

bool operator<(const zolt_mac_t& lhs, const zolt_mac_t& rhs) {
    for (int i = 0; i < 6; ++i) {
        if (lhs.addr[i] != rhs.addr[i]) return lhs.addr[i] < rhs.addr[i];
    }
    return false;
}

void parse(const Json::Value& value, bool& target) {
    if (!value.isBool()) unexpected_type();
    target = value.asBool();
}

void parse(const Json::Value& value, int& target) {
    if (!value.isInt()) unexpected_type();
    target = value.asInt();
}

void parse(const Json::Value& value, short& target) {
    if (!value.isInt()) unexpected_type();
    target = static_cast<short>(value.asInt());
}

void parse(const Json::Value& value, unsigned char& target) {
    if (!value.isUInt()) unexpected_type();
    target = static_cast<unsigned char>(value.asUInt());
}

void parse(const Json::Value& value, unsigned short& target) {
    if (!value.isUInt()) unexpected_type();
    target = static_cast<unsigned short>(value.asUInt());
}

void parse(const Json::Value& value, unsigned int& target) {
    if (!value.isUInt()) unexpected_type();
    target = value.asUInt();
}

void parse(const Json::Value& value, unsigned long long& target) {
    if (!value.isUInt64()) unexpected_type();
    target = value.asUInt64();
}

void parse(const Json::Value& value, long long& target) {
    if (!value.isInt64()) unexpected_type();
    target = value.asInt64();
}

void parse(const Json::Value& value, std::string& target) {
    if (!value.isString()) unexpected_type();
    std::string text = value.asString();
    target.swap(text);
}

void parse(const Json::Value& value, zolt_mac_t& target) {
    if (!value.isString()) unexpected_type();
    const std::string text = value.asString();
    // ether_aton_r takes the same text as ether_aton but writes into our buffer instead of
    // the C library's one static buffer, so threads decoding MACs cannot see each other's.
    struct ether_addr bytes;
    if (ether_aton_r(text.c_str(), &bytes) == nullptr) {
        throw zolt::decode_error("Mac address is invalid");
    }
    std::memcpy(target.addr, bytes.ether_addr_octet, sizeof target.addr);
}

void parse(const Json::Value& value, std::vector<unsigned char>& target) {
    if (!value.isString()) unexpected_type();
    const std::string text = value.asString();
    if (text.size() % 2 != 0) throw zolt::decode_error("Unexpected HEX string");
    for (std::size_t i = 0; i < text.size(); i += 2) {
        // std::stoi is strtol with base 16 plus its two exceptions, both with the text
        // "stoi"; pieces like "1g", " 7" or "-1" therefore pass, as strtol takes them.
        target.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    }
}

void parse(const Json::Value& value, std::vector<std::string>& target) {
    append_array(value, target, [](const Json::Value& element) {
        if (!element.isString()) unexpected_type();
        return element.asString();
    });
}

void parse(const Json::Value& value, std::vector<unsigned short>& target) {
    append_array(value, target, [](const Json::Value& element) {
        return static_cast<unsigned short>(read_uint(element));
    });
}

void parse(const Json::Value& value, std::vector<unsigned int>& target) {
    append_array(value, target, read_uint);
}
