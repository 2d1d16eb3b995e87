#pragma once

// Failures that a query answers for instead of raising them.

#include <vexa/io/filesystem/core/log.hpp>

#include <virtualfileio/ExceptionContextHandler.hpp>

#include <utility>

namespace vexa::io::filesystem::core {

// What `work()` gives, or `otherwise` when it throws anything. The failure is logged at the
// caught-error level and leaves the pending storage context as it was before the call, so
// no later report names a failure nobody saw.
template <class Answer, class Work> Answer answerOr(Answer otherwise, Work work) {
    return virtualfileio::answeringFailures([&]() -> Answer { return work(); },
                                            [&] {
                                                log::logCaughtException();
                                                return std::move(otherwise);
                                            });
}

} // namespace vexa::io::filesystem::core
