#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include "CurrentFolder.hpp"
#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <tuple>

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

// --- native paths ------------------------------------------------------------------------

TEST(NativePathText, NativeFormParentAndFileName) {
    struct Case {
        const char16_t* path;
        const char16_t* native; // make_native_form(path, true)
        const char16_t* parent; // extract_parent_path(native)
        const char16_t* name;   // extract_filename(native)
    };
    const Case cases[] = {
        {u"", u"", u"", u""},
        {u"//", u"/", u"", u""},
        {u"x", u"x", u"", u"x"},
        {u"/x", u"/x", u"/", u"x"},
        {u"/a//b///", u"/a/b", u"/a", u"b"},
        {u"./a/../b", u"./a/../b", u"./a/..", u"b"},          // nothing folded
        {u"C:\\d\\f", u"C:\\d\\f", u"", u"C:\\d\\f"},         // a backslash is a character
        {u"/data/*.csv", u"/data/*.csv", u"/data", u"/data"}, // a pattern names its folder
        {u"*", u"*", u"", u""},
        {u"/da*ta/x", u"/da*ta/x", u"/da*ta", u"x"},
    };
    for (const auto& c : cases) {
        const fl::ustring native = fs::detail::make_native_form(c.path, true);
        EXPECT_EQ(native, c.native) << fl::i18n::to_string(c.path);
        EXPECT_EQ(fs::detail::extract_parent_path(native), c.parent) << fl::i18n::to_string(c.path);
        EXPECT_EQ(fs::detail::extract_filename(native), c.name) << fl::i18n::to_string(c.path);
    }
    EXPECT_EQ(fs::detail::make_native_form(u"/a//b/", false), u"/a/b/");
    EXPECT_EQ(fs::detail::extract_parent_path(u"a//b"), u"a");
}

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
    const std::tuple<fl::ustring, fl::ustring, fl::ustring> cases[] = {
        {u"a/../b/./c", u"", u(cwd + "/a/../b/./c")}, // nothing folded, nothing looked up
        {u"/x/./y/..", u"/b", u"/x/./y/.."},          // already absolute: unchanged
        {u"a", u"/b/", u"/b/a"},
        {u"a", u"/", u"/a"},
        {u"a", u"rel", u(cwd + "/rel/a")}, // a relative base hangs off the current folder
        {u("caf\xE9"), u"/b", u("/b/caf\xE9")},
    };
    for (const auto& [path, base, expected] : cases)
        EXPECT_EQ(fs::absolute(path, base), expected) << fl::i18n::to_string(path);
    EXPECT_THROW(fs::absolute(u"", u"/b"), fs::PathNotFound);
    EXPECT_THROW(fs::absolute(fl::ustring(u"a\0b", 3), u"/b"), fs::SystemError);
    EXPECT_THROW(fs::absolute(u"a", fl::ustring(u"/b\0", 3)), fs::SystemError);
}

TEST_F(NativePaths, CanonicalResolvesLinksDotsAndDotDots) {
    ASSERT_EQ(::mkdir((dir / "real").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "real/sub").c_str(), 0755), 0);
    makeFile(dir / "real/sub/caf\xE9");
    ASSERT_EQ(::symlink("real", (dir / "to-real").c_str()), 0);
    ASSERT_EQ(::symlink("../to-real/sub", (dir / "real/hop").c_str()), 0);
    const std::string root = real(dir.path()), file = root + "/real/sub/caf\xE9";
    CurrentFolder inside(dir.path());
    const std::pair<std::string, std::string> cases[] = {
        {"./real/./sub/../sub/caf\xE9", file},
        {"real/hop/caf\xE9", file}, // a link through a link
        {"to-real/", root + "/real"},
        {"/..", "/"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(fs::canonical(u(path)), u(expected)) << path;
    EXPECT_EQ(fs::canonical(u("sub/caf\xE9"), u(dir / "to-real")), u(file));
}

TEST_F(NativePaths, CanonicalFailuresAreTyped) {
    makeFile(dir / "file");
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop", (dir / "loop").c_str()), 0);
    for (const std::string& path : {dir / "dangling", dir / "file/below", std::string()})
        EXPECT_THROW(fs::canonical(u(path)), fs::PathNotFound) << path;
    const std::pair<fl::ustring, int> errors[] = {
        {u(dir / "loop"), ELOOP},
        {u(dir / "file") + fl::ustring(u"\0/x", 3), EINVAL}, // cut short, it would exist
    };
    for (const auto& [path, code] : errors) {
        try {
            fs::canonical(path);
            ADD_FAILURE() << code;
        } catch (const fs::SystemError& error) {
            EXPECT_EQ(error.code(), code);
        }
    }
}

TEST_F(NativePaths, CurrentPathWholeOrNotAtAll) {
    std::string deep = real(dir.path());
    CurrentFolder start(deep);
    const std::string name(200, 'd');
    while (deep.size() <= PATH_MAX + 200) { // deeper than PATH_MAX
        ASSERT_EQ(::mkdir(name.c_str(), 0755), 0);
        ASSERT_EQ(::chdir(name.c_str()), 0);
        deep += "/" + name;
    }
    EXPECT_EQ(fs::get_current_path(), u(deep));
    ASSERT_EQ(::rmdir(("../" + name).c_str()), 0);
    EXPECT_THROW(fs::get_current_path(), fs::PathNotFound);
}

} // namespace
