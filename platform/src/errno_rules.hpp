#pragma once

// What an errno means to each layer of the platform that meets one: the native path
// operations (fl::filesystem) throw an exception of a kind, the file provider reports a
// storage code. One row per errno keeps both answers side by side, so that where they
// differ, they differ on purpose.

#include <foundation/storage/vfs/Exception.hpp>

#include <cerrno>

namespace fl::errno_rules {

// The fl::filesystem exception an errno becomes.
enum class FsysKind { FileExists, FileNameTooLarge, AccessDenied, PathNotFound, SystemError };

struct Row {
    int error;
    FsysKind fsys;
    int storageCode; // a foundation::storage::vfs::ErrorCode
};

namespace vfs = foundation::storage::vfs;

// clang-format off
inline constexpr Row rows[] = {
    // errno        fl::filesystem               storage code
    {EEXIST,       FsysKind::FileExists,       vfs::ResourceAlreadyExists},
    // The storage layer has no message for a name too long: to it, an unexpected failure.
    {ENAMETOOLONG, FsysKind::FileNameTooLarge, vfs::InternalError},
    {EACCES,       FsysKind::AccessDenied,     vfs::PermissionDenied},
    {EPERM,        FsysKind::AccessDenied,     vfs::PermissionDenied},
    {ENOENT,       FsysKind::PathNotFound,     vfs::ResourceNotFound},
    // A file in the middle of the path: a path that is not there to a native path
    // operation; the storage layer tells it apart (its message still says "not found").
    {ENOTDIR,      FsysKind::PathNotFound,     vfs::NotAFolder},
    {ENOTEMPTY,    FsysKind::SystemError,      vfs::FolderNotEmpty},
    {EROFS,        FsysKind::SystemError,      vfs::ReadOnlyProvider},
    {EFBIG,        FsysKind::SystemError,      vfs::FileTooLarge},
    {EBUSY,        FsysKind::SystemError,      vfs::ResourceInUse},
    {ETXTBSY,      FsysKind::SystemError,      vfs::ResourceInUse},
    {ENOSPC,       FsysKind::SystemError,      vfs::NoSpaceLeft},
    {EDQUOT,       FsysKind::SystemError,      vfs::NoSpaceLeft},
    {EIO,          FsysKind::SystemError,      vfs::IOError},
    // A link that cannot be followed: a native path operation keeps the number (callers
    // test for ELOOP); to the storage layer the item cannot be read.
    {ELOOP,        FsysKind::SystemError,      vfs::IOError},
};
// clang-format on

// Every errno without a row of its own.
inline constexpr Row otherErrno{0, FsysKind::SystemError, vfs::InternalError};

constexpr const Row& rowFor(int error) noexcept {
    for (const Row& row : rows)
        if (row.error == error)
            return row;
    return otherErrno;
}

} // namespace fl::errno_rules
