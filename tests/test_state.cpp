// Configuration as code (state/state.h) against the simulator on a free port of 127.0.0.1: a
// snapshot edited, planned and applied; --replace deleting a row and refusing a table without a
// delete; a failure injected halfway through an apply and rolled back; documents refused before
// any call; diff output of each kind; and every configuration table of the schema taken from
// one switch's state to another's and back. The simulator's own state and its request log are
// the independent witnesses of what reached the switch.

#include <gtest/gtest.h>
#include <json/json.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sim/names.h"
#include "state/state.h"
#include "state/tables.h"
#include "support/expect.h"
#include "support/sweep.h"
#include "support/logged_switch.h"
#include "support/test_server.h"
#include "tools/invoke.h"

namespace {

namespace table = zolt_sim::table;
namespace method = zolt_sim::method;
namespace key = zolt_sim::key;
using zolt_state::Call;
using zolt_state::Change;
using zolt_test::json;
using zolt_test::LoggedSwitch;

std::string temporary_path(const std::string& name) {
    return "/tmp/zolt-state-" + std::to_string(getpid()) + "-" + name;
}

Json::Value document() {
    Json::Value doc(Json::objectValue);
    doc[zolt_state::kFormatMember] = zolt_state::kFormatVersion;
    return doc;
}

Json::Value row(const Json::Value& key_value, const Json::Value& val) {
    Json::Value r(Json::objectValue);
    r["key"] = key_value;
    r["val"] = val;
    return r;
}

Json::Value field(const char* name, const Json::Value& value) {
    Json::Value object(Json::objectValue);
    object[name] = value;
    return object;
}

Json::Value rows_of(std::initializer_list<Json::Value> rows) {
    Json::Value array(Json::arrayValue);
    for (const Json::Value& r : rows) array.append(r);
    return array;
}

// JSON compared by its text: numbers read from text and those the library writes differ in
// JsonCpp's signedness type, not in value.
std::string text_of(const Json::Value& value) { return value.toStyledString(); }

// The row of `rows` ({"key", "val"} objects) whose key is `wanted`.
Json::Value find_row(const Json::Value& rows, const Json::Value& wanted) {
    for (const Json::Value& r : rows) {
        if (r["key"] == wanted) return r["val"];
    }
    ADD_FAILURE() << "no row " << wanted.toStyledString();
    return Json::Value();
}

std::vector<std::string> texts(const std::vector<Call>& calls) {
    std::vector<std::string> lines;
    for (const Call& c : calls) lines.push_back(zolt_state::call_text(c));
    return lines;
}

std::vector<std::string> texts(const std::vector<Change>& changes) {
    std::vector<std::string> lines;
    for (const Change& c : changes) lines.push_back(zolt_state::change_text(c));
    return lines;
}

std::string q(const char* text) { return std::string("\"") + text + "\""; }

// A static MAC entry's key: VLAN 1 and a MAC written in lower case, which the codec writes back
// in upper case.
const char kFdbKey[] = R"([1, "00:1f:a2:0b:3c:d4"])";
const char kFdbKeyWritten[] = R"([1,"00:1F:A2:0B:3C:D4"])";

// ---------------------------------------------------------------------------------------------
// The round trip: snapshot, edit, plan, apply, snapshot again.

TEST(StateRoundTrip, AnEditedSnapshotPlansExactlyItsEditsAndAppliesToThatDocument) {
    LoggedSwitch sw;
    Json::Value doc = zolt_state::snapshot(sw.handle());
    EXPECT_EQ(doc.size(), zolt_state::kConfigTableCount + 1) << "every table and the format";
    EXPECT_EQ(sw.methods().size(), zolt_state::kConfigTableCount) << "one read a table";
    EXPECT_TRUE(sw.writes().empty());
    EXPECT_EQ(zolt_state::check(doc), doc) << "a snapshot is already in the codecs' forms";

    // A field of a per-port row, a new row of a table that has an add, and a singleton.
    Json::Value& port = doc[table::port_config][2];
    ASSERT_EQ(port["key"], "Gi 1/3");
    const Json::Value old_port = port["val"];
    port["val"][key::MTU] = 9000;
    ASSERT_EQ(doc[table::mac_config_fdb_static].size(), 0u);
    doc[table::mac_config_fdb_static].append(
        row(json(kFdbKey), field(key::PortList, json(R"(["Gi 1/2"])"))));
    doc[table::mac_config_global][key::AgeTime] = 600;

    sw.clear();
    const std::vector<Call> calls = zolt_state::plan(sw.handle(), doc);
    EXPECT_TRUE(sw.writes().empty()) << "a plan sends nothing";
    ASSERT_EQ(calls.size(), 3u);
    // In table order: the ports subsystem before layer 2, and the MAC family's tables as its
    // schema lists them.
    EXPECT_EQ(calls[0].kind, "set");
    EXPECT_EQ(calls[0].method, method::port_config_set);
    Json::Value new_port = old_port;
    new_port[key::MTU] = 9000u;
    Json::Value port_args(Json::arrayValue);
    port_args.append("Gi 1/3");
    port_args.append(new_port);
    EXPECT_EQ(calls[0].args, port_args);
    EXPECT_EQ(calls[1].kind, "add");
    EXPECT_EQ(calls[1].method, method::mac_config_fdb_static_add);
    EXPECT_EQ(zolt_state::call_text(calls[1]),
              std::string("+ ") + method::mac_config_fdb_static_add + R"( 1 "00:1F:A2:0B:3C:D4" {)" +
                  q(key::PortList) + R"(:["Gi 1/2"]})");
    EXPECT_EQ(zolt_state::call_text(calls[2]),
              std::string("~ ") + method::mac_config_global_set + " {" + q(key::AgeTime) + ":600}");

    sw.clear();
    const zolt_state::ApplyResult result =
        zolt_state::apply(sw.handle(), doc, false, temporary_path("round-trip.json"));
    EXPECT_FALSE(result.failed) << result.failure;
    EXPECT_EQ(result.done, 3u);
    EXPECT_EQ(sw.writes(),
              (std::vector<std::string>{method::port_config_set, method::mac_config_fdb_static_add,
                                        method::mac_config_global_set}));

    // The switch's own state says the same.
    EXPECT_EQ(find_row(sw.rows(table::port_config), json(R"(["Gi 1/3"])"))
                  [key::MTU],
              9000);
    const Json::Value fdb = sw.rows(table::mac_config_fdb_static);
    ASSERT_EQ(fdb.size(), 1u);
    EXPECT_EQ(fdb[0]["key"], json(kFdbKeyWritten));

    const Json::Value again = zolt_state::snapshot(sw.handle());
    EXPECT_EQ(again, zolt_state::check(doc)) << "the second snapshot is the desired document";
    EXPECT_TRUE(zolt_state::diff(doc, again).empty());
    EXPECT_TRUE(zolt_state::plan(sw.handle(), doc).empty()) << "a second plan is empty";
    const zolt_state::ApplyResult second = zolt_state::apply(sw.handle(), doc);
    EXPECT_TRUE(second.calls.empty());
    EXPECT_TRUE(second.backup.empty()) << "nothing to do, nothing backed up";
    std::remove(temporary_path("round-trip.json").c_str());
}

TEST(StateRoundTrip, APartialRowManagesOnlyItsFields) {
    LoggedSwitch sw;
    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/1", field(key::MTU, 9100)));
    const zolt_state::ApplyResult result = zolt_state::apply(sw.handle(), doc, false,
                                                             temporary_path("partial.json"));
    ASSERT_FALSE(result.failed) << result.failure;
    ASSERT_EQ(result.calls.size(), 1u);

    // Another field changed behind the document's back stays as it is.
    const Json::Value rows = sw.rows(table::port_config);
    Json::Value live = find_row(rows, json(R"(["Gi 1/1"])"));
    EXPECT_EQ(live[key::MTU], 9100);
    live[key::Shutdown] = true;
    Json::Value args(Json::arrayValue);
    args.append("Gi 1/1");
    args.append(live);
    Json::Value unused;
    ASSERT_EQ(zolt_tool::find_invoker(std::string("zolt_port_config_set string, "
                                                  "zolt_appl_port_mib_conf_t -> -"))
                  ->invoke(sw.handle(), args, &unused),
              0);
    EXPECT_TRUE(zolt_state::plan(sw.handle(), doc).empty());

    // The backup holds the whole table as it was, so the partial document can be undone.
    std::ifstream in(temporary_path("partial.json"));
    std::stringstream text;
    text << in.rdbuf();
    const Json::Value backup = zolt_state::parse_document(text.str());
    EXPECT_EQ(backup.size(), 2u) << "the format and the one table touched";
    EXPECT_EQ(backup[table::port_config].size(), 8u);
    EXPECT_EQ(find_row(backup[table::port_config], "Gi 1/1")[key::MTU], 10240);
    std::remove(temporary_path("partial.json").c_str());
}

// ---------------------------------------------------------------------------------------------
// --replace: rows of a named table that the document lacks.

TEST(StateReplace, DeletesAnExtraRowInReverseTableOrderBeforeAnyAddition) {
    LoggedSwitch sw;
    Json::Value extra = document();
    extra[table::mac_config_fdb_static].append(
        row(json(kFdbKey), field(key::PortList, json(R"(["Gi 1/4"])"))));
    extra[table::vlan_config_interface_svl].append(row(20, 3));
    ASSERT_FALSE(zolt_state::apply(sw.handle(), extra, false, temporary_path("extra.json")).failed);
    std::remove(temporary_path("extra.json").c_str());

    Json::Value doc = document();
    doc[table::mac_config_fdb_static] = Json::Value(Json::arrayValue);
    doc[table::vlan_config_interface_svl].append(row(30, 4));
    EXPECT_EQ(texts(zolt_state::plan(sw.handle(), doc)),
              (std::vector<std::string>{std::string("+ ") + method::vlan_config_interface_svl_add +
                                        " 30 4"}))
        << "merge: rows the document does not name stay";

    const std::vector<Call> calls = zolt_state::plan(sw.handle(), doc, true);
    EXPECT_EQ(texts(calls),
              (std::vector<std::string>{
                  std::string("- ") + method::vlan_config_interface_svl_del + " 20",
                  std::string("- ") + method::mac_config_fdb_static_del + " " +
                      R"(1 "00:1F:A2:0B:3C:D4")",
                  std::string("+ ") + method::vlan_config_interface_svl_add + " 30 4"}));
    sw.clear();
    const zolt_state::ApplyResult result =
        zolt_state::apply(sw.handle(), doc, true, temporary_path("replace.json"));
    EXPECT_FALSE(result.failed) << result.failure;
    EXPECT_EQ(sw.writes(),
              (std::vector<std::string>{method::vlan_config_interface_svl_del,
                                        method::mac_config_fdb_static_del,
                                        method::vlan_config_interface_svl_add}));
    EXPECT_EQ(sw.rows(table::mac_config_fdb_static).size(), 0u);
    EXPECT_TRUE(zolt_state::plan(sw.handle(), doc, true).empty());
    std::remove(temporary_path("replace.json").c_str());
}

TEST(StateReplace, ATableWithoutADeleteIsRefusedNamingTheRows) {
    LoggedSwitch sw("none", 3);
    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/2", field(key::MTU, 9000)));
    const std::string expected =
        std::string("these rows are not in the document, and their tables have no delete:\n  ") +
        table::port_config + ", key \"Gi 1/3\"\n  " + table::port_config + ", key \"Gi 1/1\"";
    EXPECT_THROW_EXACT(zolt_state::plan(sw.handle(), doc, true), zolt_state::PlanError, expected);
    sw.clear();
    EXPECT_THROW_EXACT(zolt_state::apply(sw.handle(), doc, true, temporary_path("refused.json")),
                       zolt_state::PlanError, expected);
    EXPECT_TRUE(sw.writes().empty());
    EXPECT_FALSE(std::ifstream(temporary_path("refused.json")).good()) << "no backup written";
    EXPECT_EQ(zolt_state::plan(sw.handle(), doc, false).size(), 1u) << "merge is fine";
}

TEST(StatePlan, RowsTheSwitchCannotCreateAreRefused) {
    LoggedSwitch sw;
    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/99", field(key::MTU, 9000)));
    EXPECT_THROW_EXACT(zolt_state::plan(sw.handle(), doc), zolt_state::PlanError,
                       std::string(table::port_config) +
                           ", key \"Gi 1/99\": the switch has no such row, and this table's rows "
                           "are never added");

    // A new row names every field: there is no live row to merge it over.
    Json::Value partial = document();
    partial[table::access_management_config_ipv4].append(row(1, field(key::VlanId, 10)));
    const std::string text = zolt_test::runtime_error_of(
        [&] { zolt_state::plan(sw.handle(), partial); });
    EXPECT_EQ(text, std::string(table::access_management_config_ipv4) +
                        ", key 1: the switch has no such row, and a new row names every field; "
                        "missing: StartAddress, EndAddress, WebServices, SnmpServices, "
                        "TelnetServices");
}

// ---------------------------------------------------------------------------------------------
// A failure injected halfway through an apply.

TEST(StateApplyFailure, TheSwitchIsRolledBackToItsBackup) {
    LoggedSwitch sw(std::string("error:") + method::vlan_config_interface_set + ":5");
    const Json::Value before = zolt_state::snapshot(sw.handle());

    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/2", field(key::MTU, 9000)));  // ports
    doc[table::mac_config_fdb_static].append(                               // layer 2, MAC
        row(json(kFdbKey), field(key::PortList, json(R"(["Gi 1/2"])"))));
    doc[table::vlan_config_interface].append(                               // layer 2, VLAN
        row("Gi 1/2", field(key::AccessVlan, 20)));
    doc[table::syslog_config_server] = field(key::Mode, true);              // management

    const std::string backup = temporary_path("rollback.json");
    sw.clear();
    const zolt_state::ApplyResult result = zolt_state::apply(sw.handle(), doc, false, backup);
    ASSERT_TRUE(result.failed);
    EXPECT_EQ(result.calls.size(), 4u);
    EXPECT_EQ(result.done, 2u);
    EXPECT_EQ(result.failure_code, 5);
    EXPECT_EQ(result.failure, std::string(method::vlan_config_interface_set) +
                                  " \"Gi 1/2\": the switch answered error code 5");
    // The rollback removed the added row and set the changed one back, the later table never
    // reached the switch, and nothing differs from the backup.
    EXPECT_EQ(texts(result.rollback),
              (std::vector<std::string>{
                  std::string("- ") + method::mac_config_fdb_static_del + R"( 1 "00:1F:A2:0B:3C:D4")",
                  zolt_state::call_text(result.rollback[1])}));
    EXPECT_EQ(result.rollback[1].method, method::port_config_set);
    EXPECT_EQ(result.rollback_done, 2u);
    EXPECT_TRUE(result.rollback_failures.empty());
    EXPECT_TRUE(result.remaining.empty());
    EXPECT_TRUE(result.rollback_complete());
    const std::vector<std::string> writes = sw.writes();
    EXPECT_EQ(writes, (std::vector<std::string>{
                          method::port_config_set, method::mac_config_fdb_static_add,
                          method::vlan_config_interface_set, method::mac_config_fdb_static_del,
                          method::port_config_set}));

    const Json::Value after = zolt_state::snapshot(sw.handle());
    EXPECT_TRUE(zolt_state::diff(before, after).empty());
    EXPECT_EQ(sw.rows(table::mac_config_fdb_static).size(), 0u);

    // The backup holds the tables the plan touched, as they were before it.
    std::ifstream in(backup);
    std::stringstream text;
    text << in.rdbuf();
    const Json::Value saved = zolt_state::parse_document(text.str());
    std::set<std::string> names;
    for (const std::string& name : saved.getMemberNames()) names.insert(name);
    EXPECT_EQ(names, (std::set<std::string>{zolt_state::kFormatMember, table::port_config,
                                            table::mac_config_fdb_static,
                                            table::vlan_config_interface,
                                            table::syslog_config_server}));
    EXPECT_EQ(zolt_state::check(saved)[table::port_config], before[table::port_config]);
    std::remove(backup.c_str());

    const Json::Value as_json = zolt_state::to_json(result);
    EXPECT_EQ(as_json["failed"], true);
    EXPECT_EQ(as_json["done"], 2u);
    EXPECT_EQ(as_json["rollback"].size(), 2u);
    EXPECT_EQ(as_json["remaining"], Json::Value(Json::arrayValue));
}

TEST(StateApplyFailure, AClientFailureAndARollbackThatCannotRunAreReportedNotThrown) {
    // The document changes the password this very handle logs in with: the next call gets 401,
    // and so does every read and write of the rollback. The result says so; nothing is thrown.
    LoggedSwitch sw;
    Json::Value doc = document();
    doc[table::users_config_global].append(row("admin", field(key::Password, "changed")));
    doc[table::syslog_config_server] = field(key::Mode, true);
    const std::string backup = temporary_path("locked-out.json");
    const zolt_state::ApplyResult result = zolt_state::apply(sw.handle(), doc, false, backup);
    ASSERT_TRUE(result.failed);
    EXPECT_EQ(result.done, 1u);
    EXPECT_EQ(result.failure_code, 0) << "the client failed, not the switch";
    EXPECT_EQ(result.failure, std::string(method::syslog_config_server_set) +
                                  ": Network error, return code: 401 (HTTP status 401)");
    EXPECT_TRUE(result.rollback.empty());
    EXPECT_EQ(result.rollback_failures,
              (std::vector<std::string>{
                  "the rollback stopped: Network error, return code: 401 (HTTP status 401)",
                  "the switch could not be read to compare it with the backup: Network error, "
                  "return code: 401 (HTTP status 401)"}));
    EXPECT_FALSE(result.rollback_complete());
    EXPECT_TRUE(std::ifstream(backup).good()) << "the backup is there to restore by hand";
    std::remove(backup.c_str());
}

TEST(StateApplyFailure, ABackupThatCannotBeWrittenStopsBeforeAnyChange) {
    LoggedSwitch sw;
    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/2", field(key::MTU, 9000)));
    sw.clear();
    EXPECT_THROW_EXACT(zolt_state::apply(sw.handle(), doc, false, "/nonexistent/dir/b.json"),
                       zolt_state::BackupError,
                       "the backup /nonexistent/dir/b.json cannot be written");
    EXPECT_TRUE(sw.writes().empty());
}

// ---------------------------------------------------------------------------------------------
// Documents refused whole before any call.

TEST(StateDocument, ABadValueIsRefusedBeforeAnyCallNamingTableKeyAndField) {
    LoggedSwitch sw;
    sw.clear();
    struct Case {
        Json::Value doc;
        std::string message;
    };
    std::vector<Case> cases;
    auto with = [](const char* name, const Json::Value& member) {
        Json::Value doc = document();
        doc[name] = member;
        return doc;
    };
    Json::Value rows(Json::arrayValue);
    rows.append(row("Gi 1/1", field(key::MTU, 9000)));
    rows.append(row("Gi 1/2", field(key::MTU, -1)));
    cases.push_back({with(table::port_config, rows),
                     std::string(table::port_config) + ", key \"Gi 1/2\", field MTU: Unexpected type"});
    cases.push_back({with(table::port_config,
                          rows_of({row("Gi 1/1", field("Mtu", 1))})),
                     std::string(table::port_config) + ", key \"Gi 1/1\": no field \"Mtu\"; its "
                                                       "fields: Shutdown, "});
    cases.push_back({with(table::mac_config_global, field(key::AgeTime, "long")),
                     std::string(table::mac_config_global) + ", field AgeTime: Unexpected type"});
    // The codecs cut a number to its width without a word: the document is refused instead of
    // sending another value than it says.
    cases.push_back({with(table::vlan_config_interface_svl,
                          rows_of({row(70000, 1)})),
                     std::string(table::vlan_config_interface_svl) +
                         ", key 70000: 70000 does not fit its type (it would be sent as 4464)"});
    cases.push_back(
        {with(table::mac_config_fdb_static,
              rows_of({row(json(R"([1, "not a mac"])"), field(key::PortList, Json::Value()))})),
         std::string(table::mac_config_fdb_static) + R"(, key [1,"not a mac"]: Mac address is invalid)"});
    cases.push_back({with(table::mac_config_fdb_static,
                          rows_of({row(1, Json::Value())})),
                     std::string(table::mac_config_fdb_static) +
                         ", key 1: the key is an array of 2 members"});
    Json::Value twice(Json::arrayValue);
    twice.append(row("Gi 1/1", field(key::MTU, 9000)));
    twice.append(row("Gi 1/1", field(key::MTU, 9100)));
    cases.push_back({with(table::port_config, twice),
                     std::string(table::port_config) + ", key \"Gi 1/1\": the row appears twice"});
    cases.push_back({with(method::port_config_get, Json::Value(Json::arrayValue)),
                     std::string("\"") + method::port_config_get +
                         "\" is no configuration table"});
    cases.push_back({with(table::port_config, field(key::MTU, 1)),
                     std::string(table::port_config) +
                         ": a keyed table is an array of {\"key\", \"val\"} rows"});
    cases.push_back({json(R"({})"), "the document has no \"format\" member (this version reads 1)"});
    cases.push_back({json(R"({"format": 2})"), "format 2 is not supported (this version reads 1)"});

    for (const Case& c : cases) {
        const std::string what = zolt_test::runtime_error_of([&] { zolt_state::plan(sw.handle(), c.doc); });
        EXPECT_EQ(what.substr(0, c.message.size()), c.message) << what;
        EXPECT_THROW(zolt_state::apply(sw.handle(), c.doc, false, temporary_path("never.json")),
                     zolt_state::DocumentError);
    }
    EXPECT_TRUE(sw.methods().empty()) << "not even a read";
    EXPECT_FALSE(std::ifstream(temporary_path("never.json")).good());

    // One bad value among good ones refuses the whole document.
    Json::Value mixed = zolt_state::snapshot(sw.handle());
    mixed[table::mac_config_global][key::AgeTime] = 700;
    mixed[table::snmp_config_global][key::Mode] = "yes";
    sw.clear();
    EXPECT_THROW(zolt_state::apply(sw.handle(), mixed), zolt_state::DocumentError);
    EXPECT_TRUE(sw.methods().empty());
}

// ---------------------------------------------------------------------------------------------
// Differences, as text and as JSON.

TEST(StateDiff, EachKindOfDifferenceAsTextAndJson) {
    Json::Value before = document();
    before[table::mac_config_global] = field(key::AgeTime, 300);
    before[table::vlan_config_interface_svl].append(row(10, 1));
    before[table::vlan_config_interface_svl].append(row(20, 2));
    before[table::mac_config_fdb_static].append(
        row(json(kFdbKey), field(key::PortList, json(R"(["Gi 1/2"])"))));
    Json::Value after = document();
    after[table::mac_config_global] = field(key::AgeTime, 600);
    after[table::vlan_config_interface_svl].append(row(20, 5));
    after[table::vlan_config_interface_svl].append(row(30, 3));
    after[table::port_config].append(row("Gi 1/1", field(key::MTU, 9000)));

    const std::vector<Change> changes = zolt_state::diff(before, after);
    const std::string fdb = std::string(table::mac_config_fdb_static) + " " + kFdbKeyWritten;
    EXPECT_EQ(texts(changes),
              (std::vector<std::string>{
                  std::string("+ ") + table::port_config + " \"Gi 1/1\" {" + q(key::MTU) + ":9000}",
                  "- " + fdb + " {" + q(key::PortList) + ":[\"Gi 1/2\"]}",
                  std::string("~ ") + table::mac_config_global + " " + key::AgeTime +
                      ": 300 -> 600",
                  std::string("- ") + table::vlan_config_interface_svl + " 10 1",
                  std::string("~ ") + table::vlan_config_interface_svl + " 20 2 -> 5",
                  std::string("+ ") + table::vlan_config_interface_svl + " 30 3",
              }));

    const Json::Value as_json = zolt_state::to_json(changes);
    ASSERT_EQ(as_json.size(), 6u);
    EXPECT_EQ(text_of(as_json[2]),
              text_of(json(std::string(R"({"kind": "changed", "table": ")") +
                           table::mac_config_global + R"(", "field": ")" + key::AgeTime +
                           R"(", "before": 300, "after": 600})")));
    EXPECT_EQ(as_json[1]["kind"], "removed");
    EXPECT_EQ(as_json[1]["key"], json(kFdbKeyWritten));
    EXPECT_FALSE(as_json[1].isMember("after"));
    EXPECT_EQ(as_json[0]["kind"], "added");
    EXPECT_FALSE(as_json[0].isMember("before"));
    EXPECT_EQ(text_of(as_json[4]),
              text_of(json(std::string(R"({"kind": "changed", "table": ")") +
                           table::vlan_config_interface_svl +
                           R"(", "key": 20, "before": 2, "after": 5})")));

    EXPECT_TRUE(zolt_state::diff(before, before).empty());
    // A field only one side names is not compared: a partial row manages only its fields.
    Json::Value partial = document();
    partial[table::port_config].append(row("Gi 1/1", field(key::Shutdown, false)));
    Json::Value whole = document();
    Json::Value port = field(key::MTU, 1518);
    port[key::Shutdown] = false;
    whole[table::port_config].append(row("Gi 1/1", port));
    EXPECT_TRUE(zolt_state::diff(partial, whole).empty());
}

// ---------------------------------------------------------------------------------------------
// Every configuration table: one switch's state, changed by a write of every table (the
// generated sweep's adds and sets, without its deletes), taken to a fresh switch and back.

TEST(StateEveryTable, ASwitchsWholeConfigurationMovesToAnotherAndBack) {
    // The writes the engine itself would make: each table's own set and add (a table served by
    // two value types is kept in its first).
    std::set<std::string> config_tables;
    std::set<std::string> writes;
    for (std::size_t i = 0; i < zolt_state::kConfigTableCount; ++i) {
        const zolt_state::ConfigTable& t = zolt_state::kConfigTables[i];
        config_tables.insert(t.name);
        writes.insert(t.set->signature);
        if (t.add != nullptr) writes.insert(t.add->signature);
    }
    LoggedSwitch source;
    for (std::size_t i = 0; i < zolt_test::kSweepCount; ++i) {
        const zolt_test::SweepCall& call = zolt_test::kSweep[i];
        if (writes.count(call.signature) == 0) continue;
        Json::Value unused;
        const int code = zolt_tool::find_invoker(call.signature)
                             ->invoke(source.handle(), json(call.args), &unused);
        ASSERT_EQ(code, 0) << call.method;
    }
    const Json::Value wanted = zolt_state::snapshot(source.handle());

    LoggedSwitch target;
    const Json::Value fresh = zolt_state::snapshot(target.handle());
    std::set<std::string> changed;
    for (const Change& c : zolt_state::diff(fresh, wanted)) changed.insert(c.table);
    EXPECT_GE(changed.size(), config_tables.size() * 9 / 10)
        << "the sweep writes nearly every table";
    std::string unchanged;
    for (const std::string& name : config_tables) {
        if (changed.count(name) == 0) unchanged += " " + name;
    }
    RecordProperty("unchanged_tables", unchanged);

    const std::string backup = temporary_path("every-table.json");
    const zolt_state::ApplyResult forth = zolt_state::apply(target.handle(), wanted, true, backup);
    ASSERT_FALSE(forth.failed) << forth.failure;
    EXPECT_TRUE(zolt_state::diff(wanted, zolt_state::snapshot(target.handle())).empty());
    EXPECT_TRUE(zolt_state::plan(target.handle(), wanted, true).empty());
    // The simulators' own states agree, table by table.
    for (const std::string& name : config_tables) {
        EXPECT_EQ(target.rows(name), source.rows(name))
            << name;
    }

    // And back: the backup holds what the apply touched, as the fresh switch had it. Rows that
    // a set created in a table without a delete cannot be taken away: --replace refuses to
    // plan until the document keeps them, and then they are all that differs.
    std::ifstream in(backup);
    std::stringstream text;
    text << in.rdbuf();
    Json::Value saved = zolt_state::parse_document(text.str());
    EXPECT_THROW(zolt_state::plan(target.handle(), saved, true), zolt_state::PlanError);
    const Json::Value now = zolt_state::snapshot(target.handle());
    std::set<std::string> stuck;
    for (std::size_t i = 0; i < zolt_state::kConfigTableCount; ++i) {
        const zolt_state::ConfigTable& t = zolt_state::kConfigTables[i];
        if (t.key_count == 0 || t.del != nullptr || !saved.isMember(t.name)) continue;
        std::set<std::string> kept;
        for (const Json::Value& r : saved[t.name]) kept.insert(text_of(r["key"]));
        for (const Json::Value& r : now[t.name]) {
            if (kept.count(text_of(r["key"])) != 0) continue;
            saved[t.name].append(r);
            stuck.insert(t.name);
        }
    }
    const zolt_state::ApplyResult back = zolt_state::apply(target.handle(), saved, true, backup);
    ASSERT_FALSE(back.failed) << back.failure;
    std::set<std::string> added;
    for (const Change& c : zolt_state::diff(fresh, zolt_state::snapshot(target.handle()))) {
        EXPECT_EQ(c.kind, "added") << zolt_state::change_text(c);
        added.insert(c.table);
    }
    EXPECT_EQ(added, stuck);
    EXPECT_LT(stuck.size(), changed.size() / 2);
    std::remove(backup.c_str());
}

}  // namespace
