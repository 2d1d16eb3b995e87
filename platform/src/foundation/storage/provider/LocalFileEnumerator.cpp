// The `file` provider listing a folder.

#include <foundation/storage/provider/LocalFileProvider.hpp>

#include "LocalFile.hpp"

#include <fl/i18n.hpp>

#include <cerrno>
#include <cstring>
#include <memory>

#include <dirent.h>

namespace foundation::storage::provider {
namespace {

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

bool isDotOrDotDot(const char* name) noexcept {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

std::vector<FolderEntry> LocalFileProvider::list(const vfs::AbsoluteIRI& folder) const {
    const auto path = local::localPath(folder, "list");
    // readdir reads the folder in large getdents64 batches, not one call per name.
    const std::unique_ptr<DIR, CloseFolder> stream(::opendir(path.native.c_str()));
    if (!stream)
        local::fail("list", path);
    std::vector<FolderEntry> entries;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.get());
        if (!entry)
            break;
        if (!isDotOrDotDot(entry->d_name))
            entries.push_back(
                {fl::i18n::to_ustring(entry->d_name), local::typeOf(DTTOIF(entry->d_type))});
    }
    if (errno != 0)
        local::fail("list", path);
    return entries;
}

} // namespace foundation::storage::provider
