// A hostile or broken switch: answers that make the JSON reader or JsonCpp's accessors give up
// in their own ways reach the caller as the library's documented exceptions, with nothing
// leaked; and the simulator keeps answering while idle and slow clients hold connections.

#include <gtest/gtest.h>
#include <json/json.h>
#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "client/engine.h"
#include "client/zoltclient.h"
#include "codec/table.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/loopback.h"
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

// Bytes the heap holds in use, over every arena. (The sanitizer build replaces the allocator
// and reports nothing here; its leak checker covers the same ground at exit.)
std::size_t heap_in_use() { return mallinfo2().uordblks; }

}  // namespace

// ---- Nesting deeper than the reader allows ---------------------------------------------------

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

TEST_F(HostileAnswer, AnAnswerThatFailsToParseIsReleased) {
    // A megabyte of '[' per call: were the answer kept, the heap would grow by it each time.
    server.respond(200, std::string(1 << 20, '['));
    EXPECT_THROW(rpc_call(client(), "m"), std::runtime_error);  // warm the connection
    const std::size_t before = heap_in_use();
    for (int i = 0; i < 16; ++i) {
        EXPECT_THROW_EXACT(rpc_call(client(), "m"), std::runtime_error, "Failed to parse!");
    }
    EXPECT_LT(heap_in_use(), before + (4u << 20)) << "16 answers of 1 MB each leaked";

    // The same for text the reader refuses without a throw, and for one it accepts.
    server.respond(200, std::string(1 << 20, '{'));
    for (int i = 0; i < 16; ++i) EXPECT_THROW(rpc_call(client(), "m"), std::exception);
    server.respond(200, R"({"error":null,"result":")" + std::string(1 << 20, 'x') + "\"}");
    for (int i = 0; i < 16; ++i) rpc_call(client(), "m");
    EXPECT_LT(heap_in_use(), before + (4u << 20));
}

// ---- JsonCpp's own exceptions become the documented kinds ------------------------------------

TEST_F(HostileAnswer, TheMacTableKeysVlanRefusedByJsonCppIsALogicError) {
    // The VLAN is read by JsonCpp's conversion without a type test: whatever it refuses comes
    // out as std::logic_error with JsonCpp's own text, never as a class of JsonCpp's.
    for (const char* vlan : {"\"1\"", "\"\"", "-1", "-2147483649", "4294967296",
                             "18446744073709551615", "1e300", "-0.5e10", "{}", "[]", "[1]"}) {
        const std::string expected = json_cpp_as_uint_text(json(vlan));
        ASSERT_FALSE(expected.empty()) << vlan << " is not refused by JsonCpp";
        server.respond_result(R"([{"key":[5,"00:00:00:00:00:05"],"val":{"PortList":[]}},
                                  {"key":[)" +
                              std::string(vlan) +
                              R"(,"00:00:00:00:00:01"],"val":{"PortList":[]}}])");
        StaticMacTable table;
        EXPECT_THROW_EXACT(zolt_mac_config_fdb_static_get(handle(), &table), std::logic_error,
                           expected)
            << "VLAN " << vlan;
        EXPECT_EQ(table.size(), 1u) << "the row before the bad one stays";
    }
    expect_next_call_works();
}

TEST_F(HostileAnswer, TheMacTableKeysVlanIsReadWhateverJsonCppAccepts) {
    server.respond_result(R"([{"key":[null,"00:00:00:00:00:01"],"val":{"PortList":[]}},
                              {"key":[true,"00:00:00:00:00:02"],"val":{"PortList":[]}},
                              {"key":[2.9,"00:00:00:00:00:03"],"val":{"PortList":[]}},
                              {"key":[4294967295,"00:00:00:00:00:04"],"val":{"PortList":[]}}])");
    StaticMacTable table;
    ASSERT_EQ(zolt_mac_config_fdb_static_get(handle(), &table), 0);
    std::vector<unsigned short> vlans;
    for (const auto& row : table) vlans.push_back(std::get<0>(row.first));
    EXPECT_EQ(vlans, (std::vector<unsigned short>{0, 1, 2, 65535}));
}

TEST(MacTableKeyOrder, TheVlanIsReadBeforeTheAddressIsRefused) {
    VlanMacKey key{0, {}};
    EXPECT_THROW_EXACT(parse(json(R"([7, 5])"), key), std::logic_error,
                       "in Json::Value::asCString(): requires stringValue");
    EXPECT_EQ(std::get<0>(key), 7);
    // Both members bad: the VLAN, element 0, is the one reported.
    EXPECT_THROW_EXACT(parse(json(R"(["7", 5])"), key), std::logic_error,
                       json_cpp_as_uint_text(json("\"7\"")));
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

// ---- The simulator beside idle and slow connections -------------------------------------------

namespace {

// True while the peer has neither answered nor closed the connection.
bool still_waiting(int fd) {
    pollfd ready{fd, POLLIN, 0};
    return poll(&ready, 1, 0) == 0;
}

// Slow clients: each has started a request and sends one more byte of a header line every
// 100 ms, never finishing it, so the server can never answer it nor give up on it.
class SlowClients {
public:
    SlowClients() : thread_([this] { run(); }) {}
    ~SlowClients() {
        done_ = true;
        thread_.join();
        for (int fd : fds_) close(fd);
    }

    bool add(int port) {
        const int fd = zolt_test::connect_loopback(port, zolt_test::kUnfinishedRequest);
        if (fd < 0) return false;
        std::lock_guard<std::mutex> lock(mutex_);
        fds_.push_back(fd);
        return true;
    }

    bool all_waiting() {
        std::lock_guard<std::mutex> lock(mutex_);
        for (int fd : fds_) {
            if (!still_waiting(fd)) return false;
        }
        return true;
    }

private:
    void run() {
        while (!done_) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                for (int fd : fds_) send(fd, "a", 1, MSG_NOSIGNAL);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    std::mutex mutex_;
    std::vector<int> fds_;
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace

TEST(SimulatorUnderLoad, AnswersAtOnceWhileIdleAndSlowClientsHoldConnections) {
    zolt_sim::Simulator simulator;
    const int port = simulator.start();

    // Idle clients connect and say nothing until the server's keep-alive limit closes them;
    // slow ones hold their connections for as long as the test runs.
    SlowClients slow;
    for (int i = 0; i < 64; ++i) ASSERT_TRUE(slow.add(port)) << "slow connection " << i;
    std::vector<int> idle;
    for (int i = 0; i < 16; ++i) {
        idle.push_back(zolt_test::connect_loopback(port));
        ASSERT_GE(idle.back(), 0) << "idle connection " << i;
    }

    // The slow clients never finish: had the request to wait for a thread that a held
    // connection occupies, it would wait past any limit and fail with "Post error". The limit
    // is wide enough for a busy machine.
    const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 10, "admin", "admin");
    void* handle = zoltclient_init(&conn);
    ASSERT_NE(handle, nullptr);
    for (int i = 0; i < 3; ++i) {
        zolt_appl_port_mib_conf_t conf{};
        EXPECT_EQ(zolt_port_config_get(handle, "Gi 1/1", &conf), 0);
    }
    zoltclient_deinit(handle);

    // The answers came while every slow client was still waiting for its own.
    EXPECT_TRUE(slow.all_waiting());
    for (int fd : idle) close(fd);
}
