#include "sim/seed.h"

namespace zolt_sim {

// A fresh switch's multicast snooping, profiles and MVR. Snooping, profiles and MVR are all
// off; unregistered multicast is flooded; the source-specific ranges are the well-known ones,
// 232.0.0.0/8 for IGMP and ff3e::/96 for MLD. Ports keep their zero defaults (no router port,
// no fast leave, no throttling, no filtering profile). No VLAN interface runs snooping or MVR,
// so the VLAN, group and source tables start empty.
void add_multicast_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    (void)ports;
    rows.push_back({"ipmc-snooping.config.igmp.global", Json::Value(),
                    object({{"UnregisteredFlooding", true},
                            {"SsmRangeAddress", "232.0.0.0"},
                            {"SsmRangeMask", 8}})});
    rows.push_back({"ipmc-snooping.config.mld.global", Json::Value(),
                    object({{"UnregisteredFlooding", true},
                            {"SsmRangeAddress", "ff3e::"},
                            {"SsmRangeMask", 96}})});
}

}  // namespace zolt_sim
