#pragma once

// Helpers of the per-family tests: the params of the last request, and the texts of an
// enumeration, gaps included, checked both ways through its codec.

#include <gtest/gtest.h>
#include <json/json.h>

#include <climits>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace zolt_test {

// The "params" of the last request the server received, parsed.
inline Json::Value last_params(const TestServer& server) {
    return json(server.last().body)["params"];
}

// One row of an enumeration's texts: a value with its text, a value without one (text null: it
// is refused on writing), or a text no value has (value kNoValue: it is refused on reading).
constexpr int kNoValue = INT_MIN;
struct EnumText {
    int value;
    const char* text;
};

template <class E>
void expect_texts(std::initializer_list<EnumText> rows) {
    for (const EnumText& row : rows) {
        const std::string where = row.text != nullptr ? row.text : std::to_string(row.value);
        if (row.value != kNoValue) {
            std::string written;
            try {
                written = serialize(static_cast<E>(row.value)).asString();
            } catch (const std::runtime_error& e) {
                written = e.what();
            }
            EXPECT_EQ(written, row.text != nullptr ? row.text : "out-of-range-enum") << where;
        }
        if (row.text != nullptr) {
            // Starts from another value, so that a read that writes nothing shows.
            E read = static_cast<E>(row.value == kNoValue ? 0 : row.value + 1);
            const std::string failure =
                runtime_error_of([&] { parse(Json::Value(row.text), read); });
            if (row.value == kNoValue) {
                EXPECT_EQ(failure, "out-of-range-enum") << where;
            } else {
                EXPECT_EQ(failure, "(no exception)") << where;
                EXPECT_EQ(static_cast<int>(read), row.value) << where;
            }
        }
    }
}

}  // namespace zolt_test
