#include <vexa/io/filesystem/core/parent_folders.hpp>

#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>

namespace vexa::io::filesystem::core {

namespace vfs = foundation::storage::vfs;

void createParentIfNeeded(const vfs::AbsoluteIRI& iri, const vfs::StorageSystemReference& storage) {
    if (!iri.hasParent())
        return;
    const vfs::AbsoluteIRI parent = iri.getParent();
    // Only "nothing there" is acted on: a file where the folder should be is for the
    // operation that needs the folder to report.
    if (vfs::exists(parent, storage) == vfs::existence::nothing)
        vfs::Folder(parent, storage).createFolderRecursive();
}

} // namespace vexa::io::filesystem::core
