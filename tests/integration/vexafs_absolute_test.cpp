// vexafs absolute as a user and a script see it.

#include "CurrentFolder.hpp"
#include "RunProgram.hpp"
#include "TempDir.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using vexa::testing::CurrentFolder;
using vexa::testing::runProgram;
using vexa::testing::TempDir;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

class VexafsAbsolute : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::mkdir((dir / "real").c_str(), 0755), 0);
        std::ofstream(dir / "real/f.txt") << "x";
        ASSERT_EQ(::symlink("real/f.txt", (dir / "lnk").c_str()), 0);
        ASSERT_EQ(::symlink("gone", (dir / "caf\xE9").c_str()), 0);
        char buffer[PATH_MAX];
        ASSERT_NE(::realpath(dir.path().c_str(), buffer), nullptr);
        root = buffer;
    }
    TempDir dir;
    std::string root;
};

// Each --links value, text output, relative paths taken from the current folder.
TEST_F(VexafsAbsolute, LinkTreatments) {
    CurrentFolder inside(dir.path());
    struct Case {
        std::vector<std::string> links; // the option as typed, empty for the default
        std::string lnk;
    };
    const Case cases[] = {
        {{}, root + "/real/f.txt"},           {{"--links", "follow"}, root + "/real/f.txt"},
        {{"--links", "KEEP"}, root + "/lnk"}, {{"--links", "literal"}, root + "/./lnk"},
        {{"--links", "0"}, root + "/lnk"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"absolute", "./lnk", "missing/../x"};
        args.insert(args.end(), c.links.begin(), c.links.end());
        const auto result = vexafs(args);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        // Following a link canonicalises, so "./" goes; keeping it resolves its folder.
        EXPECT_EQ(result.out, "./lnk\n  absolute: " + c.lnk +
                                  "\n"
                                  "missing/../x\n  absolute: " +
                                  root + "/missing/../x\n")
            << (c.links.empty() ? "default" : c.links[1]);
    }
}

TEST_F(VexafsAbsolute, JsonKeepsNonUtf8Bytes) {
    CurrentFolder inside(dir.path());
    const auto result = vexafs({"absolute", "--json", "--links", "keep", "caf\xE9"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "[\n {\"input\": \"caf\\udce9\", \"absolute\": \"" + root + "/caf\\udce9\"}\n]\n");
}

TEST_F(VexafsAbsolute, EmptyPathStaysEmpty) {
    const auto result = vexafs({"absolute", "", "/"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "\n  absolute: \n/\n  absolute: /\n");
}

TEST_F(VexafsAbsolute, BadLinksValueFails) {
    const auto result = vexafs({"absolute", "--links", "resolve", "x"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("resolve"));
    EXPECT_TRUE(result.out.empty());
}

} // namespace
