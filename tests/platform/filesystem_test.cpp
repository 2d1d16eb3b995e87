#include <fl/filesystem.hpp>
#include <fl/filesystemSharedFcns.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include "CurrentFolder.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gtest/gtest.h>

#include <boost/core/demangle.hpp>

#include <cerrno>
#include <climits>
#include <functional>
#include <tuple>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
using namespace std::string_literals;
using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::utf8;

// The exception a call threw as "Type errno"; empty when it returned.
template <class Call> std::string thrown(Call call) {
    try {
        call();
    } catch (const fs::FsysExceptionBase& error) {
        const std::string type = boost::core::demangle(typeid(error).name());
        return type.substr(type.rfind(':') + 1) + " " + std::to_string(error.code());
    }
    return "";
}

// The type of item status (followed) or symlink_status (own) sees, or what it threw.
std::string typeOf(const fl::ustring& path, bool followed) {
    std::uint32_t type = 0;
    const std::string error =
        thrown([&] { type = (followed ? fs::status(path) : fs::symlink_status(path)).type(); });
    const std::pair<std::uint32_t, const char*> names[] = {
        {fs::file_status::regular_file, "file"},
        {fs::file_status::directory_file, "folder"},
        {fs::file_status::symlink_file, "link"},
        {fs::file_status::fifo_file, "fifo"}};
    // The form without exceptions answers alike, with the errno in place of the throw.
    std::error_code quietError;
    const auto quiet =
        followed ? fs::status(path, quietError) : fs::symlink_status(path, quietError);
    EXPECT_EQ(quietError.value(), error.empty() ? 0 : std::stoi(error.substr(error.rfind(' ') + 1)))
        << utf8(path);
    EXPECT_EQ(quiet.type(), error.empty() ? type : 0u) << utf8(path);
    for (const auto& [value, name] : names)
        if (error.empty() && type == value)
            return name;
    return error.empty() ? "type " + std::to_string(type) : error;
}

// What the shared exists and isDir answer, both following links; exists as "yes", "no" or
// what it threw, since "cannot tell" is not "not there".
std::string existsOf(const fl::ustring& path) {
    bool there = false;
    const std::string error = thrown([&] { there = shared::exists(path); });
    return !error.empty() ? error : there ? "yes" : "no";
}

TEST(FileStatus, RealItemsFollowedAndOwn) {
    TempDir dir;
    dir.make({"file", "caf\xE9", "folder/", "to-file -> file", "to-folder -> folder",
              "to-to-folder -> to-folder", "dangling -> missing", "via-file -> file/below",
              "a -> b", "b -> a"});
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0644), 0);
    const std::tuple<std::string, std::string, std::string, std::string, bool> cases[] = {
        // name, status, symlink_status, exists, isDir
        {"file", "file", "file", "yes", false},
        {"caf\xE9", "file", "file", "yes", false}, // not UTF-8
        {"folder", "folder", "folder", "yes", true},
        {"folder/", "folder", "folder", "yes", true},
        {"to-file", "file", "link", "yes", false},
        {"to-folder", "folder", "link", "yes", true},
        {"to-to-folder", "folder", "link", "yes", true},
        {"dangling", "link", "link", "no", false},
        {"via-file", "link", "link", "no", false}, // leads nowhere too
        {"fifo", "fifo", "fifo", "yes", false},
        {"a", "SystemError 40", "link", "SystemError 40", false}, // a loop of two links
        {"missing", "PathNotFound 2", "PathNotFound 2", "no", false},
        {"missing/below", "PathNotFound 2", "PathNotFound 2", "no", false},
        {"file/below", "PathNotFound 20", "PathNotFound 20", "no", false}, // ENOTDIR too
        {"caf\xE9/below", "PathNotFound 20", "PathNotFound 20", "no", false},
        {std::string(300, 'n'), "FileNameTooLarge 36", "FileNameTooLarge 36", "FileNameTooLarge 36",
         false},
        // Cut at U+0000 it would exist.
        {"file\0/b"s, "SystemError 22", "SystemError 22", "SystemError 22", false},
    };
    for (const auto& [name, followed, own, exists, isDir] : cases) {
        const fl::ustring path = u(dir.path().string() + "/" + name);
        EXPECT_EQ(typeOf(path, true), followed) << name;
        EXPECT_EQ(typeOf(path, false), own) << name;
        EXPECT_EQ(existsOf(path), exists) << name;
        EXPECT_EQ(shared::isDir(path), isDir) << name;
    }
    EXPECT_EQ(existsOf(u""), "no");
    try {
        fs::status(u(dir / "a"));
    } catch (const fs::SystemError& error) {
        EXPECT_EQ(error.path(), u(dir / "a"));
    }
}

// Each errno as the native path operations throw it and as the file provider reports it.
TEST(FileStatus, ErrnoMapsToItsExceptionAndStorageCode) {
    const std::tuple<int, const char*, int> cases[] = {
        {EEXIST, "FileExistsError 17", 3}, {ENAMETOOLONG, "FileNameTooLarge 36", 10},
        {EACCES, "AccessDenied 13", 2},    {EPERM, "AccessDenied 1", 2},
        {ENOENT, "PathNotFound 2", 1},     {ENOTDIR, "PathNotFound 20", 4},
        {ENOTEMPTY, "SystemError 39", 0},  {EROFS, "SystemError 30", 5},
        {EFBIG, "SystemError 27", 6},      {EBUSY, "SystemError 16", 7},
        {ETXTBSY, "SystemError 26", 7},    {ENOSPC, "SystemError 28", 8},
        {EDQUOT, "SystemError 122", 8},    {EIO, "SystemError 5", 9},
        {ELOOP, "SystemError 40", 9},      {EINVAL, "SystemError 22", 10},
        {4095, "SystemError 4095", 10},    {0, "SystemError 0", 10},
    };
    for (const auto& [code, expected, storageCode] : cases) {
        EXPECT_EQ(thrown([&] { fs::detail::throwErrno(code, u"/p"); }), expected);
        EXPECT_EQ(foundation::storage::vfs::errorCodeFromErrno(code), storageCode) << code;
    }
    try {
        fs::detail::throwErrno(4095, u"/d\u00E9/p");
    } catch (const fs::FsysExceptionBase& error) {
        EXPECT_EQ(error.path(), u"/d\u00E9/p");
        EXPECT_STREQ(error.what(), "Unknown error 4095: /d\xC3\xA9/p");
    }
}

// What a link holds, as written; "" when the path is no link.
std::string heldBy(const std::string& link) {
    char text[PATH_MAX];
    const ssize_t n = ::readlink(link.c_str(), text, sizeof text);
    return n < 0 ? "" : std::string(text, static_cast<std::size_t>(n));
}

// A link is made with its target text unchanged, or not at all. With the auto type the target
// must be there as the link will see it, from the link's folder.
TEST(CreateSymlink, MadeOnlyToAReachableTargetAtAFreePath) {
    TempDir dir;
    dir.make({"folder/", "links/", "cwd/", "file", "links/only-here", "cwd/only-in-cwd",
              "links/taken", "links/dangling -> nowhere", "links/loop -> loop"});
    CurrentFolder inside(dir / "cwd");
    const std::string file = dir / "file", links = dir / "links";
    constexpr unsigned autoType = fs::file_status::file_type_auto;
    const std::tuple<std::string, std::string, unsigned, std::string, std::string> cases[] = {
        // target, link, type, thrown, what the link path holds afterwards
        {file, links + "/to-file", autoType, "", file},
        {dir / "folder", links + "/to-folder", autoType, "", dir / "folder"},
        {"only-here", links + "/near", autoType, "", "only-here"},
        {"only-here", "../links/near-from-cwd", autoType, "", "only-here"},
        {"../folder/./../file", links + "/dots", autoType, "", "../folder/./../file"},
        {"only-in-cwd", links + "/far", autoType, "PathNotFound 2", ""},
        {dir / "missing", links + "/missing", autoType, "PathNotFound 2", ""},
        {"dangling", links + "/to-dangling", autoType, "PathNotFound 2", ""},
        {file + "/below", links + "/below", autoType, "PathNotFound 20", ""},
        {"", links + "/empty", autoType, "PathNotFound 2", ""},
        {file, dir / "no-folder/link", autoType, "PathNotFound 2", ""},
        {"loop", links + "/to-loop", autoType, "SystemError 40", ""},
        {file, links + "/taken", autoType, "FileExistsError 17", ""},
        {file, links + "/dangling", autoType, "FileExistsError 17", "nowhere"},
        // The taken link path wins over the missing target.
        {dir / "missing", links + "/dangling", autoType, "FileExistsError 17", "nowhere"},
        {file, links + "/" + std::string(256, 'n'), autoType, "FileNameTooLarge 36", ""},
        {file + "\0x"s, links + "/nul-target", autoType, "SystemError 22", ""},
        {file, links + "/nul\0x"s, autoType, "SystemError 22", ""},
        // A type given by the caller is taken as it is: nothing is looked up.
        {"nowhere", links + "/typed", fs::file_status::regular_file, "", "nowhere"},
        {file, links + "/odd-type", fs::file_status::fifo_file, "SystemError 22", ""},
    };
    for (const auto& [target, link, type, error, held] : cases) {
        EXPECT_EQ(thrown([&] { fs::create_symlink(u(target), u(link), type); }), error) << link;
        EXPECT_EQ(heldBy(link[0] == '/' ? link : dir / ("cwd/" + link)), held) << link;
    }
    try {
        fs::create_symlink(u"only-in-cwd", u(links + "/far"), autoType);
    } catch (const fs::PathNotFound& error) {
        EXPECT_EQ(error.path(), u(links + "/only-in-cwd")); // where it was looked for
    }
}

// Only an unprivileged user is refused: a folder it may not search (whose items' kind it
// cannot find out, also as a link's target), and one it may not write for a link.
TEST(FileStatus, RefusedPermissionIsAccessDenied) {
    TempDir dir;
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0555), 0);
    ASSERT_EQ(::mkdir((dir / "private").c_str(), 0700), 0);
    dir.make({"private/sub/", "open/", "file"});
    ASSERT_EQ(::chmod((dir / "open").c_str(), 0777), 0); // the link could be made there
    const fl::ustring hidden = u(dir / "private/sub");
    constexpr unsigned autoType = fs::file_status::file_type_auto;
    const std::function<void()> refused[] = {
        [&] { fs::status(hidden); },
        [&] { shared::exists(hidden); },
        [&] { fs::create_symlink(u(dir / "file"), u(dir / "locked/link"), autoType); },
        [&] { fs::create_symlink(hidden, u(dir / "open/link"), autoType); },
    };
    // One bit per call that answered otherwise; isDir answers only its own question.
    EXPECT_EQ(vexa::testing::runAsUnprivileged([&] {
                  int wrong = shared::isDir(hidden) ? 1 : 0;
                  for (std::size_t i = 0; i < std::size(refused); ++i)
                      if (thrown(refused[i]) != "AccessDenied 13")
                          wrong |= 2 << i;
                  return wrong;
              }),
              0);
    EXPECT_EQ(heldBy(dir / "locked/link"), "");
    EXPECT_EQ(heldBy(dir / "open/link"), "");
}

TEST(NativePathText, NativeFormParentAndFileName) {
    const std::tuple<fl::ustring, fl::ustring, fl::ustring, fl::ustring> cases[] = {
        // path, make_native_form(path, true), then its parent and file name
        {u"", u"", u"", u""},
        {u"//", u"/", u"", u""},
        {u"x", u"x", u"", u"x"},
        {u"/x", u"/x", u"/", u"x"},
        {u"/a//b///", u"/a/b", u"/a", u"b"},
        {u"./a/../b", u"./a/../b", u"./a/..", u"b"},          // nothing folded
        {u"C:\\d\\f", u"C:\\d\\f", u"", u"C:\\d\\f"},         // a backslash is a character
        {u"/data/*.csv", u"/data/*.csv", u"/data", u"/data"}, // a pattern names its folder
        {u"/data/f?.csv", u"/data/f?.csv", u"/data", u"/data"},
        {u"*", u"*", u"", u""},
        {u"/da*ta/x", u"/da*ta/x", u"/da*ta", u"x"},
    };
    for (const auto& [path, native, parent, name] : cases) {
        EXPECT_EQ(fs::detail::make_native_form(path, true), native) << utf8(path);
        EXPECT_EQ(fs::detail::extract_parent_path(native), parent) << utf8(path);
        EXPECT_EQ(fs::detail::extract_filename(native), name) << utf8(path);
    }
    EXPECT_EQ(fs::detail::last_component(u"/data/f?.csv"), u"f?.csv"); // as it stands
    EXPECT_EQ(fs::detail::last_component(u"a/"), u"");
    EXPECT_EQ(fs::detail::make_native_form(u"/a//b/", false), u"/a/b/");
    EXPECT_EQ(fs::detail::extract_parent_path(u"a//b"), u"a");
}

TEST(NativePaths, AbsoluteIsALexicalJoin) {
    TempDir dir;
    CurrentFolder inside(dir.path());
    const std::string cwd = dir.real();
    const std::tuple<fl::ustring, fl::ustring, fl::ustring> cases[] = {
        {u"a/../b/./c", u"", u(cwd + "/a/../b/./c")}, // nothing folded, nothing looked up
        {u"/x/./y/..", u"/b", u"/x/./y/.."},          // already absolute: unchanged
        {u"a", u"/b/", u"/b/a"},
        {u"a", u"/", u"/a"},
        {u"a", u"rel", u(cwd + "/rel/a")}, // a relative base hangs off the current folder
        {u("caf\xE9"), u"/b", u("/b/caf\xE9")},
    };
    for (const auto& [path, base, expected] : cases)
        EXPECT_EQ(fs::absolute(path, base), expected) << utf8(path);
    EXPECT_EQ(thrown([] { fs::absolute(u"", u"/b"); }), "PathNotFound 2");
    EXPECT_EQ(thrown([] { fs::absolute(u"a\0b"s, u"/b"); }), "SystemError 22");
    EXPECT_EQ(thrown([] { fs::absolute(u"a", u"/b\0"s); }), "SystemError 22");
}

// The canonical path, or what canonical threw.
TEST(NativePaths, CanonicalResolvesLinksDotsAndDotDots) {
    TempDir dir;
    dir.make({"real/", "real/sub/", "real/sub/caf\xE9", "file", "to-real -> real",
              "real/hop -> ../to-real/sub", "dangling -> missing", "loop -> loop"});
    const std::string root = dir.real(), file = root + "/real/sub/caf\xE9";
    CurrentFolder inside(dir.path());
    const std::pair<std::string, std::string> cases[] = {
        {"./real/./sub/../sub/caf\xE9", file},
        {"real/hop/caf\xE9", file}, // a link through a link
        {"to-real/", root + "/real"},
        {"/..", "/"},
        {"dangling", "PathNotFound 2"},
        {"file/below", "PathNotFound 20"},
        {"", "PathNotFound 2"},
        {"loop", "SystemError 40"},
        {"file\0/x"s, "SystemError 22"}, // cut short, it would exist
    };
    for (const auto& [path, expected] : cases) {
        fl::ustring result;
        const std::string error = thrown([&] { result = fs::canonical(u(path)); });
        EXPECT_EQ(error.empty() ? utf8(result) : error, expected) << path;
    }
    EXPECT_EQ(fs::canonical(u("sub/caf\xE9"), u(dir / "to-real")), u(file));
}

TEST(NativePaths, CurrentPathWholeOrNotAtAll) {
    TempDir dir;
    std::string deep = dir.real();
    CurrentFolder start(deep);
    const std::string name(200, 'd');
    while (deep.size() <= PATH_MAX + 200) { // deeper than PATH_MAX
        ASSERT_EQ(::mkdir(name.c_str(), 0755), 0);
        ASSERT_EQ(::chdir(name.c_str()), 0);
        deep += "/" + name;
    }
    EXPECT_EQ(fs::get_current_path(), u(deep));
    ASSERT_EQ(::rmdir(("../" + name).c_str()), 0);
    EXPECT_EQ(thrown([] { fs::get_current_path(); }), "PathNotFound 2");
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
