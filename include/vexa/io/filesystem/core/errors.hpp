#pragma once

// The library's errors. Each tag names one error by its message identifier
// (component ":" name) and carries exactly the arguments its message shows; the one
// exception type foundation::core::except::Exception<Tag> is thrown or recorded for it.

#include <foundation/core/except/Exception.hpp>
#include <resource_core/BaseMsgID.hpp>

#include <string>
#include <tuple>

// A tag whose one argument is a UTF-16 path; `msgComponent` is the enclosing namespace's.
// `tagName` is the name part of its identifier, so that code holding only a name can find
// the tag.
#define VEXA_PATH_ERROR_TAG(name)                                                                  \
    struct name : resource_core::BaseMsgID {                                                       \
        static constexpr const char* tagName = #name;                                              \
        explicit name(const std::u16string& path) : BaseMsgID(msgComponent, tagName, path) {}      \
    }

namespace VEXA {

namespace virtualfilesystem {
inline constexpr const char* msgComponent = "VEXA:virtualfilesystem";

// Storage-layer failures; the one argument is the path concerned.
VEXA_PATH_ERROR_TAG(folderNotEmpty);
VEXA_PATH_ERROR_TAG(resourceNotFound);
VEXA_PATH_ERROR_TAG(permissionDenied);
VEXA_PATH_ERROR_TAG(resourceAlreadyExists);
VEXA_PATH_ERROR_TAG(readOnlyProvider);
VEXA_PATH_ERROR_TAG(fileTooLarge);
VEXA_PATH_ERROR_TAG(resourceInUse);
VEXA_PATH_ERROR_TAG(noSpaceLeft);
VEXA_PATH_ERROR_TAG(ioError);
VEXA_PATH_ERROR_TAG(internalError);
VEXA_PATH_ERROR_TAG(unsupportedOperation);
VEXA_PATH_ERROR_TAG(unknownError);

// Every tag above. The storage layer names the message of each failure
// (foundation::storage::vfs::errorMessageName); the tag of that name is the one recorded.
using Tags = std::tuple<folderNotEmpty, resourceNotFound, permissionDenied, resourceAlreadyExists,
                        readOnlyProvider, fileTooLarge, resourceInUse, noSpaceLeft, ioError,
                        internalError, unsupportedOperation, unknownError>;
} // namespace virtualfilesystem

// PATHMAX and the FileManip errors have components of their own, outside the storage
// family: host code matches their identifiers exactly.
namespace FILE {
struct PATHMAX : resource_core::BaseMsgID {
    PATHMAX() : BaseMsgID("VEXA:FILE", "PATHMAX") {}
};
} // namespace FILE

namespace FileManip {
inline constexpr const char* msgComponent = "VEXA:FileManip";
// The argument is the operating system's text for errno.
struct OSError : resource_core::BaseMsgID {
    explicit OSError(const std::string& systemText)
        : BaseMsgID(msgComponent, "OSError", systemText) {}
};
struct UnknownError : resource_core::BaseMsgID {
    UnknownError() : BaseMsgID(msgComponent, "UnknownError") {}
};
} // namespace FileManip

namespace io::filesystem::symlink {
inline constexpr const char* msgComponent = "VEXA:io:filesystem:symlink";

// Link-creation failures; the one argument is the path the message names.
VEXA_PATH_ERROR_TAG(FileExists);
VEXA_PATH_ERROR_TAG(FilenameTooLarge);
VEXA_PATH_ERROR_TAG(AccessDenied);
VEXA_PATH_ERROR_TAG(TargetNotFound);
VEXA_PATH_ERROR_TAG(UnknownError);
} // namespace io::filesystem::symlink

namespace io::filesystem::common {
inline constexpr const char* msgComponent = "VEXA:io:filesystem:common";
struct NameNotSupported : resource_core::BaseMsgID {
    explicit NameNotSupported(const std::u16string& name)
        : BaseMsgID(msgComponent, "NameNotSupported", name) {}
};
// Arguments: the URL's scheme, then the path rules asked for ("Unix" or "Windows").
struct IncorrectFileSystemType : resource_core::BaseMsgID {
    IncorrectFileSystemType(const std::u16string& scheme, const std::u16string& fileSystem)
        : BaseMsgID(msgComponent, "IncorrectFileSystemType", scheme, fileSystem) {}
};
struct IncorrectValueForReplacementRule : resource_core::BaseMsgID {
    IncorrectValueForReplacementRule()
        : BaseMsgID(msgComponent, "IncorrectValueForReplacementRule") {}
};
} // namespace io::filesystem::common

namespace virtualfileio::path {
struct invalidIRI : resource_core::BaseMsgID {
    explicit invalidIRI(const std::u16string& text)
        : BaseMsgID("VEXA:virtualfileio:path", "invalidIRI", text) {}
};
} // namespace virtualfileio::path

} // namespace VEXA

#undef VEXA_PATH_ERROR_TAG
