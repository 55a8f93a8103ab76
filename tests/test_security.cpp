// The security and access families' own rules beyond their worked exchanges: secrets read back
// whatever their escapes, and the simulator's login against its own users table and its log that
// keeps secrets out.

#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>

#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/switch.h"
#include "support/test_server.h"

namespace {

using zolt_test::json;

class Security : public zolt_test::ClientTest {};

TEST_F(Security, AServerKeyIsReadByteForByteWhetherEscapedOrNot) {
    // Quotes, backslashes, a slash, control characters and multi-byte UTF-8.
    const std::string secret = "q\"uo\\te/ \t\x01 gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x94\x91";
    // Raw UTF-8, then the same text with every non-ASCII character escaped.
    const std::string raw = R"({"Timeout":5,"Deadtime":9,"Key":"q\"uo\\te\/ \t\u0001 gr)"
                            "\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x94\x91\"}";
    const std::string escaped =
        R"({"Timeout":5,"Deadtime":9,"Key":"q\"uo\\te/ \t\u0001 gr\u00fc\u00df \u20ac \ud83d\udd11"})";
    for (const std::string& answer : {raw, escaped}) {
        server.respond_result(answer);
        zolt_appl_auth_tacacs_global_conf_t tacacs{};
        EXPECT_EQ(zolt_authentication_config_tacacs_global_get(handle(), &tacacs), 0);
        EXPECT_EQ(tacacs.Key, secret) << answer;
        EXPECT_EQ(tacacs.Deadtime, 9u);
    }
}

// --- the simulator: its users table is its login, and its log shows no secret -----------------

const char kUnauthorised[] = "Network error, return code: 401";

class SimulatedLogin : public ::testing::Test {
protected:
    SimulatedLogin() : sw(options()) {}

    zolt_sim::Options options() {
        zolt_sim::Options o;
        o.log = true;
        o.log_sink = [this](const std::string& line) {
            std::lock_guard<std::mutex> lock(mutex);
            lines.push_back(line);
        };
        return o;
    }

    // One call on a fresh connection with these credentials: the return code, or the
    // exception's text.
    std::string try_login(const std::string& user, const std::string& password) {
        const rest_conn_t conn =
            zolt_test::make_conn(sw.simulator().url(), 5, user.c_str(), password.c_str());
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

    static zolt_appl_users_config_t plain(const std::string& password) {
        zolt_appl_users_config_t user{};
        user.Privilege = 15;
        user.Password = password;
        return user;
    }

    template <class Conf>
    static Conf with_key(const std::string& key) {
        Conf conf{};
        conf.Key = key;
        return conf;
    }

    std::mutex mutex;
    std::vector<std::string> lines;
    zolt_test::Switch sw;  // stops before the log it writes to goes
};

TEST_F(SimulatedLogin, TheUsersTableDecidesWhoLogsIn) {
    void* h = sw.handle();
    const std::string user = "operator";
    const std::string password = "s3cret:with \"colon\" \xc3\xa9";
    EXPECT_EQ(try_login(user, password), kUnauthorised);
    EXPECT_EQ(zolt_users_config_global_add(h, user, plain(password)), 0);
    EXPECT_EQ(try_login(user, password), "0") << "from the next connection on";
    EXPECT_EQ(try_login(user, password + "x"), kUnauthorised);
    EXPECT_EQ(try_login("Operator", password), kUnauthorised) << "names are matched exactly";
    EXPECT_EQ(zolt_users_config_global_set(h, user, plain("n3w")), 0);
    EXPECT_EQ(try_login(user, password), kUnauthorised) << "a new password replaces the old";
    EXPECT_EQ(try_login(user, "n3w"), "0");
    EXPECT_EQ(zolt_users_config_global_del(h, user), 0);
    EXPECT_EQ(try_login(user, "n3w"), kUnauthorised);

    zolt_appl_users_config_t guest = plain("guest");
    guest.Encrypted = true;
    EXPECT_EQ(zolt_users_config_global_add(h, "guest", guest), 0);
    EXPECT_EQ(try_login("guest", "guest"), kUnauthorised)
        << "an encrypted password is no plain one";
}

TEST_F(SimulatedLogin, TheRequestLogNeverShowsAPasswordSecretOrKey) {
    void* h = sw.handle();
    const std::string secrets[] = {"UserPw-4711", "RadiusKey-4712", "HostKey-4713",
                                   "TacacsKey-4714", "TacacsHost-4715"};
    // Written in a user, the RADIUS and TACACS+ settings and hosts, once refused as a duplicate.
    const std::vector<int> codes = {
        zolt_users_config_global_add(h, "op", plain(secrets[0])),
        zolt_users_config_global_add(h, "op", plain(secrets[0])),
        zolt_authentication_config_radius_global_set(
            h, with_key<zolt_appl_auth_radius_global_conf_t>(secrets[1])),
        zolt_authentication_config_radius_host_set(
            h, 2, with_key<zolt_appl_auth_radius_server_conf_t>(secrets[2])),
        zolt_authentication_config_tacacs_global_set(
            h, with_key<zolt_appl_auth_tacacs_global_conf_t>(secrets[3])),
        zolt_authentication_config_tacacs_host_set(
            h, 1, with_key<zolt_appl_auth_tacacs_server_conf_t>(secrets[4]))};
    EXPECT_EQ(codes, (std::vector<int>{0, 2, 0, 0, 0, 0}));
    // Reading them back, a refused login with a wrong password, and a param that does not fit.
    std::map<int, zolt_appl_auth_radius_server_conf_t> hosts;
    EXPECT_EQ(zolt_authentication_config_radius_host_get(h, &hosts), 0);
    EXPECT_EQ(hosts[2].Key, secrets[2]);
    EXPECT_EQ(try_login("op", secrets[1]), kUnauthorised);
    httplib::Client raw("127.0.0.1", sw.simulator().port());
    raw.set_basic_auth("admin", "admin");
    const httplib::Result result =
        raw.Post("/",
                 R"({"id":1,"method":"users.config.global.set","params":["op",{"Password":")" +
                     secrets[0] + R"("}]})",
                 "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(json(result->body)["error"]["code"], Json::Value(-32602));

    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_GE(lines.size(), 9u);
    for (const std::string& line : lines) {
        for (const std::string& secret : secrets)
            EXPECT_EQ(line.find(secret), std::string::npos) << line;
    }
}

}  // namespace
