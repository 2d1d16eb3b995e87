#pragma once

// The process's time zone (TZ) set for one test and put back afterwards. Each test runs in
// a process of its own, so no other test sees the change.

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace vexa::testing {

class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone) {
        if (const char* set = std::getenv("TZ"))
            previous_ = set;
        ::setenv("TZ", zone.c_str(), 1);
        ::tzset(); // localtime_r does not look at TZ again by itself
    }
    ~ScopedTimeZone() {
        if (previous_)
            ::setenv("TZ", previous_->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

} // namespace vexa::testing
