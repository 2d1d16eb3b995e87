#include <vexa/io/filesystem/core/log.hpp>

#include <boost/exception/diagnostic_information.hpp>

#include <exception>
#include <string>

namespace vexa::io::filesystem::core::log {
namespace {

thread_local int depth = 0;

std::string traceRecord(char direction, std::string_view signature) {
    std::string text(static_cast<std::size_t>(depth > 0 ? depth - 1 : 0) * 2, ' ');
    text += direction == '>' ? "> " : "< ";
    text += signature;
    return text;
}

} // namespace

foundation::log::basic_diagnostic_logger& getLogger() {
    static foundation::log::basic_diagnostic_logger logger("vexa::io::filesystem");
    return logger;
}

int traceDepth() noexcept {
    return depth;
}

TraceScope::TraceScope(std::string_view signature, std::string_view file, std::int32_t line)
    : logger_(getLogger()), signature_(signature), file_(file), line_(line) {
    if (!logger_.isEnabled(traceLevel))
        return;
    entered_ = true;
    ++depth;
    uncaughtAtEntry_ = std::uncaught_exceptions();
    std::string text = traceRecord('>', signature_);
    text += " (";
    text += file_;
    text += ':';
    text += std::to_string(line_);
    text += ')';
    logger_.write(traceLevel, text);
}

TraceScope::~TraceScope() {
    if (!entered_)
        return;
    std::string text = traceRecord('<', signature_);
    --depth;
    if (std::uncaught_exceptions() > uncaughtAtEntry_)
        text += " [throw]";
    try {
        logger_.write(traceLevel, text);
    } catch (...) {
        // A record that cannot be written must not end the process while unwinding.
    }
}

void logCaughtException() noexcept {
    try {
        auto& logger = getLogger();
        if (logger.isEnabled(caughtErrorLevel))
            logger.write(caughtErrorLevel,
                         "Exception caught: " +
                             boost::current_exception_diagnostic_information(true));
    } catch (...) {
    }
}

} // namespace vexa::io::filesystem::core::log
