#pragma once

#include <cstdint>

namespace foundation::storage::provider {

// What stands at a location, as existsExtended reports it. Host code compares the numbers,
// so they never change.
enum ExistenceTypeExtended : std::int32_t {
    ExistsAsFile = 0,         // a regular file
    ExistsAsOtherItem = 1,    // another item that is not a folder: fifo, socket, device
    ExistsAsFolder = 2,
    ExistsAsLinkToFile = 3,   // a symbolic link to a file or another non-folder
    ExistsAsLinkToFolder = 4, // a symbolic link to a folder
    ExistsAsOtherLink = 5,    // a link of another kind that a provider reports
    ExistsAsNothing = 6,      // nothing usable: what queries answer instead of failing
};

} // namespace foundation::storage::provider
