// Every typed function of the schema, called once through the library against the simulator,
// which checks every argument with its own checker and answers from its state. The calls come
// from the generated sweep, ordered per table: add, set, the gets, then del. Each call must get
// exactly the answer the switch's state calls for: which rows the switch holds is read from the
// simulator before the sweep starts and again after every call that may change it.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/sweep.h"
#include "support/switch.h"
#include "support/test_server.h"
#include "tools/invoke.h"

namespace {

// The simulator's answer codes for a missing and for an existing row.
constexpr int kNoSuchEntry = 1;
constexpr int kEntryExists = 2;

// Compact text: JSON numbers read from text and those the library or the simulator writes
// differ in JsonCpp's signedness type, not in value.
std::string compact(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, value);
}

// The keys of every row the switch holds, per table, as compact text of the key array (a
// singleton's key is []).
using Rows = std::map<std::string, std::set<std::string>>;

Rows rows_of(const Json::Value& snapshot) {
    Rows rows;
    const Json::Value& tables = snapshot["tables"];
    for (const std::string& table : tables.getMemberNames()) {
        std::set<std::string>& keys = rows[table];
        for (const Json::Value& row : tables[table]) {
            keys.insert(compact(row["key"].isNull() ? Json::Value(Json::arrayValue) : row["key"]));
        }
    }
    return rows;
}

TEST(Sweep, EveryTypedFunctionGetsTheExactAnswerOfTheSwitchsState) {
    zolt_test::Switch sw;
    void* handle = sw.handle();
    zolt_sim::Model& model = sw.simulator().model();
    Rows rows = rows_of(model.snapshot(model.now()));
    std::set<std::string> shapes_seen;
    int round_trips = 0;
    for (std::size_t i = 0; i < zolt_test::kSweepCount; ++i) {
        const zolt_test::SweepCall& call = zolt_test::kSweep[i];
        const std::string shape = call.shape;
        SCOPED_TRACE(call.signature);
        shapes_seen.insert(shape);
        const zolt_tool::Invoker* invoker = zolt_tool::find_invoker(call.signature);
        ASSERT_NE(invoker, nullptr);

        std::set<std::string>& keys = rows[call.table];
        const std::string key = compact(zolt_test::json(call.key));
        const bool present = keys.count(key) != 0;
        int want = 0;
        bool throws = false;
        if (shape == "keyed_get" || shape == "scalar_get" || shape == "list_get" ||
            shape == "exists" || shape == "del") {
            want = present ? 0 : kNoSuchEntry;
            throws = present && call.undecodable;
        } else if (shape == "set") {
            want = !present && call.has_add ? kNoSuchEntry : 0;
        } else if (shape == "add") {
            want = present ? kEntryExists : 0;
        } else if (shape == "get_all") {
            throws = !keys.empty() && call.undecodable;
        } else if (shape == "singleton_get") {
            throws = call.undecodable;
        }

        Json::Value output;
        int code = -999;
        try {
            code = invoker->invoke(handle, zolt_test::json(call.args), &output);
        } catch (const std::runtime_error& e) {
            EXPECT_TRUE(throws) << e.what();
            EXPECT_STREQ(e.what(), "not implemented");
            continue;
        }
        EXPECT_FALSE(throws) << "the library cannot decode this answer";
        EXPECT_EQ(code, want);
        if (code != 0) continue;

        if (shape == "set" || shape == "add" || shape == "del" || shape == "bare") {
            // Writes may reach other tables.
            rows = rows_of(model.snapshot(model.now()));
        }
        if (call.expected != nullptr) {
            EXPECT_EQ(compact(output), compact(zolt_test::json(call.expected)))
                << "every field makes the trip there and back";
            ++round_trips;
        }
    }
    EXPECT_EQ(shapes_seen.size(), 10u) << "every call shape occurs";
    EXPECT_GT(round_trips, 0);
}

}  // namespace
