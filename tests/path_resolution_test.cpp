#include <vexa/io/filesystem/core/path_resolution.hpp>

#include <Quarrow/PathManagement/PathManager.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "CurrentFolder.hpp"
#include "HostState.hpp"
#include "RemoteStorage.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <filesystem>

#include <memory>

#include <unistd.h>

namespace {

namespace core = vexa::io::filesystem::core;
using Kind = core::ResolvedPathKind;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::utf8;

// A current folder with an item of every kind, a file whose name is not UTF-8, and a folder
// "lib" on the search path that holds "only-in-lib.m" and a file called "dangling"; "down"
// leads two folders down, to "folder/sub", and "folder/back" back to "file".
class PathResolution : public ::testing::Test {
protected:
    PathResolution()
        : inside_(dir.path().string()),
          searchPath_(std::make_shared<Quarrow::PathManagement::PathManager>(
              std::vector<fl::ustring>{u(dir / "lib")})) {
        dir.makeItemsOfEveryKind();
        dir.make({"caf\xE9", "lib/", "lib/only-in-lib.m", "lib/dangling", "folder/sub/",
                  "down -> folder/sub", "folder/back -> ../file"});
        ::truncate((dir / "file").c_str(), 5);
    }

    std::string at(const std::string& name) const { return dir.real() + "/" + name; }

    TempDir dir;

private:
    vexa::testing::CurrentFolder inside_;
    vexa::testing::ScopedPathManager searchPath_;
};

struct Case {
    std::string input;
    core::ResolvePathOptions options;
    bool standalone;
    std::string path; // relative to the current folder, or as it stands when it has a scheme
    Kind kind;
};

TEST_F(PathResolution, TextAndKind) {
    const core::ResolvePathOptions follow{true, false, false}, native{false, true, false};
    const std::string fileIRI = "file://" + at("");
    const Case cases[] = {
        {"", {}, false, "", Kind::Nothing},
        {"file", {}, false, "file", Kind::File},
        {"./folder/../file", {}, false, "file", Kind::File},
        {at("folder"), {}, false, "folder", Kind::Folder},
        {"fifo", {}, false, "fifo", Kind::File},
        {"caf\xE9", {}, false, "caf\xE9", Kind::File}, // the bytes as they are
        {"missing", {}, false, "", Kind::Nothing},
        {"file/x", {}, false, "", Kind::Nothing},
        // A link shown as itself, or followed to what it leads to.
        {"linkFile", {}, false, "linkFile", Kind::SymbolicLink},
        {"linkFile", follow, false, "file", Kind::File},
        {"linkFolder", {}, false, "linkFolder", Kind::SymbolicLink},
        {"linkFolder", follow, false, "folder", Kind::Folder},
        // Shown as itself, a link is reached by its path as typed, and a missing name is made
        // absolute with ".." folded as text, not through the link: "down/../file" is "file".
        {"linkFolder/back", {}, false, "linkFolder/back", Kind::SymbolicLink},
        {"linkFolder/back", follow, false, "file", Kind::File},
        {"down/../file", {}, false, "file", Kind::File},
        {"down/../sub", {}, false, "folder/sub", Kind::Folder},
        {"dangling", follow, false, "", Kind::Nothing},
        {"loopA", {}, false, "loopA", Kind::SymbolicLink},
        {"loopA", follow, false, "", Kind::Nothing},
        // IRI text stays IRI text unless the native path is asked for.
        {fileIRI + "file", {}, false, fileIRI + "file", Kind::File},
        {fileIRI + "folder/../file", native, false, "file", Kind::File},
        {fileIRI + "linkFile", follow, false, fileIRI + "file", Kind::File},
        {fileIRI + "linkFile", {}, false, fileIRI + "linkFile", Kind::SymbolicLink},
        // Local text is canonicalised before the kind is asked; IRI text meets the link.
        {fileIRI + "linkFolder", follow, false, fileIRI + "folder", Kind::Folder},
        {fileIRI + "linkFolder", {true, true, false}, false, "folder", Kind::Folder},
        {fileIRI + "linkFolder", {}, false, fileIRI + "linkFolder", Kind::SymbolicLink},
        {"file://elsewhere/x", native, false, "", Kind::Nothing},
        {fileIRI + "caf%E9", native, false, "caf\xE9", Kind::File},
        // Interactive: the search path is looked at once the current folder has nothing.
        {"only-in-lib.m", {}, false, "lib/only-in-lib.m", Kind::File},
        {"dangling", {}, false, "dangling", Kind::SymbolicLink},
        {at("only-in-lib.m"), {}, false, "", Kind::Nothing}, // an absolute path is no name
        // Stand-alone: the search comes first, and passes a link that leads nowhere.
        {"only-in-lib.m", {}, true, "lib/only-in-lib.m", Kind::File},
        {"dangling", {}, true, "lib/dangling", Kind::File},
        {"file", {}, true, "file", Kind::File},
        {"missing", {}, true, "", Kind::Nothing},
        {at("linkFile"), {}, true, "linkFile", Kind::SymbolicLink},
        {at("linkFile"), follow, true, "file", Kind::File},
    };
    EXPECT_FALSE(svIsStandaloneMode()); // until a host program says otherwise
    for (const auto& c : cases) {
        const vexa::testing::ScopedStandaloneMode mode(c.standalone);
        const std::string expected =
            c.path.empty() || c.path.find("://") != std::string::npos ? c.path : at(c.path);
        const core::ResolvedPath got = core::resolvePath(u(c.input), c.options);
        EXPECT_EQ(utf8(got.path), expected) << c.input << (c.standalone ? " stand-alone" : "");
        EXPECT_EQ(got.kind, c.kind) << c.input << (c.standalone ? " stand-alone" : "");
    }
    // Nothing is thrown for an item the storage layer cannot look at, and its failure is not
    // left for a later report.
    const vexa::testing::ScopedStorageSystem storage({vexa::testing::faultyFiles(
        vexa::testing::FaultyProvider::Operation::Probe, vexa::testing::vfs::PermissionDenied)});
    virtualfileio::ExceptionContextHandler::ClearPendingContext();
    EXPECT_EQ(core::resolvePath(u("file"), {}), (core::ResolvedPath{u"", Kind::Nothing}));
    EXPECT_FALSE(virtualfileio::ExceptionContextHandler::PendingContext());
}

// The attributes of what the text names: a link shown as itself gives those of what it
// leads to; nothing gives the empty record; a link that leads nowhere has none to give.
TEST_F(PathResolution, WithAttributes) {
    const core::ResolvePathOptions follow{true, false, false};
    const struct {
        std::string input;
        core::ResolvePathOptions options;
        std::string path;
        Kind kind;
        bool readable;
        std::uint64_t size;
    } cases[] = {
        {"file", {}, "file", Kind::File, true, 5},
        {"linkFile", {}, "linkFile", Kind::SymbolicLink, true, 5},
        {"linkFolder", follow, "folder", Kind::Folder, true, 0},
        {"linkFolder", {}, "linkFolder", Kind::SymbolicLink, true, 0},
        {"file://" + at("linkFolder"), {true, true, false}, "folder", Kind::Folder, true, 0},
        {"only-in-lib.m", {}, "lib/only-in-lib.m", Kind::File, true, 1},
    };
    for (const auto& c : cases) {
        const auto got = core::resolvePathWithAttributes(u(c.input), c.options);
        EXPECT_EQ(utf8(got.path), at(c.path)) << c.input;
        EXPECT_EQ(got.kind, c.kind) << c.input;
        EXPECT_EQ(got.attributes.readable, c.readable) << c.input;
        EXPECT_TRUE(got.attributes.writable) << c.input;
        EXPECT_FALSE(got.attributes.lastModified.is_special()) << c.input;
        EXPECT_EQ(got.attributes.size, c.size) << c.input;
    }
    EXPECT_EQ(core::resolvePathWithAttributes(u("missing"), {}),
              (core::ResolvedPathAttributes{u"", Kind::Nothing, {}}));
    EXPECT_THROW(core::resolvePathWithAttributes(u("dangling"), {}), vexa::testing::vfs::Exception);
}

// Web addresses: IRI text with its dot segments folded, whatever the options; the kind the
// server gives; a server's folder is never writable, a share's is when the write probe can
// make and remove its file there.
TEST(RemotePathResolution, TextKindAndAttributes) {
    const vexa::testing::RemoteStorage remote;
    const vexa::testing::RemoteShare share;
    const core::ResolvePathOptions follow{true, false, false}, native{false, true, false};
    const struct {
        std::string input;
        core::ResolvePathOptions options;
        std::string path; // on the server; "" for nothing
        Kind kind;
        std::uint64_t size;
        bool onShare = false; // a WebDAV share's: writable
    } cases[] = {
        {"/files/notes.txt", {}, "/files/notes.txt", Kind::File, 6},
        {"/files/sub/../report.csv", native, "/files/report.csv", Kind::File, 8},
        {"/files/a%20b%20%C3%BC.txt", follow, "/files/a%20b%20\xC3\xBC.txt", Kind::File, 7},
        {"/hop/1", {}, "/hop/1", Kind::File, 6}, // the text typed; what the hops lead to
        {"/files/sub/", follow, "/files/sub/", Kind::Folder, 0},
        {"/files/sub", {}, "/files/sub", Kind::File, 0}, // the server's redirect is not asked
        {"/status/404", {}, "", Kind::Nothing, 0},
        {"/status/403", {}, "", Kind::Nothing, 0},
        {"/files/notes.txt", {}, "/files/notes.txt", Kind::File, 6, true},
        {"/files/sub/../a%20b.txt", native, "/files/a%20b.txt", Kind::File, 7, true},
        {"/files/sub", follow, "/files/sub", Kind::Folder, 0, true},
        {"/work/", {}, "/work/", Kind::Folder, 0, true},
        {"/files/missing.txt", {}, "", Kind::Nothing, 0, true},
    };
    for (const auto& c : cases)
        for (const bool secure : {false, true}) {
            const auto at = [&](const std::string& path) {
                if (c.onShare)
                    return utf8(secure ? share.secureUrl(path) : share.url(path));
                return utf8(secure ? remote.secureUrl(path) : remote.url(path));
            };
            const fl::ustring input = u(at(c.input));
            const std::string path = c.path.empty() ? "" : at(c.path);
            const core::ResolvedPath got = core::resolvePath(input, c.options);
            EXPECT_EQ(utf8(got.path), path) << utf8(input);
            EXPECT_EQ(got.kind, c.kind) << utf8(input);
            const auto withAttributes = core::resolvePathWithAttributes(input, c.options);
            EXPECT_EQ(utf8(withAttributes.path), path) << utf8(input);
            const core::PathAttributes& attributes = withAttributes.attributes;
            EXPECT_EQ(attributes.readable, !c.path.empty()) << utf8(input);
            EXPECT_EQ(attributes.writable, c.onShare && !c.path.empty()) << utf8(input);
            EXPECT_EQ(attributes.lastModified.is_special(), c.path.empty()) << utf8(input);
            EXPECT_EQ(attributes.size, c.size) << utf8(input);
        }
    // The write probe leaves nothing behind.
    EXPECT_TRUE(std::filesystem::is_empty(share.server().content() + "/work"));
    EXPECT_EQ(
        std::distance(std::filesystem::directory_iterator(share.server().content() + "/files/sub"),
                      std::filesystem::directory_iterator()),
        2);
    // Objects: writable as S3 takes writes; a folder is writable when an object can be made
    // in it, which the probe removes again.
    const vexa::testing::S3Storage s3;
    s3.make({"res/k.txt", "res/dir/", "res/implied/x"});
    const struct {
        std::string key;
        Kind kind;
        std::uint64_t size;
        bool writable;
    } objects[] = {
        {"res/k.txt", Kind::File, 9, true},        {"res/dir/", Kind::Folder, 0, true},
        {"res/implied", Kind::Folder, 0, true},    {"res/none", Kind::Nothing, 0, false},
        {"res/../res/k.txt", Kind::File, 9, true},
    };
    for (const auto& c : objects) {
        const auto got = core::resolvePathWithAttributes(s3.url(c.key), {});
        EXPECT_EQ(got.kind, c.kind) << c.key;
        EXPECT_EQ(got.attributes.writable, c.writable) << c.key;
        EXPECT_EQ(got.attributes.size, c.size) << c.key;
    }
    const auto cursor = s3.provider().listTree(vexa::testing::vfs::AbsoluteIRI(s3.url("res/")));
    const auto left = cursor->next();
    EXPECT_EQ(left.size(), 4u); // k.txt, dir, implied, implied/x: no probe left
}

} // namespace
