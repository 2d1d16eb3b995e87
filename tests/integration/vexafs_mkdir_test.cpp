// vexafs mkdir as a user and a script see it.

#include "TempDir.hpp"
#include "Unprivileged.hpp"
#include "Vexafs.hpp"

#include <filesystem>
#include <iostream>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using vexa::testing::refused;
using vexa::testing::TempDir;
using vexa::testing::vexafs;

class VexafsMkdir : public ::testing::Test {
protected:
    TempDir dir;
};

// The outputs asked for carry the result; a failure with none to carry it is an error, with
// message and identifier on stderr. Only the folder asked for is ever made, and only a folder
// that was made is reported to the path manager.
TEST_F(VexafsMkdir, ResultsByNargout) {
    dir.make({"file"});
    const std::string made = dir / "a/b/c", below = dir / "file/sub";
    const std::string notFound = "Cannot find '" + below + "': no such file or folder.";
    const std::string prefix = dir / "p/",
                      tooLong = prefix + std::string(4353 - prefix.size(), 'x');
    const vexa::testing::VexafsRun runs[] = {
        {{"mkdir", made, "--nargout", "3"},
         0,
         made + "\n  status:     yes\n  message:    \n  identifier: \n"},
        // Again: the folder is there, which is what was asked for.
        {{"mkdir", made + "/", "--nargout", "1"}, 0, made + "/\n  status: yes\n"},
        {{"mkdir", below, "--nargout", "1"}, 0, below + "\n  status: no\n"},
        {{"mkdir", below, "--nargout", "2"},
         0,
         below + "\n  status:  no\n  message: " + notFound + "\n"},
        {{"mkdir", below, "--nargout", "3"},
         0,
         below + "\n  status:     no\n  message:    " + notFound +
             "\n  identifier: VEXA:virtualfilesystem:resourceNotFound\n"},
        {{"mkdir", tooLong, "--nargout", "3", "--json"},
         0,
         "[\n {\"input\": \"" + tooLong + "\", \"status\": false, \"message\": \"The path is " +
             "longer than the maximum allowed length.\", \"identifier\": "
             "\"VEXA:FILE:PATHMAX\"}\n]\n"},
        refused({"mkdir", below + "/deeper"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound")),
        refused({"mkdir", dir / "file"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceAlreadyExists")),
        refused({"mkdir", ""}, HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound")),
        // A name too long for the system: the system's own text.
        refused({"mkdir", dir / std::string(300, 'n')},
                AllOf(HasSubstr("File name too long"),
                      HasSubstr("Identifier: VEXA:FileManip:OSError"))),
        {{"mkdir", dir / "new", "--log"},
         0,
         "",
         HasSubstr("FileManipulator::MarkDirOutOfDate(fl::ustring&) (src/FileManip:337)")},
        {{"mkdir", dir / "new", "--log"}, 0, "", ""},
    };
    vexa::testing::expectRuns(runs);
    EXPECT_TRUE(fs::is_regular_file(dir / "file"));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 3);
}

// From a folder the user may read but not write: the level that could not be made is named.
TEST_F(VexafsMkdir, RefusedPermissionIsPermissionDenied) {
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0555), 0);
    const std::string expected[] = {"message:    Permission denied for '" + dir / "locked/new" +
                                        "'",
                                    "identifier: VEXA:virtualfilesystem:permissionDenied"};
    EXPECT_EQ(vexa::testing::runAsUnprivileged([&] {
                  const auto result = vexafs({"mkdir", dir / "locked/new/sub", "--nargout", "3"});
                  for (const auto& line : expected)
                      if (result.out.find(line) == std::string::npos) {
                          std::cerr << result.out << result.err;
                          return 1;
                      }
                  return result.exitCode;
              }),
              0);
    EXPECT_FALSE(fs::exists(dir / "locked/new"));
}

} // namespace
