#pragma once

namespace foundation::storage::vfs {

// How a write stream treats an item already at its location: `create` fails with
// ResourceAlreadyExists when something is there; `replace` puts the new content in its
// place once the stream is closed.
enum class WriteMode { create, replace };

} // namespace foundation::storage::vfs
