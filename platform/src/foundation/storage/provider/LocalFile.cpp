#include "LocalFile.hpp"

#include "foundation/network/iri_text.hpp"

#include <fl/filesystem.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <cerrno>
#include <utility>

namespace foundation::storage::provider::local {

std::optional<LocalPath> tryLocalPath(const vfs::AbsoluteIRI& location) {
    LocalPath path;
    // The path as GetStringFromIRI gives it, taken as bytes straight from the IRI: the
    // system calls want bytes, and only a message wants the text.
    if (network::detail::isFileIRI(location.toIRI())) {
        auto native = network::detail::nativePathOf(location.toIRI());
        if (!native)
            return std::nullopt;
        path.native = std::move(*native);
    } else {
        path.native = fl::filesystem::detail::to_native(location.toString());
    }
    // "file:///d/f.txt/" names the file "/d/f.txt", as the IRI layer reads its name.
    if (path.native.size() > 1 && path.native.back() == '/')
        path.native.pop_back();
    return path;
}

LocalPath localPath(const vfs::AbsoluteIRI& location, const char* operation) {
    auto path = tryLocalPath(location);
    if (!path)
        vfs::raise(vfs::ResourceNotFound, operation, location.toString());
    return std::move(*path);
}

void fail(const char* operation, const LocalPath& path) {
    const int error = errno; // before the text is made
    vfs::throwFromErrno(error, operation, path.text());
}

ItemType typeOf(mode_t mode) noexcept {
    switch (mode & S_IFMT) {
    case 0: // DTTOIF(DT_UNKNOWN): the file system does not say; look for yourself
        return ItemType::Nothing;
    case S_IFREG:
        return ItemType::File;
    case S_IFDIR:
        return ItemType::Folder;
    case S_IFLNK:
        return ItemType::Link;
    default:
        return ItemType::Other;
    }
}

} // namespace foundation::storage::provider::local
