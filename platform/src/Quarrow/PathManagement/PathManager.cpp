#include <Quarrow/PathManagement/PathManager.hpp>

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include "swallowed_failures.hpp"

#include "location_rules.hpp"

#include <memory>

namespace Quarrow::PathManagement {
namespace {

namespace vfs = foundation::storage::vfs;
using location_rules::comparableText;
using location_rules::isAtOrAbove;

bool isSpecialName(fl::ustring_view name) {
    return (name.size() > 1 && (name.front() == u'+' || name.front() == u'@')) ||
           name == u"private";
}

bool isFolderAt(const vfs::AbsoluteIRI& location, const vfs::StorageSystemReference& storage) {
    return swallowingFailures(
        [&] { return vfs::exists(location, storage) == vfs::existence::folder; }, false);
}

// A scan answers for what it can see: the special subfolders (links to folders included)
// of a folder that is missing or unreadable are none; one gone or out of reach since it
// was listed is not on the path.
std::vector<fl::ustring> specialSubfoldersOf(const fl::ustring& folder) {
    const auto storage = VexaStorageSystem::GetStorageSystemReference();
    return swallowingFailures(
        [&] {
            const auto location = vfs::toCanonicalAbsoluteIRI(u"file", folder);
            std::vector<fl::ustring> names = vfs::Folder(location, storage).listAll(u"");
            std::erase_if(names, [&](const fl::ustring& name) {
                return !isSpecialName(name) ||
                       !isFolderAt(vfs::CanonicalAbsoluteIRI(location, name), storage);
            });
            return names; // in code-unit order, as listed
        },
        std::vector<fl::ustring>{});
}

} // namespace

PathManager::PathManager(const std::vector<fl::ustring>& folders) {
    SetSearchPath(folders);
}

void PathManager::SetSearchPath(const std::vector<fl::ustring>& folders) {
    std::vector<Entry> entries;
    entries.reserve(folders.size());
    for (const fl::ustring& folder : folders) {
        auto named = location_rules::nameFolder(folder);
        Entry entry;
        entry.state.folder = std::move(named.text);
        entry.iriText = std::move(named.comparable);
        entries.push_back(std::move(entry));
    }
    std::lock_guard lock(mutex_);
    entries_ = std::move(entries);
}

std::vector<fl::ustring> PathManager::GetSearchPath() const {
    std::lock_guard lock(mutex_);
    std::vector<fl::ustring> folders;
    for (const Entry& entry : entries_)
        folders.push_back(entry.state.folder);
    return folders;
}

std::vector<PathEntry> PathManager::GetEntries() const {
    std::lock_guard lock(mutex_);
    std::vector<PathEntry> states;
    for (const Entry& entry : entries_)
        states.push_back(entry.state);
    return states;
}

std::size_t PathManager::GetNotificationCount() const {
    std::lock_guard lock(mutex_);
    return notifications_;
}

void PathManager::NotifyUpstreamPathEntriesOfPossibleSpecialSubfolderChanges(
    const vfs::AbsoluteIRI& folder) {
    const fl::ustring changed = comparableText(folder);
    std::lock_guard lock(mutex_);
    ++notifications_;
    for (Entry& entry : entries_) {
        if (isAtOrAbove(entry.iriText, changed)) {
            entry.state.outOfDate = true;
            ++entry.state.notifications;
        }
    }
}

void PathManager::Refresh(int scope) {
    std::vector<fl::ustring> folders;
    {
        std::lock_guard lock(mutex_);
        for (const Entry& entry : entries_)
            if (scope == 0 || entry.state.outOfDate)
                folders.push_back(entry.state.folder);
    }
    // Scanning reads folders: done without the lock, then stored for the entries that are
    // still on the path.
    std::vector<std::pair<fl::ustring, std::vector<fl::ustring>>> scanned;
    for (const fl::ustring& folder : folders)
        scanned.emplace_back(folder, specialSubfoldersOf(folder));
    std::lock_guard lock(mutex_);
    for (auto& [folder, names] : scanned) {
        for (Entry& entry : entries_) {
            if (entry.state.folder != folder)
                continue;
            entry.state.specialSubfolders = names;
            entry.state.outOfDate = false;
            ++entry.state.scans;
        }
    }
}

} // namespace Quarrow::PathManagement
