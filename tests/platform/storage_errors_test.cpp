#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <fl/i18n.hpp>
#include <foundation/core/except/IException.hpp>

#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace vfs = foundation::storage::vfs;
using virtualfileio::ExceptionContextHandler;

TEST(StorageErrors, ErrnoMapsToItsCode) {
    const std::pair<int, int> cases[] = {
        {ENOTEMPTY, 0}, {ENOENT, 1}, {EACCES, 2},  {EPERM, 2},         {EEXIST, 3}, {ENOTDIR, 4},
        {EROFS, 5},     {EFBIG, 6},  {EBUSY, 7},   {ETXTBSY, 7},       {ENOSPC, 8}, {EDQUOT, 8},
        {EIO, 9},       {ELOOP, 9},  {EINVAL, 10}, {ENAMETOOLONG, 10}, {0, 10},
    };
    for (const auto& [error, code] : cases)
        EXPECT_EQ(vfs::errorCodeFromErrno(error), code) << error;
}

// Real failures of real system calls, raised the way a provider raises them: the code, the
// exception's context and the pending context agree.
TEST(StorageErrors, RealFailuresLeaveTheirContextPending) {
    vexa::testing::TempDir dir;
    ::mkdir((dir / "full").c_str(), 0755);
    std::ofstream(dir / "full/file") << "x";
    struct Case {
        std::string path;
        int (*call)(const char*);
        int code;
        const char* name;
    };
    const Case cases[] = {
        {dir / "full", [](const char* p) { return ::rmdir(p); }, 0, "folderNotEmpty"},
        {dir / "full", [](const char* p) { return ::mkdir(p, 0755); }, 3, "resourceAlreadyExists"},
        {dir / "full/file/x", [](const char* p) { return ::mkdir(p, 0755); }, 4,
         "resourceNotFound"},
        {dir / "none/x", [](const char* p) { return ::mkdir(p, 0755); }, 1, "resourceNotFound"},
    };
    for (const auto& c : cases) {
        ASSERT_NE(c.call(c.path.c_str()), 0) << c.path;
        const fl::ustring path = fl::i18n::to_ustring(c.path);
        try {
            vfs::throwFromErrno(errno, "op", path);
        } catch (const vfs::Exception& error) {
            EXPECT_EQ(error.getErrorCode(), c.code) << c.path;
            EXPECT_EQ(error.getPath(), path);
        }
        const auto pending = ExceptionContextHandler::PendingContext();
        ASSERT_TRUE(pending) << c.path;
        EXPECT_EQ(pending->message().name(), c.name);
        EXPECT_EQ(pending->location(), path);
        ExceptionContextHandler::ClearPendingContext();
    }
}

TEST(StorageErrors, PendingContextBecomesItsExceptionOnce) {
    ExceptionContextHandler::ClearPendingContext();
    EXPECT_FALSE(
        ExceptionContextHandler::ExceptionContextToExceptionObject(u"/a", u"", "VEXA:FILE"));

    ExceptionContextHandler::SetPendingContext(
        vfs::makeContext("list", u"/provider/a", vfs::IOError));
    const auto error =
        ExceptionContextHandler::ExceptionContextToExceptionObject(u"a", u"", "VEXA:FILE");
    ASSERT_TRUE(error);
    try {
        boost::rethrow_exception(error);
    } catch (const foundation::core::except::IUserException& user) {
        EXPECT_EQ(user.GetID(), "VEXA:virtualfilesystem:ioError");
        EXPECT_EQ(user.GetUnicodeMessageTxt(),
                  u"An input/output error occurred while accessing 'a'.");
    }
    EXPECT_FALSE(ExceptionContextHandler::PendingContext());
    EXPECT_FALSE(
        ExceptionContextHandler::ExceptionContextToExceptionObject(u"a", u"", "VEXA:FILE"));
}

} // namespace
