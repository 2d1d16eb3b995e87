#include <host/Standalone.hpp>

#include <host/EngineDispatcher.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <foundation/storage/vfs/Exists.hpp>

#include "swallowed_failures.hpp"

#include <atomic>
#include <optional>

namespace {

namespace vfs = foundation::storage::vfs;

std::atomic<bool> standaloneMode{false};

// `name` in `folder`, joined as written.
fl::ustring entryPath(const fl::ustring& folder, const fl::ustring& name) {
    const auto& separator = fl::filesystem::upath_constant::PATHNAME_SEPARATOR;
    return folder.ends_with(separator) ? folder + name : folder + separator + name;
}

// Asked of the storage layer, as every other look of the host: what a folder's entry is
// there for is what it leads to, and a folder that cannot be looked into holds nothing.
bool existsAt(const fl::ustring& path, const vfs::StorageSystemReference& storage) {
    return swallowingFailures(
        [&] {
            return vfs::exists(vfs::toAbsoluteIRI(u"file", path), storage) !=
                   vfs::existence::nothing;
        },
        false);
}

std::optional<fl::ustring> currentFolder() {
    try {
        return EngineDispatcher::getDispatcher().GetCurrentWorkingFolder().getPath();
    } catch (const Quarrow::current_working_folder::FailedToAbsolutizeException&) {
        return std::nullopt; // removed: it holds nothing
    }
}

} // namespace

bool svIsStandaloneMode() {
    return standaloneMode.load();
}

void svSetStandaloneMode(bool on) {
    standaloneMode.store(on);
}

void svFindFirstFileNameW(const fl::ustring& name, bool, fl::ustring& out) {
    out.clear();
    if (name.empty() || fl::filesystem::detail::is_absolute(name))
        return;
    const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
    const auto foundIn = [&](const fl::ustring& folder) {
        fl::ustring path = entryPath(folder, name);
        if (!existsAt(path, storage))
            return false;
        out = std::move(path);
        return true;
    };
    if (const auto current = currentFolder(); current && foundIn(*current))
        return;
    for (const fl::ustring& folder :
         EngineDispatcher::getDispatcher().GetCurrentPathManager()->GetSearchPath())
        if (foundIn(folder))
            return;
}
