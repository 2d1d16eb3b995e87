#include <vexa/io/filesystem/core/file_manipulator.hpp>

#include <fl/errno_text.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <cerrno>

namespace vexa::io::filesystem::core {

namespace vfsErrors = VEXA::virtualfilesystem;

FileManipulator::~FileManipulator() = default;

Status FileManipulator::GetStatus() {
    return status_;
}

void FileManipulator::ParseOptArgs(std::vector<std::u16string>) {}

std::string FileManipulator::GetErrorMsgIdPrefix() {
    return "FILE";
}

void FileManipulator::record(boost::exception_ptr error) noexcept {
    status_.exception = std::move(error);
}

void FileManipulator::SetErrorStatus(const char* component, const char* name) noexcept {
    // errno first: building the message below may make system calls of its own.
    const int error = errno;
    [[maybe_unused]] const std::string operationIdentifier =
        std::string("VEXA:") + component + ":" + name;
    if (error != 0) {
        status_.systemError = error;
        record(boost::copy_exception(foundation::core::except::Exception<VEXA::FileManip::OSError>(
            VEXA::FileManip::OSError(fl::errnoText(error)))));
    } else {
        record(boost::copy_exception(
            foundation::core::except::Exception<VEXA::FileManip::UnknownError>(
                VEXA::FileManip::UnknownError())));
    }
    status_.code = Status::error;
}

void FileManipulator::SetVFSErrorStatus(const foundation::storage::vfs::Exception& error,
                                        const std::u16string& path) noexcept {
    // Compared unsigned: a negative code is as unknown as one above the table.
    switch (static_cast<std::uint32_t>(error.getErrorCode())) {
    case 0:
        return SetErrorMsgAndId("folderNotEmpty", vfsErrors::folderNotEmpty(path));
    case 1:
    case 4: // a path through a file: to the user, the item is not there
        return SetErrorMsgAndId("resourceNotFound", vfsErrors::resourceNotFound(path));
    case 2:
        return SetErrorMsgAndId("permissionDenied", vfsErrors::permissionDenied(path));
    case 3:
        return SetErrorMsgAndId("resourceAlreadyExists", vfsErrors::resourceAlreadyExists(path));
    case 5:
        return SetErrorMsgAndId("readOnlyProvider", vfsErrors::readOnlyProvider(path));
    case 6:
        return SetErrorMsgAndId("fileTooLarge", vfsErrors::fileTooLarge(path));
    case 7:
        return SetErrorMsgAndId("resourceInUse", vfsErrors::resourceInUse(path));
    case 8:
        return SetErrorMsgAndId("noSpaceLeft", vfsErrors::noSpaceLeft(path));
    case 9:
        return SetErrorMsgAndId("ioError", vfsErrors::ioError(path));
    case 10:
        return SetErrorMsgAndId("internalError", vfsErrors::internalError(path));
    case 11:
        return SetErrorMsgAndId("unsupportedOperation", vfsErrors::unsupportedOperation(path));
    default:
        return SetErrorMsgAndId("unknownError", vfsErrors::unknownError(path));
    }
}

bool FileManipulator::CheckStringForPathMax(const std::u16string& path,
                                            unsigned long maxLength) noexcept {
    if (path.size() <= maxLength)
        return true;
    status_.code = Status::error;
    SetErrorMsgAndId("PATHMAX", VEXA::FILE::PATHMAX());
    return false;
}

bool FileManipulator::SetErrorExceptionContext(const std::u16string& first,
                                               const std::u16string& second) noexcept {
    const std::string prefix = "VEXA:" + GetErrorMsgIdPrefix();
    boost::exception_ptr error =
        virtualfileio::ExceptionContextHandler::ExceptionContextToExceptionObject(first, second,
                                                                                  prefix);
    const bool found = static_cast<bool>(error);
    record(std::move(error));
    if (found && status_.code == Status::success)
        status_.code = Status::error;
    return found;
}

} // namespace vexa::io::filesystem::core
