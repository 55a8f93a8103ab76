// The direct decoder must be the way valid answers take. That it decodes every answer, valid or
// damaged, as the tree does is the fast fuzz target's part: its corpus (fuzz/corpus/fast, replayed
// by the fuzz_fast_corpus test) holds every form's valid answer with each kind of damage a server
// or a network can do: other spellings of a number, other JSON types in each place, the envelope's
// members changed, missing or doubled, comments, text around the answer, cuts and NUL bytes at a
// spread of places, whitespace and escapes.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/fast_decode_cases.h"

namespace {

using zolt_fast_cases::Case;

// Every case name, for the tests below that pick cases.
const Case& case_named(const std::string& name) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t i = 0; i < count; ++i) {
        if (name == cases[i].name) return cases[i];
    }
    throw std::logic_error("no case " + name);
}

// Long answers are read a window at a time; small windows put window edges at every row, and
// in the middle of answers cut short.
TEST(FastDecode, WindowEdgesEverywhereDecodeAsTheTreeDoes) {
    std::size_t count = 0;
    const Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t window : {1u, 13u, 64u}) {
        zolt::fast::set_window(window);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string seed = cases[i].seed();
            for (std::size_t cut = 0; cut <= 8; ++cut) {
                const std::string text = seed.substr(0, seed.size() * cut / 8);
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

// Otherwise the direct path could be a decoder that always says no and agreement with the tree
// would still hold. The two forms that never decode directly are left out.
TEST(FastDecode, ValidAnswersAreDecodedWithoutTheTree) {
    std::size_t count = 0;
    const zolt_fast_cases::Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = cases[i].name;
        if (name == "key-only table" || name == "three-member key") continue;
        const std::string seed = cases[i].seed();
        EXPECT_TRUE(cases[i].direct(seed)) << name << "\n" << seed;
        EXPECT_EQ(cases[i].compare(seed), "") << name;
    }
}

}  // namespace
