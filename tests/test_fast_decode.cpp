// The direct decoder against the tree: valid answers of every value form, and the same answers
// with the kinds of damage a server or a network can do, must give the same code or exception
// and leave the same output.

#include <gtest/gtest.h>

#include <stdexcept>
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

// Every case name, for the tests below that pick cases.
const Case& case_named(const std::string& name) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t i = 0; i < count; ++i) {
        if (name == cases[i].name) return cases[i];
    }
    throw std::logic_error("no case " + name);
}

// Long answers are read a window at a time; small windows put window edges at every row, in
// every variant, and in the middle of the damaged ones.
TEST(FastDecode, EveryVariantDecodesAsTheTreeDoesWithWindowEdgesEverywhere) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t window : {1u, 13u, 64u}) {
        zolt::fast::set_window(window);
        for (std::size_t i = 0; i < count; ++i) {
            for (const std::string& text : variants(cases[i].seed())) {
                EXPECT_EQ(cases[i].compare(text), "")
                    << cases[i].name << " window " << window << "\n"
                    << text;
            }
        }
    }
    zolt::fast::set_window(256 << 10);
}

// Each integer form at and past the edges of every width, in every spelling JSON and JsonCpp
// give a number.
TEST(FastDecode, NumbersAtEveryWidthsEdgeDecodeAsTheTreeDoes) {
    const char* const numbers[] = {"0",
                                   "-0",
                                   "1",
                                   "-1",
                                   "127",
                                   "128",
                                   "-128",
                                   "-129",
                                   "255",
                                   "256",
                                   "32767",
                                   "32768",
                                   "-32768",
                                   "-32769",
                                   "65535",
                                   "65536",
                                   "2147483647",
                                   "2147483648",
                                   "-2147483648",
                                   "-2147483649",
                                   "4294967295",
                                   "4294967296",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "-9223372036854775808",
                                   "-9223372036854775809",
                                   "18446744073709551615",
                                   "18446744073709551616",
                                   "99999999999999999999",
                                   "00",
                                   "01",
                                   "-01",
                                   "1.0",
                                   "1e0",
                                   "1E+2",
                                   "-",
                                   "+1",
                                   "0x10",
                                   "1 ",
                                   " 1"};
    for (const char* name :
         {"bool", "unsigned char", "unsigned short", "unsigned int", "unsigned long long", "short",
          "int", "long long", "u16 key and value"}) {
        const Case& c = case_named(name);
        for (const char* number : numbers) {
            const std::string value = number;
            const std::string text =
                std::string(name) == "u16 key and value"
                    ? zolt_fast_cases::answer(zolt_fast_cases::rows({value, "1"}, value))
                    : zolt_fast_cases::answer(value);
            EXPECT_EQ(c.compare(text), "") << name << ": " << number;
        }
    }
    // Inside a record and in a member nobody reads.
    const Case& record = case_named("record of u64");
    for (const char* number : numbers) {
        std::string text = record.seed();
        const std::size_t colon = text.find(':', text.find("\"result\""));
        const std::size_t first = text.find(':', colon + 1);
        const std::size_t end = text.find_first_of(",}", first);
        EXPECT_EQ(record.compare(text.substr(0, first + 1) + number + text.substr(end)), "")
            << number;
        EXPECT_EQ(record.compare(text.substr(0, colon + 2) + "\"x\":" + number + "," +
                                 text.substr(colon + 2)),
                  "")
            << number;
    }
}

// Text that is not UTF-8 is read by the tree byte for byte; the parser refuses it, so the answer
// must come back the tree's way, wherever the bytes stand.
TEST(FastDecode, TextThatIsNotUtf8DecodesAsTheTreeDoes) {
    const char* const bytes[] = {
        "\xff",     "\xc3",        "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
        "\xe2\x82", "caf\xc3\xa9", "\x80"};
    const Case& strings = case_named("list of string");
    const Case& table = case_named("table of counters");
    const Case& call = case_named("call");
    for (const char* b : bytes) {
        const std::string text = b;
        EXPECT_EQ(strings.compare(zolt_fast_cases::answer("[\"Gi " + text + "\"]")), "") << text;
        EXPECT_EQ(table.compare(zolt_fast_cases::answer(zolt_fast_cases::rows(
                      {"\"Gi 1/1\"", "\"" + text + "\""},
                      zolt_fast_cases::value_of("port.statistics.rmon.get")))),
                  "")
            << text;
        EXPECT_EQ(call.compare("{\"error\":null,\"x\":\"" + text + "\",\"result\":1}"), "") << text;
        EXPECT_EQ(call.compare("{\"error\":null,\"" + text + "\":1,\"result\":1}"), "") << text;
        const bool valid = std::string(b) == "caf\xc3\xa9";
        EXPECT_EQ(strings.direct(zolt_fast_cases::answer("[\"" + text + "\"]")), valid) << text;
    }
}

// Nesting past the walk's limit and past the tree parser's own, and answers wide in rows,
// members and elements: each comes back as the tree gives it.
TEST(FastDecode, DeepAndWideAnswersDecodeAsTheTreeDoes) {
    const Case& call = case_named("call");
    const Case& table = case_named("table of counters");
    for (int depth : {1, 60, 63, 64, 65, 200, 999, 1000, 1001, 5000}) {
        const std::string deep = std::string(depth, '[') + std::string(depth, ']');
        EXPECT_EQ(call.compare(zolt_fast_cases::answer(deep)), "") << depth;
        std::string objects;
        for (int i = 0; i < depth; ++i) objects += "{\"a\":";
        objects += "1" + std::string(depth, '}');
        EXPECT_EQ(call.compare(zolt_fast_cases::answer(objects)), "") << depth;
        const std::string row =
            "{\"key\":\"Gi 1/1\",\"val\":" + zolt_fast_cases::value_of("port.statistics.rmon.get") +
            ",\"deep\":" + deep + "}";
        EXPECT_EQ(table.compare(zolt_fast_cases::answer("[" + row + "]")), "") << depth;
    }
    EXPECT_TRUE(call.direct(zolt_fast_cases::answer(std::string(60, '[') + std::string(60, ']'))));
    EXPECT_FALSE(call.direct(zolt_fast_cases::answer(std::string(70, '[') + std::string(70, ']'))));

    // Many rows (longer than a window, so read in windows), with a doubled key and a damaged
    // last row; many unknown members; a long list.
    std::vector<std::string> keys;
    for (int i = 0; i < 3000; ++i) keys.push_back("\"Gi 1/" + std::to_string(i % 2500) + "\"");
    const std::string value = zolt_fast_cases::value_of("port.statistics.rmon.get");
    const std::string many = zolt_fast_cases::answer(zolt_fast_cases::rows(keys, value));
    ASSERT_GT(many.size(), std::size_t{3} << 18);
    EXPECT_TRUE(table.direct(many));
    EXPECT_EQ(table.compare(many), "");
    std::string damaged = many;
    damaged.insert(damaged.rfind('}', damaged.size() - 3), ",\"x\":01");
    EXPECT_FALSE(table.direct(damaged));
    EXPECT_EQ(table.compare(damaged), "");
    std::string cut_in_string = many;
    const std::size_t key = many.find("\"Gi 1/1500\"");
    cut_in_string.replace(key, 11, "\"Gi },{ 1/1500\"");
    EXPECT_EQ(table.compare(cut_in_string), "");

    std::string members = "{";
    for (int i = 0; i < 5000; ++i) members += "\"m" + std::to_string(i) + "\":[1,\"x\"],";
    const Case& record = case_named("record of u64");
    const std::string seed = record.seed();
    const std::size_t open = seed.find('{', seed.find("\"result\""));
    EXPECT_EQ(record.compare(seed.substr(0, open) + members + seed.substr(open + 1)), "");
    EXPECT_TRUE(record.direct(seed.substr(0, open) + members + seed.substr(open + 1)));

    std::string list = "[";
    for (int i = 0; i < 100000; ++i) list += (i > 0 ? ",\"" : "\"") + std::to_string(i) + "\"";
    list += "]";
    const Case& strings = case_named("list of string");
    EXPECT_EQ(strings.compare(zolt_fast_cases::answer(list)), "");
    EXPECT_TRUE(strings.direct(zolt_fast_cases::answer(list)));
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
