#pragma once

// What the remote storage library gives the platform: one maker per provider, found by the
// one name vexaRemoteMakers once the library is loaded. Both sides are built from this
// header, so the table is read as it was written.
//
// A provider joins the library with its sources in one of the folders that
// platform/CMakeLists.txt builds into it, a maker here (set in makers.cpp), its schemes, and
// a make function in RemoteProviders.hpp (RemoteProviders.cpp) that the host's storage
// system adds.

#include <foundation/storage/provider/HttpOptions.hpp>
#include <foundation/storage/provider/S3Options.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>

#include <array>
#include <memory>
#include <string_view>

namespace foundation::storage::remote {

struct Makers {
    std::shared_ptr<const provider::StorageProvider> (*http)(const provider::HttpOptions&);
    std::shared_ptr<const provider::StorageProvider> (*dav)(const provider::HttpOptions&);
    std::shared_ptr<const provider::StorageProvider> (*s3)(const provider::S3Options&);
};

// The schemes each provider serves, known to the platform before the library is loaded.
inline constexpr std::array<std::string_view, 2> httpSchemes{"http", "https"};
inline constexpr std::array<std::string_view, 2> davSchemes{"dav", "davs"};
inline constexpr std::array<std::string_view, 1> s3Schemes{"s3"};

} // namespace foundation::storage::remote

// The library's one entry point, looked up by this name.
extern "C" const foundation::storage::remote::Makers* vexaRemoteMakers();
