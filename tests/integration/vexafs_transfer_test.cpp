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
using vexa::testing::contentsUnder;
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
    // Enough files for every worker to take several, each holding its own name: a copy
    // written to the wrong target shows. "broken" fails on its one file, and holds more.
    dir.make({"many/", "many/a/", "many/a/b/", "many/c/", "many/toC -> c", "broken/",
              "broken/dangling -> nowhere", "broken/s/"});
    for (const std::string folder : {"many/", "many/a/", "many/a/b/", "many/c/", "broken/s/"})
        for (int i = 0; i < 20; ++i)
            std::ofstream(dir / (folder + std::to_string(i))) << folder << i;
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
        {{"cp", "-r", "--jobs", "8", dir / "many", dir / "many8", "--json"},
         0,
         HasSubstr("\"files\": 100, \"bytes\": 850")},
        // Each worker asks the server on a connection of its own.
        {{"cp", "-r", "-j", "4", server.url("/files/"), dir / "web", "--json"},
         0,
         HasSubstr("\"files\": 8, \"bytes\": 1048620,")},
        // The first failure is reported and ends the copy; with one job nothing follows it.
        refused({"cp", "-r", "-j", "4", dir / "broken", dir / "broken4"},
                AllOf(identifier("resourceNotFound"), HasSubstr(dir / "broken/dangling"))),
        refused({"cp", "-r", dir / "broken", dir / "broken1"},
                AllOf(identifier("resourceNotFound"), HasSubstr(dir / "broken/dangling"))),
        {{"cp", "-r", "--jobs", "65", dir / "many", dir / "many65"}, 105, "", HasSubstr("--jobs")},
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
    const auto many = contentsUnder(dir / "many");
    EXPECT_EQ(many.size(), 100u);
    EXPECT_EQ(contentsUnder(dir / "many8"), many);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "many8/toC")); // a link copied as a folder
    EXPECT_EQ(contentsUnder(dir / "web"), contentsUnder(server.content() + "/files"));
    EXPECT_TRUE(std::filesystem::is_empty(dir / "broken1"));
    // The copies under way when it failed ended, each whole; no new one started after it.
    const auto broken4 = contentsUnder(dir / "broken4");
    EXPECT_LT(broken4.size(), 20u);
    for (const auto& [name, content] : broken4)
        EXPECT_EQ(content, "broken/" + name) << name;
    // a.txt kept moved.txt tree into full notes copy many broken web and the copies, and
    // nothing half-written beside them
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 14);
}

} // namespace
