#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "Operations.hpp"
#include "TempDir.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/exception/diagnostic_information.hpp>

#include <cerrno>
#include <climits>
#include <cstring>

#include <sys/stat.h>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;
using ::testing::HasSubstr;
using vexa::testing::NoOperation;
using vexa::testing::PrefixedOperation;
using virtualfileio::ExceptionContextHandler;

std::string idOf(const core::Status& status) {
    return core::detail::GetID(status.exception);
}
// The message text as UTF-8, for the matchers.
std::string textOf(const core::Status& status) {
    return fl::i18n::to_string(core::detail::GetUnicodeMessageTxt(status.exception));
}

// Every storage error code, the table's two ends and what lies beyond them. The library
// maps codes to its tags, the storage layer maps them to message names for its pending
// contexts: both must give the same identifier.
TEST(FileManipulator, VfsErrorCodesGiveTheirIdentifiers) {
    const std::pair<int, const char*> cases[] = {
        {-1, "unknownError"},
        {0, "folderNotEmpty"},
        {1, "resourceNotFound"},
        {2, "permissionDenied"},
        {3, "resourceAlreadyExists"},
        {4, "resourceNotFound"},
        {5, "readOnlyProvider"},
        {6, "fileTooLarge"},
        {7, "resourceInUse"},
        {8, "noSpaceLeft"},
        {9, "ioError"},
        {10, "internalError"},
        {11, "unsupportedOperation"},
        {12, "unknownError"},
        {INT_MIN, "unknownError"},
        {INT_MAX, "unknownError"},
    };
    const std::u16string path = u"/donn\u00e9es/x";
    for (const auto& [code, name] : cases) {
        const std::string expected = std::string("VEXA:virtualfilesystem:") + name;
        NoOperation recorded;
        recorded.SetVFSErrorStatus(vfs::Exception(code, u"/provider/spelling"), path);
        EXPECT_EQ(recorded.GetStatus().code, 2) << code;
        EXPECT_EQ(idOf(recorded.GetStatus()), expected) << code;
        EXPECT_THAT(textOf(recorded.GetStatus()), HasSubstr(fl::i18n::to_string(path))) << code;

        NoOperation pending;
        ExceptionContextHandler::SetPendingContext(vfs::makeContext("test", u"/p", code));
        EXPECT_TRUE(pending.SetErrorExceptionContext(path, u""));
        EXPECT_EQ(idOf(pending.GetStatus()), expected) << code;
        EXPECT_THAT(textOf(pending.GetStatus()), HasSubstr(fl::i18n::to_string(path))) << code;
    }
}

TEST(FileManipulator, SetErrorStatusRecordsErrno) {
    NoOperation operation;
    errno = ENOSPC;
    operation.SetErrorStatus("FileManip", "write");
    const core::Status status = operation.GetStatus();
    EXPECT_EQ(status.code, 2);
    EXPECT_EQ(status.systemError, ENOSPC);
    EXPECT_EQ(idOf(status), "VEXA:FileManip:OSError");
    EXPECT_THAT(textOf(status), HasSubstr("No space left on device"));
}

TEST(FileManipulator, SetErrorStatusWithoutErrnoIsUnknownAndKeepsSystemError) {
    NoOperation operation;
    errno = EIO;
    operation.SetErrorStatus("FileManip", "write");
    errno = 0;
    operation.SetErrorStatus("FileManip", "write");
    const core::Status status = operation.GetStatus();
    EXPECT_EQ(idOf(status), "VEXA:FileManip:UnknownError");
    EXPECT_EQ(status.systemError, EIO);
    EXPECT_EQ(status.code, 2);
}

TEST(FileManipulator, LastRecordedErrorWins) {
    NoOperation operation;
    operation.SetVFSErrorStatus(vfs::Exception(vfs::IOError, u"/a"), u"/a");
    const core::Status first = operation.GetStatus();
    operation.CheckStringForPathMax(u"abc", 2);
    EXPECT_EQ(idOf(operation.GetStatus()), "VEXA:FILE:PATHMAX");
    EXPECT_EQ(operation.GetStatus().code, 2);
    // A copy taken earlier keeps its own error.
    EXPECT_EQ(idOf(first), "VEXA:virtualfilesystem:ioError");
}

TEST(FileManipulator, PathLimitIsInclusive) {
    struct Case {
        std::size_t length;
        unsigned long limit;
        bool passes;
    };
    const Case cases[] = {{4352, 4352, true}, {4353, 4352, false}, {0, 0, true}, {1, 0, false}};
    for (const auto& c : cases) {
        NoOperation operation;
        EXPECT_EQ(operation.CheckStringForPathMax(std::u16string(c.length, u'a'), c.limit),
                  c.passes)
            << c.length << " / " << c.limit;
        const core::Status status = operation.GetStatus();
        EXPECT_EQ(status.code, c.passes ? 1 : 2);
        EXPECT_EQ(idOf(status), c.passes ? "" : "VEXA:FILE:PATHMAX");
    }
    // Units, not characters: 2176 characters outside the BMP are 4352 units.
    std::u16string astral;
    for (int i = 0; i < 2176; ++i)
        astral += u"\U0001F600";
    NoOperation operation;
    EXPECT_TRUE(operation.CheckStringForPathMax(astral, 4352));
    EXPECT_FALSE(operation.CheckStringForPathMax(astral + u"a", 4352));
}

// An operation's own prefix reaches the exception context but never the identifiers.
TEST(FileManipulator, OperationPrefixNeverRenamesIdentifiers) {
    PrefixedOperation operation;
    operation.CheckStringForPathMax(u"abc", 2);
    EXPECT_EQ(idOf(operation.GetStatus()), "VEXA:FILE:PATHMAX");

    ExceptionContextHandler::SetPendingContext(
        vfs::makeContext("remove", u"/p", vfs::FolderNotEmpty));
    ASSERT_TRUE(operation.SetErrorExceptionContext(u"/p", u"/q"));
    const core::Status status = operation.GetStatus();
    EXPECT_EQ(idOf(status), "VEXA:virtualfilesystem:folderNotEmpty");
    const std::string details = boost::diagnostic_information(status.exception);
    EXPECT_THAT(details, HasSubstr("VEXA:MKDIR"));
    EXPECT_THAT(details, HasSubstr("/q"));
}

// A real failed system call raised through the storage layer leaves its context pending;
// the operation reports it once, naming the path as the user gave it.
TEST(FileManipulator, PendingContextOfARealFailureIsReportedOnce) {
    vexa::testing::TempDir dir;
    const std::string below = dir / "missing/below";
    ASSERT_NE(::mkdir(below.c_str(), 0755), 0);
    try {
        vfs::throwFromErrno(errno, "createFolder", fl::i18n::to_ustring(below));
    } catch (const vfs::Exception& error) {
        EXPECT_EQ(error.getErrorCode(), vfs::ResourceNotFound);
        ASSERT_EQ(error.getContexts().size(), 1u);
        EXPECT_EQ(error.getContexts()[0].operation(), "createFolder");
    }
    NoOperation operation;
    EXPECT_TRUE(operation.SetErrorExceptionContext(u"missing/below", u""));
    EXPECT_EQ(idOf(operation.GetStatus()), "VEXA:virtualfilesystem:resourceNotFound");
    EXPECT_THAT(textOf(operation.GetStatus()), HasSubstr("'missing/below'"));

    // Nothing is pending any more: the call answers false, drops the recorded exception and
    // leaves the code as it was.
    EXPECT_FALSE(operation.SetErrorExceptionContext(u"missing/below", u""));
    EXPECT_EQ(operation.GetStatus().code, 2);
    EXPECT_FALSE(operation.GetStatus().exception);
}

} // namespace
