// vexafs mkdir as a user and a script see it.

#include "RunProgram.hpp"
#include "TempDir.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using vexa::testing::runProgram;
using vexa::testing::TempDir;

vexa::testing::ProgramResult vexafs(const std::vector<std::string>& args) {
    return runProgram(VEXAFS_PATH, args);
}

class VexafsMkdir : public ::testing::Test {
protected:
    TempDir dir;
};

TEST_F(VexafsMkdir, MakesMissingParentsAndReportsSuccess) {
    const std::string folder = dir / "a/b/c";
    const auto result = vexafs({"mkdir", folder, "--nargout", "3"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(result.out, folder + "\n  status:     yes\n  message:    \n  identifier: \n");
    // Again: the folder is there, which is what was asked for.
    EXPECT_EQ(vexafs({"mkdir", folder + "/", "--nargout", "1"}).out, folder + "/\n  status: yes\n");
}

TEST_F(VexafsMkdir, OutputsFollowNargout) {
    std::ofstream(dir / "file") << "x";
    const std::string below = dir / "file/sub";
    struct Case {
        const char* nargout;
        std::string out;
    };
    const Case cases[] = {
        {"1", below + "\n  status: no\n"},
        {"2", below + "\n  status:  no\n  message: Cannot find '" + below +
                  "': no such file or folder.\n"},
        {"3",
         below + "\n  status:     no\n  message:    Cannot find '" + below +
             "': no such file or folder.\n  identifier: VEXA:virtualfilesystem:resourceNotFound\n"},
    };
    for (const auto& c : cases) {
        const auto result = vexafs({"mkdir", below, "--nargout", c.nargout});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, c.out);
    }
    EXPECT_TRUE(fs::is_regular_file(dir / "file"));
}

// A failure with no output to carry it is an error: message and identifier on stderr.
TEST_F(VexafsMkdir, FailureWithoutOutputsIsAnError) {
    std::ofstream(dir / "file") << "x";
    struct Case {
        std::string folder;
        std::string id;
    };
    const Case cases[] = {
        {dir / "file/sub/deeper", "VEXA:virtualfilesystem:resourceNotFound"},
        {dir / "file", "VEXA:virtualfilesystem:resourceAlreadyExists"},
        {dir / std::string(300, 'n'), "VEXA:FileManip:OSError"}, // name too long: system text
        {"", "VEXA:virtualfilesystem:resourceNotFound"},
    };
    for (const auto& c : cases) {
        const auto result = vexafs({"mkdir", c.folder});
        EXPECT_EQ(result.exitCode, 1) << c.folder;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr("Identifier: " + c.id)) << c.folder;
    }
    EXPECT_THAT(vexafs({"mkdir", dir / std::string(300, 'n')}).err,
                HasSubstr("File name too long"));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);
}

TEST_F(VexafsMkdir, PathOverTheLimitIsRefusedBeforeAnythingIsMade) {
    const std::string prefix = dir / "p/";
    const std::string tooLong = prefix + std::string(4353 - prefix.size(), 'x');
    const auto result = vexafs({"mkdir", tooLong, "--nargout", "3", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\"status\": false"));
    EXPECT_THAT(result.out, HasSubstr("\"identifier\": \"VEXA:FILE:PATHMAX\""));
    EXPECT_FALSE(fs::exists(dir / "p"));
}

// Only a folder that was made is reported to the path manager.
TEST_F(VexafsMkdir, LogShowsTheNotificationOfAChange) {
    const std::string folder = dir / "new";
    const char* trace = "FileManipulator::MarkDirOutOfDate(fl::ustring&) (src/FileManip:337)";
    EXPECT_THAT(vexafs({"mkdir", folder, "--log"}).err, HasSubstr(trace));
    EXPECT_EQ(vexafs({"mkdir", folder, "--log"}).err, "");
}

// Run as root, a refused permission needs an unprivileged process: the child drops to
// nobody and runs vexafs in a folder it may read but not write.
TEST_F(VexafsMkdir, RefusedPermissionIsPermissionDenied) {
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0555), 0);
    const std::string folder = dir / "locked/new/sub";
    int out[2];
    ASSERT_EQ(::pipe(out), 0);
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        ::dup2(out[1], 1);
        if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(3);
        ::execl(VEXAFS_PATH, VEXAFS_PATH, "mkdir", folder.c_str(), "--nargout", "3", nullptr);
        ::_exit(4);
    }
    ::close(out[1]);
    std::string output;
    char buffer[4096];
    for (ssize_t n; (n = ::read(out[0], buffer, sizeof buffer)) > 0;)
        output.append(buffer, static_cast<std::size_t>(n));
    ::close(out[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0) << "3: could not drop root, 4: could not run vexafs";
    // The level that could not be made is named.
    EXPECT_THAT(output, HasSubstr("Permission denied for '" + dir / "locked/new" + "'"));
    EXPECT_THAT(output, HasSubstr("identifier: VEXA:virtualfilesystem:permissionDenied"));
    EXPECT_FALSE(fs::exists(dir / "locked/new"));
}

} // namespace
