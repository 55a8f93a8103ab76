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
    rows.push_back({"qos.capabilities", Json::Value(),
                    object({{"ClassMin", 0},
                            {"ClassMax", kQueues - 1},
                            {"DplMin", 0},
                            {"DplMax", 1},
                            {"WredGroupMin", 1},
                            {"WredGroupMax", kWredGroups},
                            {"WredDplMin", 1},
                            {"WredDplMax", 3},
                            {"QceIdMin", 1},
                            {"QceIdMax", 256},
                            {"PortPolicerBitRateMin", 100},
                            {"PortPolicerBitRateMax", 13128147},
                            {"QueuePolicerBitRateMin", 100},
                            {"QueuePolicerBitRateMax", 13128147},
                            {"PortShaperBitRateMin", 100},
                            {"PortShaperBitRateMax", 13107100},
                            {"QueueShaperBitRateMin", 100},
                            {"QueueShaperBitRateMax", 13107100},
                            {"GlobalStormFrameRateMin", 1},
                            {"GlobalStormFrameRateMax", 1024000},
                            {"PortStormBitRateMin", 100},
                            {"PortStormBitRateMax", 13128147},
                            {"DwrrCountMask", 0x1fc},  // two to eight weighted queues
                            {"HasGlobalStormPolicers", true},
                            {"HasPortStormPolicers", true},
                            {"HasPortQueuePolicers", true},
                            {"HasWredV2", true},
                            {"HasTagClassification", true},
                            {"HasTagRemarking", true},
                            {"HasDscp", true},
                            {"HasDscpDplClassification", true},
                            {"HasDscpDplRemarking", true},
                            {"HasQueueShapersExcess", true},
                            {"HasQce", true},
                            {"HasQceDmac", true},
                            {"HasQceDip", true},
                            {"HasQceActionPcpDei", true},
                            {"HasQceActionPolicy", true}})});
    for (const char* kind : {"unicast", "multicast", "broadcast"}) {
        rows.push_back({std::string("qos.config.global.storm-policer.") + kind, Json::Value(),
                        object({{"Rate", 10}, {"FrameRate", true}})});
    }
    // Every DSCP value maps to itself on ingress and egress and to class 0.
    for (int dscp = 0; dscp < kDscpValues; ++dscp) {
        rows.push_back({"qos.config.global.dscp", key({dscp}),
                        object({{"IngressTranslation", dscp},
                                {"EgressTranslation", dscp},
                                {"EgressTranslationDp1", dscp}})});
    }
    for (int cos = 0; cos < kQueues; ++cos) {
        rows.push_back({"qos.config.global.cos-to-dscp", key({cos}), Json::Value()});
    }
    for (int group = 1; group <= kWredGroups; ++group) {
        for (int cos = 0; cos < kQueues; ++cos) {
            for (int dpl = 1; dpl <= 3; ++dpl) {
                rows.push_back({"qos.config.global.wred", key({group, cos, dpl}),
                                object({{"Maximum", 50},
                                        {"MaximumDp1", 50},
                                        {"MaximumDp2", 50},
                                        {"MaximumDp3", 50}})});
            }
        }
    }
}

void add_qos_port_rows(std::vector<SeedRow>& rows, const Json::Value& port) {
    const Json::Value off = object({{"Enable", false}, {"Cir", kShaperRate}});
    for (const char* table : {"qos.config.interface.policer", "qos.config.interface.shaper",
                              "qos.config.interface.storm-policer.unicast",
                              "qos.config.interface.storm-policer.broadcast",
                              "qos.config.interface.storm-policer.unknown"}) {
        rows.push_back({table, key({port}), off});
    }
    for (int queue = 0; queue < kQueues; ++queue) {
        rows.push_back({"qos.config.interface.scheduler", key({port, queue}),
                        object({{"Weight", kQueueWeight}})});
        rows.push_back({"qos.status.interface.scheduler", key({port, queue}),
                        object({{"Weight", kQueueWeight}})});
        rows.push_back({"qos.config.interface.queue-shaper", key({port, queue}), off});
        rows.push_back({"qos.config.interface.queue-policer", key({port, queue}), off});
    }
    // The tag maps: a priority's class with DEI as drop precedence, and back.
    for (int pcp = 0; pcp < kQueues; ++pcp) {
        for (int dei = 0; dei <= 1; ++dei) {
            rows.push_back({"qos.config.interface.tag-to-cos", key({port, pcp, dei}),
                            object({{"Cos", class_of_priority(pcp)}, {"Dpl", dei}})});
        }
    }
    for (int cos = 0; cos < kQueues; ++cos) {
        for (int dpl = 0; dpl <= 1; ++dpl) {
            rows.push_back({"qos.config.interface.cos-to-tag", key({port, cos, dpl}),
                            object({{"Pcp", class_of_priority(cos)}, {"Dei", dpl}})});
        }
    }
}

// Access lists start empty: no entries, no order; only the limits and the rate limiters exist.
void add_acl_rows(std::vector<SeedRow>& rows) {
    rows.push_back({"acl.capabilities", Json::Value(),
                    object({{"AceIdMax", 256},
                            {"PolicyIdMax", 255},
                            {"RateLimiterIdMax", kRateLimiters},
                            {"EvcPolicerIdMax", 256},
                            {"RateLimiterBitRateSupported", true},
                            {"MirrorSupported", true},
                            {"MultipleRedirectPortsSupported", true},
                            {"MultipleIngressPortsSupported", true},
                            {"EgressPortSupported", true},
                            {"VlanTaggedSupported", true}})});
    for (int limiter = 1; limiter <= kRateLimiters; ++limiter) {
        rows.push_back({"acl.config.ratelimiter", key({limiter}), object({{"PacketRate", 1}})});
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
