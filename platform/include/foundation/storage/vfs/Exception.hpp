#pragma once

#include <foundation/storage/provider/ExceptionContext.hpp>

#include <fl/ustring.hpp>

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::vfs {

// The failure kinds of the storage layer, as getErrorCode() reports them. Host code
// compares the numbers, so they never change.
enum ErrorCode : int {
    FolderNotEmpty = 0,
    ResourceNotFound = 1,
    PermissionDenied = 2,
    ResourceAlreadyExists = 3,
    NotAFolder = 4, // a file where the path needs a folder
    ReadOnlyProvider = 5,
    FileTooLarge = 6,
    ResourceInUse = 7,
    NoSpaceLeft = 8,
    IOError = 9, // also a link that cannot be followed
    InternalError = 10,
    UnsupportedOperation = 11,
};

// The code for an errno left by a system call of the file provider. Every errno gets
// one: what the table does not name is an InternalError.
int errorCodeFromErrno(int error) noexcept;

// The message name ("VEXA:virtualfilesystem:" + name) a user sees for a code. A path
// through a file is reported as not found; a code outside 0..11 is "unknownError".
std::string_view errorMessageName(int code) noexcept;

// The message component of every storage-layer error.
inline constexpr const char* messageComponent = "VEXA:virtualfilesystem";

// A failed storage operation: its code, the path(s) it concerns, and the contexts it
// passed through, innermost first.
class Exception : public std::exception {
public:
    Exception(int code, fl::ustring path, fl::ustring secondPath = {});

    int getErrorCode() const noexcept { return code_; }
    const fl::ustring& getPath() const noexcept { return path_; }
    // The other path of a two-path operation (copy, move); empty otherwise.
    const fl::ustring& getSecondPath() const noexcept { return secondPath_; }

    // The native error number behind the failure; 0 when it did not come from a system call.
    int getSystemError() const noexcept { return systemError_; }
    void setSystemError(int error) noexcept { systemError_ = error; }

    const std::vector<provider::ExceptionContext>& getContexts() const noexcept {
        return contexts_;
    }
    // An operation that lets the failure through adds what it was doing.
    void addContext(provider::ExceptionContext context);

    const char* what() const noexcept override { return what_.c_str(); }

private:
    int code_;
    int systemError_ = 0;
    fl::ustring path_;
    fl::ustring secondPath_;
    std::vector<provider::ExceptionContext> contexts_;
    std::string what_;
};

// The context a provider attaches when `operation` on `path` fails with `code`: the
// message of the code with the path as its argument, and `reason` when the storage said why.
provider::ExceptionContext makeContext(std::string operation, const fl::ustring& path, int code,
                                       std::string reason = {});

// Raises the failure of `operation` on `path` after a system call left `error` in errno,
// leaving its context pending on this thread (virtualfileio::ExceptionContextHandler).
[[noreturn]] void throwFromErrno(int error, std::string operation, const fl::ustring& path);

// Raises `error`, leaving its innermost context pending on this thread.
[[noreturn]] void raise(Exception error);

// Raises the failure of `operation` on `path` with `code`, its context (with `reason`, when
// given) pending.
[[noreturn]] void raise(int code, std::string operation, const fl::ustring& path,
                        std::string reason = {});

} // namespace foundation::storage::vfs
