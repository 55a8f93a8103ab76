#pragma once

// The switch behind the simulator's HTTP front: every method of the generated table kMethods,
// the state its tables hold, and the JSON-RPC answer to one request body. No HTTP here, so the
// whole protocol can be driven from a test without a socket.
//
// State is one ordered map per table (the method string without its verb, so "port.config.get"
// and "port.config.set" share "port.config"): canonical key -> canonical value. A key is the JSON
// array of its members, each in the form the library's own writer gives it; a singleton's one
// row has the key null. Every key member and value that comes in goes through the simulator's own
// check (sim/sim_schema.h) and is stored in the form the switch sends it, so the state only ever
// holds values that fit the schema.

#include <json/value.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/seed.h"
#include "sim/sim_schema.h"
#include "sim/traffic.h"

namespace zolt_sim {

// The codes of "error" objects. Negative ones follow JSON-RPC 2.0; the positive ones are the
// switch's refusals of a well-formed call.
namespace code {
constexpr int parse_error = -32700;       // the body is not JSON
constexpr int invalid_request = -32600;   // not an object with string "method", array "params"
constexpr int method_not_found = -32601;  // no such method string
constexpr int invalid_params = -32602;    // wrong number of params, or one does not fit its type
constexpr int no_such_entry = 1;          // get, exists, del (and set where add exists): no row
constexpr int entry_exists = 2;           // add of a key that is already there
}  // namespace code

// What the request log tells of one call; never a parameter's value.
struct CallSummary {
    std::string method;  // empty when the request had none
    int params = -1;     // number of params, -1 when they were not an array
    int error = 0;       // the error code answered, 0 for success
};

// A snapshot as the state file holds it: indented JSON and a final line break.
std::string state_text(const Json::Value& snapshot);

class Model {
public:
    using Clock = std::chrono::steady_clock;
    // Where the switch reads the time: the steady clock, or a test's clock that it steps by hand.
    using TimeSource = std::function<Clock::time_point()>;
    using Rows = std::map<Json::Value, Json::Value>;

    // A fresh switch with `port_count` ports named "Gi 1/1" .. "Gi 1/<port_count>".
    explicit Model(int port_count, TimeSource time = &Clock::now);
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // The answer object to one HTTP body: always "id", "error" and "result". Thread-safe.
    Json::Value answer(const std::string& body, CallSummary* summary = nullptr);

    // The answer to one call made the way a client makes it, so that the simulator's own reads
    // and writes follow the same rules as those through the network. Thread-safe.
    Json::Value call(const std::string& method, const Json::Value& params);

    // The switch's time now.
    Clock::time_point now() const { return time_(); }

    // The whole state as a document {"ports": N, "tables": {name: [{"key": K, "val": V}...]}};
    // counters are written as they read at `now`.
    Json::Value snapshot(Clock::time_point now) const;

    // One table's rows in the snapshot's form [{"key": K, "val": V}...], counters as they read
    // at `now`. Throws std::logic_error for a table the schema does not have.
    Json::Value rows(const std::string& table, Clock::time_point now) const;

    // Replaces every table the document names with its rows (tables it does not name keep their
    // state). Counter rows it brings count on from `now`; when it brings any, the counters it
    // does not name count on from what they read at `now`. Every key member and value goes
    // through its codec; a document that does not fit throws std::runtime_error naming the
    // table and row, and leaves the state as it was.
    void restore(const Json::Value& document, Clock::time_point now);

    const std::vector<std::string>& port_names() const { return ports_; }

    // Merges hand-written rows over the state (see sim/seed.h). Every row is checked against the
    // schema: a table it does not have, a member its record does not have or a value of the
    // wrong type throws std::logic_error naming the table.
    void apply_seed(const std::vector<SeedRow>& rows);

private:
    struct Table;
    struct Overload;
    struct Outcome;

    void build_catalogue();
    void seed();
    Json::Value dispatch(const Json::Value& request, CallSummary& summary);
    Outcome execute(const Overload& overload, const Json::Value& key, const Json::Value& value);
    bool decode(const Overload& overload, const Json::Value& params, Json::Value& key,
                Json::Value& value, std::string& why) const;
    Json::Value read_row(const Table& table, const Json::Value& key, const Json::Value& stored,
                         Clock::time_point now) const;
    Json::Value make_value(const Table& table, const Json::Value& partial) const;
    void after_write(const Table& table, const Json::Value& key, const Json::Value& value,
                     Clock::time_point now);
    void derive_fdb_status();
    Json::Value load_table(const Table& table, const Json::Value& rows) const;
    Json::Value rows_locked(const std::string& table, Clock::time_point now) const;

    TimeSource time_;
    std::vector<std::string> ports_;
    std::map<std::string, std::unique_ptr<Table>> tables_;
    std::map<std::string, std::vector<Overload>> overloads_;  // by method string

    mutable std::mutex mutex_;  // guards everything below
    std::map<std::string, Rows> state_;
    Traffic traffic_;
};

}  // namespace zolt_sim
