// Plain values on the wire: strict about the JSON type, lax about range, appending lists, the
// MAC and byte-list text forms, the time stamp and the two shared records.

#include <gtest/gtest.h>
#include <json/json.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "codec/scalar.h"
#include "codec/value.h"
#include "schema/management/syslog.h"
#include "schema/shared/shared.h"
#include "support/expect.h"
#include "support/time_zone.h"

namespace {

using zolt_test::json;

zolt_mac_t mac(unsigned char a, unsigned char b, unsigned char c, unsigned char d, unsigned char e,
               unsigned char f) {
    return zolt_mac_t{{a, b, c, d, e, f}};
}

std::vector<unsigned char> bytes_of(const zolt_mac_t& m) {
    return std::vector<unsigned char>(m.addr, m.addr + 6);
}

template <class T>
bool same(const T& a, const T& b) {
    return a == b;
}

bool same(const zolt_mac_t& a, const zolt_mac_t& b) { return bytes_of(a) == bytes_of(b); }

template <class T>
void expect_unexpected_type(const std::string& text, T unchanged) {
    T target = unchanged;
    EXPECT_THROW_EXACT(parse(json(text), target), std::runtime_error, "Unexpected type")
        << "input " << text;
    EXPECT_TRUE(same(target, unchanged)) << "target changed by " << text;
}

template <class T>
T read(const std::string& text) {
    T value{};
    parse(json(text), value);
    return value;
}

}  // namespace

// ---- Numbers: the type test, then a cut to width -----------------------------------------

TEST(ScalarRead, ValuesAreCutToTheirWidthWithoutACheckAndWholeRealsPass) {
    EXPECT_EQ(read<unsigned short>("70000"), 4464);
    EXPECT_EQ(read<unsigned char>("300"), 44);
    EXPECT_EQ(read<unsigned char>("4294967295"), 255);
    EXPECT_EQ(read<unsigned int>("4294967295"), 4294967295u);
    EXPECT_EQ(read<short>("40000"), -25536);
    EXPECT_EQ(read<short>("-70000"), -4464);
    EXPECT_EQ(read<unsigned char>("5.0"), 5);
    EXPECT_EQ(read<int>("-3.0"), -3);
    EXPECT_EQ(read<unsigned int>("1e3"), 1000u);
    EXPECT_EQ(read<unsigned long long>("18446744073709551615"), ULLONG_MAX);
    EXPECT_EQ(read<long long>("-9223372036854775808"), LLONG_MIN);
    EXPECT_EQ(read<int>("-2147483648"), INT_MIN);
}

TEST(ScalarRead, SignRangeAndFractionDecideTheTestNotTheCut) {
    expect_unexpected_type<unsigned int>("5.5", 7);
    expect_unexpected_type<int>("-0.5", 7);
    expect_unexpected_type<unsigned char>("-1", 7);
    expect_unexpected_type<unsigned short>("-1", 7);
    expect_unexpected_type<unsigned int>("-1", 7);
    expect_unexpected_type<unsigned int>("4294967296", 7);
    expect_unexpected_type<unsigned char>("4294967296", 7);
    expect_unexpected_type<int>("2147483648", 7);
    expect_unexpected_type<short>("2147483648", 7);
    expect_unexpected_type<unsigned long long>("-1", 7);
    expect_unexpected_type<long long>("18446744073709551615", 7);
}

TEST(ScalarRead, NullAndWrongJsonTypesAreRefusedForEveryType) {
    for (const char* text : {"null", "\"1\"", "[1]", "{}"}) {
        expect_unexpected_type<bool>(text, true);
        expect_unexpected_type<int>(text, 1);
        expect_unexpected_type<short>(text, 1);
        expect_unexpected_type<unsigned char>(text, 1);
        expect_unexpected_type<unsigned short>(text, 1);
        expect_unexpected_type<unsigned int>(text, 1);
        expect_unexpected_type<unsigned long long>(text, 1);
        expect_unexpected_type<long long>(text, 1);
    }
    for (const char* text : {"null", "1", "true", "[]", "{}"}) {
        expect_unexpected_type<std::string>(text, "kept");
        expect_unexpected_type<zolt_mac_t>(text, mac(1, 2, 3, 4, 5, 6));
        expect_unexpected_type<std::vector<unsigned char>>(text, {9});
    }
    expect_unexpected_type<bool>("1", false);
    expect_unexpected_type<bool>("0", true);
    expect_unexpected_type<int>("true", 0);
}

TEST(ScalarRead, StringsReplaceTheOldTextAndKeepNulBytes) {
    std::string text = "old contents that are longer";
    parse(json(R"("new")"), text);
    EXPECT_EQ(text, "new");
    parse(json(R"("a\u0000b")"), text);
    EXPECT_EQ(text, std::string("a\0b", 3));
}

// ---- Lists append, and keep what came before a bad element -------------------------------

// Elements are appended in array order, the target not cleared first, and those before a bad
// element stay.
TEST(ListRead, AppendsInArrayOrderAndKeepsWhatCameBeforeABadElement) {
    std::vector<std::string> names = {"Gi 1/1"};
    parse(json(R"(["Gi 1/2","Gi 1/3"])"), names);
    parse(json("[]"), names);
    EXPECT_EQ(names, (std::vector<std::string>{"Gi 1/1", "Gi 1/2", "Gi 1/3"}));
    EXPECT_THROW_EXACT(parse(json(R"(["a","b",3,"d"])"), names), std::runtime_error,
                       "Unexpected type");
    EXPECT_EQ(names, (std::vector<std::string>{"Gi 1/1", "Gi 1/2", "Gi 1/3", "a", "b"}));

    std::vector<unsigned short> vlans = {1};
    parse(json("[10, 70000, 5.0]"), vlans);
    EXPECT_EQ(vlans, (std::vector<unsigned short>{1, 10, 4464, 5}));
    EXPECT_THROW_EXACT(parse(json("[1,-1,2]"), vlans), std::runtime_error, "Unexpected type");
    EXPECT_EQ(vlans, (std::vector<unsigned short>{1, 10, 4464, 5, 1}));

    for (const char* text : {"null", "\"a\"", "{}", "1"}) {
        expect_unexpected_type<std::vector<std::string>>(text, {"x"});
        expect_unexpected_type<std::vector<unsigned short>>(text, {1});
        expect_unexpected_type<std::vector<unsigned int>>(text, {1});
    }
}

// ---- MAC addresses -----------------------------------------------------------------------

TEST(Mac, WritesSixUpperCaseHexPairs) {
    EXPECT_EQ(zolt::to_json(mac(0x00, 0x1F, 0xA2, 0x0B, 0x3C, 0xD4)),
              Json::Value("00:1F:A2:0B:3C:D4"));
}

// The system's MAC grammar: either letter case, one-digit groups, ":" and nothing else between
// them, and whatever follows the sixth group ignored. A refused text leaves the target alone.
TEST(Mac, ReadsTheSystemsGrammarAndARefusalLeavesTheTargetAlone) {
    const zolt_mac_t expected = mac(0x00, 0x1F, 0xA2, 0x0B, 0x3C, 0xD4);
    for (const char* text : {"00:1F:A2:0B:3C:D4", "0:1f:a2:b:3c:d4", "00:1F:A2:0B:3C:D4: x"}) {
        zolt_mac_t target{};
        parse(Json::Value(text), target);
        EXPECT_EQ(bytes_of(target), bytes_of(expected)) << text;
    }
    for (const char* text : {"00-1F-A2-0B-3C-D4", "001FA20B3CD4", "00:1F:A2:0B:3C", "",
                             "0g:1:2:3:4:5", "000:1:2:3:4:5", "00::1F:A2:0B:3C:D4"}) {
        zolt_mac_t target = mac(1, 2, 3, 4, 5, 6);
        EXPECT_THROW_EXACT(parse(Json::Value(text), target), std::runtime_error,
                           "Mac address is invalid")
            << text;
        EXPECT_EQ(bytes_of(target), bytes_of(mac(1, 2, 3, 4, 5, 6))) << text;
    }
}

TEST(Mac, DecodingFromSeveralThreadsAtOnceGivesEachItsOwnAddress) {
    constexpr int kThreads = 4;
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &mismatches] {
            const zolt_mac_t own = mac(t, t, t, t, t, static_cast<unsigned char>(0xA0 + t));
            const Json::Value text = zolt::to_json(own);
            for (int i = 0; i < 20000; ++i) {
                zolt_mac_t target{};
                parse(text, target);
                if (std::memcmp(target.addr, own.addr, 6) != 0) ++mismatches;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// ---- Byte lists --------------------------------------------------------------------------

// Lower-case hex written, either case read; a read appends.
TEST(ByteList, WritesLowerCaseHexTwoDigitsAByteAndReadsEitherCaseAppending) {
    EXPECT_EQ(zolt::to_json(std::vector<unsigned char>{0, 0x0A, 0xFF}), Json::Value("000aff"));
    EXPECT_EQ(zolt::to_json(std::vector<unsigned char>{}), Json::Value(""));
    std::vector<unsigned char> target = {0x01};
    parse(Json::Value("0AFF"), target);
    parse(Json::Value("0aff"), target);
    parse(Json::Value(""), target);
    EXPECT_EQ(target, (std::vector<unsigned char>{0x01, 0x0A, 0xFF, 0x0A, 0xFF}));
}

TEST(ByteList, PiecesAreConvertedTheWayStrtolTakesThem) {
    struct Case {
        const char* text;
        unsigned char expected;
    };
    for (const Case& c : {Case{"1g", 0x01}, Case{" 7", 0x07}, Case{"-1", 0xFF}, Case{"0x", 0x00},
                          Case{"+f", 0x0F}, Case{"f ", 0x0F}}) {
        std::vector<unsigned char> target;
        parse(Json::Value(c.text), target);
        EXPECT_EQ(target, std::vector<unsigned char>{c.expected}) << c.text;
    }
}

TEST(ByteList, FailuresAndWhatTheyLeaveBehind) {
    std::vector<unsigned char> target = {0x01};
    EXPECT_THROW_EXACT(parse(Json::Value("abc"), target), std::runtime_error,
                       "Unexpected HEX string");
    EXPECT_EQ(target, std::vector<unsigned char>{0x01});

    EXPECT_THROW_EXACT(parse(Json::Value("zz"), target), std::invalid_argument, "stoi");
    EXPECT_THROW_EXACT(parse(Json::Value("  "), target), std::invalid_argument, "stoi");
    EXPECT_EQ(target, std::vector<unsigned char>{0x01});

    // Pieces before the bad one stay appended.
    EXPECT_THROW_EXACT(parse(Json::Value("0203zz04"), target), std::invalid_argument, "stoi");
    EXPECT_EQ(target, (std::vector<unsigned char>{0x01, 0x02, 0x03}));
}

// ---- The time stamp ----------------------------------------------------------------------

zolt_time32_t read_stamp(const char* text) {
    zolt_time32_t value = 0;
    zolt::parse_timestamp(Json::Value(text), value);
    return value;
}

// The JSON text the writer makes of a value, without layout.
std::string compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

// The switch's time_t is 32 bits wide, and so is the syslog history's time stamp field.
static_assert(
    std::is_same<decltype(zolt_appl_syslog_history_t::MsgTimeStamp), zolt_time32_t>::value &&
        sizeof(zolt_time32_t) == 4,
    "the named 32-bit type");

// Central European time is a POSIX rule, so no zone files are needed. On the days its clock
// changes, the stamps around the change still count real seconds.
TEST(TimeStamp, ReadsLocalTimeOfTheProcess) {
    const zolt_test::TimeZoneGuard zone;
    const struct {
        const char* zone;
        const char* text;
        zolt_time32_t seconds;
    } cases[] = {
        {"UTC0", "2020-01-02 03:04:05", 1577934245},
        {"EST5", "2020-01-02 03:04:05", 1577934245 + 5 * 3600},
        // 2021-03-28: at 02:00 winter time the clock moves to 03:00 summer time.
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2021-03-28 01:30:00", 1616891400},  // 00:30 UTC
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2021-03-28 03:30:00", 1616895000},  // 01:30 UTC
        // 2021-10-31: at 03:00 summer time the clock moves back to 02:00 winter time.
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2021-10-31 00:30:00", 1635633000},  // 22:30 UTC
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2021-10-31 04:30:00", 1635651000},  // 03:30 UTC
        // mktime counts in the 64-bit time_t of this machine; the value keeps its low 32 bits,
        // read as signed, as the switch's 32-bit time_t would hold them.
        {"UTC0", "2038-01-19 03:14:07", INT32_MAX},    // mktime 2147483647, the last 32-bit second
        {"UTC0", "2038-01-19 03:14:08", INT32_MIN},    // 2147483648 wraps round
        {"UTC0", "2040-06-01 00:00:00", -2072845696},  // 2222121600
        {"UTC0", "2106-02-07 06:28:16", 0},            // 4294967296
        {"UTC0", "1901-12-13 20:45:52", INT32_MIN},    // -2147483648, the first 32-bit second
        {"UTC0", "1901-12-13 20:45:51", INT32_MAX},    // -2147483649
    };
    for (const auto& c : cases) {
        zone.set(c.zone);
        EXPECT_EQ(read_stamp(c.text), c.seconds) << c.zone << " " << c.text;
    }
}

TEST(TimeStamp, OnlyTextIsAccepted) {
    zolt_time32_t value = 77;
    EXPECT_THROW_EXACT(zolt::parse_timestamp(Json::Value(1577934245), value), std::runtime_error,
                       "Unexpected type");
    EXPECT_THROW_EXACT(zolt::parse_timestamp(Json::Value(), value), std::runtime_error,
                       "Unexpected type");
    EXPECT_EQ(value, 77);
    EXPECT_NO_THROW(zolt::parse_timestamp(Json::Value("not a date"), value));
}

TEST(TimeStamp, WritesTheSecondsWidenedWithTheirSign) {
    for (const zolt_time32_t seconds : {-1, INT32_MIN, INT32_MAX, 0}) {
        const Json::Value written = zolt::timestamp_to_json(seconds);
        EXPECT_EQ(written.type(), Json::intValue) << seconds;
        EXPECT_EQ(compact(written), std::to_string(seconds));
    }
}

// ---- The shared records ------------------------------------------------------------------

// Generated like every record: a failure names the member it stopped at, and the members read
// before it stay written.
TEST(SharedRecords, AFailureNamesItsMemberAndKeepsTheEarlierOnes) {
    zolt_ipv4_uc_t route;
    route.nextHop = "y";
    try {
        parse(json(R"({"networkAddress":"10.0.0.0","networkPrefixSize":"8"})"), route);
        FAIL() << "no exception";
    } catch (const zolt::decode_error& e) {
        EXPECT_STREQ(e.what(), "Unexpected type");
        EXPECT_EQ(e.path(), "networkPrefixSize");
    }
    EXPECT_EQ(route.networkAddress, "10.0.0.0");
    EXPECT_EQ(route.nextHop, "y");
    EXPECT_TRUE((NAS_ifindex_index{"Z"} < NAS_ifindex_index{"\xC3"})) << "bytes are unsigned";
}
