#include <fl/filesystemSharedFcns.hpp>

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
using vexa::testing::TempDir;

fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

void makeFile(const std::string& path) {
    std::ofstream(path) << "x";
}

TEST(SharedFcns, ExistsAndIsDirOnRealItems) {
    TempDir dir;
    makeFile(dir / "file");
    makeFile(dir / "caf\xE9");
    ASSERT_EQ(::mkdir((dir / "folder").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "\xF0\x9F\x93\x81").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("file", (dir / "to-file").c_str()), 0);
    ASSERT_EQ(::symlink("folder", (dir / "to-folder").c_str()), 0);
    ASSERT_EQ(::symlink("to-folder", (dir / "to-to-folder").c_str()), 0);
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0644), 0);

    struct Case {
        std::string name;
        bool exists;
        bool isDir;
    };
    const Case cases[] = {
        {"file", true, false},
        {"caf\xE9", true, false},
        {"folder", true, true},
        {"folder/", true, true},
        {"\xF0\x9F\x93\x81", true, true},
        {"to-file", true, false},
        {"to-folder", true, true},
        {"to-to-folder", true, true},
        {"dangling", false, false}, // the link is there, but nothing usable behind it
        {"fifo", true, false},
        {"missing", false, false},
        {"missing/below", false, false},
        {"file/below", false, false}, // ENOTDIR counts as not found
        {"file/", false, false},
    };
    for (const auto& c : cases) {
        const fl::ustring path = u(dir / c.name);
        EXPECT_EQ(shared::exists(path), c.exists) << c.name;
        EXPECT_EQ(shared::isDir(path), c.isDir) << c.name;
    }
    EXPECT_FALSE(shared::exists(u"")) << "an empty path names nothing";
    EXPECT_TRUE(shared::isDir(u"/"));
}

// exists tells "not there" from "cannot tell"; isDir only answers the question it asks.
TEST(SharedFcns, FailuresOtherThanNotFound) {
    TempDir dir;
    makeFile(dir / "file");
    ASSERT_EQ(::symlink("loop-b", (dir / "loop-a").c_str()), 0);
    ASSERT_EQ(::symlink("loop-a", (dir / "loop-b").c_str()), 0);

    EXPECT_THROW(shared::exists(u(dir / "loop-a")), fs::SystemError);
    EXPECT_FALSE(shared::isDir(u(dir / "loop-a")));

    // Cut at U+0000 this would name the existing file.
    const fl::ustring withNul = u(dir / "file") + fl::ustring(u"\0x", 2);
    EXPECT_THROW(shared::exists(withNul), fs::SystemError);
    EXPECT_FALSE(shared::isDir(withNul));

    EXPECT_THROW(shared::exists(u(dir / std::string(300, 'n'))), fs::FileNameTooLarge);
}

// Run as root, a refused search permission needs an unprivileged process.
TEST(SharedFcns, UnsearchableFolderThrowsAccessDenied) {
    TempDir dir;
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0700), 0);
    ASSERT_EQ(::mkdir((dir / "locked/sub").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(3);
        if (shared::isDir(u(dir / "locked/sub")))
            ::_exit(4);
        try {
            shared::exists(u(dir / "locked/sub"));
        } catch (const fs::AccessDenied&) {
            ::_exit(0);
        } catch (...) {
            ::_exit(2);
        }
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0)
        << "1: no error, 2: another error, 3: could not drop root, 4: isDir said yes";
}

TEST(SharedFcns, LexicalDotFolding) {
    struct Case {
        const char16_t* path;
        const char16_t* singleDots; // handleSingleDots
        const char16_t* both;       // handleSingleDots, then handleDotDots
    };
    const Case cases[] = {
        {u"", u"", u""},
        {u"/", u"/", u"/"},
        {u".", u".", u"."},
        {u"./", u".", u"."},
        {u"/.", u"/", u"/"},
        {u"..", u"..", u".."},
        {u"/..", u"/..", u"/"}, // the root is its own parent
        {u"/../../a", u"/../../a", u"/a"},
        {u"/a/./b", u"/a/b", u"/a/b"},
        {u"/a/b/..", u"/a/b/..", u"/a"},
        {u"/a/b/../", u"/a/b/../", u"/a/"},
        {u"/a/..", u"/a/..", u"/"},
        {u"a/..", u"a/..", u"."},
        {u"a/./b/../c", u"a/b/../c", u"a/c"},
        {u"a/../../b", u"a/../../b", u"../b"}, // a relative path keeps what it cannot fold
        {u"../../a/..", u"../../a/..", u"../.."},
        {u"/a//b/.//c", u"/a/b/c", u"/a/b/c"},
        {u"/a/.../b", u"/a/.../b", u"/a/.../b"}, // "..." and ".x" are names
        {u"/a/.x/..", u"/a/.x/..", u"/a"},
        {u"/a/..b/../c", u"/a/..b/../c", u"/a/c"},
        {u"C:\\a\\..\\b", u"C:\\a\\..\\b", u"C:\\a\\..\\b"}, // a backslash is a character
        {u"/r\u00E9/\U0001F600/../x", u"/r\u00E9/\U0001F600/../x", u"/r\u00E9/x"},
    };
    for (const auto& c : cases) {
        const std::string shown = fl::i18n::to_string(c.path);
        fl::ustring path = c.path;
        shared::handleSingleDots(path);
        EXPECT_EQ(path, c.singleDots) << shown;
        shared::handleDotDots(path);
        EXPECT_EQ(path, c.both) << shown;
        // handleDotDots alone skips "." segments the same way.
        fl::ustring direct = c.path;
        shared::handleDotDots(direct);
        EXPECT_EQ(direct, c.both) << shown;
    }
    // Escaped bytes and U+0000 are text like any other: nothing is lost or cut.
    fl::ustring odd = u"/caf" + fl::ustring(1, char16_t(0xDCE9)) + fl::ustring(u"/\0/../x", 7);
    shared::handleDotDots(odd);
    EXPECT_EQ(odd, u"/caf" + fl::ustring(1, char16_t(0xDCE9)) + u"/x");
}

TEST(SharedFcns, WindowsRulesDoNothingHere) {
    for (const char16_t* text : {u"\\\\server\\share", u"//server/share", u"C:\\a/b", u""}) {
        fl::ustring path = text;
        shared::replaceSlashesOnWindows(path);
        EXPECT_EQ(path, text);
        EXPECT_FALSE(shared::startsWithSlashSlashOnWindows(path));
    }
    EXPECT_TRUE(shared::isPathSeparator(u'/'));
    EXPECT_FALSE(shared::isPathSeparator(u'\\'));
    EXPECT_FALSE(shared::isPathSeparator(u':'));
}

} // namespace
