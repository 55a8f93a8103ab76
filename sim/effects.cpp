#include "sim/effects.h"

#include <json/reader.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "sim/names.h"
#include "sim/sim_schema.h"
#include "sim/traffic.h"
#include "sim/words.h"

namespace zolt_sim {
namespace {

constexpr const char* kCopy = method::icfg_control_copy_set;
constexpr const char* kControl = method::icfg_control_global_set;
constexpr const char* kReboot = method::system_utility_control_reboot_set;
constexpr const char* kFirmwareControl = method::firmware_control_global_set;
constexpr const char* kUpload = method::firmware_control_image_upload_set;
constexpr const char* kUploadStatusGet = method::firmware_status_image_upload_get;
constexpr const char* kClearHistory = method::syslog_control_history_set;
constexpr const char* kClearCounters = method::port_control_statistics_clear_set;

constexpr const char* kFiles = table::icfg_status_file;
constexpr const char* kFileStatistics = table::icfg_statistics_file;
constexpr const char* kCopyStatus = table::icfg_status_copy;
constexpr const char* kImages = table::firmware_status_image;
constexpr const char* kSwitches = table::firmware_status_switch;
constexpr const char* kUploadStatus = table::firmware_status_image_upload;
constexpr const char* kHistory = table::syslog_status_history;
constexpr const char* kCopyControl = table::icfg_control_copy;
constexpr const char* kGlobalControl = table::icfg_control_global;

// The file list's name of the startup configuration, as a fresh switch lists it.
constexpr const char* kStartupFile = "startup-config";

// What a reload of defaults leaves as it is: the files and firmware in flash are storage, not
// configuration, and the command records read back as they were last written. (The live port
// counters stay too.)
const char* const kKeptByReload[] = {kFiles,        kFileStatistics, kImages,       kSwitches,
                                     kUploadStatus, kCopyControl,    kGlobalControl};

// The IP family's tables, which "defaultKeepIp" keeps: those of the family of the IP interfaces.
bool ip_table(const std::string& name) {
    const TableInfo* interfaces = find_table(table::ip_config_interface);
    const TableInfo* info = find_table(name);
    return info != nullptr && std::string(info->family) == interfaces->family;
}

// Replaces the tables that `changed` names; counters it does not name run on.
void replace(Model& model, Json::Value changed, Model::Clock::time_point now) {
    Json::Value document(Json::objectValue);
    document[word::tables] = std::move(changed);
    model.restore(document, now);
}

Json::Value singleton(const Json::Value& value) {
    Json::Value row(Json::objectValue);
    row[word::key] = Json::Value();
    row[word::val] = value;
    Json::Value rows(Json::arrayValue);
    rows.append(row);
    return rows;
}

// The switch's wall clock as its file list shows it: local time, "YYYY-MM-DD HH:MM:SS".
std::string local_time_text() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string text_of(const Json::Value& value) { return value.isString() ? value.asString() : ""; }

// The file list `files` with `name` at `bytes`, modified now: its own entry updated, or a new
// entry under the next free key.
void list_file(Json::Value& files, const std::string& name, Json::UInt bytes) {
    Json::Value* entry = nullptr;
    Json::Int next = 1;
    for (Json::Value& row : files) {
        if (row[word::key].isArray() && row[word::key][0u].isInt()) {
            next = std::max(next, row[word::key][0u].asInt() + 1);
        }
        if (row[word::val][key::FileName] == Json::Value(name)) entry = &row[word::val];
    }
    if (entry == nullptr) {
        Json::Value row(Json::objectValue);
        row[word::key] = Json::Value(Json::arrayValue);
        row[word::key].append(next);
        row[word::val][key::FileName] = name;
        row[word::val][key::Attribute] = "rw";
        entry = &files.append(row)[word::val];
    }
    (*entry)[key::Bytes] = bytes;
    (*entry)[key::ModifiedTime] = local_time_text();
}

const Json::Value* file_entry(const Json::Value& files, const std::string& name) {
    for (const Json::Value& row : files) {
        if (row[word::val][key::FileName] == Json::Value(name)) return &row[word::val];
    }
    return nullptr;
}

// The file list and its statistics, which always agree.
Json::Value file_tables(const Json::Value& files) {
    Json::UInt total = 0;
    for (const Json::Value& row : files) total += row[word::val][key::Bytes].asUInt();
    Json::Value statistics(Json::objectValue);
    statistics[key::NumberOfFiles] = static_cast<Json::UInt>(files.size());
    statistics[key::TotalBytes] = total;
    Json::Value tables(Json::objectValue);
    tables[kFiles] = files;
    tables[kFileStatistics] = singleton(statistics);
    return tables;
}

// The members these effects read from a request or write into a table, each of its own table. A
// renamed method, table or key does not build; a key that stays in the schema but leaves one of
// these tables stops the simulator here instead of leaving an effect silently undone.
void check_members() {
    const std::pair<const char*, std::vector<const char*>> members[] = {
        {kCopyControl,
         {key::Copy, key::SourceConfigType, key::DestinationConfigType, key::SourceConfigFile,
          key::DestinationConfigFile}},
        {kGlobalControl, {key::DeleteFile, key::ReloadDefault}},
        {table::system_utility_control_reboot, {key::Type}},
        {table::firmware_control_global, {key::SwapFirmware, key::reboot}},
        {table::firmware_control_image_upload, {key::DoUpload, key::Url}},
        {table::syslog_control_history, {key::Clear}},
        {kFiles, {key::FileName, key::Bytes, key::ModifiedTime, key::Attribute}},
        {kFileStatistics, {key::NumberOfFiles, key::TotalBytes}},
        {kCopyStatus, {key::Status}},
        {kImages, {key::Type}},
        {kUploadStatus, {key::Status}},
        {kHistory, {key::MsgLevel}},
    };
    for (const auto& entry : members) {
        for (const char* member : entry.second) require_member(entry.first, member);
    }
}

}  // namespace

Effects::Effects(Model& model, std::function<std::string()> save_state,
                 std::function<void()> add_login)
    : model_(model), save_state_(std::move(save_state)), add_login_(std::move(add_login)) {
    check_members();
}

void Effects::after(const std::string& method, const std::string& body, Json::Value& answer) {
    if (method == kUploadStatusGet) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (uploading_ && model_.now() - upload_started_ < kUploadTime) {
            answer[word::result][key::Status] = "inProgress";
        } else {
            uploading_ = false;
        }
        return;
    }
    if (method != kCopy && method != kControl && method != kReboot && method != kFirmwareControl &&
        method != kUpload && method != kClearHistory) {
        return;
    }
    Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value request;
    std::string errors;
    if (!reader->parse(body.data(), body.data() + body.size(), &request, &errors)) return;
    const Json::Value& params = request[word::params];

    // The call has been answered: a command that fails here is the switch's own trouble.
    std::lock_guard<std::mutex> lock(mutex_);
    try {
        if (method == kCopy) {
            copy(params[0u]);
        } else if (method == kControl) {
            control(params[0u]);
        } else if (method == kReboot) {
            const std::string type = text_of(params[1u][key::Type]);
            if (type == "coldReboot" || type == "warmReboot") reboot();
        } else if (method == kFirmwareControl) {
            if (params[0u][key::SwapFirmware] == true) swap_firmware();
            if (params[0u][key::reboot] == true) reboot();
        } else if (method == kUpload) {
            upload(params[0u]);
        } else if (params[2u][key::Clear] == true && params[0u].isInt()) {
            clear_history(params[0u].asInt(), text_of(params[1u]));
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zolt-switch-sim: %s: %s\n", method.c_str(), e.what());
        std::fflush(stderr);
    }
}

void Effects::copy(const Json::Value& request) {
    if (request[key::Copy] != true) return;
    const std::string source = text_of(request[key::SourceConfigType]);
    const std::string destination = text_of(request[key::DestinationConfigType]);
    const std::string source_file =
        source == "startupConfig" ? kStartupFile : text_of(request[key::SourceConfigFile]);
    const std::string destination_file = destination == "startupConfig"
                                             ? kStartupFile
                                             : text_of(request[key::DestinationConfigFile]);

    // Written first, so that the file list below can tell the file's size.
    std::string state_file;
    bool saved = true;
    if (source == "runningConfig" && destination == "startupConfig") {
        try {
            state_file = save_state_();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "zolt-switch-sim: %s\n", e.what());
            saved = false;
        }
    }

    const Model::Clock::time_point now = model_.now();
    Json::Value files = model_.rows(kFiles, now);
    const Json::Value* source_entry = file_entry(files, source_file);
    const bool source_listed = source_entry != nullptr;
    const Json::UInt source_bytes = source_listed ? (*source_entry)[key::Bytes].asUInt() : 0;
    std::string status = "success";
    if (source == destination && (source != "configFile" || source_file == destination_file)) {
        status = "errSameSrcDst";
    } else if (source == "none") {
        status = "errLoadSrc";
    } else if (destination == "none" || !saved ||
               (destination != "runningConfig" && destination_file.empty())) {
        status = "errSaveDst";
    } else if (source == "runningConfig") {
        // The configuration takes as many bytes as its state file: the one just written, or
        // else the text such a file would hold.
        std::error_code error;
        const bool saved_file = !state_file.empty();
        const Json::UInt saved_bytes =
            saved_file ? static_cast<Json::UInt>(std::filesystem::file_size(state_file, error)) : 0;
        const bool measured = saved_file && !error;
        list_file(files, destination_file,
                  measured ? saved_bytes
                           : static_cast<Json::UInt>(state_text(model_.snapshot(now)).size()));
        if (saved_file) {
            list_file(files, std::filesystem::path(state_file).filename().string(),
                      measured ? saved_bytes : 0);
        }
    } else if (!source_listed) {
        status = "errNoSuchFile";
    } else if (destination != "runningConfig") {
        // A stored configuration is never loaded into the running one here; copied to a file,
        // it shows as that file.
        list_file(files, destination_file, source_bytes);
    }

    Json::Value changed = file_tables(files);
    Json::Value outcome(Json::objectValue);
    outcome[key::Status] = status;
    changed[kCopyStatus] = singleton(outcome);
    replace(model_, changed, now);
}

void Effects::control(const Json::Value& request) {
    const std::string deleted = text_of(request[key::DeleteFile]);
    const std::string reload = text_of(request[key::ReloadDefault]);
    const Model::Clock::time_point now = model_.now();

    if (!deleted.empty()) {
        const Json::Value listed = model_.rows(kFiles, now);
        Json::Value files(Json::arrayValue);
        for (const Json::Value& row : listed) {
            if (row[word::val][key::FileName] != Json::Value(deleted)) files.append(row);
        }
        if (files.size() != listed.size()) replace(model_, file_tables(files), now);
    }
    if (reload != "default" && reload != "defaultKeepIp") return;

    // A fresh switch of the same size holds every table in its first state. The tables that
    // stay are left out, and the restore keeps them as they are (counters running on).
    const Model fresh(static_cast<int>(model_.port_names().size()), [now] { return now; });
    Json::Value tables = fresh.snapshot(now)[word::tables];
    for (const std::string& name : tables.getMemberNames()) {
        bool keep = reload == "defaultKeepIp" && ip_table(name);
        for (const char* kept : kKeptByReload) keep = keep || name == kept;
        if (keep || Traffic::counts(name)) tables.removeMember(name);
    }
    replace(model_, tables, now);
    add_login_();
}

void Effects::reboot() {
    for (const std::string& port : model_.port_names()) {
        Json::Value params(Json::arrayValue);
        params.append(port);
        params.append(true);
        model_.call(kClearCounters, params);
    }
}

void Effects::swap_firmware() {
    const Model::Clock::time_point now = model_.now();
    Json::Value images = model_.rows(kImages, now);
    Json::Value* active = nullptr;
    Json::Value* alternative = nullptr;
    for (Json::Value& row : images) {
        const Json::Value& type = row[word::val][key::Type];
        if (type == "activeFirmware") active = &row[word::val];
        if (type == "alternativeFirmware") alternative = &row[word::val];
    }
    if (active == nullptr || alternative == nullptr) return;
    // The images change places; each row still tells which place it describes.
    std::swap(*active, *alternative);
    std::swap((*active)[key::Type], (*alternative)[key::Type]);
    Json::Value changed(Json::objectValue);
    changed[kImages] = images;
    replace(model_, changed, now);
}

void Effects::upload(const Json::Value& request) {
    if (request[key::DoUpload] != true) return;
    const std::string url = text_of(request[key::Url]);
    const std::size_t scheme = url.find("://");
    const bool valid = scheme != std::string::npos && scheme > 0 && scheme + 3 < url.size();
    // The outcome is stored at once; reads answer "inProgress" until the upload's time is up.
    Json::Value outcome(Json::objectValue);
    outcome[key::Status] = valid ? "success" : "errInvalidUrl";
    const Model::Clock::time_point now = model_.now();
    Json::Value changed(Json::objectValue);
    changed[kUploadStatus] = singleton(outcome);
    replace(model_, changed, now);
    uploading_ = valid;
    upload_started_ = now;
}

void Effects::clear_history(int unit, const std::string& level) {
    const Model::Clock::time_point now = model_.now();
    const Json::Value history = model_.rows(kHistory, now);
    Json::Value kept(Json::arrayValue);
    for (const Json::Value& row : history) {
        const bool this_unit = row[word::key].isArray() && row[word::key][0u] == unit;
        const bool this_level =
            level == "all" || row[word::val][key::MsgLevel] == Json::Value(level);
        if (!(this_unit && this_level)) kept.append(row);
    }
    if (kept.size() == history.size()) return;
    Json::Value changed(Json::objectValue);
    changed[kHistory] = kept;
    replace(model_, changed, now);
}

}  // namespace zolt_sim
