#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <fl/errno_text.hpp>
#include <fl/filesystem.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <host/EngineDispatcher.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <cerrno>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace vexa::io::filesystem::core {

namespace vfsErrors = VEXA::virtualfilesystem;

namespace {

// Records, naming `path`, the tag among `Tags` whose name is `name`; false when none is.
template <class... Tags>
bool recordTagNamed(FileManipulator& operation, std::string_view name, const std::u16string& path,
                    std::type_identity<std::tuple<Tags...>>) noexcept {
    return (
        (name == Tags::tagName && (operation.SetErrorMsgAndId(Tags::tagName, Tags(path)), true)) ||
        ...);
}

} // namespace

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
    // The storage layer names the message of each code (a negative code or one beyond its
    // table is "unknownError"); the library records the tag of that name. A name it has no
    // tag for is still a failure, never nothing recorded.
    const std::string_view name = foundation::storage::vfs::errorMessageName(error.getErrorCode());
    if (!recordTagNamed(*this, name, path, std::type_identity<vfsErrors::Tags>()))
        SetErrorMsgAndId(vfsErrors::unknownError::tagName, vfsErrors::unknownError(path));
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

// Through these two an operation tells the host that folders changed.

void FileManipulator::MarkDirOutOfDate(std::u16string& folder) {
    const log::TraceScope trace(
        "virtual void vexa::io::filesystem::core::FileManipulator::MarkDirOutOfDate(fl::ustring&)",
        "src/FileManip", 337);
    if (!CheckStringForPathMax(folder, maxPathLength))
        return;
    // A pattern changed the folder that holds what it matched.
    if (folder.find(u'*') != std::u16string::npos)
        folder = fl::filesystem::detail::extract_parent_path(
            fl::filesystem::detail::make_native_form(folder, true));
    // The operation itself succeeded; a host that cannot take the news must not turn that
    // into a failure.
    try {
        const auto iri =
            EngineDispatcher::getDispatcher().GetCurrentWorkingFolder().absolutize(folder);
        EngineDispatcher::getDispatcher()
            .GetCurrentPathManager()
            ->NotifyUpstreamPathEntriesOfPossibleSpecialSubfolderChanges(iri);
    } catch (const Quarrow::current_working_folder::FailedToAbsolutizeException&) {
        // A name that cannot be a location holds no path entries: nothing to tell.
    } catch (...) {
        log::logCaughtException();
    }
}

void FileManipulator::RequestPathRefresh() const {
    const log::TraceScope trace(
        "virtual void vexa::io::filesystem::core::FileManipulator::RequestPathRefresh() const",
        "src/FileManip", 354);
    EngineDispatcher::getDispatcher().GetCurrentPathManager()->Refresh(0);
}

} // namespace vexa::io::filesystem::core
