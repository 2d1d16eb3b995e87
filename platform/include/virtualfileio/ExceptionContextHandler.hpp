#pragma once

#include <foundation/storage/provider/ExceptionContext.hpp>

#include <fl/ustring.hpp>

#include <boost/exception_ptr.hpp>

#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace virtualfileio {

// Keeps, per thread, the context of the last failed storage operation until someone
// reports it. Layers that record failures instead of throwing (a file operation's
// status) turn it into the message-identifier exception a user sees.
class ExceptionContextHandler {
public:
    static void SetPendingContext(foundation::storage::provider::ExceptionContext context);
    static std::optional<foundation::storage::provider::ExceptionContext> PendingContext();
    static void ClearPendingContext() noexcept;

    // The pending context as the exception of its message, with `first` as the path the
    // message names; the context is cleared. `second` (the other path of a two-path
    // operation) and `prefix` (the caller's identifier prefix, such as "VEXA:FILE") travel
    // with the exception as error information; the identifier is the message's own.
    // Empty when nothing is pending.
    static boost::exception_ptr ExceptionContextToExceptionObject(const fl::ustring& first,
                                                                  const fl::ustring& second,
                                                                  const std::string& prefix);
};

// Around a call whose storage failures are answered rather than raised (a query that says
// "nothing there", a scan that skips what it cannot read): a failure swallowed inside
// leaves the pending context as it was before the call, so a later report never names
// it. A failure that leaves the scope as an exception keeps its own context pending.
class PendingContextScope {
public:
    PendingContextScope();
    ~PendingContextScope();
    PendingContextScope(const PendingContextScope&) = delete;
    PendingContextScope& operator=(const PendingContextScope&) = delete;

private:
    std::optional<foundation::storage::provider::ExceptionContext> saved_;
    int uncaughtAtEntry_;
};

// What `work()` gives, or, when it throws, what `answer()` gives for the failure: the one
// way a caller answers for a failure instead of raising it. `answer` runs inside the catch,
// so it may look at the failure (`try { throw; } catch (...)`) and let what it does not
// answer for pass (`throw;`), which keeps that failure's context pending; a failure
// answered for leaves the pending context as it was before the call.
template <class Work, class Answer>
auto answeringFailures(Work&& work, Answer&& answer) -> decltype(work()) {
    const PendingContextScope answeredFailuresLeaveNoContext;
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return std::forward<Answer>(answer)();
    }
}

} // namespace virtualfileio
