#pragma once

// Port counters that advance while the simulator runs. Each port with its link up carries a
// steady load (a share of its line rate, different per port); a counter row reads as the value
// stored for it (its base) plus what that load has added since the port's counting started: an
// hour before the simulator started (a fresh switch has been up a while), at a restore, or at
// the port's last clear. So two reads a moment apart show
// growing counters without a timer thread, and the numbers of one port agree with each other
// (packets follow octets at a fixed mean frame size, and the size buckets add up to the total).

#include <json/value.h>

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zolt_sim {

// How one port looks: its link and the load it carries.
struct PortProfile {
    bool link = false;
    const char* speed = "undefined";  // the running speed, a text of zolt_port_speed_t
    double rx_octets_per_second = 0;
    double tx_octets_per_second = 0;
};

class Traffic {
public:
    using Clock = std::chrono::steady_clock;

    // Port i (from 0) of `ports`: every fourth port has no link; the second runs at 100M, the
    // others at 1G; the load is 2 to 4 % of line rate received and 1.5 to 2.5 % sent. Counting
    // starts an hour before `now`.
    Traffic(const std::vector<std::string>& ports, Clock::time_point now);

    // The profile of a port; a port the switch does not have has no link.
    PortProfile profile(const std::string& port) const;

    // True for the tables whose rows are live counters keyed by port (and queue).
    static bool counts(const std::string& table);

    // Every counted table with the members it advances, for the start-up check against the
    // schema.
    static std::vector<std::pair<std::string, std::vector<std::string>>> counted_members();

    // `base` plus the traffic of the port named by key[0] since its counting started.
    Json::Value read(const std::string& table, const Json::Value& key, const Json::Value& base,
                     Clock::time_point now) const;

    // Counting of the port starts again from `now`; the caller resets the stored bases.
    void restart(const std::string& port, Clock::time_point now);
    void restart_all(Clock::time_point now);

private:
    struct Port {
        PortProfile profile;
        Clock::time_point since;
    };
    std::map<std::string, Port> ports_;
};

}  // namespace zolt_sim
