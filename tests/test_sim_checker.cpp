// The simulator's own value checker, on its own: it shares no code with the library's codecs, so
// these tests state the switch's rules directly, with type descriptors written here. Also the
// strict check of the hand-written seed rows at start-up, and of the members the simulator's code
// names.

#include <gtest/gtest.h>
#include <json/json.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/model.h"
#include "sim/names.h"
#include "sim/sim_schema.h"
#include "support/expect.h"
#include "support/time_zone.h"

namespace {

using zolt_sim::check;
using zolt_sim::Kind;
using zolt_sim::Member;
using zolt_sim::Type;
using zolt_test::json;

const Type kBool = {"bool", Kind::boolean, 0, 0, nullptr, 0, nullptr, 0};
const Type kU8 = {"unsigned char", Kind::integer, 0, 255, nullptr, 0, nullptr, 0};
const Type kI16 = {"short", Kind::integer, -32768, 32767, nullptr, 0, nullptr, 0};
const Type kU64 = {"unsigned long long", Kind::integer, 0, ~0ULL, nullptr, 0, nullptr, 0};
const Type kText = {"string", Kind::text, 0, 0, nullptr, 0, nullptr, 0};
const Type kMac = {"zolt_mac_t", Kind::mac, 0, 0, nullptr, 0, nullptr, 0};
const Type kHex = {"vector<unsigned char>", Kind::hex, 0, 0, nullptr, 0, nullptr, 0};
// The switch's time_t: 32 bits, signed.
const Type kStamp = {
    "zolt_time32_t", Kind::timestamp, -2147483648LL, 2147483647, nullptr, 0, nullptr, 0};
const Type kNames = {"vector<string>", Kind::text_list, 0, 0, nullptr, 0, nullptr, 0};
const Type kVlans = {
    "vector<unsigned short>", Kind::integer_list, 0, 65535, nullptr, 0, nullptr, 0};
const char* const kModeTexts[] = {"auto", "disable", "secure"};
const Type kMode = {"zolt_mode_t", Kind::enumeration, 0, 0, kModeTexts, 3, nullptr, 0};
const Member kInnerMembers[] = {{"Name", &kText}};
const Type kInner = {"zolt_inner_t", Kind::record, 0, 0, nullptr, 0, kInnerMembers, 1};
const Member kOuterMembers[] = {{"Enabled", &kBool}, {"Mode", &kMode}, {"Inner", &kInner}};
const Type kOuter = {"zolt_outer_t", Kind::record, 0, 0, nullptr, 0, kOuterMembers, 3};
const Type kOpaque = {"zolt_inventory_t", Kind::opaque, 0, 0, nullptr, 0, nullptr, 0};

// The reason the checker gives for `text` as a value of `type`; empty when it is accepted.
std::string refusal(const Type& type, const std::string& text) {
    Json::Value stored;
    std::string why;
    return check(type, json(text), stored, why) ? std::string() : why;
}

Json::Value stored(const Type& type, const std::string& text) {
    Json::Value out;
    std::string why;
    EXPECT_TRUE(check(type, json(text), out, why)) << text << ": " << why;
    return out;
}

// Each value refused with its reason, or accepted (an empty reason): first a value of the wrong
// JSON type for every kind, then values of the right type that must fit its rules.
TEST(SimChecker, ValuesMustHaveTheirJsonTypeAndFitTheirRules) {
    const struct {
        const Type& type;
        const char* text;
        const char* reason;
    } kCases[] = {
        {kBool, "1", "expected a boolean, got an integer"},
        {kU8, "true", "expected an integer, got a boolean"},
        {kU8, "1.5", "expected an integer, got a number with a fraction"},
        {kText, "null", "expected a string, got null"},
        {kMac, "[]", "expected a MAC address text, got an array"},
        {kHex, "{}", "expected a hex text, got an object"},
        {kStamp, "true", "expected a time stamp, got a boolean"},
        {kNames, R"("Gi 1/1")", "expected an array, got a string"},
        {kMode, "0", "expected an enumeration text, got an integer"},
        {kOuter, "[]", "expected an object, got an array"},
        {kOpaque, R"("x")", "expected an object, got a string"},
        // Integers fit their width; list elements are counted from 1.
        {kU8, "255", ""},
        {kU8, "256", "256 is out of range for unsigned char (0..255)"},
        {kU8, "-1", "-1 is out of range for unsigned char (0..255)"},
        {kI16, "-32768", ""},
        {kI16, "32768", "32768 is out of range for short (-32768..32767)"},
        {kU64, "18446744073709551615", ""},
        {kVlans, "[1, 70000]",
         "element 2: 70000 is out of range for vector<unsigned short> (0..65535)"},
        {kNames, R"(["Gi 1/1", 2])", "element 2: expected a string, got an integer"},
        // Enumerations are their exact texts.
        {kMode, R"("secure")", ""},
        {kMode, R"("Secure")", "\"Secure\" is not a text of zolt_mode_t"},
        // Records need every member and no other.
        {kOuter, R"({"Enabled": true, "Mode": "auto", "Inner": {"Name": "x"}})", ""},
        {kOuter, R"({"Enabled": true, "Inner": {"Name": "x"}})", "missing member \"Mode\""},
        {kOuter, R"({"Enabled": true, "Mode": "auto", "Inner": {"Name": 1}})",
         "member \"Inner\": member \"Name\": expected a string, got an integer"},
        {kOuter, R"({"Enabled": true, "Mode": "auto", "Inner": {"Name": ""}, "Bad": 1})",
         "unknown member \"Bad\" in zolt_outer_t"},
        // Texts of a form.
        {kMac, R"("00:1F:A2:0B:3C")", "\"00:1F:A2:0B:3C\" is not a MAC address"},
        {kMac, R"("00:1F:A2:0B:3C:D4:")", "\"00:1F:A2:0B:3C:D4:\" is not a MAC address"},
        {kMac, R"("001:1F:A2:0B:3C:D4")", "\"001:1F:A2:0B:3C:D4\" is not a MAC address"},
        {kHex, R"("0a0")", "\"0a0\" is not hex text of whole bytes"},
        {kStamp, R"("2024-03-01T12:30:05")",
         "\"2024-03-01T12:30:05\" is not a time stamp \"YYYY-MM-DD HH:MM:SS\""},
        // A number of seconds must fit the switch's 32-bit time_t.
        {kStamp, "2147483647", ""},
        {kStamp, "-2147483648", ""},
        {kStamp, "2147483648",
         "2147483648 is out of range for zolt_time32_t (-2147483648..2147483647)"},
        {kStamp, "-2147483649",
         "-2147483649 is out of range for zolt_time32_t (-2147483648..2147483647)"},
    };
    for (const auto& c : kCases) EXPECT_EQ(refusal(c.type, c.text), c.reason) << c.text;
}

TEST(SimChecker, EqualNumbersAreStoredAlikeWhateverTheirJsonType) {
    const Json::Value from_signed = stored(kU64, "5");
    Json::Value from_unsigned;
    std::string why;
    ASSERT_TRUE(check(kU64, Json::Value(Json::UInt64(5)), from_unsigned, why));
    EXPECT_EQ(from_signed, from_unsigned);
    EXPECT_FALSE(from_signed < from_unsigned || from_unsigned < from_signed) << "equal map keys";
}

// A number of seconds, as the library writes one, becomes local-time text, up to the ends of the
// switch's 32-bit time_t.
TEST(SimChecker, ValuesAreStoredInTheSwitchsOwnForm) {
    const zolt_test::TimeZoneGuard zone;
    zone.set("UTC0");
    EXPECT_EQ(stored(kMac, R"("0:1f:a2:b:3c:d4")"), Json::Value("00:1F:A2:0B:3C:D4"));
    EXPECT_EQ(stored(kHex, R"("0A0b")"), Json::Value("0a0b"));
    EXPECT_EQ(stored(kStamp, R"("2024-03-01 12:30:05")"), Json::Value("2024-03-01 12:30:05"));
    EXPECT_EQ(stored(kStamp, "1700000000"), Json::Value("2023-11-14 22:13:20"));
    EXPECT_EQ(stored(kStamp, "2147483647"), Json::Value("2038-01-19 03:14:07"));
    EXPECT_EQ(stored(kStamp, "-2147483648"), Json::Value("1901-12-13 20:45:52"));
    EXPECT_EQ(stored(kOpaque, R"({"anything": [1, 2]})"), json(R"({"anything": [1, 2]})"));
}

// The generated descriptors give every time stamp the range of the switch's time_t; found by
// kind, so no table or field is named here.
TEST(SimChecker, EveryTimeStampOfTheSchemaIsA32BitNumberOfSeconds) {
    int stamps = 0;
    for (std::size_t t = 0; t < zolt_sim::kTableCount; ++t) {
        const zolt_sim::TableInfo& table = zolt_sim::kTables[t];
        for (std::size_t v = 0; v < table.value_count; ++v) {
            const Type& value = *table.values[v];
            for (std::size_t m = 0; m < value.member_count; ++m) {
                const Type& member = *value.members[m].type;
                if (member.kind != Kind::timestamp) continue;
                ++stamps;
                EXPECT_EQ(member.low, -2147483648LL) << table.name;
                EXPECT_EQ(member.high, 2147483647ULL) << table.name;
            }
        }
    }
    EXPECT_GT(stamps, 0);
}

// ---------------------------------------------------------------------------------------------
// The hand-written seed rows are checked against the schema when the switch starts.

std::string seed_failure(const zolt_sim::SeedRow& row) {
    zolt_sim::Model model(2);
    try {
        model.apply_seed({row});
    } catch (const std::logic_error& e) {
        return e.what();
    }
    return "";
}

TEST(SimSeed, EveryRowMustFitTheSchema) {
    using zolt_sim::SeedRow;
    const Json::Value port = json(R"(["Gi 1/1"])");
    const Json::Value mtu = json(R"({"MTU": 9000})");
    EXPECT_EQ(seed_failure(SeedRow{"port.config", port, mtu}), "") << "a partial row is merged";
    EXPECT_EQ(seed_failure(SeedRow{"port.configuration", port, mtu}),
              "seed row of port.configuration: the schema has no such table");
    EXPECT_EQ(seed_failure(SeedRow{"port.config", port, json(R"({"Mtu": 9000})")}),
              "seed row of port.config does not fit: unknown member \"Mtu\" in "
              "zolt_appl_port_mib_conf_t");
    EXPECT_EQ(seed_failure(SeedRow{"port.config", port, json(R"({"MTU": "9000"})")}),
              "seed row of port.config does not fit: member \"MTU\": expected an integer, got a "
              "string");
    EXPECT_EQ(seed_failure(SeedRow{"port.config", Json::Value(), mtu}),
              "seed row of port.config does not fit: the key must be an array of 1 members");
}

// A key constant is a key of some record; the code that reads it from one table has it checked
// against that table's own record.
TEST(SimNames, AMemberMustBelongToTheTableItIsReadFrom) {
    namespace table = zolt_sim::table;
    namespace key = zolt_sim::key;
    EXPECT_NO_THROW(zolt_sim::require_member(table::mac_status_fdb_full, key::PortList));
    EXPECT_NO_THROW(zolt_sim::require_member(table::port_statistics_rmon, key::RxOctets));
    EXPECT_THROW_EXACT(zolt_sim::require_member(table::port_config, key::PortList),
                       std::logic_error,
                       "the simulator names member PortList of table port.config, which the "
                       "schema does not have");
}

}  // namespace
