// vexafs cp, mv and rm: items copied, moved and removed across storages, each failure
// leaving every item as it was.

#include "DavServer.hpp"
#include "HttpServer.hpp"
#include "S3Server.hpp"
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
using ::testing::Not;
using vexa::testing::contentOf;
using vexa::testing::contentsUnder;
using vexa::testing::refused;
using vexa::testing::TempDir;

// The runs go in order over one folder and a WebDAV share's; each row's effect is checked
// after all of them.
TEST(VexafsTransfer, CopiesMovesAndRemovals) {
    const vexa::testing::HttpServer server;
    const vexa::testing::DavServer share(vexa::testing::DavServer::Kind::Nginx);
    const auto on = [&](const std::string& path) { return share.url("/work/" + path); };
    const std::string shared = share.content() + "/work/";
    const vexa::testing::S3Server s3;
    const vexa::testing::S3Environment toS3(s3);
    const std::string bucket = "s3://bucket/";
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
        {{"cp", dir / "a.txt", on("a.txt")}, 0, ""},
        // A file whose size says nothing of its content goes without one.
        {{"cp", "/proc/version", on("version")}, 0, ""},
        {{"cp", "-r", dir / "tree", on("tree")}, 0, ""},
        {{"cp", share.url("/files/notes.txt"), dir / "fromShare"}, 0, ""},
        {{"cp", on("a.txt"), on("b.txt")}, 0, ""},
        {{"--ca-file", share.caFile(), "cp", dir / "a.txt", share.secureUrl("/work/s.txt")}, 0, ""},
        {{"cp", dir / "a.txt", share.urlAs("s3cret", "/private/p.txt"), "--json"},
         0,
         AllOf(HasSubstr("\"target\": \"dav://me:***@"), Not(HasSubstr("s3cret")))},
        refused({"cp", share.url("/files/missing"), on("x")}, identifier("resourceNotFound")),
        {{"mv", on("b.txt"), on("c.txt")}, 0, ""},
        refused({"mv", on("c.txt"), on("a.txt")}, identifier("resourceAlreadyExists")),
        {{"rm", on("c.txt")}, 0, HasSubstr("removed: file")},
        refused({"rm", "--folder", on("tree")}, identifier("folderNotEmpty")),
        {{"mkdir", on("made/deep")}, 0, ""},
        {{"rm", "--folder", on("made/deep")}, 0, HasSubstr("removed: folder")},
        {{"mkparent", on("parent/of/x.txt")}, 0, HasSubstr("  parent: " + on("parent/of/"))},
        // Objects: to a bucket and back, moved by copy and delete, removed after a look.
        {{"cp", "-r", dir / "tree", bucket + "t/tree"}, 0, ""},
        {{"cp", dir / "a.txt", bucket + "t/"}, 0, ""},
        {{"cp", bucket + "t/a.txt", dir / "from-s3.txt"}, 0, ""},
        {{"cp", "-r", bucket + "t/tree", dir / "tree-back"}, 0, ""},
        {{"cat", bucket + "t/tree/sub/leaf"}, 0, "x"},
        {{"mkdir", bucket + "t/new/deeper", "--nargout", "1"},
         0,
         bucket + "t/new/deeper\n  status: yes\n"},
        {{"mv", bucket + "t/a.txt", bucket + "t/new/deeper/m.txt"}, 0, ""},
        refused({"mv", bucket + "t/new/deeper/m.txt", bucket + "t/tree/sub/leaf"},
                identifier("resourceAlreadyExists")),
        refused({"mv", bucket + "t/a.txt", bucket + "t/b.txt"}, identifier("resourceNotFound")),
        {{"rm", bucket + "t/new/deeper/m.txt"}, 0, HasSubstr("removed: file")},
        refused({"rm", bucket + "t/new/deeper/m.txt"}, identifier("resourceNotFound")),
        refused({"rm", "--folder", bucket + "t/tree"}, identifier("folderNotEmpty")),
        {{"rm", "--folder", bucket + "t/new/deeper"}, 0, HasSubstr("removed: folder")},
        {{"resolve", "--attributes", bucket + "t/tree/sub/leaf"},
         0,
         AllOf(HasSubstr("kind:     file\n"), HasSubstr("size:     1\n"))},
        {{"exist", bucket + "t/new/", bucket + "t/new/deeper/", bucket + "t/tree/link"},
         0,
         HasSubstr("kind: folder\n" + bucket + "t/new/deeper/\n  type: 6\n  kind: nothing\n" +
                   bucket + "t/tree/link\n  type: 0\n  kind: file\n")},
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
    EXPECT_EQ(contentOf(dir / "fromShare"), "hello\n");
    EXPECT_EQ(contentOf(shared + "a.txt"), "alpha");
    EXPECT_THAT(share.requests(), HasSubstr("PUT 5 - -\n")); // its size sent ahead
    EXPECT_EQ(contentOf(shared + "version"), contentOf("/proc/version"));
    EXPECT_EQ(contentOf(shared + "s.txt"), "alpha");
    EXPECT_EQ(contentOf(share.content() + "/private/p.txt"), "alpha");
    EXPECT_EQ(contentOf(shared + "tree/sub/leaf"), "x");
    EXPECT_EQ(contentOf(shared + "tree/link"), "x");
    EXPECT_TRUE(std::filesystem::is_directory(shared + "made"));
    EXPECT_FALSE(std::filesystem::exists(shared + "made/deep"));
    EXPECT_TRUE(std::filesystem::is_directory(shared + "parent/of"));
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
    EXPECT_EQ(contentOf(dir / "from-s3.txt"), "alpha");
    EXPECT_EQ(contentOf(dir / "tree-back/sub/leaf"), "x");
    EXPECT_EQ(contentOf(dir / "tree-back/link"), "x");
    // a.txt kept moved.txt tree into full notes copy fromShare from-s3.txt tree-back many
    // broken web and the copies, and nothing half-written beside them; on the share a.txt
    // tree s.txt made parent version
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 17);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(shared), {}), 6);
}

} // namespace
