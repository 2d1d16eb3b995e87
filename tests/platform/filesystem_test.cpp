#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include "CurrentFolder.hpp"
#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = fl::filesystem;
using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;

fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

void makeFile(const std::string& path) {
    std::ofstream(path) << "x";
}

class FileStatus : public ::testing::Test {
protected:
    TempDir dir;
};

TEST_F(FileStatus, StatusAndSymlinkStatusOfRealItems) {
    makeFile(dir / "file");
    ASSERT_EQ(::mkdir((dir / "folder").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("file", (dir / "to-file").c_str()), 0);
    ASSERT_EQ(::symlink("folder", (dir / "to-folder").c_str()), 0);
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0644), 0);

    struct Case {
        const char* name;
        std::uint32_t followed;
        std::uint32_t own;
    };
    const Case cases[] = {
        {"file", fs::file_status::regular_file, fs::file_status::regular_file},
        {"folder", fs::file_status::directory_file, fs::file_status::directory_file},
        {"to-file", fs::file_status::regular_file, fs::file_status::symlink_file},
        {"to-folder", fs::file_status::directory_file, fs::file_status::symlink_file},
        {"dangling", fs::file_status::symlink_file, fs::file_status::symlink_file},
        {"fifo", fs::file_status::fifo_file, fs::file_status::fifo_file},
    };
    for (const auto& c : cases) {
        const fl::ustring path = u(dir / c.name);
        EXPECT_EQ(fs::status(path).type(), c.followed) << c.name;
        EXPECT_EQ(fs::symlink_status(path).type(), c.own) << c.name;
    }
}

TEST_F(FileStatus, NonUtf8NameIsReachable) {
    const std::string name = dir / "caf\xE9";
    makeFile(name);
    EXPECT_EQ(fs::status(u(name)).type(), fs::file_status::regular_file);
}

TEST_F(FileStatus, LoopOfTwoLinksIsSystemErrorEloop) {
    ASSERT_EQ(::symlink("b", (dir / "a").c_str()), 0);
    ASSERT_EQ(::symlink("a", (dir / "b").c_str()), 0);
    try {
        fs::status(u(dir / "a"));
        FAIL() << "a loop must throw";
    } catch (const fs::SystemError& error) {
        EXPECT_EQ(error.code(), 40);
        EXPECT_EQ(error.path(), u(dir / "a"));
    }
    // The link itself can still be described.
    EXPECT_EQ(fs::symlink_status(u(dir / "a")).type(), fs::file_status::symlink_file);
}

TEST_F(FileStatus, MissingPathsThrowPathNotFound) {
    makeFile(dir / "file");
    for (const std::string& path : {dir / "missing", dir / "missing/below", dir / "file/below"}) {
        EXPECT_THROW(fs::status(u(path)), fs::PathNotFound) << path;
        EXPECT_THROW(fs::symlink_status(u(path)), fs::PathNotFound) << path;
    }
}

TEST_F(FileStatus, PathWithNulIsRefusedNotCut) {
    makeFile(dir / "a");
    // Cut at the NUL, this would name the existing file "a".
    const fl::ustring path = u(dir / "a") + fl::ustring(u"\0/b", 3);
    try {
        fs::status(path);
        FAIL() << "a path holding U+0000 must be refused";
    } catch (const fs::SystemError& error) {
        EXPECT_EQ(error.code(), EINVAL);
    }
    EXPECT_THROW(fs::symlink_status(path), fs::SystemError);
}

TEST_F(FileStatus, ErrnoMapsToTheNamedExceptions) {
    struct Case {
        int error;
        const std::type_info& type;
    };
    const Case cases[] = {
        {EEXIST, typeid(fs::FileExistsError)}, {ENAMETOOLONG, typeid(fs::FileNameTooLarge)},
        {EACCES, typeid(fs::AccessDenied)},    {EPERM, typeid(fs::AccessDenied)},
        {ENOENT, typeid(fs::PathNotFound)},    {ENOTDIR, typeid(fs::PathNotFound)},
        {ELOOP, typeid(fs::SystemError)},      {EIO, typeid(fs::SystemError)},
    };
    for (const auto& c : cases) {
        try {
            fs::detail::throwErrno(c.error, u"/p");
        } catch (const fs::FsysExceptionBase& error) {
            EXPECT_EQ(typeid(error), c.type) << c.error;
            EXPECT_EQ(error.code(), c.error);
            EXPECT_NE(std::string(error.what()).find("/p"), std::string::npos);
        }
    }
}

TEST_F(FileStatus, NameTooLongIsFileNameTooLarge) {
    EXPECT_THROW(fs::status(u(dir / std::string(300, 'n'))), fs::FileNameTooLarge);
}

// Run as root, a refused search permission needs an unprivileged process.
TEST_F(FileStatus, UnsearchableFolderIsAccessDenied) {
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0700), 0);
    makeFile(dir / "locked/file");
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(3);
        try {
            fs::status(u(dir / "locked/file"));
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
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: no error, 2: another error, 3: could not drop root";
}

// --- native path text ------------------------------------------------------------------

TEST(NativePathText, NativeFormParentAndFileName) {
    struct Case {
        const char16_t* path;
        const char16_t* native;       // make_native_form(path, true)
        const char16_t* keepTrailing; // make_native_form(path, false)
        const char16_t* parent;       // extract_parent_path(native)
        const char16_t* filename;     // extract_filename(native)
    };
    const Case cases[] = {
        {u"", u"", u"", u"", u""},
        {u"/", u"/", u"/", u"", u""},
        {u"//", u"/", u"/", u"", u""},
        {u"x", u"x", u"x", u"", u"x"},
        {u"/x", u"/x", u"/x", u"/", u"x"},
        {u"/a/b", u"/a/b", u"/a/b", u"/a", u"b"},
        {u"/a//b///", u"/a/b", u"/a/b/", u"/a", u"b"},
        {u"a/b/", u"a/b", u"a/b/", u"a", u"b"},
        {u"./a/../b", u"./a/../b", u"./a/../b", u"./a/..", u"b"}, // no folding here
        {u"C:\\dir\\f.txt", u"C:\\dir\\f.txt", u"C:\\dir\\f.txt", u"", u"C:\\dir\\f.txt"},
        {u"/d\u00E9j\u00E0/\U0001F600", u"/d\u00E9j\u00E0/\U0001F600",
         u"/d\u00E9j\u00E0/\U0001F600", u"/d\u00E9j\u00E0", u"\U0001F600"},
        {u"/caf\xDCE9/x", u"/caf\xDCE9/x", u"/caf\xDCE9/x", u"/caf\xDCE9", u"x"},
        // A last component holding "*" is a pattern: its name is the folder it lists.
        {u"/data/*", u"/data/*", u"/data/*", u"/data", u"/data"},
        {u"/data/*.csv", u"/data/*.csv", u"/data/*.csv", u"/data", u"/data"},
        {u"/*", u"/*", u"/*", u"/", u"/"},
        {u"*", u"*", u"*", u"", u""},
        {u"/da*ta/x", u"/da*ta/x", u"/da*ta/x", u"/da*ta", u"x"},
    };
    for (const auto& c : cases) {
        const std::string shown = fl::i18n::to_string(c.path);
        const fl::ustring native = fs::detail::make_native_form(c.path, true);
        EXPECT_EQ(native, c.native) << shown;
        EXPECT_EQ(fs::detail::make_native_form(c.path, false), c.keepTrailing) << shown;
        EXPECT_EQ(fs::detail::extract_parent_path(native), c.parent) << shown;
        EXPECT_EQ(fs::detail::extract_filename(native), c.filename) << shown;
    }
    // Separator runs left in the text still end the parent, and the root stays the root.
    EXPECT_EQ(fs::detail::extract_parent_path(u"a//b"), u"a");
    EXPECT_EQ(fs::detail::extract_parent_path(u"//x"), u"/");
    // The text is never cut at U+0000: these are text operations, not system calls.
    const fl::ustring withNul(u"/a\0b/c", 6);
    EXPECT_EQ(fs::detail::make_native_form(withNul, true), withNul);
    EXPECT_EQ(fs::detail::extract_parent_path(withNul), fl::ustring(u"/a\0b", 4));
}

TEST(NativePathText, IsAbsolute) {
    EXPECT_TRUE(fs::detail::is_absolute(u"/"));
    EXPECT_TRUE(fs::detail::is_absolute(u"//server"));
    for (const char16_t* relative : {u"", u"a/b", u"./a", u"C:\\x", u"\\\\server\\share", u"~"})
        EXPECT_FALSE(fs::detail::is_absolute(relative)) << fl::i18n::to_string(relative);
}

// --- absolute, canonical, current folder -----------------------------------------------

class NativePaths : public ::testing::Test {
protected:
    // The temporary folder may itself sit behind a link (/tmp on some systems).
    std::string real(const std::string& path) {
        char buffer[PATH_MAX];
        return ::realpath(path.c_str(), buffer) ? std::string(buffer) : std::string();
    }

    TempDir dir;
};

TEST_F(NativePaths, AbsoluteIsALexicalJoin) {
    ASSERT_EQ(::mkdir((dir / "rel").c_str(), 0755), 0);
    CurrentFolder inside(dir.path());
    const std::string cwd = real(dir.path());
    struct Case {
        fl::ustring path;
        fl::ustring base;
        fl::ustring expected;
    };
    const Case cases[] = {
        {u"a", u"", u(cwd + "/a")},
        {u"a/../b/./c", u"", u(cwd + "/a/../b/./c")}, // nothing folded
        {u"a/", u"", u(cwd + "/a/")},
        {u"missing/x", u"", u(cwd + "/missing/x")}, // existence is not looked at
        {u"/x/./y/..", u"", u"/x/./y/.."},          // already absolute: unchanged
        {u"/", u"/base", u"/"},
        {u"a", u"/base", u"/base/a"},
        {u"a", u"/base/", u"/base/a"},
        {u"a", u"/", u"/a"},
        {u"a", u"rel", u(cwd + "/rel/a")}, // a relative base hangs off the current folder
        {u"r\u00E9sum\u00E9 \U0001F4C4", u"/b", u"/b/r\u00E9sum\u00E9 \U0001F4C4"},
        {u"caf\xDCE9", u"/b", u"/b/caf\xDCE9"},
        {u"C:\\x", u"/b", u"/b/C:\\x"}, // a drive path is a plain name here
    };
    for (const auto& c : cases)
        EXPECT_EQ(fs::absolute(c.path, c.base), c.expected)
            << fl::i18n::to_string(c.path) << " from " << fl::i18n::to_string(c.base);
}

TEST_F(NativePaths, AbsoluteRefusesEmptyAndNul) {
    EXPECT_THROW(fs::absolute(u"", u""), fs::PathNotFound);
    EXPECT_THROW(fs::absolute(u"", u"/base"), fs::PathNotFound);
    const fl::ustring withNul(u"a\0b", 3);
    for (const auto& [path, base] :
         {std::pair{withNul, fl::ustring(u"/b")}, std::pair{fl::ustring(u"a"), u"/b" + withNul}}) {
        try {
            fs::absolute(path, base);
            FAIL() << "U+0000 must be refused";
        } catch (const fs::SystemError& error) {
            EXPECT_EQ(error.code(), EINVAL);
        }
    }
}

TEST_F(NativePaths, CanonicalResolvesLinksDotsAndDotDots) {
    ASSERT_EQ(::mkdir((dir / "real").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "real/sub").c_str(), 0755), 0);
    makeFile(dir / "real/sub/f");
    makeFile(dir / "real/caf\xE9");
    makeFile(dir / "real/\xE6\x97\xA5\xE6\x9C\xAC");
    ASSERT_EQ(::symlink("real", (dir / "to-real").c_str()), 0);
    ASSERT_EQ(::symlink("sub/f", (dir / "real/to-f").c_str()), 0);
    ASSERT_EQ(::symlink("../to-real/sub", (dir / "real/hop").c_str()), 0);
    const std::string root = real(dir.path());
    CurrentFolder inside(dir.path());
    struct Case {
        std::string path;
        std::string base;
        std::string expected;
    };
    const Case cases[] = {
        {"to-real/sub/f", "", root + "/real/sub/f"},
        {"./real/./sub/../sub/f", "", root + "/real/sub/f"},
        {"real/to-f", "", root + "/real/sub/f"},
        {"real/hop/f", "", root + "/real/sub/f"}, // a link through a link
        {"to-real", "", root + "/real"},
        {"to-real/", "", root + "/real"},
        {"sub/f", root + "/to-real", root + "/real/sub/f"}, // relative to a base
        {"/", "", "/"},
        {"/..", "", "/"},
        {".", "", root},
        {"real/caf\xE9", "", root + "/real/caf\xE9"},
        {"real/\xE6\x97\xA5\xE6\x9C\xAC", "", root + "/real/\xE6\x97\xA5\xE6\x9C\xAC"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fs::canonical(u(c.path), u(c.base)), u(c.expected)) << c.path;
}

TEST_F(NativePaths, CanonicalFailuresAreTyped) {
    makeFile(dir / "file");
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop-b", (dir / "loop-a").c_str()), 0);
    ASSERT_EQ(::symlink("loop-a", (dir / "loop-b").c_str()), 0);
    for (const std::string& path : {dir / "missing", dir / "dangling", dir / "file/below"})
        EXPECT_THROW(fs::canonical(u(path)), fs::PathNotFound) << path;
    EXPECT_THROW(fs::canonical(u"", u""), fs::PathNotFound);
    try {
        fs::canonical(u(dir / "loop-a"));
        FAIL() << "a loop must throw";
    } catch (const fs::SystemError& error) {
        EXPECT_EQ(error.code(), 40);
    }
    // Cut at U+0000 this would name the existing file.
    try {
        fs::canonical(u(dir / "file") + fl::ustring(u"\0/x", 3));
        FAIL() << "U+0000 must be refused";
    } catch (const fs::SystemError& error) {
        EXPECT_EQ(error.code(), EINVAL);
    }
}

TEST_F(NativePaths, CurrentPathIsTheRealFolder) {
    ASSERT_EQ(::mkdir((dir / "r\xC3\xA9"
                             "el")
                          .c_str(),
                      0755),
              0);
    ASSERT_EQ(::symlink("r\xC3\xA9"
                        "el",
                        (dir / "via").c_str()),
              0);
    CurrentFolder inside(dir / "via");
    EXPECT_EQ(fs::get_current_path(), u(real(dir / "r\xC3\xA9"
                                                   "el")));
}

// A current folder deeper than PATH_MAX comes back whole.
TEST_F(NativePaths, DeepCurrentPathIsNotCutShort) {
    std::string deep = real(dir.path());
    CurrentFolder start(deep);
    const std::string name(200, 'd');
    while (deep.size() <= PATH_MAX + 200) {
        ASSERT_EQ(::mkdir(name.c_str(), 0755), 0);
        ASSERT_EQ(::chdir(name.c_str()), 0);
        deep += "/" + name;
    }
    EXPECT_EQ(fs::get_current_path(), u(deep));
}

TEST_F(NativePaths, RemovedCurrentFolderIsPathNotFound) {
    ASSERT_EQ(::mkdir((dir / "gone").c_str(), 0755), 0);
    CurrentFolder inside(dir / "gone");
    ASSERT_EQ(::rmdir((dir / "gone").c_str()), 0);
    EXPECT_THROW(fs::get_current_path(), fs::PathNotFound);
    EXPECT_THROW(fs::absolute(u"x"), fs::PathNotFound);
}

} // namespace
