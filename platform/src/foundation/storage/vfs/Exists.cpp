#include <foundation/storage/vfs/Exists.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Look.hpp>

namespace foundation::storage::vfs {

using provider::ItemType;

int exists(const AbsoluteIRI& location, const StorageSystemReference& storage) {
    const auto provider = storage->providerFor(location);
    const provider::ItemStatus status = look(*provider, location, provider::Facts::Kind, "exists");
    switch (provider::followed(status)) {
    case ItemType::Folder:
        return existence::folder;
    case ItemType::Nothing:
        // A dangling link leads to nothing; one that loops is a failure to look.
        if (status.type == ItemType::Link && status.targetCode != ResourceNotFound)
            raise(status.targetCode, "exists", provider->describe(location));
        return existence::nothing;
    default:
        return existence::file;
    }
}

ExtendedExistence lookUpExtended(const AbsoluteIRI& location,
                                 const StorageSystemReference& storage) {
    const provider::ItemStatus status =
        look(*storage->providerFor(location), location, provider::Facts::Kind, "existsExtended");
    switch (status.type) {
    case ItemType::Nothing:
        return {provider::ExistsAsNothing, status.missingCode};
    case ItemType::File:
        return {provider::ExistsAsFile};
    case ItemType::Other:
        return {provider::ExistsAsOtherItem};
    case ItemType::Folder:
        return {provider::ExistsAsFolder};
    case ItemType::Link:
        break;
    }
    switch (status.target) {
    case ItemType::Nothing:
        // Dangling or looping alike: the link cannot be followed.
        return {provider::ExistsAsNothing, IOError};
    case ItemType::Folder:
        return {provider::ExistsAsLinkToFolder};
    case ItemType::Link: // a provider whose links lead to links it does not follow
        return {provider::ExistsAsOtherLink};
    default:
        return {provider::ExistsAsLinkToFile};
    }
}

Exception failureOf(const ExtendedExistence& look, const AbsoluteIRI& location,
                    const StorageSystemReference& storage) {
    const fl::ustring path = storage->providerFor(location)->describe(location);
    Exception failure(look.failureCode, path);
    failure.addContext(makeContext("existsExtended", path, look.failureCode));
    return failure;
}

provider::ExistenceTypeExtended existsExtended(const AbsoluteIRI& location,
                                               const StorageSystemReference& storage) {
    const ExtendedExistence look = lookUpExtended(location, storage);
    if (!look.answered())
        raise(failureOf(look, location, storage));
    return look.type;
}

} // namespace foundation::storage::vfs
