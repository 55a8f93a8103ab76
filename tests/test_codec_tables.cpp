// Keyed tables: rows into ordered maps, every key form, and the tuple keys that cannot be read.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>

#include "client/zoltclient.h"
#include "support/expect.h"

namespace {

using zolt_test::json;

template <class T>
std::string runtime_error_of(const Json::Value& value, T& target) {
    return zolt_test::runtime_error_of([&] { parse(value, target); });
}

zolt_mac_t mac(unsigned char a, unsigned char b, unsigned char c, unsigned char d, unsigned char e,
               unsigned char f) {
    return zolt_mac_t{{a, b, c, d, e, f}};
}

bool same(const zolt_mac_t& a, const zolt_mac_t& b) { return !(a < b) && !(b < a); }

using VlanMacKey = std::tuple<unsigned short, zolt_mac_t>;

// --- rows into maps ---------------------------------------------------------------------------

TEST(TableCodec, NoRowsLeaveTheMapAsItWas) {
    std::map<std::string, bool> table{{"kept", true}};
    parse(json("[]"), table);
    parse(Json::Value(), table);
    EXPECT_EQ(table, (std::map<std::string, bool>{{"kept", true}}));

    // Also the tables that cannot decode a single row.
    std::map<std::tuple<std::string, int, int>, zolt_appl_port_prio_counter_t> three;
    parse(json("[]"), three);
    std::map<std::string, std::tuple<>> keyOnly;
    parse(json("[]"), keyOnly);
    EXPECT_TRUE(three.empty());
    EXPECT_TRUE(keyOnly.empty());
}

TEST(TableCodec, TheFirstRowWithAKeyWinsAndOldEntriesStay) {
    std::map<std::string, unsigned int> table{{"a", 9}, {"b", 4}};
    parse(json(R"([{"key":"a","val":1},{"key":"c","val":2},{"key":"c","val":3}])"), table);
    EXPECT_EQ(table, (std::map<std::string, unsigned int>{{"a", 9}, {"b", 4}, {"c", 2}}));
}

TEST(TableCodec, EveryRowStartsFromAFreshValue) {
    // The second row must not see the first row's list.
    std::map<unsigned short, std::vector<std::string>> table;
    parse(json(R"([{"key":1,"val":["Gi 1/1","Gi 1/2"]},{"key":2,"val":["Gi 1/3"]}])"), table);
    EXPECT_EQ(table[2], (std::vector<std::string>{"Gi 1/3"}));
}

TEST(TableCodec, AFailingRowKeepsTheRowsBeforeIt) {
    std::map<int, bool> table;
    EXPECT_EQ(
        runtime_error_of(json(R"([{"key":1,"val":true},{"key":2},{"key":3,"val":true}])"), table),
        "Unexpected type");
    EXPECT_EQ(table, (std::map<int, bool>{{1, true}}));
}

TEST(TableCodec, ARowThatIsNoObjectIsALogicError) {
    std::map<int, bool> table;
    try {
        parse(json(R"([{"key":1,"val":true}, [2, false]])"), table);
        FAIL();
    } catch (const std::logic_error& e) {
        EXPECT_STREQ(e.what(),
                     "in Json::Value::find(key, end, found): requires objectValue or nullValue");
    }
    EXPECT_EQ(table.size(), 1u);
}

TEST(TableCodec, NumberKeysAreTestedAndCutToWidth) {
    std::map<unsigned short, zolt_appl_vlan_name_t> names;
    parse(json(R"([{"key":70000,"val":{"Name":"x"}},{"key":10.0,"val":{"Name":"y"}}])"), names);
    EXPECT_EQ(names.at(4464).Name, "x");
    EXPECT_EQ(names.at(10).Name, "y");
    EXPECT_EQ(runtime_error_of(json(R"([{"key":-1,"val":{"Name":"z"}}])"), names),
              "Unexpected type");

    std::map<int, bool> signedKeys;
    parse(json(R"([{"key":-5,"val":false}])"), signedKeys);
    EXPECT_EQ(signedKeys.begin()->first, -5);
}

TEST(TableCodec, RecordKeysOrderByTheirOwnComparison) {
    std::map<zolt_appl_voice_vlan_oui_index_t, zolt_appl_voice_vlan_telephony_oui_conf_t> ouis;
    parse(json(R"([{"key":{"Prefix":"ff"},"val":{"Description":"b"}},
                   {"key":{"Prefix":"001FA2"},"val":{"Description":"a"}}])"),
          ouis);
    ASSERT_EQ(ouis.size(), 2u);
    EXPECT_EQ(ouis.begin()->first.Prefix, (std::vector<unsigned char>{0x00, 0x1f, 0xa2}));
    EXPECT_EQ(ouis.begin()->second.Description, "a");
}

TEST(TableCodec, EnumerationKeysReadTheirTextAndOrderByValue) {
    // Two texts of the civic-address element enumeration, given in the reverse of their values.
    const Json::Value high = serialize(static_cast<zolt_appl_lldp_med_catype_t>(6));
    const Json::Value low = serialize(static_cast<zolt_appl_lldp_med_catype_t>(1));
    const Json::Value val = serialize(zolt_lldpmed_ca_type_t{});
    Json::Value rows(Json::arrayValue);
    for (const Json::Value* key : {&high, &low}) {
        Json::Value row(Json::objectValue);
        row["key"] = *key;
        row["val"] = val;
        rows.append(row);
    }
    std::map<zolt_appl_lldp_med_catype_t, zolt_lldpmed_ca_type_t> location;
    parse(rows, location);
    ASSERT_EQ(location.size(), 2u);
    EXPECT_EQ(location.begin()->first, 1);
    EXPECT_EQ(location.rbegin()->first, 6);
}

// --- two-member tuple keys ---------------------------------------------------------------------

TEST(TupleKey, MembersAreReadInOrderEachByItsRule) {
    std::tuple<std::string, int> key;
    parse(json(R"(["Gi 1/1", 3])"), key);
    EXPECT_EQ(key, std::make_tuple(std::string("Gi 1/1"), 3));

    std::tuple<unsigned short, zolt_appl_vlan_user_t> user;
    parse(json(R"([10, "dot1x"])"), user);
    EXPECT_EQ(std::get<1>(user), zolt_appl_vlan_user_dot1x);
    EXPECT_EQ(runtime_error_of(json(R"([10, "Dot1x"])"), user), "out-of-range-enum");
}

TEST(TupleKey, AMissingSecondMemberFailsAfterTheFirstIsRead) {
    std::tuple<std::string, int> key{"old", 7};
    EXPECT_EQ(runtime_error_of(json(R"(["x"])"), key), "Unexpected type");
    EXPECT_EQ(std::get<0>(key), "x");
    EXPECT_EQ(std::get<1>(key), 7);
}

TEST(TupleKey, ExtraMembersAreIgnoredAndANonArrayIsRefused) {
    std::tuple<int, int> key;
    parse(json("[1, 2, 3]"), key);
    EXPECT_EQ(key, std::make_tuple(1, 2));
    EXPECT_EQ(runtime_error_of(json(R"({"0":1,"1":2})"), key), "Unexpected type");
    EXPECT_EQ(runtime_error_of(json("12"), key), "Unexpected type");
}

TEST(TupleKey, TablesOrderByTheFirstMemberFirst) {
    std::map<std::tuple<std::string, int>, zolt_appl_port_prio_counter_t> queues;
    parse(json(R"([{"key":["Gi 1/2",0],"val":{"RxPrio":1,"TxPrio":1}},
                   {"key":["Gi 1/1",7],"val":{"RxPrio":2,"TxPrio":2}},
                   {"key":["Gi 1/1",0],"val":{"RxPrio":3,"TxPrio":3}}])"),
          queues);
    std::vector<std::tuple<std::string, int>> order;
    for (const auto& row : queues) order.push_back(row.first);
    EXPECT_EQ(order, (std::vector<std::tuple<std::string, int>>{
                         {"Gi 1/1", 0}, {"Gi 1/1", 7}, {"Gi 1/2", 0}}));
}

// --- the MAC table's key
// ----------------------------------------------------------------------------

TEST(MacTableKey, ReadsVlanAndAddressInEitherCase) {
    VlanMacKey lower, upper;
    parse(json(R"([1, "00:1f:a2:0b:3c:d4"])"), lower);
    parse(json(R"([1, "00:1F:A2:0B:3C:D4"])"), upper);
    EXPECT_EQ(std::get<0>(lower), 1);
    EXPECT_TRUE(same(std::get<1>(lower), mac(0x00, 0x1f, 0xa2, 0x0b, 0x3c, 0xd4)));
    EXPECT_TRUE(same(std::get<1>(upper), std::get<1>(lower)));
}

TEST(MacTableKey, ShortAndOddAddressTextsAreNotRefused) {
    VlanMacKey key;
    parse(json(R"([1, "00:1f"])"), key);
    EXPECT_TRUE(same(std::get<1>(key), mac(0x00, 0x1f, 0, 0, 0, 0)));

    VlanMacKey blank;
    parse(json(R"([1, ""])"), blank);
    EXPECT_TRUE(same(std::get<1>(blank), mac(0, 0, 0, 0, 0, 0)));

    VlanMacKey junk;
    parse(json(R"([1, "zz:1:fff:-1"])"), junk);
    EXPECT_TRUE(same(std::get<1>(junk), mac(0x00, 0x01, 0xff, 0xff, 0, 0)));
}

TEST(MacTableKey, PiecesPastTheSixthAreNeverWritten) {
    // A text of twelve pieces: the key's neighbours in memory stay untouched (the sanitizer
    // build also watches the writes).
    struct Guarded {
        VlanMacKey key;
        unsigned char after[16];
    } guarded{};
    std::fill(std::begin(guarded.after), std::end(guarded.after), 0x5a);
    parse(json(R"([2, "01:02:03:04:05:06:07:08:09:0a:0b:0c"])"), guarded.key);
    EXPECT_TRUE(same(std::get<1>(guarded.key), mac(1, 2, 3, 4, 5, 6)));
    for (unsigned char byte : guarded.after) EXPECT_EQ(byte, 0x5a);
}

TEST(MacTableKey, TheVlanIsReadWithoutATypeTestAndCut) {
    VlanMacKey key{99, {}};
    parse(json(R"([null, "00:00:00:00:00:01"])"), key);
    EXPECT_EQ(std::get<0>(key), 0);
    parse(json(R"([70000, "00:00:00:00:00:01"])"), key);
    EXPECT_EQ(std::get<0>(key), 4464);
    EXPECT_ANY_THROW(parse(json(R"(["1", "00:00:00:00:00:01"])"), key));
}

TEST(MacTableKey, TheAddressMustBeText) {
    VlanMacKey key;
    try {
        parse(json(R"([1, 5])"), key);
        FAIL();
    } catch (const std::logic_error& e) {
        EXPECT_STREQ(e.what(), "in Json::Value::asCString(): requires stringValue");
    }
    EXPECT_EQ(runtime_error_of(json(R"("1 00:00:00:00:00:01")"), key), "Unexpected type");
}

TEST(MacTableKey, RowsOrderByVlanThenAddressBytes) {
    std::map<VlanMacKey, zolt_appl_mac_stack_addr_entry_conf_t> table;
    parse(json(R"([{"key":[2,"00:00:00:00:00:01"],"val":{"PortList":[]}},
                   {"key":[1,"ff:00:00:00:00:00"],"val":{"PortList":["Gi 1/1"]}},
                   {"key":[1,"0a:00:00:00:00:00"],"val":{"PortList":[]}},
                   {"key":[1,"0A:00:00:00:00:00"],"val":{"PortList":["dup"]}}])"),
          table);
    ASSERT_EQ(table.size(), 3u);
    auto row = table.begin();
    EXPECT_EQ(std::get<0>(row->first), 1);
    EXPECT_EQ(std::get<1>(row->first).addr[0], 0x0a);
    EXPECT_TRUE(row->second.PortList.empty()) << "the first of two equal keys wins";
    ++row;
    EXPECT_EQ(std::get<1>(row->first).addr[0], 0xff);
    ++row;
    EXPECT_EQ(std::get<0>(row->first), 2);
}

// --- the forms that cannot be decoded
// -----------------------------------------------------------------

TEST(UndecodableTables, ThreeMemberKeysThrowAtTheFirstRow) {
    std::map<std::tuple<std::string, int, int>, zolt_appl_port_prio_counter_t> table;
    EXPECT_EQ(
        runtime_error_of(json(R"([{"key":["Gi 1/1",1,2],"val":{"RxPrio":1,"TxPrio":2}}])"), table),
        "not implemented");
    EXPECT_TRUE(table.empty());

    std::tuple<std::string, std::string, std::string, std::string> four;
    EXPECT_THROW(parse(json(R"(["a","b","c","d"])"), four), std::runtime_error);
}

TEST(UndecodableTables, KeyOnlyTablesThrowWhateverTheValueHolds) {
    for (const char* val : {"null", "{}", "[]", "1", "\"x\""}) {
        std::map<std::string, std::tuple<>> table;
        const std::string rows = std::string(R"([{"key":"Gi 1/1","val":)") + val + "}]";
        EXPECT_EQ(runtime_error_of(json(rows), table), "not implemented") << val;
        EXPECT_TRUE(table.empty());
    }
    // Without any "val" at all as well.
    std::map<std::string, std::tuple<>> table;
    EXPECT_EQ(runtime_error_of(json(R"([{"key":"Gi 1/1"}])"), table), "not implemented");
}

}  // namespace
