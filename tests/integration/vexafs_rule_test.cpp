// vexafs rule as a user and a script see it.

#include "Vexafs.hpp"

namespace {

using vexa::testing::refused;
// The completed pair on stdout; a refusal as message text and identifier on stderr.
TEST(VexafsRule, CompletionAndRefusals) {
    const vexa::testing::VexafsRun runs[] = {
        {{"rule", "ReplacementRule", "OVER"},
         0,
         "ReplacementRule OVER\n  name:  replacementrule\n  value: overwrite\n"},
        {{"rule", "--json", "rule", ""},
         0,
         "[\n {\"input\": \"rule \", \"name\": \"replacementrule\", \"value\": \"preserve\"}\n]\n"},
        refused({"rule", "Replace_Rule", "keep"},
                "Error: The option name 'replace_rule' is not supported.\n"
                "Identifier: VEXA:io:filesystem:common:NameNotSupported\n"),
        refused({"rule", "rule", "keep"},
                "Error: The value of 'ReplacementRule' must be 'preserve' or 'overwrite'.\n"
                "Identifier: VEXA:io:filesystem:common:IncorrectValueForReplacementRule\n"),
    };
    vexa::testing::expectRuns(runs);
}

} // namespace
