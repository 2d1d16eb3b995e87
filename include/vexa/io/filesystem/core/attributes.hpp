#pragma once

// The four facts a host shows beside a path: can it be read, can it be written, when was it
// last modified, how large is it. They are found by trying, not by reading permission bits,
// so they answer for the process that asks.

#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include <fl/ustring.hpp>

#include <boost/date_time/posix_time/ptime.hpp>
#include <boost/variant/variant.hpp>

#include <cstdint>

namespace vexa::io::filesystem::core {

// An item's attributes. The default record (both flags false, no time, size 0) is what a
// host shows for an item that is neither a file nor a folder.
struct PathAttributes {
    bool readable = false; // the file could be opened, the folder listed
    bool writable = false; // the file as the storage reports it; a file made in the folder
    boost::posix_time::ptime lastModified; // local time; not_a_date_time when unknown
    std::uint64_t size = 0;                // bytes; 0 for a folder

    bool operator==(const PathAttributes&) const = default;
};

// The attributes of a file (alternative 0) or a folder (alternative 1).
//
// A folder is readable when it can be listed and writable when a file with a fresh random
// name (a version-4 UUID, no extension) can be made in it; the file is removed again, and
// when only the removal fails the folder still counts as writable and the file stays. The
// time is read after that probe, which changes it. A modification time that cannot be read
// or turned into local time (one before 1970) is a failure: the storage layer's
// vfs::Exception or Boost's std::out_of_range.
//
// A file is readable when it can be opened. Each of its other facts comes from a query of
// its own: one that fails for writability is raised; one that fails for the time gives the
// current time instead, converted to local time a second time, deliberately (so shifted by
// the zone's offset twice); one that fails for the size gives 0.
//
// `path` is the text the caller resolved the item from; it is not read.
PathAttributes getAttributes(
    const boost::variant<foundation::storage::vfs::File, foundation::storage::vfs::Folder>& item,
    const fl::ustring& path);

} // namespace vexa::io::filesystem::core
