#include "codec/table.h"

#include <cstdlib>
#include <sstream>
#include <string>

void parse(const Json::Value& key, std::tuple<unsigned short, zolt_mac_t>& out) {
    if (!key.isArray()) zolt::throw_unexpected_type();
    const Json::Value& vlan = key[0u];
    const Json::Value& address = key[1u];
    // No type test on the VLAN: JsonCpp's own conversion decides, and throws its own exception
    // for a text or an out-of-range number.
    if (!address.isString()) {
        throw std::logic_error("in Json::Value::asCString(): requires stringValue");
    }
    std::get<0>(out) = static_cast<unsigned short>(vlan.asUInt());

    zolt_mac_t& mac = std::get<1>(out);
    std::istringstream text(address.asCString());
    std::string piece;
    for (std::size_t i = 0; std::getline(text, piece, ':'); ++i) {
        const long byte = std::strtol(piece.c_str(), nullptr, 16);
        if (i < sizeof mac.addr) mac.addr[i] = static_cast<unsigned char>(byte);
    }
}
