#include "sim/names.h"
#include "sim/seed.h"

namespace zolt_sim {

// A fresh switch's multicast snooping, profiles and MVR. Snooping, profiles and MVR are all
// off; unregistered multicast is flooded; the source-specific ranges are the well-known ones,
// 232.0.0.0/8 for IGMP and ff3e::/96 for MLD. Ports keep their zero defaults (no router port,
// no fast leave, no throttling, no filtering profile). No VLAN interface runs snooping or MVR,
// so the VLAN, group and source tables start empty.
void add_multicast_rows(std::vector<SeedRow>& rows, const std::vector<std::string>& ports) {
    (void)ports;
    rows.push_back({table::ipmc_snooping_config_igmp_global, Json::Value(),
                    object({{key::UnregisteredFlooding, true},
                            {key::SsmRangeAddress, "232.0.0.0"},
                            {key::SsmRangeMask, 8}})});
    rows.push_back({table::ipmc_snooping_config_mld_global, Json::Value(),
                    object({{key::UnregisteredFlooding, true},
                            {key::SsmRangeAddress, "ff3e::"},
                            {key::SsmRangeMask, 96}})});
}

}  // namespace zolt_sim
