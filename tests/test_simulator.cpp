// The switch simulator on a free port of 127.0.0.1, driven through the library's typed functions
// and, for what the library cannot send, through a plain HTTP client: its state rules, its seed,
// its counters, its refusals, its fault modes, its state file and its request log.

#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_sim::Fault;
using zolt_sim::Options;
using zolt_sim::Simulator;

const char kUser[] = "admin";
const char kPassword[] = "admin";

Options options_with(Fault::Kind kind = Fault::Kind::none, int value = 0) {
    Options options;
    options.fault.kind = kind;
    options.fault.value = value;
    return options;
}

// A running simulator and one library handle on it. The handle is closed before the simulator
// stops, as an application would.
class Switch {
public:
    explicit Switch(Options options = Options()) : simulator_(std::move(options)) {
        simulator_.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator_.url(), 5, kUser, kPassword);
        handle_ = zoltclient_init(&conn);
    }
    ~Switch() {
        zoltclient_deinit(handle_);
        simulator_.stop();
    }
    Switch(const Switch&) = delete;
    Switch& operator=(const Switch&) = delete;

    void* handle() const { return handle_; }
    Simulator& simulator() { return simulator_; }

private:
    Simulator simulator_;
    void* handle_ = nullptr;
};

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

Json::Value array_of(std::initializer_list<Json::Value> members) {
    Json::Value array(Json::arrayValue);
    for (const Json::Value& member : members) array.append(member);
    return array;
}

zolt_mac_t mac(unsigned char last) { return zolt_mac_t{{0x00, 0x1F, 0xA2, 0x0B, 0x3C, last}}; }

zolt_appl_mac_stack_addr_entry_conf_t on_ports(std::vector<std::string> ports) {
    zolt_appl_mac_stack_addr_entry_conf_t conf{};
    conf.PortList = std::move(ports);
    return conf;
}

std::string temporary_path(const char* name) {
    return testing::TempDir() + "zolt_sim_" + std::to_string(getpid()) + "_" + name;
}

// ---------------------------------------------------------------------------------------------
// A fresh switch: ports from the port count, defaults for singletons, the realistic overlay.

TEST(SimulatorSeed, EveryPortKeyedTableHasOneRowPerPort) {
    Options options;
    options.ports = 3;
    Switch sw(options);
    std::map<std::string, zolt_appl_port_mib_conf_t> config;
    ASSERT_EQ(zolt_port_config_get(sw.handle(), &config), 0);
    ASSERT_EQ(config.size(), 3u);
    EXPECT_EQ(config.begin()->first, "Gi 1/1");
    EXPECT_EQ(config.rbegin()->first, "Gi 1/3");
    EXPECT_EQ(config["Gi 1/2"].Speed, zolt_appl_port_speed_autoNegMode);
    EXPECT_EQ(config["Gi 1/2"].MTU, 10240u);

    std::map<std::string, zolt_lacp_port_conf_t> lacp;
    ASSERT_EQ(zolt_lacp_config_interface_get(sw.handle(), &lacp), 0);
    EXPECT_EQ(lacp.size(), 3u);
}

TEST(SimulatorSeed, TablesWhoseRowsTheUserCreatesStartEmpty) {
    Switch sw;
    std::map<std::string, zolt_appl_vcl_generic_conf_global_t> subnets;
    ASSERT_EQ(zolt_vcl_config_ip_get(sw.handle(), &subnets), 0);
    EXPECT_TRUE(subnets.empty());
    std::map<std::string, zolt_aggr_group_status_t> groups;
    ASSERT_EQ(zolt_aggregation_status_group_get(sw.handle(), &groups), 0);
    EXPECT_TRUE(groups.empty());
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_conf_t> macs;
    ASSERT_EQ(zolt_mac_config_fdb_static_get(sw.handle(), &macs), 0);
    EXPECT_TRUE(macs.empty());
}

TEST(SimulatorSeed, DefaultVlanLinksAndProtocolTimersLookLikeARealSwitch) {
    Switch sw;
    zolt_appl_vlan_name_t name{};
    ASSERT_EQ(zolt_vlan_config_global_name_get(sw.handle(), 1, &name), 0);
    EXPECT_EQ(name.Name, "default");

    std::vector<std::string> members;
    ASSERT_EQ(
        zolt_vlan_status_membership_get(sw.handle(), 1, zolt_appl_vlan_user_combined, &members), 0);
    EXPECT_EQ(members.size(), 8u);

    zolt_appl_vlan_port_conf_t vlan{};
    ASSERT_EQ(zolt_vlan_config_interface_get(sw.handle(), "Gi 1/5", &vlan), 0);
    EXPECT_EQ(vlan.Mode, zolt_appl_vlan_port_mode_access);
    EXPECT_EQ(vlan.AccessVlan, 1);

    zolt_appl_port_mib_status_t up{};
    zolt_appl_port_mib_status_t down{};
    ASSERT_EQ(zolt_port_status_get(sw.handle(), "Gi 1/1", &up), 0);
    ASSERT_EQ(zolt_port_status_get(sw.handle(), "Gi 1/4", &down), 0);
    EXPECT_TRUE(up.Link);
    EXPECT_EQ(up.Speed, zolt_port_speed_s1G);
    EXPECT_FALSE(down.Link);
    EXPECT_EQ(down.Speed, zolt_port_speed_undefined);

    zolt_appl_mac_age_conf_t age{};
    ASSERT_EQ(zolt_mac_config_global_get(sw.handle(), &age), 0);
    EXPECT_EQ(age.AgeTime, 300u);
}

TEST(SimulatorSeed, SingletonsWithoutOverlayHoldTheSchemaDefault) {
    Switch sw;
    zolt_aggr_mode_t mode{};
    mode.SmacAddr = true;  // must be overwritten by the answer
    ASSERT_EQ(zolt_aggregation_config_mode_get(sw.handle(), &mode), 0);
    EXPECT_FALSE(mode.SmacAddr);
    EXPECT_FALSE(mode.TcpOrUdpSportAndDportNo);
}

// ---------------------------------------------------------------------------------------------
// set replaces the whole value; what was set is what a get (keyed or get-all) returns.

TEST(SimulatorState, PortConfigurationSetThenGet) {
    Switch sw;
    zolt_appl_port_mib_conf_t conf{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/2", &conf), 0);
    conf.Shutdown = true;
    conf.Speed = zolt_appl_port_speed_force100ModeFdx;
    conf.FC = zolt_appl_port_fc_on;
    conf.MTU = 9216;
    conf.PFC = 0x81;
    ASSERT_EQ(zolt_port_config_set(sw.handle(), "Gi 1/2", conf), 0);

    zolt_appl_port_mib_conf_t again{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/2", &again), 0);
    EXPECT_TRUE(again.Shutdown);
    EXPECT_EQ(again.Speed, zolt_appl_port_speed_force100ModeFdx);
    EXPECT_EQ(again.FC, zolt_appl_port_fc_on);
    EXPECT_EQ(again.MTU, 9216u);
    EXPECT_EQ(again.PFC, 0x81);

    std::map<std::string, zolt_appl_port_mib_conf_t> all;
    ASSERT_EQ(zolt_port_config_get(sw.handle(), &all), 0);
    EXPECT_EQ(all["Gi 1/2"].MTU, 9216u);
    EXPECT_EQ(all["Gi 1/1"].MTU, 10240u) << "other ports keep their value";
}

TEST(SimulatorState, VlanInterfaceSetThenGetKeepsListsInOrder) {
    Switch sw;
    zolt_appl_vlan_port_conf_t conf{};
    ASSERT_EQ(zolt_vlan_config_interface_get(sw.handle(), "Gi 1/7", &conf), 0);
    conf.Mode = zolt_appl_vlan_port_mode_trunk;
    conf.TrunkNativeVlan = 10;
    conf.TrunkTagNativeVlan = true;
    conf.TrunkVlans = {30, 10, 20};
    conf.HybridEgressTagging = zolt_appl_vlan_tx_tag_type_tagAll;
    ASSERT_EQ(zolt_vlan_config_interface_set(sw.handle(), "Gi 1/7", conf), 0);

    zolt_appl_vlan_port_conf_t again{};
    ASSERT_EQ(zolt_vlan_config_interface_get(sw.handle(), "Gi 1/7", &again), 0);
    EXPECT_EQ(again.Mode, zolt_appl_vlan_port_mode_trunk);
    EXPECT_EQ(again.TrunkNativeVlan, 10);
    EXPECT_TRUE(again.TrunkTagNativeVlan);
    EXPECT_EQ(again.TrunkVlans, (std::vector<unsigned short>{30, 10, 20}));
    EXPECT_EQ(again.HybridEgressTagging, zolt_appl_vlan_tx_tag_type_tagAll);
}

TEST(SimulatorState, SingletonSetThenGet) {
    Switch sw;
    zolt_appl_mac_age_conf_t age{};
    age.AgeTime = 42;
    ASSERT_EQ(zolt_mac_config_global_set(sw.handle(), age), 0);
    zolt_appl_mac_age_conf_t again{};
    ASSERT_EQ(zolt_mac_config_global_get(sw.handle(), &again), 0);
    EXPECT_EQ(again.AgeTime, 42u);
}

TEST(SimulatorState, SetCreatesARowInATableWithoutAdd) {
    Switch sw;
    zolt_appl_vlan_name_t name{};
    EXPECT_EQ(zolt_vlan_config_global_name_get(sw.handle(), 20, &name), 1);
    name.Name = "voice";
    ASSERT_EQ(zolt_vlan_config_global_name_set(sw.handle(), 20, name), 0);
    std::map<unsigned short, zolt_appl_vlan_name_t> names;
    ASSERT_EQ(zolt_vlan_config_global_name_get(sw.handle(), &names), 0);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[1].Name, "default");
    EXPECT_EQ(names[20].Name, "voice");
}

TEST(SimulatorState, ScalarAndListGetsAnswerTheBareValue) {
    Switch sw;
    unsigned short fid = 0;
    EXPECT_EQ(zolt_vlan_config_interface_svl_get(sw.handle(), 100, &fid), 1);
    ASSERT_EQ(zolt_vlan_config_interface_svl_add(sw.handle(), 100, 7), 0);
    ASSERT_EQ(zolt_vlan_config_interface_svl_get(sw.handle(), 100, &fid), 0);
    EXPECT_EQ(fid, 7);

    bool enabled = true;
    ASSERT_EQ(zolt_gvrp_config_interface_set(sw.handle(), 3, false), 0);
    ASSERT_EQ(zolt_gvrp_config_interface_get(sw.handle(), 3, &enabled), 0);
    EXPECT_FALSE(enabled);
}

// ---------------------------------------------------------------------------------------------
// add inserts and refuses an existing key (2); del removes and refuses a missing key (1);
// set in a table that has add does not create (1); get-all lists rows in key order.

TEST(SimulatorTables, StaticMacEntriesAddListAndDelete) {
    Switch sw;
    void* h = sw.handle();
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 20, mac(0x02), on_ports({"Gi 1/2"})), 0);
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/5", "Gi 1/6"})), 0);
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0x01), on_ports({"Gi 1/1"})), 0);

    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_conf_t> all;
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, &all), 0);
    ASSERT_EQ(all.size(), 3u);
    auto first = all.begin();
    EXPECT_EQ(std::get<0>(first->first), 1);
    EXPECT_EQ(std::get<1>(first->first).addr[5], 0x01);
    EXPECT_EQ(all.rbegin()->second.PortList, std::vector<std::string>{"Gi 1/2"});

    zolt_appl_mac_stack_addr_entry_conf_t one{};
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, 1, mac(0xD4), &one), 0);
    EXPECT_EQ(one.PortList, (std::vector<std::string>{"Gi 1/5", "Gi 1/6"}));

    ASSERT_EQ(zolt_mac_config_fdb_static_del(h, 1, mac(0xD4)), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_get(h, 1, mac(0xD4), &one), 1);
    all.clear();
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, &all), 0);
    EXPECT_EQ(all.size(), 2u);
}

TEST(SimulatorTables, DuplicateAddIsRefusedWithCode2AndKeepsTheOldValue) {
    Switch sw;
    void* h = sw.handle();
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/5"})), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/8"})), 2);
    zolt_appl_mac_stack_addr_entry_conf_t one{};
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, 1, mac(0xD4), &one), 0);
    EXPECT_EQ(one.PortList, std::vector<std::string>{"Gi 1/5"});
}

TEST(SimulatorTables, DeleteOfAMissingEntryIsRefusedWithCode1) {
    Switch sw;
    EXPECT_EQ(zolt_mac_config_fdb_static_del(sw.handle(), 1, mac(0xEE)), 1);
    ASSERT_EQ(zolt_mac_config_fdb_static_add(sw.handle(), 1, mac(0xEE), on_ports({})), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_del(sw.handle(), 1, mac(0xEE)), 0);
    EXPECT_EQ(zolt_mac_config_fdb_static_del(sw.handle(), 1, mac(0xEE)), 1);
}

TEST(SimulatorTables, SetDoesNotCreateWhereAddExistsButReplacesAnExistingRow) {
    Switch sw;
    void* h = sw.handle();
    EXPECT_EQ(zolt_mac_config_fdb_static_set(h, 1, mac(0x10), on_ports({"Gi 1/1"})), 1);
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0x10), on_ports({"Gi 1/1"})), 0);
    ASSERT_EQ(zolt_mac_config_fdb_static_set(h, 1, mac(0x10), on_ports({"Gi 1/3"})), 0);
    zolt_appl_mac_stack_addr_entry_conf_t one{};
    ASSERT_EQ(zolt_mac_config_fdb_static_get(h, 1, mac(0x10), &one), 0);
    EXPECT_EQ(one.PortList, std::vector<std::string>{"Gi 1/3"});
}

TEST(SimulatorTables, StaticEntriesShowInTheMacStatusTables) {
    Switch sw;
    void* h = sw.handle();
    ASSERT_EQ(zolt_mac_config_fdb_static_add(h, 1, mac(0xD4), on_ports({"Gi 1/5"})), 0);
    std::map<std::tuple<unsigned short, zolt_mac_t>, zolt_appl_mac_stack_addr_entry_t> status;
    ASSERT_EQ(zolt_mac_status_fdb_static_get(h, &status), 0);
    ASSERT_EQ(status.size(), 1u);
    EXPECT_EQ(status.begin()->second.PortList, std::vector<std::string>{"Gi 1/5"});
    EXPECT_EQ(status.begin()->second.Dynamic, 0);

    zolt_appl_mac_table_stats_t counts{};
    ASSERT_EQ(zolt_mac_statistics_fdb_get(h, &counts), 0);
    EXPECT_EQ(counts.TotalStatic, 1u);
    EXPECT_EQ(counts.TotalDynamic, 6u) << "one learned station per port with a link";

    ASSERT_EQ(zolt_mac_config_fdb_static_del(h, 1, mac(0xD4)), 0);
    status.clear();
    ASSERT_EQ(zolt_mac_status_fdb_static_get(h, &status), 0);
    EXPECT_TRUE(status.empty());
}

TEST(SimulatorTables, TupleKeyedGetAllRowsCarryTheKeyAsAnArray) {
    Switch sw;
    std::map<std::tuple<std::string, int>, zolt_appl_port_prio_counter_t> queues;
    ASSERT_EQ(zolt_port_statistics_queues_get(sw.handle(), &queues), 0);
    EXPECT_EQ(queues.size(), 8u * 8u);
    EXPECT_EQ(std::get<0>(queues.begin()->first), "Gi 1/1");
    EXPECT_EQ(std::get<1>(queues.begin()->first), 0);
    EXPECT_EQ(queues.count(std::make_tuple(std::string("Gi 1/8"), 7)), 1u);

    std::map<std::tuple<std::string, zolt_appl_vlan_user_t>, zolt_appl_vlan_port_detailed_conf_t>
        detailed;
    ASSERT_EQ(zolt_vlan_status_interface_get(sw.handle(), &detailed), 0);
    const auto found =
        detailed.find(std::make_tuple(std::string("Gi 1/3"), zolt_appl_vlan_user_combined));
    ASSERT_NE(found, detailed.end());
    EXPECT_EQ(found->second.Pvid, 1);

    const Raw raw = call(sw.simulator(), "port.statistics.queues.get", "[]");
    ASSERT_TRUE(raw.answer["result"].isArray());
    EXPECT_EQ(raw.answer["result"][0u]["key"], array_of({"Gi 1/1", 0}))
        << "a two-member key is an array: " << raw.body.substr(0, 200);
    const Raw plain = call(sw.simulator(), "port.config.get", "[]");
    EXPECT_EQ(plain.answer["result"][0u]["key"], Json::Value("Gi 1/1"));
}

// ---------------------------------------------------------------------------------------------
// Counters of ports with a link grow while the simulator runs; a clear starts them again.

TEST(SimulatorCounters, AdvanceBetweenTwoReadsOnPortsWithALink) {
    Switch sw;
    zolt_port_rmon_counters_t before{};
    zolt_port_rmon_counters_t after{};
    zolt_port_rmon_counters_t idle{};
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &before), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &after), 0);
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/4", &idle), 0);
    EXPECT_GT(after.RxOctets, before.RxOctets);
    EXPECT_GT(after.RxPkts, before.RxPkts);
    EXPECT_GT(after.TxOctets, before.TxOctets);
    EXPECT_GT(after.TxPkts, before.TxPkts);
    EXPECT_EQ(after.RxCrcAlignErrPkts, 0u) << "error counters stay at zero";
    EXPECT_EQ(idle.RxOctets, 0u) << "a port without link carries nothing";

    zolt_port_if_group_counters_t if_before{};
    zolt_port_if_group_counters_t if_after{};
    ASSERT_EQ(zolt_port_statistics_if_group_get(sw.handle(), "Gi 1/2", &if_before), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_EQ(zolt_port_statistics_if_group_get(sw.handle(), "Gi 1/2", &if_after), 0);
    EXPECT_GT(if_after.RxUnicastPkts, if_before.RxUnicastPkts);
}

TEST(SimulatorCounters, PacketCountsAgreeWithEachOther) {
    Switch sw;
    zolt_port_rmon_counters_t c{};
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/3", &c), 0);
    const unsigned long long buckets = c.Rx64Pkts + c.Rx65to127Pkts + c.Rx128to255Pkts +
                                       c.Rx256to511Pkts + c.Rx512to1023Pkts + c.Rx1024to1518Pkts +
                                       c.Rx1519PktsToMax;
    EXPECT_LE(buckets, c.RxPkts + 1);
    EXPECT_GE(buckets + 6, c.RxPkts) << "the buckets add up to the total but for rounding";
    EXPECT_LT(c.RxBroadcastPkts, c.RxMulticastPkts);
    EXPECT_LT(c.RxPkts, c.RxOctets);
}

TEST(SimulatorCounters, ClearStartsThePortsCountersAgain) {
    Switch sw;
    zolt_port_rmon_counters_t before{};
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &before), 0);
    ASSERT_GT(before.RxOctets, 1000000u) << "a fresh switch has been up a while";
    ASSERT_EQ(zolt_port_control_statistics_clear_set(sw.handle(), "Gi 1/1", true), 0);
    zolt_port_rmon_counters_t after{};
    zolt_port_rmon_counters_t other{};
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/1", &after), 0);
    ASSERT_EQ(zolt_port_statistics_rmon_get(sw.handle(), "Gi 1/3", &other), 0);
    EXPECT_LT(after.RxOctets, before.RxOctets);
    EXPECT_GT(other.RxOctets, before.RxOctets) << "other ports keep counting";
}

// ---------------------------------------------------------------------------------------------
// Refusals: HTTP authentication, then the JSON-RPC envelope, then the method and its params.

TEST(SimulatorRefusals, WrongOrMissingCredentialsGet401WithAChallenge) {
    Simulator simulator;
    simulator.start();
    const Raw wrong = post(simulator, "{}", kUser, "wrong");
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(wrong.www_authenticate, "Basic realm=\"zolt-switch-sim\"");
    const Raw other_user = post(simulator, "{}", "root", kPassword);
    EXPECT_EQ(other_user.status, 401);
    const Raw missing = post(simulator, "{}", nullptr);
    EXPECT_EQ(missing.status, 401);
    EXPECT_EQ(missing.www_authenticate, "Basic realm=\"zolt-switch-sim\"");

    const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 5, kUser, "wrong");
    void* handle = zoltclient_init(&conn);
    zolt_appl_port_mib_conf_t conf{};
    EXPECT_THROW_EXACT(zolt_port_config_get(handle, "Gi 1/1", &conf), std::runtime_error,
                       "Network error, return code: 401");
    zoltclient_deinit(handle);
}

TEST(SimulatorRefusals, ConfiguredCredentialsAreTheOnesAccepted) {
    Options options;
    options.user = "operator";
    options.password = "s3cret:with colon";
    Simulator simulator(options);
    simulator.start();
    EXPECT_EQ(post(simulator, "{}", kUser, kPassword).status, 401);
    const Raw ok = post(simulator, R"({"id":1,"method":"mac.config.global.get","params":[]})",
                        "operator", "s3cret:with colon");
    EXPECT_EQ(ok.status, 200);
    EXPECT_TRUE(ok.answer["error"].isNull());
}

TEST(SimulatorRefusals, MalformedJsonIsAParseError) {
    Simulator simulator;
    simulator.start();
    expect_refusal(post(simulator, "{\"id\":1,"), -32700, "Parse error: the body is not JSON");
    expect_refusal(post(simulator, ""), -32700, "Parse error: the body is not JSON");
    expect_refusal(post(simulator, "{} trailing"), -32700, "Parse error: the body is not JSON");
    expect_refusal(post(simulator, std::string(100000, '[')), -32700,
                   "Parse error: the body is not JSON");
    EXPECT_TRUE(post(simulator, "{\"id\":1,").answer["id"].isNull());
}

TEST(SimulatorRefusals, AnEnvelopeWithoutStringMethodAndArrayParamsIsInvalid) {
    Simulator simulator;
    simulator.start();
    expect_refusal(post(simulator, "[1]"), -32600,
                   "Invalid request: the body must be a JSON object");
    expect_refusal(post(simulator, R"({"id":1,"params":[]})"), -32600,
                   "Invalid request: \"method\" must be a string");
    expect_refusal(post(simulator, R"({"id":1,"method":7,"params":[]})"), -32600,
                   "Invalid request: \"method\" must be a string");
    expect_refusal(post(simulator, R"({"id":1,"method":"port.config.get"})"), -32600,
                   "Invalid request: \"params\" must be an array");
    expect_refusal(post(simulator, R"({"id":1,"method":"port.config.get","params":{}})"), -32600,
                   "Invalid request: \"params\" must be an array");
}

TEST(SimulatorRefusals, TheRequestIdIsEchoedWhateverItIs) {
    Simulator simulator;
    simulator.start();
    EXPECT_EQ(post(simulator, R"({"id":"jsonrpc","method":"mac.config.global.get","params":[]})")
                  .answer["id"],
              Json::Value("jsonrpc"));
    EXPECT_EQ(post(simulator, R"({"id":[1,2],"method":"nope","params":[]})").answer["id"],
              array_of({1, 2}));
    EXPECT_TRUE(post(simulator, R"({"method":"nope","params":[]})").answer["id"].isNull());
}

TEST(SimulatorRefusals, UnknownMethod) {
    Switch sw;
    expect_refusal(call(sw.simulator(), "port.config.gte", "[]"), -32601,
                   "Method not found: port.config.gte");
    expect_refusal(call(sw.simulator(), "", "[]"), -32601, "Method not found: ");
}

TEST(SimulatorRefusals, WrongNumberOfParamsNamesTheCountsAccepted) {
    Simulator simulator;
    simulator.start();
    expect_refusal(call(simulator, "port.config.get", R"(["Gi 1/1", 2])"), -32602,
                   "port.config.get takes 0 or 1 params, got 2");
    expect_refusal(call(simulator, "port.config.set", R"(["Gi 1/1"])"), -32602,
                   "port.config.set takes 2 params, got 1");
    expect_refusal(call(simulator, "mac.config.global.get", R"([1])"), -32602,
                   "mac.config.global.get takes 0 params, got 1");
}

TEST(SimulatorRefusals, AValueThatDoesNotFitItsTypeNamesMethodParamAndReason) {
    Switch sw;
    Simulator& simulator = sw.simulator();
    Raw raw = call(simulator, "port.config.get", R"([1])");
    expect_refusal(raw, -32602, "port.config.get: param 1: expected a string, got an integer");

    // A full record with one bad member: a string where the u32 MTU is, an enumeration text
    // the schema does not have, a member missing.
    Json::Value conf = call(simulator, "port.config.get", R"(["Gi 1/1"])").answer["result"];
    ASSERT_TRUE(conf.isObject());
    Json::StreamWriterBuilder writer;
    auto set_with = [&](const char* member, const Json::Value& value) {
        Json::Value bad = conf;
        bad[member] = value;
        return call(simulator, "port.config.set",
                    "[\"Gi 1/1\"," + Json::writeString(writer, bad) + "]");
    };
    expect_refusal(set_with("MTU", "1500"), -32602,
                   "port.config.set: param 2: member \"MTU\": expected an integer, got a string");
    expect_refusal(set_with("Speed", "force40GModeFdx"), -32602,
                   "port.config.set: param 2: member \"Speed\": \"force40GModeFdx\" is not a text "
                   "of zolt_appl_port_speed_t");
    expect_refusal(set_with("PFC", 256), -32602,
                   "port.config.set: param 2: member \"PFC\": 256 is out of range for unsigned "
                   "char (0..255)");
    expect_refusal(set_with("Extra", 1), -32602,
                   "port.config.set: param 2: unknown member \"Extra\" in "
                   "zolt_appl_port_mib_conf_t");
    Json::Value partial = conf;
    partial.removeMember("FC");
    expect_refusal(call(simulator, "port.config.set",
                        "[\"Gi 1/1\"," + Json::writeString(writer, partial) + "]"),
                   -32602, "port.config.set: param 2: missing member \"FC\"");
    expect_refusal(
        call(simulator, "mac.config.fdb.static.add", R"([1, "00:1F:A2:0B:3C", {"PortList":[]}])"),
        -32602, "mac.config.fdb.static.add: param 2: \"00:1F:A2:0B:3C\" is not a MAC address");
    expect_refusal(
        call(simulator, "mac.config.fdb.static.add", R"([70000, "00:1F:A2:0B:3C:D4", {}])"),
        -32602, "mac.config.fdb.static.add: param 1: 70000 is out of range for unsigned short "
                "(0..65535)");

    // Nothing refused reached the state.
    zolt_appl_port_mib_conf_t now{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/1", &now), 0);
    EXPECT_EQ(now.MTU, 10240u);
}

TEST(SimulatorRefusals, AcceptedValuesAreStoredInTheSwitchsOwnForm) {
    Simulator simulator;
    simulator.start();
    const Raw added =
        call(simulator, "mac.config.fdb.static.add", R"([1, "0:1f:a2:b:3c:d4", {"PortList":[]}])");
    ASSERT_TRUE(added.answer["error"].isNull()) << added.body;
    const Raw listed = call(simulator, "mac.config.fdb.static.get", "[]");
    EXPECT_EQ(listed.answer["result"][0u]["key"][1u], Json::Value("00:1F:A2:0B:3C:D4"));
}

TEST(SimulatorRefusals, OtherHttpMethodsGet405) {
    Simulator simulator;
    simulator.start();
    httplib::Client client("127.0.0.1", simulator.port());
    client.set_basic_auth(kUser, kPassword);
    httplib::Result result = client.Get("/");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 405);
    EXPECT_EQ(result->get_header_value("Allow"), "POST");
}

TEST(SimulatorRefusals, ARefusalThroughTheLibraryIsTheReturnCode) {
    Switch sw;
    zolt_appl_port_mib_conf_t conf{};
    conf.MTU = 77;
    EXPECT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/99", &conf), 1);
    EXPECT_EQ(conf.MTU, 77u) << "the output is untouched";
}

// ---------------------------------------------------------------------------------------------
// Fault modes, as the library sees them.

TEST(SimulatorFaults, Html500MakesTheLibraryFailToParse) {
    Switch sw(options_with(Fault::Kind::html500));
    zolt_appl_port_mib_conf_t conf{};
    EXPECT_THROW_EXACT(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), std::runtime_error,
                       "Failed to parse!");
    const Raw raw = post(sw.simulator(), R"({"id":1,"method":"port.config.get","params":[]})");
    EXPECT_EQ(raw.status, 500);
    EXPECT_EQ(raw.body.rfind("<!DOCTYPE html>", 0), 0u);
    EXPECT_EQ(post(sw.simulator(), "{}", kUser, "wrong").status, 401) << "authentication first";
}

TEST(SimulatorFaults, DropMakesThePostFail) {
    Switch sw(options_with(Fault::Kind::drop));
    zolt_appl_port_mib_conf_t conf{};
    EXPECT_THROW_EXACT(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), std::runtime_error,
                       "Post error");
    EXPECT_THROW_EXACT(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), std::runtime_error,
                       "Post error")
        << "and again on the next call";
}

TEST(SimulatorFaults, AFixedStatusOutsideTheAcceptedRangesIsANetworkError) {
    Switch sw(options_with(Fault::Kind::status, 404));
    zolt_appl_port_mib_conf_t conf{};
    EXPECT_THROW_EXACT(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), std::runtime_error,
                       "Network error, return code: 404");
}

TEST(SimulatorFaults, AFixedServerStatusKeepsTheJsonAnswerWhichTheLibraryReads) {
    Switch sw(options_with(Fault::Kind::status, 503));
    zolt_appl_port_mib_conf_t conf{};
    ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.MTU, 10240u);
    EXPECT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/99", &conf), 1);
    EXPECT_EQ(post(sw.simulator(), "{}").status, 503);
}

TEST(SimulatorFaults, LatencyDelaysEveryAnswer) {
    Switch sw(options_with(Fault::Kind::latency, 150));
    zolt_appl_mac_age_conf_t age{};
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(zolt_mac_config_global_get(sw.handle(), &age), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(150));
    EXPECT_EQ(age.AgeTime, 300u);
}

TEST(SimulatorFaults, FaultTextsParseAndPrintBack) {
    for (const char* text : {"none", "latency:250", "html500", "drop", "status:404"}) {
        EXPECT_EQ(zolt_sim::to_string(zolt_sim::parse_fault(text)), text);
    }
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

TEST(SimulatorStateFile, WhatWasSetSurvivesARestart) {
    const std::string path = temporary_path("state.json");
    std::remove(path.c_str());
    Options options;
    options.state_file = path;
    {
        Switch sw(options);
        zolt_appl_port_mib_conf_t conf{};
        ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/4", &conf), 0);
        conf.MTU = 1518;
        ASSERT_EQ(zolt_port_config_set(sw.handle(), "Gi 1/4", conf), 0);
        ASSERT_EQ(zolt_mac_config_fdb_static_add(sw.handle(), 1, mac(0x77), on_ports({"Gi 1/4"})),
                  0);
    }
    ASSERT_TRUE(std::ifstream(path).good()) << "saved at stop";
    {
        Switch sw(options);
        zolt_appl_port_mib_conf_t conf{};
        ASSERT_EQ(zolt_port_config_get(sw.handle(), "Gi 1/4", &conf), 0);
        EXPECT_EQ(conf.MTU, 1518u);
        zolt_appl_mac_stack_addr_entry_conf_t entry{};
        ASSERT_EQ(zolt_mac_config_fdb_static_get(sw.handle(), 1, mac(0x77), &entry), 0);
        EXPECT_EQ(entry.PortList, std::vector<std::string>{"Gi 1/4"});
    }
    std::remove(path.c_str());
}

TEST(SimulatorStateFile, AFileThatDoesNotFitTheSchemaStopsTheStart) {
    const std::string path = temporary_path("bad_state.json");
    {
        std::ofstream out(path);
        out << R"({"tables":{"port.config":[{"key":["Gi 1/1"],"val":{"MTU":"big"}}]}})";
    }
    Options options;
    options.state_file = path;
    Simulator simulator(options);
    EXPECT_THROW_EXACT(simulator.start(), std::runtime_error,
                       "state file " + path +
                           ": table port.config, row 1: missing member \"Shutdown\"");

    {
        std::ofstream out(path);
        out << R"({"tables":{"no.such.table":[]}})";
    }
    Simulator other(options);
    EXPECT_THROW_EXACT(other.start(), std::runtime_error,
                       "state file " + path + ": unknown table \"no.such.table\"");
    std::remove(path.c_str());
}

// ---------------------------------------------------------------------------------------------
// The request log: one line per request, over one kept-alive connection, never credentials.

TEST(SimulatorLog, OneLinePerRequestWithoutCredentialsOverOneConnection) {
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
        zoltclient_deinit(handle);
        simulator.stop();
    }
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find("\"port.config.get\" params=1 error=0 -> 200"), std::string::npos)
        << lines[0];
    EXPECT_NE(lines[1].find("\"port.config.get\" params=1 error=1 -> 200"), std::string::npos)
        << lines[1];
    EXPECT_NE(lines[2].find("\"port.config.set\" params=2 error=0 -> 200"), std::string::npos)
        << lines[2];
    const std::string peer = lines[0].substr(0, lines[0].find(' '));
    for (const std::string& line : lines) {
        EXPECT_EQ(line.find("TopSecret99"), std::string::npos) << line;
        EXPECT_EQ(line.find("Basic"), std::string::npos) << line;
        EXPECT_EQ(line.substr(0, line.find(' ')), peer) << "one kept-alive connection";
    }
}

}  // namespace
