// The direct decoder against the tree: valid answers of every value form, and the same answers
// with the kinds of damage a server or a network can do, must give the same code or exception
// and leave the same output.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fuzz/fast_decode_cases.h"

namespace {

using zolt_fast_cases::Case;

// Every variant of a valid answer that the tests put to both ways.
std::vector<std::string> variants(const std::string& seed) {
    std::vector<std::string> out{seed};
    auto replace_first = [&](const std::string& from, const std::string& to) {
        const std::size_t at = seed.find(from);
        if (at != std::string::npos)
            out.push_back(seed.substr(0, at) + to + seed.substr(at + from.size()));
    };
    // The result's first number, as JsonCpp's tests judge other spellings of it.
    const std::size_t result = seed.find("\"result\":");
    const std::size_t digit = seed.find_first_of("0123456789", result);
    if (digit != std::string::npos) {
        const std::size_t end = seed.find_first_not_of("0123456789", digit);
        for (const char* number : {"3.0",
                                   "-0",
                                   "-1",
                                   "0",
                                   "300",
                                   "70000",
                                   "4294967295",
                                   "4294967296",
                                   "-2147483648",
                                   "-2147483649",
                                   "9223372036854775807",
                                   "18446744073709551615",
                                   "18446744073709551616",
                                   "-9223372036854775808",
                                   "1e2",
                                   "007",
                                   "\"1\"",
                                   "true",
                                   "null",
                                   "[]",
                                   "{}"}) {
            out.push_back(seed.substr(0, digit) + number + seed.substr(end));
        }
    }
    for (const char* value : {"true", "false", "null", "\"Gi 1/1\"", "[]", "{}", "1"}) {
        replace_first("true", value);
        replace_first("false", value);
        replace_first("\"Gi 1/1\"", value);
        replace_first("[]", value);
    }
    // The envelope.
    replace_first("\"error\":null", "\"error\":{\"code\":7}");
    replace_first("\"error\":null", "\"error\":{\"code\":7.0,\"message\":\"x\"}");
    replace_first("\"error\":null", "\"error\":{\"code\":4294967296}");
    replace_first("\"error\":null", "\"error\":{\"code\":0}");
    replace_first("\"error\":null", "\"error\":false");
    replace_first("\"error\":null,", "");
    replace_first("\"error\":null", "\"error\":null,\"error\":null");
    replace_first("\"error\":null", "\"error\":null,\"result\":null");
    replace_first("\"id\":\"jsonrpc\",", "");
    replace_first("{\"id\"", "/* note */{\"id\"");
    replace_first("{\"id\"", "// note\n{\"id\"");
    replace_first("\"result\":", "\"result\": /* x */");
    out.push_back(seed + " ");
    out.push_back(seed + "x");
    out.push_back(seed + "{}");
    out.push_back(seed + std::string(1, '\0') + "x");
    out.push_back("[" + seed + "]");
    out.push_back("");
    // Members: the first member name of the result twice, or missing.
    const std::size_t brace = seed.find('{', result);
    if (brace != std::string::npos) {
        const std::size_t comma = seed.find_first_of(",}", brace + 1);
        const std::string member = seed.substr(brace + 1, comma - brace - 1);
        if (member.size() > 2 && member[0] == '"') {
            out.push_back(seed.substr(0, brace + 1) + member + "," + seed.substr(brace + 1));
            out.push_back(seed.substr(0, brace + 1) +
                          seed.substr(comma + (seed[comma] == ',' ? 1 : 0)));
            out.push_back(seed.substr(0, brace + 1) + "\"unknown\":[1,{\"x\":2}]," +
                          seed.substr(brace + 1));
        }
    }
    // Cuts, and NUL bytes, at a spread of places.
    for (std::size_t i = 1; i < 8; ++i) {
        const std::size_t at = seed.size() * i / 8;
        out.push_back(seed.substr(0, at));
        std::string with_nul = seed;
        with_nul[at] = '\0';
        out.push_back(with_nul);
    }
    // Whitespace and escapes the tree reads too.
    std::string spaced;
    for (char c : seed) {
        spaced += c;
        if (c == ',' || c == ':') spaced += " \n\t";
    }
    out.push_back(spaced);
    replace_first("Gi 1/1", "Gi\\u0020\\/1\\/1");
    replace_first("Gi 1/1", "Gi 1/1\\u0000");
    return out;
}

TEST(FastDecode, EveryVariantOfEveryFormDecodesAsTheTreeDoes) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    std::size_t checked = 0;
    for (std::size_t i = 0; i < count; ++i) {
        for (const std::string& text : variants(cases[i].seed())) {
            const std::string difference = cases[i].compare(text);
            EXPECT_EQ(difference, "") << cases[i].name << "\n" << text;
            ++checked;
        }
    }
    EXPECT_GT(checked, 1000u);
}

// The valid answers must take the direct way, so that the direct path cannot be a decoder that
// always says no (the test above would still pass). The two forms that never decode directly
// are left out.
TEST(FastDecode, ValidAnswersAreDecodedWithoutTheTree) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = cases[i].name;
        if (name == "key-only table" || name == "three-member key") continue;
        const std::string seed = cases[i].seed();
        EXPECT_TRUE(cases[i].direct(seed)) << name << "\n" << seed;
    }
}

}  // namespace
