// vexafs exist, mkparent and content-type: the storage queries as a user runs them.

#include "CurrentFolder.hpp"
#include "S3Server.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>
#include <fstream>

namespace {

using ::testing::_;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using vexa::testing::refused;
using vexa::testing::TempDir;

// One folder of items of every kind. exist tells each item's type and word: a dangling link
// is a link, a missing item nothing. mkparent makes the missing chain and reports a refused
// level with the storage layer's message. content-type reads a type a user set with setfattr;
// none is an empty answer.
TEST(VexafsStorageQueries, ExistMkparentAndContentType) {
    const vexa::testing::S3Storage s3;
    const vexa::testing::S3Environment toS3(s3.server());
    s3.make({"q/data.csv", "q/marked/"});
    const std::string q = "s3://bucket/q/";
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
        refused({"exist", "http://[::1/x"},
                HasSubstr("Error: Not a valid absolute IRI or path: 'http://[::1/x'")),
        {{"mkparent", dir / "a/b/c.txt"}, 0, dir / "a/b/c.txt\n  parent: file://" + dir / "a/b/\n"},
        {{"mkparent", dir / "file/x"}, 0, HasSubstr("parent: file://")}, // a file is left be
        refused({"mkparent", dir / "file/x/y"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound")),
        // Objects: prefixes as folders, markers made for the parents.
        {{"exist", q + "data.csv", q + "marked", q, q + "data", "s3://no-bucket/x"},
         0,
         q + "data.csv\n  type: 0\n  kind: file\n" + q + "marked\n  type: 2\n  kind: folder\n" + q +
             "\n  type: 2\n  kind: folder\n" + q + "data\n  type: 6\n  kind: nothing\n" +
             "s3://no-bucket/x\n  type: 6\n  kind: nothing\n"},
        {{"mkparent", q + "a/b/c.txt"}, 0, q + "a/b/c.txt\n  parent: " + q + "a/b/\n"},
        {{"exist", q + "a/b/"}, 0, HasSubstr("kind: folder")},
        {{"content-type", q + "data.csv", q + "missing"},
         0,
         q + "data.csv\n  content type: binary/octet-stream\n" + q + "missing\n  content type: \n"},
        {{"content-type", dir / "data.csv", dir / "file", dir / "missing"},
         0,
         dir / "data.csv\n  content type: text/csv\n" + dir / "file\n  content type: \n" +
             dir / "missing\n  content type: \n"},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "a/b"));
    EXPECT_FALSE(std::filesystem::exists(dir / "a/b/c.txt"));
}

// Every command takes each path, pattern or IRI byte for byte: brackets and commas are part of
// a name, not list syntax; "--" ends the options also after a first path; a name that is not
// UTF-8 keeps its bytes.
TEST(VexafsStorageQueries, EveryCommandTakesEachPathAsGiven) {
    TempDir dir;
    dir.make({"[ab]", "[f,d]", "[]", "caf\xE9/", "[l,b]/", "[l,b]/m.txt"});
    std::ofstream(dir / "-dash") << "dash\n";
    const std::string d = dir.real();
    const vexa::testing::CurrentFolder inside(d);
    const auto kind = [](const std::string& name, const char* type, const char* word) {
        return name + "\n  type: " + type + "\n  kind: " + word + "\n";
    };
    const vexa::testing::VexafsRun runs[] = {
        {{"exist", "[ab]", "[f,d]", "[]", "caf\xE9", "--", "-dash"},
         0,
         kind("[ab]", "0", "file") + kind("[f,d]", "0", "file") + kind("[]", "0", "file") +
             kind("caf\xE9", "2", "folder") + kind("-dash", "0", "file")},
        {{"resolve", "--path", "[l,b]", "[f,d]", "m.txt", "--", "-dash"},
         0,
         "[f,d]\n  path: " + d + "/[f,d]\n  kind: file\nm.txt\n  path: " + d +
             "/[l,b]/m.txt\n  kind: file\n-dash\n  path: " + d + "/-dash\n  kind: file\n"},
        {{"ls", "[f,d]", "[]", "caf\xE9", "--", "-dash"},
         0,
         d + "/[f,d]\n" + d + "/[]\n" + d + "/caf\xE9\n" + d + "/-dash\n"},
        {{"mkparent", "[q/r]"}, 0, StartsWith("[q/r]\n  parent: file://")},
        {{"content-type", "[f,d]", "--", "-dash"},
         0,
         "[f,d]\n  content type: \n-dash\n  content type: \n"},
        {{"cat", "--", "-dash"}, 0, "dash\n"},
        {{"classify", "[x,y]"}, 0, StartsWith("[x,y]\n  absolute:    no\n")},
        {{"parts", "[x,y]"}, 0, StartsWith("[x,y]\n  parent:")},
        {{"absolute", "[f,d]", "--", "-dash"},
         0,
         "[f,d]\n  absolute: " + d + "/[f,d]\n-dash\n  absolute: " + d + "/-dash\n"},
        {{"mkdir", "[m,n]"}, 0, _},
        {{"link", "[ab]", "[l,k]"}, 0, ""},
        {{"package", "[l,b]", "--package", "[in]=" + d + "/[l,b]"},
         0,
         "[l,b]\n  claimed: yes\n  package: [in]\n  root:    " + d + "/[l,b]\n"},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_TRUE(std::filesystem::is_directory(d + "/[q"));
    EXPECT_TRUE(std::filesystem::is_directory(d + "/[m,n]"));
    EXPECT_TRUE(std::filesystem::is_symlink(d + "/[l,k]"));
}

} // namespace
