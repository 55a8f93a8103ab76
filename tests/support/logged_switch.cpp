#include "support/logged_switch.h"

#include <mutex>

#include "sim/simulator.h"
#include "support/switch.h"

namespace zolt_test {

struct LoggedSwitch::Impl {
    mutable std::mutex mutex;
    std::vector<std::string> methods;
    std::unique_ptr<Switch> sw;
};

LoggedSwitch::LoggedSwitch(const std::string& fault, int ports) : impl_(new Impl) {
    zolt_sim::Options options;
    options.fault = zolt_sim::parse_fault(fault);
    options.ports = ports;
    options.log = true;
    Impl* impl = impl_.get();
    options.log_sink = [impl](const std::string& line) {
        // PEER POST PATH "METHOD" params=N error=E -> STATUS TIME
        const std::size_t open = line.find('"');
        const std::size_t close = open == std::string::npos ? open : line.find('"', open + 1);
        if (close == std::string::npos) return;
        std::lock_guard<std::mutex> lock(impl->mutex);
        impl->methods.push_back(line.substr(open + 1, close - open - 1));
    };
    impl_->sw.reset(new Switch(options));
}

LoggedSwitch::~LoggedSwitch() = default;

void* LoggedSwitch::handle() const { return impl_->sw->handle(); }

std::string LoggedSwitch::url() const { return impl_->sw->simulator().url(); }

Json::Value LoggedSwitch::rows(const std::string& table) const {
    const zolt_sim::Model& model = impl_->sw->simulator().model();
    return model.rows(table, model.now());
}

std::vector<std::string> LoggedSwitch::methods() const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->methods;
}

std::vector<std::string> LoggedSwitch::writes() const {
    std::vector<std::string> found;
    for (const std::string& m : methods()) {
        if (m.size() < 4 || m.compare(m.size() - 4, 4, ".get") != 0) found.push_back(m);
    }
    return found;
}

void LoggedSwitch::clear() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->methods.clear();
}

}  // namespace zolt_test
