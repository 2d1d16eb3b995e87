#pragma once

#include <foundation/storage/provider/ExtendedAttributes.hpp>
#include <foundation/storage/provider/FileAttributes.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/StorageItem.hpp>
#include <foundation/storage/vfs/WriteStream.hpp>

#include <fl/ustring.hpp>

#include <cstdint>
#include <optional>

namespace foundation::storage::vfs {

class Folder;

// A file at a location. Each operation asks the provider of the location's scheme and
// throws vfs::Exception when it fails.
class File : public StorageItem {
public:
    File(const AbsoluteIRI& location, StorageSystemReference storage);
    // The file `leaf` inside `folder` (one segment: a "/" in it is part of the name).
    File(const Folder& folder, const fl::ustring& leaf);

    // A new empty file; ResourceAlreadyExists when something is there.
    void createFile() const;
    void removeFile() const;
    provider::FileAttributes getAttributes() const;
    provider::ExtendedAttributes getExtendedAttributes() const;
    // New content for the file, committed by the stream's close(). `size`, where known, is
    // all that will be written: a store that can send it ahead does, and then fails a write
    // past it and a close() short of it, the file left as it was.
    WriteStream openForWriting(WriteMode mode,
                               std::optional<std::uint64_t> size = std::nullopt) const;
    // Moves the file (or any item) to `target`: ResourceAlreadyExists when something is
    // there, UnsupportedOperation when another provider serves `target`.
    void rename(const AbsoluteIRI& target) const;
};

} // namespace foundation::storage::vfs
