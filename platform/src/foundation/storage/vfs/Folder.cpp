#include <foundation/storage/vfs/Folder.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <algorithm>

namespace foundation::storage::vfs {
namespace {

using provider::StorageProvider;

// Whether all of `name` matches `pattern`, where "*" stands for any run of code units and
// "?" for any one. Backtracks to the last "*" only, so it never takes more than
// name.size() * pattern.size() steps.
bool matchesWildcard(fl::ustring_view name, fl::ustring_view pattern) {
    std::size_t n = 0, p = 0;
    std::size_t starAt = fl::ustring_view::npos, resumeAt = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++n;
            ++p;
        } else if (p < pattern.size() && pattern[p] == u'*') {
            starAt = p++;
            resumeAt = n;
        } else if (starAt != fl::ustring_view::npos) {
            p = starAt + 1;
            n = ++resumeAt;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*')
        ++p;
    return p == pattern.size();
}

// Looks before it makes: a folder that is there is left alone, and a folder is made only
// once the one above it is there. A failure on the way names the level that failed.
void createWithAncestors(const StorageProvider& provider, const AbsoluteIRI& folder) {
    const provider::ItemStatus status = provider.probe(folder);
    if (provider::isFolder(status))
        return;
    // Only a missing folder has ancestors worth making; a path through a file, or an item
    // standing where the folder should be, fails below with its own code.
    if (status.type == provider::ItemType::Nothing &&
        status.missingCode == ResourceNotFound && folder.hasParent())
        createWithAncestors(provider, folder.getParent());
    const virtualfileio::PendingContextScope raceLeavesNoContext;
    try {
        provider.createFolder(folder);
    } catch (const Exception& error) {
        // Another process may have made it since the look: that is what was asked for.
        if (error.getErrorCode() != ResourceAlreadyExists ||
            !provider::isFolder(provider.probe(folder)))
            throw;
    }
}

} // namespace

Folder::Folder(const AbsoluteIRI& location, StorageSystemReference storage)
    : StorageItem(location, std::move(storage)) {}

std::vector<fl::ustring> Folder::listAll(const fl::ustring& filter) const {
    std::vector<fl::ustring> names;
    for (auto& entry : provider()->list(getLocation()))
        if (filter.empty() || matchesWildcard(entry.name, filter))
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
    const auto provider = this->provider();
    const provider::ItemStatus status = provider->probe(getLocation());
    if (const auto code = provider::unreachableBecause(status))
        raise(*code, "attributes", provider->describe(getLocation()));
    return provider::FolderAttributes(status.lastModified);
}

} // namespace foundation::storage::vfs
