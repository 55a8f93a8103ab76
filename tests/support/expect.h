#pragma once

// EXPECT_THROW_EXACT(statement, type, text): the statement throws an exception of exactly the
// standard kind `type` (not merely something derived from it or a base of it) whose what() is
// exactly `text`. The library's documented subclasses (client/errors.h) count as the standard
// kind they stand for: a zolt::transfer_error is exactly a std::runtime_error "Post error".
// Messages can be streamed into it like into any EXPECT_*.

#include <cxxabi.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "client/errors.h"

namespace zolt_test {

inline std::string type_name(const std::type_info& type) {
    int status = 0;
    char* readable = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
    std::string name = status == 0 && readable != nullptr ? readable : type.name();
    std::free(readable);
    return name;
}

// The standard class an exception stands for: its own type, except for the library's documented
// subclasses, which stand for the standard class they derive from.
inline const std::type_info& kind_of(const std::exception& e) {
    if (dynamic_cast<const zolt::transfer_error*>(&e) != nullptr ||
        dynamic_cast<const zolt::status_error*>(&e) != nullptr ||
        dynamic_cast<const zolt::answer_error*>(&e) != nullptr ||
        dynamic_cast<const zolt::decode_error*>(&e) != nullptr) {
        return typeid(std::runtime_error);
    }
    if (dynamic_cast<const zolt::decode_logic_error*>(&e) != nullptr) return typeid(std::logic_error);
    return typeid(e);
}

template <class E, class F>
::testing::AssertionResult throws_exact(F&& statement, const std::string& text) {
    try {
        statement();
    } catch (const std::exception& caught) {
        if (kind_of(caught) != typeid(E)) {
            return ::testing::AssertionFailure()
                   << "threw " << type_name(typeid(caught)) << " (\"" << caught.what()
                   << "\"), expected " << type_name(typeid(E));
        }
        if (text != caught.what()) {
            return ::testing::AssertionFailure()
                   << "threw \"" << caught.what() << "\", expected \"" << text << "\"";
        }
        return ::testing::AssertionSuccess();
    } catch (...) {
        return ::testing::AssertionFailure() << "threw something not derived from std::exception";
    }
    return ::testing::AssertionFailure() << "threw nothing";
}

// The JSON value of a test's literal text, read the way the library reads answers.
inline Json::Value json(const std::string& text) {
    Json::Value value;
    Json::Reader reader;
    EXPECT_TRUE(reader.parse(text, value, false)) << text;
    return value;
}

// The text of the std::runtime_error that `statement` throws, or "(no exception)". Any other
// exception escapes and fails the test.
template <class F>
std::string runtime_error_of(F&& statement) {
    try {
        statement();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "(no exception)";
}

}  // namespace zolt_test

#define EXPECT_THROW_EXACT(statement, exception_type, text) \
    EXPECT_TRUE(::zolt_test::throws_exact<exception_type>([&] { statement; }, text))
