// The layer-2 families' own rules beyond their worked exchanges: enumerations with gaps and texts
// matched by their exact case, fields whose widths differ between records that share their names,
// and a MAC address that is a row key on its own.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/family.h"
#include "support/test_server.h"

namespace {

using zolt_test::expect_texts;
using zolt_test::kNoValue;
using zolt_test::runtime_error_of;

TEST(Layer2Enumerations, GapsHaveNoTextAndTextsMatchTheirExactCase) {
    expect_texts<zolt_appl_mstp_forceversion_t>({{0, "stp"}, {1, nullptr}, {2, "rstp"}});
    expect_texts<zolt_appl_lldp_med_catype_t>({{6, "street"},
                                               {7, nullptr},
                                               {15, nullptr},
                                               {16, "leadingStreetDirection"},
                                               {32, "additionalCode"}});
    expect_texts<zolt_udld_detection_state_t>({{0, "inDeterminant"}, {kNoValue, "indeterminant"}});
    expect_texts<zolt_appl_udld_mode_t>({{0, "disable"}, {kNoValue, "disabled"}});
}

class Layer2 : public zolt_test::ClientTest {};

TEST_F(Layer2, OneNameTwoWidths) {
    // The LACP admin key keeps 32 bits in a port's configuration and 16 in its status.
    server.respond_result(R"({"dot3adAggrActorAdminMode":true,"dot3adAggrActorAdminKey":70000,
        "dot3adAggrRole":false,"dot3adAggrTimeout":true,"dot3adAggrPortPriority":1})");
    zolt_lacp_port_conf_t conf{};
    EXPECT_EQ(zolt_lacp_config_interface_get(handle(), "Gi 1/1", &conf), 0);
    EXPECT_EQ(conf.dot3adAggrActorAdminKey, 70000u);
    server.respond_result(R"({"dot3adAggrActorAdminMode":true,"dot3adAggrActorAdminKey":70000,
        "dot3adAggrPartnerOperPortIndex":300,"dot3adAggrPartnerOperPortPriority":1})");
    zolt_lacp_port_status_t status{};
    EXPECT_EQ(zolt_lacp_status_interface_get(handle(), "Gi 1/1", &status), 0);
    EXPECT_EQ(status.dot3adAggrActorAdminKey, 4464);
    EXPECT_EQ(status.dot3adAggrPartnerOperPortIndex, 44);

    // Loop protection's time of the last loop takes 64 bits, its count of loops 32.
    server.respond_result(R"({"Disabled":false,"LoopDetected":true,"LoopCount":1,
                              "LastLoop":8589934592})");
    zolt_appl_loop_protect_port_info_t info{};
    EXPECT_EQ(zolt_loop_protect_status_interface_get(handle(), "Gi 1/1", &info), 0);
    EXPECT_EQ(info.LastLoop, 8589934592ull);
    server.respond_result(R"({"Disabled":false,"LoopDetected":true,"LoopCount":8589934592,
                              "LastLoop":0})");
    EXPECT_EQ(runtime_error_of(
                  [&] { zolt_loop_protect_status_interface_get(handle(), "Gi 1/1", &info); }),
              "Unexpected type");
}

TEST_F(Layer2, AMacAloneAsARowKeyGoesThroughTheStrictAddressCheck) {
    // Unlike the MAC table's pair key, which takes any pieces it can cut.
    std::map<zolt_mac_t, zolt_appl_vcl_generic_conf_global_t> table;
    server.respond_result(R"([{"key":"0:1:2:3:4:5","val":{"VlanId":-1,"PortList":[]}},
                              {"key":"00-01-02-03-04-06","val":{"VlanId":2,"PortList":[]}}])");
    EXPECT_EQ(runtime_error_of([&] { zolt_vcl_config_mac_get(handle(), &table); }),
              "Mac address is invalid");
    ASSERT_EQ(table.size(), 1u) << "the row before the bad key stays";
    EXPECT_EQ(table.begin()->first.addr[5], 5);
    EXPECT_EQ(table.begin()->second.VlanId, -1) << "VlanId is signed in this record";
}

}  // namespace
