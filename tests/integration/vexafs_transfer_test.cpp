// vexafs cp, mv and rm: items copied, moved and removed across storages, each failure
// leaving every item as it was.

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
using vexa::testing::contentOf;
using vexa::testing::refused;
using vexa::testing::TempDir;

// The runs go in order over one folder; each row's effect is checked after all of them.
TEST(VexafsTransfer, CopiesMovesAndRemovals) {
    const vexa::testing::HttpServer server;
    const vexa::testing::S3Server s3;
    const vexa::testing::S3Environment toS3(s3);
    const std::string bucket = "s3://bucket/";
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
    EXPECT_EQ(contentOf(dir / "from-s3.txt"), "alpha");
    EXPECT_EQ(contentOf(dir / "tree-back/sub/leaf"), "x");
    EXPECT_EQ(contentOf(dir / "tree-back/link"), "x");
    // a.txt kept moved.txt tree into full notes copy from-s3.txt tree-back, and nothing
    // half-written beside them
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 10);
}

} // namespace
