// vexafs cp, mv and rm: items copied, moved and removed across storages, each failure
// leaving every item as it was.

#include "HttpServer.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using vexa::testing::contentOf;
using vexa::testing::refused;
using vexa::testing::TempDir;

// The runs go in order over one folder; each row's effect is checked after all of them.
TEST(VexafsTransfer, CopiesMovesAndRemovals) {
    const vexa::testing::HttpServer server;
    TempDir dir;
    dir.make({"a.txt", "kept", "tree/", "tree/sub/", "tree/sub/leaf", "tree/link -> sub/leaf",
              "into/", "full/", "full/x", "empty/", "gone"});
    std::ofstream(dir / "a.txt") << "alpha";
    std::ofstream(dir / "kept") << "kept as it was";
    ::chmod((dir / "kept").c_str(), 0600);
    const auto identifier = [](const std::string& name) {
        return HasSubstr("Identifier: VEXA:virtualfilesystem:" + name);
    };
    const vexa::testing::VexafsRun runs[] = {
        {{"cp", dir / "a.txt", dir / "b.txt", "--json"},
         0,
         AllOf(HasSubstr("\"bytes\": 5"), MatchesRegex(R"(.*"seconds": [0-9.]+.*)"))},
        {{"cp", dir / "a.txt", dir / "into"}, 0, ""}, // into a folder, under its own name
        {{"cp", "-r", dir / "tree", dir / "copy"}, 0, ""},
        {{"cp", server.url("/files/notes.txt"), dir / "notes"}, 0, ""},
        refused({"cp", dir / "missing", dir / "kept"}, identifier("resourceNotFound")),
        refused({"cp", server.url("/status/500"), dir / "kept"}, identifier("ioError")),
        refused({"cp", dir / "a.txt", server.url("/files/new")}, identifier("readOnlyProvider")),
        refused({"cp", dir / "tree", dir / "kept"}, HasSubstr("--recursive")),
        refused({"cp", "-r", dir / "tree", dir / "tree/sub"}, HasSubstr("into itself")),
        {{"mv", dir / "b.txt", dir / "moved.txt"}, 0, ""},
        refused({"mv", dir / "moved.txt", dir / "kept"}, identifier("resourceAlreadyExists")),
        refused({"mv", dir / "missing", dir / "x"}, identifier("resourceNotFound")),
        {{"rm", dir / "gone"}, 0, HasSubstr("removed: file")},
        {{"rm", "--folder", dir / "empty", "--json"}, 0, HasSubstr("\"removed\": \"folder\"")},
        refused({"rm", "--folder", dir / "full"}, identifier("folderNotEmpty")),
        refused({"rm", dir / "missing"}, identifier("resourceNotFound")),
    };
    vexa::testing::expectRuns(runs);
    EXPECT_EQ(contentOf(dir / "into/a.txt"), "alpha");
    EXPECT_EQ(contentOf(dir / "copy/sub/leaf"), "x");
    EXPECT_EQ(contentOf(dir / "copy/link"), "x"); // a link copied as what it leads to
    EXPECT_EQ(contentOf(dir / "notes"), "hello\n");
    EXPECT_EQ(contentOf(dir / "kept"), "kept as it was");
    EXPECT_EQ(contentOf(dir / "moved.txt"), "alpha");
    EXPECT_EQ(contentOf(dir / "b.txt"), "<nothing>");
    EXPECT_EQ(contentOf(dir / "full/x"), "x");
    EXPECT_FALSE(std::filesystem::exists(dir / "gone"));
    EXPECT_FALSE(std::filesystem::exists(dir / "empty"));
    EXPECT_FALSE(std::filesystem::exists(dir / "tree/sub/tree"));
    // a.txt kept moved.txt tree into full notes copy, and nothing half-written beside them
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 8);
}

} // namespace
