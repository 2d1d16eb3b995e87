#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "Operations.hpp"
#include "Raised.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/exception/diagnostic_information.hpp>

#include <cerrno>
#include <climits>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;
using ::testing::HasSubstr;
using vexa::testing::NoOperation;
using vexa::testing::PrefixedOperation;
using vexa::testing::Raised;
using vexa::testing::raisedBy;
using virtualfileio::ExceptionContextHandler;

std::string idOf(const core::Status& status) {
    return core::detail::GetID(status.exception);
}
// The message text as UTF-8, for the matchers.
std::string textOf(const core::Status& status) {
    return fl::i18n::to_string(core::detail::GetUnicodeMessageTxt(status.exception));
}

// Every storage error code, the table's two ends and what lies beyond them, raised for real
// by a provider: the failure's code and its pending context give the same identifier.
TEST(FileManipulator, VfsErrorCodesGiveTheirIdentifiers) {
    // The names of codes -1 to 12.
    const char* const byCode[] = {
        "unknownError",          "folderNotEmpty",   "resourceNotFound", "permissionDenied",
        "resourceAlreadyExists", "resourceNotFound", "readOnlyProvider", "fileTooLarge",
        "resourceInUse",         "noSpaceLeft",      "ioError",          "internalError",
        "unsupportedOperation",  "unknownError"};
    std::vector<std::pair<int, const char*>> cases{{INT_MIN, "unknownError"},
                                                   {INT_MAX, "unknownError"}};
    for (int code = -1; code <= 12; ++code)
        cases.emplace_back(code, byCode[code + 1]);
    const vexa::testing::TempDir dir;
    const std::u16string path = u"/donn\u00e9es/x";
    for (const auto& [code, name] : cases) {
        const vexa::testing::ScopedStorageSystem storage({vexa::testing::faultyFiles(
            vexa::testing::FaultyProvider::Operation::CreateFolder, code)});
        NoOperation recorded, pending;
        try {
            vexa::testing::folderAt(dir / "new").createFolderRecursive();
            ADD_FAILURE() << code;
        } catch (const vfs::Exception& error) {
            recorded.SetVFSErrorStatus(error, path);
            EXPECT_TRUE(pending.SetErrorExceptionContext(path, u"")) << code;
        }
        for (NoOperation* operation : {&recorded, &pending}) {
            const core::Status status = operation->GetStatus();
            EXPECT_EQ(status.code, 2) << code;
            EXPECT_EQ(idOf(status), std::string("VEXA:virtualfilesystem:") + name) << code;
            EXPECT_THAT(textOf(status), HasSubstr(fl::i18n::to_string(path))) << code;
        }
    }
}

// errno as the C library's text, a number without a name included; no errno at all is an
// unknown error that keeps the errno recorded before it.
TEST(FileManipulator, SetErrorStatusRecordsErrno) {
    struct Case {
        int error;
        std::int32_t systemError;
        Raised recorded;
    };
    const std::string osError = "VEXA:FileManip:OSError";
    const Case cases[] = {
        {ENOSPC, ENOSPC, {osError, {std::string("No space left on device")}}},
        {4095, 4095, {osError, {std::string("Unknown error 4095")}}},
        {-3, -3, {osError, {std::string("Unknown error -3")}}},
        {0, -3, {"VEXA:FileManip:UnknownError", {}}},
    };
    NoOperation operation; // one for all: errno 0 keeps what the case before recorded
    for (const auto& c : cases) {
        errno = c.error;
        operation.SetErrorStatus("FileManip", "write");
        const core::Status status = operation.GetStatus();
        EXPECT_EQ(status.code, 2) << c.error;
        EXPECT_EQ(status.systemError, c.systemError) << c.error;
        EXPECT_EQ(raisedBy([&] { boost::rethrow_exception(status.exception); }), c.recorded)
            << c.error;
    }
}

// With nothing pending, a report of the storage context answers false and leaves the code
// as the limit left it, success or error.
TEST(FileManipulator, PathLimitIsInclusive) {
    struct Case {
        std::size_t length;
        unsigned long limit;
        bool passes;
    };
    const Case cases[] = {{4352, 4352, true}, {4353, 4352, false}, {0, 0, true}, {1, 0, false}};
    ExceptionContextHandler::ClearPendingContext();
    for (const auto& c : cases) {
        NoOperation operation;
        EXPECT_EQ(operation.CheckStringForPathMax(std::u16string(c.length, u'a'), c.limit),
                  c.passes)
            << c.length << " / " << c.limit;
        const core::Status status = operation.GetStatus();
        EXPECT_EQ(status.code, c.passes ? 1 : 2);
        EXPECT_EQ(idOf(status), c.passes ? "" : "VEXA:FILE:PATHMAX");
        EXPECT_FALSE(operation.SetErrorExceptionContext(u"/p", u"")) << c.length;
        EXPECT_EQ(operation.GetStatus().code, status.code) << c.length;
    }
    // Units, not characters: 2176 characters outside the BMP are 4352 units.
    std::u16string astral;
    for (int i = 0; i < 2176; ++i)
        astral += u"\U0001F600";
    NoOperation operation;
    EXPECT_TRUE(operation.CheckStringForPathMax(astral, 4352));
    EXPECT_FALSE(operation.CheckStringForPathMax(astral + u"a", 4352));
}

// The last error recorded wins; a copy of the status taken earlier keeps its own. An
// operation's own prefix reaches the exception context but never the identifiers. A pending
// context names the caller's path, and is reported once.
TEST(FileManipulator, LastRecordedErrorWinsUnderItsOwnIdentifier) {
    PrefixedOperation operation;
    operation.SetVFSErrorStatus(vfs::Exception(vfs::IOError, u"/a"), u"/a");
    const core::Status first = operation.GetStatus();
    operation.CheckStringForPathMax(u"abc", 2);
    EXPECT_EQ(idOf(operation.GetStatus()), "VEXA:FILE:PATHMAX");
    EXPECT_EQ(operation.GetStatus().code, 2);
    EXPECT_EQ(idOf(first), "VEXA:virtualfilesystem:ioError");

    ExceptionContextHandler::SetPendingContext(
        vfs::makeContext("remove", u"/provider/p", vfs::FolderNotEmpty));
    ASSERT_TRUE(operation.SetErrorExceptionContext(u"/p", u"/q"));
    const core::Status status = operation.GetStatus();
    EXPECT_EQ(idOf(status), "VEXA:virtualfilesystem:folderNotEmpty");
    EXPECT_THAT(textOf(status), HasSubstr("'/p'"));
    const std::string details = boost::diagnostic_information(status.exception);
    EXPECT_THAT(details, HasSubstr("VEXA:MKDIR"));
    EXPECT_THAT(details, HasSubstr("/q"));
    // Nothing is pending any more: the call answers false, drops the recorded exception and
    // leaves the code as it was.
    EXPECT_FALSE(operation.SetErrorExceptionContext(u"/p", u""));
    EXPECT_EQ(operation.GetStatus().code, 2);
    EXPECT_FALSE(operation.GetStatus().exception);
}

} // namespace
