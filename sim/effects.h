#pragma once

// What the switch's management commands do beyond storing the control record they write. The
// model keeps every written record; this is the switch acting on it, after the call has been
// answered without error:
//   - "icfg.control.copy.set" with Copy true: the running configuration copied to the startup
//     configuration writes the state file (when there is one) and lists it among the files,
//     with the startup configuration's own entry brought up to date; a copy to a named file
//     lists that file. The outcome is read from "icfg.status.copy".
//   - "icfg.control.global.set": ReloadDefault returns the configuration to the fresh switch's
//     (files, firmware images, the command records themselves and the live port counters stay;
//     "defaultKeepIp" keeps the IP tables too; the login account the simulator was started
//     with is added again); a
//     DeleteFile names a file to take off the file list.
//   - "system-utility.control.reboot.set" with a cold or warm reboot, and
//     "firmware.control.global.set" with reboot true: every port's counters start again.
//     SwapFirmware true exchanges the active and the alternative firmware image.
//   - "firmware.control.image-upload.set" with DoUpload true: the upload status reads
//     "inProgress" for a short while from the upload on, then "success" ("errInvalidUrl" at
//     once for a URL without a scheme). No thread runs meanwhile: the status is the outcome,
//     and a read within the upload's time is answered "inProgress".
//   - "syslog.control.history.set" with Clear true: the history entries of that switch and
//     level ("all": every level) are gone.

#include <json/value.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "sim/model.h"

namespace zolt_sim {

class Effects {
public:
    using Clock = std::chrono::steady_clock;

    // How long an upload reads "inProgress".
    static constexpr std::chrono::milliseconds kUploadTime{500};

    // `save_state` writes the state file and returns its path, or an empty text when the
    // simulator has none; `add_login` adds the account the simulator was started with.
    // Throws std::logic_error when a table these effects use lacks a member they read or write.
    Effects(Model& model, std::function<std::string()> save_state, std::function<void()> add_login);

    // After a call answered without error: `method` is its method string, `body` the request
    // as it came. May change `answer` (the upload status while an upload runs).
    void after(const std::string& method, const std::string& body, Json::Value& answer);

private:
    void copy(const Json::Value& request);
    void control(const Json::Value& request);
    void reboot();
    void swap_firmware();
    void upload(const Json::Value& request);
    void clear_history(int unit, const std::string& level);

    Model& model_;
    std::function<std::string()> save_state_;
    std::function<void()> add_login_;

    std::mutex mutex_;  // one command at a time; guards the upload below
    bool uploading_ = false;
    Clock::time_point upload_started_;
};

}  // namespace zolt_sim
