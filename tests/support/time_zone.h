#pragma once

// The process's time zone for one test: set() changes TZ, and the zone the process had is put
// back when the guard goes.

#include <cstdlib>
#include <ctime>
#include <string>

namespace zolt_test {

class TimeZoneGuard {
public:
    TimeZoneGuard() {
        const char* old = std::getenv("TZ");
        had_tz_ = old != nullptr;
        if (had_tz_) old_tz_ = old;
    }
    ~TimeZoneGuard() {
        if (had_tz_) {
            setenv("TZ", old_tz_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    TimeZoneGuard(const TimeZoneGuard&) = delete;
    TimeZoneGuard& operator=(const TimeZoneGuard&) = delete;

    static void set(const char* tz) {
        setenv("TZ", tz, 1);
        tzset();
    }

private:
    bool had_tz_ = false;
    std::string old_tz_;
};

}  // namespace zolt_test
