#include <virtualfileio/ExceptionContextHandler.hpp>

#include <foundation/core/except/Exception.hpp>

#include <fl/i18n.hpp>

#include <boost/exception/error_info.hpp>
#include <boost/exception/info.hpp>

namespace virtualfileio {
namespace {

using foundation::storage::provider::ExceptionContext;

// One pending context per thread: a failure on one thread must never be reported as the
// failure of an operation running on another.
thread_local std::optional<ExceptionContext> pending;

using SecondPathInfo = boost::error_info<struct SecondPathTag, std::string>;
using CallerPrefixInfo = boost::error_info<struct CallerPrefixTag, std::string>;
using OperationInfo = boost::error_info<struct OperationTag, std::string>;

// The context's message with `path` as its first argument; its other arguments stay.
resource_core::BaseMsgID withPath(const resource_core::BaseMsgID& message,
                                  const fl::ustring& path) {
    const auto& arguments = message.arguments();
    const char* component = message.component().c_str();
    const char* name = message.name().c_str();
    switch (arguments.size()) {
    case 0:
        return message;
    case 1:
        return resource_core::BaseMsgID(component, name, path);
    case 2:
        return resource_core::BaseMsgID(component, name, path, arguments[1]);
    default: // no storage message names more than two things; keep such a message whole
        return message;
    }
}

} // namespace

void ExceptionContextHandler::SetPendingContext(ExceptionContext context) {
    pending = std::move(context);
}

std::optional<ExceptionContext> ExceptionContextHandler::PendingContext() {
    return pending;
}

void ExceptionContextHandler::ClearPendingContext() noexcept {
    pending.reset();
}

PendingContextScope::PendingContextScope()
    : saved_(pending), uncaughtAtEntry_(std::uncaught_exceptions()) {}

PendingContextScope::~PendingContextScope() {
    if (std::uncaught_exceptions() > uncaughtAtEntry_)
        return;
    try {
        pending = std::move(saved_);
    } catch (...) {
        pending.reset(); // never a stale context, even when the old one cannot be put back
    }
}

boost::exception_ptr ExceptionContextHandler::ExceptionContextToExceptionObject(
    const fl::ustring& first, const fl::ustring& second, const std::string& prefix) {
    if (!pending)
        return {};
    const ExceptionContext context = std::move(*pending);
    pending.reset();
    // The message is rebuilt with the path as the caller knows it (as the user typed it),
    // not as the provider spelled it.
    foundation::core::except::Exception<resource_core::BaseMsgID> error(
        withPath(context.message(), first));
    error << OperationInfo(context.operation()) << CallerPrefixInfo(prefix);
    if (!second.empty())
        error << SecondPathInfo(fl::i18n::to_string(second));
    return boost::copy_exception(error);
}

} // namespace virtualfileio
