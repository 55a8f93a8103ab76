// Keyed tables: rows into ordered maps, every key form, and the tuple keys that cannot be read.

#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

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

// Old entries stay and the first row with a key wins; every row starts from a fresh value (the
// second must not see the first row's list); a failing row keeps the rows before it.
TEST(TableCodec, RowsAreAddedOneByOneFirstRowWinning) {
    std::map<std::string, unsigned int> table{{"a", 9}, {"b", 4}};
    parse(json(R"([{"key":"a","val":1},{"key":"c","val":2},{"key":"c","val":3}])"), table);
    EXPECT_EQ(table, (std::map<std::string, unsigned int>{{"a", 9}, {"b", 4}, {"c", 2}}));

    std::map<unsigned short, std::vector<std::string>> lists;
    parse(json(R"([{"key":1,"val":["Gi 1/1","Gi 1/2"]},{"key":2,"val":["Gi 1/3"]}])"), lists);
    EXPECT_EQ(lists[2], (std::vector<std::string>{"Gi 1/3"}));

    std::map<int, bool> flags;
    EXPECT_EQ(
        runtime_error_of(json(R"([{"key":1,"val":true},{"key":2},{"key":3,"val":true}])"), flags),
        "Unexpected type");
    EXPECT_EQ(flags, (std::map<int, bool>{{1, true}}));
}

// --- two-member tuple keys ---------------------------------------------------------------------

// Extra members are ignored; a missing second member fails after the first is read.
TEST(TupleKey, IsAnArrayReadMemberByMember) {
    std::tuple<int, int> pair;
    parse(json("[1, 2, 3]"), pair);
    EXPECT_EQ(pair, std::make_tuple(1, 2));
    EXPECT_EQ(runtime_error_of(json(R"({"0":1,"1":2})"), pair), "Unexpected type");
    EXPECT_EQ(runtime_error_of(json("12"), pair), "Unexpected type");

    std::tuple<std::string, int> key{"old", 7};
    EXPECT_EQ(runtime_error_of(json(R"(["x"])"), key), "Unexpected type");
    EXPECT_EQ(std::get<0>(key), "x");
    EXPECT_EQ(std::get<1>(key), 7);
}

// --- the MAC table's key ------------------------------------------------------------------------

// The key takes the address apart itself: short and odd texts pass, and pieces past the sixth are
// never written (the key's neighbours stay untouched; the sanitizer build watches the writes too).
TEST(MacTableKey, TakesWhatPiecesItCanCutAndNeverWritesPastTheSixth) {
    const std::pair<const char*, zolt_mac_t> cut[] = {
        {R"([1, "00:1f"])", mac(0x00, 0x1f, 0, 0, 0, 0)},
        {R"([1, ""])", mac(0, 0, 0, 0, 0, 0)},
        {R"([1, "zz:1:fff:-1"])", mac(0x00, 0x01, 0xff, 0xff, 0, 0)},
        {R"([2, "01:02:03:04:05:06:07:08:09:0a:0b:0c"])", mac(1, 2, 3, 4, 5, 6)}};
    for (const auto& c : cut) {
        struct Guarded {
            VlanMacKey key;
            unsigned char after[16];
        } guarded{};
        std::fill(std::begin(guarded.after), std::end(guarded.after), 0x5a);
        parse(json(c.first), guarded.key);
        EXPECT_TRUE(same(std::get<1>(guarded.key), c.second)) << c.first;
        for (unsigned char byte : guarded.after) EXPECT_EQ(byte, 0x5a);
    }
}

TEST(MacTableKey, IsAnArrayWhoseVlanIsReadBeforeTheAddressIsRefused) {
    VlanMacKey key{0, {}};
    EXPECT_EQ(runtime_error_of(json(R"("1 00:00:00:00:00:01")"), key), "Unexpected type");
    EXPECT_THROW_EXACT(parse(json(R"([7, 5])"), key), std::logic_error,
                       "in Json::Value::asCString(): requires stringValue");
    EXPECT_EQ(std::get<0>(key), 7);
    // Both members bad: the VLAN, element 0, is the one reported.
    EXPECT_THROW_EXACT(parse(json(R"(["7", 5])"), key), std::logic_error,
                       "Value is not convertible to UInt.");
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

// --- the forms that cannot be decoded --------------------------------------------------------

TEST(UndecodableTables, ThreeMemberKeysThrowAtTheFirstRow) {
    std::map<std::tuple<std::string, int, int>, zolt_appl_port_prio_counter_t> table;
    EXPECT_EQ(
        runtime_error_of(json(R"([{"key":["Gi 1/1",1,2],"val":{"RxPrio":1,"TxPrio":2}}])"), table),
        "not implemented");
    EXPECT_TRUE(table.empty());

    std::tuple<std::string, std::string, std::string, std::string> four;
    EXPECT_EQ(runtime_error_of(json(R"(["a","b","c","d"])"), four), "not implemented");
}

TEST(UndecodableTables, KeyOnlyTablesThrowWhateverTheValueHolds) {
    // Also without any "val" at all.
    for (const char* val : {",\"val\":null", ",\"val\":{}", ",\"val\":1", ""}) {
        std::map<std::string, std::tuple<>> table;
        const std::string rows = std::string(R"([{"key":"Gi 1/1")") + val + "}]";
        EXPECT_EQ(runtime_error_of(json(rows), table), "not implemented") << val;
        EXPECT_TRUE(table.empty());
    }
}

}  // namespace
