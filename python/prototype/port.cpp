// Hand-written stand-in for the generated binding of the port family, in the form the generator
// will write for every family: descriptions of the family's enumerations, records and typed
// functions, and one bind function that hands them to python/binding.h.

#include "python/binding.h"
#include "schema/ports/port.h"

namespace zolt_py {
namespace {

const EnumValue k_zolt_appl_port_speed_t[] = {
    {0, "force10ModeFdx", "force10ModeFdx"},   {1, "force10ModeHdx", "force10ModeHdx"},
    {2, "force100ModeFdx", "force100ModeFdx"}, {3, "force100ModeHdx", "force100ModeHdx"},
    {4, "force1GModeFdx", "force1GModeFdx"},   {5, "autoNegMode", "autoNegMode"},
    {6, "force2G5ModeFdx", "force2G5ModeFdx"}, {7, "force5GModeFdx", "force5GModeFdx"},
    {8, "force10GModeFdx", "force10GModeFdx"}, {9, "force12GModeFdx", "force12GModeFdx"},
};
const EnumValue k_zolt_appl_port_media_t[] = {{0, "rj45", "rj45"}, {1, "sfp", "sfp"}, {2, "dual", "dual"}};
const EnumValue k_zolt_appl_port_fc_t[] = {{0, "off", "off"}, {1, "on", "on"}};
const EnumValue k_zolt_port_speed_t[] = {
    {0, "undefined", "undefined"}, {1, "s10M", "s10M"}, {2, "s100M", "s100M"}, {3, "s1G", "s1G"},
    {4, "s2500M", "s2500M"}, {5, "s5G", "s5G"}, {6, "s10G", "s10G"}, {7, "s12G", "s12G"},
};
const EnumValue k_zolt_appl_sfp_tranceiver_t[] = {
    {0, "none", "none"}, {1, "notSupported", "notSupported"}, {2, "sfp100FX", "sfp100FX"},
    {7, "sfp1000BaseT", "sfp1000BaseT"}, {8, "sfp1000BaseCx", "sfp1000BaseCx"},
    {9, "sfp1000BaseSx", "sfp1000BaseSx"}, {10, "sfp1000BaseLx", "sfp1000BaseLx"},
    {11, "sfp1000BaseX", "sfp1000BaseX"}, {12, "sfp2G5", "sfp2G5"}, {13, "sfp5G", "sfp5G"},
    {14, "sfp10G", "sfp10G"}, {15, "sfp10G-DAC", "sfp10G_DAC"},
};

const Field k_zolt_appl_port_mib_conf_t_fields[] = {
    field("Shutdown", &zolt_appl_port_mib_conf_t::Shutdown),
    field("Speed", &zolt_appl_port_mib_conf_t::Speed),
    field("AdvertiseDisabled", &zolt_appl_port_mib_conf_t::AdvertiseDisabled),
    field("MediaType", &zolt_appl_port_mib_conf_t::MediaType),
    field("FC", &zolt_appl_port_mib_conf_t::FC),
    field("MTU", &zolt_appl_port_mib_conf_t::MTU),
    field("ExcessiveRestart", &zolt_appl_port_mib_conf_t::ExcessiveRestart),
    field("PFC", &zolt_appl_port_mib_conf_t::PFC),
    field("FrameLengthCheck", &zolt_appl_port_mib_conf_t::FrameLengthCheck),
};
RecordInfo k_zolt_appl_port_mib_conf_t = record_info<zolt_appl_port_mib_conf_t>(
    "zolt_appl_port_mib_conf_t", "", k_zolt_appl_port_mib_conf_t_fields, 9);

const Field k_zolt_appl_port_mib_status_t_fields[] = {
    field("Link", &zolt_appl_port_mib_status_t::Link),
    field("Fdx", &zolt_appl_port_mib_status_t::Fdx),
    field("Fiber", &zolt_appl_port_mib_status_t::Fiber),
    field("Speed", &zolt_appl_port_mib_status_t::Speed),
    field("SFPType", &zolt_appl_port_mib_status_t::SFPType),
    field("SFPVendorName", &zolt_appl_port_mib_status_t::SFPVendorName),
    field("SFPVendorPN", &zolt_appl_port_mib_status_t::SFPVendorPN),
    field("SFPVendorRev", &zolt_appl_port_mib_status_t::SFPVendorRev),
    field("LossOfSignal", &zolt_appl_port_mib_status_t::LossOfSignal),
    field("TxFault", &zolt_appl_port_mib_status_t::TxFault),
    field("Present", &zolt_appl_port_mib_status_t::Present),
};
RecordInfo k_zolt_appl_port_mib_status_t = record_info<zolt_appl_port_mib_status_t>(
    "zolt_appl_port_mib_status_t", "", k_zolt_appl_port_mib_status_t_fields, 11);

const Field k_zolt_appl_port_prio_counter_t_fields[] = {
    field("RxPrio", &zolt_appl_port_prio_counter_t::RxPrio),
    field("TxPrio", &zolt_appl_port_prio_counter_t::TxPrio),
};
RecordInfo k_zolt_appl_port_prio_counter_t = record_info<zolt_appl_port_prio_counter_t>(
    "zolt_appl_port_prio_counter_t", "", k_zolt_appl_port_prio_counter_t_fields, 2);

const Method k_methods[] = {
    method("port_config_get", "port.config.get", {"key"}, false,
           "port_config_get(key: str) -> zolt_appl_port_mib_conf_t\n\n\"port.config.get\", keyed get\n",
           typed_get<zolt_appl_port_mib_conf_t, const std::string&>(&zolt_port_config_get)),
    method("port_config_get", "port.config.get", {}, false,
           "port_config_get() -> dict[str, zolt_appl_port_mib_conf_t]\n\n\"port.config.get\", get-all\n",
           typed_get<std::map<std::string, zolt_appl_port_mib_conf_t>>(&zolt_port_config_get)),
    method("port_config_set", "port.config.set", {"key", "value"}, false,
           "port_config_set(key: str, value: zolt_appl_port_mib_conf_t) -> None\n",
           typed_call<const std::string&, const zolt_appl_port_mib_conf_t&>(&zolt_port_config_set)),
    method("port_status_get", "port.status.get", {"key"}, false, "port_status_get(key: str)\n",
           typed_get<zolt_appl_port_mib_status_t, const std::string&>(&zolt_port_status_get)),
    method("port_status_get", "port.status.get", {}, false, "port_status_get()\n",
           typed_get<std::map<std::string, zolt_appl_port_mib_status_t>>(&zolt_port_status_get)),
    method("port_statistics_queues_get", "port.statistics.queues.get", {"key1", "key2"}, false,
           "port_statistics_queues_get(key1: str, key2: int)\n",
           typed_get<zolt_appl_port_prio_counter_t, const std::string&, int>(
               &zolt_port_statistics_queues_get)),
    method("port_statistics_queues_get", "port.statistics.queues.get", {}, false,
           "port_statistics_queues_get()\n",
           typed_get<std::map<std::tuple<std::string, int>, zolt_appl_port_prio_counter_t>>(
               &zolt_port_statistics_queues_get)),
    method("port_control_statistics_clear_set", "port.control.statistics.clear.set",
           {"key", "value"}, false, "port_control_statistics_clear_set(key: str, value: bool)\n",
           typed_call<const std::string&, const bool&>(&zolt_port_control_statistics_clear_set)),
};

}  // namespace

void bind_port(py::module_& m, py::class_<Client>& client) {
    bind_enum<zolt_appl_port_speed_t>(m, "zolt_appl_port_speed_t", k_zolt_appl_port_speed_t, 10, "");
    bind_enum<zolt_appl_port_media_t>(m, "zolt_appl_port_media_t", k_zolt_appl_port_media_t, 3, "");
    bind_enum<zolt_appl_port_fc_t>(m, "zolt_appl_port_fc_t", k_zolt_appl_port_fc_t, 2, "");
    bind_enum<zolt_port_speed_t>(m, "zolt_port_speed_t", k_zolt_port_speed_t, 8, "");
    bind_enum<zolt_appl_sfp_tranceiver_t>(m, "zolt_appl_sfp_tranceiver_t", k_zolt_appl_sfp_tranceiver_t, 12, "");
    bind_record<zolt_appl_port_mib_conf_t>(m, k_zolt_appl_port_mib_conf_t);
    bind_record<zolt_appl_port_mib_status_t>(m, k_zolt_appl_port_mib_status_t);
    bind_record<zolt_appl_port_prio_counter_t>(m, k_zolt_appl_port_prio_counter_t);
    def_methods(client, k_methods, sizeof k_methods / sizeof k_methods[0]);
}

void bind_families(py::module_& m, py::class_<Client>& client) { bind_port(m, client); }

}  // namespace zolt_py
