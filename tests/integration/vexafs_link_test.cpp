// vexafs link as a user and a script see it.

#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>

namespace {

using ::testing::HasSubstr;
using vexa::testing::refused;
using vexa::testing::TempDir;

// Silent when the link is made; a failure is the link error's text and identifier on stderr,
// with or without --json.
TEST(VexafsLink, MadeSilentlyOrRefused) {
    TempDir dir;
    dir.make({"file"});
    const std::string link = dir / "link", missing = dir / "missing";
    const vexa::testing::VexafsRun runs[] = {
        {{"link", "file", link}, 0, ""},
        refused({"link", "file", link}, "Error: Cannot create the symbolic link '" + link +
                                            "': a file or folder of that name already exists.\n"
                                            "Identifier: VEXA:io:filesystem:symlink:FileExists\n"),
        refused({"link", "--json", "file", link},
                HasSubstr("Identifier: VEXA:io:filesystem:symlink:FileExists\n")),
        refused({"link", missing, dir / "other"},
                "Error: Cannot create the symbolic link: the target '" + missing +
                    "' does not exist.\n"
                    "Identifier: VEXA:io:filesystem:symlink:TargetNotFound\n"),
        {{"link", "file"}, ::testing::Ne(0), "", HasSubstr("link is required")},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_EQ(std::filesystem::read_symlink(link), "file");
    EXPECT_FALSE(std::filesystem::exists(dir / "other"));
}

} // namespace
