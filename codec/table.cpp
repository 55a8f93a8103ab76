#include "codec/table.h"

#include <cstdlib>
#include <sstream>
#include <string>

namespace {

// The VLAN goes through JsonCpp's own conversion without a type test: null reads as 0, a
// boolean as 0 or 1, a real is truncated. What the conversion refuses (a text, an object, a
// negative or too large number) it reports with a class of its own that derives from
// std::exception only; the caller gets the same text as the standard logic error.
unsigned int vlan_of(const Json::Value& vlan) {
    try {
        return vlan.asUInt();
    } catch (const Json::Exception& e) {
        throw zolt::decode_logic_error(e.what());
    }
}

}  // namespace

void parse(const Json::Value& key, std::tuple<unsigned short, zolt_mac_t>& out) {
    if (!key.isArray()) zolt::throw_unexpected_type();
    zolt::in_element(0, [&] { std::get<0>(out) = static_cast<unsigned short>(vlan_of(key[0u])); });

    // Checked here rather than by asCString(), whose own failure is JsonCpp's class too.
    const Json::Value& address = key[1u];
    if (!address.isString()) {
        zolt::decode_logic_error error("in Json::Value::asCString(): requires stringValue");
        error.within("[1]");
        throw error;
    }
    zolt_mac_t& mac = std::get<1>(out);
    std::istringstream text(address.asCString());
    std::string piece;
    for (std::size_t i = 0; std::getline(text, piece, ':'); ++i) {
        const long byte = std::strtol(piece.c_str(), nullptr, 16);
        if (i < sizeof mac.addr) mac.addr[i] = static_cast<unsigned char>(byte);
    }
}
