#pragma once

// The one interface every kind of storage implements. A provider serves one or more IRI
// schemes; the storage system (foundation/storage/vfs/StorageSystem.hpp) finds it by the
// scheme of the location asked about. A new kind of storage is one new class.

#include <foundation/storage/provider/ItemStatus.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/WriteMode.hpp>

#include <fl/ustring.hpp>

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace foundation::storage::provider {

// One entry of a folder as the store gave it: its name and what the listing tells of it
// (File, Folder, Link, Other, or Nothing when the listing does not say), and its size, time
// and tag where the store sends them with the listing (a local folder's read does not).
struct FolderEntry {
    fl::ustring name;
    ItemType type = ItemType::Nothing;
    std::optional<std::uint64_t> size;
    // not_a_date_time when not given.
    boost::posix_time::ptime lastModified;
    // What identifies this version of the item's content (an HTTP entity tag); empty when
    // not given.
    std::string tag;
};

// A folder's entries, page by page as the store hands them. The folder is opened when the
// cursor is made (a folder that cannot be read fails then); a page read later may still fail.
class FolderCursor {
public:
    virtual ~FolderCursor();
    // The next entries; empty only at the end. They are the caller's until the next call,
    // to read or to move from: a listing that keeps names takes them without a copy.
    virtual std::span<FolderEntry> next() = 0;
};

// A cursor over entries already read in one piece (a store that answers with one page),
// handing those that match `filter` (fl/wildcard.hpp; empty or "*": every one) as a single
// page.
std::unique_ptr<FolderCursor> onePage(std::vector<FolderEntry> entries, const fl::ustring& filter);

// An item's content, read from the start; closed when destroyed.
class InputStream {
public:
    virtual ~InputStream();
    // Up to buffer.size() bytes; 0 at the end. Throws vfs::Exception when reading fails.
    virtual std::size_t read(std::span<char> buffer) = 0;
    // The bytes it gives in all, where that is known for sure before they are read (a local
    // file's size, an answer's Content-Length); none otherwise.
    virtual std::optional<std::uint64_t> size() const { return std::nullopt; }
};

// New content for an item, sent as it is written. Nothing is visible under the item's name
// before commit(); abort(), and destruction without commit(), leave the item as it was.
class OutputStream {
public:
    virtual ~OutputStream();
    // Throws vfs::Exception when the content cannot be written (a full disk, a lost server).
    virtual void write(std::span<const char> data) = 0;
    // All that `input` has left, telling `moved` of each piece; the bytes copied. A stream
    // that can have its store copy the content itself (two local files) does so.
    virtual std::uint64_t writeFrom(InputStream& input,
                                    const std::function<void(std::size_t)>& moved);
    // The item now holds what was written. Throws, leaving the item as it was, when it
    // cannot be made so (in create mode: ResourceAlreadyExists if an item appeared).
    virtual void commit() = 0;
    virtual void abort() noexcept = 0;
};

// Every failure is a vfs::Exception with its code; the VFS records what it was doing when
// one passes through it, so a provider need not (vfs::raise adds the storage's own reason
// where there is one). What a provider does not implement fails with UnsupportedOperation;
// a read-only provider fails every change with ReadOnlyProvider.
class StorageProvider {
public:
    virtual ~StorageProvider();

    // The schemes served, lower case.
    virtual std::vector<std::string> schemes() const = 0;

    // How failures name the location: the native path for local files, the IRI text
    // otherwise.
    virtual fl::ustring describe(const vfs::AbsoluteIRI& location) const;

    // Looks once, with `wanted` facts beside the kind, size and time. A missing item is an
    // answer (type Nothing), not a failure; failures are what keeps the provider from
    // looking (no permission on the way, an unreadable disk). Facts of an item that cannot
    // be reached (missing, a link that leads nowhere) are left out, not failed.
    virtual ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const = 0;
    // A look at the kind alone.
    ItemStatus probe(const vfs::AbsoluteIRI& location) const { return look(location, Facts::Kind); }

    // The entries of a folder whose names match `filter` (fl/wildcard.hpp; empty or "*":
    // every name), without "." and "..", in no particular order.
    virtual std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                                    const fl::ustring& filter) const;
    // Every item below a folder at any depth, each named by its path below it ("a/b.txt"),
    // a folder before what it holds; for a store that lists a whole tree in fewer requests
    // than folder by folder (an object store's keys, a page per 1,000). None where the tree
    // is best walked folder by folder with listPages, as the base does.
    virtual std::unique_ptr<FolderCursor> listTree(const vfs::AbsoluteIRI& folder) const;
    // Whether the store can be read only: then every change the provider does not implement
    // fails with ReadOnlyProvider rather than UnsupportedOperation.
    virtual bool readOnly() const { return false; }
    // A new empty file; one that exists already fails with ResourceAlreadyExists.
    virtual void createFile(const vfs::AbsoluteIRI& location) const;
    virtual void removeFile(const vfs::AbsoluteIRI& location) const;
    // One folder, whose parent must exist.
    virtual void createFolder(const vfs::AbsoluteIRI& location) const;
    virtual std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const;
    // `size`, where given, is all the stream will be written: a store may send it ahead
    // (Content-Length), and a stream that uses it fails a write past it and a commit short
    // of it. Others ignore it.
    virtual std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                         vfs::WriteMode mode,
                                                         std::optional<std::uint64_t> size) const;
    // Moves an item within this provider; ResourceAlreadyExists when `target` is there.
    virtual void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const;
    // An empty folder; FolderNotEmpty when anything is inside.
    virtual void removeFolder(const vfs::AbsoluteIRI& location) const;

protected:
    // Raises UnsupportedOperation for `operation` on `location`.
    [[noreturn]] void unsupported(const char* operation, const vfs::AbsoluteIRI& location) const;
    // Raises ReadOnlyProvider for a change of a read-only store, else UnsupportedOperation.
    [[noreturn]] void cannotChange(const char* operation, const vfs::AbsoluteIRI& location) const;
};

} // namespace foundation::storage::provider
