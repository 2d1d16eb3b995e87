// vexafs absolute as a user and a script see it.

#include "CurrentFolder.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

namespace {

using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;
using vexa::testing::vexafs;

// Each --links value from the current folder, as text and as JSON with a non-UTF-8 name.
TEST(VexafsAbsolute, LinkTreatments) {
    TempDir dir;
    dir.make({"real/", "caf\xE9 -> real"});
    const std::string root = dir.real();
    CurrentFolder inside(dir.path());
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, root + "/real"},
        {{"--links", "KEEP"}, root + "/caf\xE9"},
        {{"--links", "literal"}, root + "/./caf\xE9"},
    };
    for (const auto& [links, expected] : cases) {
        std::vector<std::string> args{"absolute", "./caf\xE9", "missing/../x"};
        args.insert(args.end(), links.begin(), links.end());
        const auto result = vexafs(args);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, "./caf\xE9\n  absolute: " + expected +
                                  "\nmissing/../x\n  absolute: " + root + "/missing/../x\n");
    }
    const auto json = vexafs({"absolute", "--json", "--links", "keep", "caf\xE9"});
    EXPECT_EQ(json.out,
              "[\n {\"input\": \"caf\\udce9\", \"absolute\": \"" + root + "/caf\\udce9\"}\n]\n");
}

} // namespace
