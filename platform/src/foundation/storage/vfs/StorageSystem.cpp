#include <foundation/storage/vfs/StorageSystem.hpp>

#include <foundation/core/except/Exception.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <algorithm>
#include <mutex>

namespace foundation::storage::vfs {
namespace {

// Read off the IRI's own text, which is lower case already: no copy.
std::string_view schemeOf(const AbsoluteIRI& location) {
    const std::string_view text = location.toIRI().uriText();
    return text.substr(0, text.find(':'));
}

} // namespace

void StorageSystem::addProvider(std::shared_ptr<const provider::StorageProvider> provider) {
    const std::vector<std::string> served = provider->schemes();
    std::unique_lock lock(mutex_);
    for (const std::string& scheme : served) {
        auto slot = std::find_if(providers_.begin(), providers_.end(),
                                 [&](const auto& entry) { return entry.first == scheme; });
        if (slot != providers_.end())
            slot->second = provider;
        else
            providers_.emplace_back(scheme, provider);
    }
}

std::shared_ptr<const provider::StorageProvider>
StorageSystem::findProvider(std::string_view scheme) const {
    std::shared_lock lock(mutex_);
    for (const auto& [served, provider] : providers_)
        if (served == scheme)
            return provider;
    return nullptr;
}

std::shared_ptr<const provider::StorageProvider>
StorageSystem::providerFor(const AbsoluteIRI& location) const {
    auto provider = findProvider(schemeOf(location));
    if (!provider)
        raise(UnsupportedOperation, "find provider", location.toString());
    return provider;
}

fl::ustring StorageSystem::describe(const AbsoluteIRI& location) const {
    const auto provider = findProvider(schemeOf(location));
    return provider ? provider->describe(location) : location.toString();
}

std::vector<std::string> StorageSystem::schemes() const {
    std::shared_lock lock(mutex_);
    std::vector<std::string> names;
    names.reserve(providers_.size());
    for (const auto& entry : providers_)
        names.push_back(entry.first);
    return names;
}

StorageSystemReference::StorageSystemReference(std::shared_ptr<StorageSystem> system)
    : system_(std::move(system)) {
    // Every operation goes through the reference: a null one would fail far from its cause.
    if (!system_)
        throw core::except::Exception<core::except::IInternalException>(
            "a storage system reference needs a storage system");
}

} // namespace foundation::storage::vfs
