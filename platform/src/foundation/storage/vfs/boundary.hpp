#pragma once

// The one place where a provider's failure becomes a reported one: every call the VFS makes
// into a provider passes through atBoundary, so a provider only has to throw vfs::Exception
// with its code.

#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <string>
#include <utility>

namespace foundation::storage::vfs {

// Gives `failure` the context of `operation` on `path` when the provider gave it none (one
// from vfs::raise, with the storage's reason, is kept), and leaves its innermost context
// pending on this thread.
void recordFailure(Exception& failure, std::string operation, const fl::ustring& path);

// Forgets the looks a SharedLooks scope keeps: `location` may have changed.
void forgetLooks() noexcept;

// What `call()` gives; its vfs::Exception is recorded as the failure of `operation` on
// `location` before it passes on.
template <class Call>
decltype(auto) atBoundary(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                          std::string operation, Call&& call) {
    try {
        return std::forward<Call>(call)();
    } catch (Exception& failure) {
        recordFailure(failure, std::move(operation), provider.describe(location));
        throw;
    }
}

// A call that changes what is stored: looks kept from before it are forgotten, whether it
// succeeds or not (a failed change may have done part of its work).
template <class Call>
decltype(auto) changing(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                        std::string operation, Call&& call) {
    forgetLooks();
    return atBoundary(provider, location, std::move(operation), std::forward<Call>(call));
}

} // namespace foundation::storage::vfs
