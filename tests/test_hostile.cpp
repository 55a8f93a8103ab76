// A hostile or broken switch: answers that make the JSON reader or JsonCpp's accessors give up
// in their own ways reach the caller as the library's documented exceptions, with nothing
// leaked. (The simulator beside hundreds of idle and slow connections is the stress run's part,
// scripts/stress.sh.)

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "client/engine.h"
#include "client/zoltclient.h"
#include "codec/table.h"
#include "support/expect.h"
#include "support/rpc_call.h"
#include "support/test_server.h"

using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::rpc_call;

namespace {

using VlanMacKey = std::tuple<unsigned short, zolt_mac_t>;
using StaticMacTable = std::map<VlanMacKey, zolt_appl_mac_stack_addr_entry_conf_t>;

const char kOk[] = R"({"id":"jsonrpc","error":null,"result":null})";

class HostileAnswer : public ClientTest {
protected:
    zoltclient* client() { return static_cast<zoltclient*>(handle()); }

    // After any failure the same handle must complete an ordinary call.
    void expect_next_call_works() {
        server.respond(200, kOk);
        EXPECT_EQ(rpc_call(client(), "m")["error"], Json::Value());
    }
};

// The text JsonCpp itself gives when asUInt() refuses `value`; empty when it does not refuse.
std::string json_cpp_as_uint_text(const Json::Value& value) {
    try {
        value.asUInt();
    } catch (const Json::Exception& e) {
        return e.what();
    }
    return "";
}

}  // namespace

// ---- Nesting deeper than the reader allows ---------------------------------------------------
// Each refused answer is released: the sanitizer build's leak check sees one that is not.

TEST_F(HostileAnswer, NestingBeyondTheReadersLimitFailsToParse) {
    const std::string depth(100000, '[');
    const std::vector<std::string> bodies = {
        depth,
        depth + std::string(100000, ']'),
        std::string(50000, '{') + "\"a\":",
        [] {
            std::string objects;
            for (int i = 0; i < 20000; ++i) objects += "{\"a\":";
            return objects;
        }(),
        R"({"error":null,"result":)" + depth,
    };
    for (const std::string& body : bodies) {
        server.respond(200, body);
        EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, "Failed to parse!")
            << body.substr(0, 40);
        expect_next_call_works();
    }
}

// ---- JsonCpp's own exceptions become the documented kinds ------------------------------------

// The VLAN is read by JsonCpp's conversion without a type test: what it accepts is cut to 16 bits,
// and what it refuses comes out as std::logic_error with JsonCpp's own text, never as a class of
// JsonCpp's.
TEST_F(HostileAnswer, TheMacTableKeysVlanIsWhateverJsonCppMakesOfIt) {
    const std::pair<const char*, int> accepted[] = {
        {"null", 0}, {"true", 1}, {"2.9", 2}, {"4294967295", 65535}};
    const char* const refused[] = {
        "\"1\"", "\"\"",    "-1", "-2147483649", "4294967296", "18446744073709551615",
        "1e300", "-0.5e10", "{}", "[]",          "[1]"};
    auto rows = [](const std::string& vlan) {
        return R"([{"key":[5,"00:00:00:00:00:05"],"val":{"PortList":[]}},{"key":[)" + vlan +
               R"(,"00:00:00:00:00:01"],"val":{"PortList":[]}}])";
    };
    for (const auto& vlan : accepted) {
        server.respond_result(rows(vlan.first));
        StaticMacTable table;
        ASSERT_EQ(zolt_mac_config_fdb_static_get(handle(), &table), 0);
        const zolt_mac_t second = {{0, 0, 0, 0, 0, 1}};
        EXPECT_EQ(table.count(VlanMacKey(static_cast<unsigned short>(vlan.second), second)), 1u)
            << vlan.first;
    }
    for (const char* vlan : refused) {
        const std::string expected = json_cpp_as_uint_text(json(vlan));
        ASSERT_FALSE(expected.empty()) << vlan << " is not refused by JsonCpp";
        server.respond_result(rows(vlan));
        StaticMacTable table;
        EXPECT_THROW_EXACT(zolt_mac_config_fdb_static_get(handle(), &table), std::logic_error,
                           expected)
            << "VLAN " << vlan;
        EXPECT_EQ(table.size(), 1u) << "the row before the bad one stays";
    }
    expect_next_call_works();
}

TEST_F(HostileAnswer, ARecordOrRowThatIsNoObjectIsALogicError) {
    const char kFind[] = "in Json::Value::find(key, end, found): requires objectValue or nullValue";
    for (const char* result : {"[]", "[1]", "1", "-1", "2.5", "\"text\"", "true"}) {
        server.respond_result(result);
        zolt_appl_port_mib_conf_t conf{};
        EXPECT_THROW_EXACT(zolt_port_config_get(handle(), "Gi 1/1", &conf), std::logic_error, kFind)
            << result;
    }
    for (const char* row : {"1", "\"row\"", "[]", "false"}) {
        server.respond_result(std::string("[") + row + "]");
        std::map<std::string, zolt_appl_port_mib_conf_t> table;
        EXPECT_THROW_EXACT(zolt_port_config_get(handle(), &table), std::logic_error, kFind) << row;
        StaticMacTable macs;
        EXPECT_THROW_EXACT(zolt_mac_config_fdb_static_get(handle(), &macs), std::logic_error, kFind)
            << row;
    }
    // A nested record that is no object fails the same way, at its first member.
    server.respond_result(R"([{"key":"Gi 1/1","val":[]}])");
    std::map<std::string, zolt_appl_port_mib_conf_t> table;
    EXPECT_THROW_EXACT(zolt_port_config_get(handle(), &table), std::logic_error, kFind);
    expect_next_call_works();
}
