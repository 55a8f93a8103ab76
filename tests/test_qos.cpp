// The QoS and access-list families' own rules beyond their worked exchanges: the match
// enumerations both families share and the values that have no text, the order of access
// control entries by their port lists, and the simulator's per-queue tables and tag maps.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>

#include "client/zoltclient.h"
#include "support/expect.h"
#include "support/family.h"
#include "support/switch.h"

namespace {

using zolt_test::expect_texts;
using zolt_test::kNoValue;

TEST(QosEnumerations, SinglePrioritiesAreOneAboveTheirDigitAndGapsHaveNoText) {
    expect_texts<zolt_appl_klasp_vlan_pri_type_t>({{0, "any"},
                                                   {1, "value0"},
                                                   {8, "value7"},
                                                   {9, "range0to1"},
                                                   {14, "range4to7"},
                                                   {15, nullptr},
                                                   {kNoValue, "value8"}});
    expect_texts<zolt_klasp_bit_t>({{0, "any"}, {1, "zero"}, {2, "one"}, {3, nullptr}});
    expect_texts<zolt_appl_klasp_asr_type_t>({{2, "range"}, {3, nullptr}});
    expect_texts<zolt_appl_qos_tag_remark_mode_t>(
        {{0, "classified"}, {1, nullptr}, {2, "default"}, {3, "mapped"}, {kNoValue, "Mapped"}});
    expect_texts<zolt_appl_acl_ace_frame_type_t>(
        {{1, "etype"}, {2, nullptr}, {3, nullptr}, {4, "arp"}, {5, "ipv4"}, {6, "ipv6"}});
}

TEST(AccessEntryOrder, PortListsCompareAsTextsElementByElementThenByLength) {
    zolt_appl_acl_config_ace_t a{};
    zolt_appl_acl_config_ace_t b{};
    a.EgressPortList = {"Gi 1/10"};
    b.EgressPortList = {"Gi 1/2"};
    EXPECT_TRUE(a < b) << "text order, not port order";
    EXPECT_FALSE(b < a);
    b.EgressPortList = {"Gi 1/10", "Gi 1/2"};
    EXPECT_TRUE(a < b) << "a prefix comes first";
    b.EgressPortList = {};
    EXPECT_TRUE(b < a);
    // A list earlier in the record outranks one later in it.
    b.RedirectPortList = {"Gi 1/1"};
    EXPECT_TRUE(a < b);
    b = a;
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(QosSwitch, EveryPortHasEightQueuesAndTheTagMapsHoldTheRecommendedClasses) {
    zolt_test::Switch sw;
    void* h = sw.handle();
    std::map<std::tuple<std::string, int>, zolt_appl_qos_scheduler_t> weights;
    ASSERT_EQ(zolt_qos_config_interface_scheduler_get(h, &weights), 0);
    EXPECT_EQ(weights.size(), 8u * 8u) << "eight ports, eight queues each";
    EXPECT_EQ(std::get<1>(weights.rbegin()->first), 7);
    zolt_appl_qos_scheduler_t weight{};
    EXPECT_EQ(zolt_qos_config_interface_scheduler_get(h, "Gi 1/8", 7, &weight), 0);
    EXPECT_EQ(zolt_qos_config_interface_scheduler_get(h, "Gi 1/8", 8, &weight), 1)
        << "there is no ninth queue";

    // Priority 0 ranks above priority 1, every other priority is its own class, and the
    // class-to-tag map is the inverse.
    for (const auto& pcp_cos :
         {std::make_pair(0, 1u), std::make_pair(1, 0u), std::make_pair(6, 6u)}) {
        zolt_appl_qos_tag_cos_entry_t entry{};
        ASSERT_EQ(zolt_qos_config_interface_tag_to_cos_get(h, "Gi 1/3", pcp_cos.first, 1, &entry),
                  0);
        EXPECT_EQ(entry.Cos, pcp_cos.second) << pcp_cos.first;
        EXPECT_EQ(entry.Dpl, 1);
    }
    zolt_appl_qos_cos_tag_entry_t tag{};
    ASSERT_EQ(zolt_qos_config_interface_cos_to_tag_get(h, "Gi 1/3", 1, 1, &tag), 0);
    EXPECT_EQ(tag.Pcp, 0u);
    EXPECT_EQ(tag.Dei, 1);

    // The access lists' rate limiters are the ones the capabilities count.
    zolt_appl_acl_capabilities_t caps{};
    ASSERT_EQ(zolt_acl_capabilities_get(h, &caps), 0);
    std::map<int, zolt_appl_acl_config_rate_limiter_t> limiters;
    ASSERT_EQ(zolt_acl_config_ratelimiter_get(h, &limiters), 0);
    EXPECT_EQ(limiters.size(), caps.RateLimiterIdMax);
}

}  // namespace
