#pragma once

#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/WriteMode.hpp>

#include <fl/ustring.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace foundation::storage::vfs {

class IODevice;

// New content for a file, from File::openForWriting. What is written is sent as it comes;
// the file holds it only once close() returns. abort(), a failed write, a failed close()
// and destruction of an open stream all leave the file as it was before: nothing
// half-written is ever seen under its name.
class WriteStream {
public:
    WriteStream(std::unique_ptr<provider::OutputStream> stream, fl::ustring location);
    WriteStream(WriteStream&&) noexcept;
    WriteStream& operator=(WriteStream&&) noexcept;
    ~WriteStream();

    // Throws vfs::Exception when the content cannot be written, the stream then aborted; or
    // InternalError when the stream is no longer open.
    void write(const char* data, std::size_t size);
    // All that `device` has left to read, telling `moved` of each piece; the bytes written.
    // Fails and aborts as write does.
    std::uint64_t writeFrom(IODevice& device, const std::function<void(std::size_t)>& moved);
    // Commits.
    void close();
    void abort() noexcept;
    bool isOpen() const noexcept { return stream_ != nullptr; }

private:
    provider::OutputStream& open(const char* operation) const;

    std::unique_ptr<provider::OutputStream> stream_;
    fl::ustring location_; // for the failure of a stream used after it ended
};

} // namespace foundation::storage::vfs
