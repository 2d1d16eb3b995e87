#pragma once

// Looks whose storage failures are answered rather than raised.

#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <utility>

// What `look()` gives, or `otherwise` when the storage layer fails it or the IRI layer
// refuses a location on the way. The failure leaves nothing pending for an operation to
// report as its own.
template <class Look> auto swallowingFailures(Look look, decltype(look()) otherwise) {
    namespace vfs = foundation::storage::vfs;
    return virtualfileio::answeringFailures(look, [&] {
        try {
            throw;
        } catch (const vfs::Exception&) {
        } catch (const vfs::InvalidIRIException&) {
        }
        return std::move(otherwise);
    });
}
