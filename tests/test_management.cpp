// The management and monitoring families' own rules, end to end against a local server: the
// syslog time stamp read as local time across the clock changes, the syslog control table keyed
// by a number and a level, SNMP users and communities keyed by records, sFlow instances as a
// name and an unsigned short, and the inventory gets that can report a failure but never a
// success.

#include <gtest/gtest.h>
#include <json/json.h>

#include <ctime>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/family.h"
#include "support/test_server.h"
#include "support/time_zone.h"

namespace {

using Bytes = std::vector<unsigned char>;
using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::last_params;
using zolt_test::runtime_error_of;

class Management : public ClientTest {};

// --- the syslog time stamp is read as the local time of the process -----------------------------

// Central European time, a POSIX rule, so no zone files are needed.
TEST_F(Management, SyslogTimeStampsOnTheDaysTheClockChangesCountRealSeconds) {
    const zolt_test::TimeZoneGuard zone;
    zone.set("CET-1CEST,M3.5.0,M10.5.0/3");
    const std::pair<const char*, zolt_time32_t> stamps[] = {
        // 2021-03-28: at 02:00 winter time the clock moves to 03:00 summer time.
        {"2021-03-28 01:30:00", 1616891400},  // 00:30 UTC
        {"2021-03-28 03:30:00", 1616895000},  // 01:30 UTC: one hour later
        // 2021-10-31: at 03:00 summer time the clock moves back to 02:00 winter time.
        {"2021-10-31 00:30:00", 1635633000},  // 22:30 UTC, summer time
        {"2021-10-31 04:30:00", 1635651000},  // 03:30 UTC, winter time
    };
    for (const auto& stamp : stamps) {
        server.respond_result(std::string(R"({"MsgLevel":"notice","MsgTimeStamp":")") +
                              stamp.first + R"(","MsgText":"x"})");
        zolt_appl_syslog_history_t entry{};
        EXPECT_EQ(zolt_syslog_status_history_get(handle(), 1, 2, &entry), 0);
        EXPECT_EQ(entry.MsgTimeStamp, stamp.second) << stamp.first;
    }
    EXPECT_EQ(last_params(server), json("[1,2]"));
}

// The switch's time_t is 32 bits wide, and so is the field: a text past 2038 keeps the low 32
// bits of what mktime gives, by the direct decoder and by the record's parse alike.
static_assert(sizeof(zolt_appl_syslog_history_t::MsgTimeStamp) == 4, "32 bits");
static_assert(
    std::is_same<decltype(zolt_appl_syslog_history_t::MsgTimeStamp), zolt_time32_t>::value,
    "the named 32-bit type");

TEST_F(Management, ASyslogTimeStampPast2038KeepsItsLow32Bits) {
    const zolt_test::TimeZoneGuard zone;
    zone.set("UTC0");
    const std::pair<const char*, zolt_time32_t> stamps[] = {
        {"2038-01-19 03:14:07", 2147483647},       // mktime 2147483647
        {"2038-01-19 03:14:08", -2147483647 - 1},  // mktime 2147483648
        {"2106-02-07 06:28:16", 0},                // mktime 4294967296
    };
    for (const auto& stamp : stamps) {
        const std::string entry_text = std::string(R"({"MsgLevel":"notice","MsgTimeStamp":")") +
                                       stamp.first + R"(","MsgText":"x"})";
        server.respond_result(entry_text);
        zolt_appl_syslog_history_t entry{};
        EXPECT_EQ(zolt_syslog_status_history_get(handle(), 1, 2, &entry), 0);
        EXPECT_EQ(entry.MsgTimeStamp, stamp.second) << stamp.first;

        zolt_appl_syslog_history_t parsed{};
        parse(json(entry_text), parsed);
        EXPECT_EQ(parsed.MsgTimeStamp, stamp.second) << stamp.first;
        // Written back as the signed number, not as the text it came in.
        EXPECT_EQ(serialize(parsed)["MsgTimeStamp"], Json::Value(Json::Int64{stamp.second}))
            << stamp.first;
    }
}

// --- the syslog control table: a number and a level as key -------------------------------------

TEST_F(Management, AControlKeyIsANumberAndTheLevelsTextOrderedByTheLevelsValue) {
    server.respond_result(R"({"Clear":true})");
    zolt_appl_syslog_history_control_t control{};
    EXPECT_EQ(
        zolt_syslog_control_history_get(handle(), 1, zolt_appl_syslog_lvl_informational, &control),
        0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 1, \"informational\" ]"), std::string::npos)
        << server.last().body;
    EXPECT_TRUE(control.Clear);

    // In text order "all" < "error" < "warning"; by value error (3) < warning (4) < all (8).
    server.respond_result(R"([{"key":[2,"error"],"val":{"Clear":false}},
                              {"key":[1,"all"],"val":{"Clear":true}},
                              {"key":[1,"warning"],"val":{"Clear":false}},
                              {"key":[1,"error"],"val":{"Clear":true}},
                              {"key":[1,"emergency"],"val":{"Clear":true}}])");
    std::map<std::tuple<int, zolt_appl_syslog_lvl_t>, zolt_appl_syslog_history_control_t> table;
    EXPECT_EQ(runtime_error_of([&] { zolt_syslog_control_history_get(handle(), &table); }),
              "out-of-range-enum");
    std::vector<std::tuple<int, zolt_appl_syslog_lvl_t>> keys;
    for (const auto& row : table) keys.push_back(row.first);
    EXPECT_EQ(keys, (std::vector<std::tuple<int, zolt_appl_syslog_lvl_t>>{
                        {1, zolt_appl_syslog_lvl_error},
                        {1, zolt_appl_syslog_lvl_warning},
                        {1, zolt_appl_syslog_lvl_all},
                        {2, zolt_appl_syslog_lvl_error}}))
        << "the rows before the unknown level stay inserted";
    server.respond_result(R"([{"key":[1,3],"val":{"Clear":true}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_syslog_control_history_get(handle(), &table); }),
              "Unexpected type")
        << "the level is read as text, never as its number";
}

// --- SNMP: users keyed by engine and name, communities by a key-only record ---------------------

TEST_F(Management, AUserIsKeyedByEngineFirstThenName) {
    zolt_appl_snmp_user_index_t index{};
    index.EngineId = {0x80, 0x01};
    index.UserName = "ops";
    server.respond_result(R"({"SecurityLevel":"snmpAuthPriv","AuthProtocol":"snmpSHAAuthProtocol",
        "AuthPassword":"a-secret","PrivProtocol":"snmpAESPrivProtocol","PrivPassword":"p-secret"})");
    zolt_appl_snmp_user_conf_t user{};
    EXPECT_EQ(zolt_snmp_config_users_get(handle(), index, &user), 0);
    EXPECT_EQ(last_params(server), json(R"([{"EngineId":"8001","UserName":"ops"}])"));
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

TEST_F(Management, ACommunityIsOneKeyObjectAndItsTableReadsOnlyEmpty) {
    zolt_appl_snmp_community_name_t community{};
    community.Name = "public";
    community.SourceIP = "10.0.0.0";
    community.SourceIPPrefixSize = -1;
    server.respond_error(R"({"code":1,"message":"no such entry"})");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), community), 1);
    EXPECT_EQ(last_params(server),
              json(R"([{"Name":"public","SourceIP":"10.0.0.0","SourceIPPrefixSize":-1}])"));
    server.respond_result(R"({"anything":"at all"})");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), community), 0)
        << "the existence get reads nothing from the result";

    std::map<zolt_appl_snmp_community_name_t, std::tuple<>> table;
    server.respond_result("[]");
    EXPECT_EQ(zolt_snmp_config_communities_get(handle(), &table), 0);
    const std::pair<const char*, const char*> rows[] = {
        {R"([{"key":{"Name":"public","SourceIP":"0.0.0.0","SourceIPPrefixSize":0},"val":null}])",
         "not implemented"},
        // A malformed key fails before the value is reached.
        {R"([{"key":{"SourceIP":"0.0.0.0","SourceIPPrefixSize":0},"val":{}}])", "Unexpected type"}};
    for (const auto& row : rows) {
        server.respond_result(row.first);
        EXPECT_EQ(runtime_error_of([&] { zolt_snmp_config_communities_get(handle(), &table); }),
                  row.second);
    }
    EXPECT_TRUE(table.empty());
}

// --- sFlow: an instance is an interface name and an unsigned short ----------------------------

TEST_F(Management, AnInstanceIsAnInterfaceNameAndASixteenBitNumber) {
    zolt_appl_sflow_cp_t cp{};
    cp.CounterSamplingMode = true;
    cp.CounterSamplingRcvrIndex = 1;
    cp.CounterSamplingInterval = 30;
    EXPECT_EQ(zolt_sflow_config_cp_set(handle(), "Gi 1/4", 65535, cp), 0);
    EXPECT_EQ(last_params(server), json(R"(["Gi 1/4", 65535, {"CounterSamplingMode":true,
        "CounterSamplingRcvrIndex":1,"CounterSamplingInterval":30}])"));

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

TEST_F(Management, AnInventoryGetReturnsARefusalAndThrowsOnWhateverResult) {
    using Get = int (*)(void*, const std::string&, zolt_appl_json_rpc_inventory_t*);
    const Get gets[] = {&zolt_json_rpc_status_introspection_generic_inventory_get,
                        &zolt_json_rpc_status_introspection_specific_inventory_get};
    zolt_appl_json_rpc_inventory_t inventory{};
    server.respond_error(R"({"code":3,"message":"no such group"})");
    EXPECT_EQ(gets[0](handle(), "port", &inventory), 3);
    EXPECT_NE(server.last().body.find(
                  "\"method\" : \"json-rpc.status.introspection.generic.inventory.get\""),
              std::string::npos);
    EXPECT_EQ(last_params(server), json(R"(["port"])"));
    server.respond_error(R"({"message":"no code"})");
    EXPECT_EQ(gets[1](handle(), "port", &inventory), -1);

    for (const char* result : {"null", "{}", R"({"methods":["port.config.get"]})", "[]", "7"}) {
        server.respond_result(result);
        for (const Get get : gets) {
            EXPECT_THROW_EXACT(get(handle(), "port", &inventory), std::runtime_error,
                               "not implemented")
                << result;
        }
    }
    EXPECT_EQ(server.count(), 12u) << "each call posted its request first";
}

}  // namespace
