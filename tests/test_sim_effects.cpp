// What the simulator's management commands do to the switch, seen through the library's typed
// functions over HTTP: copying the running configuration (the state file written and listed),
// other copies and their outcomes, deleting a file, reloading defaults, reboots restarting the
// port counters, swapping firmware, a firmware upload's status over time, and the log history
// of a fresh switch and its clearing.

#include <gtest/gtest.h>
#include <json/json.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "client/zoltclient.h"
#include "sim/effects.h"
#include "sim/simulator.h"
#include "support/test_server.h"

namespace {

using zolt_sim::Options;
using zolt_sim::Simulator;
using Files = std::map<int, zolt_appl_icfg_file_entry_t>;

class Switch {
public:
    explicit Switch(Options options = Options()) : simulator_(std::move(options)) {
        simulator_.start();
        const rest_conn_t conn = zolt_test::make_conn(simulator_.url(), 5, "admin", "admin");
        handle_ = zoltclient_init(&conn);
    }
    ~Switch() {
        zoltclient_deinit(handle_);
        simulator_.stop();
    }
    Switch(const Switch&) = delete;
    Switch& operator=(const Switch&) = delete;

    void* handle() const { return handle_; }

    Files files() const {
        Files files;
        EXPECT_EQ(zolt_icfg_status_file_get(handle_, &files), 0);
        return files;
    }
    // A copy, so that a file list read just for this stays out of the picture.
    std::optional<zolt_appl_icfg_file_entry_t> file(const Files& files,
                                                    const std::string& name) const {
        for (const auto& entry : files) {
            if (entry.second.FileName == name) return entry.second;
        }
        return std::nullopt;
    }
    zolt_appl_icfg_copy_status_t copy(zolt_appl_icfg_config_type_t source,
                                      const std::string& source_file,
                                      zolt_appl_icfg_config_type_t destination,
                                      const std::string& destination_file) const {
        zolt_appl_icfg_copy_config_t copy{};
        copy.Copy = true;
        copy.SourceConfigType = source;
        copy.SourceConfigFile = source_file;
        copy.DestinationConfigType = destination;
        copy.DestinationConfigFile = destination_file;
        EXPECT_EQ(zolt_icfg_control_copy_set(handle_, copy), 0);
        zolt_appl_icfg_status_copy_config_t status{};
        EXPECT_EQ(zolt_icfg_status_copy_get(handle_, &status), 0);
        return status.Status;
    }
    void control(zolt_appl_icfg_reload_default_t reload, const std::string& deleted = "") const {
        zolt_appl_icfg_control_t control{};
        control.ReloadDefault = reload;
        control.DeleteFile = deleted;
        ASSERT_EQ(zolt_icfg_control_global_set(handle_, control), 0);
    }
    unsigned long long rx_octets(const char* port) const {
        zolt_port_rmon_counters_t counters{};
        EXPECT_EQ(zolt_port_statistics_rmon_get(handle_, port, &counters), 0);
        return counters.RxOctets;
    }
    zolt_appl_firmware_upload_status_t upload_status() const {
        zolt_appl_firmware_status_image_upload_t status{};
        EXPECT_EQ(zolt_firmware_status_image_upload_get(handle_, &status), 0);
        return status.Status;
    }

private:
    Simulator simulator_;
    void* handle_ = nullptr;
};

std::string temporary_path(const char* name) {
    return testing::TempDir() + "zolt_effects_" + std::to_string(getpid()) + "_" + name;
}

// The value of a singleton table in a state file.
Json::Value saved_singleton(const std::string& path, const char* table) {
    std::ifstream in(path);
    Json::Value document;
    Json::CharReaderBuilder builder;
    std::string errors;
    EXPECT_TRUE(Json::parseFromStream(builder, in, &document, &errors)) << errors;
    return document["tables"][table][0u]["val"];
}

long file_size(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    return static_cast<long>(in.tellg());
}

void expect_statistics_agree(const Switch& sw) {
    const Files files = sw.files();
    unsigned total = 0;
    for (const auto& entry : files) total += entry.second.Bytes;
    zolt_appl_icfg_file_statistics_t statistics{};
    ASSERT_EQ(zolt_icfg_statistics_file_get(sw.handle(), &statistics), 0);
    EXPECT_EQ(statistics.NumberOfFiles, files.size());
    EXPECT_EQ(statistics.TotalBytes, total);
}

zolt_appl_syslog_server_conf_t log_server(const char* address) {
    zolt_appl_syslog_server_conf_t server{};
    server.Mode = true;
    server.Address = address;
    server.Level = zolt_appl_syslog_lvl_warning;
    return server;
}

// --- copies of the configuration ---------------------------------------------------------------

TEST(SimulatorCopy, RunningToStartupWritesTheStateFileAndListsIt) {
    const std::string path = temporary_path("startup.json");
    std::remove(path.c_str());
    Options options;
    options.state_file = path;
    Switch sw(options);
    zolt_appl_icfg_status_copy_config_t fresh{};
    ASSERT_EQ(zolt_icfg_status_copy_get(sw.handle(), &fresh), 0);
    EXPECT_EQ(fresh.Status, zolt_appl_icfg_copy_status_none);
    ASSERT_EQ(zolt_syslog_config_server_set(sw.handle(), log_server("192.0.2.7")), 0);

    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_startupConfig, ""),
              zolt_appl_icfg_copy_status_success);

    // Written now, not only at stop.
    EXPECT_EQ(saved_singleton(path, "syslog.config.server")["Address"], "192.0.2.7");
    const Files files = sw.files();
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::optional<zolt_appl_icfg_file_entry_t> listed = sw.file(files, name);
    ASSERT_TRUE(listed.has_value()) << "the state file is among the files";
    EXPECT_EQ(static_cast<long>(listed->Bytes), file_size(path));
    EXPECT_EQ(listed->Attribute, "rw");
    EXPECT_EQ(listed->ModifiedTime.size(), 19u) << listed->ModifiedTime;
    const std::optional<zolt_appl_icfg_file_entry_t> startup = sw.file(files, "startup-config");
    ASSERT_TRUE(startup.has_value());
    EXPECT_NE(startup->ModifiedTime, "2024-06-11 08:15:42") << "the startup configuration is new";
    EXPECT_EQ(files.size(), 3u);
    expect_statistics_agree(sw);

    // A second copy updates the same entry rather than listing the file twice.
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_startupConfig, ""),
              zolt_appl_icfg_copy_status_success);
    EXPECT_EQ(sw.files().size(), 3u);
    std::remove(path.c_str());
}

TEST(SimulatorCopy, WithoutAStateFileOnlyTheStartupEntryChanges) {
    Switch sw;
    const Files before = sw.files();
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_startupConfig, ""),
              zolt_appl_icfg_copy_status_success);
    const Files after = sw.files();
    ASSERT_EQ(after.size(), before.size());
    const std::optional<zolt_appl_icfg_file_entry_t> startup = sw.file(after, "startup-config");
    ASSERT_TRUE(startup.has_value());
    EXPECT_NE(startup->ModifiedTime, sw.file(before, "startup-config")->ModifiedTime);
    EXPECT_GT(startup->Bytes, 1000u) << "as large as the configuration written out";
    expect_statistics_agree(sw);
}

TEST(SimulatorCopy, ToAndFromNamedFilesAndTheRefusedCopies) {
    Switch sw;
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_configFile, "lab-backup"),
              zolt_appl_icfg_copy_status_success);
    const std::optional<zolt_appl_icfg_file_entry_t> backup = sw.file(sw.files(), "lab-backup");
    ASSERT_TRUE(backup.has_value());
    const unsigned bytes = backup->Bytes;
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_configFile, "lab-backup",
                      zolt_appl_icfg_config_type_configFile, "lab-copy"),
              zolt_appl_icfg_copy_status_success);
    const std::optional<zolt_appl_icfg_file_entry_t> copied = sw.file(sw.files(), "lab-copy");
    ASSERT_TRUE(copied.has_value());
    EXPECT_EQ(copied->Bytes, bytes);
    EXPECT_EQ(sw.files().size(), 4u);
    expect_statistics_agree(sw);

    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_startupConfig, "",
                      zolt_appl_icfg_config_type_startupConfig, ""),
              zolt_appl_icfg_copy_status_errSameSrcDst);
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_configFile, "no-such-file",
                      zolt_appl_icfg_config_type_runningConfig, ""),
              zolt_appl_icfg_copy_status_errNoSuchFile);
    EXPECT_EQ(
        sw.copy(zolt_appl_icfg_config_type_none, "", zolt_appl_icfg_config_type_startupConfig, ""),
        zolt_appl_icfg_copy_status_errLoadSrc);
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_configFile, ""),
              zolt_appl_icfg_copy_status_errSaveDst);
    EXPECT_EQ(sw.files().size(), 4u) << "a refused copy lists nothing";
}

TEST(SimulatorCopy, ACopyNotAskedForDoesNothing) {
    Switch sw;
    zolt_appl_icfg_copy_config_t copy{};
    copy.SourceConfigType = zolt_appl_icfg_config_type_runningConfig;
    copy.DestinationConfigType = zolt_appl_icfg_config_type_configFile;
    copy.DestinationConfigFile = "never";
    ASSERT_EQ(zolt_icfg_control_copy_set(sw.handle(), copy), 0);
    zolt_appl_icfg_status_copy_config_t status{};
    ASSERT_EQ(zolt_icfg_status_copy_get(sw.handle(), &status), 0);
    EXPECT_EQ(status.Status, zolt_appl_icfg_copy_status_none);
    EXPECT_FALSE(sw.file(sw.files(), "never").has_value());
}

TEST(SimulatorFiles, DeletingAFileTakesItOffTheList) {
    Switch sw;
    ASSERT_TRUE(sw.file(sw.files(), "startup-config").has_value());
    sw.control(zolt_appl_icfg_reload_default_none, "startup-config");
    EXPECT_FALSE(sw.file(sw.files(), "startup-config").has_value());
    EXPECT_EQ(sw.files().size(), 1u);
    expect_statistics_agree(sw);
    EXPECT_EQ(sw.copy(zolt_appl_icfg_config_type_startupConfig, "",
                      zolt_appl_icfg_config_type_runningConfig, ""),
              zolt_appl_icfg_copy_status_errNoSuchFile);
}

// --- reload of defaults ------------------------------------------------------------------------

TEST(SimulatorReload, DefaultsReturnTheConfigurationToTheFreshSwitch) {
    Switch sw;
    zolt_appl_syslog_server_conf_t fresh{};
    ASSERT_EQ(zolt_syslog_config_server_get(sw.handle(), &fresh), 0);
    zolt_appl_ip_global_param_t routing{};
    ASSERT_EQ(zolt_ip_config_global_main_get(sw.handle(), &routing), 0);
    routing.enableRouting = !routing.enableRouting;
    ASSERT_EQ(zolt_ip_config_global_main_set(sw.handle(), routing), 0);
    ASSERT_EQ(zolt_syslog_config_server_set(sw.handle(), log_server("192.0.2.7")), 0);
    ASSERT_EQ(sw.copy(zolt_appl_icfg_config_type_runningConfig, "",
                      zolt_appl_icfg_config_type_configFile, "kept"),
              zolt_appl_icfg_copy_status_success);

    sw.control(zolt_appl_icfg_reload_default_default);

    // The next call still logs in: the starting account is back in the users table.
    zolt_appl_syslog_server_conf_t server{};
    ASSERT_EQ(zolt_syslog_config_server_get(sw.handle(), &server), 0);
    EXPECT_EQ(server.Address, fresh.Address);
    EXPECT_EQ(server.Mode, fresh.Mode);
    zolt_appl_ip_global_param_t reloaded{};
    ASSERT_EQ(zolt_ip_config_global_main_get(sw.handle(), &reloaded), 0);
    EXPECT_NE(reloaded.enableRouting, routing.enableRouting);
    zolt_appl_icfg_control_t control{};
    ASSERT_EQ(zolt_icfg_control_global_get(sw.handle(), &control), 0);
    EXPECT_EQ(control.ReloadDefault, zolt_appl_icfg_reload_default_default)
        << "the command record reads back as written";
    EXPECT_TRUE(sw.file(sw.files(), "kept").has_value()) << "files are storage, not configuration";
    std::map<int, zolt_appl_firmware_status_image_t> images;
    ASSERT_EQ(zolt_firmware_status_image_get(sw.handle(), &images), 0);
    EXPECT_EQ(images.size(), 3u);
}

TEST(SimulatorReload, DefaultKeepIpKeepsTheIpTables) {
    Switch sw;
    zolt_appl_ip_global_param_t routing{};
    ASSERT_EQ(zolt_ip_config_global_main_get(sw.handle(), &routing), 0);
    routing.enableRouting = !routing.enableRouting;
    ASSERT_EQ(zolt_ip_config_global_main_set(sw.handle(), routing), 0);
    ASSERT_EQ(zolt_syslog_config_server_set(sw.handle(), log_server("192.0.2.7")), 0);

    sw.control(zolt_appl_icfg_reload_default_defaultKeepIp);

    zolt_appl_ip_global_param_t kept{};
    ASSERT_EQ(zolt_ip_config_global_main_get(sw.handle(), &kept), 0);
    EXPECT_EQ(kept.enableRouting, routing.enableRouting);
    zolt_appl_syslog_server_conf_t server{};
    ASSERT_EQ(zolt_syslog_config_server_get(sw.handle(), &server), 0);
    EXPECT_NE(server.Address, "192.0.2.7");
}

TEST(SimulatorReload, TheCountersRunOnAcrossAReload) {
    Switch sw;
    const unsigned long long before = sw.rx_octets("Gi 1/1");
    sw.control(zolt_appl_icfg_reload_default_default);
    EXPECT_GE(sw.rx_octets("Gi 1/1"), before);
}

// --- reboots -----------------------------------------------------------------------------------

TEST(SimulatorReboot, AColdOrWarmRebootStartsEveryPortsCountersAgain) {
    for (zolt_appl_sysutil_reboot_type_t type :
         {zolt_appl_sysutil_reboot_type_coldReboot, zolt_appl_sysutil_reboot_type_warmReboot}) {
        Switch sw;
        const unsigned long long first = sw.rx_octets("Gi 1/1");
        const unsigned long long third = sw.rx_octets("Gi 1/3");
        ASSERT_GT(first, 1000000u) << "a fresh switch has been up a while";
        zolt_appl_sysutil_control_reboot_t reboot{};
        reboot.Type = type;
        ASSERT_EQ(zolt_system_utility_control_reboot_set(sw.handle(), 1, reboot), 0);
        EXPECT_LT(sw.rx_octets("Gi 1/1"), first);
        EXPECT_LT(sw.rx_octets("Gi 1/3"), third);
    }
}

TEST(SimulatorReboot, NoRebootLeavesTheCountersRunning) {
    Switch sw;
    const unsigned long long before = sw.rx_octets("Gi 1/1");
    zolt_appl_sysutil_control_reboot_t reboot{};
    reboot.Type = zolt_appl_sysutil_reboot_type_noReboot;
    ASSERT_EQ(zolt_system_utility_control_reboot_set(sw.handle(), 1, reboot), 0);
    EXPECT_GE(sw.rx_octets("Gi 1/1"), before);
}

TEST(SimulatorReboot, TheFirmwareControlRebootsToo) {
    Switch sw;
    const unsigned long long before = sw.rx_octets("Gi 1/1");
    zolt_appl_firmware_control_globals_t control{};
    control.reboot = true;
    ASSERT_EQ(zolt_firmware_control_global_set(sw.handle(), control), 0);
    EXPECT_LT(sw.rx_octets("Gi 1/1"), before);
}

// --- firmware ----------------------------------------------------------------------------------

TEST(SimulatorFirmware, SwapExchangesTheActiveAndAlternativeImages) {
    Switch sw;
    using Images = std::map<int, zolt_appl_firmware_status_image_t>;
    auto version_of = [&sw](zolt_appl_firmware_status_image_type_t type) {
        Images images;
        EXPECT_EQ(zolt_firmware_status_image_get(sw.handle(), &images), 0);
        for (const auto& entry : images) {
            if (entry.second.Type == type) return entry.second.Version;
        }
        return std::string("(none)");
    };
    const std::string active = version_of(zolt_appl_firmware_status_image_type_activeFirmware);
    const std::string other = version_of(zolt_appl_firmware_status_image_type_alternativeFirmware);
    ASSERT_NE(active, other);
    const unsigned long long counted = sw.rx_octets("Gi 1/1");

    zolt_appl_firmware_control_globals_t control{};
    control.SwapFirmware = true;
    ASSERT_EQ(zolt_firmware_control_global_set(sw.handle(), control), 0);
    EXPECT_EQ(version_of(zolt_appl_firmware_status_image_type_activeFirmware), other);
    EXPECT_EQ(version_of(zolt_appl_firmware_status_image_type_alternativeFirmware), active);
    EXPECT_EQ(version_of(zolt_appl_firmware_status_image_type_bootloader), "1.0.4");
    EXPECT_GE(sw.rx_octets("Gi 1/1"), counted) << "a swap alone does not reboot";

    ASSERT_EQ(zolt_firmware_control_global_set(sw.handle(), control), 0);
    EXPECT_EQ(version_of(zolt_appl_firmware_status_image_type_activeFirmware), active);
}

TEST(SimulatorFirmware, AnUploadMovesFromNoneThroughInProgressToSuccess) {
    Switch sw;
    EXPECT_EQ(sw.upload_status(), zolt_appl_firmware_upload_status_none);
    zolt_appl_firmware_control_image_upload_t upload{};
    upload.DoUpload = true;
    upload.ImageType = zolt_appl_firmware_upload_image_type_firmware;
    upload.Url = "tftp://192.0.2.5/zolt-switch-4.3.0.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(sw.handle(), upload), 0);
    EXPECT_EQ(sw.upload_status(), zolt_appl_firmware_upload_status_inProgress);

    // No timing is asserted: the status is read until it settles, and may only be done then.
    zolt_appl_firmware_upload_status_t status = zolt_appl_firmware_upload_status_inProgress;
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (status == zolt_appl_firmware_upload_status_inProgress &&
           std::chrono::steady_clock::now() < give_up) {
        std::this_thread::sleep_for(zolt_sim::Effects::kUploadTime / 5);
        status = sw.upload_status();
    }
    EXPECT_EQ(status, zolt_appl_firmware_upload_status_success);
    EXPECT_EQ(sw.upload_status(), zolt_appl_firmware_upload_status_success) << "and stays done";
}

TEST(SimulatorFirmware, AnUploadFromAUrlWithoutASchemeFailsAtOnce) {
    Switch sw;
    zolt_appl_firmware_control_image_upload_t upload{};
    upload.DoUpload = true;
    upload.Url = "192.0.2.5/image.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(sw.handle(), upload), 0);
    EXPECT_EQ(sw.upload_status(), zolt_appl_firmware_upload_status_errInvalidUrl);
}

TEST(SimulatorFirmware, AnUploadNotAskedForLeavesTheStatusAlone) {
    Switch sw;
    zolt_appl_firmware_control_image_upload_t upload{};
    upload.Url = "tftp://192.0.2.5/image.mfi";
    ASSERT_EQ(zolt_firmware_control_image_upload_set(sw.handle(), upload), 0);
    EXPECT_EQ(sw.upload_status(), zolt_appl_firmware_upload_status_none);
}

// --- the log history ---------------------------------------------------------------------------

using History = std::map<std::tuple<int, int>, zolt_appl_syslog_history_t>;

History history(const Switch& sw) {
    History entries;
    EXPECT_EQ(zolt_syslog_status_history_get(sw.handle(), &entries), 0);
    return entries;
}

void clear_history(const Switch& sw, int unit, zolt_appl_syslog_lvl_t level, bool clear = true) {
    zolt_appl_syslog_history_control_t control{};
    control.Clear = clear;
    ASSERT_EQ(zolt_syslog_control_history_set(sw.handle(), unit, level, control), 0);
}

TEST(SimulatorSyslog, AFreshSwitchHasAFewHistoryEntriesInLocalTime) {
    Switch sw;
    const History entries = history(sw);
    ASSERT_EQ(entries.size(), 3u);
    const zolt_appl_syslog_history_t& first = entries.at(std::make_tuple(1, 1));
    EXPECT_EQ(first.MsgLevel, zolt_appl_syslog_lvl_notice);
    EXPECT_EQ(first.MsgText, "System cold started");
    std::tm local{};
    local.tm_year = 2024 - 1900;
    local.tm_mon = 5;
    local.tm_mday = 11;
    local.tm_hour = 8;
    local.tm_min = 15;
    local.tm_sec = 40;
    local.tm_isdst = -1;
    EXPECT_EQ(first.MsgTimeStamp, std::mktime(&local));
    EXPECT_EQ(entries.at(std::make_tuple(1, 3)).MsgLevel, zolt_appl_syslog_lvl_warning);
}

TEST(SimulatorSyslog, ClearingTakesTheEntriesOfOneLevelOrOfAll) {
    Switch sw;
    clear_history(sw, 1, zolt_appl_syslog_lvl_all, false);
    EXPECT_EQ(history(sw).size(), 3u) << "Clear false clears nothing";
    clear_history(sw, 1, zolt_appl_syslog_lvl_warning);
    History left = history(sw);
    EXPECT_EQ(left.size(), 2u);
    EXPECT_EQ(left.count(std::make_tuple(1, 3)), 0u);
    clear_history(sw, 2, zolt_appl_syslog_lvl_all);
    EXPECT_EQ(history(sw).size(), 2u) << "another switch's history";
    clear_history(sw, 1, zolt_appl_syslog_lvl_all);
    EXPECT_TRUE(history(sw).empty());
}

}  // namespace
