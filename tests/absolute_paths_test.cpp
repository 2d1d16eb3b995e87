#include <vexa/io/filesystem/core/absolute_paths.hpp>

#include "CurrentFolder.hpp"
#include "TempDir.hpp"

#include <fl/i18n.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace core = vexa::io::filesystem::core;
using core::ResolveSymbolicLinks;
using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;

fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

fl::ustring toAbsolute(fl::ustring path, ResolveSymbolicLinks resolve) {
    core::relativeToAbsolute(path, resolve, false);
    return path;
}

// A tree with links of every kind, entered as the current folder.
class RelativeToAbsolute : public ::testing::Test {
protected:
    RelativeToAbsolute() {
        mkdir("real");
        mkdir("real/data");
        mkdir("\xC3\xA9t\xC3\xA9");
        std::ofstream(dir / "real/data/x.txt") << "x";
        std::ofstream(dir / "\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\x84") << "x";
        link("real/data/x.txt", "lnk");
        link("real", "dlnk");
        link("real", "via");
        link("data/x.txt", "real/inner-lnk");
        link("missing", "dangling");
        link("real/data/x.txt", "l*nk");
        link("real/data/x.txt", "caf\xE9");
        link("loop-b", "loop-a");
        link("loop-a", "loop-b");
        char buffer[PATH_MAX];
        root = ::realpath(dir.path().c_str(), buffer);
    }

    void mkdir(const std::string& name) { ASSERT_EQ(::mkdir((dir / name).c_str(), 0755), 0); }
    void link(const std::string& target, const std::string& name) {
        ASSERT_EQ(::symlink(target.c_str(), (dir / name).c_str()), 0);
    }

    TempDir dir;
    std::string root; // the folder with every link in it resolved
};

TEST_F(RelativeToAbsolute, RelativePathsForEachLinkTreatment) {
    CurrentFolder inside(dir.path());
    const std::string file = root + "/real/data/x.txt";
    struct Case {
        std::string path;
        std::string keepLink; // 0
        std::string follow;   // 1
        std::string literal;  // 2
    };
    const Case cases[] = {
        // Not links: existing paths canonicalised, missing ones only joined, whatever the value.
        {"real/data/x.txt", file, file, file},
        {"./real//data/../data/x.txt", file, file, file},
        {"via/data/x.txt", file, file, file},
        {"missing/../y", root + "/missing/../y", root + "/missing/../y", root + "/missing/../y"},
        {"\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\x84", root + "/\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\x84",
         root + "/\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\x84",
         root + "/\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\x84"},
        // Links: kept in a resolved folder, followed, or only made absolute.
        {"lnk", root + "/lnk", file, root + "/lnk"},
        {"dlnk", root + "/dlnk", root + "/real", root + "/dlnk"},
        {"via/inner-lnk", root + "/real/inner-lnk", file, root + "/via/inner-lnk"},
        {"./via//inner-lnk", root + "/real/inner-lnk", file, root + "/./via//inner-lnk"},
        {"l*nk", root + "/l*nk", file, root + "/l*nk"},
        {"caf\xE9", root + "/caf\xE9", file, root + "/caf\xE9"},
        // Nothing behind the link: following it has nothing to canonicalise.
        {"dangling", root + "/dangling", root + "/dangling", root + "/dangling"},
        // A loop cannot be resolved: the text stays as given.
        {"loop-a", root + "/loop-a", "loop-a", root + "/loop-a"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(toAbsolute(u(c.path), ResolveSymbolicLinks::KeepLink), u(c.keepLink)) << c.path;
        EXPECT_EQ(toAbsolute(u(c.path), ResolveSymbolicLinks::FollowLinks), u(c.follow)) << c.path;
        EXPECT_EQ(toAbsolute(u(c.path), ResolveSymbolicLinks::Literal), u(c.literal)) << c.path;
        // Every value above 2 acts as 2.
        EXPECT_EQ(toAbsolute(u(c.path), static_cast<ResolveSymbolicLinks>(7)), u(c.literal))
            << c.path;
    }
}

TEST_F(RelativeToAbsolute, AbsolutePathThroughLinkedFolder) {
    // The current folder plays no part for an absolute path.
    const std::string link = dir / "via/inner-lnk";
    EXPECT_EQ(toAbsolute(u(link), ResolveSymbolicLinks::KeepLink), u(root + "/real/inner-lnk"));
    EXPECT_EQ(toAbsolute(u(link), ResolveSymbolicLinks::FollowLinks), u(root + "/real/data/x.txt"));
    EXPECT_EQ(toAbsolute(u(link), ResolveSymbolicLinks::Literal), u(link));
}

TEST_F(RelativeToAbsolute, TextsThatNameNothingUsable) {
    CurrentFolder inside(dir.path());
    struct Case {
        fl::ustring path;
        fl::ustring expected;
    };
    const Case cases[] = {
        {u"", u""}, // never the current folder
        {u"/", u"/"},
        {u"/..", u"/"},
        {u".", u(root)},
        {fl::ustring(u"lnk\0/x", 6), fl::ustring(u"lnk\0/x", 6)}, // refused, never cut
        {fl::ustring(u"\0", 1), fl::ustring(u"\0", 1)},
    };
    for (const auto& c : cases)
        for (const auto resolve :
             {ResolveSymbolicLinks::KeepLink, ResolveSymbolicLinks::FollowLinks,
              ResolveSymbolicLinks::Literal})
            EXPECT_EQ(toAbsolute(c.path, resolve), c.expected)
                << fl::i18n::to_string(c.path) << " with " << static_cast<int>(resolve);
}

TEST_F(RelativeToAbsolute, RemovedCurrentFolderLeavesTextAsGiven) {
    mkdir("gone");
    CurrentFolder inside(dir / "gone");
    ASSERT_EQ(::rmdir((dir / "gone").c_str()), 0);
    for (const auto resolve : {ResolveSymbolicLinks::KeepLink, ResolveSymbolicLinks::FollowLinks,
                               ResolveSymbolicLinks::Literal})
        EXPECT_EQ(toAbsolute(u"x/y", resolve), u"x/y") << static_cast<int>(resolve);
}

} // namespace
