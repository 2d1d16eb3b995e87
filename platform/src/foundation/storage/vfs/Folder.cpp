#include <foundation/storage/vfs/Folder.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Look.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "boundary.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <span>
#include <utility>

namespace foundation::storage::vfs {
namespace {

using provider::StorageProvider;

// Looks before it makes: a folder that is there is left alone, and a folder is made only
// once the one above it is there. A failure on the way names the level that failed.
void createWithAncestors(const StorageProvider& provider, const AbsoluteIRI& folder) {
    const provider::ItemStatus status =
        look(provider, folder, provider::Facts::Kind, "createFolder");
    if (provider::isFolder(status))
        return;
    // Only a missing folder has ancestors worth making; a path through a file, or an item
    // standing where the folder should be, fails below with its own code.
    if (status.type == provider::ItemType::Nothing && status.missingCode == ResourceNotFound &&
        folder.hasParent())
        createWithAncestors(provider, folder.getParent());
    virtualfileio::answeringFailures(
        [&] { changing(provider, folder, "createFolder", [&] { provider.createFolder(folder); }); },
        [&] {
            try {
                throw;
            } catch (const Exception& error) {
                // Another process may have made it since the look: that is what was asked for.
                if (error.getErrorCode() != ResourceAlreadyExists ||
                    !provider::isFolder(
                        look(provider, folder, provider::Facts::Kind, "createFolder")))
                    throw;
            }
        });
}

// A provider's cursor whose pages are read through the boundary, as its opening was.
class RecordedCursor final : public provider::FolderCursor {
public:
    RecordedCursor(std::shared_ptr<const StorageProvider> provider, AbsoluteIRI folder,
                   std::unique_ptr<provider::FolderCursor> pages)
        : provider_(std::move(provider)), folder_(std::move(folder)), pages_(std::move(pages)) {}

    std::span<provider::FolderEntry> next() override {
        return atBoundary(*provider_, folder_, "list", [&] { return pages_->next(); });
    }

private:
    // Kept while the cursor lives: its pages may be the provider's to read.
    std::shared_ptr<const StorageProvider> provider_;
    AbsoluteIRI folder_;
    std::unique_ptr<provider::FolderCursor> pages_;
};

} // namespace

Folder::Folder(const AbsoluteIRI& location, StorageSystemReference storage)
    : StorageItem(location, std::move(storage)) {}

std::unique_ptr<provider::FolderCursor> Folder::listPages(const fl::ustring& filter) const {
    auto provider = this->provider();
    auto pages = atBoundary(*provider, getLocation(), "list",
                            [&] { return provider->listPages(getLocation(), filter); });
    return std::make_unique<RecordedCursor>(std::move(provider), getLocation(), std::move(pages));
}

std::unique_ptr<provider::FolderCursor> Folder::listTree() const {
    auto provider = this->provider();
    auto pages = atBoundary(*provider, getLocation(), "list",
                            [&] { return provider->listTree(getLocation()); });
    if (!pages)
        return nullptr;
    return std::make_unique<RecordedCursor>(std::move(provider), getLocation(), std::move(pages));
}

std::vector<provider::FolderEntry> Folder::listEntries(const fl::ustring& filter) const {
    std::vector<provider::FolderEntry> entries;
    const auto cursor = listPages(filter);
    for (auto page = cursor->next(); !page.empty(); page = cursor->next())
        entries.insert(entries.end(), std::make_move_iterator(page.begin()),
                       std::make_move_iterator(page.end()));
    std::sort(entries.begin(), entries.end(),
              [](const provider::FolderEntry& a, const provider::FolderEntry& b) {
                  return a.name < b.name;
              });
    return entries;
}

std::vector<fl::ustring> Folder::listAll(const fl::ustring& filter) const {
    std::vector<fl::ustring> names;
    const auto cursor = listPages(filter);
    for (auto page = cursor->next(); !page.empty(); page = cursor->next())
        for (provider::FolderEntry& entry : page)
            names.push_back(std::move(entry.name));
    std::sort(names.begin(), names.end());
    return names;
}

void Folder::createFolderRecursive() const {
    createWithAncestors(*provider(), getLocation());
}

provider::FolderAttributes Folder::getAttributes() const {
    // A folder's attributes are its time alone, which the look gives: a file's attributes
    // would also ask whether it may be written.
    return provider::FolderAttributes(
        reached(*provider(), getLocation(), provider::Facts::Kind, "attributes").lastModified);
}

void Folder::removeFolder() const {
    const auto provider = this->provider();
    changing(*provider, getLocation(), "removeFolder",
             [&] { provider->removeFolder(getLocation()); });
}

} // namespace foundation::storage::vfs
