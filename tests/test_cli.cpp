// The command line `zolt` against the simulator on a free port of 127.0.0.1: run in-process
// through zolt_cli::run for most cases, and as the built program where the process itself
// matters (environment, standard streams, exit status, the completion script in bash).

#ifdef ZOLT_CLI_PROGRAM

#include <gtest/gtest.h>
#include <json/json.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/catalog.h"
#include "cli/zolt.h"
#include "sim/simulator.h"
#include "support/cli_sweep.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_test::json;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

Result run_in_process(const std::vector<std::string>& args) {
    std::vector<std::string> words = {"zolt"};
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

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// A word as the shell reads it literally.
std::string quoted(const std::string& word) {
    std::string out = "'";
    for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Runs `argv` (argv[0] a path) with exactly the environment `env` and standard input empty.
Result run_process(const std::vector<std::string>& argv, const std::vector<std::string>& env) {
    const std::string err_path = testing::TempDir() + "zolt-cli-err-" + std::to_string(getpid());
    std::string command = "env -i";
    for (const std::string& word : env) command += " " + quoted(word);
    for (const std::string& word : argv) command += " " + quoted(word);
    FILE* pipe = popen((command + " </dev/null 2>" + quoted(err_path)).c_str(), "r");
    Result r;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        r.out.append(buffer, n);
    const int status = pclose(pipe);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.err = slurp(err_path);
    unlink(err_path.c_str());
    return r;
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override { sim.start(); }

    // zolt with the simulator's URL and account, then `args`.
    Result zolt(std::vector<std::string> args) {
        std::vector<std::string> all = {"--url", sim.url(),    "--user",
                                        "admin", "--password", "admin"};
        all.insert(all.end(), args.begin(), args.end());
        return run_in_process(all);
    }

    zolt_sim::Simulator sim;
};

// The exit status and exactly this on standard error.
void expect_exit(const Result& r, int status, const std::string& err) {
    EXPECT_EQ(r.status, status) << r.err;
    EXPECT_EQ(r.err, err);
}

// --- what the catalog holds ------------------------------------------------------------------

TEST_F(Cli, MethodsListsAndDescribeShowsTheOverloadsWithTheFieldsAndTextsOfTheirTypes) {
    const Result filtered = run_in_process({"methods", "port.config"});
    ASSERT_EQ(filtered.status, 0);
    EXPECT_EQ(filtered.out,
              "port.config.get\tkeyed get\tstring\tzolt_appl_port_mib_conf_t\n"
              "port.config.get\tget-all\t-\tmap<string, zolt_appl_port_mib_conf_t>\n"
              "port.config.set\tset\tstring, zolt_appl_port_mib_conf_t\t-\n");

    const Result r = run_in_process({"describe", "port.config.set"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("port.config.set\n  1: set, zolt_port_config_set(string, "
                         "zolt_appl_port_mib_conf_t)\n"),
              0u)
        << r.out;
    EXPECT_NE(r.out.find("record zolt_appl_port_mib_conf_t\n  Shutdown           bool\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("  MTU                u32\n"), std::string::npos);
    EXPECT_NE(r.out.find("enumeration zolt_appl_port_media_t\n  \"rj45\"\n"), std::string::npos);
    const Result blind = run_in_process({"describe", "ipmc-snooping.config.interface.port.get"});
    ASSERT_EQ(blind.status, 0);
    EXPECT_NE(blind.out.find("  4: keyed get,"), std::string::npos) << blind.out;
}

// --- call: what each shape prints ------------------------------------------------------------

TEST_F(Cli, CallPrintsPrettyJsonInDeclaredOrderOrNothing) {
    // Declared order, not by name: Mode before Address.
    Result r = zolt({"call", "syslog.config.server.get"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out,
              "{\n  \"Mode\": false,\n  \"Address\": \"\",\n  \"Level\": \"informational\"\n}\n");
    r = zolt({"call", "ntp.config.global.get"});
    EXPECT_EQ(r.out, "true\n") << "a scalar, bare";
    r = zolt({"call", "mac.config.fdb.static.add", "1", "02:00:00:00:00:07",
              R"({"PortList":["Gi 1/3", "Gi 1/4"]})"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    r = zolt({"call", "mac.config.fdb.static.get"});
    EXPECT_EQ(r.out,
              "[\n  {\n    \"key\": [\n      1,\n      \"02:00:00:00:00:07\"\n    ],\n"
              "    \"val\": {\n      \"PortList\": [\n        \"Gi 1/3\",\n        \"Gi 1/4\"\n"
              "      ]\n    }\n  }\n]\n");
    // The switch's refusals exit with 1, print nothing and name the method and the code.
    r = zolt({"call", "mac.config.fdb.static.add", "1", "02:00:00:00:00:07", "{\"PortList\":[]}"});
    expect_exit(r, 1, "zolt: mac.config.fdb.static.add: the switch answered error code 2\n");
}

TEST_F(Cli, ThePrettyOutputIsAnArgumentAgain) {
    Json::Value conf = json(zolt({"call", "port.config.get", "Gi 1/2"}).out);
    conf["MTU"] = 1600;
    Result set = zolt({"call", "port.config.set", "Gi 1/2", conf.toStyledString()});
    ASSERT_EQ(set.status, 0) << set.err;
    const Result again = zolt({"call", "port.config.get", "Gi 1/2"});
    EXPECT_EQ(json(again.out)["MTU"].asInt(), 1600);
    set = zolt({"call", "port.config.set", "Gi 1/3", again.out});
    ASSERT_EQ(set.status, 0) << set.err;
    EXPECT_EQ(zolt({"call", "port.config.get", "Gi 1/3"}).out, again.out);
}

TEST_F(Cli, OutputTableAlignsColumnsAndFieldLines) {
    Result r = zolt({"--output", "table", "call", "port.config.get"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::istringstream lines(r.out);
    std::string header;
    std::string first;
    std::getline(lines, header);
    std::getline(lines, first);
    EXPECT_EQ(header.rfind("key     Shutdown  Speed ", 0), 0u) << header;
    EXPECT_EQ(first.rfind("Gi 1/1  false     ", 0), 0u) << first;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 9) << "a header and one line per port";
    EXPECT_EQ(header.find("MTU"), first.find("10240")) << "columns line up";

    r = zolt({"--output", "table", "call", "syslog.config.server.get"});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "Mode     false\nAddress  \nLevel    informational\n");

    r = zolt({"--output", "table", "call", "vlan.status.membership.get", "1", "combined"});
    EXPECT_EQ(r.out.rfind("Gi 1/1\nGi 1/2\n", 0), 0u) << r.out;
}

// --- edit ----------------------------------------------------------------------------------

TEST_F(Cli, EditChangesOnlyTheNamedFields) {
    const Json::Value before = json(zolt({"call", "port.config.get", "Gi 1/3"}).out);
    Result r = zolt({"edit", "port.config", "Gi 1/3", "MTU=9000", "Shutdown=true"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    Json::Value expected = before;
    expected["MTU"] = 9000;
    expected["Shutdown"] = true;
    EXPECT_EQ(json(zolt({"call", "port.config.get", "Gi 1/3"}).out).toStyledString(),
              expected.toStyledString());
    EXPECT_EQ(json(zolt({"call", "port.config.get", "Gi 1/4"}).out).toStyledString(),
              before.toStyledString())
        << "other rows stay as they were";

    // A singleton: no keys.
    r = zolt({"edit", "syslog.config.server", "Address=192.0.2.9", "Level=error"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(zolt({"call", "syslog.config.server.get"}).out,
              "{\n  \"Mode\": false,\n  \"Address\": \"192.0.2.9\",\n  \"Level\": \"error\"\n}\n");
}

// --- exit statuses and messages ----------------------------------------------------------------

TEST_F(Cli, UsageErrorsExitWithTwoAndSayWhatIsWrong) {
    const std::string kUnknown = "zolt: unknown method \"port.nothing.get\" (see zolt methods)\n";
    expect_exit(zolt({"call", "port.nothing.get"}), 2, kUnknown);
    expect_exit(zolt({"describe", "port.nothing.get"}), 2, kUnknown);
    expect_exit(zolt({"call", "port.config.get", "Gi 1/1", "Gi 1/2"}), 2,
                "zolt: port.config.get: no overload takes 2 arguments (it takes 0 or 1)\n");
    expect_exit(zolt({"call", "port.config.get", "7"}), 2,
                "zolt: port.config.get: argument 1 (string): Unexpected type\n");
    expect_exit(
        zolt({"call", "syslog.config.server.set", R"({"Mode":1,"Address":"","Level":"error"})"}), 2,
        "zolt: syslog.config.server.set: argument 1 (zolt_appl_syslog_server_conf_t): Unexpected "
        "type\n");
    expect_exit(
        zolt({"call", "mac.config.fdb.static.del", "1", "02:00:00"}), 2,
        "zolt: mac.config.fdb.static.del: argument 2 (zolt_mac_t): Mac address is invalid\n");
    expect_exit(zolt({"call", "--overload", "3", "port.config.get"}), 2,
                "zolt: port.config.get: there is no overload 3 (it has 2)\n");
    expect_exit(zolt({"call", "--overload", "1", "port.config.get"}), 2,
                "zolt: port.config.get: overload 1 takes 1 arguments, not 0\n");
    expect_exit(run_in_process({"call", "port.config.get"}), 2,
                "zolt: no switch given: use --url URL or set ZOLT_URL\n");
    expect_exit(zolt({"call"}), 2, "zolt: call: no METHOD given\n");
    expect_exit(zolt({"edit"}), 2, "zolt: edit: no TABLE given\n");
    expect_exit(zolt({"edit", "port.status", "Gi 1/1", "Link=true"}), 2,
                "zolt: \"port.status\" is no table whose records can be read and written back\n");
    expect_exit(zolt({"edit", "port.config", "Gi 1/1", "MTU=9000", "FC"}), 2,
                "zolt: port.config: \"FC\" is no FIELD=VALUE\n");
    expect_exit(zolt({"completion", "zsh"}), 2,
                "zolt: completion: only bash is supported, not \"zsh\"\n");
    expect_exit(zolt({"--timeout", "-1", "call", "port.config.get"}), 2,
                "zolt: --timeout must not be negative\n");
    expect_exit(run_in_process({"--url", std::string(2084, 'u'), "call", "port.config.get"}), 2,
                "zolt: --url is longer than 2083 bytes\n");
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"frobnicate"}, {"--output", "yaml", "methods"}}) {
        const Result r = zolt(args);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err.rfind("zolt: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find("\nRun 'zolt --help' for more information.\n"), std::string::npos)
            << r.err;
    }
}

TEST_F(Cli, EditWritesNothingWhenAFieldIsRefused) {
    const std::string before = zolt({"call", "port.config.get", "Gi 1/5"}).out;
    // The first field is fine, the second does not decode: nothing is written.
    expect_exit(zolt({"edit", "port.config", "Gi 1/5", "MTU=9000", "Speed=warp"}), 2,
                "zolt: port.config: field Speed (zolt_appl_port_speed_t): out-of-range-enum\n");
    expect_exit(zolt({"edit", "port.config", "Gi 1/5", "MTU=x"}), 2,
                "zolt: port.config: field MTU (u32): Unexpected type\n");
    expect_exit(zolt({"edit", "port.config", "Gi 1/5", "MTU=9000", "Mtu=1"}), 2,
                "zolt: port.config: zolt_appl_port_mib_conf_t has no field \"Mtu\"; its fields: "
                "Shutdown, Speed, AdvertiseDisabled, MediaType, FC, MTU, ExcessiveRestart, PFC, "
                "FrameLengthCheck\n");
    EXPECT_EQ(zolt({"call", "port.config.get", "Gi 1/5"}).out, before);
    expect_exit(zolt({"edit", "port.config", "Gi 1/5"}), 2,
                "zolt: port.config: no FIELD=VALUE given\n");
    expect_exit(zolt({"edit", "port.config", "MTU=1"}), 2,
                "zolt: port.config: its rows take 1 keys, not 0\n");
    // A row the switch does not have: the get's code, and no set.
    expect_exit(zolt({"edit", "port.config", "Gi 9/9", "MTU=9000"}), 1,
                "zolt: port.config.get: the switch answered error code 1\n");
}

TEST_F(Cli, VersionBlindOverloadsTakeTheFirstThatDecodesOrTheOneNamed) {
    // An IPv6 record does not decode as the IPv4 one listed first, so the second add is taken.
    const std::string v6 = R"({"AdminState":true,"QuerierElection":false,"Compatibility":"mldv2",)"
                           R"("Priority":1,"Rv":2,"Qi":125,"Qri":100,"Llqi":10,"Uri":1})";
    Result r = zolt({"call", "ipmc-snooping.config.interface.vlan.add", "VLAN 10", v6});
    ASSERT_EQ(r.status, 0) << r.err;
    // A record that neither type takes: the first overload's refusal is reported.
    r = zolt(
        {"call", "ipmc-snooping.config.interface.vlan.add", "VLAN 11", R"({"AdminState":true})"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err,
              "zolt: ipmc-snooping.config.interface.vlan.add: argument 2 "
              "(zolt_appl_ipmc_snp_ipv4_interface_t): Unexpected type\n");
    // Both gets take one string: the first is called unless another is named.
    r = zolt({"call", "--overload", "4", "ipmc-snooping.config.interface.vlan.get", "VLAN 10"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(json(r.out)["Compatibility"].asString(), "mldv2");
    r = zolt({"call", "ipmc-snooping.config.interface.vlan.get", "VLAN 10"});
    EXPECT_EQ(r.status, 3) << "the IPv4 record's decoder meets the IPv6 row: " << r.err;
}

TEST(CliClient, ClientFailuresExitWithThreeAndTheLibrarysText) {
    zolt_test::TestServer server;
    const std::vector<std::string> get = {"--url", server.url(), "call", "port.config.get",
                                          "Gi 1/1"};
    server.respond(200, "<html>not json</html>");
    expect_exit(run_in_process(get), 3,
                "zolt: Failed to parse! (HTTP status 200, body: <html>not json</html>)\n");
    server.respond(404, "gone");
    expect_exit(run_in_process(get), 3,
                "zolt: Network error, return code: 404 (HTTP status 404)\n");
    // An error without an integer code.
    server.respond_error(R"("busy")");
    expect_exit(run_in_process(get), 1,
                "zolt: port.config.get: the switch answered error code -1\n");
    // The account given is the one sent.
    run_in_process({"--url", server.url(), "--user", "ops", "--password", "pw", "call",
                    "port.config.get", "Gi 1/1"});
    EXPECT_EQ(server.last().authorization, "Basic b3BzOnB3");  // ops:pw
}

// --- the program itself -----------------------------------------------------------------------

TEST_F(Cli, TheProgramTakesItsConnectionFromTheEnvironment) {
    const std::string program = ZOLT_CLI_PROGRAM;
    const std::vector<std::string> env = {"ZOLT_URL=" + sim.url(), "ZOLT_USER=admin",
                                          "ZOLT_PASSWORD=admin", "ZOLT_TIMEOUT=5"};
    Result r = run_process({program, "call", "port.config.get", "Gi 1/1"}, env);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(json(r.out)["MTU"].asInt(), 10240);
    EXPECT_EQ(r.err, "");

    // A flag wins over the environment.
    expect_exit(
        run_process({program, "--password", "wrong", "call", "port.config.get", "Gi 1/1"}, env), 3,
        "zolt: Network error, return code: 401 (HTTP status 401)\n");
    r = run_process({program, "call", "port.config.get", "Gi 1/1"},
                    {"ZOLT_URL=" + sim.url(), "ZOLT_USER=admin", "ZOLT_PASSWORD=nope"});
    EXPECT_EQ(r.status, 3);
    r = run_process({program, "call", "port.config.get"},
                    {"ZOLT_URL=" + sim.url(), "ZOLT_TIMEOUT=soon"});
    EXPECT_EQ(r.status, 2) << r.err;

    r = run_process({program, "--help"}, {});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("zolt call port.config.get \"Gi 1/1\""), std::string::npos) << r.out;
}

TEST(CliCompletion, TheBashScriptLoadsAndCompletes) {
    const std::string program = ZOLT_CLI_PROGRAM;
    const std::string script =
        "source <(\"$1\" completion bash) || exit 9\n"
        "complete -p zolt || exit 8\n"
        "COMP_WORDS=(zolt ca); COMP_CWORD=1; _zolt; echo \"commands: ${COMPREPLY[*]}\"\n"
        "COMP_WORDS=(zolt --output table call port.config.g); COMP_CWORD=4; _zolt\n"
        "echo \"methods: ${COMPREPLY[*]}\"\n"
        "COMP_WORDS=(zolt edit port.conf); COMP_CWORD=2; _zolt; echo \"tables: ${COMPREPLY[*]}\"\n";
    const Result r = run_process({"/bin/bash", "-c", script, "bash", program}, {});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("complete -F _zolt zolt\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("commands: call\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("methods: port.config.get\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("tables: port.config\n"), std::string::npos) << r.out;
}

// --- every typed function ------------------------------------------------------------------

// The generated sweep: every overload of the schema called through `zolt call`, its overload
// named, with sample arguments. A write comes before the reads of its table, so a read after a
// write must succeed.
TEST_F(Cli, EveryTypedFunctionIsReachableThroughCall) {
    ASSERT_EQ(zolt_test::kCliSweepCount, zolt_cli::kOverloadCount);
    std::set<std::pair<std::string, std::size_t>> reached;
    std::set<std::string> written;
    for (std::size_t i = 0; i < zolt_test::kCliSweepCount; ++i) {
        const zolt_test::CliCall& call = zolt_test::kCliSweep[i];
        const std::string shape = call.shape;
        const std::string method = call.method;
        const std::string table = method.substr(0, method.rfind('.'));
        SCOPED_TRACE(method + " overload " + std::to_string(call.overload));
        reached.insert({method, call.overload});
        std::vector<std::string> args = {"call", "--overload", std::to_string(call.overload),
                                         method};
        for (std::size_t a = 0; a < call.arg_count; ++a) args.push_back(call.args[a]);
        const Result r = zolt(args);

        if (r.status == 3) {
            // Tables with three- or four-member keys, or key-only tables, read only while empty.
            EXPECT_EQ(shape, "get_all");
            EXPECT_EQ(r.err.rfind("zolt: not implemented (at result[0].", 0), 0u) << r.err;
            continue;
        }
        ASSERT_NE(r.status, 2) << r.err;
        // add and del may meet a row or none; a read of a table written before must succeed.
        const bool must_succeed = shape == "set" || shape == "bare" || shape == "get_all" ||
                                  shape == "singleton_get" ||
                                  (shape != "add" && shape != "del" && written.count(table) != 0);
        if (shape == "add" || shape == "set") written.insert(table);
        EXPECT_TRUE(r.status == 0 || (r.status == 1 && !must_succeed)) << r.err;
        const bool has_output = shape != "bare" && shape != "set" && shape != "add" &&
                                shape != "del" && shape != "exists";
        if (r.status == 0 && has_output) {
            Json::Value parsed;
            EXPECT_TRUE(Json::Reader().parse(r.out, parsed, false)) << r.out;
        } else {
            EXPECT_EQ(r.out, "");
        }
    }
    EXPECT_EQ(reached.size(), zolt_cli::kOverloadCount) << "every overload once";
}

}  // namespace

#endif  // ZOLT_CLI_PROGRAM
