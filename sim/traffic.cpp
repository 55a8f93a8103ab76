#include "sim/traffic.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sim/names.h"

namespace zolt_sim {
namespace {

enum class Direction { rx, tx };
enum class Unit { octets, packets };

// One counter field: which way its traffic flows, what it counts and its share of that.
struct Share {
    const char* field;
    Direction direction;
    Unit unit;
    double share;
};

struct CounterTable {
    const char* table;
    const Share* shares;
    std::size_t count;
};

// The mean frame size that the size buckets below add up to (about 460 octets), used to turn
// octets into packets.
constexpr double kMeanFrame = 460.0;

constexpr std::chrono::hours kUptime{1};

constexpr Share kRmon[] = {
    {key::RxOctets, Direction::rx, Unit::octets, 1.0},
    {key::RxPkts, Direction::rx, Unit::packets, 1.0},
    {key::RxBroadcastPkts, Direction::rx, Unit::packets, 0.02},
    {key::RxMulticastPkts, Direction::rx, Unit::packets, 0.05},
    {key::Rx64Pkts, Direction::rx, Unit::packets, 0.35},
    {key::Rx65to127Pkts, Direction::rx, Unit::packets, 0.15},
    {key::Rx128to255Pkts, Direction::rx, Unit::packets, 0.10},
    {key::Rx256to511Pkts, Direction::rx, Unit::packets, 0.08},
    {key::Rx512to1023Pkts, Direction::rx, Unit::packets, 0.07},
    {key::Rx1024to1518Pkts, Direction::rx, Unit::packets, 0.25},
    {key::TxOctets, Direction::tx, Unit::octets, 1.0},
    {key::TxPkts, Direction::tx, Unit::packets, 1.0},
    {key::TxBroadcastPkts, Direction::tx, Unit::packets, 0.02},
    {key::TxMulticastPkts, Direction::tx, Unit::packets, 0.05},
    {key::Tx64Pkts, Direction::tx, Unit::packets, 0.35},
    {key::Tx65to127Pkts, Direction::tx, Unit::packets, 0.15},
    {key::Tx128to255Pkts, Direction::tx, Unit::packets, 0.10},
    {key::Tx256to511Pkts, Direction::tx, Unit::packets, 0.08},
    {key::Tx512to1023Pkts, Direction::tx, Unit::packets, 0.07},
    {key::Tx1024to1518Pkts, Direction::tx, Unit::packets, 0.25},
};

constexpr Share kIfGroup[] = {
    {key::RxOctets, Direction::rx, Unit::octets, 1.0},
    {key::RxUnicastPkts, Direction::rx, Unit::packets, 0.93},
    {key::RxMulticastPkts, Direction::rx, Unit::packets, 0.05},
    {key::RxBroadcastPkts, Direction::rx, Unit::packets, 0.02},
    {key::RxNonUnicastPkts, Direction::rx, Unit::packets, 0.07},
    {key::TxOctets, Direction::tx, Unit::octets, 1.0},
    {key::TxUnicastPkts, Direction::tx, Unit::packets, 0.93},
    {key::TxMulticastPkts, Direction::tx, Unit::packets, 0.05},
    {key::TxBroadcastPkts, Direction::tx, Unit::packets, 0.02},
    {key::TxNonUnicastPkts, Direction::tx, Unit::packets, 0.07},
};

// Frames dropped by the bridge for want of a forwarding decision: one in a thousand.
constexpr Share kBridge[] = {
    {key::RxBridgeDiscard, Direction::rx, Unit::packets, 0.001},
};

// Per queue; the queue's own share is applied on top (see queue_share).
constexpr Share kQueues[] = {
    {key::RxPrio, Direction::rx, Unit::packets, 1.0},
    {key::TxPrio, Direction::tx, Unit::packets, 1.0},
};

// Flow control is off on every port, so the ethernet-like pause counters stay as stored.
constexpr CounterTable kTables[] = {
    {table::port_statistics_rmon, kRmon, sizeof kRmon / sizeof kRmon[0]},
    {table::port_statistics_if_group, kIfGroup, sizeof kIfGroup / sizeof kIfGroup[0]},
    {table::port_statistics_bridge, kBridge, sizeof kBridge / sizeof kBridge[0]},
    {table::port_statistics_queues, kQueues, sizeof kQueues / sizeof kQueues[0]},
    {table::port_statistics_ethernet_like, nullptr, 0},
};

const CounterTable* find_table(const std::string& table) {
    for (const CounterTable& entry : kTables) {
        if (table == entry.table) return &entry;
    }
    return nullptr;
}

// Best effort goes to queue 0, network control to queue 7, the rest spread over 1 to 6.
double queue_share(const Json::Value& key) {
    if (!key.isArray() || key.size() < 2 || !key[1u].isInt()) return 0.0;
    const int queue = key[1u].asInt();
    if (queue == 0) return 0.85;
    if (queue == 7) return 0.05;
    if (queue >= 1 && queue <= 6) return 0.10 / 6;
    return 0.0;
}

}  // namespace

Traffic::Traffic(const std::vector<std::string>& ports, Clock::time_point now) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
        PortProfile profile;
        profile.link = (i + 1) % 4 != 0;
        if (profile.link) {
            const double line_octets = (i == 1 ? 100e6 : 1e9) / 8;
            profile.speed = i == 1 ? "s100M" : "s1G";
            profile.rx_octets_per_second = line_octets * (0.02 + 0.01 * static_cast<double>(i % 3));
            profile.tx_octets_per_second =
                line_octets * (0.015 + 0.01 * static_cast<double>(i % 2));
        }
        ports_[ports[i]] = Port{profile, now - kUptime};
    }
}

PortProfile Traffic::profile(const std::string& port) const {
    auto found = ports_.find(port);
    return found == ports_.end() ? PortProfile{} : found->second.profile;
}

bool Traffic::counts(const std::string& table) { return find_table(table) != nullptr; }

std::vector<std::pair<std::string, std::vector<std::string>>> Traffic::counted_members() {
    std::vector<std::pair<std::string, std::vector<std::string>>> out;
    for (const CounterTable& entry : kTables) {
        std::vector<std::string> members;
        for (std::size_t i = 0; i < entry.count; ++i) members.emplace_back(entry.shares[i].field);
        out.emplace_back(entry.table, std::move(members));
    }
    return out;
}

Json::Value Traffic::read(const std::string& table, const Json::Value& key, const Json::Value& base,
                          Clock::time_point now) const {
    const CounterTable* counters = find_table(table);
    if (counters == nullptr || !base.isObject() || !key.isArray() || key.empty() ||
        !key[0u].isString()) {
        return base;
    }
    auto port = ports_.find(key[0u].asString());
    if (port == ports_.end() || !port->second.profile.link) return base;

    const double seconds = std::chrono::duration<double>(now - port->second.since).count();
    const double extra_share =
        std::strcmp(counters->table, table::port_statistics_queues) == 0 ? queue_share(key) : 1.0;
    Json::Value value = base;
    for (std::size_t i = 0; i < counters->count; ++i) {
        const Share& share = counters->shares[i];
        if (!value.isMember(share.field)) continue;
        Json::Value& field = value[share.field];
        if (!field.isUInt64()) continue;
        const PortProfile& profile = port->second.profile;
        double amount = seconds * (share.direction == Direction::rx ? profile.rx_octets_per_second
                                                                    : profile.tx_octets_per_second);
        if (share.unit == Unit::packets) amount /= kMeanFrame;
        amount *= share.share * extra_share;
        field = Json::Value(
            static_cast<Json::UInt64>(field.asUInt64() + static_cast<std::uint64_t>(amount)));
    }
    return value;
}

void Traffic::restart(const std::string& port, Clock::time_point now) {
    auto found = ports_.find(port);
    if (found != ports_.end()) found->second.since = now;
}

void Traffic::restart_all(Clock::time_point now) {
    for (auto& entry : ports_) entry.second.since = now;
}

}  // namespace zolt_sim
