// The security and access families' own rules, end to end against a local server: the access
// agents that are not alike, the enumerations with gaps and the jump to 65535, the interface
// record as a key, the ARP-inspection tables that can only be read empty and their existence
// get, secrets that travel untouched, and the simulator's login against its own users table.

#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>

#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/test_server.h"

// Whether a typed function of that name takes (handle, T*): found by argument-dependent lookup
// at instantiation, so a missing function is a substitution failure rather than an error.
namespace detect {
template <class T>
auto has_http_author(T* out)
    -> decltype(zolt_authentication_config_agent_http_author_get(nullptr, out), std::true_type{});
std::false_type has_http_author(...);
template <class T>
auto has_http_acct(T* out)
    -> decltype(zolt_authentication_config_agent_http_acct_get(nullptr, out), std::true_type{});
std::false_type has_http_acct(...);
template <class T>
auto has_ssh_author(T* out)
    -> decltype(zolt_authentication_config_agent_ssh_author_get(nullptr, out), std::true_type{});
std::false_type has_ssh_author(...);

}  // namespace detect

namespace {

using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::runtime_error_of;

class Security : public ClientTest {
protected:
    // "params" of the last request, as the server read it.
    Json::Value last_params() { return json(server.last().body)["params"]; }
};

// --- the four access agents are not alike -----------------------------------------------------

static_assert(!decltype(detect::has_http_author(
                  static_cast<zolt_appl_auth_author_agent_conf_t*>(nullptr)))::value,
              "the http agent has no authorization setting");
static_assert(!decltype(detect::has_http_acct(
                  static_cast<zolt_appl_auth_acct_agent_conf_t*>(nullptr)))::value,
              "the http agent has no accounting setting");
static_assert(decltype(detect::has_ssh_author(
                  static_cast<zolt_appl_auth_author_agent_conf_t*>(nullptr)))::value,
              "the detection itself finds a function that exists");

TEST_F(Security, TheHttpAgentsMethodListReadsLikeTheOthers) {
    server.respond_result(R"([{"key":1,"val":"radius"},{"key":0,"val":"local"},
                              {"key":2,"val":"none"}])");
    std::map<int, zolt_appl_auth_authen_method_t> list;
    EXPECT_EQ(zolt_authentication_config_agent_http_authen_get(handle(), &list), 0);
    EXPECT_EQ(json(server.last().body)["method"].asString(),
              "authentication.config.agent.http.authen.get");
    EXPECT_EQ(list, (std::map<int, zolt_appl_auth_authen_method_t>{
                        {0, zolt_appl_auth_authen_method_local},
                        {1, zolt_appl_auth_authen_method_radius},
                        {2, zolt_appl_auth_authen_method_none}}));
}

TEST_F(Security, AKeyedMethodListGetAnswersABareTextAndASetSendsPlaceThenText) {
    server.respond_result(R"("tacacs")");
    zolt_appl_auth_authen_method_t method = zolt_appl_auth_authen_method_none;
    EXPECT_EQ(zolt_authentication_config_agent_telnet_authen_get(handle(), 2, &method), 0);
    EXPECT_EQ(method, zolt_appl_auth_authen_method_tacacs);

    server.respond_result("null");
    EXPECT_EQ(zolt_authentication_config_agent_console_authen_set(
                  handle(), 1, static_cast<zolt_appl_auth_authen_method_t>(3)),
              0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 1, \"tacacs\" ]"), std::string::npos)
        << server.last().body;
}

TEST_F(Security, AuthorizationAndAccountingDifferInTheirLastField) {
    zolt_appl_auth_author_agent_conf_t author{};
    zolt_appl_auth_acct_agent_conf_t acct{};
    EXPECT_EQ(serialize(author).getMemberNames(),
              (std::vector<std::string>{"CfgCmdEnable", "CmdEnable", "CmdPrivLvl", "Method"}));
    EXPECT_EQ(serialize(acct).getMemberNames(),
              (std::vector<std::string>{"CmdEnable", "CmdPrivLvl", "ExecEnable", "Method"}));

    server.respond_result(R"({"Method":"tacacs","CmdEnable":true,"CmdPrivLvl":256,
                              "ExecEnable":true})");
    EXPECT_EQ(zolt_authentication_config_agent_ssh_acct_get(handle(), &acct), 0);
    EXPECT_EQ(acct.Method, zolt_appl_auth_acct_method_tacacs);
    EXPECT_EQ(acct.CmdPrivLvl, 0) << "one byte: 256 is cut to 0";
    EXPECT_TRUE(acct.ExecEnable);
    // The authorization record wants CfgCmdEnable, which this answer lacks.
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_authentication_config_agent_ssh_author_get(handle(), &author); }),
              "Unexpected type");
    EXPECT_EQ(author.Method, zolt_appl_auth_author_method_tacacs);
}

// --- enumerations with gaps and the jump to 65535, both ways ----------------------------------

TEST_F(Security, AuthorizationAndAccountingMethodsHaveNoTextFor1And2) {
    for (int missing : {1, 2}) {
        zolt_appl_auth_author_agent_conf_t author{};
        author.Method = static_cast<zolt_appl_auth_author_method_t>(missing);
        EXPECT_EQ(runtime_error_of([&] {
                      zolt_authentication_config_agent_console_author_set(handle(), author);
                  }),
                  "out-of-range-enum");
        zolt_appl_auth_acct_agent_conf_t acct{};
        acct.Method = static_cast<zolt_appl_auth_acct_method_t>(missing);
        EXPECT_EQ(runtime_error_of(
                      [&] { zolt_authentication_config_agent_telnet_acct_set(handle(), acct); }),
                  "out-of-range-enum");
    }
    EXPECT_EQ(server.count(), 0u) << "nothing is posted when an argument cannot be encoded";

    zolt_appl_auth_author_agent_conf_t author{};
    author.Method = static_cast<zolt_appl_auth_author_method_t>(3);
    EXPECT_EQ(zolt_authentication_config_agent_console_author_set(handle(), author), 0);
    EXPECT_EQ(last_params()[0]["Method"], Json::Value("tacacs"));

    // "local" and "radius" belong to the method lists only.
    for (const char* text : {"local", "radius"}) {
        server.respond_result(std::string(R"({"Method":")") + text +
                              R"(","CmdEnable":true,"CmdPrivLvl":15,"CfgCmdEnable":true})");
        zolt_appl_auth_author_agent_conf_t read{};
        EXPECT_EQ(runtime_error_of([&] {
                      zolt_authentication_config_agent_console_author_get(handle(), &read);
                  }),
                  "out-of-range-enum")
            << text;
    }
}

const char* kPortStatus = R"({"status":"count","qosClass":"none","vlanType":"guestVlan",
                              "vlanId":70001})";

TEST_F(Security, QosClassNoneIs65535AndNothingLiesBetween7AndIt) {
    server.respond_result(kPortStatus);
    zolt_appl_nas_interface_status_t status{};
    EXPECT_EQ(zolt_nas_status_interface_get(handle(), NAS_ifindex_index{"Gi 1/1"}, &status), 0);
    EXPECT_EQ(static_cast<int>(status.qosClass), 65535);
    EXPECT_EQ(status.status, zolt_appl_nas_port_status_count) << "\"count\" is a member";
    EXPECT_EQ(status.vlanId, 70001 - 65536) << "sixteen bits, cut without a check";

    EXPECT_EQ(serialize(static_cast<zolt_appl_nas_qos_class_t>(65535)), Json::Value("none"));
    EXPECT_EQ(serialize(static_cast<zolt_appl_nas_qos_class_t>(7)), Json::Value("pcp7"));
    for (int missing : {8, 9, 65534, 65536, -1}) {
        EXPECT_EQ(
            runtime_error_of([&] { serialize(static_cast<zolt_appl_nas_qos_class_t>(missing)); }),
            "out-of-range-enum")
            << missing;
    }
    for (const char* text : {"pcp8", "NONE", "65535"}) {
        server.respond_result(std::string(R"({"status":"authorized","qosClass":")") + text +
                              R"(","vlanType":"none","vlanId":1})");
        EXPECT_EQ(runtime_error_of([&] {
                      zolt_nas_status_interface_get(handle(), NAS_ifindex_index{"Gi 1/1"}, &status);
                  }),
                  "out-of-range-enum")
            << text;
    }
}

TEST_F(Security, PortControlTextsAreMatchedByTheirExactCase) {
    server.respond_result(R"({"adminState":"dot1xMulti","RadiusAssignedQosState":true,
                              "RadiusAssignedVlanState":true,"GuestVlanState":true})");
    zolt_appl_nas_port_cfg_t conf{};
    EXPECT_EQ(runtime_error_of([&] {
                  zolt_nas_config_interface_get(handle(), NAS_ifindex_index{"Gi 1/1"}, &conf);
              }),
              "out-of-range-enum");
    server.respond_result(R"({"adminState":"dot1xmulti","RadiusAssignedQosState":true,
                              "RadiusAssignedVlanState":true,"GuestVlanState":true})");
    EXPECT_EQ(zolt_nas_config_interface_get(handle(), NAS_ifindex_index{"Gi 1/1"}, &conf), 0);
    EXPECT_EQ(conf.adminState, zolt_appl_nas_port_control_dot1xmulti);
}

// --- the interface record as a key ------------------------------------------------------------

TEST_F(Security, AnInterfaceKeyTravelsAsAnObjectWithOneMember) {
    server.respond_result(R"({"adminState":"macBased","RadiusAssignedQosState":false,
                              "RadiusAssignedVlanState":true,"GuestVlanState":false})");
    zolt_appl_nas_port_cfg_t conf{};
    EXPECT_EQ(zolt_nas_config_interface_get(handle(), NAS_ifindex_index{"Gi 1/7"}, &conf), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"nas.config.interface.get\",\n"
              "   \"params\" : [\n"
              "      {\n"
              "         \"InterfaceNo\" : \"Gi 1/7\"\n"
              "      }\n"
              "   ]\n"
              "}\n");
    EXPECT_EQ(conf.adminState, zolt_appl_nas_port_control_macBased);

    server.respond_result("null");
    EXPECT_EQ(zolt_nas_control_reinit_or_reauthen_set(handle(), NAS_ifindex_index{"Gi 1/2"}, true),
              0);
    EXPECT_EQ(last_params(), json(R"([{"InterfaceNo":"Gi 1/2"},true])"));
}

TEST_F(Security, InterfaceKeyedRowsAreOrderedByTheNamesBytes) {
    server.respond_result(R"([{"key":{"InterfaceNo":"Gi 1/10"},"val":{"backendResponses":10,
        "backendAccessChallenges":0,"backendOtherRequestsToSupplicant":0,
        "backendAuthSuccesses":0,"backendAuthFails":0}},
        {"key":{"InterfaceNo":"Gi 1/2"},"val":{"backendResponses":2,
        "backendAccessChallenges":0,"backendOtherRequestsToSupplicant":0,
        "backendAuthSuccesses":0,"backendAuthFails":0}}])");
    std::map<NAS_ifindex_index, zolt_appl_nas_backend_counters_t> table;
    EXPECT_EQ(zolt_nas_statistics_radius_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table.begin()->first.InterfaceNo, "Gi 1/10");
    EXPECT_EQ(table.rbegin()->second.backendResponses, 2u);
}

TEST_F(Security, ARowKeyThatIsNoInterfaceObjectFails) {
    std::map<NAS_ifindex_index, zolt_appl_nas_client_info_t> table;
    server.respond_result(
        R"([{"key":"Gi 1/1","val":{"VlanId":1,"Mac":"00:01:02:03:04:05","Identity":"a"}}])");
    EXPECT_THROW_EXACT(zolt_nas_status_last_supplicant_get(handle(), &table), std::logic_error,
                       "in Json::Value::find(key, end, found): requires objectValue or nullValue");
    server.respond_result(
        R"([{"key":{"Interface":"Gi 1/1"},"val":{"VlanId":1,"Mac":"00:01:02:03:04:05",
            "Identity":"a"}}])");
    EXPECT_THROW_EXACT(zolt_nas_status_last_supplicant_get(handle(), &table), std::runtime_error,
                       "Unexpected type");
    EXPECT_TRUE(table.empty());

    server.respond_result(
        R"([{"key":{"InterfaceNo":"Gi 1/1"},"val":{"VlanId":1,"Mac":"00-01-02-03-04-05",
            "Identity":"a"}}])");
    EXPECT_THROW_EXACT(zolt_nas_status_last_supplicant_get(handle(), &table), std::runtime_error,
                       "Mac address is invalid");
}

// --- ARP inspection: four-member keys ---------------------------------------------------------

using EntryKey = std::tuple<std::string, int, zolt_mac_t, std::string>;
const zolt_mac_t kStation{{0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f}};

TEST_F(Security, AnEntryKeyGoesAsFourSeparateParams) {
    EXPECT_EQ(zolt_arp_inspection_config_static_del(handle(), "Gi 1/3", 10, kStation, "10.0.0.3"),
              0);
    EXPECT_NE(server.last().body.find(
                  "\"params\" : [ \"Gi 1/3\", 10, \"0A:0B:0C:0D:0E:0F\", \"10.0.0.3\" ]"),
              std::string::npos)
        << server.last().body;
    EXPECT_EQ(last_params()[2].asString().size(), 17u);

    EXPECT_EQ(zolt_arp_inspection_config_static_set(handle(), "Gi 1/3", 10, kStation, "10.0.0.3"),
              0);
    EXPECT_EQ(last_params().size(), 4u) << "a static entry is written with its key alone";

    server.respond_result(R"({"Type":"dynamic"})");
    zolt_appl_arp_inspection_entry_t entry{};
    EXPECT_EQ(zolt_arp_inspection_status_dynamic_get(handle(), "Gi 1/3", 10, kStation, "10.0.0.3",
                                                     &entry),
              0);
    EXPECT_EQ(entry.Type, zolt_appl_arp_inspection_status_dynamic);
}

TEST_F(Security, TheStaticEntryGetByKeyAnswersByItsCodeAlone) {
    server.respond_result(R"({"anything":["at all"]})");
    EXPECT_EQ(zolt_arp_inspection_config_static_get(handle(), "Gi 1/1", 1, kStation, "10.0.0.1"),
              0);
    EXPECT_EQ(last_params().size(), 4u);
    server.respond_error(R"({"code":1,"message":"no such entry"})");
    EXPECT_EQ(zolt_arp_inspection_config_static_get(handle(), "Gi 1/1", 1, kStation, "10.0.0.1"),
              1);
    server.respond_error(R"("gone")");
    EXPECT_EQ(zolt_arp_inspection_config_static_get(handle(), "Gi 1/1", 1, kStation, "10.0.0.1"),
              -1);
}

TEST_F(Security, EntryTablesCanOnlyBeReadEmpty) {
    const EntryKey mine{"Gi 1/8", 8, kStation, "10.0.0.8"};
    std::map<EntryKey, std::tuple<>> statics{{mine, {}}};
    std::map<EntryKey, zolt_appl_arp_inspection_entry_t> dynamics{{mine, {}}};

    server.respond_result("[]");
    EXPECT_EQ(zolt_arp_inspection_config_static_get(handle(), &statics), 0);
    EXPECT_EQ(zolt_arp_inspection_status_dynamic_get(handle(), &dynamics), 0);
    EXPECT_EQ(statics.size(), 1u);
    EXPECT_EQ(dynamics.size(), 1u);

    // Any row fails at once, whatever its key and value hold, and reaches no map.
    for (const char* rows :
         {R"([{"key":["Gi 1/1",1,"00:01:02:03:04:05","10.0.0.1"],"val":{"Type":"static"}}])",
          R"([{"key":null,"val":null}])", R"([{}])"}) {
        server.respond_result(rows);
        EXPECT_THROW_EXACT(zolt_arp_inspection_config_static_get(handle(), &statics),
                           std::runtime_error, "not implemented")
            << rows;
        EXPECT_THROW_EXACT(zolt_arp_inspection_status_dynamic_get(handle(), &dynamics),
                           std::runtime_error, "not implemented")
            << rows;
    }
    EXPECT_EQ(statics.size(), 1u);
    EXPECT_EQ(statics.count(mine), 1u);
    EXPECT_EQ(dynamics.size(), 1u);
    EXPECT_EQ(dynamics.count(mine), 1u);
}

// --- secrets travel untouched -----------------------------------------------------------------

// Quotes, backslashes, a slash, control characters and multi-byte UTF-8.
const std::string kSecret = "q\"uo\\te/ \t\x01 gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x94\x91";

TEST_F(Security, AServerKeyIsSentByteForByte) {
    zolt_appl_auth_radius_server_conf_t host{};
    host.Address = "192.0.2.1";
    host.Key = kSecret;
    EXPECT_EQ(zolt_authentication_config_radius_host_set(handle(), 4, host), 0);
    EXPECT_EQ(last_params()[0], Json::Value(4));
    EXPECT_EQ(last_params()[1]["Key"].asString(), kSecret);

    zolt_appl_auth_tacacs_global_conf_t tacacs{};
    EXPECT_EQ(zolt_authentication_config_tacacs_global_set(handle(), tacacs), 0);
    EXPECT_TRUE(last_params()[0]["Key"].isString()) << "an empty key is written";
    EXPECT_EQ(last_params()[0]["Key"].asString(), "");
}

TEST_F(Security, AServerKeyIsReadByteForByteWhetherEscapedOrNot) {
    // Raw UTF-8, then the same text with every non-ASCII character escaped.
    const std::string raw = R"({"Timeout":5,"Deadtime":9,"Key":"q\"uo\\te\/ \t\u0001 gr)"
                            "\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x94\x91\"}";
    const std::string escaped =
        R"({"Timeout":5,"Deadtime":9,"Key":"q\"uo\\te/ \t\u0001 gr\u00fc\u00df \u20ac \ud83d\udd11"})";
    for (const std::string& answer : {raw, escaped}) {
        server.respond_result(answer);
        zolt_appl_auth_tacacs_global_conf_t tacacs{};
        EXPECT_EQ(zolt_authentication_config_tacacs_global_get(handle(), &tacacs), 0);
        EXPECT_EQ(tacacs.Key, kSecret) << answer;
        EXPECT_EQ(tacacs.Deadtime, 9u);
    }
}

TEST_F(Security, APasswordAndItsEncryptedFlagGoAsGiven) {
    zolt_appl_users_config_t user{};
    user.Privilege = 15;
    user.Encrypted = true;  // with a plain text: not the client's to notice
    user.Password = kSecret;
    EXPECT_EQ(zolt_users_config_global_add(handle(), "op\xc3\xa9rateur", user), 0);
    EXPECT_EQ(last_params()[0].asString(), "op\xc3\xa9rateur");
    EXPECT_EQ(last_params()[1], json(serialize(user).toStyledString()));
    EXPECT_EQ(last_params()[1]["Password"].asString(), kSecret);
    EXPECT_TRUE(last_params()[1]["Encrypted"].asBool());

    server.respond_result(R"([{"key":"admin","val":{"Privilege":15,"Encrypted":false,
                              "Password":""}}])");
    std::map<std::string, zolt_appl_users_config_t> users;
    EXPECT_EQ(zolt_users_config_global_get(handle(), &users), 0);
    ASSERT_EQ(users.count("admin"), 1u);
    EXPECT_EQ(users["admin"].Password, "");

    server.respond_result(R"({"Privilege":15,"Encrypted":true})");
    EXPECT_EQ(runtime_error_of([&] { zolt_users_config_global_get(handle(), "admin", &user); }),
              "Unexpected type")
        << "a reply without Password is refused";
}

// --- the simulator: its users table is its login ----------------------------------------------

struct Login {
    std::string user, password;
};

// One call on a fresh connection with these credentials: the return code, or the exception's
// text.
std::string try_login(const zolt_sim::Simulator& simulator, const Login& login) {
    const rest_conn_t conn =
        zolt_test::make_conn(simulator.url(), 5, login.user.c_str(), login.password.c_str());
    void* handle = zoltclient_init(&conn);
    zolt_appl_ssh_conf_t ssh{};
    std::string outcome;
    try {
        outcome = std::to_string(zolt_ssh_config_global_get(handle, &ssh));
    } catch (const std::runtime_error& e) {
        outcome = e.what();
    }
    zoltclient_deinit(handle);
    return outcome;
}

const char kUnauthorised[] = "Network error, return code: 401";

class SimulatedLogin : public ::testing::Test {
protected:
    SimulatedLogin() : simulator(options()) {
        simulator.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 5, "admin", "adm1n");
        handle_ = zoltclient_init(&conn);
    }
    ~SimulatedLogin() override {
        zoltclient_deinit(handle_);
        simulator.stop();
    }
    void* handle() { return handle_; }

    zolt_sim::Options options() {
        zolt_sim::Options o;
        o.user = "admin";
        o.password = "adm1n";
        o.log = true;
        o.log_sink = [this](const std::string& line) {
            std::lock_guard<std::mutex> lock(mutex);
            lines.push_back(line);
        };
        return o;
    }

    std::vector<std::string> log() {
        std::lock_guard<std::mutex> lock(mutex);
        return lines;
    }

    static zolt_appl_users_config_t plain(const std::string& password) {
        zolt_appl_users_config_t user{};
        user.Privilege = 15;
        user.Password = password;
        return user;
    }

    std::mutex mutex;
    std::vector<std::string> lines;
    zolt_sim::Simulator simulator;

private:
    void* handle_ = nullptr;
};

TEST_F(SimulatedLogin, TheStartingAccountIsInTheUsersTable) {
    std::map<std::string, zolt_appl_users_config_t> users;
    EXPECT_EQ(zolt_users_config_global_get(handle(), &users), 0);
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ(users.begin()->first, "admin");
    EXPECT_EQ(users.begin()->second.Password, "adm1n");
    EXPECT_FALSE(users.begin()->second.Encrypted);
}

TEST_F(SimulatedLogin, AnAddedUserLogsInOnTheNextConnectionAndADeletedOneGets401) {
    const Login op{"operator", "s3cret:with \"colon\" \xc3\xa9"};
    EXPECT_EQ(try_login(simulator, op), kUnauthorised);
    EXPECT_EQ(zolt_users_config_global_add(handle(), op.user, plain(op.password)), 0);
    EXPECT_EQ(try_login(simulator, op), "0");
    EXPECT_EQ(try_login(simulator, {op.user, op.password + "x"}), kUnauthorised);
    EXPECT_EQ(try_login(simulator, {"Operator", op.password}), kUnauthorised)
        << "user names are matched exactly";

    EXPECT_EQ(zolt_users_config_global_del(handle(), op.user), 0);
    EXPECT_EQ(try_login(simulator, op), kUnauthorised);
}

TEST_F(SimulatedLogin, ANewPasswordReplacesTheOldOne) {
    EXPECT_EQ(zolt_users_config_global_set(handle(), "admin", plain("n3w")), 0);
    EXPECT_EQ(try_login(simulator, {"admin", "adm1n"}), kUnauthorised);
    EXPECT_EQ(try_login(simulator, {"admin", "n3w"}), "0");
}

TEST_F(SimulatedLogin, AnEncryptedPasswordIsNotAPlainOne) {
    zolt_appl_users_config_t user = plain("guest");
    user.Encrypted = true;
    EXPECT_EQ(zolt_users_config_global_add(handle(), "guest", user), 0);
    EXPECT_EQ(try_login(simulator, {"guest", "guest"}), kUnauthorised);
}

TEST_F(SimulatedLogin, TheRequestLogNeverShowsAPasswordSecretOrKey) {
    const std::string secrets[] = {"UserPw-4711", "RadiusKey-4712", "HostKey-4713",
                                   "TacacsKey-4714", "TacacsHost-4715"};
    EXPECT_EQ(zolt_users_config_global_add(handle(), "op", plain(secrets[0])), 0);
    EXPECT_EQ(zolt_users_config_global_add(handle(), "op", plain(secrets[0])), 2);
    zolt_appl_auth_radius_global_conf_t radius{};
    radius.Key = secrets[1];
    EXPECT_EQ(zolt_authentication_config_radius_global_set(handle(), radius), 0);
    zolt_appl_auth_radius_server_conf_t host{};
    host.Key = secrets[2];
    EXPECT_EQ(zolt_authentication_config_radius_host_set(handle(), 2, host), 0);
    zolt_appl_auth_tacacs_global_conf_t tacacs{};
    tacacs.Key = secrets[3];
    EXPECT_EQ(zolt_authentication_config_tacacs_global_set(handle(), tacacs), 0);
    zolt_appl_auth_tacacs_server_conf_t tacacs_host{};
    tacacs_host.Key = secrets[4];
    EXPECT_EQ(zolt_authentication_config_tacacs_host_set(handle(), 1, tacacs_host), 0);
    // Reading them back, a refused login with a wrong password, and a param that does not fit.
    std::map<int, zolt_appl_auth_radius_server_conf_t> hosts;
    EXPECT_EQ(zolt_authentication_config_radius_host_get(handle(), &hosts), 0);
    EXPECT_EQ(hosts[2].Key, secrets[2]);
    EXPECT_EQ(try_login(simulator, {"op", secrets[1]}), kUnauthorised);
    httplib::Client raw("127.0.0.1", simulator.port());
    raw.set_basic_auth("admin", "adm1n");
    const std::string bad_params = std::string(R"({"id":1,"method":"users.config.global.set",)") +
                                   R"("params":["op",{"Password":")" + secrets[0] + R"("}]})";
    const httplib::Result result = raw.Post("/", bad_params, "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(json(result->body)["error"]["code"], Json::Value(-32602));

    const std::vector<std::string> lines = log();
    EXPECT_GE(lines.size(), 9u);
    for (const std::string& line : lines) {
        for (const std::string& secret : secrets) {
            EXPECT_EQ(line.find(secret), std::string::npos) << line;
        }
        EXPECT_EQ(line.find("adm1n"), std::string::npos) << line;
    }
}

}  // namespace
