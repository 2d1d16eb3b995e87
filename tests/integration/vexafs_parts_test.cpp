// vexafs parts as a user and a script see it.

#include "RunProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::HasSubstr;
using vexa::testing::runProgram;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

TEST(VexafsParts, UnixAndWindowsRules) {
    const auto unix = vexafs({"parts", "/data/r\xC3\xA9sultats.tar.gz"});
    ASSERT_EQ(unix.exitCode, 0) << unix.err;
    EXPECT_EQ(unix.out, "/data/r\xC3\xA9sultats.tar.gz\n"
                        "  parent:    /data\n"
                        "  name:      r\xC3\xA9sultats.tar.gz\n"
                        "  extension: .gz\n"
                        "  host:      \n"
                        "  port:      -1\n"
                        "  query:     \n"
                        "  fragment:  \n");
    const auto windows = vexafs({"parts", "--rules", "windows", "--json", "C:\\dir/sub"});
    ASSERT_EQ(windows.exitCode, 0) << windows.err;
    EXPECT_EQ(windows.out, "[\n"
                           " {\"input\": \"C:\\\\dir/sub\", \"parent\": \"C:\", \"name\": "
                           "\"dir/sub\", \"extension\": \"\", \"host\": \"\", \"port\": -1, "
                           "\"query\": \"\", \"fragment\": \"\"}\n"
                           "]\n");
    // The same text under Unix rules: the backslash is an ordinary character.
    const auto same = vexafs({"parts", "--json", "C:\\dir/sub"});
    EXPECT_THAT(same.out, HasSubstr("\"parent\": \"C:\\\\dir\", \"name\": \"sub\""));
}

TEST(VexafsParts, UrlsAsJson) {
    const auto result = vexafs({"parts", "--url-kind", "2", "--json", "http://host/a?b#c",
                                "https://h:81/d/r\xC3\xA9sum\xC3\xA9.pdf"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "[\n"
              " {\"input\": \"http://host/a?b#c\", \"parent\": \"http://host/a\", \"name\": \"\", "
              "\"extension\": \"\", \"host\": \"host\", \"port\": -1, \"query\": \"b\", "
              "\"fragment\": \"c\"},\n"
              " {\"input\": \"https://h:81/d/r\xC3\xA9sum\xC3\xA9.pdf\", \"parent\": "
              "\"https://h:81/d/\", \"name\": \"r\xC3\xA9sum\xC3\xA9.pdf\", \"extension\": "
              "\".pdf\", \"host\": \"h\", \"port\": 81, \"query\": \"\", \"fragment\": \"\"}\n"
              "]\n");
}

TEST(VexafsParts, InvalidUrlReportsIdentifierAndText) {
    const auto result = vexafs({"parts", "--url-kind", "3", "not a url"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("'not a url'"));
    EXPECT_THAT(result.err, HasSubstr("Identifier: VEXA:virtualfileio:path:invalidIRI"));
}

TEST(VexafsParts, BadOptionsFail) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"parts", "--url-kind", "1", "http://h/"},
          std::vector<std::string>{"parts", "--url-kind", "2", "--rules", "unix", "http://h/"},
          std::vector<std::string>{"parts"}}) {
        const auto result = vexafs(args);
        EXPECT_NE(result.exitCode, 0) << args.back();
        EXPECT_EQ(result.out, "");
    }
}

TEST(VexafsClassify, UrlPathTypeIsTheScheme) {
    const auto result = vexafs({"classify", "--url", "--json", "HTTPS://Host/a.txt"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\"path type\": \"https\""));
    const auto bad = vexafs({"classify", "--url", "not a url"});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_THAT(bad.err, HasSubstr("not%20a%20url/"));
}

} // namespace
