#pragma once

// The base of the file operations a host implements on top of the core (make a folder,
// copy, move, remove). An operation never throws its failure at the caller: it records it
// in a Status, which the host hands to ResultHandler::HandleStatus.

#include <vexa/io/filesystem/core/errors.hpp>

#include <foundation/core/except/Exception.hpp>

#include <boost/exception_ptr.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace foundation::storage::vfs {
class Exception;
}

namespace vexa::io::filesystem::core {

// The outcome of an operation. Copies share the recorded exception (an atomically
// counted pointer), so a copy may be handed to another thread.
struct Status {
    static constexpr std::int64_t success = 1;
    static constexpr std::int64_t error = 2;

    std::int64_t code = success;
    std::int32_t systemError = 0;   // errno captured by SetErrorStatus
    boost::exception_ptr exception; // a clone of the recorded error, or empty
};

// The length limit of the paths the core checks, in UTF-16 code units (in bytes for 8-bit
// text): a folder an operation reports as changed, a pattern to list.
inline constexpr unsigned long maxPathLength = 4352;

class FileManipulator {
public:
    virtual ~FileManipulator();

    virtual Status GetStatus();
    // Optional arguments ("name", value, ...); an operation that has any overrides this.
    virtual void ParseOptArgs(std::vector<std::u16string> options);
    // The operation's required arguments (its path or paths).
    virtual void SetInputs(std::vector<std::u16string> inputs) = 0;
    // The component of the operation's own message identifiers.
    virtual std::string GetErrorMsgIdPrefix();
    // Tells the host's path manager that `folder` (or, for a pattern with a "*", the folder
    // holding the pattern, which then replaces `folder`) may have gained or lost package and
    // class folders. Best effort: only a path over the length limit is recorded as an error.
    virtual void MarkDirOutOfDate(std::u16string& folder);
    // Asks the host to rescan its whole search path.
    virtual void RequestPathRefresh() const;
    // Checks the inputs, recording an error and answering false when the operation cannot
    // run.
    virtual bool ValidateInputs() = 0;
    // Performs the operation, recording any failure.
    virtual void Execute() = 0;

    // --- recording a failure; none of these throws for the failure it records ----------

    // The failure of a system call, from errno: "VEXA:FileManip:OSError" with the system's
    // text, or "VEXA:FileManip:UnknownError" when errno is 0.
    void SetErrorStatus(const char* component, const char* name) noexcept;
    // A storage-layer failure, by its error code, naming `path`.
    void SetVFSErrorStatus(const foundation::storage::vfs::Exception& error,
                           const std::u16string& path) noexcept;
    template <class Tag> void SetErrorMsgAndId(const std::string& name, const Tag& tag) noexcept;
    // False, with "VEXA:FILE:PATHMAX" recorded, when `path` is longer than `maxLength`.
    bool CheckStringForPathMax(const std::u16string& path, unsigned long maxLength) noexcept;
    // Records the storage layer's pending failure on this thread, naming `first` (and
    // `second` for a two-path operation); false when nothing is pending.
    bool SetErrorExceptionContext(const std::u16string& first,
                                  const std::u16string& second) noexcept;

protected:
    FileManipulator() = default;
    FileManipulator(const FileManipulator&) = default;
    FileManipulator& operator=(const FileManipulator&) = default;

private:
    void record(boost::exception_ptr error) noexcept;

    Status status_;
};

template <class Tag>
void FileManipulator::SetErrorMsgAndId(const std::string& name, const Tag& tag) noexcept {
    // The identifier a user sees is always the tag's own; the operation's prefix is asked
    // for but never enters it, so an operation cannot rename the errors of the catalog.
    [[maybe_unused]] const std::string operationIdentifier =
        "VEXA:" + GetErrorMsgIdPrefix() + ":" + name;
    record(boost::copy_exception(foundation::core::except::Exception<Tag>(tag)));
    if (status_.code == Status::success)
        status_.code = Status::error;
}

} // namespace vexa::io::filesystem::core
