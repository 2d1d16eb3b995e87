#pragma once

// The host's folder listing services: the entries whose names match the last component
// of a pattern, in the folder the rest of the pattern names.
//
// The last component is matched with "*" and "?" (fl/wildcard.hpp) against the names of
// the folder, "." and ".." included: every folder has them. A last component without
// wildcards names at most one entry, the one of that name. The folder is the pattern's text
// before its last "/" (the root for "/x", the current folder when there is none), made a
// location as the current folder's absolutize makes it. Names come in code-unit order.
//
// A folder that cannot be read (missing, not a folder, no permission, an unreadable disk)
// has no entries here, and its failure is not left pending; nor has an empty last
// component ("/data/", "/"). Each folder is read once, in large batches.

#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <foundation/storage/provider/ItemStatus.hpp>

#include <fl/ustring.hpp>

#include <boost/optional.hpp>

#include <vector>

// One entry of a listing.
struct FileNameWithStat {
    fl::ustring name;
    // The entry itself as the listing saw it (a link is a Link, whatever it leads to);
    // Nothing when the storage does not say, as some file systems do not.
    foundation::storage::provider::ItemType type = foundation::storage::provider::ItemType::Nothing;
};

// The matching names as 8-bit text (UTF-8, every byte of a name kept), each ended by a NUL,
// the last followed by an empty name; null when nothing matches. The block is the caller's,
// to be released with utFree. A relative pattern is taken from `current` when given, else
// from the host's current folder. The number is accepted for other hosts and not used.
char* ioGetDirList(
    const char* pattern, unsigned int,
    boost::optional<const Quarrow::current_working_folder::ICurrentWorkingFolder&> current);

// Releases a block that ioGetDirList returned; null is allowed.
void utFree(void* block);

// Replaces `out` with the matching entries, writing over the names it holds: a caller that
// lists folder after folder into one vector allocates only for names longer than those
// before. The flag is accepted for other hosts and not used.
void ioGetDirList(const fl::ustring& pattern, std::vector<FileNameWithStat>& out, bool);
