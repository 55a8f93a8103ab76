#include "sim/names.h"
#include "sim/seed.h"

namespace zolt_sim {
namespace {

constexpr int kQueues = 8;         // queues (and classes of service) per port
constexpr int kQueueWeight = 17;   // the scheduler's weight of every queue out of the box
constexpr int kShaperRate = 500;   // the rate policers and shapers hold while switched off
constexpr int kWredGroups = 3;     // WRED groups 1..3, drop precedence levels 1..3
constexpr int kRateLimiters = 16;  // ACL rate limiters 1..16
constexpr int kDscpValues = 64;

// The IEEE 802.1Q recommendation for eight classes: priority 0 (best effort) ranks above 1
// (background); every other priority is its own class. The map is its own inverse.
int class_of_priority(int pcp) { return pcp == 0 ? 1 : pcp == 1 ? 0 : pcp; }

void add_qos_global_rows(std::vector<SeedRow>& rows) {
    rows.push_back({table::qos_capabilities, Json::Value(),
                    object({{key::ClassMin, 0},
                            {key::ClassMax, kQueues - 1},
                            {key::DplMin, 0},
                            {key::DplMax, 1},
                            {key::WredGroupMin, 1},
                            {key::WredGroupMax, kWredGroups},
                            {key::WredDplMin, 1},
                            {key::WredDplMax, 3},
                            {key::QceIdMin, 1},
                            {key::QceIdMax, 256},
                            {key::PortPolicerBitRateMin, 100},
                            {key::PortPolicerBitRateMax, 13128147},
                            {key::QueuePolicerBitRateMin, 100},
                            {key::QueuePolicerBitRateMax, 13128147},
                            {key::PortShaperBitRateMin, 100},
                            {key::PortShaperBitRateMax, 13107100},
                            {key::QueueShaperBitRateMin, 100},
                            {key::QueueShaperBitRateMax, 13107100},
                            {key::GlobalStormFrameRateMin, 1},
                            {key::GlobalStormFrameRateMax, 1024000},
                            {key::PortStormBitRateMin, 100},
                            {key::PortStormBitRateMax, 13128147},
                            {key::DwrrCountMask, 0x1fc},  // two to eight weighted queues
                            {key::HasGlobalStormPolicers, true},
                            {key::HasPortStormPolicers, true},
                            {key::HasPortQueuePolicers, true},
                            {key::HasWredV2, true},
                            {key::HasTagClassification, true},
                            {key::HasTagRemarking, true},
                            {key::HasDscp, true},
                            {key::HasDscpDplClassification, true},
                            {key::HasDscpDplRemarking, true},
                            {key::HasQueueShapersExcess, true},
                            {key::HasQce, true},
                            {key::HasQceDmac, true},
                            {key::HasQceDip, true},
                            {key::HasQceActionPcpDei, true},
                            {key::HasQceActionPolicy, true}})});
    for (const char* policer : {table::qos_config_global_storm_policer_unicast,
                                table::qos_config_global_storm_policer_multicast,
                                table::qos_config_global_storm_policer_broadcast}) {
        rows.push_back({policer, Json::Value(), object({{key::Rate, 10}, {key::FrameRate, true}})});
    }
    // Every DSCP value maps to itself on ingress and egress and to class 0.
    for (int dscp = 0; dscp < kDscpValues; ++dscp) {
        rows.push_back({table::qos_config_global_dscp, row_key({dscp}),
                        object({{key::IngressTranslation, dscp},
                                {key::EgressTranslation, dscp},
                                {key::EgressTranslationDp1, dscp}})});
    }
    for (int cos = 0; cos < kQueues; ++cos) {
        rows.push_back({table::qos_config_global_cos_to_dscp, row_key({cos}), Json::Value()});
    }
    for (int group = 1; group <= kWredGroups; ++group) {
        for (int cos = 0; cos < kQueues; ++cos) {
            for (int dpl = 1; dpl <= 3; ++dpl) {
                rows.push_back({table::qos_config_global_wred, row_key({group, cos, dpl}),
                                object({{key::Maximum, 50},
                                        {key::MaximumDp1, 50},
                                        {key::MaximumDp2, 50},
                                        {key::MaximumDp3, 50}})});
            }
        }
    }
}

void add_qos_port_rows(std::vector<SeedRow>& rows, const Json::Value& port) {
    const Json::Value off = object({{key::Enable, false}, {key::Cir, kShaperRate}});
    for (const char* name :
         {table::qos_config_interface_policer, table::qos_config_interface_shaper,
          table::qos_config_interface_storm_policer_unicast,
          table::qos_config_interface_storm_policer_broadcast,
          table::qos_config_interface_storm_policer_unknown}) {
        rows.push_back({name, row_key({port}), off});
    }
    for (int queue = 0; queue < kQueues; ++queue) {
        rows.push_back({table::qos_config_interface_scheduler, row_key({port, queue}),
                        object({{key::Weight, kQueueWeight}})});
        rows.push_back({table::qos_status_interface_scheduler, row_key({port, queue}),
                        object({{key::Weight, kQueueWeight}})});
        rows.push_back({table::qos_config_interface_queue_shaper, row_key({port, queue}), off});
        rows.push_back({table::qos_config_interface_queue_policer, row_key({port, queue}), off});
    }
    // The tag maps: a priority's class with DEI as drop precedence, and back.
    for (int pcp = 0; pcp < kQueues; ++pcp) {
        for (int dei = 0; dei <= 1; ++dei) {
            rows.push_back({table::qos_config_interface_tag_to_cos, row_key({port, pcp, dei}),
                            object({{key::Cos, class_of_priority(pcp)}, {key::Dpl, dei}})});
        }
    }
    for (int cos = 0; cos < kQueues; ++cos) {
        for (int dpl = 0; dpl <= 1; ++dpl) {
            rows.push_back({table::qos_config_interface_cos_to_tag, row_key({port, cos, dpl}),
                            object({{key::Pcp, class_of_priority(cos)}, {key::Dei, dpl}})});
        }
    }
}

// Access lists start empty: no entries, no order; only the limits and the rate limiters exist.
void add_acl_rows(std::vector<SeedRow>& rows) {
    rows.push_back({table::acl_capabilities, Json::Value(),
                    object({{key::AceIdMax, 256},
                            {key::PolicyIdMax, 255},
                            {key::RateLimiterIdMax, kRateLimiters},
                            {key::EvcPolicerIdMax, 256},
                            {key::RateLimiterBitRateSupported, true},
                            {key::MirrorSupported, true},
                            {key::MultipleRedirectPortsSupported, true},
                            {key::MultipleIngressPortsSupported, true},
                            {key::EgressPortSupported, true},
                            {key::VlanTaggedSupported, true}})});
    for (int limiter = 1; limiter <= kRateLimiters; ++limiter) {
        rows.push_back(
            {table::acl_config_ratelimiter, row_key({limiter}), object({{key::PacketRate, 1}})});
    }
}

}  // namespace

// A fresh switch's QoS and access lists: eight queues per port with equal weights and every
// shaper and policer off, the recommended tag-to-class map, identity DSCP tables, no QoS or
// access control entries.
void add_qos_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    add_qos_global_rows(rows);
    for (const std::string& port : ports) add_qos_port_rows(rows, Json::Value(port));
    add_acl_rows(rows);
}

}  // namespace zolt_sim
