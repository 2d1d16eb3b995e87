#pragma once

// The core's diagnostic records: one logger on the channel "vexa::io::filesystem", and
// the trace records with which instrumented functions mark entry and exit.

#include <foundation/log/basic_diagnostic_logger.hpp>

#include <cstdint>
#include <string_view>

namespace vexa::io::filesystem::core::log {

// Errors that were caught and not passed on.
inline constexpr foundation::log::level_t caughtErrorLevel = 16;
// Entry and exit of instrumented functions.
inline constexpr foundation::log::level_t traceLevel = 32;

// The process-wide logger, created on first use from any thread.
foundation::log::basic_diagnostic_logger& getLogger();

// Writes the entry record when made and the exit record when destroyed, if traces are
// enabled at entry. Nesting is counted per thread; a function left by an exception gets
// an exit record ending in " [throw]".
class TraceScope {
public:
    TraceScope(std::string_view signature, std::string_view file, std::int32_t line);
    ~TraceScope();
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

private:
    foundation::log::basic_diagnostic_logger& logger_;
    bool entered_ = false;
    int uncaughtAtEntry_ = 0;
    std::string_view signature_;
    std::string_view file_;
    std::int32_t line_;
};

// The nesting depth of trace scopes on the calling thread.
int traceDepth() noexcept;

// Logs the exception being handled at caughtErrorLevel as "Exception caught: " and Boost's
// verbose diagnostic text. Call only inside a catch block.
void logCaughtException() noexcept;

} // namespace vexa::io::filesystem::core::log
