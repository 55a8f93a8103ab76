// Enumeration and record codecs, by rule. The records and enumerations are picked for what makes
// them telling: gaps in the values, texts with punctuation, two enumerations that share texts,
// fields cut to a narrow width, VLAN lists, byte lists and records used as table keys.

#include <gtest/gtest.h>
#include <json/json.h>

#include <stdexcept>
#include <string>

#include "client/zoltclient.h"
#include "support/expect.h"

namespace {

using zolt_test::json;

template <class T>
void expect_runtime_error(const Json::Value& value, T& target, const char* what) {
    EXPECT_EQ(zolt_test::runtime_error_of([&] { parse(value, target); }), what)
        << value.toStyledString();
}

// --- enumerations ------------------------------------------------------------------------------

// Also inside a record, whose whole write then fails.
TEST(EnumerationCodec, ValuesWithoutTextAreRefusedOnWriting) {
    for (int gap : {3, 4, 5, 6, 16, -1, 99}) {
        EXPECT_THROW_EXACT(serialize(static_cast<zolt_appl_sfp_tranceiver_t>(gap)),
                           std::runtime_error, "out-of-range-enum")
            << gap;
    }
    zolt_appl_port_mib_conf_t conf{};
    conf.Speed = static_cast<zolt_appl_port_speed_t>(99);
    EXPECT_THROW_EXACT(serialize(conf), std::runtime_error, "out-of-range-enum");
}

TEST(EnumerationCodec, ReadsExactTextsOnlyAndARefusalLeavesTheTargetAlone) {
    zolt_appl_sfp_tranceiver_t sfp{};
    parse(Json::Value("sfp10G-DAC"), sfp);
    EXPECT_EQ(sfp, 15);

    const struct {
        Json::Value value;
        const char* what;
    } refused[] = {{Json::Value("OFF"), "out-of-range-enum"},
                   {Json::Value("off "), "out-of-range-enum"},
                   {Json::Value(""), "out-of-range-enum"},
                   {Json::Value(std::string("off\0x", 5)), "out-of-range-enum"},
                   {Json::Value(1), "Unexpected type"},
                   {Json::Value(), "Unexpected type"},
                   {json("[\"on\"]"), "Unexpected type"}};
    for (const auto& c : refused) {
        zolt_appl_port_fc_t fc = zolt_appl_port_fc_on;
        expect_runtime_error(c.value, fc, c.what);
        EXPECT_EQ(fc, zolt_appl_port_fc_on) << c.value.toStyledString();
    }
}

// --- records: reading ----------------------------------------------------------------------------

const char* kStatus =
    R"({"Link":true,"Fdx":true,"Fiber":false,"Speed":"s10G","SFPType":"sfp10G-DAC",
        "SFPVendorName":"ACME","SFPVendorPN":"PN-1","SFPVendorRev":"A","LossOfSignal":false,
        "TxFault":false,"Present":true,"Unknown":{"deep":[1,2]}})";

// Members are read in declared order, straight into the target: a failure stops there, the fields
// before it written and the failing one and those after it as they were.
TEST(RecordCodec, ReadsFieldByFieldAndStopsAtTheFirstFailure) {
    zolt_appl_port_mib_status_t status{};
    parse(json(kStatus), status);
    EXPECT_TRUE(status.Link);
    EXPECT_EQ(status.Speed, zolt_port_speed_s10G);
    EXPECT_EQ(status.SFPType, 15);
    EXPECT_EQ(status.SFPVendorName, "ACME");
    EXPECT_TRUE(status.Present) << "unknown members are ignored";

    Json::Value missing = json(kStatus);
    missing.removeMember("Present");  // the last member
    zolt_appl_port_mib_status_t partly{};
    partly.Present = true;
    expect_runtime_error(missing, partly, "Unexpected type");
    EXPECT_EQ(partly.SFPVendorRev, "A");
    EXPECT_FALSE(partly.TxFault);
    EXPECT_TRUE(partly.Present) << "the failing field keeps what it held";

    Json::Value unknown_speed = json(kStatus);
    unknown_speed["Speed"] = "s1g";  // wrong case: unknown text
    zolt_appl_port_mib_status_t stopped{};
    stopped.SFPVendorName = "old";
    expect_runtime_error(unknown_speed, stopped, "out-of-range-enum");
    EXPECT_TRUE(stopped.Fdx);
    EXPECT_EQ(stopped.SFPVendorName, "old");

    zolt_port_bridge_counters_t counters{};
    expect_runtime_error(Json::Value(), counters, "Unexpected type");  // null has no members
}

// --- records: ordering ---------------------------------------------------------------------------

// The first differing field in declared order decides: booleans false first, byte lists by their
// bytes as unsigned values and then by length. (Enumerations order by value, not by text, as the
// syslog control rows of the corpus show.)
TEST(RecordOrder, TheFirstDifferingFieldInDeclaredOrderDecides) {
    zolt_appl_port_mib_conf_t a{}, b{};
    EXPECT_FALSE(a < b) << "equal records compare false both ways";
    EXPECT_FALSE(b < a);
    a.Shutdown = false;
    b.Shutdown = true;
    a.MTU = 9000;  // a later field pointing the other way does not matter
    b.MTU = 1500;
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    b.Shutdown = false;
    EXPECT_TRUE(b < a) << "with the first field equal, MTU decides";
    b.MTU = 9000;
    b.FrameLengthCheck = true;  // the last field still takes part
    EXPECT_TRUE(a < b);

    zolt_appl_voice_vlan_oui_index_t shortPrefix{}, longPrefix{}, higher{};
    shortPrefix.Prefix = {0x00, 0x1f};
    longPrefix.Prefix = {0x00, 0x1f, 0x00};
    higher.Prefix = {0xff};
    EXPECT_TRUE(shortPrefix < longPrefix);
    EXPECT_TRUE(longPrefix < higher);
}

}  // namespace
