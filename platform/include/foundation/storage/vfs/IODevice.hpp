#pragma once

#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/File.hpp>

#include <cstddef>
#include <memory>
#include <span>

namespace foundation::storage::vfs {

// A file opened for reading, from the start; closed when destroyed.
class IODevice {
public:
    // Opens the file; throws vfs::Exception when it cannot be read (missing, no
    // permission, a folder).
    explicit IODevice(File file);

    // Up to buffer.size() bytes; 0 at the end.
    std::size_t read(std::span<char> buffer);

    const File& getFile() const noexcept { return file_; }
    // What the provider reads from: for a write stream that takes all of it at once.
    provider::InputStream& stream() noexcept { return *stream_; }

private:
    File file_;
    std::unique_ptr<provider::InputStream> stream_;
};

} // namespace foundation::storage::vfs
