// vexafs rule as a user and a script see it.

#include "RunProgram.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using vexa::testing::runProgram;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

// The completed pair on stdout; a refusal as message text and identifier on stderr.
TEST(VexafsRule, CompletionAndRefusals) {
    const std::tuple<std::string, std::string, int, std::string, std::string> cases[] = {
        {"ReplacementRule", "OVER", 0,
         "ReplacementRule OVER\n  name:  replacementrule\n  value: overwrite\n", ""},
        {"Replace_Rule", "keep", 1, "",
         "Error: The option name 'replace_rule' is not supported.\n"
         "Identifier: VEXA:io:filesystem:common:NameNotSupported\n"},
        {"rule", "keep", 1, "",
         "Error: The value of 'ReplacementRule' must be 'preserve' or 'overwrite'.\n"
         "Identifier: VEXA:io:filesystem:common:IncorrectValueForReplacementRule\n"},
    };
    for (const auto& [name, value, exitCode, out, err] : cases) {
        const auto result = vexafs({"rule", name, value});
        EXPECT_EQ(result.exitCode, exitCode) << name;
        EXPECT_EQ(result.out, out);
        EXPECT_EQ(result.err, err);
    }
    const auto json = vexafs({"rule", "--json", "rule", ""});
    EXPECT_EQ(json.out, "[\n {\"input\": \"rule \", \"name\": \"replacementrule\", "
                        "\"value\": \"preserve\"}\n]\n");
}

} // namespace
