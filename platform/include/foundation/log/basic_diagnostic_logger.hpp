#pragma once

// Diagnostic records on Boost.Log. A logger writes on one channel and keeps a mask of the
// levels it writes; where the records go is the host program's choice of sinks.

#include <boost/log/sources/severity_channel_logger.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::log {

// A level is one bit, so a mask can enable any set of them.
using level_t = std::uint32_t;

class basic_diagnostic_logger {
public:
    explicit basic_diagnostic_logger(std::string channel, level_t enabledLevels = 0);
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;

    const std::string& channel() const noexcept { return channel_; }

    bool isEnabled(level_t level) const noexcept {
        return (enabledLevels_.load(std::memory_order_relaxed) & level) != 0;
    }
    level_t enabledLevels() const noexcept {
        return enabledLevels_.load(std::memory_order_relaxed);
    }
    void setEnabledLevels(level_t mask) noexcept {
        enabledLevels_.store(mask, std::memory_order_relaxed);
    }

    // Writes one record when `level` is enabled.
    void write(level_t level, std::string_view message);

private:
    std::string channel_;
    std::atomic<level_t> enabledLevels_;
    boost::log::sources::severity_channel_logger_mt<level_t, std::string> source_;
};

// One record as a sink received it.
struct Record {
    std::string channel;
    level_t level = 0;
    std::string message;
};

// Collects the records of one channel while it lives (a test's view of what was logged).
class RecordCapture {
public:
    explicit RecordCapture(std::string channel);
    ~RecordCapture();
    RecordCapture(const RecordCapture&) = delete;
    RecordCapture& operator=(const RecordCapture&) = delete;

    std::vector<Record> records() const;

private:
    struct Sink;
    std::shared_ptr<Sink> sink_;
};

// Sends every record to the standard error stream as "[channel] level: message", or
// stops doing so. For host programs whose user asks to see the diagnostics.
void enableStderrSink(bool on);

} // namespace foundation::log
