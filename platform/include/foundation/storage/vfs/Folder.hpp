#pragma once

#include <foundation/storage/provider/FolderAttributes.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/StorageItem.hpp>

#include <fl/ustring.hpp>

#include <memory>
#include <vector>

namespace foundation::storage::vfs {

// A folder at a location. Each operation asks the provider of the location's scheme and
// throws vfs::Exception when it fails.
class Folder : public StorageItem {
public:
    Folder(const AbsoluteIRI& location, StorageSystemReference storage);

    // The names of the folder's entries that match `filter` (fl/wildcard.hpp; an empty
    // filter matches every name), in code-unit order, without "." and "..".
    std::vector<fl::ustring> listAll(const fl::ustring& filter) const;
    // The same entries with what the listing tells of each (a link is a Link, whatever it
    // leads to; size, time and tag where the store gave them), read in one pass over the
    // folder.
    std::vector<provider::FolderEntry> listEntries(const fl::ustring& filter) const;
    // The same entries page by page as the store hands them, in no particular order: a walk
    // of a large folder holds one page at a time. A failure, whether the folder cannot be
    // opened or a later page cannot be read, is recorded as every storage failure is.
    std::unique_ptr<provider::FolderCursor> listPages(const fl::ustring& filter) const;
    // Every item below the folder at any depth, each named by its path below it ("a/b.txt"),
    // where the store lists a whole tree in fewer requests than folder by folder (an object
    // store's keys); none where it does not. Failures are recorded as listPages's are.
    std::unique_ptr<provider::FolderCursor> listTree() const;
    // Makes the folder and every missing folder above it. A folder that is there already is
    // left as it is; anything else standing in the way fails (ResourceAlreadyExists for the
    // folder itself, NotAFolder for a file on the way).
    void createFolderRecursive() const;
    provider::FolderAttributes getAttributes() const;
    // Removes the folder when it is empty; FolderNotEmpty otherwise.
    void removeFolder() const;
};

} // namespace foundation::storage::vfs
