#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <fl/i18n.hpp>

#include "errno_rules.hpp"

namespace foundation::storage::vfs {

int errorCodeFromErrno(int error) noexcept {
    return fl::errno_rules::rowFor(error).storageCode;
}

std::string_view errorMessageName(int code) noexcept {
    static constexpr std::string_view names[] = {
        "folderNotEmpty",   "resourceNotFound", "permissionDenied",    "resourceAlreadyExists",
        "resourceNotFound", // a path through a file is, to a user, a path that is not there
        "readOnlyProvider", "fileTooLarge",     "resourceInUse",       "noSpaceLeft",
        "ioError",          "internalError",    "unsupportedOperation"};
    const auto index = static_cast<unsigned>(code);
    return index < std::size(names) ? names[index] : "unknownError";
}

namespace {

std::string describe(int code, const fl::ustring& path, const fl::ustring& secondPath) {
    std::string text = "storage error ";
    text += std::to_string(code);
    text += " (";
    text += errorMessageName(code);
    text += "): ";
    text += fl::i18n::to_string(path);
    if (!secondPath.empty()) {
        text += " -> ";
        text += fl::i18n::to_string(secondPath);
    }
    return text;
}

} // namespace

Exception::Exception(int code, fl::ustring path, fl::ustring secondPath)
    : code_(code), path_(std::move(path)), secondPath_(std::move(secondPath)),
      what_(describe(code_, path_, secondPath_)) {}

void Exception::addContext(provider::ExceptionContext context) {
    contexts_.push_back(std::move(context));
}

provider::ExceptionContext makeContext(std::string operation, const fl::ustring& path, int code,
                                       std::string reason) {
    const std::string name(errorMessageName(code));
    return provider::ExceptionContext(
        std::move(operation), path, resource_core::BaseMsgID(messageComponent, name.c_str(), path),
        std::move(reason));
}

void raise(Exception error) {
    if (!error.getContexts().empty())
        virtualfileio::ExceptionContextHandler::SetPendingContext(error.getContexts().front());
    throw std::move(error);
}

void raise(int code, std::string operation, const fl::ustring& path, std::string reason) {
    Exception failure(code, path);
    failure.addContext(makeContext(std::move(operation), path, code, std::move(reason)));
    raise(std::move(failure));
}

void throwFromErrno(int error, std::string operation, const fl::ustring& path) {
    const int code = errorCodeFromErrno(error);
    Exception failure(code, path);
    failure.setSystemError(error);
    failure.addContext(makeContext(std::move(operation), path, code));
    raise(std::move(failure));
}

} // namespace foundation::storage::vfs
