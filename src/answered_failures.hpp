#pragma once

// Failures that a query answers for instead of raising them.

#include <vexa/io/filesystem/core/log.hpp>

#include <virtualfileio/ExceptionContextHandler.hpp>

namespace vexa::io::filesystem::core {

// What `work()` gives, or `otherwise` when it throws anything. The failure is logged at the
// caught-error level and leaves the pending storage context as it was before the call, so
// no later report names a failure nobody saw.
template <class Answer, class Work> Answer answerOr(Answer otherwise, Work work) {
    const virtualfileio::PendingContextScope swallowedFailureLeavesNoContext;
    try {
        return work();
    } catch (...) {
        log::logCaughtException();
        return otherwise;
    }
}

} // namespace vexa::io::filesystem::core
