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

} // namespace
