// The whole answer path on arbitrary input: the bytes arrive through the transport's chunk
// collector, the call engine judges status and text, and every typed way of reading "result"
// decodes the same answer: records, scalars, a list, and get-all tables of every key form,
// the MAC table's hand-written key among them.
//
// Input: byte 0 picks the HTTP status (low three bits) and the chunk size in which the body
// arrives (the other five bits, 1 to 32 bytes); byte 1 picks the typed output that reads the
// answer; the rest is the answer's body.
//
// A failure may only be one of the library's documented exceptions with one of its texts; a
// record that decodes must write and decode again to an equal record. Anything else aborts,
// and the sanitizers add memory errors and leaks.

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "client/engine.h"
#include "client/methods.h"
#include "client/rest_internal.h"
#include "codec/record.h"
#include "codec/scalar.h"
#include "codec/table.h"
#include "fast/families.h"

namespace {

[[noreturn]] void fail(const char* what, const char* detail) {
    std::fprintf(stderr, "answer path: %s: %s\n", what, detail);
    std::abort();
}

bool one_of(const char* text, std::initializer_list<const char*> texts) {
    for (const char* t : texts) {
        if (std::strcmp(text, t) == 0) return true;
    }
    return false;
}

// The texts a runtime error of the engine or of a decoder may carry.
void check_runtime_error(const std::runtime_error& e) {
    if (std::strncmp(e.what(), "Network error, return code: ", 28) == 0) return;
    if (!one_of(e.what(),
                {"Failed to parse!", "Not a object", "No error member", "No result member",
                 "Result is not an array", "Unexpected type", "out-of-range-enum",
                 "Mac address is invalid", "Unexpected HEX string", "not implemented"})) {
        fail("undocumented runtime error", e.what());
    }
}

// The logic errors that reading JSON of the wrong shape may raise: a record or row that is no
// object, the MAC table key's address or VLAN, and a byte list's piece.
void check_logic_error(const std::logic_error& e) {
    if (typeid(e) == typeid(std::invalid_argument) || typeid(e) == typeid(std::out_of_range)) {
        if (std::strcmp(e.what(), "stoi") != 0) fail("undocumented stoi error", e.what());
        return;
    }
    if (!one_of(e.what(),
                {"in Json::Value::find(key, end, found): requires objectValue or nullValue",
                 "in Json::Value::asCString(): requires stringValue",
                 "Value is not convertible to UInt.", "LargestInt out of UInt range",
                 "LargestUInt out of UInt range", "double out of UInt range"})) {
        fail("undocumented logic error", e.what());
    }
}

template <class F>
void expect_documented(F&& step) {
    try {
        step();
    } catch (const std::runtime_error& e) {
        check_runtime_error(e);
    } catch (const std::logic_error& e) {
        check_logic_error(e);
    } catch (const std::exception& e) {
        fail(typeid(e).name(), e.what());
    } catch (...) {
        fail("exception", "not derived from std::exception");
    }
}

template <class R>
bool same(const R& a, const R& b) {
    return !(a < b) && !(b < a);
}

// What a typed function does with the answer: a null "error" has "result" decoded, an error
// object only yields its code.
template <class Decode>
void typed(const Json::Value& answer, Decode decode) {
    expect_documented([&] {
        const Json::Value& error = answer["error"];
        if (!error.isNull()) {
            zolt::error_code(error);
            return;
        }
        decode(answer["result"]);
    });
}

// Singleton and keyed gets: what decodes writes and decodes again to the same record.
template <class R>
void record(const Json::Value& answer) {
    typed(answer, [](const Json::Value& result) {
        R first{};
        parse(result, first);
        R second{};
        parse(serialize(first), second);
        if (!same(first, second)) fail("record round trip differs", typeid(R).name());
    });
}

// Scalar and list gets.
template <class T>
void value(const Json::Value& answer) {
    typed(answer, [](const Json::Value& result) {
        T out{};
        parse(result, out);
    });
}

// Get-alls: the array test of the typed function, then the rows.
template <class K, class V>
void table(const Json::Value& answer) {
    typed(answer, [](const Json::Value& result) {
        if (!result.isArray()) zolt::throw_result_not_array();
        std::map<K, V> out;
        parse(result, out);
    });
}

const long kStatuses[8] = {200, 200, 200, 299, 500, 599, 404, 302};

using Read = void (*)(const Json::Value&);

const Read kOutputs[] = {
    record<zolt_appl_port_mib_conf_t>,       // enumerations, u8, u32, bool
    record<zolt_appl_mstp_bridge_status_t>,  // byte lists
    record<zolt_lacp_aggregator_status_t>,   // a MAC, a list of strings
    record<zolt_appl_vlan_port_conf_t>,      // lists of u16
    record<lldpmed_remote_info_t>,           // i64
    record<zolt_ipv4_uc_t>,
    value<bool>,
    value<unsigned int>,
    value<unsigned short>,
    value<std::vector<std::string>>,
    table<std::string, zolt_appl_port_mib_conf_t>,
    table<int, bool>,
    table<unsigned int, unsigned int>,
    table<unsigned short, unsigned short>,
    table<unsigned char, std::string>,
    table<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t>,
    table<zolt_ipv4_uc_t, std::tuple<>>,
    table<NAS_ifindex_index, bool>,
    table<zolt_appl_voice_vlan_oui_index_t, std::vector<std::string>>,
    table<std::tuple<std::string, int>, lldp_neighbors_information_t>,
    table<std::tuple<unsigned short, zolt_appl_vlan_user_t>, std::vector<std::string>>,
    table<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_conf_t>,
    table<std::tuple<int, int, int>, bool>,
    table<std::tuple<std::string, std::string, std::string, std::string>, bool>,
};
constexpr std::size_t kOutputCount = sizeof kOutputs / sizeof kOutputs[0];

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const long status = kStatuses[data[0] & 7];
    const std::size_t chunk = (data[0] >> 3) + 1u;
    const Read read = kOutputs[data[1] % kOutputCount];
    const char* body = reinterpret_cast<const char*>(data + 2);
    const std::size_t length = size - 2;

    rest_response_t* response = rest_response_alloc();
    if (response == nullptr) return 0;
    for (std::size_t at = 0; at < length; at += chunk) {
        const std::size_t n = length - at < chunk ? length - at : chunk;
        if (rest_write_cb(const_cast<char*>(body + at), 1, n, response) != n) {
            fail("chunk", "refused");
        }
    }
    response->status = status;

    Json::Value answer;
    bool judged = false;
    expect_documented([&] {
        answer = zolt::read_answer(response);
        judged = true;
    });
    if (!judged) return 0;
    if (!answer.isObject() || !answer.isMember("error") || !answer.isMember("result")) {
        fail("engine", "accepted an answer without \"error\" and \"result\"");
    }
    read(answer);
    return 0;
}
