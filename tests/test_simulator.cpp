// The switch simulator on a free port of 127.0.0.1, driven through the library's typed functions
// and, for what the library cannot send, through a plain HTTP client: its table rules, its
// counters, its refusals, its fault modes, its state file and its request log. That every typed
// function gets the answer the switch's state calls for is the generated sweep's part.

#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"
#include "sim/model.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/switch.h"
#include "support/test_server.h"

namespace {

using zolt_sim::Options;
using zolt_sim::Simulator;
using zolt_test::Switch;

const char kUser[] = "admin";
const char kPassword[] = "admin";

// The options of `zolt-switch-sim --fault TEXT`.
Options with_fault(const char* text) {
    Options options;
    options.fault = zolt_sim::parse_fault(text);
    EXPECT_EQ(zolt_sim::to_string(options.fault), text);
    return options;
}

// The raw exchange, for requests the library never sends.
struct Raw {
    int status = 0;
    std::string body;
    std::string www_authenticate;
    Json::Value answer;  // the parsed body, null when it is not JSON
};

Raw post(Simulator& simulator, const std::string& body, const char* user = kUser,
         const char* password = kPassword) {
    httplib::Client client("127.0.0.1", simulator.port());
    if (user != nullptr) client.set_basic_auth(user, password);
    Raw raw;
    httplib::Result result = client.Post("/json_rpc", body, "application/json");
    if (!result) return raw;
    raw.status = result->status;
    raw.body = result->body;
    raw.www_authenticate = result->get_header_value("WWW-Authenticate");
    Json::Reader().parse(raw.body, raw.answer, false);
    return raw;
}

Raw call(Simulator& simulator, const std::string& method, const std::string& params_json) {
    return post(simulator, "{\"id\":\"jsonrpc\",\"method\":\"" + method +
                               "\",\"params\":" + params_json + "}");
}

// The error object must carry exactly this code and message, and "result" must be null.
void expect_refusal(const Raw& raw, int code, const std::string& message) {
    EXPECT_EQ(raw.status, 200);
    ASSERT_TRUE(raw.answer.isObject()) << raw.body;
    EXPECT_TRUE(raw.answer.isMember("id")) << raw.body;
    ASSERT_TRUE(raw.answer.isMember("result")) << raw.body;
    EXPECT_TRUE(raw.answer["result"].isNull()) << raw.body;
    EXPECT_EQ(raw.answer["error"]["code"], Json::Value(code)) << raw.body;
    EXPECT_EQ(raw.answer["error"]["message"].asString(), message) << raw.body;
}

zolt_mac_t mac(unsigned char last) { return zolt_mac_t{{0x00, 0x1F, 0xA2, 0x0B, 0x3C, last}}; }

zolt_appl_mac_stack_addr_entry_conf_t on_ports(std::vector<std::string> ports) {
    zolt_appl_mac_stack_addr_entry_conf_t conf{};
    conf.PortList = std::move(ports);
    return conf;
}

using StaticMacs =
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_conf_t>;

std::vector<std::string> ports_of(void* handle, unsigned short vid, unsigned char last) {
    zolt_appl_mac_stack_addr_entry_conf_t entry{};
    EXPECT_EQ(zolt_mac_config_fdb_static_get(handle, vid, mac(last), &entry), 0);
    return entry.PortList;
}

std::string temporary_path(const char* name) {
    return testing::TempDir() + "zolt_sim_" + std::to_string(getpid()) + "_" + name;
}

// ---------------------------------------------------------------------------------------------
// Rows: add inserts and refuses an existing key (2); del removes and refuses a missing key (1);
// set does not create where add exists; get-all lists rows in key order.

// The static entries also show, as entries that were not learned, in the MAC status tables.
TEST(SimulatorTables, AddSetAndDelOfStaticMacEntries) {
    Switch sw;
    void* h = sw.handle();
    auto totals = [h] {
        zolt_appl_mac_table_stats_t counts{};
        EXPECT_EQ(zolt_mac_statistics_fdb_get(h, &counts), 0);
        return std::make_pair(counts.TotalStatic, counts.TotalDynamic);
    };
    EXPECT_EQ(zolt_mac_config_fdb_static_del(h, 1, mac(0xD4)), 1);
    EXPECT_EQ(zolt_mac_config_fdb_static_set(h, 1, mac(0xD4), on_ports({"Gi 1/1"})), 1)
        << "set does not create where add exists";
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 20, mac(0x02), on_ports({"Gi 1/2"})), 0);
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/5", "Gi 1/6"})), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/8"})), 2);
    EXPECT_EQ(ports_of(h, 1, 0xD4), (std::vector<std::string>{"Gi 1/5", "Gi 1/6"}))
        << "a refused add keeps the old value";
    ASSERT_EQ(zolt_mac_config_fdb_static_set(h, 1, mac(0xD4), on_ports({"Gi 1/3"})), 0);
    EXPECT_EQ(ports_of(h, 1, 0xD4), std::vector<std::string>{"Gi 1/3"});

    StaticMacs all;
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, &all), 0);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(std::get<0>(all.begin()->first), 1) << "rows in key order";
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t> status;
    ASSERT_EQ(zolt_mac_status_fdb_static_get(h, &status), 0);
    ASSERT_EQ(status.size(), 2u);
    EXPECT_EQ(status.begin()->second.PortList, std::vector<std::string>{"Gi 1/3"});
    EXPECT_EQ(status.begin()->second.Dynamic, 0);
    EXPECT_EQ(totals(), std::make_pair(2u, 6u)) << "one learned station per port with a link";

    ASSERT_EQ(zolt_mac_config_fdb_static_del(h, 1, mac(0xD4)), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_del(h, 1, mac(0xD4)), 1);
    EXPECT_EQ(totals(), std::make_pair(1u, 6u));
}

// ---------------------------------------------------------------------------------------------
// Counters of ports with a link grow with the switch's time; a clear starts them again.

TEST(SimulatorCounters, AdvanceWithTimeOnPortsWithALinkAndAClearStartsThemAgain) {
    zolt_test::ManualClock clock;
    Options options;
    options.clock = clock.source();
    Switch sw(options);
    auto read = [&sw](const char* port) {
        zolt_port_rmon_counters_t counters{};
        EXPECT_EQ(zolt_port_statistics_rmon_get(sw.handle(), port, &counters), 0);
        return counters;
    };
    const zolt_port_rmon_counters_t before = read("Gi 1/1");
    ASSERT_GT(before.RxOctets, 1000000u) << "a fresh switch has been up a while";
    EXPECT_EQ(read("Gi 1/1").RxOctets, before.RxOctets) << "no time, no traffic";
    clock.advance(std::chrono::seconds(1));
    const zolt_port_rmon_counters_t c = read("Gi 1/1");
    EXPECT_GT(c.RxOctets, before.RxOctets);
    EXPECT_GT(c.RxPkts, before.RxPkts);
    EXPECT_GT(c.TxOctets, before.TxOctets);
    EXPECT_GT(c.TxPkts, before.TxPkts);
    EXPECT_EQ(c.RxCrcAlignErrPkts, 0u) << "error counters stay at zero";
    EXPECT_EQ(read("Gi 1/4").RxOctets, 0u) << "a port without link carries nothing";
    const unsigned long long buckets = c.Rx64Pkts + c.Rx65to127Pkts + c.Rx128to255Pkts +
                                       c.Rx256to511Pkts + c.Rx512to1023Pkts + c.Rx1024to1518Pkts +
                                       c.Rx1519PktsToMax;
    EXPECT_LE(buckets, c.RxPkts + 1);
    EXPECT_GE(buckets + 6, c.RxPkts) << "the buckets add up to the total but for rounding";
    EXPECT_LT(c.RxBroadcastPkts, c.RxMulticastPkts);
    EXPECT_LT(c.RxPkts, c.RxOctets);

    const unsigned long long other = read("Gi 1/3").RxOctets;
    ASSERT_EQ(zolt_port_control_statistics_clear_set(sw.handle(), "Gi 1/1", true), 0);
    EXPECT_EQ(read("Gi 1/1").RxOctets, 0u);
    EXPECT_EQ(read("Gi 1/3").RxOctets, other) << "other ports are not cleared";
    clock.advance(std::chrono::seconds(1));
    EXPECT_GT(read("Gi 1/1").RxOctets, 0u) << "and counting starts again";
}

// ---------------------------------------------------------------------------------------------
// Refusals: HTTP authentication, then the JSON-RPC envelope, then the method and its params.

// Other HTTP methods get 405; wrong or missing credentials 401 with a challenge.
TEST(SimulatorRefusals, OtherHttpMethodsAndWrongOrMissingCredentials) {
    Simulator simulator;
    simulator.start();
    httplib::Client client("127.0.0.1", simulator.port());
    client.set_basic_auth(kUser, kPassword);
    httplib::Result result = client.Get("/");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 405);
    EXPECT_EQ(result->get_header_value("Allow"), "POST");
    for (const Raw& refused :
         {post(simulator, "{}", kUser, "wrong"), post(simulator, "{}", nullptr)}) {
        EXPECT_EQ(refused.status, 401);
        EXPECT_EQ(refused.www_authenticate, "Basic realm=\"zolt-switch-sim\"");
    }
}

zolt_appl_users_config_t plain_user(const std::string& password) {
    zolt_appl_users_config_t user{};
    user.Privilege = 15;
    user.Password = password;
    return user;
}

TEST(SimulatorRefusals, TheUsersTableDecidesWhoLogsIn) {
    Switch sw;
    void* h = sw.handle();
    // One call on a fresh connection: true when it logs in, false when it is refused with 401.
    auto logs_in = [&sw](const std::string& user, const std::string& password) {
        const rest_conn_t conn =
            zolt_test::make_conn(sw.simulator().url(), 5, user.c_str(), password.c_str());
        void* handle = zoltclient_init(&conn);
        zolt_appl_ssh_conf_t ssh{};
        const std::string thrown = zolt_test::runtime_error_of(
            [&] { EXPECT_EQ(zolt_ssh_config_global_get(handle, &ssh), 0); });
        zoltclient_deinit(handle);
        EXPECT_TRUE(thrown == "(no exception)" || thrown == "Network error, return code: 401")
            << thrown;
        return thrown == "(no exception)";
    };
    const std::string user = "operator";
    const std::string password = "s3cret:with \"colon\" \xc3\xa9";
    EXPECT_FALSE(logs_in(user, password));
    EXPECT_EQ(zolt_users_config_global_add(h, user, plain_user(password)), 0);
    EXPECT_TRUE(logs_in(user, password)) << "from the next connection on";
    EXPECT_FALSE(logs_in(user, password + "x"));
    EXPECT_FALSE(logs_in("Operator", password)) << "names are matched exactly";
    EXPECT_EQ(zolt_users_config_global_set(h, user, plain_user("n3w")), 0);
    EXPECT_FALSE(logs_in(user, password)) << "a new password replaces the old";
    EXPECT_TRUE(logs_in(user, "n3w"));
    EXPECT_EQ(zolt_users_config_global_del(h, user), 0);
    EXPECT_FALSE(logs_in(user, "n3w"));

    zolt_appl_users_config_t guest = plain_user("guest");
    guest.Encrypted = true;
    EXPECT_EQ(zolt_users_config_global_add(h, "guest", guest), 0);
    EXPECT_FALSE(logs_in("guest", "guest")) << "an encrypted password is no plain one";
}

TEST(SimulatorRefusals, ABadEnvelopeMethodOrParamCountGetsItsErrorCode) {
    Simulator simulator;
    simulator.start();
    const std::string kNotJson = "Parse error: the body is not JSON";
    const struct {
        std::string body;
        int code;
        std::string message;
    } kCases[] = {
        {"{\"id\":1,", -32700, kNotJson},
        {std::string(100000, '['), -32700, kNotJson},
        {"[1]", -32600, "Invalid request: the body must be a JSON object"},
        {R"({"id":1,"params":[]})", -32600, "Invalid request: \"method\" must be a string"},
        {R"({"id":1,"method":"port.config.get"})", -32600,
         "Invalid request: \"params\" must be an array"},
        {R"({"id":1,"method":"port.config.gte","params":[]})", -32601,
         "Method not found: port.config.gte"},
        {R"({"id":1,"method":"","params":[]})", -32601, "Method not found: "},
        {R"({"id":1,"method":"port.config.get","params":["Gi 1/1",2]})", -32602,
         "port.config.get takes 0 or 1 params, got 2"},
        {R"({"id":1,"method":"port.config.set","params":["Gi 1/1"]})", -32602,
         "port.config.set takes 2 params, got 1"},
        {R"({"id":1,"method":"mac.config.global.get","params":[1]})", -32602,
         "mac.config.global.get takes 0 params, got 1"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.body.substr(0, 60));
        expect_refusal(post(simulator, c.body), c.code, c.message);
    }
    // The id is echoed whatever it is, null when there is none to read.
    EXPECT_TRUE(post(simulator, "{\"id\":1,").answer["id"].isNull());
    EXPECT_EQ(post(simulator, R"({"id":[1,"a"],"method":"nope","params":[]})").answer["id"],
              zolt_test::json(R"([1,"a"])"));
    EXPECT_TRUE(post(simulator, R"({"method":"nope","params":[]})").answer["id"].isNull());
}

TEST(SimulatorRefusals, AValueThatDoesNotFitItsTypeNamesMethodParamAndReason) {
    Switch sw;
    Simulator& simulator = sw.simulator();
    Raw raw = call(simulator, "port.config.get", R"([1])");
    expect_refusal(raw, -32602, "port.config.get: param 1: expected a string, got an integer");

    // The checker's reason (its own tests have them all), after the method, the param and the
    // member that carry the value.
    Json::Value conf = call(simulator, "port.config.get", R"(["Gi 1/1"])").answer["result"];
    ASSERT_TRUE(conf.isObject());
    conf["MTU"] = "1500";
    expect_refusal(call(simulator, "port.config.set", "[\"Gi 1/1\"," + conf.toStyledString() + "]"),
                   -32602,
                   "port.config.set: param 2: member \"MTU\": expected an integer, got a string");

    // Nothing refused reached the state.
    zolt_appl_port_mib_conf_t now{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/1", &now), 0);
    EXPECT_EQ(now.MTU, 10240u);
}

// ---------------------------------------------------------------------------------------------
// Fault modes.

// What the library makes of each is the engine's part (test_engine.cpp).
TEST(SimulatorFaults, HtmlDropAndBadStatusMarkEveryAnswer) {
    const struct {
        const char* fault;
        int status;  // 0: the connection closes without an answer
        const char* start;
    } kCases[] = {{"html500", 500, "<!DOCTYPE html>"}, {"drop", 0, ""}, {"status:404", 404, "{"}};
    for (const auto& c : kCases) {
        Switch sw(with_fault(c.fault));
        for (int attempt = 0; attempt < 2; ++attempt) {
            const Raw raw = call(sw.simulator(), "port.config.get", R"(["Gi 1/1"])");
            EXPECT_EQ(raw.status, c.status) << "attempt " << attempt;
            EXPECT_EQ(raw.body.rfind(c.start, 0), 0u) << raw.body;
        }
    }
    Switch sw(with_fault("html500"));
    EXPECT_EQ(post(sw.simulator(), "{}", kUser, "wrong").status, 401) << "authentication first";
}

TEST(SimulatorFaults, AFixedServerStatusKeepsTheJsonAnswerWhichTheLibraryReads) {
    Switch sw(with_fault("status:503"));
    zolt_appl_port_mib_conf_t conf{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.MTU, 10240u);
    EXPECT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/99", &conf), 1);
    EXPECT_EQ(post(sw.simulator(), "{}").status, 503);
}

TEST(SimulatorFaults, LatencyDelaysEveryAnswer) {
    Switch sw(with_fault("latency:20"));
    zolt_appl_mac_age_conf_t age{};
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(zolt_mac_config_global_get(sw.handle(), &age), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
    EXPECT_EQ(age.AgeTime, 300u);
}

TEST(SimulatorFaults, FaultTextsOutOfTheirRangeAreRefused) {
    EXPECT_THROW_EXACT(zolt_sim::parse_fault("status:99"), std::invalid_argument,
                       "bad number in fault \"status:99\" (200 to 599)");
    EXPECT_THROW_EXACT(zolt_sim::parse_fault("latency:"), std::invalid_argument,
                       "bad number in fault \"latency:\" (0 to 600000)");
    EXPECT_THROW_EXACT(zolt_sim::parse_fault("slow"), std::invalid_argument,
                       "unknown fault \"slow\"; expected none, latency:MS, html500, drop or "
                       "status:N");
}

// ---------------------------------------------------------------------------------------------
// The state file: loaded at start if present, saved at stop.

// The counters too: restored as they read at the stop, they count on from there.
TEST(SimulatorStateFile, WhatWasSetSurvivesARestart) {
    const std::string path = temporary_path("state.json");
    std::remove(path.c_str());
    zolt_test::ManualClock clock;
    Options options;
    options.state_file = path;
    options.clock = clock.source();
    zolt_port_rmon_counters_t counted{};
    {
        Switch sw(options);
        zolt_appl_port_mib_conf_t conf{};
        ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/4", &conf), 0);
        conf.MTU = 1518;
        ASSERT_EQ(zolt_port_config_set(sw.handle(), "Gi 1/4", conf), 0);
        ASSERT_EQ(zolt_mac_config_fdb_static_add(sw.handle(), 1, mac(0x77), on_ports({"Gi 1/4"})),
                  0);
        ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &counted), 0);
    }
    ASSERT_TRUE(std::ifstream(path).good()) << "saved at stop";
    clock.advance(std::chrono::hours(1));
    {
        Switch sw(options);
        zolt_appl_port_mib_conf_t conf{};
        ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/4", &conf), 0);
        EXPECT_EQ(conf.MTU, 1518u);
        EXPECT_EQ(ports_of(sw.handle(), 1, 0x77), std::vector<std::string>{"Gi 1/4"});
        zolt_port_rmon_counters_t restored{};
        ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &restored), 0);
        EXPECT_EQ(restored.RxOctets, counted.RxOctets) << "the hour off counts nothing";
        clock.advance(std::chrono::seconds(1));
        ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &restored), 0);
        EXPECT_GT(restored.RxOctets, counted.RxOctets);
    }
    std::remove(path.c_str());
}

TEST(SimulatorStateFile, AFileThatDoesNotFitTheSchemaStopsTheStart) {
    const std::string path = temporary_path("bad_state.json");
    Options options;
    options.state_file = path;
    const struct {
        const char* text;
        std::string message;
    } kCases[] = {
        {R"({"tables":{"port.config":[{"key":["Gi 1/1"],"val":{"MTU":"big"}}]}})",
         ": table port.config, row 1: missing member \"Shutdown\""},
        {R"({"tables":{"no.such.table":[]}})", ": unknown table \"no.such.table\""},
    };
    for (const auto& c : kCases) {
        std::ofstream(path) << c.text;
        Simulator simulator(options);
        EXPECT_THROW_EXACT(simulator.start(), std::runtime_error, "state file " + path + c.message);
    }
    std::remove(path.c_str());
}

// ---------------------------------------------------------------------------------------------
// The request log: one line per request, over one kept-alive connection, never credentials.

TEST(SimulatorLog, OneLinePerRequestWithoutCredentialsOrSecretsOverOneConnection) {
    Options options;
    options.password = "TopSecret99";
    options.log = true;
    std::vector<std::string> lines;
    options.log_sink = [&lines](const std::string& line) { lines.push_back(line); };
    {
        Simulator simulator(options);
        simulator.start();
        const rest_conn_t conn =
            zolt_test::make_conn(simulator.url(), 5, kUser, options.password.c_str());
        void* handle = zoltclient_init(&conn);
        zolt_appl_port_mib_conf_t conf{};
        EXPECT_EQ(zolt_port_config_get(handle, "Gi 1/1", &conf), 0);
        EXPECT_EQ(zolt_port_config_get(handle, "Gi 1/99", &conf), 1);
        EXPECT_EQ(zolt_port_config_set(handle, "Gi 1/1", conf), 0);
        for (int code : {0, 2}) {
            EXPECT_EQ(zolt_users_config_global_add(handle, "op", plain_user("UserPw-4711")), code);
        }
        zoltclient_deinit(handle);
        simulator.stop();
    }
    const char* const kExpected[] = {"\"port.config.get\" params=1 error=0 -> 200",
                                     "\"port.config.get\" params=1 error=1 -> 200",
                                     "\"port.config.set\" params=2 error=0 -> 200",
                                     "\"users.config.global.add\" params=2 error=0 -> 200",
                                     "\"users.config.global.add\" params=2 error=2 -> 200"};
    ASSERT_EQ(lines.size(), 5u);
    const std::string peer = lines[0].substr(0, lines[0].find(' '));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        EXPECT_NE(line.find(kExpected[i]), std::string::npos) << line;
        for (const char* secret : {"TopSecret99", "Basic", "UserPw-4711"}) {
            EXPECT_EQ(line.find(secret), std::string::npos) << line;
        }
        EXPECT_EQ(line.substr(0, line.find(' ')), peer) << "one kept-alive connection";
    }
}

}  // namespace
