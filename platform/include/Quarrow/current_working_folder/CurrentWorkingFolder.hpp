#pragma once

// The host's current folder: the process's working folder, against which the names a
// user types are made absolute.

#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include <fl/ustring.hpp>

#include <exception>
#include <string>

namespace Quarrow::current_working_folder {

// A text that cannot name a storage location, even relative to the current folder.
class FailedToAbsolutizeException : public std::exception {
public:
    FailedToAbsolutizeException(fl::ustring text, std::string reason);
    const fl::ustring& text() const noexcept { return text_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    fl::ustring text_;
    std::string what_;
};

class ICurrentWorkingFolder {
public:
    virtual ~ICurrentWorkingFolder();

    // The folder as an absolute native path; FailedToAbsolutizeException when the system
    // cannot tell it (it was removed, or is out of reach).
    virtual fl::ustring getPath() const = 0;
    // Makes the folder current; throws the fl::filesystem exception of the failure.
    virtual void setPath(const fl::ustring& folder) = 0;

    // IRI text ("scheme://...") is kept, an absolute path becomes a file IRI, a relative
    // path is joined to the current folder as written (nothing folded, nothing resolved),
    // and an empty text is the current folder itself. FailedToAbsolutizeException when the
    // text cannot name a location or the current folder cannot be told.
    virtual foundation::storage::vfs::AbsoluteIRI absolutize(const fl::ustring& text) const = 0;

    // The folder itself, in the host's storage system; FailedToAbsolutizeException when the
    // system cannot tell it.
    foundation::storage::vfs::Folder get() const;
};

// The host's current-folder service.
ICurrentWorkingFolder& GetCurrentWorkingFolder();

} // namespace Quarrow::current_working_folder
