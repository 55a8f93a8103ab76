// What the simulator's management commands do to the switch, seen through the library's typed
// functions over HTTP: copies of the configuration and their outcomes (the state file written
// and listed), deleting a file, reloading defaults, reboots restarting the port counters,
// swapping firmware, a firmware upload's status over time, and clearing the log history.

#include <gtest/gtest.h>
#include <json/json.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include "client/zoltclient.h"
#include "sim/effects.h"
#include "sim/simulator.h"
#include "support/switch.h"
#include "support/test_server.h"

namespace {

using zolt_sim::Options;
using zolt_test::Switch;
using Files = std::map<int, zolt_appl_icfg_file_entry_t>;

Files files(void* h) {
    Files files;
    EXPECT_EQ(zolt_icfg_status_file_get(h, &files), 0);
    return files;
}

// A copy, so that a file list read just for this stays out of the picture.
std::optional<zolt_appl_icfg_file_entry_t> file(const Files& files, const std::string& name) {
    for (const auto& entry : files) {
        if (entry.second.FileName == name) return entry.second;
    }
    return std::nullopt;
}

// Writes the copy command and returns the outcome the switch then reports.
zolt_appl_icfg_copy_status_t copy(void* h, zolt_appl_icfg_config_type_t source,
                                  const std::string& source_file,
                                  zolt_appl_icfg_config_type_t destination,
                                  const std::string& destination_file, bool asked = true) {
    zolt_appl_icfg_copy_config_t copy{};
    copy.Copy = asked;
    copy.SourceConfigType = source;
    copy.SourceConfigFile = source_file;
    copy.DestinationConfigType = destination;
    copy.DestinationConfigFile = destination_file;
    EXPECT_EQ(zolt_icfg_control_copy_set(h, copy), 0);
    zolt_appl_icfg_status_copy_config_t status{};
    EXPECT_EQ(zolt_icfg_status_copy_get(h, &status), 0);
    return status.Status;
}

unsigned long long rx_octets(void* h, const char* port) {
    zolt_port_rmon_counters_t counters{};
    EXPECT_EQ(zolt_port_statistics_rmon_get(h, port, &counters), 0);
    return counters.RxOctets;
}

zolt_appl_firmware_upload_status_t upload_status(void* h) {
    zolt_appl_firmware_status_image_upload_t status{};
    EXPECT_EQ(zolt_firmware_status_image_upload_get(h, &status), 0);
    return status.Status;
}

void expect_statistics_agree(void* h) {
    const Files listed = files(h);
    unsigned total = 0;
    for (const auto& entry : listed) total += entry.second.Bytes;
    zolt_appl_icfg_file_statistics_t statistics{};
    ASSERT_EQ(zolt_icfg_statistics_file_get(h, &statistics), 0);
    EXPECT_EQ(statistics.NumberOfFiles, listed.size());
    EXPECT_EQ(statistics.TotalBytes, total);
}

zolt_appl_syslog_server_conf_t log_server(const char* address) {
    zolt_appl_syslog_server_conf_t server{};
    server.Mode = true;
    server.Address = address;
    server.Level = zolt_appl_syslog_lvl_warning;
    return server;
}

const auto kRunning = zolt_appl_icfg_config_type_runningConfig;
const auto kStartup = zolt_appl_icfg_config_type_startupConfig;
const auto kFile = zolt_appl_icfg_config_type_configFile;

// --- copies of the configuration and files ---------------------------------------------------

TEST(SimulatorCopy, RunningToStartupWritesTheStateFileAndListsIt) {
    const std::string path =
        testing::TempDir() + "zolt_effects_" + std::to_string(getpid()) + "_startup.json";
    std::remove(path.c_str());
    Options options;
    options.state_file = path;
    Switch sw(options);
    ASSERT_EQ(zolt_syslog_config_server_set(sw.handle(), log_server("192.0.2.7")), 0);
    EXPECT_EQ(copy(sw.handle(), kRunning, "", kStartup, ""), zolt_appl_icfg_copy_status_success);

    // Written now, not only at stop.
    std::ifstream in(path);
    Json::Value saved;
    ASSERT_TRUE(Json::Reader().parse(in, saved, false));
    EXPECT_EQ(saved["tables"]["syslog.config.server"][0u]["val"]["Address"], "192.0.2.7");
    const Files listed = files(sw.handle());
    const std::optional<zolt_appl_icfg_file_entry_t> state =
        file(listed, path.substr(path.rfind('/') + 1));
    ASSERT_TRUE(state.has_value()) << "the state file is among the files";
    std::ifstream sized(path, std::ios::binary | std::ios::ate);
    EXPECT_EQ(static_cast<long>(state->Bytes), static_cast<long>(sized.tellg()));
    EXPECT_EQ(listed.size(), 3u);

    // A second copy updates the same entry rather than listing the file twice.
    EXPECT_EQ(copy(sw.handle(), kRunning, "", kStartup, ""), zolt_appl_icfg_copy_status_success);
    EXPECT_EQ(files(sw.handle()).size(), 3u);
    std::remove(path.c_str());
}

TEST(SimulatorCopy, AStateFileThatCannotBeWrittenIsErrSaveDst) {
    Options options;
    options.state_file = testing::TempDir() + "zolt_effects_" + std::to_string(getpid()) +
                         "_no_such_directory/startup.json";
    zolt_sim::Simulator simulator(options);
    simulator.start();
    const rest_conn_t conn = zolt_test::make_conn(simulator.url(), 5, "admin", "admin");
    void* h = zoltclient_init(&conn);
    EXPECT_EQ(copy(h, kRunning, "", kStartup, ""), zolt_appl_icfg_copy_status_errSaveDst);
    EXPECT_FALSE(file(files(h), "startup.json").has_value());
    zoltclient_deinit(h);
    EXPECT_THROW(simulator.stop(), std::runtime_error) << "nor can the stop write it";
}

TEST(SimulatorCopy, EachCopyHasItsOutcomeAndOnlyTheDoneOnesList) {
    Switch sw;
    void* h = sw.handle();
    const std::string fresh_startup = file(files(h), "startup-config")->ModifiedTime;
    const struct {
        zolt_appl_icfg_config_type_t source;
        const char* source_file;
        zolt_appl_icfg_config_type_t destination;
        const char* destination_file;
        bool asked;
        zolt_appl_icfg_copy_status_t outcome;
    } kCases[] = {
        {kRunning, "", kFile, "never", false, zolt_appl_icfg_copy_status_none},
        {kRunning, "", kStartup, "", true, zolt_appl_icfg_copy_status_success},
        {kRunning, "", kFile, "lab-backup", true, zolt_appl_icfg_copy_status_success},
        {kFile, "lab-backup", kFile, "lab-copy", true, zolt_appl_icfg_copy_status_success},
        {kStartup, "", kStartup, "", true, zolt_appl_icfg_copy_status_errSameSrcDst},
        {kFile, "no-such-file", kRunning, "", true, zolt_appl_icfg_copy_status_errNoSuchFile},
        {zolt_appl_icfg_config_type_none, "", kStartup, "", true,
         zolt_appl_icfg_copy_status_errLoadSrc},
        {kRunning, "", kFile, "", true, zolt_appl_icfg_copy_status_errSaveDst},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(copy(h, c.source, c.source_file, c.destination, c.destination_file, c.asked),
                  c.outcome)
            << c.source_file << " -> " << c.destination_file;
    }
    const Files listed = files(h);
    EXPECT_EQ(listed.size(), 4u) << "startup-config, the seed's file and the two copies";
    EXPECT_FALSE(file(listed, "never").has_value());
    const std::optional<zolt_appl_icfg_file_entry_t> startup = file(listed, "startup-config");
    EXPECT_NE(startup->ModifiedTime, fresh_startup);
    EXPECT_GT(startup->Bytes, 1000u) << "as large as the configuration written out";
    EXPECT_EQ(file(listed, "lab-copy")->Bytes, file(listed, "lab-backup")->Bytes);
    expect_statistics_agree(h);

    // A deleted file is off the list and no source any more.
    zolt_appl_icfg_control_t control{};
    control.DeleteFile = "startup-config";
    ASSERT_EQ(zolt_icfg_control_global_set(h, control), 0);
    EXPECT_FALSE(file(files(h), "startup-config").has_value());
    expect_statistics_agree(h);
    EXPECT_EQ(copy(h, kStartup, "", kRunning, ""), zolt_appl_icfg_copy_status_errNoSuchFile);
}

// --- reload of defaults ------------------------------------------------------------------------

TEST(SimulatorReload, DefaultsReturnTheConfigurationAndKeepWhatIsNotConfiguration) {
    for (const auto reload :
         {zolt_appl_icfg_reload_default_default, zolt_appl_icfg_reload_default_defaultKeepIp}) {
        SCOPED_TRACE(reload);
        Switch sw;
        void* h = sw.handle();
        zolt_appl_syslog_server_conf_t fresh{};
        ASSERT_EQ(zolt_syslog_config_server_get(h, &fresh), 0);
        zolt_appl_ip_global_param_t routing{};
        ASSERT_EQ(zolt_ip_config_global_main_get(h, &routing), 0);
        routing.enableRouting = !routing.enableRouting;
        ASSERT_EQ(zolt_ip_config_global_main_set(h, routing), 0);
        ASSERT_EQ(zolt_syslog_config_server_set(h, log_server("192.0.2.7")), 0);
        ASSERT_EQ(copy(h, kRunning, "", kFile, "kept"), zolt_appl_icfg_copy_status_success);
        const unsigned long long counted = rx_octets(h, "Gi 1/1");

        zolt_appl_icfg_control_t control{};
        control.ReloadDefault = reload;
        ASSERT_EQ(zolt_icfg_control_global_set(h, control), 0);

        // The next call still logs in: the starting account is back in the users table.
        zolt_appl_syslog_server_conf_t server{};
        ASSERT_EQ(zolt_syslog_config_server_get(h, &server), 0);
        EXPECT_EQ(server.Address, fresh.Address);
        EXPECT_EQ(server.Mode, fresh.Mode);
        zolt_appl_ip_global_param_t now{};
        ASSERT_EQ(zolt_ip_config_global_main_get(h, &now), 0);
        EXPECT_EQ(now.enableRouting == routing.enableRouting,
                  reload == zolt_appl_icfg_reload_default_defaultKeepIp)
            << "only defaultKeepIp keeps the IP tables";
        control = zolt_appl_icfg_control_t{};
        ASSERT_EQ(zolt_icfg_control_global_get(h, &control), 0);
        EXPECT_EQ(control.ReloadDefault, reload) << "the command record reads back as written";
        EXPECT_TRUE(file(files(h), "kept").has_value()) << "files are storage, not configuration";
        std::map<int, zolt_appl_firmware_status_image_t> images;
        ASSERT_EQ(zolt_firmware_status_image_get(h, &images), 0);
        EXPECT_EQ(images.size(), 3u);
        EXPECT_GE(rx_octets(h, "Gi 1/1"), counted) << "the counters run on";
    }
}

// --- reboots -----------------------------------------------------------------------------------

void reboot(void* h, zolt_appl_sysutil_reboot_type_t type) {
    zolt_appl_sysutil_control_reboot_t reboot{};
    reboot.Type = type;
    ASSERT_EQ(zolt_system_utility_control_reboot_set(h, 1, reboot), 0);
}

TEST(SimulatorReboot, EveryPortsCountersStartAgainOnlyOnAReboot) {
    const struct {
        const char* what;
        std::function<void(void*)> act;
        bool restarts;
    } kCases[] = {
        {"cold", [](void* h) { reboot(h, zolt_appl_sysutil_reboot_type_coldReboot); }, true},
        {"warm", [](void* h) { reboot(h, zolt_appl_sysutil_reboot_type_warmReboot); }, true},
        {"none", [](void* h) { reboot(h, zolt_appl_sysutil_reboot_type_noReboot); }, false},
        {"firmware",
         [](void* h) {
             zolt_appl_firmware_control_globals_t control{};
             control.reboot = true;
             ASSERT_EQ(zolt_firmware_control_global_set(h, control), 0);
         },
         true},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.what);
        Switch sw;
        const unsigned long long first = rx_octets(sw.handle(), "Gi 1/1");
        const unsigned long long third = rx_octets(sw.handle(), "Gi 1/3");
        ASSERT_GT(first, 1000000u) << "a fresh switch has been up a while";
        c.act(sw.handle());
        EXPECT_EQ(rx_octets(sw.handle(), "Gi 1/1") < first, c.restarts);
        EXPECT_EQ(rx_octets(sw.handle(), "Gi 1/3") < third, c.restarts);
    }
}

// --- firmware ----------------------------------------------------------------------------------

TEST(SimulatorFirmware, SwapExchangesTheActiveAndAlternativeImages) {
    Switch sw;
    auto version_of = [&sw](zolt_appl_firmware_status_image_type_t type) {
        std::map<int, zolt_appl_firmware_status_image_t> images;
        EXPECT_EQ(zolt_firmware_status_image_get(sw.handle(), &images), 0);
        for (const auto& entry : images) {
            if (entry.second.Type == type) return entry.second.Version;
        }
        return std::string("(none)");
    };
    const auto kActive = zolt_appl_firmware_status_image_type_activeFirmware;
    const auto kAlternative = zolt_appl_firmware_status_image_type_alternativeFirmware;
    const std::string active = version_of(kActive);
    const std::string other = version_of(kAlternative);
    ASSERT_NE(active, other);
    const unsigned long long counted = rx_octets(sw.handle(), "Gi 1/1");

    zolt_appl_firmware_control_globals_t control{};
    control.SwapFirmware = true;
    ASSERT_EQ(zolt_firmware_control_global_set(sw.handle(), control), 0);
    EXPECT_EQ(version_of(kActive), other);
    EXPECT_EQ(version_of(kAlternative), active);
    EXPECT_GE(rx_octets(sw.handle(), "Gi 1/1"), counted) << "a swap alone does not reboot";
}

TEST(SimulatorFirmware, AnUploadMovesFromNoneThroughInProgressToSuccess) {
    zolt_test::ManualClock clock;
    Options options;
    options.clock = clock.source();
    Switch sw(options);
    void* h = sw.handle();
    zolt_appl_firmware_control_image_upload_t upload{};
    upload.ImageType = zolt_appl_firmware_upload_image_type_firmware;
    upload.Url = "tftp://192.0.2.5/zolt-switch-4.3.0.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(h, upload), 0);
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_none) << "DoUpload false";

    upload.DoUpload = true;
    upload.Url = "192.0.2.5/image.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(h, upload), 0);
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_errInvalidUrl) << "no scheme";

    upload.Url = "tftp://192.0.2.5/zolt-switch-4.3.0.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(h, upload), 0);
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_inProgress);
    clock.advance(zolt_sim::Effects::kUploadTime - std::chrono::milliseconds(1));
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_inProgress);
    clock.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_success);
    EXPECT_EQ(upload_status(h), zolt_appl_firmware_upload_status_success) << "and stays done";
}

// --- the log history ---------------------------------------------------------------------------

TEST(SimulatorSyslog, ClearingTakesTheEntriesOfOneLevelOrOfAll) {
    Switch sw;
    using History = std::map<std::tuple<int, int>, zolt_appl_syslog_history_t>;
    auto history = [&sw] {
        History entries;
        EXPECT_EQ(zolt_syslog_status_history_get(sw.handle(), &entries), 0);
        return entries;
    };
    auto clear = [&sw](int unit, zolt_appl_syslog_lvl_t level, bool really = true) {
        zolt_appl_syslog_history_control_t control{};
        control.Clear = really;
        EXPECT_EQ(zolt_syslog_control_history_set(sw.handle(), unit, level, control), 0);
    };
    ASSERT_EQ(history().size(), 3u);
    ASSERT_EQ(history().at(std::make_tuple(1, 3)).MsgLevel, zolt_appl_syslog_lvl_warning);
    clear(1, zolt_appl_syslog_lvl_all, false);
    EXPECT_EQ(history().size(), 3u) << "Clear false clears nothing";
    clear(1, zolt_appl_syslog_lvl_warning);
    const History left = history();
    EXPECT_EQ(left.size(), 2u);
    EXPECT_EQ(left.count(std::make_tuple(1, 3)), 0u);
    clear(2, zolt_appl_syslog_lvl_all);
    EXPECT_EQ(history().size(), 2u) << "another switch's history";
    clear(1, zolt_appl_syslog_lvl_all);
    EXPECT_TRUE(history().empty());
}

}  // namespace
