#pragma once

// The content type the storage records for an item (such as a web server's Content-Type).

#include <fl/ustring.hpp>

namespace vexa::io::filesystem::core {

// The item's "http.contentType" extended attribute; "" when it has none. Never throws: a
// path that names nothing, or an item that cannot be read, also gives "", and the failure
// is logged at the caught-error level.
fl::ustring getContentTypeCaller(const fl::ustring& path);

} // namespace vexa::io::filesystem::core
