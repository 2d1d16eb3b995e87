#pragma once

// vexafs run the way a user or a script runs it (integration tests only: VEXAFS_PATH names
// the program that was built).

#include "RunProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>

namespace vexa::testing {

inline ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

// One run and what it must give.
struct VexafsRun {
    std::vector<std::string> args;
    ::testing::Matcher<int> exitCode;
    ::testing::Matcher<const std::string&> out;
    ::testing::Matcher<const std::string&> err = "";
};

// A run refused the way every command refuses: exit code 1, nothing on stdout, and the
// message and identifier on stderr.
inline VexafsRun refused(std::vector<std::string> args,
                         ::testing::Matcher<const std::string&> err) {
    return {std::move(args), 1, "", std::move(err)};
}

inline void expectRuns(std::span<const VexafsRun> runs) {
    for (const auto& run : runs) {
        const auto result = vexafs(run.args);
        const std::string shown = ::testing::PrintToString(run.args);
        EXPECT_THAT(result.exitCode, run.exitCode) << shown;
        EXPECT_THAT(result.out, run.out) << shown;
        EXPECT_THAT(result.err, run.err) << shown;
    }
}

} // namespace vexa::testing
