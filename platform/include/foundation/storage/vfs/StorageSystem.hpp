#pragma once

// The storage system: the providers of the known schemes, and the shared handle through
// which every storage operation reaches them.

#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::storage::vfs {

// Providers by scheme. Safe to use from several threads, also while a provider is added.
class StorageSystem {
public:
    // Serves each of the provider's schemes with it, in place of the provider it had.
    void addProvider(std::shared_ptr<const provider::StorageProvider> provider);

    // The provider for a lower-case scheme; null when there is none.
    std::shared_ptr<const provider::StorageProvider> findProvider(std::string_view scheme) const;
    // The provider for the location's scheme; UnsupportedOperation when there is none.
    std::shared_ptr<const provider::StorageProvider> providerFor(const AbsoluteIRI& location) const;

    // How messages name the location: its provider's way, or its IRI text when no provider
    // serves its scheme.
    fl::ustring describe(const AbsoluteIRI& location) const;

    // The schemes with a provider, in lower case and in the order they were first served.
    std::vector<std::string> schemes() const;

private:
    mutable std::shared_mutex mutex_;
    std::vector<std::pair<std::string, std::shared_ptr<const provider::StorageProvider>>>
        providers_;
};

// A counted handle to a storage system: copies share it, and the system lives as long as
// one of them does.
class StorageSystemReference {
public:
    // A null system is refused (an internal exception).
    explicit StorageSystemReference(std::shared_ptr<StorageSystem> system);

    StorageSystem& operator*() const noexcept { return *system_; }
    StorageSystem* operator->() const noexcept { return system_.get(); }

    friend bool operator==(const StorageSystemReference& a,
                           const StorageSystemReference& b) noexcept {
        return a.system_ == b.system_;
    }

private:
    std::shared_ptr<StorageSystem> system_;
};

} // namespace foundation::storage::vfs
