#include <Quarrow/VexaStorageSystem.hpp>

#include <fl/ascii.hpp>
#include <foundation/storage/provider/LocalFileProvider.hpp>
#include <foundation/storage/provider/RemoteProviders.hpp>

#include <mutex>

namespace Quarrow::VexaStorageSystem {
namespace {

using foundation::storage::vfs::StorageSystem;
using foundation::storage::vfs::StorageSystemReference;

struct HostStorage {
    std::mutex mutex;
    // Every provider the platform has, so that a host program that sets none still reaches
    // remote storage; one it adds for a scheme replaces the one here. The remote ones load
    // their code at their first use.
    StorageSystemReference current{[] {
        namespace provider = foundation::storage::provider;
        auto system = std::make_shared<StorageSystem>();
        system->addProvider(std::make_shared<provider::LocalFileProvider>());
        system->addProvider(provider::makeHttpProvider());
        system->addProvider(provider::makeDavProvider());
        // Its endpoint, region and credentials from the AWS environment and shared files.
        system->addProvider(provider::makeS3Provider());
        return system;
    }()};
};

HostStorage& hostStorage() {
    static HostStorage storage;
    return storage;
}

} // namespace

StorageSystemReference GetStorageSystemReference() {
    HostStorage& storage = hostStorage();
    std::lock_guard lock(storage.mutex);
    return storage.current;
}

StorageSystemReference SetStorageSystemReference(StorageSystemReference system) {
    HostStorage& storage = hostStorage();
    std::lock_guard lock(storage.mutex);
    return std::exchange(storage.current, std::move(system));
}

} // namespace Quarrow::VexaStorageSystem

namespace foundation::storage::vfs {

std::vector<fl::ustring> knownSchemes() {
    std::vector<fl::ustring> schemes;
    for (const std::string& scheme :
         Quarrow::VexaStorageSystem::GetStorageSystemReference()->schemes())
        schemes.emplace_back(scheme.begin(), scheme.end());
    return schemes;
}

bool hasIRIPrefix(const fl::ustring& text) {
    const auto scheme = fl::ascii::schemeOf(text);
    if (!scheme)
        return false;
    return Quarrow::VexaStorageSystem::GetStorageSystemReference()->findProvider(
               fl::ascii::toLowerNarrow(*scheme)) != nullptr;
}

} // namespace foundation::storage::vfs
