#include <fl/filesystemSharedFcns.hpp>

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <tuple>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
using vexa::testing::TempDir;
using namespace std::string_literals;

fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

void makeFile(const std::string& path) {
    std::ofstream(path) << "x";
}

TEST(SharedFcns, ExistsAndIsDirFollowLinks) {
    TempDir dir;
    makeFile(dir / "caf\xE9");
    ASSERT_EQ(::mkdir((dir / "folder").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("caf\xE9", (dir / "to-file").c_str()), 0);
    ASSERT_EQ(::symlink("folder", (dir / "to-folder").c_str()), 0);
    ASSERT_EQ(::symlink("to-folder", (dir / "to-to-folder").c_str()), 0);
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    const std::tuple<std::string, bool, bool> cases[] = {
        // name, exists, isDir
        {"caf\xE9", true, false},        {"folder/", true, true},
        {"to-file", true, false},        {"to-to-folder", true, true},
        {"dangling", false, false},      {"missing/below", false, false},
        {"caf\xE9/below", false, false}, // ENOTDIR is not found too
    };
    for (const auto& [name, exists, isDir] : cases) {
        EXPECT_EQ(shared::exists(u(dir / name)), exists) << name;
        EXPECT_EQ(shared::isDir(u(dir / name)), isDir) << name;
    }
    EXPECT_FALSE(shared::exists(u""));

    // "Cannot tell" is not "not there" for exists; isDir only answers its own question.
    ASSERT_EQ(::symlink("loop", (dir / "loop").c_str()), 0);
    const fl::ustring withNul = u(dir / "caf\xE9") + u"\0x"s;
    for (const fl::ustring& path : {u(dir / "loop"), withNul}) {
        EXPECT_THROW(shared::exists(path), fs::SystemError);
        EXPECT_FALSE(shared::isDir(path));
    }
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
    const std::tuple<fl::ustring, fl::ustring, fl::ustring> cases[] = {
        // path, after handleSingleDots, after handleDotDots too
        {u"", u"", u""},
        {u"./", u".", u"."},
        {u"/.", u"/", u"/"},
        {u"/../../a", u"/../../a", u"/a"}, // the root is its own parent
        {u"/a/b/../", u"/a/b/../", u"/a/"},
        {u"a/..", u"a/..", u"."},
        {u"a/./b/../c", u"a/b/../c", u"a/c"},
        {u"a/../../b", u"a/../../b", u"../b"},          // a relative path keeps what it cannot fold
        {u"/a//.../.x/..", u"/a/.../.x/..", u"/a/..."}, // "..." and ".x" are names
        {u"C:\\a\\..\\b", u"C:\\a\\..\\b", u"C:\\a\\..\\b"},
        {u"/\U0001F600/\0/../x"s, u"/\U0001F600/\0/../x"s, u"/\U0001F600/x"}, // U+0000 is text
    };
    for (const auto& [path, singleDots, both] : cases) {
        fl::ustring text = path, direct = path;
        shared::handleSingleDots(text);
        EXPECT_EQ(text, singleDots) << fl::i18n::to_string(path);
        shared::handleDotDots(text);
        shared::handleDotDots(direct);
        EXPECT_EQ(text, both) << fl::i18n::to_string(path);
        EXPECT_EQ(direct, both) << "handleDotDots alone: " << fl::i18n::to_string(path);
    }
}

} // namespace
