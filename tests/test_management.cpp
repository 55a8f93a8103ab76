// The management and monitoring families' own rules, end to end against a local server: the
// syslog time stamp that changes form with the direction, the syslog control table keyed by a
// number and a level, SNMP engine identifiers as byte lists and the key-only community table,
// sFlow instances passed as unsigned short by value, and the inventory gets that can report a
// failure but never a success.

#include <gtest/gtest.h>
#include <json/json.h>

#include <cstdlib>
#include <ctime>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using Bytes = std::vector<unsigned char>;
using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::runtime_error_of;

// The "params" member of the last request, as JSON.
Json::Value params_of(const zolt_test::TestServer& server) {
    return json(server.last().body)["params"];
}

class Management : public ClientTest {};

// --- the syslog time stamp: read from local-time text, written as a number ---------------------

// Runs the test in Central European time (a POSIX rule, so no zone files are needed) and puts
// the process's zone back afterwards.
class SyslogTimeStamp : public Management {
protected:
    SyslogTimeStamp() {
        const char* old = std::getenv("TZ");
        had_tz_ = old != nullptr;
        if (had_tz_) old_tz_ = old;
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~SyslogTimeStamp() override {
        if (had_tz_) {
            setenv("TZ", old_tz_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

    time_t read_entry(const char* stamp) {
        server.respond_result(std::string(R"({"MsgLevel":"notice","MsgTimeStamp":")") + stamp +
                              R"(","MsgText":"x"})");
        zolt_appl_syslog_history_t entry{};
        EXPECT_EQ(zolt_syslog_status_history_get(handle(), 1, 2, &entry), 0);
        return entry.MsgTimeStamp;
    }

private:
    bool had_tz_ = false;
    std::string old_tz_;
};

TEST_F(SyslogTimeStamp, TheClockJumpsForwardAnHourInSpring) {
    // 2021-03-28: at 02:00 winter time the clock moves to 03:00 summer time.
    const time_t before = read_entry("2021-03-28 01:30:00");  // 00:30 UTC
    const time_t after = read_entry("2021-03-28 03:30:00");   // 01:30 UTC
    EXPECT_EQ(before, 1616891400);
    EXPECT_EQ(after, 1616895000);
    EXPECT_EQ(after - before, 3600) << "two hours on the wall clock, one hour of real time";
    EXPECT_NE(server.last().body.find("\"params\" : [ 1, 2 ]"), std::string::npos);
}

TEST_F(SyslogTimeStamp, TheClockFallsBackAnHourInAutumn) {
    // 2021-10-31: at 03:00 summer time the clock moves back to 02:00 winter time.
    EXPECT_EQ(read_entry("2021-10-31 00:30:00"), 1635633000);  // 22:30 UTC, summer time
    EXPECT_EQ(read_entry("2021-10-31 04:30:00"), 1635651000);  // 03:30 UTC, winter time
    // A summer date read after a winter one: nothing of one read leaks into the next.
    EXPECT_EQ(read_entry("2021-07-01 12:00:00"), 1625133600);
}

TEST_F(SyslogTimeStamp, WrittenBackTheStampIsTheNumberOfSecondsWhateverTheZone) {
    const time_t summer = read_entry("2021-03-28 03:30:00");
    zolt_appl_syslog_history_t entry{};
    entry.MsgLevel = zolt_appl_syslog_lvl_error;
    entry.MsgTimeStamp = summer;
    const Json::Value written = serialize(entry);
    EXPECT_TRUE(written["MsgTimeStamp"].isInt64());
    EXPECT_FALSE(written["MsgTimeStamp"].isString());
    EXPECT_EQ(written["MsgTimeStamp"].asInt64(), 1616895000);
    entry.MsgTimeStamp = -1;
    EXPECT_EQ(serialize(entry)["MsgTimeStamp"].asInt64(), -1) << "signed";
    entry.MsgTimeStamp = summer;
    // Which is why the written form cannot be read back: a number is no time text.
    zolt_appl_syslog_history_t again{};
    EXPECT_EQ(runtime_error_of([&] { parse(written, again); }), "Unexpected type");
    EXPECT_EQ(again.MsgLevel, zolt_appl_syslog_lvl_error) << "fields before the stamp are read";
}

TEST_F(SyslogTimeStamp, AStampSentAsANumberIsRefused) {
    server.respond_result(R"([{"key":[1,1],"val":{"MsgLevel":"error","MsgTimeStamp":1616895000,
                              "MsgText":"x"}}])");
    std::map<std::tuple<int, int>, zolt_appl_syslog_history_t> history;
    EXPECT_EQ(runtime_error_of([&] { zolt_syslog_status_history_get(handle(), &history); }),
              "Unexpected type");
    EXPECT_TRUE(history.empty());
}

// --- the syslog control table: a number and a level as key -------------------------------------

TEST_F(Management, TheLevelOfAControlKeyTravelsAsItsText) {
    server.respond_result(R"({"Clear":true})");
    zolt_appl_syslog_history_control_t control{};
    EXPECT_EQ(
        zolt_syslog_control_history_get(handle(), 1, zolt_appl_syslog_lvl_informational, &control),
        0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 1, \"informational\" ]"), std::string::npos)
        << server.last().body;
    EXPECT_TRUE(control.Clear);

    server.respond_result("null");
    control.Clear = false;
    EXPECT_EQ(zolt_syslog_control_history_set(handle(), 2, zolt_appl_syslog_lvl_all, control), 0);
    EXPECT_EQ(params_of(server), json(R"([2, "all", {"Clear": false}])"));
}

TEST_F(Management, ALevelWithoutTextIsNeverSent) {
    // 7 lies in the gap between "informational" (6) and "all" (8).
    const auto gap = static_cast<zolt_appl_syslog_lvl_t>(7);
    zolt_appl_syslog_history_control_t control{};
    EXPECT_THROW_EXACT(zolt_syslog_control_history_get(handle(), 1, gap, &control),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_THROW_EXACT(zolt_syslog_control_history_set(handle(), 1, gap, control),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

TEST_F(Management, ControlRowsAreOrderedByNumberThenByTheLevelsValue) {
    // In text order "all" < "error" < "warning"; by value error (3) < warning (4) < all (8).
    server.respond_result(R"([{"key":[2,"error"],"val":{"Clear":false}},
                              {"key":[1,"all"],"val":{"Clear":true}},
                              {"key":[1,"warning"],"val":{"Clear":false}},
                              {"key":[1,"error"],"val":{"Clear":true}}])");
    std::map<std::tuple<int, zolt_appl_syslog_lvl_t>, zolt_appl_syslog_history_control_t> table;
    EXPECT_EQ(zolt_syslog_control_history_get(handle(), &table), 0);
    std::vector<std::tuple<int, zolt_appl_syslog_lvl_t>> keys;
    for (const auto& row : table) keys.push_back(row.first);
    EXPECT_EQ(keys, (std::vector<std::tuple<int, zolt_appl_syslog_lvl_t>>{
                        {1, zolt_appl_syslog_lvl_error},
                        {1, zolt_appl_syslog_lvl_warning},
                        {1, zolt_appl_syslog_lvl_all},
                        {2, zolt_appl_syslog_lvl_error}}));
}

TEST_F(Management, AControlKeyWithAnUnknownLevelFailsTheWholeTable) {
    std::map<std::tuple<int, zolt_appl_syslog_lvl_t>, zolt_appl_syslog_history_control_t> table;
    server.respond_result(R"([{"key":[1,"error"],"val":{"Clear":true}},
                              {"key":[1,"emergency"],"val":{"Clear":true}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_syslog_control_history_get(handle(), &table); }),
              "out-of-range-enum");
    EXPECT_EQ(table.size(), 1u) << "rows before the bad one stay inserted";
    server.respond_result(R"([{"key":[1,3],"val":{"Clear":true}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_syslog_control_history_get(handle(), &table); }),
              "Unexpected type")
        << "the level is read as text, never as its number";
}

// --- SNMP: engine identifiers are byte lists, communities are keys only ------------------------

TEST_F(Management, EngineIdentifiersTravelAsLowerCaseHexText) {
    zolt_appl_snmp_conf_t conf{};
    conf.Mode = true;
    conf.Version = zolt_appl_snmp_version_snmpV3;
    conf.EngineId = {0x80, 0x00, 0x07, 0xE5, 0x01, 0x0A};
    EXPECT_EQ(zolt_snmp_config_global_set(handle(), conf), 0);
    EXPECT_EQ(params_of(server)[0]["EngineId"], Json::Value("800007e5010a"));

    conf.EngineId.clear();
    EXPECT_EQ(zolt_snmp_config_global_set(handle(), conf), 0);
    EXPECT_EQ(params_of(server)[0]["EngineId"], Json::Value(""));

    // Read back in either case; a text of odd length fails that field.
    server.respond_result(R"({"Mode":true,"Version":"snmpV2c","ReadCommunity":"public",
                              "WriteCommunity":"private","EngineId":"800007E5017F"})");
    zolt_appl_snmp_conf_t got{};
    EXPECT_EQ(zolt_snmp_config_global_get(handle(), &got), 0);
    EXPECT_EQ(got.EngineId, (Bytes{0x80, 0x00, 0x07, 0xe5, 0x01, 0x7f}));
    server.respond_result(R"({"Mode":true,"Version":"snmpV2c","ReadCommunity":"public",
                              "WriteCommunity":"private","EngineId":"800"})");
    zolt_appl_snmp_conf_t odd{};
    EXPECT_EQ(runtime_error_of([&] { zolt_snmp_config_global_get(handle(), &odd); }),
              "Unexpected HEX string");
    EXPECT_EQ(odd.WriteCommunity, "private");
}

TEST_F(Management, AUserIsKeyedByEngineFirstThenName) {
    zolt_appl_snmp_user_index_t index{};
    index.EngineId = {0x80, 0x01};
    index.UserName = "ops";
    server.respond_result(R"({"SecurityLevel":"snmpAuthPriv","AuthProtocol":"snmpSHAAuthProtocol",
        "AuthPassword":"a-secret","PrivProtocol":"snmpAESPrivProtocol","PrivPassword":"p-secret"})");
    zolt_appl_snmp_user_conf_t user{};
    EXPECT_EQ(zolt_snmp_config_users_get(handle(), index, &user), 0);
    EXPECT_EQ(params_of(server), json(R"([{"EngineId":"8001","UserName":"ops"}])"));
    EXPECT_EQ(user.PrivPassword, "p-secret") << "passwords are plain text";

    // The same name under two engines is two rows, ordered by the engine's bytes.
    server.respond_result(R"([
        {"key":{"EngineId":"8002","UserName":"ops"},"val":{"SecurityLevel":"snmpNoAuthNoPriv",
         "AuthProtocol":"snmpNoAuthProtocol","AuthPassword":"","PrivProtocol":"snmpNoPrivProtocol",
         "PrivPassword":""}},
        {"key":{"EngineId":"800101","UserName":"ops"},"val":{"SecurityLevel":"snmpAuthNoPriv",
         "AuthProtocol":"snmpMD5AuthProtocol","AuthPassword":"x","PrivProtocol":"snmpNoPrivProtocol",
         "PrivPassword":""}}])");
    std::map<zolt_appl_snmp_user_index_t, zolt_appl_snmp_user_conf_t> users;
    EXPECT_EQ(zolt_snmp_config_users_get(handle(), &users), 0);
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users.begin()->first.EngineId, (Bytes{0x80, 0x01, 0x01}));
    EXPECT_EQ(users.rbegin()->first.EngineId, (Bytes{0x80, 0x02}));
}

TEST_F(Management, ASecurityLevelOfZeroIsNeverSent) {
    zolt_appl_snmp_user_index_t index{};
    index.UserName = "ops";
    EXPECT_THROW_EXACT(zolt_snmp_config_users_add(handle(), index, zolt_appl_snmp_user_conf_t{}),
                       std::runtime_error, "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

TEST_F(Management, ACommunityIsOneKeyObjectAndItsTableReadsOnlyEmpty) {
    zolt_appl_snmp_community_name_t community{};
    community.Name = "public";
    community.SourceIP = "10.0.0.0";
    community.SourceIPPrefixSize = -1;
    const Json::Value sent =
        json(R"([{"Name":"public","SourceIP":"10.0.0.0","SourceIPPrefixSize":-1}])");

    server.respond_error(R"({"code":1,"message":"no such entry"})");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), community), 1);
    EXPECT_EQ(params_of(server), sent);
    server.respond_result(R"({"anything":"at all"})");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), community), 0)
        << "the existence get reads nothing from the result";
    EXPECT_EQ(zolt_snmp_config_communities_del(handle(), community), 0);
    EXPECT_EQ(params_of(server), sent);
    EXPECT_EQ(zolt_snmp_config_communities_add(handle(), community), 0);
    EXPECT_EQ(params_of(server), sent);

    std::map<zolt_appl_snmp_community_name_t, std::tuple<>> table;
    server.respond_result("[]");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), &table), 0);
    server.respond_result(
        R"([{"key":{"Name":"public","SourceIP":"0.0.0.0","SourceIPPrefixSize":0},"val":null}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_snmp_config_communities_get(handle(), &table); }),
              "not implemented");
    // A malformed key fails before the value is reached.
    server.respond_result(R"([{"key":{"SourceIP":"0.0.0.0","SourceIPPrefixSize":0},"val":{}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_snmp_config_communities_get(handle(), &table); }),
              "Unexpected type");
    EXPECT_TRUE(table.empty());
}

// --- sFlow: the instance number is an unsigned short passed by value ---------------------------

// The exact parameter lists: the instance number by value, never by reference.
using CpGet = int (*)(void*, const std::string&, unsigned short, zolt_appl_sflow_cp_t*);
using CpSet = int (*)(void*, const std::string&, unsigned short, const zolt_appl_sflow_cp_t&);
using InstanceSet = int (*)(void*, const std::string&, unsigned short, const bool&);
using InstanceGet = int (*)(void*, const std::string&, unsigned short, bool*);
[[maybe_unused]] const CpGet kCpGet = &zolt_sflow_config_cp_get;
[[maybe_unused]] const CpSet kCpSet = &zolt_sflow_config_cp_set;
[[maybe_unused]] const InstanceSet kInstanceSet = &zolt_sflow_control_instance_set;
[[maybe_unused]] const InstanceGet kInstanceGet = &zolt_sflow_control_instance_get;

TEST_F(Management, AnInstanceIsAnInterfaceNameAndANumber) {
    zolt_appl_sflow_cp_t cp{};
    cp.CounterSamplingMode = true;
    cp.CounterSamplingRcvrIndex = 1;
    cp.CounterSamplingInterval = 30;
    const unsigned short instance = 65535;
    EXPECT_EQ(zolt_sflow_config_cp_set(handle(), "Gi 1/4", instance, cp), 0);
    EXPECT_EQ(params_of(server), json(R"(["Gi 1/4", 65535, {"CounterSamplingMode":true,
        "CounterSamplingRcvrIndex":1,"CounterSamplingInterval":30}])"));
    EXPECT_NE(server.last().body.find("\"Gi 1/4\",\n      65535,"), std::string::npos)
        << server.last().body;

    EXPECT_EQ(zolt_sflow_control_instance_set(handle(), "Gi 1/4", 2, true), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ \"Gi 1/4\", 2, true ]"), std::string::npos)
        << server.last().body;
}

TEST_F(Management, AControlGetIsABareBoolean) {
    bool on = false;
    server.respond_result("true");
    EXPECT_EQ(zolt_sflow_control_instance_get(handle(), "Gi 1/1", 1, &on), 0);
    EXPECT_TRUE(on);
    server.respond_result("1");
    EXPECT_EQ(runtime_error_of([&] { zolt_sflow_control_rcvr_get(handle(), 1, &on); }),
              "Unexpected type");

    std::map<std::tuple<std::string, unsigned short>, bool> instances;
    server.respond_result(R"([{"key":["Gi 1/2",70000],"val":true},
                              {"key":["Gi 1/1",3],"val":false}])");
    EXPECT_EQ(zolt_sflow_control_instance_get(handle(), &instances), 0);
    EXPECT_EQ(instances, (std::map<std::tuple<std::string, unsigned short>, bool>{
                             {{"Gi 1/1", 3}, false}, {{"Gi 1/2", 4464}, true}}))
        << "the instance number is cut to 16 bits";
    server.respond_result(R"([{"key":["Gi 1/3",-1],"val":true}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_sflow_control_instance_get(handle(), &instances); }),
              "Unexpected type");
}

// --- the inventory gets: a failure is reported, a success cannot be -----------------------------

TEST_F(Management, AnInventoryGetReturnsTheSwitchsRefusal) {
    zolt_appl_json_rpc_inventory_t inventory{};
    server.respond_error(R"({"code":3,"message":"no such group"})");
    EXPECT_EQ(
        zolt_json_rpc_status_introspection_generic_inventory_get(handle(), "port", &inventory), 3);
    EXPECT_NE(server.last().body.find(
                  "\"method\" : \"json-rpc.status.introspection.generic.inventory.get\""),
              std::string::npos);
    EXPECT_EQ(params_of(server), json(R"(["port"])"));
    server.respond_error(R"({"message":"no code"})");
    EXPECT_EQ(
        zolt_json_rpc_status_introspection_specific_inventory_get(handle(), "port", &inventory),
        -1);
}

TEST_F(Management, AnInventoryGetThatSucceedsThrowsWhateverTheResult) {
    zolt_appl_json_rpc_inventory_t inventory{};
    for (const char* result : {"null", "{}", R"({"methods":["port.config.get"]})", "[]", "7"}) {
        server.respond_result(result);
        EXPECT_THROW_EXACT(
            zolt_json_rpc_status_introspection_generic_inventory_get(handle(), "port", &inventory),
            std::runtime_error, "not implemented")
            << result;
        EXPECT_THROW_EXACT(
            zolt_json_rpc_status_introspection_specific_inventory_get(handle(), "port", &inventory),
            std::runtime_error, "not implemented")
            << result;
    }
    EXPECT_EQ(server.count(), 10u) << "each call posted its request first";
}

}  // namespace
