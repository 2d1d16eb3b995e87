#include <host/Listing.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <fl/wildcard.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

namespace fs = fl::filesystem;
namespace vfs = foundation::storage::vfs;
using foundation::storage::provider::ItemType;
using Quarrow::current_working_folder::FailedToAbsolutizeException;
using Quarrow::current_working_folder::ICurrentWorkingFolder;

// The entry that a last component without wildcards names, if it is there. The system
// resolves the whole path, so "x/." and "x/.." are there whenever the folder x is.
std::vector<FileNameWithStat> entryNamed(const fl::ustring& name, const vfs::AbsoluteIRI& location,
                                         const vfs::StorageSystemReference& storage) {
    const ItemType type = storage->providerFor(location)->probe(location).type;
    if (type == ItemType::Nothing)
        return {};
    return {{name, type}};
}

std::vector<FileNameWithStat> entriesMatching(const fl::ustring& filter,
                                              const vfs::AbsoluteIRI& folder,
                                              const vfs::StorageSystemReference& storage) {
    // Read through the folder's provider, not a Folder made for it: the listing of a large
    // tree makes one per folder, and a Folder holds a copy of its location. The provider
    // filters where its store can.
    const auto cursor = storage->providerFor(folder)->listPages(folder, filter);
    auto page = cursor->next();
    std::vector<FileNameWithStat> entries;
    // One page holds the whole of most folders.
    entries.reserve(page.size() + 2);
    // The storage leaves out the two names every folder has; they match like any other.
    for (const fl::ustring* own :
         {&fs::upath_constant::CURRENT_DIRECTORY, &fs::upath_constant::PARENT_DIRECTORY})
        if (fl::matchesWildcard(*own, filter))
            entries.push_back({*own, ItemType::Folder});
    for (; !page.empty(); page = cursor->next())
        for (auto& entry : page)
            entries.push_back({std::move(entry.name), entry.type});
    std::sort(entries.begin(), entries.end(),
              [](const FileNameWithStat& a, const FileNameWithStat& b) { return a.name < b.name; });
    return entries;
}

std::vector<FileNameWithStat> list(const fl::ustring& pattern,
                                   const ICurrentWorkingFolder& current) {
    const fl::ustring last = fs::detail::last_component(pattern);
    if (last.empty())
        return {};
    // A listing answers for what it can see: a folder it cannot read has no entries, and
    // its failure is nobody's to report.
    const virtualfileio::PendingContextScope unreadableFoldersLeaveNoContext;
    try {
        const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
        if (!fl::hasWildcard(last))
            return entryNamed(last, current.absolutize(pattern), storage);
        return entriesMatching(last, current.absolutize(fs::detail::extract_parent_path(pattern)),
                               storage);
    } catch (const vfs::Exception&) {
    } catch (const vfs::InvalidIRIException&) {
        // A name holding U+0000: no entry can have it.
    } catch (const FailedToAbsolutizeException&) {
        // The current folder is gone: a relative pattern names nothing.
    }
    return {};
}

} // namespace

char* ioGetDirList(const char* pattern, unsigned int,
                   boost::optional<const ICurrentWorkingFolder&> current) {
    if (pattern == nullptr)
        return nullptr;
    const auto entries =
        list(fl::i18n::to_ustring(pattern),
             current ? *current : Quarrow::current_working_folder::GetCurrentWorkingFolder());
    if (entries.empty())
        return nullptr;
    std::string names;
    for (const auto& entry : entries) {
        names += fl::i18n::to_string(entry.name);
        names += '\0';
    }
    names += '\0';
    // Released with utFree, by code that may not know C++: malloc's block.
    char* block = static_cast<char*>(std::malloc(names.size()));
    if (block == nullptr)
        throw std::bad_alloc();
    std::memcpy(block, names.data(), names.size());
    return block;
}

void utFree(void* block) {
    std::free(block);
}

void ioGetDirList(const fl::ustring& pattern, std::vector<FileNameWithStat>& out, bool) {
    out = list(pattern, Quarrow::current_working_folder::GetCurrentWorkingFolder());
}
