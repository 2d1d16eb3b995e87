// vexafs link as a user and a script see it.

#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>

namespace {

using ::testing::HasSubstr;
using vexa::testing::TempDir;

// Silent when the link is made; a failure is the link error's text and identifier on stderr,
// with or without --json.
TEST(VexafsLink, MadeSilentlyOrRefused) {
    TempDir dir;
    dir.make({"file"});
    const std::string link = dir / "link", missing = dir / "missing";
    const vexa::testing::VexafsRun runs[] = {
        {{"link", "file", link}, 0, ""},
        {{"link", "file", link},
         1,
         "",
         "Error: Cannot create the symbolic link '" + link +
             "': a file or folder of that name already exists.\n"
             "Identifier: VEXA:io:filesystem:symlink:FileExists\n"},
        {{"link", "--json", "file", link},
         1,
         "",
         HasSubstr("Identifier: VEXA:io:filesystem:symlink:FileExists\n")},
        {{"link", missing, dir / "other"},
         1,
         "",
         "Error: Cannot create the symbolic link: the target '" + missing +
             "' does not exist.\n"
             "Identifier: VEXA:io:filesystem:symlink:TargetNotFound\n"},
        {{"link", "file"}, ::testing::Ne(0), "", HasSubstr("link is required")},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_EQ(std::filesystem::read_symlink(link), "file");
    EXPECT_FALSE(std::filesystem::exists(dir / "other"));
}

} // namespace
