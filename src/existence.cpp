#include <vexa/io/filesystem/core/existence.hpp>

#include <vexa/io/filesystem/core/path_predicates.hpp>

#include "native_text.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <cstdint>

namespace vexa::io::filesystem::core {
namespace {

namespace vfs = foundation::storage::vfs;
using foundation::storage::provider::ExistenceTypeExtended;

std::uint32_t unsignedValue(ExistenceTypeExtended type) {
    return static_cast<std::uint32_t>(type);
}

// Whether the native file system sees a link at the location: one that leads nowhere
// (status reports the link itself) or a loop of links. Only SystemError is an answer here;
// every other failure of the probe reaches the caller.
bool nativeProbeFindsLink(const vfs::AbsoluteIRI& iri) {
    fl::ustring path = nativeTextOf(iri);
    // The storage reads "dangling/" as the item "dangling"; so does this look, or the link's
    // missing target would be all it saw.
    if (path.size() > 1 && path.back() == u'/')
        path.pop_back();
    try {
        const auto status = fl::filesystem::status(path);
        return (status.mode() & fl::filesystem::file_status::file_type_mask) ==
               fl::filesystem::file_status::symlink_file;
    } catch (const fl::filesystem::SystemError& error) {
        return error.code() == platformSpecificErrorCode();
    }
}

} // namespace

bool isFile(ExistenceTypeExtended type) {
    return unsignedValue(type) <= 1;
}

bool isFolder(ExistenceTypeExtended type) {
    return unsignedValue(type) == 2;
}

bool isSymlink(ExistenceTypeExtended type) {
    return unsignedValue(type) - 3 <= 2;
}

ExistenceTypeExtended getExtendedExistenceType(const vfs::AbsoluteIRI& iri, bool throwOnError) {
    const vfs::StorageSystemReference storage =
        Quarrow::VexaStorageSystem::GetStorageSystemReference();
    // Missing items and paths through files are what they say; only an I/O failure may be a
    // link that cannot be followed, which is an item worth reporting.
    const auto onFailure = [&](int code, auto makeError) {
        if (code == vfs::IOError && nativeProbeFindsLink(iri))
            return foundation::storage::provider::ExistsAsLinkToFile;
        if (throwOnError)
            vfs::raise(vfs::Exception(makeError())); // the storage layer's type, by value
        return foundation::storage::provider::ExistsAsNothing;
    };
    return virtualfileio::answeringFailures(
        [&] {
            // What existsExtended would raise comes back as an answer here: a query for a
            // missing item costs no exception unless the caller wants one.
            const vfs::ExtendedExistence look = vfs::lookUpExtended(iri, storage);
            if (look.answered())
                return look.type;
            return onFailure(look.failureCode, [&] { return vfs::failureOf(look, iri, storage); });
        },
        [&] {
            try {
                throw;
            } catch (const vfs::Exception& error) {
                return onFailure(error.getErrorCode(), [&] { return error; });
            }
        });
}

} // namespace vexa::io::filesystem::core
