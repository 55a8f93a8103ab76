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
    try {
        parse(value, target);
        FAIL() << "no exception for " << value.toStyledString();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), what);
    }
}

const char* kNotObject = "in Json::Value::find(key, end, found): requires objectValue or nullValue";

// --- enumerations ------------------------------------------------------------------------------

TEST(EnumerationCodec, WritesTheTextOfEveryValueIncludingPunctuation) {
    EXPECT_EQ(serialize(zolt_appl_sfp_tranceiver_sfp10G_DAC), Json::Value("sfp10G-DAC"));
    EXPECT_EQ(serialize(zolt_appl_sfp_tranceiver_none), Json::Value("none"));
    EXPECT_EQ(serialize(zolt_appl_vlan_user_dot1x), Json::Value("dot1x"));
    EXPECT_EQ(zolt_appl_vlan_user_dot1x, 3);
}

TEST(EnumerationCodec, ValuesWithoutTextAreRefusedOnWriting) {
    for (int gap : {3, 4, 5, 6, 16, -1, 99}) {
        try {
            serialize(static_cast<zolt_appl_sfp_tranceiver_t>(gap));
            FAIL() << gap;
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "out-of-range-enum");
        }
    }
    EXPECT_THROW(serialize(static_cast<zolt_appl_vlan_user_t>(2)), std::runtime_error);
}

TEST(EnumerationCodec, ReadsExactTextsOnly) {
    zolt_appl_sfp_tranceiver_t sfp{};
    parse(Json::Value("sfp10G-DAC"), sfp);
    EXPECT_EQ(sfp, 15);
    parse(Json::Value("sfp1000BaseT"), sfp);
    EXPECT_EQ(sfp, 7);

    zolt_appl_port_fc_t fc = zolt_appl_port_fc_on;
    expect_runtime_error(Json::Value("OFF"), fc, "out-of-range-enum");
    expect_runtime_error(Json::Value("off "), fc, "out-of-range-enum");
    expect_runtime_error(Json::Value(""), fc, "out-of-range-enum");
    EXPECT_EQ(fc, zolt_appl_port_fc_on) << "a refused text leaves the target as it was";
}

TEST(EnumerationCodec, ANumberOrNullIsTheWrongType) {
    zolt_appl_port_fc_t fc = zolt_appl_port_fc_on;
    expect_runtime_error(Json::Value(1), fc, "Unexpected type");
    expect_runtime_error(Json::Value(), fc, "Unexpected type");
    expect_runtime_error(json("[\"on\"]"), fc, "Unexpected type");
    EXPECT_EQ(fc, zolt_appl_port_fc_on);
}

TEST(EnumerationCodec, EnumerationsWithSimilarMeaningDoNotMix) {
    // The configured speed and the running speed are separate sets of texts.
    zolt_appl_port_speed_t configured{};
    expect_runtime_error(Json::Value("s1G"), configured, "out-of-range-enum");
    zolt_port_speed_t running{};
    parse(Json::Value("s1G"), running);
    EXPECT_EQ(running, zolt_port_speed_s1G);
}

TEST(EnumerationCodec, ATextWithAnEmbeddedNulDoesNotMatchItsPrefix) {
    zolt_appl_port_fc_t fc = zolt_appl_port_fc_on;
    expect_runtime_error(Json::Value(std::string("off\0x", 5)), fc, "out-of-range-enum");
}

// --- records: writing ----------------------------------------------------------------------------

TEST(RecordCodec, WritesEveryFieldAlsoAtZeroAndEmpty) {
    const zolt_appl_vlan_port_conf_t conf{};
    const Json::Value written = serialize(conf);
    ASSERT_TRUE(written.isObject());
    EXPECT_EQ(written.getMemberNames().size(), 12u);
    EXPECT_EQ(written["ForbiddenVlans"], Json::Value(Json::arrayValue));
    EXPECT_EQ(written["Mode"], Json::Value("access"));
    EXPECT_EQ(written["AccessVlan"], Json::Value(0));
    EXPECT_EQ(written["TrunkTagNativeVlan"], Json::Value(false));
}

TEST(RecordCodec, NarrowUnsignedFieldsAreWrittenAsSignedIntegers) {
    zolt_appl_port_mib_conf_t conf{};
    conf.AdvertiseDisabled = 255;
    conf.MTU = 4000000000u;
    const Json::Value written = serialize(conf);
    EXPECT_EQ(written["AdvertiseDisabled"].type(), Json::intValue);
    EXPECT_EQ(written["AdvertiseDisabled"].asInt(), 255);
    EXPECT_EQ(written["MTU"].type(), Json::uintValue);
    EXPECT_EQ(written["MTU"].asUInt(), 4000000000u);
}

TEST(RecordCodec, AnEnumerationOutOfRangeInARecordFailsTheWholeWrite) {
    zolt_appl_port_mib_conf_t conf{};
    conf.Speed = static_cast<zolt_appl_port_speed_t>(99);
    try {
        serialize(conf);
        FAIL();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "out-of-range-enum");
    }
}

TEST(RecordCodec, ByteListsAndVlanListsKeepTheirWireForms) {
    zolt_appl_voice_vlan_oui_index_t index{};
    index.Prefix = {0x00, 0x1f, 0xA2};
    EXPECT_EQ(serialize(index)["Prefix"], Json::Value("001fa2"));

    zolt_appl_vlan_port_conf_t conf{};
    conf.TrunkVlans = {20, 1, 20, 4095};  // neither sorted nor merged
    EXPECT_EQ(serialize(conf)["TrunkVlans"], json("[20, 1, 20, 4095]"));
}

// --- records: reading ----------------------------------------------------------------------------

const char* kStatus =
    R"({"Link":true,"Fdx":true,"Fiber":false,"Speed":"s10G","SFPType":"sfp10G-DAC",
        "SFPVendorName":"ACME","SFPVendorPN":"PN-1","SFPVendorRev":"A","LossOfSignal":false,
        "TxFault":false,"Present":true,"Unknown":{"deep":[1,2]}})";

TEST(RecordCodec, ReadsEveryFieldAndIgnoresUnknownMembers) {
    zolt_appl_port_mib_status_t status{};
    parse(json(kStatus), status);
    EXPECT_TRUE(status.Link);
    EXPECT_EQ(status.Speed, zolt_port_speed_s10G);
    EXPECT_EQ(status.SFPType, 15);
    EXPECT_EQ(status.SFPVendorName, "ACME");
    EXPECT_TRUE(status.Present);
}

TEST(RecordCodec, AMissingLastMemberFailsAfterEveryOtherFieldIsWritten) {
    Json::Value answer = json(kStatus);
    answer.removeMember("Present");
    zolt_appl_port_mib_status_t status{};
    status.Present = true;
    expect_runtime_error(answer, status, "Unexpected type");
    EXPECT_EQ(status.SFPVendorRev, "A");
    EXPECT_FALSE(status.TxFault);
    EXPECT_TRUE(status.Present) << "the failing field keeps what it held";
}

TEST(RecordCodec, AFailureStopsTheReadLaterFieldsKeepTheirValues) {
    Json::Value answer = json(kStatus);
    answer["Speed"] = "s1g";  // wrong case: unknown text
    zolt_appl_port_mib_status_t status{};
    status.SFPVendorName = "old";
    expect_runtime_error(answer, status, "out-of-range-enum");
    EXPECT_TRUE(status.Fdx);
    EXPECT_EQ(status.SFPVendorName, "old");
}

TEST(RecordCodec, TheKeysOfASimilarRecordAreNotAccepted) {
    // The status record says NoLinkPartner/ShortCable where the configuration says
    // LinkPartner/ShortReach.
    zolt_appl_port_power_saving_status_t status{};
    expect_runtime_error(json(R"({"LinkPartner":"yes","ShortReach":"no"})"), status,
                         "Unexpected type");
    parse(json(R"({"NoLinkPartner":"notSupported","ShortCable":"notSupported"})"), status);
    EXPECT_EQ(status.NoLinkPartner, 2);
    EXPECT_EQ(status.ShortCable, 2);
}

TEST(RecordCodec, NullReadsAsAnObjectWithoutMembers) {
    zolt_port_bridge_counters_t counters{};
    expect_runtime_error(Json::Value(), counters, "Unexpected type");
}

TEST(RecordCodec, ANonObjectIsALogicError) {
    zolt_port_bridge_counters_t counters{};
    for (const char* text : {"[1]", "5", "\"x\"", "true", "[]"}) {
        try {
            parse(json(text), counters);
            FAIL() << text;
        } catch (const std::logic_error& e) {
            EXPECT_STREQ(e.what(), kNotObject) << text;
        }
    }
}

TEST(RecordCodec, NarrowFieldsAreCutWithoutARangeCheck) {
    zolt_appl_port_kabtest_result_t result{};
    parse(json(R"({"KabtestStatusPairA":"openPair","KabtestStatusPairB":"kabtestRunning",
                   "KabtestStatusPairC":"unknownResult","KabtestStatusPairD":"shortPair",
                   "KabtestLengthStatusPairA":256,"KabtestLengthStatusPairB":300,
                   "KabtestLengthStatusPairC":255.0,"KabtestLengthStatusPairD":0})"),
          result);
    EXPECT_EQ(result.KabtestLengthStatusPairA, 0);
    EXPECT_EQ(result.KabtestLengthStatusPairB, 44);
    EXPECT_EQ(result.KabtestLengthStatusPairC, 255);
    EXPECT_EQ(result.KabtestStatusPairB, zolt_phy_kabtest_status_kabtestRunning);

    Json::Value negative = serialize(result);
    negative["KabtestLengthStatusPairD"] = -1;
    expect_runtime_error(negative, result, "Unexpected type");
}

TEST(RecordCodec, SixtyFourBitCountersReadInFull) {
    zolt_port_ethernet_like_counters_t counters{};
    parse(json(R"({"RxPauseFrames":18446744073709551615,"TxPauseFrames":4294967296})"), counters);
    EXPECT_EQ(counters.RxPauseFrames, 18446744073709551615ull);
    EXPECT_EQ(counters.TxPauseFrames, 4294967296ull);
}

TEST(RecordCodec, ListsAreExtendedNotReplaced) {
    zolt_appl_vlan_config_globals_main_t globals{};
    globals.AccessVlans = {7};
    parse(json(R"({"CustomSPortEtherType":34984,"AccessVlans":[65537, 10, 10]})"), globals);
    EXPECT_EQ(globals.AccessVlans, (std::vector<unsigned short>{7, 1, 10, 10}));

    expect_runtime_error(json(R"({"CustomSPortEtherType":1,"AccessVlans":[2, "3"]})"), globals,
                         "Unexpected type");
    EXPECT_EQ(globals.AccessVlans.back(), 2) << "elements before the bad one stay appended";
    expect_runtime_error(json(R"({"CustomSPortEtherType":1,"AccessVlans":null})"), globals,
                         "Unexpected type");
}

TEST(RecordCodec, RoundTripsThroughItsOwnWriter) {
    zolt_appl_vlan_port_conf_t conf{};
    conf.Mode = zolt_appl_vlan_port_mode_hybrid;
    conf.HybridPortType = zolt_appl_vlan_port_type_sCustom;
    conf.HybridEgressTagging = zolt_appl_vlan_tx_tag_type_untagAll;
    conf.TrunkVlans = {1, 10, 20};
    conf.ForbiddenVlans = {4094};
    zolt_appl_vlan_port_conf_t back{};
    parse(serialize(conf), back);
    EXPECT_FALSE(conf < back);
    EXPECT_FALSE(back < conf);
    EXPECT_EQ(serialize(back), serialize(conf));
}

// --- records: ordering
// -----------------------------------------------------------------------------

TEST(RecordOrder, EqualRecordsCompareFalseBothWays) {
    zolt_appl_port_mib_conf_t a{}, b{};
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(RecordOrder, TheFirstDifferingFieldInDeclaredOrderDecides) {
    zolt_appl_port_mib_conf_t a{}, b{};
    a.Shutdown = false;  // first field: false before true
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
}

TEST(RecordOrder, ByteListsCompareByBytesThenLength) {
    zolt_appl_voice_vlan_oui_index_t shortPrefix{}, longPrefix{}, higher{};
    shortPrefix.Prefix = {0x00, 0x1f};
    longPrefix.Prefix = {0x00, 0x1f, 0x00};
    higher.Prefix = {0xff};
    EXPECT_TRUE(shortPrefix < longPrefix);
    EXPECT_TRUE(longPrefix < higher) << "bytes compare as unsigned values";
}

TEST(RecordOrder, EnumerationsCompareByValueNotByText) {
    zolt_appl_mac_learn_mode_t a{}, b{};
    a.LearnMode = zolt_appl_mac_port_learn_mode_secure;  // "secure" = 2
    b.LearnMode = zolt_appl_mac_port_learn_mode_auto;    // "auto" = 0
    EXPECT_TRUE(b < a);
}

}  // namespace
