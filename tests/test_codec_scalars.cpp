// Plain values on the wire: strict about the JSON type, lax about range, appending lists, the
// MAC and byte-list text forms, the time stamp and the two shared records.

#include <gtest/gtest.h>
#include <json/json.h>
#include <netinet/ether.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "codec/scalar.h"
#include "codec/value.h"
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

// ---- Writers: which JSON type each C++ type becomes --------------------------------------

TEST(ScalarWrite, NarrowUnsignedTypesBecomeSignedIntegers) {
    EXPECT_EQ(zolt::to_json(static_cast<unsigned char>(200)).type(), Json::intValue);
    EXPECT_EQ(zolt::to_json(static_cast<unsigned short>(65535)).type(), Json::intValue);
    EXPECT_EQ(zolt::to_json(static_cast<short>(-2)).type(), Json::intValue);
    EXPECT_EQ(zolt::to_json(-2).type(), Json::intValue);
    EXPECT_EQ(zolt::to_json(7u).type(), Json::uintValue);
    EXPECT_EQ(zolt::to_json(ULLONG_MAX).type(), Json::uintValue);
    EXPECT_EQ(zolt::to_json(ULLONG_MAX).asUInt64(), ULLONG_MAX);
    EXPECT_EQ(zolt::to_json(LLONG_MIN).type(), Json::intValue);
    EXPECT_EQ(zolt::to_json(LLONG_MIN).asInt64(), LLONG_MIN);
    EXPECT_EQ(zolt::to_json("literal").type(), Json::stringValue);
}

// ---- Lists append, and keep what came before a bad element -------------------------------

TEST(ListRead, AppendsInArrayOrderWithoutClearing) {
    std::vector<std::string> names = {"Gi 1/1"};
    parse(json(R"(["Gi 1/2","Gi 1/3"])"), names);
    EXPECT_EQ(names, (std::vector<std::string>{"Gi 1/1", "Gi 1/2", "Gi 1/3"}));
    parse(json("[]"), names);
    EXPECT_EQ(names.size(), 3u);

    std::vector<unsigned short> vlans = {1};
    parse(json("[10, 70000, 5.0]"), vlans);
    EXPECT_EQ(vlans, (std::vector<unsigned short>{1, 10, 4464, 5}));
}

TEST(ListRead, ABadElementThrowsWithTheEarlierOnesAppended) {
    std::vector<std::string> names;
    EXPECT_THROW_EXACT(parse(json(R"(["a","b",3,"d"])"), names), std::runtime_error,
                       "Unexpected type");
    EXPECT_EQ(names, (std::vector<std::string>{"a", "b"}));

    std::vector<unsigned short> vlans;
    EXPECT_THROW_EXACT(parse(json("[1,-1,2]"), vlans), std::runtime_error, "Unexpected type");
    EXPECT_EQ(vlans, (std::vector<unsigned short>{1}));
}

TEST(ListRead, NonArraysAreRefused) {
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

TEST(Mac, ReadsExactlyWhatTheSystemParserAcceptsAndRefusesTheRestLeavingTheTargetAlone) {
    // A few fixed texts, then texts built from group and separator forms around the edges of the
    // grammar, compared with the C library's own ether_aton on a single thread.
    // Valid forms come more often, so that a fair share of whole texts is valid.
    const char* fixed[] = {"", "001FA20B3CD4", "00:1f:A2:0B:3C:D4 trailing"};
    const char* groups[] = {"0", "a", "F", "00", "aF", "C7", "0",  "a", "F", "00",  "aF", "C7",
                            "0", "a", "F", "00", "aF", "C7", "0g", "g", "",  "000", " 1"};
    const char* separators[] = {":", ":", ":", ":", ":", ":", "-", " ", "", "::"};
    const char* endings[] = {"", "", " ", "\t", ":", "x", ":55", "0"};
    unsigned state = 12345;
    const auto next = [&state](unsigned n) {
        state = state * 1103515245u + 12345u;
        return (state >> 16) % n;
    };
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text = i < 3 ? fixed[i] : "";
        for (int group = 0; group < 6 && i >= 3; ++group) {
            if (group > 0) text += separators[next(sizeof separators / sizeof *separators)];
            text += groups[next(sizeof groups / sizeof *groups)];
        }
        if (i >= 3) text += endings[next(sizeof endings / sizeof *endings)];

        const ether_addr* expected = ether_aton(text.c_str());
        zolt_mac_t target = mac(1, 2, 3, 4, 5, 6);
        if (expected == nullptr) {
            EXPECT_THROW_EXACT(parse(Json::Value(text), target), std::runtime_error,
                               "Mac address is invalid")
                << text;
            EXPECT_EQ(bytes_of(target), bytes_of(mac(1, 2, 3, 4, 5, 6))) << text;
            continue;
        }
        ++accepted;
        const std::vector<unsigned char> want(expected->ether_addr_octet,
                                              expected->ether_addr_octet + 6);
        EXPECT_NO_THROW(parse(Json::Value(text), target)) << text;
        EXPECT_EQ(bytes_of(target), want) << text;
    }
    EXPECT_GT(accepted, 100) << "the sample should hold valid texts too";
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

TEST(ByteList, WritesLowerCaseHexTwoDigitsAByte) {
    EXPECT_EQ(zolt::to_json(std::vector<unsigned char>{0, 0x0A, 0xFF}), Json::Value("000aff"));
    EXPECT_EQ(zolt::to_json(std::vector<unsigned char>{}), Json::Value(""));
}

TEST(ByteList, ReadsEitherCaseAndAppends) {
    std::vector<unsigned char> target = {0x01};
    parse(Json::Value("0AFF"), target);
    parse(Json::Value("0aff"), target);
    EXPECT_EQ(target, (std::vector<unsigned char>{0x01, 0x0A, 0xFF, 0x0A, 0xFF}));
    parse(Json::Value(""), target);
    EXPECT_EQ(target.size(), 5u);
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

TEST(TimeStamp, ReadsLocalTimeOfTheProcess) {
    const zolt_test::TimeZoneGuard zone;
    zone.set("UTC0");
    EXPECT_EQ(read_stamp("2020-01-02 03:04:05"), 1577934245);
    zone.set("EST5");
    EXPECT_EQ(read_stamp("2020-01-02 03:04:05"), 1577934245 + 5 * 3600);
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

TEST(TimeStamp, WritesTheSecondsAsASignedNumber) {
    EXPECT_EQ(zolt::timestamp_to_json(-1).type(), Json::intValue);
    EXPECT_EQ(zolt::timestamp_to_json(-1).asInt64(), -1);
}

// ---- The shared records ------------------------------------------------------------------

TEST(Ipv4Route, WritesItsThreeMembersAndReadsThemByKey) {
    const zolt_ipv4_uc_t route = {"10.0.0.0", 8, "10.0.0.1"};
    EXPECT_EQ(serialize(route),
              json(R"({"networkAddress":"10.0.0.0","networkPrefixSize":8,"nextHop":"10.0.0.1"})"));
    zolt_ipv4_uc_t read = {"x", 0, "y"};
    parse(json(R"({"nextHop":"1.1.1.1","extra":[],"networkPrefixSize":24,
                   "networkAddress":"192.168.0.0"})"),
          read);
    EXPECT_EQ(read.networkAddress, "192.168.0.0");
    EXPECT_EQ(read.networkPrefixSize, 24);
    EXPECT_EQ(read.nextHop, "1.1.1.1");
}

TEST(Ipv4Route, AMissingMemberFailsAfterTheEarlierOnesAreWritten) {
    zolt_ipv4_uc_t route = {"x", 0, "y"};
    EXPECT_THROW_EXACT(parse(json(R"({"networkAddress":"10.0.0.0","networkPrefixSize":8})"), route),
                       std::runtime_error, "Unexpected type");
    EXPECT_EQ(route.networkAddress, "10.0.0.0");
    EXPECT_EQ(route.networkPrefixSize, 8);
    EXPECT_EQ(route.nextHop, "y");

    EXPECT_THROW_EXACT(parse(json("null"), route), std::runtime_error, "Unexpected type");
    EXPECT_THROW_EXACT(parse(json("[1]"), route), std::logic_error,
                       "in Json::Value::find(key, end, found): requires objectValue or nullValue");
}

TEST(Ipv4Route, OrdersByAddressThenPrefixThenNextHop) {
    const zolt_ipv4_uc_t a = {"10.0.0.0", 8, "10.0.0.9"};
    const zolt_ipv4_uc_t b = {"10.0.0.0", 16, "10.0.0.1"};
    const zolt_ipv4_uc_t c = {"9.0.0.0", 32, "10.0.0.1"};
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_TRUE(a < c) << "text order: '1' before '9'";
    EXPECT_TRUE((zolt_ipv4_uc_t{"10.0.0.0", 8, "10.0.0.1"} < a));
}

TEST(InterfaceIndex, WritesReadsAndOrders) {
    const NAS_ifindex_index port = {"Gi 1/1"};
    EXPECT_EQ(serialize(port), json(R"({"InterfaceNo":"Gi 1/1"})"));
    NAS_ifindex_index read = {"old"};
    parse(json(R"({"InterfaceNo":"Gi 1/2","x":1})"), read);
    EXPECT_EQ(read.InterfaceNo, "Gi 1/2");
    EXPECT_THROW_EXACT(parse(json("{}"), read), std::runtime_error, "Unexpected type");
    EXPECT_EQ(read.InterfaceNo, "Gi 1/2");
    EXPECT_TRUE(port < read);
    EXPECT_FALSE(read < port);
    EXPECT_TRUE((NAS_ifindex_index{"Z"} < NAS_ifindex_index{"\xC3"})) << "bytes are unsigned";
}
