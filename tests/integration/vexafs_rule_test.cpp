// vexafs rule as a user and a script see it.

#include "RunProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using vexa::testing::runProgram;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

TEST(VexafsRule, CompletesNameAndValue) {
    const auto result = vexafs({"rule", "ReplacementRule", "OVER"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "ReplacementRule OVER\n"
                          "  name:  replacementrule\n"
                          "  value: overwrite\n");
    EXPECT_TRUE(result.err.empty());
}

TEST(VexafsRule, JsonForAnEmptyValue) {
    const auto result = vexafs({"rule", "--json", "rule", ""});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "[\n {\"input\": \"rule \", \"name\": \"replacementrule\", "
                          "\"value\": \"preserve\"}\n]\n");
}

// Refusals carry the message text and the identifier, on stderr only.
TEST(VexafsRule, RefusalsReportTextAndIdentifier) {
    struct Case {
        std::vector<std::string> args;
        std::string err;
    };
    const Case cases[] = {
        {{"rule", "Replace_Rule", "keep"},
         "Error: The option name 'replace_rule' is not supported.\n"
         "Identifier: VEXA:io:filesystem:common:NameNotSupported\n"},
        {{"rule", "rule", "keep"},
         "Error: The value of 'ReplacementRule' must be 'preserve' or 'overwrite'.\n"
         "Identifier: VEXA:io:filesystem:common:IncorrectValueForReplacementRule\n"},
    };
    for (const auto& c : cases) {
        const auto result = vexafs(c.args);
        EXPECT_EQ(result.exitCode, 1) << c.args[1];
        EXPECT_EQ(result.err, c.err);
        EXPECT_TRUE(result.out.empty()) << result.out;
    }
}

TEST(VexafsRule, MissingValueIsAUsageError) {
    const auto result = vexafs({"rule", "rule"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.err, ::testing::HasSubstr("value"));
}

} // namespace
