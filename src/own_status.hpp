#pragma once

// What a path itself is, a final link not followed, from one look at the file system.

#include <fl/ustring.hpp>

namespace vexa::io::filesystem::core::detail {

enum class OwnItem {
    Link,
    NotLink,    // an item is there, and it is no link
    Unreadable, // nothing there, or its status could not be read: it has no type
};

// Never throws: a status that cannot be read is an answer.
OwnItem ownItem(const fl::ustring& path);

// The canonical path of an item that is there and no link: its folder's canonical path and
// its own name, which only the folder's resolution costs. False, `path` unchanged, when the
// folder cannot be resolved or the last name is no item of a folder (".", "..", a trailing
// "/" that would follow a link) or would come back from its bytes otherwise. Never throws.
bool resolveThroughFolder(fl::ustring& path);

} // namespace vexa::io::filesystem::core::detail
