#include <fl/filesystemSharedFcns.hpp>

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include <sys/stat.h>

namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
using vexa::testing::TempDir;
using namespace std::string_literals;
using vexa::testing::u;
using vexa::testing::utf8;

TEST(SharedFcns, ExistsAndIsDirFollowLinks) {
    TempDir dir;
    dir.makeFile("caf\xE9");
    dir.makeFolders({"folder"});
    dir.makeLink("caf\xE9", "to-file");
    dir.makeLink("folder", "to-folder");
    dir.makeLink("to-folder", "to-to-folder");
    dir.makeLink("missing", "dangling");
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
    dir.makeLink("loop", "loop");
    const fl::ustring withNul = u(dir / "caf\xE9") + u"\0x"s;
    for (const fl::ustring& path : {u(dir / "loop"), withNul}) {
        EXPECT_THROW(shared::exists(path), fs::SystemError);
        EXPECT_FALSE(shared::isDir(path));
    }
}

TEST(SharedFcns, UnsearchableFolderThrowsAccessDenied) {
    TempDir dir;
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0700), 0);
    dir.makeFolders({"locked/sub"});
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const int outcome = vexa::testing::runAsUnprivileged([&] {
        if (shared::isDir(u(dir / "locked/sub")))
            return 2;
        try {
            shared::exists(u(dir / "locked/sub"));
        } catch (const fs::AccessDenied&) {
            return 0;
        }
        return 1;
    });
    EXPECT_EQ(outcome, 0) << "1: no error or another one, 2: isDir said yes";
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
        EXPECT_EQ(text, singleDots) << utf8(path);
        shared::handleDotDots(text);
        shared::handleDotDots(direct);
        EXPECT_EQ(text, both) << utf8(path);
        EXPECT_EQ(direct, both) << "handleDotDots alone: " << utf8(path);
    }
}

} // namespace
