#include <foundation/storage/vfs/WriteStream.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include "boundary.hpp"

#include <utility>

namespace foundation::storage::vfs {

WriteStream::WriteStream(std::unique_ptr<provider::OutputStream> stream, fl::ustring location)
    : stream_(std::move(stream)), location_(std::move(location)) {}

WriteStream::WriteStream(WriteStream&&) noexcept = default;

WriteStream& WriteStream::operator=(WriteStream&& other) noexcept {
    if (this != &other) {
        abort();
        stream_ = std::move(other.stream_);
        location_ = std::move(other.location_);
    }
    return *this;
}

WriteStream::~WriteStream() {
    abort();
}

provider::OutputStream& WriteStream::open(const char* operation) const {
    if (!stream_)
        raise(InternalError, operation, location_);
    return *stream_;
}

void WriteStream::write(const char* data, std::size_t size) {
    provider::OutputStream& stream = open("write");
    try {
        stream.write({data, size});
    } catch (Exception& failure) {
        recordFailure(failure, "write", location_);
        abort();
        throw;
    } catch (...) {
        abort();
        throw;
    }
}

std::uint64_t WriteStream::writeFrom(IODevice& device,
                                     const std::function<void(std::size_t)>& moved) {
    provider::OutputStream& stream = open("write");
    try {
        return stream.writeFrom(device.stream(), moved);
    } catch (...) {
        abort();
        throw;
    }
}

void WriteStream::close() {
    provider::OutputStream& stream = open("close");
    // The item changes here, or in part if the commit fails.
    forgetLooks();
    try {
        stream.commit();
    } catch (Exception& failure) {
        recordFailure(failure, "close", location_);
        abort();
        throw;
    } catch (...) {
        abort();
        throw;
    }
    stream_.reset();
}

void WriteStream::abort() noexcept {
    if (auto stream = std::move(stream_))
        stream->abort();
}

} // namespace foundation::storage::vfs
