// The QoS and access-list families' own rules, end to end against a local server and against the
// simulator: the match enumerations that both families share, enumeration values that have no
// text, tables with three-member keys, the status and precedence tables, the order of access
// control entries, and what a fresh switch holds.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "client/zoltclient.h"
#include "sim/simulator.h"
#include "support/expect.h"
#include "support/test_server.h"

namespace {

using zolt_test::ClientTest;
using zolt_test::json;
using zolt_test::runtime_error_of;

class Qos : public ClientTest {
protected:
    // The request's params, as the server received them.
    Json::Value last_params() { return json(server.last().body)["params"]; }

    // An answer that carries every member of `record` as a fresh record writes it, with the
    // members of `overrides` (literal JSON text) replacing theirs.
    template <class R>
    void respond_record(const R& record, const std::string& overrides) {
        Json::Value answer = serialize(record);
        const Json::Value changed = json(overrides);
        for (const std::string& name : changed.getMemberNames()) answer[name] = changed[name];
        server.respond_result(Json::FastWriter().write(answer));
    }
};

// --- the match enumerations are one set of types, declared with the access lists ----------------

TEST_F(Qos, ControlEntriesAndAccessEntriesShareTheirMatchTypes) {
    static_assert(std::is_same<decltype(zolt_appl_qos_qce_conf_t::Pcp),
                               decltype(zolt_appl_acl_config_ace_t::VlanTagPriority)>::value,
                  "one priority match type");
    static_assert(std::is_same<decltype(zolt_appl_qos_qce_conf_t::Dei),
                               decltype(zolt_appl_acl_config_ace_t::ArpFlagReq)>::value,
                  "one flag match type");
    static_assert(std::is_same<decltype(zolt_appl_qos_qce_conf_t::VlanIdOp),
                               decltype(zolt_appl_acl_config_ace_t::Ipv4SrcPortOp)>::value,
                  "one range operator type");
    static_assert(std::is_same<decltype(zolt_appl_qos_qce_conf_t::Pcp),
                               zolt_appl_klasp_vlan_pri_type_t>::value,
                  "");
    static_assert(
        std::is_same<decltype(zolt_appl_qos_qce_conf_t::InnerDei), zolt_klasp_bit_t>::value, "");
    static_assert(std::is_same<decltype(zolt_appl_qos_qce_conf_t::Ipv6DestPortOp),
                               zolt_appl_klasp_asr_type_t>::value,
                  "");
}

TEST_F(Qos, SinglePrioritiesAreOneAboveTheirDigitInBothFamilies) {
    respond_record(zolt_appl_qos_qce_conf_t{},
                   R"({"Pcp":"range0to1","InnerPcp":"value0","Dei":"one","InnerDei":"zero",
                       "VlanIdOp":"range","ActionPcp":7,"ActionDei":1})");
    zolt_appl_qos_qce_conf_t qce{};
    ASSERT_EQ(zolt_qos_config_qce_get(handle(), 5, &qce), 0);
    EXPECT_EQ(qce.Pcp, 9);
    EXPECT_EQ(qce.InnerPcp, 1) << "\"value0\" is 1, not 0";
    EXPECT_EQ(qce.Dei, 2);
    EXPECT_EQ(qce.InnerDei, 1);
    EXPECT_EQ(qce.VlanIdOp, 2);
    EXPECT_EQ(qce.ActionPcp, 7u) << "the action's priority is a number beside the match's text";
    EXPECT_EQ(qce.ActionDei, 1);

    respond_record(zolt_appl_acl_config_ace_t{}, R"({"VlanTagPriority":"value0"})");
    zolt_appl_acl_config_ace_t ace{};
    ASSERT_EQ(zolt_acl_config_ace_config_get(handle(), 5, &ace), 0);
    EXPECT_EQ(ace.VlanTagPriority, 1);
}

TEST_F(Qos, SharedEnumerationsGoAsTheirTextsFromEitherFamily) {
    zolt_appl_acl_config_ace_t ace{};
    ace.VlanTagPriority = static_cast<zolt_appl_klasp_vlan_pri_type_t>(14);
    ace.Ipv4TcpFlagSyn = static_cast<zolt_klasp_bit_t>(2);
    ace.Ipv6DestPortOp = static_cast<zolt_appl_klasp_asr_type_t>(2);
    ASSERT_EQ(zolt_acl_config_ace_config_set(handle(), 3, ace), 0);
    Json::Value sent = last_params()[1];
    EXPECT_EQ(sent["VlanTagPriority"], "range4to7");
    EXPECT_EQ(sent["Ipv4TcpFlagSyn"], "one");
    EXPECT_EQ(sent["Ipv6DestPortOp"], "range");

    zolt_appl_qos_qce_conf_t qce{};
    qce.InnerPcp = static_cast<zolt_appl_klasp_vlan_pri_type_t>(9);
    qce.Ipv4Fragment = static_cast<zolt_klasp_bit_t>(1);
    ASSERT_EQ(zolt_qos_config_qce_set(handle(), 3, qce), 0);
    sent = last_params()[1];
    EXPECT_EQ(sent["InnerPcp"], "range0to1");
    EXPECT_EQ(sent["Ipv4Fragment"], "zero");
    EXPECT_EQ(sent["Pcp"], "any");
}

TEST_F(Qos, AFlagMatchBeyondTheThreeValuesIsNotSent) {
    zolt_appl_qos_qce_conf_t qce{};
    qce.Dei = static_cast<zolt_klasp_bit_t>(3);
    EXPECT_THROW_EXACT(zolt_qos_config_qce_add(handle(), 1, qce), std::runtime_error,
                       "out-of-range-enum");
    zolt_appl_acl_config_ace_t ace{};
    ace.VlanTagPriority = static_cast<zolt_appl_klasp_vlan_pri_type_t>(15);
    EXPECT_THROW_EXACT(zolt_acl_config_ace_config_add(handle(), 1, ace), std::runtime_error,
                       "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);
}

// --- values that have no text -----------------------------------------------------------------

TEST_F(Qos, TagRemarkingModeOneIsRefusedBeforeAnythingIsPosted) {
    zolt_appl_qos_if_conf_t conf{};
    conf.TagRemarkingMode = static_cast<zolt_appl_qos_tag_remark_mode_t>(1);
    EXPECT_THROW_EXACT(zolt_qos_config_interface_set(handle(), "Gi 1/1", conf), std::runtime_error,
                       "out-of-range-enum");
    EXPECT_EQ(server.count(), 0u);

    const std::map<int, const char*> texts = {{0, "classified"}, {2, "default"}, {3, "mapped"}};
    for (const auto& text : texts) {
        conf.TagRemarkingMode = static_cast<zolt_appl_qos_tag_remark_mode_t>(text.first);
        EXPECT_EQ(zolt_qos_config_interface_set(handle(), "Gi 1/1", conf), 0);
        EXPECT_EQ(last_params()[1]["TagRemarkingMode"], text.second);
    }
}

TEST_F(Qos, TagRemarkingModeTextsDecodeAcrossTheGap) {
    zolt_appl_qos_if_conf_t conf{};
    respond_record(conf, R"({"TagRemarkingMode":"default"})");
    ASSERT_EQ(zolt_qos_config_interface_get(handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.TagRemarkingMode, 2);
    respond_record(conf, R"({"TagRemarkingMode":"mapped"})");
    ASSERT_EQ(zolt_qos_config_interface_get(handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.TagRemarkingMode, 3);
    respond_record(conf, R"({"TagRemarkingMode":"Mapped"})");
    EXPECT_THROW_EXACT(zolt_qos_config_interface_get(handle(), "Gi 1/1", &conf), std::runtime_error,
                       "out-of-range-enum");
    EXPECT_EQ(conf.TagRemarkingMode, 3) << "an unknown text leaves the field as it was";
}

TEST_F(Qos, FrameTypesTwoAndThreeAreHolesInTheAccessEntry) {
    zolt_appl_acl_config_ace_t ace{};
    for (int hole : {2, 3}) {
        ace.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(hole);
        EXPECT_THROW_EXACT(zolt_acl_config_ace_config_add(handle(), 1, ace), std::runtime_error,
                           "out-of-range-enum");
        EXPECT_THROW_EXACT(zolt_acl_config_ace_config_set(handle(), 1, ace), std::runtime_error,
                           "out-of-range-enum");
    }
    EXPECT_EQ(server.count(), 0u);
    ace.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(4);
    EXPECT_EQ(zolt_acl_config_ace_config_add(handle(), 1, ace), 0);
    EXPECT_EQ(last_params()[1]["FrameType"], "arp");
}

// --- every field travels, whatever the frame type ------------------------------------------------

TEST_F(Qos, AnIpv4AccessEntryStillCarriesItsArpAndIpv6Fields) {
    zolt_appl_acl_config_ace_t ace{};
    ace.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(5);
    ace.EtherSrcMac = zolt_mac_t{{0x00, 0x1f, 0xa2, 0x0b, 0x3c, 0xd4}};
    ASSERT_EQ(zolt_acl_config_ace_config_add(handle(), 7, ace), 0);
    const Json::Value params = last_params();
    EXPECT_EQ(params[0], 7);
    const Json::Value& sent = params[1];
    EXPECT_EQ(sent.size(), 85u);
    EXPECT_EQ(sent["FrameType"], "ipv4");
    EXPECT_EQ(sent["ArpSenderIp"], "");
    EXPECT_EQ(sent["ArpOpcode"], "any");
    EXPECT_EQ(sent["Ipv6SrcIpMask"], "");
    EXPECT_EQ(sent["EtherSrcMac"], "00:1F:A2:0B:3C:D4");
    EXPECT_EQ(sent["ArpSrcMac"], "00:00:00:00:00:00");
    EXPECT_EQ(sent["RedirectPortList"], Json::Value(Json::arrayValue));
}

TEST_F(Qos, AnLlcControlEntryStillCarriesItsIpFields) {
    zolt_appl_qos_qce_conf_t qce{};
    qce.FrameType = static_cast<zolt_appl_qos_qce_type_t>(2);
    qce.DestMacMask = zolt_mac_t{{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
    ASSERT_EQ(zolt_qos_config_qce_add(handle(), 2, qce), 0);
    const Json::Value sent = last_params()[1];
    EXPECT_EQ(sent.size(), 72u);
    EXPECT_EQ(sent["FrameType"], "llc");
    EXPECT_EQ(sent["Ipv6DestIp"], "");
    EXPECT_EQ(sent["Ipv4Fragment"], "any");
    EXPECT_EQ(sent["DestMacMask"], "FF:FF:FF:FF:FF:FF") << "a MAC mask is written as a MAC";
}

TEST_F(Qos, AccessEntryMacsReadInEitherCaseAndAreWrittenInCapitals) {
    respond_record(zolt_appl_acl_config_ace_t{},
                   R"({"EtherSrcMac":"00:1f:a2:0b:3c:d4","EtherDestMac":"00:1F:A2:0B:3C:D4"})");
    zolt_appl_acl_config_ace_t ace{};
    ASSERT_EQ(zolt_acl_config_ace_config_get(handle(), 1, &ace), 0);
    EXPECT_FALSE(ace.EtherSrcMac < ace.EtherDestMac || ace.EtherDestMac < ace.EtherSrcMac);
    EXPECT_EQ(ace.EtherSrcMac.addr[1], 0x1f);
    EXPECT_EQ(serialize(ace)["EtherSrcMac"], "00:1F:A2:0B:3C:D4");

    respond_record(zolt_appl_acl_config_ace_t{}, R"({"ArpSrcMac":"00-1F-A2-0B-3C-D4"})");
    EXPECT_THROW_EXACT(zolt_acl_config_ace_config_get(handle(), 1, &ace), std::runtime_error,
                       "Mac address is invalid");
}

TEST_F(Qos, TheGlobalAndThePortStormPolicerAreNotInterchangeable) {
    zolt_appl_qos_global_storm_policer_t global{};
    server.respond_result(R"({"Enable":true,"FrameRate":true,"Cir":100})");
    EXPECT_THROW_EXACT(zolt_qos_config_global_storm_policer_unicast_get(handle(), &global),
                       std::runtime_error, "Unexpected type");
    EXPECT_TRUE(global.Enable) << "Enable, read before the missing Rate, stays written";

    zolt_appl_qos_port_storm_policer_t port{};
    server.respond_result(R"({"Enable":true,"Rate":100,"FrameRate":true})");
    EXPECT_THROW_EXACT(
        zolt_qos_config_interface_storm_policer_unknown_get(handle(), "Gi 1/1", &port),
        std::runtime_error, "Unexpected type");
    EXPECT_TRUE(port.FrameRate);
    EXPECT_EQ(port.Cir, 0u);
}

// --- three-member keys: whole tables only while empty, entries one by one ----------------------

TEST_F(Qos, ThreeMemberTablesReadEmptyAndLeaveTheMapAlone) {
    std::map<std::tuple<int, int, int>, zolt_appl_qos_wred_t> wred;
    wred[std::make_tuple(9, 9, 9)].Maximum = 42;
    std::map<std::tuple<std::string, int, int>, zolt_appl_qos_tag_cos_entry_t> tag_to_cos;
    std::map<std::tuple<std::string, int, int>, zolt_appl_qos_cos_tag_entry_t> cos_to_tag;
    server.respond_result("[]");
    EXPECT_EQ(zolt_qos_config_global_wred_get(handle(), &wred), 0);
    EXPECT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle(), &tag_to_cos), 0);
    EXPECT_EQ(zolt_qos_config_interface_cos_to_tag_get(handle(), &cos_to_tag), 0);
    ASSERT_EQ(wred.size(), 1u);
    EXPECT_EQ(wred.begin()->second.Maximum, 42);
    EXPECT_TRUE(tag_to_cos.empty());
    EXPECT_TRUE(cos_to_tag.empty());
    EXPECT_NE(server.last().body.find("\"params\" : []"), std::string::npos);
}

TEST_F(Qos, ThreeMemberTablesFailAtTheFirstRowWhateverItsValue) {
    std::map<std::tuple<int, int, int>, zolt_appl_qos_wred_t> wred;
    server.respond_result(R"([{"key":[1,0,1],"val":"not a record"}])");
    EXPECT_THROW_EXACT(zolt_qos_config_global_wred_get(handle(), &wred), std::runtime_error,
                       "not implemented");
    EXPECT_TRUE(wred.empty());

    std::map<std::tuple<std::string, int, int>, zolt_appl_qos_tag_cos_entry_t> tag_to_cos;
    server.respond_result(R"([{"key":["Gi 1/1",0,0],"val":{"Cos":1,"Dpl":0}}])");
    EXPECT_THROW_EXACT(zolt_qos_config_interface_tag_to_cos_get(handle(), &tag_to_cos),
                       std::runtime_error, "not implemented");
    std::map<std::tuple<std::string, int, int>, zolt_appl_qos_cos_tag_entry_t> cos_to_tag;
    server.respond_result(R"([{"key":5}])");
    EXPECT_THROW_EXACT(zolt_qos_config_interface_cos_to_tag_get(handle(), &cos_to_tag),
                       std::runtime_error, "not implemented");
    server.respond_result(R"({"key":5})");
    EXPECT_THROW_EXACT(zolt_qos_config_interface_cos_to_tag_get(handle(), &cos_to_tag),
                       std::runtime_error, "Result is not an array");
}

TEST_F(Qos, ThreeMemberEntriesAreAddressedMemberByMember) {
    server.respond_result(R"({"Cos":3,"Dpl":1})");
    zolt_appl_qos_tag_cos_entry_t entry{};
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle(), "Gi 1/4", 3, 1, &entry), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"qos.config.interface.tag-to-cos.get\",\n"
              "   \"params\" : [ \"Gi 1/4\", 3, 1 ]\n"
              "}\n");
    EXPECT_EQ(entry.Cos, 3u);
    EXPECT_EQ(entry.Dpl, 1);

    server.respond_result("null");
    zolt_appl_qos_wred_t wred{};
    wred.Enable = true;
    wred.MaxSelector = static_cast<zolt_appl_qos_wred_max_t>(1);
    wred.Maximum = 80;
    wred.MaximumDp3 = 90;
    ASSERT_EQ(zolt_qos_config_global_wred_set(handle(), 2, 7, 3, wred), 0);
    EXPECT_EQ(server.last().body,
              "{\n"
              "   \"id\" : \"jsonrpc\",\n"
              "   \"method\" : \"qos.config.global.wred.set\",\n"
              "   \"params\" : [\n"
              "      2,\n"
              "      7,\n"
              "      3,\n"
              "      {\n"
              "         \"Enable\" : true,\n"
              "         \"MaxSelector\" : \"maximumFillLevel\",\n"
              "         \"Maximum\" : 80,\n"
              "         \"MaximumDp1\" : 0,\n"
              "         \"MaximumDp2\" : 0,\n"
              "         \"MaximumDp3\" : 90,\n"
              "         \"MinimumFillLevel\" : 0\n"
              "      }\n"
              "   ]\n"
              "}\n");
}

// --- the other keys of these families ------------------------------------------------------

TEST_F(Qos, DscpKeysAreCutToOneByteAndTheFirstRowWins) {
    std::map<unsigned char, zolt_appl_qos_dscp_entry_t> table;
    const zolt_appl_qos_dscp_entry_t blank{};
    Json::Value rows(Json::arrayValue);
    for (int dscp : {44, 300}) {
        Json::Value row;
        row["key"] = dscp;
        row["val"] = serialize(blank);
        row["val"]["Cos"] = dscp;
        rows.append(row);
    }
    server.respond_result(Json::FastWriter().write(rows));
    ASSERT_EQ(zolt_qos_config_global_dscp_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table.begin()->first, 44);
    EXPECT_EQ(table.begin()->second.Cos, 44u) << "300 is read as 44 and dropped behind it";

    server.respond_result(Json::FastWriter().write(serialize(blank)));
    zolt_appl_qos_dscp_entry_t entry{};
    ASSERT_EQ(zolt_qos_config_global_dscp_get(handle(), static_cast<unsigned char>(46), &entry), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 46 ]"), std::string::npos)
        << "the DSCP value goes as a number";
}

TEST_F(Qos, QceStatusKeysAreUnsignedThenSigned) {
    zolt_appl_qos_qce_status_t status{};
    const std::string val = R"({"UserId":"voiceVlan","QceId":3,"Conflict":true})";
    std::map<std::tuple<unsigned int, int>, zolt_appl_qos_qce_status_t> table;
    server.respond_result(R"([{"key":[4000000000,-2],"val":)" + val + "}]");
    ASSERT_EQ(zolt_qos_status_qce_get(handle(), &table), 0);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table.begin()->first, std::make_tuple(4000000000u, -2));
    EXPECT_EQ(table.begin()->second.UserId, 1);

    table.clear();
    server.respond_result(R"([{"key":[-1,2],"val":)" + val + "}]");
    EXPECT_THROW_EXACT(zolt_qos_status_qce_get(handle(), &table), std::runtime_error,
                       "Unexpected type");
    EXPECT_TRUE(table.empty());

    server.respond_result(val);
    ASSERT_EQ(zolt_qos_status_qce_get(handle(), 4000000000u, -2, &status), 0);
    EXPECT_NE(server.last().body.find("\"params\" : [ 4000000000, -2 ]"), std::string::npos)
        << server.last().body;
    EXPECT_TRUE(status.Conflict);
}

TEST_F(Qos, PrecedenceAtAPositionIsABareNumber) {
    unsigned int id = 0;
    server.respond_result("12");
    ASSERT_EQ(zolt_acl_config_ace_precedence_get(handle(), 1, &id), 0);
    EXPECT_EQ(id, 12u);
    server.respond_result("13");
    ASSERT_EQ(zolt_qos_config_qce_precedence_get(handle(), 1, &id), 0);
    EXPECT_EQ(id, 13u);

    server.respond_result(R"("14")");
    EXPECT_THROW_EXACT(zolt_acl_config_ace_precedence_get(handle(), 2, &id), std::runtime_error,
                       "Unexpected type");
    EXPECT_THROW_EXACT(zolt_qos_config_qce_precedence_get(handle(), 2, &id), std::runtime_error,
                       "Unexpected type");
    EXPECT_EQ(id, 13u);

    std::map<int, unsigned int> order;
    server.respond_result(R"([{"key":1,"val":12},{"key":2,"val":3}])");
    ASSERT_EQ(zolt_acl_config_ace_precedence_get(handle(), &order), 0);
    EXPECT_EQ(order, (std::map<int, unsigned int>{{1, 12}, {2, 3}}));
}

// --- the order of access control entries -----------------------------------------------------

TEST(AccessEntryOrder, EqualEntriesAreNeitherLessNorGreater) {
    zolt_appl_acl_config_ace_t a{};
    a.RedirectPortList = {"Gi 1/1", "Gi 1/2"};
    a.EtherSrcMac = zolt_mac_t{{1, 2, 3, 4, 5, 6}};
    a.Ipv4SrcIp = "10.0.0.1";
    zolt_appl_acl_config_ace_t b = a;
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(AccessEntryOrder, TheFirstFieldThatDiffersDecides) {
    zolt_appl_acl_config_ace_t a{};
    zolt_appl_acl_config_ace_t b{};
    a.NextAceId = 1;
    b.Ipv6TcpFlagUrg = static_cast<zolt_klasp_bit_t>(2);  // later fields do not count
    EXPECT_TRUE(b < a);
    EXPECT_FALSE(a < b);

    // The very last field decides when every other agrees.
    a = zolt_appl_acl_config_ace_t{};
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(AccessEntryOrder, PortListsCompareAsTextsElementByElementThenByLength) {
    zolt_appl_acl_config_ace_t a{};
    zolt_appl_acl_config_ace_t b{};
    a.EgressPortList = {"Gi 1/10"};
    b.EgressPortList = {"Gi 1/2"};
    EXPECT_TRUE(a < b) << "text order, not port order";
    b.EgressPortList = {"Gi 1/10", "Gi 1/2"};
    EXPECT_TRUE(a < b) << "a prefix comes first";
    b.EgressPortList = {};
    EXPECT_TRUE(b < a);
    // A list earlier in the record outranks one later in it.
    b.RedirectPortList = {"Gi 1/1"};
    EXPECT_TRUE(a < b);
}

TEST(AccessEntryOrder, AddressesCompareByteByByteAndNumbersByTheirWidth) {
    zolt_appl_acl_config_ace_t a{};
    zolt_appl_acl_config_ace_t b{};
    a.ArpSrcMac = zolt_mac_t{{0x00, 0xff, 0xff, 0xff, 0xff, 0xff}};
    b.ArpSrcMac = zolt_mac_t{{0x01, 0x00, 0x00, 0x00, 0x00, 0x00}};
    EXPECT_TRUE(a < b);
    b.ArpSrcMac = zolt_mac_t{{0x00, 0xff, 0xff, 0xff, 0xff, 0xfe}};
    EXPECT_TRUE(b < a);
    b.ArpSrcMac = a.ArpSrcMac;

    a.Ipv4SrcPort = 65535;
    b.Ipv4SrcPort = 1;
    EXPECT_TRUE(b < a) << "an unsigned 16-bit field";
    b.Ipv4SrcPort = 65535;
    a.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(6);
    b.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(4);
    EXPECT_TRUE(b < a) << "enumerations by value";
    b.FrameType = a.FrameType;
    a.ArpSenderIp = "10.0.0.2";
    b.ArpSenderIp = "10.0.0.10";
    EXPECT_TRUE(b < a) << "addresses are texts";
}

// --- the simulator: a fresh switch's QoS and empty access lists ----------------------------

class QosSwitch : public ::testing::Test {
protected:
    QosSwitch() {
        simulator.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 5, "admin", "admin");
        handle = zoltclient_init(&conn);
    }
    ~QosSwitch() override {
        zoltclient_deinit(handle);
        simulator.stop();
    }

    zolt_sim::Simulator simulator;
    void* handle = nullptr;
};

TEST_F(QosSwitch, EveryPortHasEightWeightedQueuesWithShapersOff) {
    std::map<std::tuple<std::string, int>, zolt_appl_qos_scheduler_t> weights;
    ASSERT_EQ(zolt_qos_config_interface_scheduler_get(handle, &weights), 0);
    EXPECT_EQ(weights.size(), 8u * 8u) << "eight ports, eight queues each";
    for (const auto& row : weights) {
        EXPECT_GE(std::get<1>(row.first), 0);
        EXPECT_LT(std::get<1>(row.first), 8);
        EXPECT_EQ(row.second.Weight, weights.begin()->second.Weight) << "all weights equal";
    }
    EXPECT_GT(weights.begin()->second.Weight, 0);

    std::map<std::tuple<std::string, int>, zolt_appl_qos_queue_shaper_t> shapers;
    ASSERT_EQ(zolt_qos_config_interface_queue_shaper_get(handle, &shapers), 0);
    EXPECT_EQ(shapers.size(), 64u);
    for (const auto& row : shapers) EXPECT_FALSE(row.second.Enable);
    std::map<std::string, zolt_appl_qos_port_shaper_t> port_shapers;
    ASSERT_EQ(zolt_qos_config_interface_shaper_get(handle, &port_shapers), 0);
    EXPECT_EQ(port_shapers.size(), 8u);
    for (const auto& row : port_shapers) EXPECT_FALSE(row.second.Enable);

    zolt_appl_qos_scheduler_t weight{};
    EXPECT_EQ(zolt_qos_status_interface_scheduler_get(handle, "Gi 1/8", 7, &weight), 0);
    EXPECT_NE(zolt_qos_config_interface_scheduler_get(handle, "Gi 1/8", 8, &weight), 0)
        << "there is no ninth queue";
}

TEST_F(QosSwitch, TheTagMapsHoldTheRecommendedClassesAndReadEntryByEntry) {
    zolt_appl_qos_tag_cos_entry_t entry{};
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle, "Gi 1/3", 0, 1, &entry), 0);
    EXPECT_EQ(entry.Cos, 1u) << "priority 0 ranks above priority 1";
    EXPECT_EQ(entry.Dpl, 1);
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle, "Gi 1/3", 1, 0, &entry), 0);
    EXPECT_EQ(entry.Cos, 0u);
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle, "Gi 1/3", 6, 0, &entry), 0);
    EXPECT_EQ(entry.Cos, 6u);
    zolt_appl_qos_cos_tag_entry_t tag{};
    ASSERT_EQ(zolt_qos_config_interface_cos_to_tag_get(handle, "Gi 1/3", 1, 1, &tag), 0);
    EXPECT_EQ(tag.Pcp, 0u);
    EXPECT_EQ(tag.Dei, 1);

    entry.Cos = 4;
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_set(handle, "Gi 1/3", 6, 0, entry), 0);
    ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(handle, "Gi 1/3", 6, 0, &entry), 0);
    EXPECT_EQ(entry.Cos, 4u);

    // The whole map cannot be read from a real switch's answer, which has rows.
    std::map<std::tuple<std::string, int, int>, zolt_appl_qos_tag_cos_entry_t> all;
    EXPECT_THROW_EXACT(zolt_qos_config_interface_tag_to_cos_get(handle, &all), std::runtime_error,
                       "not implemented");
    zolt_appl_qos_wred_t wred{};
    EXPECT_EQ(zolt_qos_config_global_wred_get(handle, 1, 0, 1, &wred), 0);
}

TEST_F(QosSwitch, AccessListsStartEmptyAndKeepWhatIsAdded) {
    std::map<int, zolt_appl_acl_config_ace_t> aces;
    ASSERT_EQ(zolt_acl_config_ace_config_get(handle, &aces), 0);
    EXPECT_TRUE(aces.empty());
    std::map<int, zolt_appl_qos_qce_conf_t> qces;
    ASSERT_EQ(zolt_qos_config_qce_get(handle, &qces), 0);
    EXPECT_TRUE(qces.empty());
    zolt_appl_acl_config_ace_t ace{};
    EXPECT_NE(zolt_acl_config_ace_config_get(handle, 1, &ace), 0);

    ace.FrameType = static_cast<zolt_appl_acl_ace_frame_type_t>(4);
    ace.HitAction = static_cast<zolt_appl_acl_hit_action_t>(1);
    ace.ArpSrcMac = zolt_mac_t{{0x02, 0, 0, 0, 0, 0xab}};
    ace.IngressPortList = {"Gi 1/2"};
    ace.VlanTagPriority = static_cast<zolt_appl_klasp_vlan_pri_type_t>(13);
    ASSERT_EQ(zolt_acl_config_ace_config_add(handle, 1, ace), 0);
    zolt_appl_acl_config_ace_t back{};
    ASSERT_EQ(zolt_acl_config_ace_config_get(handle, 1, &back), 0);
    EXPECT_FALSE(ace < back || back < ace) << "every field comes back";
    ASSERT_EQ(zolt_acl_config_ace_config_get(handle, &aces), 0);
    EXPECT_EQ(aces.size(), 1u);
    EXPECT_EQ(zolt_acl_config_ace_config_del(handle, 1), 0);

    zolt_appl_acl_capabilities_t caps{};
    ASSERT_EQ(zolt_acl_capabilities_get(handle, &caps), 0);
    std::map<int, zolt_appl_acl_config_rate_limiter_t> limiters;
    ASSERT_EQ(zolt_acl_config_ratelimiter_get(handle, &limiters), 0);
    EXPECT_EQ(limiters.size(), caps.RateLimiterIdMax);
}

}  // namespace
