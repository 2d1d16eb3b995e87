// vexafs classify as a user and a script see it.

#include "RunProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::HasSubstr;
using vexa::testing::runProgram;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

TEST(VexafsClassify, NoArgumentsPrintsHelp) {
    const auto result = vexafs({});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("classify"));
}

TEST(VexafsClassify, TextReportPerPath) {
    const auto result = vexafs({"classify", "/data/r\xC3\xA9sultats.csv", "notes"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "/data/r\xC3\xA9sultats.csv\n"
                          "  absolute:    yes\n"
                          "  unc:         no\n"
                          "  long path:   no\n"
                          "  http prefix: no\n"
                          "  extension:   .csv\n"
                          "  path type:   Unix\n"
                          "notes\n"
                          "  absolute:    no\n"
                          "  unc:         no\n"
                          "  long path:   no\n"
                          "  http prefix: no\n"
                          "  extension:   \n"
                          "  path type:   Unix\n");
}

TEST(VexafsClassify, WindowsRulesAsJson) {
    const auto result =
        vexafs({"classify", "--rules", "windows", "--json", "\\\\?\\C:\\a \"b\".txt", "c:x"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "[\n"
              " {\"input\": \"\\\\\\\\?\\\\C:\\\\a \\\"b\\\".txt\", \"absolute\": true, "
              "\"unc\": true, \"long path\": true, \"http prefix\": false, "
              "\"extension\": \".txt\", \"path type\": \"Windows\"},\n"
              " {\"input\": \"c:x\", \"absolute\": true, \"unc\": false, \"long path\": false, "
              "\"http prefix\": false, \"extension\": \"\", \"path type\": \"Windows\"}\n"
              "]\n");
}

// A file name that is not UTF-8 keeps its bytes: the JSON names the escaped byte.
TEST(VexafsClassify, NonUtf8ArgumentSurvivesInJson) {
    const auto result = vexafs({"classify", "--json", "/tmp/caf\xE9.txt"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\"input\": \"/tmp/caf\\udce9.txt\""));
}

TEST(VexafsClassify, BadOptionValueFails) {
    const auto result = vexafs({"classify", "--rules", "vms", "/x"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("vms"));
}

} // namespace
