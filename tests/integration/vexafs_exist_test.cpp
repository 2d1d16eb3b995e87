// vexafs exist, mkparent and content-type: the storage queries as a user runs them.

#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>

namespace {

using ::testing::HasSubstr;
using vexa::testing::refused;
using vexa::testing::TempDir;

// One folder of items of every kind. exist tells each item's type and word: a dangling link
// is a link, a missing item nothing. mkparent makes the missing chain and reports a refused
// level with the storage layer's message. content-type reads a type a user set with setfattr;
// none is an empty answer.
TEST(VexafsStorageQueries, ExistMkparentAndContentType) {
    TempDir dir;
    dir.makeItemsOfEveryKind();
    dir.make({"data.csv"});
    const std::string setfattr =
        "setfattr -n user.http.contentType -v text/csv " + dir / "data.csv";
    ASSERT_EQ(std::system(setfattr.c_str()), 0);
    std::vector<std::string> args{"exist", "--json"};
    std::string json = "[";
    const std::tuple<std::string, int, std::string> items[] = {
        {"file", 0, "file"},
        {"fifo", 1, "file"},
        {"folder", 2, "folder"},
        {"linkFile", 3, "link to a file"},
        {"linkFolder", 4, "link to a folder"},
        {"dangling", 3, "link"},
        {"missing", 6, "nothing"},
        {"file/x", 6, "nothing"},
    };
    for (const auto& [name, type, kind] : items) {
        args.push_back(dir / name);
        json += std::string(json.size() > 1 ? ",\n " : "\n ") + "{\"input\": \"" + (dir / name) +
                "\", \"type\": " + std::to_string(type) + ", \"kind\": \"" + kind + "\"}";
    }
    const vexa::testing::VexafsRun runs[] = {
        {args, 0, json + "\n]\n"},
        {{"exist", "file://" + dir / "folder/"}, 0, HasSubstr("  type: 2\n  kind: folder\n")},
        {{"exist", "file://elsewhere/x"}, 0, HasSubstr("kind: nothing")},
        refused({"exist", "http://[::1/x"}, HasSubstr("Error: cannot make")),
        {{"mkparent", dir / "a/b/c.txt"}, 0, dir / "a/b/c.txt\n  parent: file://" + dir / "a/b/\n"},
        {{"mkparent", dir / "file/x"}, 0, HasSubstr("parent: file://")}, // a file is left be
        refused({"mkparent", dir / "file/x/y"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound")),
        {{"content-type", dir / "data.csv", dir / "file", dir / "missing"},
         0,
         dir / "data.csv\n  content type: text/csv\n" + dir / "file\n  content type: \n" +
             dir / "missing\n  content type: \n"},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "a/b"));
    EXPECT_FALSE(std::filesystem::exists(dir / "a/b/c.txt"));
}

} // namespace
