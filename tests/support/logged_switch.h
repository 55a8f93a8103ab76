#pragma once

// A running simulator on a free port of 127.0.0.1 with a library handle on it (as switch.h's
// Switch), which also keeps the method string of every request it received, and shows its own
// state of a table. Nothing of the simulator's headers comes with it, so a test may use the
// generated names of sim/names.h: its namespace zolt_sim::key would meet the seed's function of
// that name there.

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

namespace zolt_test {

class LoggedSwitch {
public:
    // `fault` in the simulator's --fault form; `ports` switch ports.
    explicit LoggedSwitch(const std::string& fault = "none", int ports = 8);
    ~LoggedSwitch();
    LoggedSwitch(const LoggedSwitch&) = delete;
    LoggedSwitch& operator=(const LoggedSwitch&) = delete;

    void* handle() const;
    std::string url() const;  // "http://127.0.0.1:PORT/"

    // The simulator's own rows of a table, [{"key": [members...], "val": V}...].
    Json::Value rows(const std::string& table) const;

    // The method strings received so far, in order; writes() leaves out those ending in ".get".
    std::vector<std::string> methods() const;
    std::vector<std::string> writes() const;
    void clear();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zolt_test
