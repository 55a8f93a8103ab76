// The command line's configuration commands (zolt snapshot, diff, plan, apply) in-process against
// the simulator on a free port of 127.0.0.1: their output, their messages and their exit
// statuses (0 same or nothing to do, 1 the switch refused, 2 refused before anything was sent,
// 3 the client failed, 4 differences or changes, 5 a rollback that did not restore the backup).

#ifdef ZOLT_CLI_PROGRAM

#include <gtest/gtest.h>
#include <json/json.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/zolt.h"
#include "sim/names.h"
#include "state/state.h"
#include "state/tables.h"
#include "support/expect.h"
#include "support/logged_switch.h"

namespace {

namespace table = zolt_sim::table;
namespace method = zolt_sim::method;
namespace key = zolt_sim::key;
using zolt_test::json;
using zolt_test::LoggedSwitch;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string path_of(const std::string& name) {
    return "/tmp/zolt-cli-state-" + std::to_string(getpid()) + "-" + name;
}

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Writes `document` to a scratch file and returns its path.
std::string write(const std::string& name, const Json::Value& document) {
    const std::string path = path_of(name);
    std::ofstream(path) << document.toStyledString();
    return path;
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

class CliState : public ::testing::Test {
protected:
    explicit CliState(const std::string& fault = "none") : sw(fault) {}
    void TearDown() override {
        for (const std::string& path : scratch) std::remove(path.c_str());
    }

    Result zolt(std::vector<std::string> args) {
        std::vector<std::string> words = {"zolt",  "--url",      sw.url(), "--user",
                                          "admin", "--password", "admin"};
        words.insert(words.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(&w[0]);
        argv.push_back(nullptr);
        std::ostringstream out;
        std::ostringstream err;
        Result r;
        r.status = zolt_cli::run(static_cast<int>(words.size()), argv.data(), out, err);
        r.out = out.str();
        r.err = err.str();
        return r;
    }

    std::string file(const std::string& name, const Json::Value& document) {
        scratch.push_back(path_of(name));
        return write(name, document);
    }
    std::string scratch_path(const std::string& name) {
        scratch.push_back(path_of(name));
        return path_of(name);
    }

    LoggedSwitch sw;
    std::vector<std::string> scratch;
};

// A desired document: port "Gi 1/2" at MTU 9000.
Json::Value mtu_9000() {
    Json::Value doc = document();
    doc[table::port_config].append(row("Gi 1/2", field(key::MTU, 9000)));
    return doc;
}

TEST_F(CliState, SnapshotWritesTheDocumentOfEveryTableOrOfThePrefixesGiven) {
    const Result all = zolt({"snapshot"});
    ASSERT_EQ(all.status, 0) << all.err;
    EXPECT_EQ(all.err, "");
    const Json::Value doc = zolt_state::parse_document(all.out);
    EXPECT_EQ(doc.size(), zolt_state::kConfigTableCount + 1);
    EXPECT_EQ(all.out, zolt_state::document_text(zolt_state::check(doc)));
    EXPECT_EQ(all.out.rfind("{\n  \"format\": 1,\n", 0), 0u) << "the format comes first";

    const Result mac = zolt({"snapshot", "mac", table::port_config});
    ASSERT_EQ(mac.status, 0) << mac.err;
    const Json::Value some = zolt_state::parse_document(mac.out);
    for (const std::string& name : some.getMemberNames()) {
        EXPECT_TRUE(name == zolt_state::kFormatMember || name == table::port_config ||
                    name.rfind("mac.", 0) == 0)
            << name;
    }
    EXPECT_TRUE(some.isMember(table::mac_config_global));

    const Result none = zolt({"snapshot", "mac.con"});
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.err, "zolt: no configuration table under \"mac.con\"\n");
}

TEST_F(CliState, PlanSaysWhetherThereIsAnythingToDo) {
    const std::string desired = file("desired.json", mtu_9000());
    const Result changes = zolt({"plan", desired});
    EXPECT_EQ(changes.status, 4) << changes.err;
    const std::string line = changes.out.substr(0, changes.out.find('\n'));
    EXPECT_EQ(line.rfind(std::string("~ ") + method::port_config_set + " \"Gi 1/2\" {", 0), 0u)
        << line;
    EXPECT_NE(line.find(std::string("\"") + key::MTU + "\":9000"), std::string::npos) << line;
    EXPECT_EQ(changes.out.substr(line.size() + 1), "1 call planned\n");

    const Result as_json = zolt({"--output", "json", "plan", desired});
    EXPECT_EQ(as_json.status, 4);
    const Json::Value calls = json(as_json.out);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0]["kind"], "set");
    EXPECT_EQ(calls[0]["method"], method::port_config_set);
    EXPECT_EQ(calls[0]["args"][1][key::MTU], 9000);
    EXPECT_TRUE(sw.writes().empty()) << "plan sends nothing";

    const std::string current = file("current.json", document());
    EXPECT_EQ(zolt({"plan", current}).status, 0);
    const Result same = zolt({"plan", file("same.json", json(zolt({"snapshot"}).out))});
    EXPECT_EQ(same.status, 0) << same.err;
    EXPECT_EQ(same.out, "no changes\n");

    const Result refused = zolt({"plan", "--replace", desired});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err.rfind("zolt: " + desired +
                                    ": these rows are not in the document, and their tables "
                                    "have no delete:\n  " +
                                    table::port_config + ", key \"Gi 1/8\"\n",
                                0),
              0u)
        << refused.err;
}

TEST_F(CliState, DiffComparesTwoDocumentsOrOneWithTheSwitch) {
    const std::string before = file("before.json", json(zolt({"snapshot", "mac"}).out));
    Json::Value changed = json(slurp(before));
    changed[table::mac_config_global][key::AgeTime] = 600;
    const std::string after = file("after.json", changed);

    const Result same = zolt({"diff", before, before});
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "");
    const Result differ = zolt({"diff", before, after});
    EXPECT_EQ(differ.status, 4);
    EXPECT_EQ(differ.out, std::string("~ ") + table::mac_config_global + " " + key::AgeTime +
                              ": 300 -> 600\n");
    const Result as_json = zolt({"--output", "json", "diff", before, after});
    EXPECT_EQ(as_json.status, 4);
    EXPECT_EQ(json(as_json.out)[0]["after"], 600);

    // Against the switch: the tables the document names, as they are now.
    EXPECT_EQ(zolt({"diff", before}).status, 0);
    ASSERT_EQ(zolt({"apply", after, "--backup", scratch_path("diff-backup.json")}).status, 0);
    const Result drift = zolt({"diff", before});
    EXPECT_EQ(drift.status, 4);
    EXPECT_EQ(drift.out, differ.out);

    const Result bad = zolt({"diff", before, path_of("missing.json")});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.err, "zolt: " + path_of("missing.json") + ": cannot be read\n");
}

TEST_F(CliState, ApplyBacksUpChangesAndASecondApplyHasNothingToDo) {
    const std::string desired = file("desired.json", mtu_9000());
    const std::string backup = scratch_path("backup.json");
    const Result applied = zolt({"apply", desired, "--backup", backup});
    EXPECT_EQ(applied.status, 0) << applied.err;
    EXPECT_EQ(applied.out.rfind("backup: " + backup + "\n~ " + method::port_config_set, 0), 0u)
        << applied.out;
    const std::string last = "applied 1 call\n";
    EXPECT_EQ(applied.out.substr(applied.out.size() - last.size()), last);
    EXPECT_EQ(sw.writes(), (std::vector<std::string>{method::port_config_set}));
    const Json::Value saved = zolt_state::parse_document(slurp(backup));
    EXPECT_TRUE(saved.isMember(table::port_config));

    const Result again = zolt({"apply", desired, "--backup", backup});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.out, "no changes\n");
    EXPECT_EQ(sw.writes().size(), 1u);

    // A bad value: refused before any call, naming table, key and field.
    Json::Value bad = mtu_9000();
    bad[table::port_config][0]["val"][key::MTU] = "jumbo";
    const std::string bad_path = file("bad.json", bad);
    sw.clear();
    const Result refused = zolt({"apply", bad_path});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "zolt: " + bad_path + ": " + table::port_config +
                               ", key \"Gi 1/2\", field MTU: Unexpected type\n");
    EXPECT_TRUE(sw.methods().empty());

    std::ofstream(scratch_path("not-json.json")) << "{\"format\": 1,";
    const Result not_json = zolt({"plan", path_of("not-json.json")});
    EXPECT_EQ(not_json.status, 2);
    EXPECT_EQ(not_json.err.rfind("zolt: " + path_of("not-json.json") + ": not JSON: ", 0), 0u)
        << not_json.err;
}

class CliStateFault : public CliState {
protected:
    CliStateFault() : CliState(std::string("error:") + method::mac_config_global_set + ":5") {}
};

TEST_F(CliStateFault, AFailedApplyIsRolledBackAndReported) {
    Json::Value doc = mtu_9000();
    doc[table::mac_config_global] = field(key::AgeTime, 600);
    const std::string desired = file("desired.json", doc);
    const std::string backup = scratch_path("backup.json");
    const Result r = zolt({"apply", desired, "--backup", backup});
    EXPECT_EQ(r.status, 1);
    const std::string head = std::string("zolt: apply failed at call 2 of 2: ") +
                             method::mac_config_global_set +
                             ": the switch answered error code 5\n"
                             "zolt: rolled back to " +
                             backup + " with 1 call\n  ~ " + method::port_config_set + " \"Gi 1/2\" {";
    EXPECT_EQ(r.err.substr(0, head.size()), head);
    const std::string tail = "}\nzolt: the switch equals the backup again\n";
    EXPECT_EQ(r.err.substr(r.err.size() - tail.size()), tail);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 4);
    EXPECT_EQ(zolt({"diff", backup}).status, 0);
}

TEST_F(CliState, ARollbackThatCannotRestoreTheBackupExitsWith5) {
    Json::Value doc = document();
    doc[table::users_config_global].append(row("admin", field(key::Password, "changed")));
    doc[table::syslog_config_server] = field(key::Mode, true);
    const Result r = zolt({"apply", file("lockout.json", doc), "--backup",
                           scratch_path("lockout-backup.json")});
    EXPECT_EQ(r.status, 5);
    EXPECT_NE(r.err.find("zolt: rollback: the rollback stopped: Network error, return code: 401"),
              std::string::npos)
        << r.err;
}

}  // namespace

#endif  // ZOLT_CLI_PROGRAM
